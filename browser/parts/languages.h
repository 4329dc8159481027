// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/text/translations.h>

#include <QString>
#include <QStringList>
#include <QTranslator>

namespace sito {

/// The language of all texts, the application's own and those of Qt. A change reaches every widget as
/// QEvent::LanguageChange.
class Languages
{
    Q_DISABLE_COPY_MOVE(Languages)
public:
    enum class Language {
        /// Russian when the system's language is Russian, otherwise English.
        System,
        Russian,
        English,
    };

    /// \a isSystemRussian says what to take the system's language for. Texts stay as they are before apply().
    /// Needs a QCoreApplication, which must outlive this object.
    explicit Languages(bool isSystemRussian);
    ~Languages();

    /// The names for settings and command lines, in the order of Language: "system", "ru" and "en".
    static QStringList names();
    static QString name(Language language);
    /// The language of that name; System for any other text.
    static Language fromName(const QString &name);
    /// Whether the current values of LC_ALL, LC_MESSAGES and LANG ask for Russian, the language of the texts
    /// in the sources.
    static bool isSystemRussian();

    void apply(Language language);
    /// The language applied last.
    Language current() const { return m_current; }
    /// Whether texts are in Russian now.
    bool isRussian() const;

private:
    const bool m_isSystemRussian;
    QTranslator m_qt;
    Translations m_own;
    Language m_current = Language::System;
};

} // namespace sito
