// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>

namespace sito {

/// The language of the application's texts, of its own and of Qt's. A change reaches every widget as
/// QEvent::LanguageChange.
class Languages
{
    Q_DISABLE_COPY_MOVE(Languages)
public:
    enum class Language {
        /// Russian where the system's is, else English.
        System,
        Russian,
        English,
    };

    /// \a isSystemRussian: what the system's language is taken for. Nothing is installed until apply(); needs a
    /// QCoreApplication, which must outlive it.
    explicit Languages(bool isSystemRussian);
    ~Languages();

    /// "system", "ru", "en": for settings and command lines.
    static QString name(Language language);
    /// The language of that name; System for any other text.
    static Language fromName(const QString &name);
    /// Whether the user reads Russian, the language of the texts in the sources: by LC_ALL, LC_MESSAGES, LANG
    /// as they are now.
    static bool isSystemRussian();

    void apply(Language language);
    /// What was applied last.
    Language current() const { return m_current; }
    /// Whether texts are Russian now.
    bool isRussian() const;

private:
    const bool m_isSystemRussian;
    QTranslator m_own;
    QTranslator m_qt;
    Language m_current = Language::System;
};

} // namespace sito
