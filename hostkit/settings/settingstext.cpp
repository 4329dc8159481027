// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingstext_p.h>

#include <QColor>
#include <QCoreApplication>
#include <QDateTime>
#include <QFont>
#include <QKeySequence>
#include <QLine>
#include <QPoint>
#include <QRect>
#include <QRegularExpression>
#include <QSize>
#include <QTimeZone>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <span>
#include <system_error>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SettingsText)
};

template <typename Number>
QString numberText(Number number)
{
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number))
            return u"nan"_s;
    }
    std::array<char, 64> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return error == std::errc() ? QString::fromLatin1(buffer.data(), end - buffer.data()) : QString();
}

/// Returns nothing, and why in \a problem, unless \a text is a number from \a least to \a most.
template <typename Number>
std::optional<Number> numberOf(const QString &text, QString *problem,
                               Number least = std::numeric_limits<Number>::lowest(),
                               Number most = std::numeric_limits<Number>::max())
{
    constexpr bool whole = !std::is_floating_point_v<Number>;
    QByteArray digits = text.trimmed().toLatin1();
    if (digits.startsWith('+') && !digits.startsWith("+-"))
        digits.remove(0, 1);
    if (!whole && !digits.contains('.') && digits.count(',') == 1)
        digits.replace(',', '.');
    Number number{};
    const char *end = digits.constData() + digits.size();
    const auto [stop, error] = std::from_chars(digits.constData(), end, number);
    const bool read = error == std::errc() && stop == end;
    if (read && (!whole || (number >= least && number <= most)))
        return number;
    const bool negative = std::is_unsigned_v<Number> && digits.startsWith('-');
    if ((stop != end || digits.isEmpty()) && !negative)
        *problem = whole ? Texts::tr("Это не целое число") : Texts::tr("Это не число");
    else if (whole)
        *problem = Texts::tr("Допустимы целые числа от %1 до %2").arg(numberText(least), numberText(most));
    else
        *problem = Texts::tr("Число не помещается в тип значения");
    return std::nullopt;
}

QString joined(std::initializer_list<QString> numbers, const QString &separator = u", "_s)
{
    return QStringList(numbers).join(separator);
}

/// Splits \a text into \a count parts at commas, semicolons, blanks, "x" or "×".
std::optional<QStringList> partsOf(const QString &text, qsizetype count, QString *problem)
{
    static const QRegularExpression separators(u"\\s*[,;×xXхХ]\\s*|\\s+"_s);
    QStringList parts = text.trimmed().split(separators);
    if (parts.size() == count)
        return parts;
    *problem = Texts::tr("Чисел должно быть %1").arg(count);
    return std::nullopt;
}

template <typename Number, std::size_t count>
std::optional<std::array<Number, count>> numbersOf(const QString &text, QString *problem)
{
    const auto parts = partsOf(text, count, problem);
    if (!parts)
        return std::nullopt;
    std::array<Number, count> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = numberOf<Number>(parts->at(int(i)), problem);
        if (!number)
            return std::nullopt;
        numbers[i] = *number;
    }
    return numbers;
}

/// QRect::width() and height() overflow where the edges are further apart than an int tells.
QString rectText(const QRect &rect)
{
    return joined({numberText(rect.left()), numberText(rect.top()),
                   joined({numberText(qint64(rect.right()) - rect.left() + 1),
                           numberText(qint64(rect.bottom()) - rect.top() + 1)},
                          u" × "_s)});
}

std::optional<QRect> rectOf(const QString &text, QString *problem)
{
    const auto parts = partsOf(text, 4, problem);
    const auto left = parts ? numberOf<int>(parts->at(0), problem) : std::nullopt;
    const auto top = left ? numberOf<int>(parts->at(1), problem) : std::nullopt;
    if (!top)
        return std::nullopt;
    // The size may be beyond an int, the edges may not.
    const auto lastOf = [problem](int first, const QString &size) -> std::optional<int> {
        using Edge = std::numeric_limits<int>;
        const qint64 before = qint64(first) - 1;
        const auto number = numberOf<qint64>(size, problem, Edge::min() - before, Edge::max() - before);
        return number ? std::optional(int(before + *number)) : std::nullopt;
    };
    const auto right = lastOf(*left, parts->at(2));
    const auto bottom = right ? lastOf(*top, parts->at(3)) : std::nullopt;
    return bottom ? std::optional(QRect(QPoint(*left, *top), QPoint(*right, *bottom))) : std::nullopt;
}

