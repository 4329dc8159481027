// SPDX-License-Identifier: MIT
#include <support/program.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

class tst_Settings : public QObject
{
    Q_OBJECT
private:
    QString makeFile(const QByteArray &content)
    {
        const QString name = m_directory.filePath(u"made%1.ini"_s.arg(++m_made));
        QFile file(name);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        return name;
    }
    static QByteArray contentOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_directory;
    int m_made = 0;

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void printsTheTree()
    {
        const QString file =
            makeFile("[General]\ntop=1\n[window]\nsize=@Size(800 600)\ntitle=\"Ясный день\"\n"
                     "[window/inner]\nlist=a, b\nmark=x\\ny\n[%General]\nz=1\n");

        const ProgramRun run = runBrowser({u"--settings"_s, file});

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, u"Path               Type         Value\n"
                             "General/\n"
                             "General/z          QString      1\n"
                             "window/\n"
                             "window/inner/\n"
                             "window/inner/list  QStringList  a,b\n"
                             "window/inner/mark  QString      x\uFFFDy\n"
                             "window/size        QSize        QVariant(QSize, QSize(800, 600))\n"
                             "window/title       QString      Ясный день\n"
                             "top                QString      1\n"_s);
    }

    void changesValuesAndRemovesEntries_data()
    {
        QTest::addColumn<QStringList>("strategy");
        QTest::newRow("default") << QStringList();
        QTest::newRow("on field change") << QStringList{u"--strategy"_s, u"on-field-change"_s};
        QTest::newRow("on manual submit") << QStringList{u"--strategy=on-manual-submit"_s};
    }
    void changesValuesAndRemovesEntries()
    {
        QFETCH(QStringList, strategy);
        const QString file = makeFile("[General]\ntop=1\n[a]\nx=1\ny=2\n[a/b]\nz=3\n[gone]\nw=4\n");

        const ProgramRun run = runBrowser(QStringList{u"--settings"_s, file, u"--set"_s, u"a/x=new=value"_s,
                                                      u"--remove"_s, u"gone"_s, u"--remove"_s, u"a/y"_s,
                                                      u"--set"_s, u"a/x="_s, u"--set"_s, u"top=ё"_s} +
                                          strategy);

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, u"Path   Type     Value\n"
                             "a/\n"
                             "a/b/\n"
                             "a/b/z  QString  3\n"
                             "a/x    QString\n"
                             "top    QString  ё\n"_s);
        QCOMPARE(contentOf(file), QByteArray("[General]\ntop=\xd1\x91\n[a]\nx=\n[a/b]\nz=3\n"));
    }

    void changesOnlyTheLinesOfEntries_data()
    {
        QTest::addColumn<QString>("strategy");
        QTest::newRow("on field change") << u"on-field-change"_s;
        QTest::newRow("on manual submit") << u"on-manual-submit"_s;
    }
    void changesOnlyTheLinesOfEntries()
    {
        QFETCH(QString, strategy);
        // Comments, spaces, line ends, a list of another program and a type of another one.
        const QByteArray rest = "; why\r\nlist=A;B\r\nv=@Variant(\\0\\0\\x4\\0)\r\n[h]\r\n b = 2 ; two\r\n";
        const QByteArray content = "; first\r\n[g]\r\na=1\r\nc=3\r\n" + rest;
        const QString file = makeFile(content);

        const ProgramRun run = runBrowser({u"--settings"_s, file, u"--strategy"_s, strategy, u"--set"_s,
                                           u"g/a=9"_s, u"--remove"_s, u"g/c"_s});

        QCOMPARE(run.exitCode, 0);
        QCOMPARE(contentOf(file), "; first\r\n[g]\r\na=9\r\n" + rest);
        const QStringList copies =
            QFileInfo(file).dir().entryList({QFileInfo(file).fileName() + u".bak-*"_s});
        QCOMPARE(copies.size(), 1);
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies.constFirst())), content);
    }

    void namesWhatCannotBeRead()
    {
        const QByteArray content = "# note\na=1\nsome words\n[g]\nb=2\n";
        const QString file = makeFile(content);

        const ProgramRun shown = runBrowser({u"--settings"_s, file});
        const ProgramRun changed = runBrowser({u"--settings"_s, file, u"--set"_s, u"g/b=9"_s});

        QCOMPARE(shown.errors, QString());
        QCOMPARE(shown.exitCode, 0);
        QCOMPARE(shown.output, u"Path  Type     Value\n"
                               "g/\n"
                               "g/b   QString  2\n"
                               "a     QString  1\n"
                               "Lines that cannot be read: 1, 3\n"_s);
        QCOMPARE(changed.exitCode, 0);
        QCOMPARE(contentOf(file), QByteArray(content).replace("b=2", "b=9"));
    }

    void changesEntriesBelowNamesWithPercents_data()
    {
        QTest::addColumn<QString>("strategy");
        QTest::newRow("on field change") << u"on-field-change"_s;
        QTest::newRow("on manual submit") << u"on-manual-submit"_s;
    }
    void changesEntriesBelowNamesWithPercents()
    {
        QFETCH(QString, strategy);
        const QString file = makeFile("[views]\n%252Fhome\\a=1\n%252Fhome\\b=2\n%252Fhome\\c\\d=3\n");

        const ProgramRun run =
            runBrowser({u"--settings"_s, file, u"--strategy"_s, strategy, u"--set"_s, u"views/%2Fhome/a=9"_s,
                        u"--remove"_s, u"views/%2Fhome/b"_s, u"--remove"_s, u"views/%2Fhome/c"_s});

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, u"Path             Type     Value\n"
                             "views/\n"
                             "views/%2Fhome/\n"
                             "views/%2Fhome/a  QString  9\n"_s);
        QCOMPARE(contentOf(file), QByteArray("[views]\n%252Fhome\\a=9\n"));
    }

    void refusesInOneLineAndWritesNothing_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing key") << QStringList{u"--set"_s, u"a/x=9"_s, u"--set"_s, u"a/none=1"_s}
                                     << u"'%1' has no path 'a/none'"_s;
        QTest::newRow("missing group")
            << QStringList{u"--set"_s, u"a/x=9"_s, u"--remove"_s, u"b"_s} << u"'%1' has no path 'b'"_s;
        QTest::newRow("path that is gone")
            << QStringList{u"--remove"_s, u"a"_s, u"--set"_s, u"a/x=9"_s} << u"'%1' has no path 'a/x'"_s;
        QTest::newRow("value of a group")
            << QStringList{u"--set"_s, u"a=9"_s} << u"'a' is a group and has no value"_s;
    }
    void refusesInOneLineAndWritesNothing()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, message);
        const QByteArray content = "[a]\nx=1\n";
        for (const QString &strategy : {u"on-field-change"_s, u"on-manual-submit"_s}) {
            const QString file = makeFile(content);

            const ProgramRun run =
                runBrowser(QStringList{u"--settings"_s, file, u"--strategy"_s, strategy} + changes);

            QCOMPARE(run.exitCode, 2);
            QCOMPARE(run.output, QString());
            QCOMPARE(run.errors,
                     u"sito-browser: "_s + (message.contains(u"%1"_s) ? message.arg(file) : message) + u'\n');
            QCOMPARE(contentOf(file), content);
        }
    }

    void changesNoEntryWithoutAName_data()
    {
        QTest::addColumn<QStringList>("change");
        QTest::addColumn<QString>("message");
        QTest::newRow("value of a key")
            << QStringList{u"--set"_s, u"a/=7"_s} << u"Entry 'a/' has no name and cannot be changed"_s;
        QTest::newRow("key") << QStringList{u"--remove"_s, u"a/"_s}
                             << u"Entry 'a/' has no name and cannot be changed"_s;
        QTest::newRow("top-level key")
            << QStringList{u"--set"_s, u"=7"_s} << u"option --set takes PATH=VALUE, not '=7'"_s;
        QTest::newRow("group") << QStringList{u"--remove"_s, QString()}
                               << u"Entry '' has no name and cannot be changed"_s;
        QTest::newRow("what is below the group")
            << QStringList{u"--set"_s, u"/x/k=7"_s} << u"'%1' has no path '/x/k'"_s;
    }
    void changesNoEntryWithoutAName()
    {
        QFETCH(QStringList, change);
        QFETCH(QString, message);
        const QByteArray content = "[/x]\nk=1\n[a]\n=5\nb=2\n";
        const QString file = makeFile(content);

        const ProgramRun run = runBrowser(QStringList{u"--settings"_s, file} + change);

        QCOMPARE(run.errors,
                 u"sito-browser: "_s + (message.contains(u"%1"_s) ? message.arg(file) : message) + u'\n');
        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.output, QString());
        QCOMPARE(contentOf(file), content);
    }

    void refusesFilesMarkedReadOnly()
    {
        const QByteArray content = "[a]\nx=1\n";
        const QString file = makeFile(content);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));

        const ProgramRun shown = runBrowser({u"--settings"_s, file});
        const ProgramRun changed = runBrowser({u"--settings"_s, file, u"--set"_s, u"a/x=2"_s});

        QCOMPARE(shown.exitCode, 0);
        QCOMPARE(changed.exitCode, 2);
        QCOMPARE(changed.errors, u"sito-browser: File '%1' is read-only\n"_s.arg(file));
        QCOMPARE(contentOf(file), content);
    }

    void refusesWhatIsNoIniFile()
    {
        const QString text = makeFile("just\nsome words\n");
        const QString binary = makeFile(QByteArray("a=\0\1\2", 5));
        const QString missing = m_directory.filePath(u"missing.ini"_s);

        QCOMPARE(runBrowser({u"--settings"_s, text}).errors,
                 u"sito-browser: '%1' is no INI file\n"_s.arg(text));
        QCOMPARE(runBrowser({u"--settings"_s, binary}).errors,
                 u"sito-browser: '%1' is no INI file\n"_s.arg(binary));
        QCOMPARE(runBrowser({u"--settings"_s, missing, u"--set"_s, u"a=1"_s}).errors,
                 u"sito-browser: There is no file '%1'\n"_s.arg(missing));
        QVERIFY(!QFileInfo::exists(missing));
        QCOMPARE(runBrowser({u"--settings=/"_s}).errors,
                 u"sito-browser: '/' is a directory, not a settings file\n"_s);
        QCOMPARE(runBrowser({u"--settings"_s, text}).exitCode, 2);
    }

    void refusesAPipe()
    {
#ifdef Q_OS_UNIX
        const QString pipe = m_directory.filePath(u"pipe.ini"_s);
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

        const ProgramRun run = runBrowser({u"--settings"_s, pipe});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.output, QString());
        QCOMPARE(run.errors, u"sito-browser: '%1' is not a regular file\n"_s.arg(pipe));
