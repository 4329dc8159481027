// SPDX-License-Identifier: MIT
#include <hostkit/text/translations.h>
#include <sources/openserverdialog.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

struct Message
{
    QByteArray context;
    QByteArray source;
    QByteArray comment;
    QString translation;
};

QByteArray read(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<Message> messages(const QByteArray &catalogue)
{
    QList<Message> result;
    QXmlStreamReader xml(catalogue);
    QByteArray context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"name")
            context = xml.readElementText().toUtf8();
        else if (xml.name() == u"message")
            result.append({context, {}, {}, {}});
        else if (xml.name() == u"source")
            result.last().source = xml.readElementText().toUtf8();
        else if (xml.name() == u"comment")
            result.last().comment = xml.readElementText().toUtf8();
        else if (xml.name() == u"translation")
            result.last().translation = xml.readElementText();
    }
    return xml.hasError() ? QList<Message>() : result;
}

} // namespace

/// The English catalogues of the libraries and of the browser.
class tst_Catalogues : public QObject
{
    Q_OBJECT
private:
    static void addCatalogues()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");

        QTest::newRow("libsito") << u"src"_s << u"sito"_s;
        QTest::newRow("hostkit") << u"hostkit"_s << u"sito-hostkit"_s;
        QTest::newRow("sources") << u"sources"_s << u"sito-sources"_s;
        QTest::newRow("browser") << u"browser"_s << u"sito-browser"_s;
    }
    static QString catalogue(const QString &folder, const QString &name)
    {
        return u"%1/%2/translations/%3_en.ts"_s.arg(QStringLiteral(SITO_ROOT), folder, name);
    }
    /// The catalogue at \a fileName as it is after a run of lupdate over \a folders; empty when that fails.
    static QByteArray updated(const QString &fileName, const QStringList &folders)
    {
        const QTemporaryDir directory;
        const QString copy = directory.filePath(u"catalogue_en.ts"_s);
        if (QFile::exists(fileName)) {
            QFile::copy(fileName, copy);
            QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
        }
        const QString root = QStringLiteral(SITO_ROOT);
        QProcess lupdate;
        lupdate.start(QStringLiteral(SITO_LUPDATE),
                      QStringList{u"-locations"_s, u"none"_s, u"-I"_s, root, u"-I"_s, root + u"/src"_s}
                          << folders << u"-ts"_s << copy);
        return lupdate.waitForFinished() && lupdate.exitCode() == 0 ? read(copy) : QByteArray();
    }

private Q_SLOTS:
    /// A library without texts has no catalogue.
    void existWhereThereAreTexts()
    {
        const QString database = QStringLiteral(SITO_ROOT) + u"/database"_s;

        const QByteArray text = updated(QString(), {database});

        QVERIFY(text.contains("</TS>"));
        QCOMPARE(messages(text).size(), 0);
        QVERIFY(!QFile::exists(database + u"/translations"_s));
    }

    void coverEveryTextOfTheSources_data() { addCatalogues(); }
    void coverEveryTextOfTheSources()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);

        const QByteArray text =
            updated(catalogue(folder, name), {u"%1/%2"_s.arg(QStringLiteral(SITO_ROOT), folder)});

        QVERIFY(text.count("<source>") > 3);
        for (const char *kind : {"unfinished", "vanished", "obsolete"}) {
            QVERIFY2(!text.contains(QByteArray("type=\"") + kind),
                     "the texts have changed: build sito-update-translations");
        }
    }

    void areEnglish_data() { addCatalogues(); }
    void areEnglish()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);
        static const QRegularExpression russianLetter(u"[А-Яа-яЁё]"_s);
        const QList<Message> all = messages(read(catalogue(folder, name)));
        QVERIFY(all.size() > 3);

        for (const Message &message : all) {
            QVERIFY2(!message.translation.isEmpty(), message.source.constData());
            QVERIFY2(!message.translation.contains(russianLetter), message.source.constData());
        }
    }

    /// The libraries that this program loads have their catalogues inside.
    void areShown_data() { addCatalogues(); }
    void areShown()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);
        const QList<Message> all = messages(read(catalogue(folder, name)));
        QVERIFY(all.size() > 3);
        const Translations translations(QLocale{QLocale::English});

        for (const Message &message : all) {
            QCOMPARE(QCoreApplication::translate(message.context.constData(), message.source.constData(),
                                                 message.comment.constData()),
                     message.translation);
        }
    }

    void areComplete()
    {
        QCOMPARE(QDir(u":/sito/translations"_s).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"sito-browser_en.qm"_s, u"sito-hostkit_en.qm"_s, u"sito-sources_en.qm"_s,
                              u"sito_en.qm"_s}));
        // Without a use of it, a linker would leave the library out.
        QCOMPARE(OpenServerDialog::staticMetaObject.className(), "sito::OpenServerDialog");
    }
};

QTEST_GUILESS_MAIN(tst_Catalogues)
#include "tst_catalogues.moc"
