// SPDX-License-Identifier: MIT
#include <browser/parts/commandline.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;
using Action = CommandLine::Action;

Q_DECLARE_METATYPE(CommandLine::Action)

class tst_CommandLine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void choosesWhatToDo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Action>("withDisplay");
        QTest::addColumn<Action>("withoutDisplay");
        QTest::newRow("table") << QStringList{u"--table"_s, u"t"_s} << Action::Window << Action::Count;
        QTest::newRow("filter") << QStringList{u"--table"_s, u"t"_s, u"--keep"_s, u"a=1"_s} << Action::Window
                                << Action::Count;
        QTest::newRow("count") << QStringList{u"--table"_s, u"t"_s, u"--count"_s} << Action::Count
                               << Action::Count;
        QTest::newRow("head") << QStringList{u"--table"_s, u"t"_s, u"--head"_s, u"1"_s} << Action::Head
                              << Action::Head;
        QTest::newRow("list") << QStringList{u"--list"_s} << Action::List << Action::List;
        QTest::newRow("settings") << QStringList{u"--settings"_s, u"x"_s} << Action::Settings
                                  << Action::Settings;
        QTest::newRow("picture") << QStringList{u"--screenshot"_s, u"x"_s} << Action::Screenshot
                                 << Action::Screenshot;
        QTest::newRow("help") << QStringList{u"--help"_s} << Action::Help << Action::Help;
    }
    void choosesWhatToDo()
    {
        QFETCH(QStringList, arguments);

        QTEST(CommandLine::parse(arguments, true).action, "withDisplay");
        QTEST(CommandLine::parse(arguments, false).action, "withoutDisplay");
    }

    void opensTheWindowForNothingOrAFileWhereThereIsADisplay()
    {
        QCOMPARE(CommandLine::parse({}, true).action, Action::Window);
        const CommandLine file =
            CommandLine::parse({u"base.sqlite"_s, u"--look=dark"_s, u"--language"_s, u"ru"_s}, true);
        QCOMPARE(file.action, Action::Window);
        QCOMPARE(file.database, u"base.sqlite"_s);
        QCOMPARE(file.look, u"dark"_s);
        QCOMPARE(file.language, u"ru"_s);
        QVERIFY_THROWS_EXCEPTION(UsageError, CommandLine::parse({}, false));
        QVERIFY_THROWS_EXCEPTION(UsageError, CommandLine::parse({u"base.sqlite"_s}, false));
    }

    void readsTheOptionsOfPictures()
    {
        const CommandLine line = CommandLine::parse({u"--screenshot=x.png"_s, u"--size"_s, u"800x600"_s,
                                                     u"--scale"_s, u"1.5"_s, u"--show"_s, u"filter:a:b"_s});

        QCOMPARE(line.screenshotFile, u"x.png"_s);
        QCOMPARE(line.screenshotSize, QSize(800, 600));
        QCOMPARE(line.scale, u"1.5"_s);
        QCOMPARE(line.popupColumn, u"a:b"_s);
        QVERIFY(!line.showsSettings);
        QVERIFY(CommandLine::parse({u"--screenshot=x"_s, u"--show=settings"_s}).showsSettings);
    }

    void refusesSizesThatAreNone_data()
    {
        QTest::addColumn<QString>("size");
        for (const char *size : {"", "x", "800", "800x", "x600", "800x600x1", "0x600", "800X600", "-800x600",
                                 "800x600 ", "1000000x600", "5x5"})
            QTest::newRow(size) << QString::fromLatin1(size);
    }
    void refusesSizesThatAreNone()
    {
        QFETCH(QString, size);

        QVERIFY_THROWS_EXCEPTION(UsageError,
                                 CommandLine::parse({u"--screenshot"_s, u"x.png"_s, u"--size"_s, size}));
    }
};

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_commandline.moc"