// Dates and times.

QString dateText(QDate date)
{
    if (!date.isValid())
        return {};
    const int year = date.year();
    return (year < 0 ? u"-"_s : QString()) + QString::number(std::abs(year)).rightJustified(4, u'0') +
           u"-%1-%2"_s.arg(date.month(), 2, 10, QLatin1Char('0')).arg(date.day(), 2, 10, QLatin1Char('0'));
}

QString timeText(QTime time)
{
    if (!time.isValid())
        return {};
    return time.toString(time.msec() ? u"HH:mm:ss.zzz"_s : u"HH:mm:ss"_s);
}

QString offsetText(int seconds)
{
    const int absolute = std::abs(seconds);
    QString text = u"%1%2:%3"_s.arg(QLatin1Char(seconds < 0 ? '-' : '+'))
                       .arg(absolute / 3600, 2, 10, QLatin1Char('0'))
                       .arg(absolute / 60 % 60, 2, 10, QLatin1Char('0'));
    if (absolute % 60)
        text += u":%1"_s.arg(absolute % 60, 2, 10, QLatin1Char('0'));
    return text;
}

constexpr QLatin1StringView localZone("local");

QString dateTimeText(const QDateTime &dateTime)
{
    if (!dateTime.isValid())
        return {};
    const QString text = dateText(dateTime.date()) + u'T' + timeText(dateTime.time());
    switch (dateTime.timeSpec()) {
    case Qt::UTC:
        return text + u'Z';
    case Qt::OffsetFromUTC:
        return text + offsetText(dateTime.offsetFromUtc());
    case Qt::TimeZone:
        return text + offsetText(dateTime.offsetFromUtc()) + u'[' +
               QString::fromUtf8(dateTime.timeZone().id()) + u']';
    case Qt::LocalTime:
        break;
    }
    // The hour that the clocks show twice needs its offset.
    const QDateTime plain(dateTime.date(), dateTime.time());
    if (plain.toMSecsSinceEpoch() == dateTime.toMSecsSinceEpoch())
        return text;
    return text + offsetText(dateTime.offsetFromUtc()) + u'[' + localZone + u']';
}

