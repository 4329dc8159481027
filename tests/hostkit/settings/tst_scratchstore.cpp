// SPDX-License-Identifier: MIT
#include <hostkit/settings/scratchstore.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_ScratchStore : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;

    QString makeFile(const QByteArray &content)
    {
        const QString name = m_directory.filePath(u"store.ini"_s);
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("no file");
        return name;
    }

private Q_SLOTS:
    void holdsItsContent()
    {
        const ScratchStore store("[g]\nk=1\n");

        QVERIFY(store.isComplete());
        QCOMPARE(store->status(), QSettings::NoError);
        QCOMPARE(store->value(u"g/k"_s), u"1"_s);
    }

    void writesItsContent()
    {
        const ScratchStore store("a=1\n");
        store->setValue(u"b"_s, 2);

        QCOMPARE(store.content(), QByteArray("[General]\na=1\nb=2\n"));
        QVERIFY(!ScratchStore({}).content().isNull());
    }

    void sharesNothingWithTheStoreOfAFile()
    {
        const QString name = makeFile("a=1\n");
        const QSettings first(name, QSettings::IniFormat);
        QCOMPARE(first.value(u"a"_s), u"1"_s);

        const ScratchStore copy("a=another\n");
        copy->setValue(u"b"_s, u"mine"_s);
        copy->sync();

        QCOMPARE(copy->value(u"a"_s), u"another"_s);
        QCOMPARE(first.value(u"a"_s), u"1"_s);
        QVERIFY(!first.contains(u"b"_s));
    }

    void tellsWhatIsNoStore() { QCOMPARE(ScratchStore("just\nwords\n")->status(), QSettings::FormatError); }
};

QTEST_GUILESS_MAIN(tst_ScratchStore)
#include "tst_scratchstore.moc"
