// SPDX-License-Identifier: MIT
#include <filterfuncs/filterfunc.h>

FilterFunc::FilterFunc(QObject *parent) : QObject(parent) {}

QString FilterFunc::toString() const
{
    return QString::fromUtf8(metaObject()->className());
}
