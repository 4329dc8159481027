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

    void readsWhatLooksLikeAnOption()
    {
        const CommandLine line =
            CommandLine::parse({u"--table"_s, u"--count"_s, u"--keep"_s, u"-a=-1"_s, u"--exclude=b=1"_s,
                                u"--keep=c=2|3"_s, u"--"_s, u"-x"_s});

        QCOMPARE(line.table, u"--count"_s);
        QCOMPARE(line.action, Action::Count);
        QCOMPARE(line.database, u"-x"_s);
        QCOMPARE(line.keyOptions.size(), 3);
        QCOMPARE(line.keyOptions.at(0).columns, QStringList{u"-a"_s});
        QCOMPARE(line.keyOptions.at(0).keys, u"-1"_s);
        QVERIFY(line.keyOptions.at(0).keep);
        QCOMPARE(line.keyOptions.at(1).columns, QStringList{u"b"_s});
        QVERIFY(!line.keyOptions.at(1).keep);
        QCOMPARE(line.keyOptions.at(2).keys, u"2|3"_s);
    }

    void keepsTheOrderOfChanges()
    {
        const CommandLine line = CommandLine::parse({u"--set"_s, u"a=1"_s, u"--settings=x"_s, u"--remove"_s,
                                                     u"b"_s, u"--set=a=2=3"_s, u"--remove=--set"_s});

        QStringList changes;
        for (const CommandLine::SettingsChange &change : line.settingsChanges)
            changes.append((change.remove ? u"- "_s : u"+ "_s) + change.path + u' ' + change.value);
        QCOMPARE(changes, QStringList({u"+ a 1"_s, u"- b "_s, u"+ a 2=3"_s, u"- --set "_s}));
    }

    void helpsWhateverElseIsWrong()
    {
        QCOMPARE(CommandLine::parse({u"--nope"_s, u"--help"_s}).action, Action::Help);
        QCOMPARE(CommandLine::parse({u"-h"_s, u"--table"_s}).action, Action::ShortHelp);
        QCOMPARE(CommandLine::parse({u"a"_s, u"b"_s, u"--version"_s}).action, Action::Version);
    }

    void namesTheOptionThatIsWrong_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QStringList &arguments, const char *message) {
            QTest::newRow(name) << arguments << QString::fromUtf8(message);
        };
        row("unknown", {u"--list"_s, u"--nope"_s}, "неизвестный параметр --nope");
        row("unknown with a value", {u"--nope=1"_s}, "неизвестный параметр --nope");
        row("unknown letter", {u"-x"_s}, "неизвестный параметр -x");
        row("one dash", {u"-table"_s, u"t"_s}, "неизвестный параметр -t");
        row("no value", {u"--table"_s, u"--table"_s, u"--keep"_s}, "после --keep не хватает значения");
        row("no value the second time", {u"--keep"_s, u"a=1"_s, u"--keep"_s},
            "после --keep не хватает значения");
        row("surplus value", {u"--table"_s, u"t"_s, u"--count=1"_s},
            "параметр --count не принимает значения");
        row("table twice", {u"--table"_s, u"t"_s, u"--table=t"_s}, "параметр --table дан дважды");
        row("list twice", {u"--list"_s, u"--list"_s}, "параметр --list дан дважды");
        row("two databases", {u"--database=a"_s, u"postgresql://u:secret@h/b"_s, u"--list"_s},
            "лишний аргумент «postgresql:…»");
        row("picture without one", {u"--list"_s, u"--size=800x600"_s},
            "параметр --size требует параметра --screenshot");
        row("look without a window", {u"--list"_s, u"--look=dark"_s}, "параметр --look требует окна");
        row("unknown look", {u"--look=blue"_s}, "параметр --look ждёт light или dark, а не «blue»");
        row("change without settings", {u"--set=a=1"_s},
            "параметры --set, --remove и --strategy требуют параметра --settings");
        row("change without a value", {u"--settings=x"_s, u"--set=a"_s},
            "параметр --set ждёт ПУТЬ=ЗНАЧЕНИЕ, а не «a»");
        row("unknown strategy", {u"--settings=x"_s, u"--strategy=y"_s},
            "параметр --strategy не знает порядка «y»");
        row("settings and a table", {u"--settings=x"_s, u"--table=t"_s},
            "параметр --settings несовместим с показом таблиц");
    }
    void namesTheOptionThatIsWrong()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);

        QString thrown;
        try {
            CommandLine::parse(arguments, false);
        } catch (const UsageError &error) {
            thrown = error.message;
        }
        QCOMPARE(thrown, message);
    }

    void hasHelp()
    {
        QVERIFY(CommandLine::help().startsWith(u"ИМЯ\n    sito-browser"_s));
        QVERIFY(CommandLine::shortHelp().startsWith(u"Вызов:\n"_s));
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