std::optional<QDate> dateOf(const QString &text)
{
    static const QRegularExpression form(u"^(-?\\d{4,})-(\\d\\d)-(\\d\\d)$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    return match.hasMatch() && date.isValid() ? std::optional(date) : std::nullopt;
}

std::optional<QTime> timeOf(const QString &text)
{
    static const QRegularExpression form(u"^(\\d\\d?):(\\d\\d)(?::(\\d\\d)(?:[.,](\\d{1,3}))?)?$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const QTime time(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt(),
                     match.captured(4).leftJustified(3, u'0').toInt());
    return match.hasMatch() && time.isValid() ? std::optional(time) : std::nullopt;
}

/// The reading \a date, \a time at \a seconds from UTC; at 0 it is a date-time in UTC. (Which constructor says so
/// depends on the version of Qt.)
QDateTime atOffset(QDate date, QTime time, int seconds)
{
    const QDateTime instant = QDateTime(date, time, QTimeZone::utc()).addSecs(-seconds);
    return seconds == 0 ? instant.toUTC() : instant.toOffsetFromUtc(seconds);
}

std::optional<QDateTime> dateTimeOf(const QDateTime &old, const QString &text, QString *problem)
{
    static const QRegularExpression form(
        u"^([^T ]+)[T ]([\\d:.,]+)\\s*(Z|[+-]\\d\\d:?\\d\\d(?::?\\d\\d)?)?(?:\\[(.+)\\])?$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const auto date = dateOf(match.captured(1));
    const auto time = timeOf(match.captured(2));
    if (!match.hasMatch() || !date || !time) {
        *problem = Texts::tr("Дата и время пишутся так: 2024-12-31T23:59:59.999, дальше можно Z, +03:00 или "
                             "+03:00[Europe/Moscow]");
        return std::nullopt;
    }
    std::optional<int> offset;
    const QString digits = match.captured(3).remove(u':');
    const auto part = [&digits](qsizetype at) { return QStringView(digits).mid(at, 2).toInt(); };
    if (digits == u"Z"_s)
        offset = 0;
    else if (!digits.isEmpty())
        offset = (digits.at(0) == u'-' ? -1 : 1) * (part(1) * 3600 + part(3) * 60 + part(5));
    if (offset && std::abs(*offset) > 14 * 3600) {
        *problem = Texts::tr("Смещение от UTC бывает от -14:00 до +14:00");
        return std::nullopt;
    }
    const QString zoneName = match.captured(4);
    if (zoneName.isEmpty() && offset)
        return atOffset(*date, *time, *offset);
    const bool local = zoneName.isEmpty() || zoneName == localZone;
    // That of the old value may be one that no name leads to.
    const bool kept = old.timeSpec() == Qt::TimeZone && zoneName.toUtf8() == old.timeZone().id();
    const QTimeZone zone = kept ? old.timeZone() : local ? QTimeZone() : QTimeZone(zoneName.toUtf8());
    // A zone is also made of texts that are none, as rules without a name.
    if (!kept && !local && !QTimeZone::isTimeZoneIdAvailable(zoneName.toUtf8())) {
        *problem = Texts::tr("Часовой пояс «%1» неизвестен").arg(zoneName);
        return std::nullopt;
    }
    if (offset) {
        // It tells which of two equal readings is meant; elsewhere the reading counts, so that the date can be
        // changed alone.
        const QDateTime instant = atOffset(*date, *time, *offset);
        const QDateTime result = local ? instant.toLocalTime() : instant.toTimeZone(zone);
        if (result.date() == *date && result.time() == *time)
            return result;
    }
    const QDateTime result = local ? QDateTime(*date, *time) : QDateTime(*date, *time, zone);
    if (!result.isValid() || result.date() != *date || result.time() != *time) {
        *problem = Texts::tr("Такого времени в этот день нет: часы переводят вперёд");
        return std::nullopt;
    }
    return result;
}

// Colours.

QString colorText(const QColor &color)
{
    const auto call = [](QLatin1StringView name, std::initializer_list<float> parts) {
        QStringList texts;
        for (float part : parts)
            texts += numberText(part);
        return name + u'(' + texts.join(", "_L1) + u')';
    };
    switch (color.spec()) {
    case QColor::Invalid:
        return {};
    case QColor::Rgb: {
        const QString name = color.name(color.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
        if (QColor(name) == color)
            return name;
        const QRgba64 exact = color.rgba64();
        return u"rgba64(%1)"_s.arg(joined({numberText(exact.red()), numberText(exact.green()),
                                           numberText(exact.blue()), numberText(exact.alpha())}));
    }
    case QColor::Hsv:
        return call("hsv"_L1, {float(color.hsvHueF()), float(color.hsvSaturationF()), float(color.valueF()),
                               float(color.alphaF())});
    case QColor::Hsl:
        return call("hsl"_L1, {float(color.hslHueF()), float(color.hslSaturationF()),
                               float(color.lightnessF()), float(color.alphaF())});
    case QColor::Cmyk:
        return call("cmyk"_L1, {float(color.cyanF()), float(color.magentaF()), float(color.yellowF()),
                                float(color.blackF()), float(color.alphaF())});
    case QColor::ExtendedRgb:
        return call("rgb"_L1, {float(color.redF()), float(color.greenF()), float(color.blueF()),
                               float(color.alphaF())});
    }
    return {};
}

std::optional<QColor> colorOf(const QString &text, QString *problem)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return QColor();
    static const QRegularExpression form(u"^(rgba64|hsv|hsl|cmyk|rgb)\\((.*)\\)$"_s);
    const QRegularExpressionMatch match = form.match(trimmed);
    if (!match.hasMatch()) {
        const QColor color = QColor::isValidColorName(trimmed) ? QColor(trimmed) : QColor();
        if (color.isValid())
            return color;
    } else if (match.captured(1) == u"rgba64"_s) {
        const auto parts = numbersOf<ushort, 4>(match.captured(2), problem);
        if (!parts)
            return std::nullopt;
        return QColor(QRgba64::fromRgba64((*parts)[0], (*parts)[1], (*parts)[2], (*parts)[3]));
    } else {
        const QString name = match.captured(1);
        const bool five = name == u"cmyk"_s;
        const auto inRange = [](std::span<const float> parts, float lowest) {
            return std::all_of(parts.begin(), parts.end(),
                               [lowest](float part) { return part >= lowest && part <= 1; });
        };
        QColor color;
        if (five) {
            const auto p = numbersOf<float, 5>(match.captured(2), problem);
            if (!p)
                return std::nullopt;
            if (inRange(*p, 0))
                color = QColor::fromCmykF((*p)[0], (*p)[1], (*p)[2], (*p)[3], (*p)[4]);
        } else {
            const auto p = numbersOf<float, 4>(match.captured(2), problem);
            if (!p)
                return std::nullopt;
            const bool noHue = (*p)[0] == -1;
            if (name == u"rgb"_s)
                color = QColor::fromRgbF((*p)[0], (*p)[1], (*p)[2], (*p)[3]).convertTo(QColor::ExtendedRgb);
            else if (inRange(std::span(*p).subspan(noHue ? 1 : 0), 0))
                color = name == u"hsv"_s ? QColor::fromHsvF((*p)[0], (*p)[1], (*p)[2], (*p)[3])
                                         : QColor::fromHslF((*p)[0], (*p)[1], (*p)[2], (*p)[3]);
        }
        if (color.isValid())
            return color;
    }
    *problem = Texts::tr("Цвет пишется как #RRGGBB, #AARRGGBB или по-английски: red");
    return std::nullopt;
}

// Bytes.

QString bytesText(const QByteArray &bytes)
{
    QString text;
    for (const char byte : bytes) {
        if (byte == '\\')
            text += u"\\\\"_s;
        else if (byte >= ' ' && byte <= '~')
            text += QLatin1Char(byte);
        else
            text += u"\\x%1"_s.arg(uint(uchar(byte)), 2, 16, QLatin1Char('0'));
    }
    return text;
}

std::optional<QByteArray> bytesOf(const QString &text, QString *problem)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c == u'\\' && text.mid(i + 1, 1) == u"\\"_s) {
            bytes += '\\';
            ++i;
        } else if (c == u'\\') {
            bool ok = false;
            const QString digits = text.mid(i + 2, 2);
            const uint byte = digits.toUInt(&ok, 16);
            if (text.mid(i + 1, 1) != u"x"_s || digits.size() != 2 || !ok ||
                !digits.at(0).isLetterOrNumber()) {
                *problem = Texts::tr("После «\\» пишется x и две шестнадцатеричные цифры или ещё одна «\\»");
                return std::nullopt;
            }
            bytes += char(byte);
            i += 3;
        } else if (c >= u' ' && c <= u'~') {
            bytes += char(c);
        } else {
            *problem = Texts::tr("Символ «%1» пишется байтами, как \\x0a").arg(text.at(i));
            return std::nullopt;
        }
    }
    return bytes;
}

