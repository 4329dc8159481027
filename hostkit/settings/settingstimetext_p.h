// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace sito::SettingsText {

/// Dates and times in ISO form. An invalid one is an empty text.
QString dateText(QDate date);
QString timeText(QTime time);
/// Adds the offset from UTC and the name of the zone where \a dateTime has them. A local time gets its offset
/// only in the hour that the clocks show twice.
QString dateTimeText(const QDateTime &dateTime);

/// Reads such texts. Returns nothing, and why in \a problem, when \a text is none.
std::optional<QDate> dateOf(const QString &text, QString *problem);
std::optional<QTime> timeOf(const QString &text, QString *problem);
/// Also accepts the name of the zone of \a old, which may be one that the system does not know.
std::optional<QDateTime> dateTimeOf(const QDateTime &old, const QString &text, QString *problem);

} // namespace sito::SettingsText
