// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>

/// Puts the process into another time zone until it is destroyed.
class ZoneGuard
{
    Q_DISABLE_COPY_MOVE(ZoneGuard)
public:
    explicit ZoneGuard(const QByteArray &zone)
        : m_wasSet(qEnvironmentVariableIsSet("TZ")), m_zone(qgetenv("TZ"))
    {
        qputenv("TZ", zone);
    }
    ~ZoneGuard()
    {
        if (m_wasSet)
            qputenv("TZ", m_zone);
        else
            qunsetenv("TZ");
    }

private:
    const bool m_wasSet;
    const QByteArray m_zone;
};
