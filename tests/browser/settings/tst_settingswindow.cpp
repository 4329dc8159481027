// SPDX-License-Identifier: MIT
#include <browser/parts/commandline.h>
#include <browser/report/settingsreport.h>
#include <hostkit/settings/settingsvalue.h>
#include <support/settingswindowtest.h>

#include <QAccessible>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QSettings>
#include <QTest>
#include <QTextStream>
#include <QTranslator>

#include <functional>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_SettingsWindow : public SettingsWindowTest
{
    Q_OBJECT
private Q_SLOTS:
    void showsAFile()
    {
        const QString file = makeFile("top=1\n[g]\nlist=a, b\nk=x\n");
        Window w;

        QVERIFY(w.window.openFile(file));

        QCOMPARE(treeText(*w.tree->model()), u"g{k=x list=a,b} top=1"_s);
        QVERIFY(w.tree->isExpanded(w.at(u"g"_s)));
        QCOMPARE(w.window.windowTitle(), u"store.ini[*] - настройки"_s);
        QCOMPARE(w.window.findChild<QLabel *>(u"status"_s)->text(), QFileInfo(file).fileName());
        QCOMPARE(w.window.findChild<QLabel *>(u"status"_s)->toolTip(), QDir::toNativeSeparators(file));
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(w.state->text(), QString());
        QCOMPARE(copies(file), QStringList());
    }

    void tellsWhatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << m_directory.filePath(u"none.ini"_s) << u"Файла «%1» нет"_s;
        QTest::newRow("directory") << m_directory.path() << u"«%1» - каталог, а не файл настроек"_s;
        QTest::newRow("no INI") << makeFile("just\nwords\n") << u"«%1» - не файл INI"_s;
    }
    void tellsWhatCannotBeOpened()
    {
        QFETCH(QString, name);
        QFETCH(QString, message);
        const QString good = makeFile("a=1\n");
        Window w;
        w.window.openFile(good);

        QVERIFY(!w.window.openFile(name));

        QCOMPARE(w.message->text(), message.arg(name));
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
        QCOMPARE(w.window.fileName(), good);
        QTest::mouseClick(w.message->findChild<QWidget *>(u"close"_s), Qt::LeftButton);
        QCOMPARE(w.message->text(), QString());
    }

    void removesNothingWithoutConsent()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\n");
        w.tree->setFocus();
        w.tree->selectAll();

        QCOMPARE(w.answer(u"Отмена"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить выбранное? Записей выбрано: 2|Файл изменится после команды «Записать»."_s);

        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=2"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void writesAtOnceWhenChosen()
    {
        const QByteArray content = "a=1\nb=2\n";
        Window w;
        const QString file = openAtOnce(w, content);
        QVERIFY(w.pending->isHidden() || !w.pending->isVisible());
        QCOMPARE(copies(file), QStringList());

        // An editor that changes nothing writes nothing.
        w.edit(u"a"_s, u"1"_s);
        QCoreApplication::processEvents();
        QCOMPARE(contentOf(file), content);
        QCOMPARE(copies(file), QStringList());
        w.edit(u"a"_s, u"7"_s);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        w.select(u"b"_s);
        QCOMPARE(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить «b»?|Файл изменится сразу."_s);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\n"));

        QCOMPARE(copies(file).size(), 1);
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void asksBeforeChangesAreStranded_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("switches");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("write") << u"Записать"_s << true << QByteArray("a=7\n");
        QTest::newRow("drop") << u"Отбросить"_s << true << QByteArray("a=1\n");
        QTest::newRow("cancel") << u"Отмена"_s << false << QByteArray("a=1\n");
    }
    void asksBeforeChangesAreStranded()
    {
        QFETCH(QString, button);
        QFETCH(bool, switches);
        QFETCH(QByteArray, content);
        for (const bool closing : {false, true}) {
            Window w;
            const QString file = open(w, "a=1\n");
            w.edit(u"a"_s, u"7"_s);

            QCOMPARE(w.answer(button,
                              [&] {
                                  if (closing)
                                      QCOMPARE(w.window.close(), switches);
                                  else
                                      w.action(u"immediate"_s)->trigger();
                                  w.window.show();
                              }),
                     u"Изменений, которые ждут записи: 1. Записать их?|"_s);

            QCOMPARE(contentOf(file), content);
            QCOMPARE(w.pendingTexts().isEmpty(), switches);
            if (!closing) {
                QCOMPARE(w.action(u"immediate"_s)->isChecked(), switches);
                QCOMPARE(w.action(u"manual"_s)->isChecked(), !switches);
            }
            w.action(u"revert"_s)->trigger();
        }
    }

    void namesWhatCannotBeRead()
    {
        const QByteArray content = "# note\na=1\nsome words\n[g]\nb=2\n";
        const QString file = makeFile(content);
        Window w;

        QVERIFY(w.window.openFile(file));
        QCOMPARE(w.state->text(), u"Строки, которые не прочитать: 1, 3"_s);
        QCOMPARE(treeText(*w.tree->model()), u"g{b=2} a=1"_s);
        w.edit(u"g/b"_s, u"9"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray(content).replace("b=2", "b=9"));
        QCOMPARE(w.message->text(), QString());
        write(file, "a=1\n");
        w.press(Qt::Key_F5);
        QCOMPARE(w.state->text(), QString());
    }

    void writesTheSameAsTheCommandLine_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("as another program wrote it")
            << QByteArray("; why\r\n[g]\r\n a = 1 ; one\r\nb=2\r\nlist=A;B\r\n\r\n[h]\r\nc=3");
        QTest::newRow("as QSettings wrote it") << QByteArray("[g]\na=1\nb=2\n\n[h]\nc=3\n");
    }
    void writesTheSameAsTheCommandLine()
    {
        QFETCH(QByteArray, content);
        const QString windowFile = makeFile(content);
        const QString lineFile = makeFile(content);

        Window w;
        w.window.openFile(windowFile);
        w.edit(u"g/a"_s, u"x;y "_s);
        w.remove(u"g/b"_s);
        w.remove(u"h"_s);
        w.action(u"submit"_s)->trigger();
        QString output;
        QTextStream out(&output);
        SettingsReport(CommandLine::parse({u"--settings"_s, lineFile, u"--set"_s, u"g/a=x;y "_s,
                                           u"--remove"_s, u"g/b"_s, u"--remove"_s, u"h"_s},
                                          false),
                       out)
            .run();

        QVERIFY(contentOf(windowFile) != content);
        QCOMPARE(contentOf(lineFile), contentOf(windowFile));
        QCOMPARE(copiedContents(lineFile), copiedContents(windowFile));
    }

    void keepsTypesThatAStoreKnows()
    {
        const QString file = QFileInfo(makeFile({})).dir().filePath(u"typed.conf"_s);
        QSettings other(file, QSettings::IniFormat);
        other.setValue(u"edited"_s, 1);
        other.setValue(u"number"_s, 5);
        other.setValue(u"choice"_s, true);
        other.sync();
        Window w;
        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));

        w.edit(u"edited"_s, u"6"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("[General]\nchoice=true\nedited=6\nnumber=5\n"));
        QVERIFY(isSameSettingsValue(other.value(u"edited"_s), 6));
        QVERIFY(isSameSettingsValue(other.value(u"number"_s), 5));
        QVERIFY(isSameSettingsValue(other.value(u"choice"_s), true));
        QCOMPARE(w.message->text(), QString());
    }

    void tellsOfAFileThatIsGone()
    {
        Window w;
        const QString file = open(w, "a=1\n");

        QVERIFY(QFile::remove(file));

        const QString message = u"Файла «%1» больше нет. Показано то, что в нём было. "
                                "Команда «Записать» создаст его заново"_s.arg(file);
        QTRY_COMPARE(w.message->text(), message);
        QVERIFY(w.action(u"submit"_s)->isEnabled());
        w.press(Qt::Key_F5);
        QCOMPARE(w.message->text(), message);
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
        write(file, "a=2\n");
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QTest::mouseClick(w.message->findChild<QPushButton *>(u"button"_s), Qt::LeftButton);
        QCOMPARE(treeText(*w.tree->model()), u"a=2"_s);
    }

    void writesNoLoneEntryAtOnce()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        QVERIFY(QFile::remove(file));

        w.edit(u"a"_s, u"9"_s);
        QTest::qWait(0);

        QVERIFY(!QFile::exists(file));
        QCOMPARE(w.message->text(),
                 u"Ничего не записано. Файла «%1» больше нет. Показано то, что в нём было. "
                 "Чтобы создать его заново, перейдите к записи по команде"_s.arg(file));
        QVERIFY(w.isEditing());
        w.action(u"manual"_s)->trigger();
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(contentOf(file), QByteArray("a=9\nb=2\n"));
    }

    void takesAlongWhatIsTyped_data()
    {
        QTest::addColumn<std::function<void(Window &)>>("action");
        QTest::addColumn<bool>("asks");
        QTest::addColumn<bool>("writes");

        const QString other = makeFile("z=1\n");
        const auto row = [](const char *name, const std::function<void(Window &)> &action, bool asks,
                            bool writes) { QTest::newRow(name) << action << asks << writes; };
        row(
            "write", [](Window &w) { w.press(Qt::Key_S, Qt::ControlModifier); }, false, true);
        row(
            "close", [](Window &w) { w.window.close(), w.window.show(); }, true, true);
        row(
            "write at once", [](Window &w) { w.action(u"immediate"_s)->trigger(); }, true, true);
        row(
            "another file", [other](Window &w) { w.window.openFile(other); }, true, true);
        row(
            "refresh", [](Window &w) { w.press(Qt::Key_F5); }, false, false);
        row(
            "search",
            [](Window &w) {
                w.search->setText(u"k"_s);
                QTRY_COMPARE(treeText(*w.tree->model()), u"g{k=new}"_s);
            },
            false, false);
    }
    void takesAlongWhatIsTyped()
    {
        QFETCH(std::function<void(Window &)>, action);
        QFETCH(bool, asks);
        QFETCH(bool, writes);
        const QByteArray content = "a=1\n[g]\nk=x\n";
        Window w;
        const QString file = open(w, content);
        w.type(u"g/k"_s, u"new"_s);

        if (asks)
            QCOMPARE(w.answer(u"Записать"_s, [&] { action(w); }),
                     u"Изменений, которые ждут записи: 1. Записать их?|"_s);
        else
            action(w);

        QVERIFY(!w.isEditing());
        QCOMPARE(contentOf(file), writes ? QByteArray("a=1\n[g]\nk=new\n") : content);
        QCOMPARE(w.pendingTexts(), writes ? QStringList() : QStringList{u"Правка|g/k|x|new"_s});
    }

    void waitsForWhatIsNoValueYet_data() { takesAlongWhatIsTyped_data(); }
    void waitsForWhatIsNoValueYet()
    {
        QFETCH(std::function<void(Window &)>, action);
        const QByteArray content = "a=1\nsize=@Size(1 2)\n[g]\nk=x\n";
        Window w;
        const QString file = open(w, content);
        w.edit(u"a"_s, u"9"_s);
        w.type(u"size"_s, u"words"_s);
        auto *line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(line);
        w.message->clear();

        if (QByteArray(QTest::currentDataTag()) == "search") {
            w.search->setText(u"none"_s);
            QTRY_VERIFY(!w.message->text().isEmpty());
        } else {
            action(w);
        }

        QCOMPARE(w.message->text(), u"Сначала исправьте введённое значение или отмените его правку (Esc)"_s);
        QVERIFY(w.isEditing());
        QCOMPARE(line->text(), u"words"_s);
        QCOMPARE(w.window.fileName(), file);
        QVERIFY(w.window.isVisible());
        QVERIFY(w.action(u"manual"_s)->isChecked());
        QCOMPARE(contentOf(file), content);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|9"_s});
        w.press(Qt::Key_Escape);
        QVERIFY(!w.isEditing());
    }

    void keepsAnEditorWhenAllIsReverted()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\n");
        w.edit(u"a"_s, u"9"_s);
        w.type(u"b"_s, u"typed"_s);

        w.action(u"revert"_s)->trigger();

        QCOMPARE(w.pendingTexts(), QStringList());
        QVERIFY(w.isEditing());
        w.press(Qt::Key_Return);
        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=typed"_s);
        w.edit(u"a"_s, u"9"_s);
        w.type(u"b"_s, u"more"_s);
        write(file, "a=1\n");
        w.action(u"revert"_s)->trigger();
        QVERIFY(!w.isEditing());
        QCOMPARE(w.message->text(), u"Отброшено правок, записей которых больше нет: 1"_s);
    }

    void waitsAgainWhenNamesArePlainAgain()
    {
        const QByteArray plain = "a=1\nb=2\n";
        const QByteArray twice = "a=1\nb=2\n[b]\nc=3\n";
        Window w;
        const QString file = open(w, plain);
        const auto refresh = [&](const QByteArray &content) {
            write(file, content);
            w.action(u"refresh"_s)->trigger();
        };

        refresh(twice);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
        refresh(plain);

        QVERIFY(w.action(u"manual"_s)->isChecked());
        w.edit(u"a"_s, u"7"_s);
        QCOMPARE(contentOf(file), plain);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|7"_s});
        w.action(u"revert"_s)->trigger();

        // The choice of the user, too.
        w.action(u"immediate"_s)->trigger();
        refresh(twice);
        refresh(plain);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
    }

    void showsReadOnlyFilesReadOnly()
    {
        const QString file = makeFile("a=1\n");
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        Window w;
        w.window.openFile(file);

        QCOMPARE(w.state->text(), u"Файл доступен только для чтения: изменить его нельзя"_s);
        QVERIFY(!w.at(u"a"_s, 2).flags().testFlag(Qt::ItemIsEditable));
        w.select(u"a"_s, 2);
        QTest::keyClick(w.tree, Qt::Key_F2);
        QCOMPARE(QApplication::focusWidget(), w.tree);
        for (const QString &name :
             {u"submit"_s, u"revert"_s, u"remove"_s, u"immediate"_s, u"manual"_s, u"edit"_s})
            QVERIFY2(!w.action(name)->isEnabled(), qPrintable(name));
        QVERIFY(w.action(u"copyPath"_s)->isEnabled());
    }

    void losesNothingWhereNamesAreAmbiguous_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("group and key") << QByteArray("a=1\nx=2\n[x]\ny=3\n");
        QTest::newRow("in a group") << QByteArray("a=1\n[g]\nx=2\nx\\y=3\n");
        QTest::newRow("nameless key") << QByteArray("a=1\n[g]\n=2\n");
    }
    void losesNothingWhereNamesAreAmbiguous()
    {
        QFETCH(QByteArray, content);
        Window w;
        const QString file = open(w, content);
        const auto before = QSettings(file, QSettings::IniFormat).allKeys();

        QVERIFY(w.state->text().contains(u"запись по команде"_s));
        QVERIFY(!w.action(u"manual"_s)->isEnabled());
        QVERIFY(w.action(u"immediate"_s)->isChecked());
        w.edit(u"a"_s, u"7"_s);
        QTRY_VERIFY(contentOf(file).contains("a=7"));
        w.press(Qt::Key_F5);

        QCOMPARE(QSettings(file, QSettings::IniFormat).allKeys(), before);
        QVERIFY(treeText(*w.tree->model()).contains(u"a=7"_s));
    }

    void tellsThatAStoreIsSpoilt()
    {
        const QByteArray content = "just\nwords\n";
        const QString file = makeFile(content);
        Window w;

        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));

        QCOMPARE(w.message->text(), u"«%1» - не файл INI"_s.arg(file));
        QVERIFY(!w.action(u"submit"_s)->isEnabled());
        QCOMPARE(w.window.fileName(), QString());
        w.window.close();
        QCOMPARE(contentOf(file), content);
        write(file, "a=1\n");
        w.window.openStore(std::make_unique<QSettings>(file, QSettings::IniFormat));
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(treeText(*w.tree->model()), u"a=1"_s);
    }

    void showsAStoreWhoseFileIsToCome()
    {
        const QString file = QFileInfo(makeFile({})).dir().filePath(u"new.conf"_s);
        auto store = std::make_unique<QSettings>(file, QSettings::IniFormat);
        Window w;

        w.window.openStore(std::move(store));

        QCOMPARE(w.message->text(), QString());
        QCOMPARE(w.state->text(), QString());
        QCOMPARE(w.tree->model()->rowCount(), 0);
        QSettings other(file, QSettings::IniFormat);
        other.setValue(u"k"_s, 5);
        other.sync();
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        w.press(Qt::Key_F5);
        QCOMPARE(treeText(*w.tree->model()), u"k=5"_s);
        w.edit(u"k"_s, u"6"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(other.value(u"k"_s), QVariant(6)); // a number still
    }

    void isReachedByKeyboardAndNamed()
    {
        Window w;
        const QString file = open(w, "a=1\n");
        w.edit(u"a"_s, u"2"_s);

        QSet<QWidget *> reached;
        w.tree->setFocus();
        for (int i = 0; i < 40; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached.insert(QApplication::focusWidget());
        }
        for (QWidget *widget : std::initializer_list<QWidget *>{w.tree, w.pending, w.search})
            QVERIFY2(reached.contains(widget), qPrintable(widget->objectName()));
        for (QWidget *widget : std::as_const(reached)) {
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
            QVERIFY(accessible);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
        }
    }

    void followsTheLanguage()
    {
        class Shouting : public QTranslator
        {
        public:
            QString translate(const char *, const char *source, const char *, int) const override
            {
                return QString::fromUtf8(source).toUpper();
            }
            bool isEmpty() const override { return false; }
        };
        Window w;
        const QString file = open(w, "a=1\n");
        const Shouting translator;

        QCoreApplication::installTranslator(const_cast<Shouting *>(&translator));
        QCoreApplication::processEvents();
        const QString label = w.action(u"refresh"_s)->text();
        const QString header = w.tree->model()->headerData(2, Qt::Horizontal).toString();
        const QString placeholder = w.search->placeholderText();
        QCoreApplication::removeTranslator(const_cast<Shouting *>(&translator));
        QCoreApplication::processEvents();

        QCOMPARE(label, u"О&БНОВИТЬ"_s);
        QCOMPARE(header, u"ЗНАЧЕНИЕ"_s);
        QCOMPARE(placeholder, u"ПОИСК ПО ИМЕНИ, ПУТИ, ТИПУ И ЗНАЧЕНИЮ"_s);
        QCOMPARE(w.action(u"refresh"_s)->text(), u"О&бновить"_s);
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_settingswindow.moc"
