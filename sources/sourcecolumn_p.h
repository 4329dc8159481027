// SPDX-License-Identifier: MIT
#pragma once

#include <sources/cellproblem_p.h>

#include <database/cellvalue.h>
#include <database/columnspec.h>

#include <QString>
#include <QStringView>
#include <QVariant>

#include <optional>

namespace sito {

struct DeclaredType;

/// A column on its way from an SQL database into a table: what it becomes, and how one of its values is read.
/// Which reader that is, is decided once, when the column is made.
class SourceColumn
{
public:
    /// The column of that declared type, or nothing for a type that has no place in a table.
    static std::optional<SourceColumn> fromDeclaredType(const QString &name, const QString &declaredType,
                                                        bool nullable);

    const ColumnSpec &spec() const { return m_spec; }
    bool isText() const { return m_spec.type == FieldType::VarChar || m_spec.type == FieldType::String; }
    /// The type as messages show it: "Decimal(16,2)".
    QString typeText() const;

    /// Stores \a value into \a cell when the field holds it exactly; \a cell is unspecified otherwise.
    CellProblem read(const QVariant &value, CellValue &cell)
    {
        if (value.isNull()) {
            cell = std::monostate();
            return m_spec.nullable ? CellProblem::None : CellProblem::Absent;
        }
        return (this->*m_reader)(value, cell);
    }

    /// Gives a decimal column the digits that the value needs which was just refused with
    /// CellProblem::Digits, on either side of the point; a VarChar column the UTF-16 units of a text refused
    /// with CellProblem::TextLength; and an Int column 64 bits. False, and nothing changed, when no type
    /// holds so many.
    bool widen();

    /// Takes dates as PostgreSQL writes them, for a column that has not read anything yet.
    void takeServerTexts();

private:
    using Reader = CellProblem (SourceColumn::*)(const QVariant &, CellValue &);

    explicit SourceColumn(const DeclaredType &type);

    CellProblem readInt(const QVariant &value, CellValue &cell);
    CellProblem readInt64(const QVariant &value, CellValue &cell);
    CellProblem readDouble(const QVariant &value, CellValue &cell);
    CellProblem readDecimal(const QVariant &value, CellValue &cell);
    CellProblem readText(const QVariant &value, CellValue &cell);
    CellProblem readDateTime(const QVariant &value, CellValue &cell);
    CellProblem readServerDateTime(const QVariant &value, CellValue &cell);
    CellProblem readBytes(const QVariant &value, CellValue &cell);

    CellProblem storeUnscaled(qint64 unscaled, CellValue &cell) const;
    CellProblem readDecimalText(QStringView text, CellValue &cell);
    void setDigits(int digits);
    CellProblem readWholeNumber(const QVariant &value, qint64 &number) const;

    ColumnSpec m_spec;
    /// Decimal and XDecimal: the digits that were declared.
    int m_digits = 0;
    /// 10 to the power of the digits after the point, and the bound of unscaled values, where they are small
    /// enough for the quick ways; 0 otherwise.
    qint64 m_power = 0;
    qint64 m_bound = 0;
    /// The digits that the last decimal text needed after and before the point.
    qint64 m_neededScale = 0;
    qint64 m_neededWhole = 0;
    /// Declared without digits: only what the values need counts then; and the digits before the point of the
    /// widest so far.
    bool m_isOpen = false;
    qint64 m_widestWhole = 0;
    qint64 m_widestScale = 0;     ///< of those read as texts
    qsizetype m_neededLength = 0; ///< the longest text refused
    Reader m_reader = nullptr;
};

} // namespace sito