/// Whether QFont reads \a text without a complaint.
bool isFont(const QString &text)
{
    const QStringList fields = text.split(u',');
    if (fields.first().trimmed().isEmpty())
        return false;
    if (fields.size() <= 2)
        return true;
    const qsizetype most = std::max<qsizetype>(QFont().toString().count(u',') + 1, 17);
    const int weight = fields.value(4).toInt();
    return fields.size() >= 10 && fields.size() <= most && weight >= 1 && weight <= 1000;
}

/// \a old with what \a text tells otherwise than the text of \a old does.
std::optional<QFont> fontOf(const QFont &old, const QString &text)
{
    // Names with commas shift the fields: then only the short form is read.
    const bool plain = !old.family().contains(u',') && !old.styleName().contains(u',');
    QFont now = old;
    if (!isFont(text) || (!plain && text.count(u',') > 1) || !now.fromString(text))
        return std::nullopt;
    QFont before = old;
    if (plain && isFont(old.toString()))
        before.fromString(old.toString());

    QFont result = old;
    const auto take = [&](auto get, auto set) {
        if ((now.*get)() != (before.*get)())
            (result.*set)((now.*get)());
    };
    if (now.family() != before.family())
        result.setFamilies({now.family()});
    if (now.pointSizeF() != before.pointSizeF() && now.pointSizeF() > 0)
        result.setPointSizeF(now.pointSizeF());
    if (now.pixelSize() != before.pixelSize() && now.pixelSize() > 0)
        result.setPixelSize(now.pixelSize());
    if (now.styleHint() != before.styleHint() || now.styleStrategy() != before.styleStrategy())
        result.setStyleHint(now.styleHint(), now.styleStrategy());
    take(&QFont::weight, &QFont::setWeight);
    take(&QFont::style, &QFont::setStyle);
    take(&QFont::underline, &QFont::setUnderline);
    take(&QFont::strikeOut, &QFont::setStrikeOut);
    take(&QFont::fixedPitch, &QFont::setFixedPitch);
    take(&QFont::capitalization, &QFont::setCapitalization);
    if (now.letterSpacingType() != before.letterSpacingType() ||
        now.letterSpacing() != before.letterSpacing())
        result.setLetterSpacing(now.letterSpacingType(), now.letterSpacing());
    take(&QFont::wordSpacing, &QFont::setWordSpacing);
    take(&QFont::stretch, &QFont::setStretch);
    take(&QFont::styleName, &QFont::setStyleName);
    return result;
}

