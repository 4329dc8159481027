// SPDX-License-Identifier: MIT
#include <hostkit/settings/initext.h>
#include <hostkit/settings/scratchstore.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_IniText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhatIsAnIniFile_data();
    void tellsWhatIsAnIniFile();
    void numbersWhatCannotBeRead_data();
    void numbersWhatCannotBeRead();
    void readsWhatQSettingsReads_data();
    void readsWhatQSettingsReads();
    void keepsWhatCannotBeRead_data();
    void keepsWhatCannotBeRead();
    void tellsAmbiguousNames_data();
    void tellsAmbiguousNames();
};

void tst_IniText::tellsWhatIsAnIniFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isIni");

    QTest::newRow("nothing") << QByteArray() << true;
    QTest::newRow("entry") << QByteArray("a=1") << true;
    QTest::newRow("head") << QByteArray("[a]") << true;
    QTest::newRow("comment") << QByteArray("; a") << true;
    QTest::newRow("comments of another style") << QByteArray("# a\n  # b\n") << true;
    QTest::newRow("words") << QByteArray("just\nwords\n") << false;
    QTest::newRow("words and an entry") << QByteArray("just\nwords\na=1\n") << true;
    QTest::newRow("comment and words") << QByteArray("# just\nwords\n") << false;
    QTest::newRow("unended head") << QByteArray("[\n{}\n") << false;
    QTest::newRow("NUL") << QByteArray("a=1\n\0", 5) << false;
}

void tst_IniText::tellsWhatIsAnIniFile()
{
    QFETCH(QByteArray, content);

    QTEST(IniText(content).isIni(), "isIni");
}

void tst_IniText::numbersWhatCannotBeRead_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QList<qsizetype>>("rows");

    QTest::newRow("none") << QByteArray("; c\n\n[g]\na=1\n") << QList<qsizetype>();
    QTest::newRow("first and last") << QByteArray("# c\na=1\nwords") << QList<qsizetype>{1, 3};
    QTest::newRow("behind blanks and comments")
        << QByteArray("\n\n; c\n\n  # d\n; e\na=1\nwords\n") << QList<qsizetype>{5, 8};
    QTest::newRow("CR LF") << QByteArray("a=1\r\n\r\nwords\r\n\r\nmore\r\n") << QList<qsizetype>{3, 5};
    QTest::newRow("CR") << QByteArray("a=1\rwords\r") << QList<qsizetype>{2};
    QTest::newRow("behind a value of several rows")
        << QByteArray("a=\"1\n2\"\nb=x\\\ny\nwords\n") << QList<qsizetype>{5};
    QTest::newRow("several rows itself") << QByteArray("\"wo\nrds\"\nb=1\nc\n") << QList<qsizetype>{1, 4};
    QTest::newRow("head that nothing ends") << QByteArray("[g\na=1\n[h]\n") << QList<qsizetype>{1};
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf[g]\na=1\nwords\n") << QList<qsizetype>{3};
}

void tst_IniText::numbersWhatCannotBeRead()
{
    QFETCH(QByteArray, content);

    QTEST(IniText(content).unreadableRows(), "rows");
}

void tst_IniText::readsWhatQSettingsReads_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("plain") << QByteArray("a=1\n[g]\nb=2\n");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                   "a=1\n");
    QTest::newRow("byte order mark and section") << QByteArray("\xef\xbb\xbf[g]\na=1\n");
    QTest::newRow("head that nothing ends") << QByteArray("[g\na=1\n");
    QTest::newRow("unreadable lines") << QByteArray("# c\n[g]\nwords\na=1\n#b=2\n");
    QTest::newRow("remark behind a head") << QByteArray("[g];x=1\na=1\n");
    QTest::newRow("same paths by several sections") << QByteArray("[g/h]\na=1\n[g]\nh\\a=2\n");
    QTest::newRow("section twice") << QByteArray("[g]\na=1\n[h]\na=2\n[g]\na=3\n");
    QTest::newRow("spaces") << QByteArray(" [ g ] \n a b = 1 \n");
}

void tst_IniText::readsWhatQSettingsReads()
{
    QFETCH(QByteArray, content);
    const ScratchStore store(content);
    QStringList paths = store->allKeys();
    paths.sort();

    const IniText text(content);

    QCOMPARE(text.paths(), paths);
    for (const QString &path : std::as_const(paths))
        QCOMPARE(text.value(path), store->value(path));
}

void tst_IniText::keepsWhatCannotBeRead_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("comments") << QByteArray("# c\n[g]\n# d\na=1\nb=2\n# e\n")
                              << QByteArray("# c\n[g]\n# d\na=5\nn=6\n# e\n");
    QTest::newRow("words") << QByteArray("words\r\n[g]\r\na=1\r\nb=2\r\nmore words")
                           << QByteArray("words\r\n[g]\r\na=5\r\nn=6\r\nmore words");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf[g]\na=1\nb=2\n")
                                     << QByteArray("\xef\xbb\xbf[g]\na=5\nn=6\n");
    QTest::newRow("head that nothing ends") << QByteArray("[g\na=1\nb=2\n") << QByteArray("[g\na=5\nn=6\n");
}

void tst_IniText::keepsWhatCannotBeRead()
{
    QFETCH(QByteArray, before);

    QTEST(IniText(before).changed({u"g/b"_s}, {{u"g/a"_s, 5}, {u"g/n"_s, 6}}), "after");
}

void tst_IniText::tellsAmbiguousNames_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isAmbiguous");

    QTest::newRow("plain") << QByteArray("a=1\n[g]\nb=2\nc\\d=3\n") << false;
    QTest::newRow("group and key") << QByteArray("g=1\n[g]\nb=2\n") << true;
    QTest::newRow("deeper") << QByteArray("[g]\nb=2\nb\\c\\d=3\n") << true;
    QTest::newRow("key without a name") << QByteArray("[g]\n=2\n") << true;
    QTest::newRow("group without a name") << QByteArray("[]\na=2\n") << true;
    QTest::newRow("slashes") << QByteArray("a//b=2\n") << true;
    QTest::newRow("begins like a group") << QByteArray("ga=1\n[g]\na=2\n") << false;
}

void tst_IniText::tellsAmbiguousNames()
{
    QFETCH(QByteArray, content);

    QTEST(IniText(content).isAmbiguous(), "isAmbiguous");
}

QTEST_GUILESS_MAIN(tst_IniText)
#include "tst_initext.moc"
