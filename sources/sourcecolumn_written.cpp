// SPDX-License-Identifier: MIT
#include <sources/sourcecolumn_p.h>

#include <sources/isodate_p.h>

#include <algorithm>

namespace sito {

// What a SourceColumn does that declares no type.

namespace {

/// The most digits of a decimal and an xdecimal; its field takes the same room for fewer.
constexpr int longestDecimal = 16;
constexpr int longestXDecimal = 36;
constexpr int quickDigits = 18;
constexpr int dateUnits = 10;

QStringView written(const QVariant &value)
{
    return *static_cast<const QString *>(value.constData());
}

} // namespace

SourceColumn SourceColumn::undeclared(const QString &name)
{
    DeclaredType type;
    type.spec.type = FieldType::String;
    SourceColumn column(name, QString(), true, type);
    column.m_isUndeclared = true;
    column.m_reader = &SourceColumn::readUnknown;
    return column;
}

void SourceColumn::admitWritten(CellProblem problem, const QString &text)
{
    const WrittenKind kind = writtenKind(text);
    if (m_reader == &SourceColumn::readUnknown) {
        become(kind, text);
        return;
    }
    if (problem == CellProblem::OutOfRange && m_spec.type == FieldType::Int) {
        m_spec.type = FieldType::Int64;
        return;
    }
    if (problem == CellProblem::Digits && becomeDecimal(text))
        return;
    become(WrittenKind::Text, text);
    m_change = Change::Text;
}

void SourceColumn::become(WrittenKind kind, const QString &text)
{
    m_spec.length = 0;
    switch (kind) {
    case WrittenKind::Integer:
        m_spec.type = FieldType::Int;
        m_reader = &SourceColumn::readWrittenInteger;
        return;
    case WrittenKind::Decimal:
        if (becomeDecimal(text))
            return;
        break;
    case WrittenKind::Date:
        // No instant: a midnight that nobody wrote would be shown.
        m_spec.type = FieldType::VarChar;
        m_spec.length = dateUnits;
        m_reader = &SourceColumn::readWrittenDate;
        return;
    case WrittenKind::DateTime:
        m_spec.type = FieldType::DateTime;
        m_hasZone = hasWrittenZone(text);
        m_reader = &SourceColumn::readWrittenDateTime;
        return;
    case WrittenKind::Text:
        break;
    }
    m_spec.type = FieldType::String;
    m_reader = &SourceColumn::readText;
}

/// Gives the column the digits that \a text needs beside the numbers before it; false when no decimal number
/// has so many.
bool SourceColumn::becomeDecimal(const QString &text)
{
    const auto number = WrittenNumber::read(text);
    if (!number)
        return false;
    m_widestWhole = std::max<qint64>(m_widestWhole, number->whole);
    m_widestScale = std::max<qint64>(m_widestScale, number->scale);
    if (m_widestScale > decimal::maxScale || m_widestWhole + m_widestScale > longestXDecimal)
        return false;
    m_spec.length = int(m_widestScale);
    setDigits(m_widestWhole + m_widestScale > longestDecimal ? longestXDecimal : longestDecimal);
    m_reader = &SourceColumn::readWrittenDecimal;
    return true;
}

CellProblem SourceColumn::readUnknown(const QVariant &, CellValue &)
{
    return CellProblem::WrongKind;
}

CellProblem SourceColumn::readWrittenInteger(const QVariant &value, CellValue &cell)
{
    const QStringView text = written(value);
    const auto number = writtenInteger(text);
    if (!number)
        return WrittenNumber::read(text) ? CellProblem::Digits : CellProblem::WrongKind;
    m_widestWhole = std::max<qint64>(m_widestWhole, text.size());
    if (m_spec.type == FieldType::Int64) {
        cell = *number;
        return CellProblem::None;
    }
    if (*number != qint32(*number))
        return CellProblem::OutOfRange;
    cell = qint32(*number);
    return CellProblem::None;
}

CellProblem SourceColumn::readWrittenDecimal(const QVariant &value, CellValue &cell)
{
    const QStringView text = written(value);
    const auto number = WrittenNumber::read(text);
    if (!number)
        return CellProblem::WrongKind;
    m_widestWhole = std::max<qint64>(m_widestWhole, number->whole);
    // Also for zeros at the end, which were written to be seen.
    if (number->scale > m_spec.length || number->whole > m_digits - m_spec.length)
        return CellProblem::Digits;
    if (!number->unscaled || number->whole + m_spec.length > quickDigits)
        return readDecimalText(text, cell);
    qint64 unscaled = *number->unscaled;
    for (qsizetype i = number->scale; i < m_spec.length; ++i)
        unscaled *= 10;
    return storeUnscaled(unscaled, cell);
}

CellProblem SourceColumn::readWrittenDate(const QVariant &value, CellValue &cell)
{
    const QString &text = *static_cast<const QString *>(value.constData());
    return writtenKind(text) == WrittenKind::Date ? storeText(text, cell) : CellProblem::Date;
}

CellProblem SourceColumn::readWrittenDateTime(const QVariant &value, CellValue &cell)
{
    const QStringView text = written(value);
    qint64 milliseconds = 0;
    // A column with and without zones would lose the difference.
    if (writtenKind(text) != WrittenKind::DateTime || hasWrittenZone(text) != m_hasZone)
        return CellProblem::Date;
    const CellProblem problem = readIsoDate(text, false, milliseconds);
    if (problem == CellProblem::None)
        cell = datetime(milliseconds);
    return problem;
}

} // namespace sito