template <typename Value>
std::optional<QVariant> wrapped(const std::optional<Value> &value)
{
    return value ? std::optional(QVariant::fromValue(*value)) : std::nullopt;
}

template <typename Size, typename Number>
std::optional<QVariant> pairOf(const QString &text, QString *problem)
{
    const auto n = numbersOf<Number, 2>(text, problem);
    return n ? std::optional(QVariant::fromValue(Size((*n)[0], (*n)[1]))) : std::nullopt;
}

template <typename Rect, typename Number>
std::optional<QVariant> quadrupleOf(const QString &text, QString *problem)
{
    const auto n = numbersOf<Number, 4>(text, problem);
    return n ? std::optional(QVariant::fromValue(Rect((*n)[0], (*n)[1], (*n)[2], (*n)[3]))) : std::nullopt;
}

template <typename Size>
QString sizeText(const Size &size)
{
    return joined({numberText(size.width()), numberText(size.height())}, u" × "_s);
}

} // namespace

bool SettingsText::isKnown(QMetaType type)
{
    switch (type.id()) {
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QChar:
    case QMetaType::QByteArray:
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
    case QMetaType::QColor:
    case QMetaType::QFont:
    case QMetaType::QSize:
    case QMetaType::QSizeF:
    case QMetaType::QPoint:
    case QMetaType::QPointF:
    case QMetaType::QRect:
    case QMetaType::QRectF:
    case QMetaType::QKeySequence:
    case QMetaType::QUuid:
    case QMetaType::QUrl:
        return true;
    default:
        return false;
    }
}

