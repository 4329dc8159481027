// SPDX-License-Identifier: MIT
#include <sources/sourcecolumn_p.h>

#include <sources/bytestext_p.h>
#include <sources/decimaltext_p.h>
#include <sources/declaredtype_p.h>
#include <sources/isodate_p.h>

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QMetaType>
#include <QTimeZone>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The most digits for which every number fits a decimal, and an xdecimal.
constexpr int decimalDigits = 16;
constexpr int xdecimalDigits = 36;
/// The digits before the point that a decimal column declared without digits keeps room for when its values
/// need a larger scale.
constexpr qint64 openWhole = 8;
/// Doubles up to this hold every whole number.
constexpr qint64 maxExactWhole = 9'007'199'254'740'992;
/// Decimal numbers below this, scaled by a power of ten of at most 22, are each the shortest text of their
/// double.
constexpr double maxShortest = 1e15;
constexpr int maxExactPower = 22;
/// The longest VarChar that costs little: each row has room for all of it.
constexpr int shownVarChar = 255;
/// The characters of "2017-01-31".
constexpr int isoDateLength = 10;

/// 10 to the power of \a exponent, or 0 when that is not a 64-bit number.
qint64 powerOfTen(int exponent)
{
    if (exponent < 0 || exponent > 18)
        return 0;
    qint64 power = 1;
    while (exponent-- > 0)
        power *= 10;
    return power;
}

std::optional<double> floatingPoint(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
        return *static_cast<const double *>(value.constData());
    case QMetaType::Float:
        return double(*static_cast<const float *>(value.constData()));
    default:
        return std::nullopt;
    }
}

/// Whether \a text is the one instant that datetime cannot tell from no date.
bool isEpoch(const QString &text)
{
    return text == "1970-01-01"_L1 || text == "1970-01-01 00:00:00"_L1 || text == "1970.01.01"_L1 ||
           text == "1970.01.01 00:00:00.000"_L1;
}

} // namespace

std::optional<SourceColumn> SourceColumn::fromDeclaredType(const QString &name, const QString &declaredType,
                                                           bool nullable)
{
    auto type = DeclaredType::read(declaredType);
    if (!type)
        return std::nullopt;
    return SourceColumn(name, declaredType, nullable, *type);
}

SourceColumn SourceColumn::shown(const QString &name, const QString &declaredType, bool nullable)
{
    const auto known = DeclaredType::read(declaredType);
    const bool isDate = known && known->isDate;
    const bool isShownAsText = !known || isDate || known->spec.type == FieldType::Block;
    const bool isLong = known && known->spec.type == FieldType::VarChar && known->spec.length > shownVarChar;
    DeclaredType type;
    type.spec.type = FieldType::String;
    if (isDate) {
        type.spec.type = FieldType::VarChar;
        type.spec.length = isoDateLength;
    } else if (!isShownAsText && !isLong) {
        type = *known;
    }
    SourceColumn column(name, declaredType, nullable, type);
    column.m_longestVarChar = shownVarChar;
    if (isShownAsText) {
        column.m_isShownAsText = true;
        column.m_reader = &SourceColumn::readShown;
    }
    if (!known)
        column.m_change = Change::Type;
    return column;
}

SourceColumn::SourceColumn(const QString &name, const QString &declaredType, bool nullable,
                           const DeclaredType &type)
    : m_spec(type.spec), m_declaredType(declaredType.simplified()), m_isOpen(type.isOpen)
{
    m_spec.name = name;
    m_spec.nullable = nullable;
    switch (m_spec.type) {
    case FieldType::Int:
        m_reader = &SourceColumn::readInt;
        break;
    case FieldType::Int64:
        m_reader = &SourceColumn::readInt64;
        break;
    case FieldType::Double:
        m_reader = &SourceColumn::readDouble;
        break;
    case FieldType::Decimal:
    case FieldType::XDecimal:
        setDigits(type.digits);
        m_reader = &SourceColumn::readDecimal;
        break;
    case FieldType::VarChar:
    case FieldType::String:
        m_reader = &SourceColumn::readText;
        break;
    case FieldType::DateTime:
        m_reader = &SourceColumn::readDateTime;
        break;
    case FieldType::Raw:
    case FieldType::Block:
        m_reader = &SourceColumn::readBytes;
        break;
    }
}

QString SourceColumn::typeText() const
{
    QString text = FieldType::typeName(m_spec.type);
    if (m_spec.type == FieldType::Decimal || m_spec.type == FieldType::XDecimal)
        text += u"(%1,%2)"_s.arg(m_digits).arg(m_spec.length);
    else if (m_spec.type == FieldType::Block)
        text += u"(%1)"_s.arg(FieldType::blockSize);
    else if (m_spec.length > 0)
        text += u"(%1)"_s.arg(m_spec.length);
    return text;
}

