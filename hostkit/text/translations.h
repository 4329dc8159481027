// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QLocale>

#include <memory>

namespace sito {

class TranslationsPrivate;

/// The language of the texts of all Sito libraries that the program has loaded. The texts in the sources are
/// Russian; each library carries an English catalogue.
///
/// \code
/// QApplication application(argc, argv);
/// sito::Translations translations(QLocale::system());
/// ...
/// translations.setLocale(QLocale::Russian);   // the user has chosen another language
/// \endcode
/// Texts are Russian if Russian is the first language in QLocale::uiLanguages() that has texts at all, and
/// English if none has. A program may add catalogues of its own, also in other languages and for other texts,
/// as resources `:/sito/translations/<name>_<language>.qm`, such as `sito-hostkit_de.qm`; what they lack is
/// English.
///
/// Changes neither QLocale's default, in which numbers and dates are shown, nor the language of Qt's own
/// texts.
///
/// Needs a QCoreApplication, which outlives this object.
///
/// **Threads.** Made and used in the GUI thread; meanwhile, other threads may ask for texts.
///
/// **Cost.** A change of language loads the catalogues and asks every widget to show its texts again.
class HOSTKIT_EXPORT Translations
{
    Q_DISABLE_COPY_MOVE(Translations)
public:
    /// Shows texts in the language of \a locale from now on. Widgets get QEvent::LanguageChange.
    explicit Translations(const QLocale &locale);
    /// Texts are Russian again.
    ~Translations();

    /// As the constructor. Widgets get QEvent::LanguageChange also when the language stays the same.
    void setLocale(const QLocale &locale);

private:
    const std::unique_ptr<TranslationsPrivate> d;
};

} // namespace sito