QString SettingsText::fromValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Char:
        return numberText(int(value.value<char>()));
    case QMetaType::SChar:
        return numberText(int(value.value<signed char>()));
    case QMetaType::UChar:
        return numberText(uint(value.value<uchar>()));
    case QMetaType::Short:
        return numberText(value.value<short>());
    case QMetaType::UShort:
        return numberText(value.value<ushort>());
    case QMetaType::Int:
        return numberText(value.value<int>());
    case QMetaType::UInt:
        return numberText(value.value<uint>());
    case QMetaType::Long:
        return numberText(value.value<long>());
    case QMetaType::ULong:
        return numberText(value.value<ulong>());
    case QMetaType::LongLong:
        return numberText(value.value<qlonglong>());
    case QMetaType::ULongLong:
        return numberText(value.value<qulonglong>());
    case QMetaType::Float:
        return numberText(value.value<float>());
    case QMetaType::Double:
        return numberText(value.value<double>());
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QChar:
        return escaped(QString(value.toChar()));
    case QMetaType::QByteArray:
        return bytesText(value.toByteArray());
    case QMetaType::QDate:
        return dateText(value.toDate());
    case QMetaType::QTime:
        return timeText(value.toTime());
    case QMetaType::QDateTime:
        return dateTimeText(value.toDateTime());
    case QMetaType::QColor:
        return colorText(value.value<QColor>());
    case QMetaType::QFont:
        return value.value<QFont>().toString();
    case QMetaType::QSize:
        return sizeText(value.toSize());
    case QMetaType::QSizeF:
        return sizeText(value.toSizeF());
    case QMetaType::QPoint:
        return joined({numberText(value.toPoint().x()), numberText(value.toPoint().y())});
    case QMetaType::QPointF:
        return joined({numberText(value.toPointF().x()), numberText(value.toPointF().y())});
    case QMetaType::QRect:
        return rectText(value.toRect());
    case QMetaType::QRectF:
        return joined({numberText(value.toRectF().x()), numberText(value.toRectF().y()),
                       sizeText(value.toRectF().size())});
    case QMetaType::QKeySequence:
        return value.value<QKeySequence>().toString(QKeySequence::PortableText);
    case QMetaType::QUuid:
        return value.toUuid().toString();
    case QMetaType::QUrl:
        return value.toUrl().toString(QUrl::FullyEncoded);
    default:
        return {};
    }
}