#else
        QSKIP("no named pipes in the file system");
#endif
    }

    void refusesOptionsThatDoNotBelongTogether_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("changes alone") << QStringList{u"--set"_s, u"a=1"_s}
                                       << u"options --set, --remove and --strategy need --settings"_s;
        QTest::newRow("strategy alone") << QStringList{u"--list"_s, u"--strategy"_s, u"on-field-change"_s}
                                        << u"options --set, --remove and --strategy need --settings"_s;
        QTest::newRow("unknown strategy") << QStringList{u"--settings"_s, u"x"_s, u"--strategy"_s, u"never"_s}
                                          << u"option --strategy knows no strategy 'never'"_s;
        QTest::newRow("no value") << QStringList{u"--settings"_s, u"x"_s, u"--set"_s, u"a"_s}
                                  << u"option --set takes PATH=VALUE, not 'a'"_s;
        QTest::newRow("list") << QStringList{u"--settings"_s, u"x"_s, u"--list"_s}
                              << u"options --settings and --list exclude each other"_s;
        QTest::newRow("table") << QStringList{u"--settings"_s, u"x"_s, u"--table"_s, u"t"_s}
                               << u"option --settings and the showing of tables exclude each other"_s;
        QTest::newRow("database") << QStringList{u"--settings"_s, u"x"_s, u"y"_s}
                                  << u"surplus argument 'y'"_s;
    }
    void refusesOptionsThatDoNotBelongTogether()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);

        const ProgramRun run = runBrowser(arguments);

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, u"sito-browser: %1\n"_s.arg(message));
    }

    void speaksRussian()
    {
        const QString file = makeFile("[a]\nx=1\n");

        QCOMPARE(runBrowser({u"--settings"_s, file}, u"ru_RU.UTF-8"_s).output,
                 u"Путь  Тип      Значение\na/\na/x   QString  1\n"_s);
    }
};

QTEST_GUILESS_MAIN(tst_Settings)
#include "tst_settings.moc"
