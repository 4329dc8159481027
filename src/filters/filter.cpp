// SPDX-License-Identifier: MIT
#include <filters/filter.h>

Filter::Filter(int firstId, QObject *parent) : Filter(firstId, -1, parent) {}

Filter::Filter(int firstId, int secondId, QObject *parent)
    : QObject(parent), m_firstId(firstId), m_secondId(secondId)
{
}

Filter::~Filter() = default;

bool Filter::hasValue() const
{
    return false;
}

QString Filter::value() const
{
    return QString();
}

void Filter::setValue(const QString &value)
{
    Q_UNUSED(value)
}

void Filter::clear()
{
    setValue(QString());
}

void Filter::setEnabled(bool enabled)
{
    m_enabled = enabled;
    Q_EMIT enabledChanged(enabled);
}
