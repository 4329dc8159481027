// SPDX-License-Identifier: MIT
#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringView>

#include <array>
#include <limits>
#include <optional>

/// A point in time: milliseconds since 1970-01-01T00:00:00 UTC. 0 means no date, so the epoch itself cannot
/// be represented.
///
/// The calendar is the Gregorian one, also for the time before its introduction, and has no year 0.
///
/// **Threads.** A plain value: copies are independent and may be used from any thread.
///
/// **Cost.** Eight bytes. Reading a text allocates nothing; toString() also asks Qt about the machine's time
/// zone, which toUtcString() does not.
class datetime
{
public:
    constexpr datetime() = default;
    constexpr explicit datetime(qint64 milliseconds) : m_milliseconds(milliseconds) {}

    /// Reads \a text as a UTC clock reading in one of the patterns "yyyy.MM.dd HH:mm:ss.zzz",
    /// "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd" and "yyyy-MM-dd"; the last two mean midnight. Every number has
    /// exactly as many digits as the pattern has letters, and no other white space stands for the blank; a
    /// minus sign before the year stands for years before Christ. Any other text, and a day or time that the
    /// calendar does not have, gives 0 and no error. The result does not depend on the machine's time zone.
    inline explicit datetime(const QString &text);

    /// Reads a text of toUtcString(): one of the patterns above, or "@" and a number of milliseconds. Any
    /// other text gives 0.
    static inline datetime fromUtcString(QStringView text);

    /// Milliseconds since 1970-01-01T00:00:00 UTC; 0 for no date.
    constexpr qint64 milliseconds() const { return m_milliseconds; }

    /// The UTC clock reading as "yyyy.MM.dd HH:mm:ss.zzz"; empty for 0. A year before Christ has a minus sign
    /// in front, a year after 9999 as many digits as it needs (which the constructor does not read).
    ///
    /// A reading that the machine's time zone skips (a change to daylight-saving time) is deliberately shown
    /// moved by the size of that gap, as a local clock would show it: 02:30 as 03:30. Every other text of
    /// years from -9999 to 9999 is read as the same datetime again.
    inline QString toString() const;

    /// The UTC clock reading as "yyyy.MM.dd HH:mm:ss.zzz", the same in every time zone; empty for 0, and "@"
    /// with the milliseconds where the year lies outside 1 to 9999. fromUtcString() gives the same datetime
    /// again.
    inline QString toUtcString() const;

private:
    static constexpr qint64 millisecondsPerDay = 86'400'000;
    /// The first instants of the years 1 and 10000: between them a year has four digits and no sign.
    static constexpr qint64 fourDigitsBegin = -62'135'596'800'000;
    static constexpr qint64 fourDigitsEnd = 253'402'300'800'000;

    static constexpr bool hasFourDigitYear(qint64 milliseconds)
    {
        return milliseconds >= fourDigitsBegin && milliseconds < fourDigitsEnd;
    }
    static constexpr qint64 floorDivide(qint64 value, qint64 divisor)
    {
        return value / divisor - (value % divisor < 0 ? 1 : 0);
    }
    static constexpr bool isLeapYear(int year)
    {
        return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    }
    static constexpr qint64 daysFromCivil(int year, int month, int day);
    static constexpr void writeDigits(char16_t *end, int count, int number);

    static inline std::optional<qint64> read(QStringView text);
    static inline QString readingText(qint64 reading);
    static inline qint64 localReading(qint64 reading);

    qint64 m_milliseconds = 0;
};

static_assert(sizeof(datetime) == 8);
Q_DECLARE_TYPEINFO(datetime, Q_PRIMITIVE_TYPE);

inline datetime::datetime(const QString &text) : m_milliseconds(read(text).value_or(0)) {}

inline datetime datetime::fromUtcString(QStringView text)
{
    if (!text.startsWith(u'@'))
        return datetime(read(text).value_or(0));

    bool ok = false;
    const qint64 milliseconds = text.mid(1).toLongLong(&ok);
    return datetime(ok ? milliseconds : 0);
}

inline QString datetime::toString() const
{
    return m_milliseconds == 0 ? QString() : readingText(localReading(m_milliseconds));
}

inline QString datetime::toUtcString() const
{
    if (m_milliseconds == 0)
        return QString();
    if (!hasFourDigitYear(m_milliseconds))
        return QChar(u'@') + QString::number(m_milliseconds);
    return readingText(m_milliseconds);
}

/// The days from 1970-01-01 to a date; \a year counts as astronomers do, with a year 0 for 1 BC.
constexpr qint64 datetime::daysFromCivil(int year, int month, int day)
{
    // Years that begin in March put the leap day last; eras of 400 years have the same number of days.
    const int marchYear = year - (month <= 2 ? 1 : 0);
    const int era = (marchYear >= 0 ? marchYear : marchYear - 399) / 400;
    const int yearOfEra = marchYear - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return qint64(era) * 146'097 + dayOfEra - 719'468;
}

