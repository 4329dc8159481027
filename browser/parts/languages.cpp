// SPDX-License-Identifier: MIT
#include <browser/parts/languages.h>

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

Languages::Languages(bool isSystemRussian)
    : m_isSystemRussian(isSystemRussian), m_own(QLocale(QLocale::Russian))
{
}

Languages::~Languages()
{
    QCoreApplication::removeTranslator(&m_qt);
}

QStringList Languages::names()
{
    return {u"system"_s, u"ru"_s, u"en"_s};
}

QString Languages::name(Language language)
{
    return names().at(qsizetype(language));
}

Languages::Language Languages::fromName(const QString &name)
{
    return Language(std::max<qsizetype>(0, names().indexOf(name)));
}

bool Languages::isSystemRussian()
{
#ifdef Q_OS_UNIX
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString locale = qEnvironmentVariable(variable);
        if (!locale.isEmpty())
            return QLocale(locale).language() == QLocale::Russian;
    }
    return false;
#else
    return QLocale::system().language() == QLocale::Russian;
#endif
}

bool Languages::isRussian() const
{
    return m_current == Language::Russian || (m_current == Language::System && m_isSystemRussian);
}

void Languages::apply(Language language)
{
    m_current = language;
    QCoreApplication::removeTranslator(&m_qt);
    // Numbers and dates are shown as usual in the language, whatever the locale of the process. QLocale's
    // default is for display only: what is saved and exported never uses it.
    QLocale::setDefault(isRussian() ? QLocale(QLocale::Russian, QLocale::Russia)
                                    : QLocale(QLocale::English, QLocale::UnitedStates));
    // Without the catalogue Qt's own texts stay English.
    if (isRussian() && m_qt.load(u"qtbase_ru"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_qt);
    m_own.setLocale(QLocale());
}

} // namespace sito