CellProblem SourceColumn::readWholeNumber(const QVariant &value, qint64 &number) const
{
    switch (value.typeId()) {
    case QMetaType::LongLong:
        number = *static_cast<const qint64 *>(value.constData());
        return CellProblem::None;
    case QMetaType::ULongLong:
        if (*static_cast<const quint64 *>(value.constData()) > quint64(std::numeric_limits<qint64>::max()))
            return CellProblem::OutOfRange;
        number = value.toLongLong();
        return CellProblem::None;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Long:
    case QMetaType::Bool:
        number = value.toLongLong();
        return CellProblem::None;
    default:
        break;
    }
    const auto real = floatingPoint(value);
    if (!real)
        return CellProblem::WrongKind;
    if (!(std::abs(*real) < 0x1p63))
        return CellProblem::OutOfRange;
    if (*real != std::trunc(*real))
        return CellProblem::NotExact;
    number = qint64(*real);
    return CellProblem::None;
}

CellProblem SourceColumn::readInt(const QVariant &value, CellValue &cell)
{
    qint64 number = 0;
    if (const auto problem = readWholeNumber(value, number); problem != CellProblem::None)
        return problem;
    if (number != qint32(number))
        return CellProblem::OutOfRange;
    cell = qint32(number);
    return CellProblem::None;
}

CellProblem SourceColumn::readInt64(const QVariant &value, CellValue &cell)
{
    qint64 number = 0;
    const auto problem = readWholeNumber(value, number);
    cell = number;
    return problem;
}

CellProblem SourceColumn::readDouble(const QVariant &value, CellValue &cell)
{
    if (const auto real = floatingPoint(value)) {
        cell = *real;
        return CellProblem::None;
    }
    qint64 number = 0;
    if (const auto problem = readWholeNumber(value, number); problem != CellProblem::None)
        return problem;
    // The double nearest to a larger number may be within.
    if (number > maxExactWhole || number < -maxExactWhole)
        return CellProblem::NotExact;
    cell = double(number);
    return CellProblem::None;
}

CellProblem SourceColumn::storeUnscaled(qint64 unscaled, CellValue &cell) const
{
    if (m_spec.type == FieldType::Decimal)
        cell = decimal::fromUnscaled(unscaled, short(m_spec.length));
    else
        cell = xdecimal(unscaled, short(m_spec.length));
    return CellProblem::None;
}

CellProblem SourceColumn::readDecimal(const QVariant &value, CellValue &cell)
{
    if (const auto real = floatingPoint(value)) {
        if (!std::isfinite(*real))
            return CellProblem::OutOfRange;
        // A number of at most 15 digits is the only one of so few that its double stands for, and so its
        // shortest text; the quotient is that double because both operands are exact.
        if (m_power != 0 && m_spec.length <= maxExactPower) {
            const double unscaled = std::nearbyint(*real * double(m_power));
            if (std::abs(unscaled) < std::min(maxShortest, double(m_bound)) &&
                unscaled / double(m_power) == *real)
                return storeUnscaled(qint64(unscaled), cell);
        }
        std::array<char, 32> text;
        const auto end =
            std::to_chars(text.data(), text.data() + text.size(), *real, std::chars_format::scientific).ptr;
        return readDecimalText(QString::fromLatin1(text.data(), end - text.data()), cell);
    }
    if (value.typeId() == QMetaType::QString)
        return readDecimalText(*static_cast<const QString *>(value.constData()), cell);

    qint64 number = 0;
    if (const auto problem = readWholeNumber(value, number); problem != CellProblem::None)
        return problem;
    if (m_power != 0 && std::abs(double(number)) < double(m_bound) / double(m_power))
        return storeUnscaled(number * m_power, cell);
    return readDecimalText(QString::number(number), cell);
}

CellProblem SourceColumn::readDecimalText(QStringView text, CellValue &cell)
{
    const auto number = DecimalText::read(text.trimmed());
    if (!number) {
        const bool isNoNumber = text == "NaN"_L1 || text == "Infinity"_L1 || text == "-Infinity"_L1;
        return isNoNumber ? CellProblem::OutOfRange : CellProblem::WrongKind;
    }
    if (number->digits.isEmpty())
        return storeUnscaled(0, cell);
    m_neededScale = number->scale;
    m_neededWhole = number->digits.size() - number->scale;
    m_widestWhole = std::max(m_widestWhole, m_neededWhole);
    m_widestScale = std::max(m_widestScale, m_neededScale);
    if (m_neededScale > m_spec.length || m_neededWhole > m_digits - m_spec.length)
        return CellProblem::Digits;

    // Written with exactly the column's digits after the point, the number is read with the column's scale.
    const QString exact = (number->negative ? u"-"_s : QString()) + number->digits +
                          QString(m_spec.length - number->scale, u'0') + u'e' +
                          QString::number(-m_spec.length);
    if (m_spec.type == FieldType::Decimal) {
        const auto held = decimal::fromString(exact);
        if (!held)
            return CellProblem::Digits;
        cell = *held;
    } else {
        const auto held = xdecimal::fromString(exact);
        if (!held)
            return CellProblem::Digits;
        cell = *held;
    }
    return CellProblem::None;
}

