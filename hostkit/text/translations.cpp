// SPDX-License-Identifier: MIT
#include <hostkit/text/translations.h>

#include <QCoreApplication>
#include <QDir>
#include <QTranslator>

#include <vector>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView folder(":/sito/translations");
constexpr QLatin1StringView sourceLanguage("ru");
constexpr QLatin1StringView fallbackLanguage("en");

QStringList catalogues(const QString &language)
{
    return QDir(folder).entryList({u"*_%1.qm"_s.arg(language)}, QDir::Files, QDir::Name);
}

/// The first language of \a locale that has texts.
QString languageOf(const QLocale &locale)
{
    const QStringList wanted = locale.uiLanguages();
    for (const QString &tag : wanted) {
        QString language = tag.section(u'-', 0, 0);
        if (language == sourceLanguage || !catalogues(language).isEmpty())
            return language;
    }
    return fallbackLanguage;
}

} // namespace

/// All catalogues as one: widgets are told of a change once, not once for each.
class TranslationsPrivate final : public QTranslator
{
    Q_OBJECT
public:
    void take(const QLocale &locale)
    {
        m_catalogues.clear();
        const QString language = languageOf(locale);
        if (language == sourceLanguage)
            return;
        append(language);
        if (language != fallbackLanguage)
            append(fallbackLanguage);
    }

    QString translate(const char *context, const char *source, const char *comment, int n) const override
    {
        for (const auto &catalogue : m_catalogues) {
            QString text = catalogue->translate(context, source, comment, n);
            if (!text.isNull())
                return text;
        }
        return {};
    }
    /// Never: Qt would tell no widget.
    bool isEmpty() const override { return false; }

private:
    void append(const QString &language)
    {
        const QStringList names = catalogues(language);
        for (const QString &name : names) {
            auto catalogue = std::make_unique<QTranslator>();
            if (catalogue->load(name, folder))
                m_catalogues.push_back(std::move(catalogue));
        }
    }

    std::vector<std::unique_ptr<QTranslator>> m_catalogues; ///< the first that has a text decides
};

Translations::Translations(const QLocale &locale) : d(std::make_unique<TranslationsPrivate>())
{
    setLocale(locale);
}

Translations::~Translations()
{
    QCoreApplication::removeTranslator(d.get());
}

void Translations::setLocale(const QLocale &locale)
{
    // Out of the application while it changes: other threads may ask for texts.
    QCoreApplication::removeTranslator(d.get());
    d->take(locale);
    QCoreApplication::installTranslator(d.get());
}

} // namespace sito

#include "translations.moc"
