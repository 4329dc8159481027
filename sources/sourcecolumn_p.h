// SPDX-License-Identifier: MIT
#pragma once

#include <sources/cellproblem_p.h>
#include <sources/declaredtype_p.h>
#include <sources/writtenvalue_p.h>

#include <database/cellvalue.h>
#include <database/columnspec.h>

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QVariant>

#include <optional>

namespace sito {

/// A column on its way from an SQL database into a table: what it becomes, and how one of its values is read.
/// Which reader that is, is decided once, when the column is made.
class SourceColumn
{
    Q_DECLARE_TR_FUNCTIONS(ColumnNotes)
public:
    /// The column of that declared type, or nothing for a type that has no place in a table.
    static std::optional<SourceColumn> fromDeclaredType(const QString &name, const QString &declaredType,
                                                        bool nullable);
    /// The column of any declared type, to show all its values. DATE, BLOB and types that have no place in a
    /// table are shown as texts.
    static SourceColumn shown(const QString &name, const QString &declaredType, bool nullable);

    /// A column of texts that declares no type, all whose values so far were absent. Its values, written as
    /// texts, decide what it becomes, see admit().
    static SourceColumn undeclared(const QString &name);

    const ColumnSpec &spec() const { return m_spec; }
    void setName(const QString &name) { m_spec.name = name; }
    /// Whether values are to be read as the texts that the database gives for them, and bytes as BytesStart.
    bool isShownAsText() const { return m_isShownAsText; }
    /// Whether a value was shown by the number of its bytes and the first of them.
    bool hasBytes() const { return m_hasBytes; }
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

    /// Gives the column the room that the value needs which was just refused with \a problem: a decimal
    /// column digits, on either side of the point; a VarChar column UTF-16 units; an Int column 64 bits.
    /// False, and nothing changed, when it is not a matter of room or no type holds so many.
    bool widen(CellProblem problem);
    /// Makes the column one that can show \a value, too, which was just refused with \a problem. When it is
    /// read again, it may be refused once more, but not endlessly.
    void admit(CellProblem problem, const QVariant &value);

    /// Keeps \a value, the text of the value in that row, as what the column was changed for.
    void setCause(qint64 row, const QString &value);
    void noteStrayBytes() { m_hasStrayBytes = true; }
    /// Whether texts were shown that are no texts in the source; then different ones may look alike.
    bool hasStrayBytes() const { return m_hasStrayBytes; }
    /// Lines for the user: what the column has become that it does not declare.
    QStringList notes() const;

    /// Takes dates as PostgreSQL writes them, for a column that has not read anything yet.
    void takeServerTexts();

private:
    using Reader = CellProblem (SourceColumn::*)(const QVariant &, CellValue &);

    enum class Change { None, Type, Room, Fractions, Text };

    SourceColumn(const QString &name, const QString &declaredType, bool nullable, const DeclaredType &type);

    CellProblem readInt(const QVariant &value, CellValue &cell);
    CellProblem readInt64(const QVariant &value, CellValue &cell);
    CellProblem readDouble(const QVariant &value, CellValue &cell);
    CellProblem readDecimal(const QVariant &value, CellValue &cell);
    CellProblem readText(const QVariant &value, CellValue &cell);
    CellProblem readDateTime(const QVariant &value, CellValue &cell);
    CellProblem readServerDateTime(const QVariant &value, CellValue &cell);
    CellProblem readBytes(const QVariant &value, CellValue &cell);
    CellProblem readShown(const QVariant &value, CellValue &cell);

    CellProblem readUnknown(const QVariant &value, CellValue &cell);
    CellProblem readWrittenInteger(const QVariant &value, CellValue &cell);
    CellProblem readWrittenDecimal(const QVariant &value, CellValue &cell);
    CellProblem readWrittenDate(const QVariant &value, CellValue &cell);
    CellProblem readWrittenDateTime(const QVariant &value, CellValue &cell);

    void admitWritten(CellProblem problem, const QString &text);
    void become(WrittenKind kind, const QString &text);
    bool becomeDecimal(const QString &text);
    CellProblem storeText(const QString &text, CellValue &cell);
    CellProblem storeUnscaled(qint64 unscaled, CellValue &cell) const;
    CellProblem readDecimalText(QStringView text, CellValue &cell);
    void setDigits(int digits);
    CellProblem readWholeNumber(const QVariant &value, qint64 &number) const;

    ColumnSpec m_spec;
    QString m_declaredType;
    bool m_isShownAsText = false;
    int m_longestVarChar = maxVarChar;
    Change m_change = Change::None;
    qint64 m_causeRow = 0;
    QString m_cause;
    bool m_hasNulls = false; ///< though it is declared without
    bool m_hasBytes = false;
    bool m_hasStrayBytes = false;
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
    /// Declares no type; and whether its date-times end in "Z".
    bool m_isUndeclared = false;
    bool m_hasZone = false;
    Reader m_reader = nullptr;
};

} // namespace sito