bool SourceColumn::widen(CellProblem problem)
{
    if (problem == CellProblem::OutOfRange && m_spec.type == FieldType::Int) {
        m_spec.type = FieldType::Int64;
        m_reader = &SourceColumn::readInt64;
        m_change = Change::Room;
        return true;
    }
    if (problem == CellProblem::TextLength) {
        m_change = Change::Room;
        // A character takes at most two units, where characters are what is declared.
        const qsizetype length = std::max<qsizetype>(2 * m_spec.length, m_neededLength);
        if (length <= m_longestVarChar)
            m_spec.length = int(length);
        else
            m_spec = {.name = m_spec.name, .type = FieldType::String, .nullable = m_spec.nullable};
        return true;
    }
    if (problem != CellProblem::Digits)
        return false;
    // The quick ways read no number of more digits before the point than the least here.
    const qint64 whole = m_isOpen ? std::max(m_widestWhole, openWhole)
                                  : std::max<qint64>(m_neededWhole, m_digits - m_spec.length);
    qint64 scale = std::max<qint64>(m_neededScale, m_spec.length);
    // Nobody asked for more than the values need. One that was read the quick way asks again.
    if (m_isOpen && whole + scale > xdecimalDigits)
        scale = m_widestScale;
    if (scale > decimal::maxScale || whole + scale > xdecimalDigits)
        return false;
    m_spec.length = int(scale);
    setDigits(int(whole + scale));
    m_change = Change::Room;
    return true;
}

void SourceColumn::admit(CellProblem problem, const QVariant &value)
{
    if (m_isUndeclared) {
        admitWritten(problem, value.toString());
        return;
    }
    if (problem == CellProblem::Absent) {
        m_spec.nullable = true;
        m_hasNulls = true;
        return;
    }
    if (widen(problem))
        return;
    if (m_spec.type == FieldType::VarChar && problem == CellProblem::NulInText) {
        m_spec.type = FieldType::String;
        m_spec.length = 0;
        return;
    }
    if ((m_spec.type == FieldType::Int || m_spec.type == FieldType::Int64) && floatingPoint(value)) {
        m_spec.type = FieldType::Double;
        m_reader = &SourceColumn::readDouble;
        m_change = Change::Fractions;
        return;
    }
    m_change = isText() ? m_change : Change::Text;
    m_spec.type = FieldType::String;
    m_spec.length = 0;
    m_isShownAsText = true;
    m_reader = &SourceColumn::readShown;
}

void SourceColumn::setCause(qint64 row, const QString &value)
{
    m_causeRow = row;
    m_cause = value;
}

QStringList SourceColumn::notes() const
{
    QStringList notes;
    const QString type = m_declaredType;
    const auto because = [this, &type](const QString &text) {
        return text.arg(m_spec.name, type, m_cause, QString::number(m_causeRow));
    };
    switch (m_change) {
    case Change::None:
        break;
    case Change::Type:
        notes.append(type.isEmpty()
                         ? tr("Столбец «%1» без объявленного типа показан как текст").arg(m_spec.name)
                         : tr("Столбец «%1» типа «%2» показан как текст").arg(m_spec.name, type));
        break;
    case Change::Room:
        notes.append(because(tr("Столбец «%1» шире, чем объявлен («%2»): значение %3 в строке %4")));
        break;
    case Change::Fractions:
        notes.append(because(tr("Столбец «%1» («%2») показан как дробные числа: значение %3 в строке %4")));
        break;
    case Change::Text:
        notes.append(m_isUndeclared
                         ? tr("Столбец «%1» показан как текст из-за значения %2 в строке %3")
                               .arg(m_spec.name, m_cause, QString::number(m_causeRow))
                         : because(tr("Столбец «%1» («%2») показан как текст: значение %3 в строке %4")));
        break;
    }
    if (m_hasNulls)
        notes.append(tr("В столбце «%1» есть пустые значения, хотя он объявлен без них").arg(m_spec.name));
    if (m_hasBytes)
        notes.append(tr("Столбец «%1»: вместо байтов показаны их число и начало").arg(m_spec.name));
    if (m_hasStrayBytes) {
        notes.append(
            tr("Столбец «%1»: байты, которые не составляют текста, показаны как «\\xE9»").arg(m_spec.name));
    }
    return notes;
}