/// The instant of the UTC reading \a text, or nothing when it is none.
inline std::optional<qint64> datetime::read(QStringView text)
{
    const char16_t *units = text.utf16();
    qsizetype size = text.size();
    const bool beforeChrist = size > 0 && units[0] == u'-';
    if (beforeChrist) {
        ++units;
        --size;
    }

    // The patterns differ in length and separators alone.
    if (size < 10)
        return std::nullopt;
    const char16_t separator = units[4];
    const bool dotted = separator == u'.';
    if (!(dotted || separator == u'-') || (size != 10 && size != (dotted ? 23 : 19)))
        return std::nullopt;

    bool ok = units[7] == separator;
    const auto number = [&ok, units](int at, int count) {
        int result = 0;
        for (int i = at; i < at + count; ++i) {
            ok = ok && units[i] >= u'0' && units[i] <= u'9';
            result = result * 10 + (units[i] - u'0');
        }
        return result;
    };
    int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    if (!ok || year == 0 || month < 1 || month > 12 || day < 1)
        return std::nullopt;
    if (beforeChrist)
        year = 1 - year;
    constexpr std::array<int, 12> monthDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (day > monthDays[size_t(month - 1)] + (month == 2 && isLeapYear(year) ? 1 : 0))
        return std::nullopt;

    const qint64 midnight = daysFromCivil(year, month, day) * millisecondsPerDay;
    if (size == 10)
        return midnight;

    const int hours = number(11, 2);
    const int minutes = number(14, 2);
    const int seconds = number(17, 2);
    int milliseconds = 0;
    if (dotted) {
        milliseconds = number(20, 3);
        ok = ok && units[19] == u'.';
    }
    ok = ok && units[10] == u' ' && units[13] == u':' && units[16] == u':';
    if (!ok || hours > 23 || minutes > 59 || seconds > 59)
        return std::nullopt;
    return midnight + ((hours * 60 + minutes) * 60 + seconds) * qint64(1000) + milliseconds;
}

/// Writes \a number as \a count decimal digits that end before \a end.
constexpr void datetime::writeDigits(char16_t *end, int count, int number)
{
    for (; count > 0; --count, number /= 10)
        *--end = char16_t(u'0' + number % 10);
}

/// The text of \a reading, milliseconds since the epoch on the clock that is shown.
inline QString datetime::readingText(qint64 reading)
{
    const qint64 days = floorDivide(reading, millisecondsPerDay);
    const auto rest = int(reading % millisecondsPerDay);
    const int time = rest < 0 ? rest + int(millisecondsPerDay) : rest;
    int year = 0;
    int month = 0;
    int day = 0;
    QDate(1970, 1, 1).addDays(days).getDate(&year, &month, &day);

    std::array<char16_t, 23> units = {u'0', u'0', u'0', u'0', u'.', u'0', u'0', u'.', u'0', u'0', u' ', u'0',
                                      u'0', u':', u'0', u'0', u':', u'0', u'0', u'.', u'0', u'0', u'0'};
    char16_t *const text = units.data();
    writeDigits(text + 4, 4, qAbs(year) % 10'000);
    writeDigits(text + 7, 2, month);
    writeDigits(text + 10, 2, day);
    writeDigits(text + 13, 2, time / 3'600'000);
    writeDigits(text + 16, 2, time / 60'000 % 60);
    writeDigits(text + 19, 2, time / 1000 % 60);
    writeDigits(text + 23, 3, time % 1000);
    const QStringView fixed(text, qsizetype(units.size()));
    if (year >= 1 && year <= 9999)
        return fixed.toString();

    QString result;
    if (year < 0)
        result += u'-';
    if (qAbs(year) > 9999)
        result += QString::number(qAbs(year) / 10'000);
    result += fixed;
    return result;
}

/// What a clock of the machine's time zone shows for \a reading, both as milliseconds since the epoch on
/// their own clocks: the same, or a reading after the gap where the zone skips it.
inline qint64 datetime::localReading(qint64 reading)
{
    constexpr qint64 second = 1000;
    // No zone is farther from UTC. There are no gaps either where the search could leave the range of
    // instants.
    constexpr qint64 reach = 25 * 3600;
    constexpr qint64 limit = std::numeric_limits<qint64>::max() - 2 * reach * second;
    if (reading > limit || reading < -limit)
        return reading;

    // Changes of a zone happen at whole seconds and are whole seconds long.
    const qint64 seconds = floorDivide(reading, second);
    const auto offsetAt = [](qint64 instant) -> qint64 {
        return QDateTime::fromMSecsSinceEpoch(instant * second).offsetFromUtc();
    };
    const auto exists = [&offsetAt, seconds](qint64 offset) { return offsetAt(seconds - offset) == offset; };

    const qint64 offset = offsetAt(seconds);
    const qint64 other = offsetAt(seconds - offset);
    // Two offsets are in effect around a change; most readings exist with one that is found at once.
    if (other == offset || exists(other))
        return reading;
    qint64 before = seconds - reach;
    qint64 after = seconds + reach;

    // The local clock is before the reading at \c before, and after it at \c after; the change that skips the
    // reading lies between.
    while (after - before > 1) {
        const qint64 middle = before + (after - before) / 2;
        if (middle + offsetAt(middle) <= seconds)
            before = middle;
        else
            after = middle;
    }
    if (before + offsetAt(before) == seconds)
        return reading;
    return reading + (offsetAt(after) - offsetAt(before)) * second;
}
