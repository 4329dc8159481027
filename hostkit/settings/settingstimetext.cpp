// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingstimetext_p.h>

#include <hostkit/settings/settingstexts_p.h>

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

#include <cstdlib>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

namespace {

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

std::optional<QDate> plainDate(const QString &text)
{
    static const QRegularExpression form(u"^(-?\\d{4,})-(\\d\\d)-(\\d\\d)$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    return match.hasMatch() && date.isValid() ? std::optional(date) : std::nullopt;
}

std::optional<QTime> plainTime(const QString &text)
{
    static const QRegularExpression form(u"^(\\d\\d?):(\\d\\d)(?::(\\d\\d)(?:[.,](\\d{1,3}))?)?$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const QTime time(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt(),
                     match.captured(4).leftJustified(3, u'0').toInt());
    return match.hasMatch() && time.isValid() ? std::optional(time) : std::nullopt;
}

/// The reading \a date, \a time at \a seconds from UTC; at 0 it is a date-time in UTC. (Which constructor
/// says so depends on the version of Qt.)
QDateTime atOffset(QDate date, QTime time, int seconds)
{
    const QDateTime instant = QDateTime(date, time, QTimeZone::utc()).addSecs(-seconds);
    return seconds == 0 ? instant.toUTC() : instant.toOffsetFromUtc(seconds);
}

} // namespace

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

QString dateTimeText(const QDateTime &dateTime)
{
    if (!dateTime.isValid())
        return {};
    QString text = dateText(dateTime.date()) + u'T' + timeText(dateTime.time());
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

std::optional<QDate> dateOf(const QString &text, QString *problem)
{
    const auto date = text.trimmed().isEmpty() ? QDate() : plainDate(text);
    if (!date)
        *problem = Texts::tr("Дата пишется так: 2024-12-31");
    return date;
}

std::optional<QTime> timeOf(const QString &text, QString *problem)
{
    const auto time = text.trimmed().isEmpty() ? QTime() : plainTime(text);
    if (!time)
        *problem = Texts::tr("Время пишется так: 23:59:59.999");
    return time;
}

std::optional<QDateTime> dateTimeOf(const QDateTime &old, const QString &text, QString *problem)
{
    if (text.trimmed().isEmpty())
        return QDateTime();
    static const QRegularExpression form(
        u"^([^T ]+)[T ]([\\d:.,]+)\\s*(Z|[+-]\\d\\d:?\\d\\d(?::?\\d\\d)?)?(?:\\[(.+)\\])?$"_s);
    const QRegularExpressionMatch match = form.match(text.trimmed());
    const auto date = plainDate(match.captured(1));
    const auto time = plainTime(match.captured(2));
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
        // It tells which of two equal readings is meant. Elsewhere the reading counts, so that the date can
        // be changed alone.
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

} // namespace sito::SettingsText