std::optional<QVariant> SettingsText::toValue(const QVariant &old, const QString &text, QString *problem)
{
    const bool blank = text.trimmed().isEmpty();
    switch (old.typeId()) {
    case QMetaType::Char: {
        // Whatever the sign of char is here.
        const auto number =
            numberOf<std::conditional_t<std::is_signed_v<char>, signed char, uchar>>(text, problem);
        return number ? std::optional(QVariant::fromValue(char(*number))) : std::nullopt;
    }
    case QMetaType::SChar:
        return wrapped(numberOf<signed char>(text, problem));
    case QMetaType::UChar:
        return wrapped(numberOf<uchar>(text, problem));
    case QMetaType::Short:
        return wrapped(numberOf<short>(text, problem));
    case QMetaType::UShort:
        return wrapped(numberOf<ushort>(text, problem));
    case QMetaType::Int:
        return wrapped(numberOf<int>(text, problem));
    case QMetaType::UInt:
        return wrapped(numberOf<uint>(text, problem));
    case QMetaType::Long:
        return wrapped(numberOf<long>(text, problem));
    case QMetaType::ULong:
        return wrapped(numberOf<ulong>(text, problem));
    case QMetaType::LongLong:
        return wrapped(numberOf<qlonglong>(text, problem));
    case QMetaType::ULongLong:
        return wrapped(numberOf<qulonglong>(text, problem));
    case QMetaType::Float:
        return wrapped(numberOf<float>(text, problem));
    case QMetaType::Double:
        return wrapped(numberOf<double>(text, problem));
    case QMetaType::QString:
        return QVariant(text);
    case QMetaType::QChar: {
        const auto plain = unescaped(text);
        if (plain && plain->size() == 1)
            return QVariant(plain->at(0));
        *problem = Texts::tr("Здесь нужен ровно один символ");
        return std::nullopt;
    }
    case QMetaType::QByteArray:
        return wrapped(bytesOf(text, problem));
    case QMetaType::QDate:
        if (blank)
            return QVariant(QDate());
        if (const auto date = dateOf(text))
            return QVariant(*date);
        *problem = Texts::tr("Дата пишется так: 2024-12-31");
        return std::nullopt;
    case QMetaType::QTime:
        if (blank)
            return QVariant(QTime());
        if (const auto time = timeOf(text))
            return QVariant(*time);
        *problem = Texts::tr("Время пишется так: 23:59:59.999");
        return std::nullopt;
    case QMetaType::QDateTime:
        return blank ? QVariant(QDateTime()) : wrapped(dateTimeOf(old.toDateTime(), text, problem));
    case QMetaType::QColor:
        return wrapped(colorOf(text, problem));
    case QMetaType::QFont: {
        if (const auto font = fontOf(old.value<QFont>(), text))
            return QVariant(*font);
        *problem = Texts::tr("Шрифт пишется так: семейство,размер - или выбирается кнопкой справа");
        return std::nullopt;
    }
    case QMetaType::QSize:
        return pairOf<QSize, int>(text, problem);
    case QMetaType::QSizeF:
        return pairOf<QSizeF, qreal>(text, problem);
    case QMetaType::QPoint:
        return pairOf<QPoint, int>(text, problem);
    case QMetaType::QPointF:
        return pairOf<QPointF, qreal>(text, problem);
    case QMetaType::QRect:
        return wrapped(rectOf(text, problem));
    case QMetaType::QRectF:
        return quadrupleOf<QRectF, qreal>(text, problem);
    case QMetaType::QKeySequence: {
        const QKeySequence keys = QKeySequence::fromString(text.trimmed(), QKeySequence::PortableText);
        bool known = blank || keys.count() > 0;
        for (int i = 0; i < keys.count(); ++i)
            known = known && keys[uint(i)].key() != Qt::Key_unknown;
        if (known)
            return QVariant::fromValue(keys);
        *problem = Texts::tr("Сочетание пишется так: Ctrl+Shift+F5");
        return std::nullopt;
    }
    case QMetaType::QUuid: {
        const QUuid uuid = QUuid::fromString(text.trimmed());
        if (!uuid.isNull() || text.trimmed() == QUuid().toString())
            return QVariant(uuid);
        *problem = Texts::tr("UUID пишется так: %1").arg(QUuid().toString());
        return std::nullopt;
    }
    case QMetaType::QUrl: {
        const QUrl url(text.trimmed(), QUrl::StrictMode);
        if (blank || url.isValid())
            return QVariant(url);
        *problem = Texts::tr("Это не адрес: %1").arg(url.errorString());
        return std::nullopt;
    }
    default:
        *problem = Texts::tr("Значения этого типа не меняются");
        return std::nullopt;
    }
}

bool SettingsText::isLostInTextFields(QChar c)
{
    const char16_t code = c.unicode();
    return (!c.isPrint() && code != u'\n' && code != u'\t') || code == QChar::LineSeparator ||
           code == QChar::ParagraphSeparator || code == QChar::ObjectReplacementCharacter;
}

QString SettingsText::escaped(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\\':
            result += u"\\\\"_s;
            break;
        case u'\n':
            result += u"\\n"_s;
            break;
        case u'\r':
            result += u"\\r"_s;
            break;
        case u'\t':
            result += u"\\t"_s;
            break;
        default:
            if (!isLostInTextFields(c))
                result += c;
            else
                result += u"\\u%1"_s.arg(uint(c.unicode()), 4, 16, QLatin1Char('0'));
        }
    }
    return result;
}

std::optional<QString> SettingsText::unescaped(const QString &text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != u'\\') {
            result += text.at(i);
            continue;
        }
        if (++i == text.size())
            return std::nullopt;
        switch (text.at(i).unicode()) {
        case u'\\':
            result += u'\\';
            break;
        case u'n':
            result += u'\n';
            break;
        case u'r':
            result += u'\r';
            break;
        case u't':
            result += u'\t';
            break;
        case u'u': {
            static const QRegularExpression four(u"^[0-9a-fA-F]{4}$"_s);
            const QString digits = text.mid(i + 1, 4);
            if (!four.match(digits).hasMatch())
                return std::nullopt;
            result += QChar(ushort(digits.toUInt(nullptr, 16)));
            i += 4;
            break;
        }
        default:
            return std::nullopt;
        }
    }
    return result;
}

} // namespace sito
