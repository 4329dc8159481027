// SPDX-License-Identifier: MIT
#include <sources/isodate_p.h>

#include <QDate>
#include <QTime>

#include <optional>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Takes a whole number of at least so many digits off the front of \a text.
std::optional<int> takeNumber(QStringView &text, qsizetype digits)
{
    qsizetype size = 0;
    int number = 0;
    while (size < text.size() && size < 8 && text[size] >= u'0' && text[size] <= u'9')
        number = number * 10 + (text[size++].unicode() - u'0');
    if (size < digits)
        return std::nullopt;
    text = text.sliced(size);
    return number;
}

bool take(QStringView &text, QLatin1StringView expected)
{
    if (!text.startsWith(expected))
        return false;
    text = text.sliced(expected.size());
    return true;
}

/// Takes ".125" off the front of \a text; nothing is no fraction.
int takeMilliseconds(QStringView &text, bool &isTooFine)
{
    if (!take(text, "."_L1))
        return 0;
    int fraction = 0;
    for (int unit = 100; !text.isEmpty() && text[0] >= u'0' && text[0] <= u'9';
         text = text.sliced(1), unit /= 10) {
        const int digit = text[0].unicode() - u'0';
        fraction += digit * unit;
        isTooFine = isTooFine || (unit == 0 && digit != 0);
    }
    return fraction;
}

/// Takes "14:30:00.125", or "14:30" unless \a isServers.
std::optional<QTime> takeTime(QStringView &text, bool isServers, bool &isTooFine)
{
    const auto hours = takeNumber(text, 2);
    const auto minutes = hours && take(text, ":"_L1) ? takeNumber(text, 2) : std::nullopt;
    if (!minutes)
        return std::nullopt;
    if (!take(text, ":"_L1))
        return isServers ? std::nullopt : std::optional(QTime(*hours, *minutes));
    const auto seconds = takeNumber(text, 2);
    if (!seconds)
        return std::nullopt;
    const int milliseconds = takeMilliseconds(text, isTooFine);
    return QTime(*hours, *minutes, *seconds, milliseconds);
}

} // namespace

CellProblem readIsoDate(QStringView text, bool isServers, qint64 &milliseconds)
{
    const auto year = takeNumber(text, 4);
    const bool hasMonth = year && take(text, "-"_L1);
    const auto month = hasMonth ? takeNumber(text, 2) : std::nullopt;
    const bool hasDay = month && take(text, "-"_L1);
    const auto day = hasDay ? takeNumber(text, 2) : std::nullopt;
    if (!day)
        return CellProblem::Date;
    std::optional<QTime> time = QTime(0, 0);
    bool isTooFine = false;
    if (text.size() >= 2 && text[1].isDigit() && (take(text, " "_L1) || (!isServers && take(text, "T"_L1)))) {
        time = takeTime(text, isServers, isTooFine);
        if (time && !isServers)
            take(text, "Z"_L1);
    }
    const bool isBeforeChrist = isServers && take(text, " BC"_L1);
    const QDate date(isBeforeChrist ? -*year : *year, *month, *day);
    if (!text.isEmpty() || !date.isValid() || !time || !time->isValid())
        return CellProblem::Date;
    if (isTooFine)
        return CellProblem::Fraction;
    constexpr qint64 epoch = 2'440'588;
    constexpr qint64 millisecondsPerDay = 86'400'000;
    milliseconds = (date.toJulianDay() - epoch) * millisecondsPerDay + time->msecsSinceStartOfDay();
    return milliseconds == 0 ? CellProblem::EpochDate : CellProblem::None;
}

} // namespace sito
