// SPDX-License-Identifier: MIT
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class tst_Catalogue : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void coversEveryTextOfTheSources()
    {
        QTemporaryDir directory;
        const QString copy = directory.filePath(u"catalogue.ts"_s);
        QVERIFY(QFile::copy(QStringLiteral(SITO_CATALOGUE), copy));
        QVERIFY(QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner));
        const QString sources = QStringLiteral(SITO_SOURCES);

        QProcess lupdate;
        lupdate.start(QStringLiteral(SITO_LUPDATE),
                      {u"-locations"_s, u"none"_s, u"-I"_s, sources, u"-I"_s, sources + u"/src"_s,
                       sources + u"/src"_s, sources + u"/hostkit"_s, sources + u"/sources"_s,
                       sources + u"/browser"_s, u"-ts"_s, copy});
        QVERIFY(lupdate.waitForFinished());
        QCOMPARE(lupdate.exitCode(), 0);

        QFile file(copy);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray catalogue = file.readAll();
        QVERIFY(catalogue.count("<source>") > 50);
        QVERIFY2(!catalogue.contains("type=\"unfinished\""),
                 "a text is not translated: build sito-update-translations");
        QVERIFY2(!catalogue.contains("type=\"vanished\""), "a text has gone: build sito-update-translations");
        QVERIFY2(!catalogue.contains("type=\"obsolete\""), "a text has gone: build sito-update-translations");
    }
};

QTEST_GUILESS_MAIN(tst_Catalogue)
#include "tst_catalogue.moc"
