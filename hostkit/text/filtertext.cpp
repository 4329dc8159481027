// SPDX-License-Identifier: MIT
#include <hostkit/text/filtertext.h>

#include <filters/securitiessessionfilter.h>

#include <QCoreApplication>
#include <QLocale>

namespace sito {

QString displayName(const Filter &filter)
{
    QString name = filter.name();
    if (!name.isEmpty())
        return name;
    if (qobject_cast<const SecuritiesSessionFilter *>(&filter))
        return QCoreApplication::translate("FilterText", "Последние сессии бумаг");
    return QCoreApplication::translate("FilterText", "Фильтр");
}

QString displayText(const Filter &filter)
{
    // The value is a pair of numbers for each security, which nobody would read.
    if (const auto *sessions = qobject_cast<const SecuritiesSessionFilter *>(&filter);
        sessions && sessions->hasValue()) {
        return QCoreApplication::translate("FilterText", "скрыто сессий: %1")
            .arg(QLocale().toString(sessions->getAllExcludedKeys().size()));
    }
    return filter.text();
}

} // namespace sito
