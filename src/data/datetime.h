// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

/// A point in time: milliseconds since 1970-01-01T00:00:00 UTC. 0 stands for no date, so that the epoch itself
/// cannot be told from it.
class datetime
{
public:
    constexpr datetime() = default;
    constexpr explicit datetime(qint64 milliseconds) : m_milliseconds(milliseconds) { }

    /// Reads \a text as a UTC clock reading in one of the patterns "yyyy.MM.dd HH:mm:ss.zzz",
    /// "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd" and "yyyy-MM-dd"; the last two mean midnight. Any other text gives 0
    /// without a word. The result does not depend on the machine's time zone.
    inline explicit datetime(const QString &text);

    constexpr qint64 milliseconds() const { return m_milliseconds; }

    /// The UTC clock reading as "yyyy.MM.dd HH:mm:ss.zzz"; empty for 0.
    ///
    /// Deliberately, a reading that the machine's time zone skips (a change to daylight-saving time) is shown moved
    /// by the size of that gap, as a local clock would show it: 02:30 as 03:30. Everywhere else the datetime read
    /// from this text is the same again.
    inline QString toString() const;

private:
    static inline qint64 localReading(qint64 reading);

    qint64 m_milliseconds = 0;
};

static_assert(sizeof(datetime) == 8);