void SourceColumn::setDigits(int digits)
{
    m_digits = digits;
    m_spec.type = digits > decimalDigits ? FieldType::XDecimal : FieldType::Decimal;
    m_power = powerOfTen(m_spec.length);
    m_bound = powerOfTen(std::min(digits, 18));
}

CellProblem SourceColumn::readText(const QVariant &value, CellValue &cell)
{
    if (value.typeId() != QMetaType::QString)
        return CellProblem::WrongKind;
    return storeText(*static_cast<const QString *>(value.constData()), cell);
}

CellProblem SourceColumn::storeText(const QString &text, CellValue &cell)
{
    if (m_spec.type == FieldType::VarChar) {
        if (text.size() > m_spec.length) {
            m_neededLength = std::max(m_neededLength, text.size());
            return CellProblem::TextLength;
        }
        if (text.contains(QChar(u'\0')))
            return CellProblem::NulInText;
    }
    cell = text;
    return CellProblem::None;
}

CellProblem SourceColumn::readDateTime(const QVariant &value, CellValue &cell)
{
    qint64 milliseconds = 0;
    switch (value.typeId()) {
    case QMetaType::QString: {
        const auto &text = *static_cast<const QString *>(value.constData());
        milliseconds = datetime(text).milliseconds();
        if (milliseconds == 0 && !text.isEmpty()) {
            if (const CellProblem problem = readIsoDate(text, false, milliseconds);
                problem != CellProblem::None)
                return isEpoch(text) ? CellProblem::EpochDate : problem;
        }
        cell = datetime(milliseconds);
        return CellProblem::None;
    }
    case QMetaType::QDate: {
        const auto date = *static_cast<const QDate *>(value.constData());
        if (!date.isValid())
            return CellProblem::Date;
        milliseconds = QDateTime(date, QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
        break;
    }
    case QMetaType::QDateTime: {
        auto time = *static_cast<const QDateTime *>(value.constData());
        if (!time.isValid())
            return CellProblem::Date;
        // A reading without a zone is taken as it stands.
        if (time.timeSpec() == Qt::LocalTime)
            time = QDateTime(time.date(), time.time(), QTimeZone::utc());
        milliseconds = time.toMSecsSinceEpoch();
        break;
    }
    default:
        return CellProblem::WrongKind;
    }
    if (milliseconds == 0)
        return CellProblem::EpochDate;
    cell = datetime(milliseconds);
    return CellProblem::None;
}

void SourceColumn::takeServerTexts()
{
    if (m_spec.type == FieldType::DateTime)
        m_reader = &SourceColumn::readServerDateTime;
}

CellProblem SourceColumn::readServerDateTime(const QVariant &value, CellValue &cell)
{
    if (value.typeId() != QMetaType::QString)
        return CellProblem::WrongKind;
    qint64 milliseconds = 0;
    const CellProblem problem =
        readIsoDate(*static_cast<const QString *>(value.constData()), true, milliseconds);
    if (problem == CellProblem::None)
        cell = datetime(milliseconds);
    return problem;
}

CellProblem SourceColumn::readBytes(const QVariant &value, CellValue &cell)
{
    if (value.typeId() != QMetaType::QByteArray)
        return CellProblem::WrongKind;
    const auto &bytes = *static_cast<const QByteArray *>(value.constData());
    if (bytes.size() != (m_spec.type == FieldType::Block ? FieldType::blockSize : m_spec.length))
        return CellProblem::ByteCount;
    cell = bytes;
    return CellProblem::None;
}

CellProblem SourceColumn::readShown(const QVariant &value, CellValue &cell)
{
    if (value.typeId() == QMetaType::QString)
        return storeText(*static_cast<const QString *>(value.constData()), cell);
    if (value.typeId() == QMetaType::QByteArray) {
        const QByteArray bytes = value.toByteArray();
        m_hasBytes = true;
        return storeText(BytesStart{bytes.size(), bytes}.text(), cell);
    }
    if (value.typeId() == qMetaTypeId<BytesStart>()) {
        m_hasBytes = true;
        return storeText(static_cast<const BytesStart *>(value.constData())->text(), cell);
    }
    if (const auto real = floatingPoint(value))
        return storeText(QString::number(*real, 'g', QLocale::FloatingPointShortest), cell);
    return storeText(value.toString(), cell);
}

} // namespace sito
