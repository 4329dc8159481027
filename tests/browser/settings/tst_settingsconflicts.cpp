// SPDX-License-Identifier: MIT
#include <support/settingswindowtest.h>

#include <QPointer>
#include <QTest>

#include <functional>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_SettingsConflicts : public SettingsWindowTest
{
    Q_OBJECT
private Q_SLOTS:
    void submitsOntoWhatAnotherProgramWrote()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\n");
        w.edit(u"a"_s, u"7"_s);
        write(file, "a=1\nb=3\nc=4\n");

        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("a=7\nb=3\nc=4\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=3 c=4"_s);
    }

    void showsWhatAnotherProgramWroteBeforeAnEditAtOnce()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        const QByteArray others = "a=1\nb=300\nc=4\n";
        write(file, others);

        w.edit(u"a"_s, u"7"_s);

        QTRY_COMPARE(w.message->text(),
                     u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=300\nc=4\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=300 c=4"_s);
        QCOMPARE(copiedContents(file), QList<QByteArray>{others});
        w.action(u"manual"_s)->trigger();
        w.edit(u"c"_s, u"5"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=300\nc=5\n"));
        QCOMPARE(w.message->text(), QString());
    }

    void showsWhatAnotherProgramWroteWhenChangesAreToWait()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        write(file, "a=1\nb=300\nc=4\n");

        w.action(u"manual"_s)->trigger();

        QCOMPARE(w.message->text(), u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(treeText(*w.tree->model()), u"a=1 b=300 c=4"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
        QTest::qWait(300); // no second word of it
        QCOMPARE(w.message->text(), u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
    }

    void showsWhatAnotherProgramWroteAfterTheNextEdit()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\nc=1\n[b]\nx=3\n");
        write(file, "a=1\nb=2\nc=theirs\n[b]\nx=3\n");
        w.type(u"a"_s, u"one"_s);

        w.press(Qt::Key_Tab); // begins to edit b
        QTest::keyClicks(QApplication::focusWidget(), u"two"_s);
        QTest::qWait(50);

        QVERIFY(w.isEditing());
        w.press(Qt::Key_Return);
        QTRY_COMPARE(treeText(*w.tree->model()), u"b{x=3} a=one b=two c=theirs"_s);
        QCOMPARE(contentOf(file), QByteArray("a=one\nb=two\nc=theirs\n[b]\nx=3\n"));
    }

    void asksAgainWhenTheSameWasChangedInTheFile_data()
    {
        QTest::addColumn<QString>("removed"); // a is edited when empty
        QTest::addColumn<QByteArray>("others");
        QTest::addColumn<QString>("conflict");
        QTest::addColumn<QString>("pending");
        QTest::addColumn<QByteArray>("written");
        const QByteArray rest = "[g]\nk=x\nl=y\n";
        QTest::newRow("edit") << QString() << QByteArray("a=500\n" + rest) << u"a"_s << u"Правка|a|500|7"_s
                              << QByteArray("a=7\n[g]\nk=x\nl=y\n");
        QTest::newRow("same edit") << QString() << QByteArray("a=7\nb=22\n" + rest) << QString() << QString()
                                   << QByteArray("a=7\nb=22\n[g]\nk=x\nl=y\n");
        QTest::newRow("edit of what is gone")
            << QString() << rest << u"a"_s << u"Правка удалённой записи|a||7"_s
            << rest + "\n[General]\na=7\n";
        QTest::newRow("removal") << u"g/k"_s << QByteArray("a=1\n[g]\nk=other\nl=y\n") << u"g/k"_s
                                 << u"Удаление|g/k|other|"_s << QByteArray("a=1\n[g]\nl=y\n");
        QTest::newRow("in a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=other\n") << u"g"_s
                                    << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("new in a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=y\nm=z\n") << u"g"_s
                                        << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("gone from a group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\n") << u"g"_s
                                           << u"Удаление группы|g||"_s << QByteArray("a=1\n");
        QTest::newRow("beside the group") << u"g"_s << QByteArray("a=1\n[g]\nk=x\nl=y\n[gg]\nk=1\n")
                                          << QString() << QString() << QByteArray("a=1\n[gg]\nk=1\n");
    }
    void asksAgainWhenTheSameWasChangedInTheFile()
    {
        QFETCH(QString, removed);
        QFETCH(QByteArray, others);
        QFETCH(QString, conflict);
        QFETCH(QString, pending);
        QFETCH(QByteArray, written);
        Window w;
        const QString file = open(w, "a=1\n[g]\nk=x\nl=y\n");
        if (removed.isEmpty()) {
            w.edit(u"a"_s, u"7"_s);
        } else {
            w.select(removed);
            w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        }
        write(file, others);

        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);
        if (!conflict.isEmpty()) {
            const QString reason = pending.startsWith(u"Правка удалённой"_s)
                                       ? u"изменено здесь, а другой программой удалено"_s
                                       : u"изменено и здесь, и в файле другой программой"_s;
            QCOMPARE(w.message->text(),
                     u"Ничего не записано: %1: %2. Повторите, чтобы заменить то, что в файле"_s.arg(
                         reason, conflict));
            QCOMPARE(contentOf(file), others);
            QCOMPARE(w.pendingTexts(), QStringList{pending});
            QCOMPARE(copies(file), QStringList());
            w.tree->setFocus();
            w.press(Qt::Key_S, Qt::ControlModifier);
        }

        QCOMPARE(contentOf(file), written);
        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(copiedContents(file), QList<QByteArray>{others});
    }

    void asksAgainAtOnceWhenTheSameWasChangedInTheFile()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        const QByteArray others = "a=500\nb=2\n";
        write(file, others);

        w.edit(u"a"_s, u"7"_s);

        QTRY_VERIFY2(w.message->text().startsWith(u"Ничего не записано: изменено и здесь, и в файле"_s),
                     qPrintable(w.message->text()));
        QCOMPARE(contentOf(file), others);
        QTRY_COMPARE(treeText(*w.tree->model()), u"a=500 b=2"_s);
        QVERIFY(w.tree->findChild<QFrame *>(u"settingsEditor"_s)); // with what was typed
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        QCOMPARE(treeText(*w.tree->model()), u"a=7 b=2"_s);
    }

    void writesARefusedValueOnlyWhenToldTo_data()
    {
        using Way = std::function<void(Window &)>;
        QTest::addColumn<Way>("way");
        QTest::newRow("search key") << Way([](Window &w) { w.action(u"find"_s)->trigger(); });
        QTest::newRow("click") << Way([](Window &w) { QTest::mouseClick(w.search, Qt::LeftButton); });
        QTest::newRow("click in the tree") << Way([](Window &w) {
            QTest::mouseClick(w.tree->viewport(), Qt::LeftButton, {},
                              w.tree->visualRect(w.at(u"b"_s)).center());
        });
        QTest::newRow("key in the tree") << Way([](Window &w) {
            w.tree->setFocus();
            w.press(Qt::Key_Down);
        });
        QTest::newRow("tab") << Way([](Window &w) { w.press(Qt::Key_Tab); });
        QTest::newRow("search") << Way([](Window &w) {
            w.search->setText(u"b"_s);
            QTest::keyClick(w.search, Qt::Key_Return);
        });
        QTest::newRow("refresh") << Way([](Window &w) { w.press(Qt::Key_F5); });
        QTest::newRow("close") << Way([](Window &w) { QVERIFY(!w.window.close()); });
        QTest::newRow("typed again") << Way([](Window &w) {
            w.press(Qt::Key_X);
            w.press(Qt::Key_Backspace);
            w.press(Qt::Key_F5);
        });
    }
    void writesARefusedValueOnlyWhenToldTo()
    {
        QFETCH(std::function<void(Window &)>, way);
        const QByteArray others = "a=theirs\nb=2\n";
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        w.type(u"a"_s, u"mine"_s);
        QPointer<QWidget> field = QApplication::focusWidget();
        write(file, others);
        w.press(Qt::Key_Return);
        QTRY_COMPARE(w.message->text(),
                     u"Ничего не записано: изменено и здесь, и в файле другой программой: a. В файле теперь: "
                     "theirs. Повторите, чтобы заменить то, что в файле"_s);

        way(w);
        QTest::qWait(50);

        QCOMPARE(contentOf(file), others);
        QVERIFY(field && field->isVisible());
        way(w);
        QTest::qWait(50);
        QCOMPARE(contentOf(file), others);
        QVERIFY(field && field->isVisible());
        QVERIFY(w.window.isVisible());
        QVERIFY2(w.message->text().contains(u"не записано"_s) || w.message->text().contains(u"Ничего"_s),
                 qPrintable(w.message->text()));
        field->setFocus();
        w.press(Qt::Key_Return);
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
        QTRY_VERIFY(!w.isEditing());
    }

    void tellsOfAValueThatWasNotWritten()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\n");
        w.type(u"a"_s, u"mine"_s);
        write(file, "a=theirs\nb=2\n");
        // Not tried before.
        w.press(Qt::Key_F5);
        QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: theirs"_s), qPrintable(w.message->text()));

        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(),
                 u"Введённое значение не записано. Enter в его поле повторит запись, Esc отменит правку"_s);
        QCOMPARE(contentOf(file), QByteArray("a=theirs\nb=2\n"));
        // The command to write is explicit, too.
        w.action(u"submit"_s)->trigger();
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
    }

    void keepsARefusedValueInItsEditor_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("others");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("tree");
        QTest::addColumn<QByteArray>("written");
        const QByteArray plain = "a=1\nb=2\n";
        const QByteArray twice = "a=1\nb=2\n[b]\nc=3\n";
        const QString gone = u"изменено здесь, а другой программой удалено: a"_s;
        const QString changed = u"изменено и здесь, и в файле другой программой: a. В файле теперь: theirs"_s;
        QTest::newRow("gone") << plain << QByteArray("b=2\n") << gone << u"b=2"_s
                              << QByteArray("a=mine\nb=2\n");
        QTest::newRow("ambiguous") << twice << QByteArray("a=theirs\nb=2\n[b]\nc=3\n") << changed
                                   << u"b{c=3} a=theirs b=2"_s << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
        QTest::newRow("gone from ambiguous ones") << twice << QByteArray("b=2\n[b]\nc=3\n") << gone
                                                  << u"b{c=3} b=2"_s << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
        QTest::newRow("became ambiguous")
            << plain << QByteArray("a=theirs\nb=2\n[b]\nc=3\n") << changed << u"b{c=3} a=theirs b=2"_s
            << QByteArray("a=mine\nb=2\n[b]\nc=3\n");
    }
    void keepsARefusedValueInItsEditor()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, others);
        QFETCH(QString, reason);
        QFETCH(QString, tree);
        QFETCH(QByteArray, written);
        for (const bool again : {false, true}) {
            Window w;
            const QString file = openAtOnce(w, content);
            w.type(u"a"_s, u"mine"_s);
            QPointer<QWidget> field = QApplication::focusWidget();
            write(file, others);
            w.press(Qt::Key_Return);
            QTest::qWait(50);

            QCOMPARE(w.message->text(),
                     u"Ничего не записано: %1. Повторите, чтобы заменить то, что в файле"_s.arg(reason));
            QVERIFY(field && field->isVisible());
            QCOMPARE(contentOf(file), others);
            if (again) {
                // What is there now was not told of yet.
                write(file, "a=last\n" + others.mid(others.indexOf("b=")));
                w.press(Qt::Key_Return);
                QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: last"_s),
                             qPrintable(w.message->text()));
                QVERIFY(field && field->isVisible());
                w.press(Qt::Key_Return);
                QTRY_COMPARE(contentOf(file), written);
                QTRY_COMPARE(treeText(*w.tree->model()),
                             QString(tree)
                                 .remove(u" a=theirs"_s)
                                 .replace(tree.contains(u'}') ? u"}"_s : u"b=2"_s,
                                          tree.contains(u'}') ? u"} a=mine"_s : u"a=mine b=2"_s));
            } else {
                w.press(Qt::Key_Escape);
                QTRY_COMPARE(treeText(*w.tree->model()), tree);
                QCOMPARE(contentOf(file), others);
                QCOMPARE(w.message->text(),
                         u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
            }
            QVERIFY(!w.isEditing());
        }
    }

    void noticesWhatIsWrittenDuringARefresh_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("refreshes");
        QTest::newRow("refresh") << QByteArray("a=1\nb=2\n") << true;
        QTest::newRow("shown after an edit") << QByteArray("a=1\nb=2\n") << false;
        QTest::newRow("ambiguous") << QByteArray("a=1\nb=2\n[a]\nc=3\n") << true;
    }
    void noticesWhatIsWrittenDuringARefresh()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, refreshes);
        Window w;
        const QString file = openAtOnce(w, content);
        const QByteArray others = QByteArray(content).replace("b=2", "b=20");
        write(file, others);
        QObject middle;
        const auto interfere = [&] {
            if (w.at(u"b"_s, 2).data().toString() == u"20"_s && !contentOf(file).contains("theirs"))
                write(file, QByteArray(contentOf(file)).replace("b=20", "b=theirs"));
        };
        connect(w.tree->model(), &QAbstractItemModel::dataChanged, &middle, interfere);
        connect(w.tree->model(), &QAbstractItemModel::modelReset, &middle, interfere);

        if (refreshes)
            w.action(u"refresh"_s)->trigger();
        else
            w.edit(u"a"_s, u"7"_s);

        QTRY_VERIFY(contentOf(file).contains("theirs"));
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        w.edit(u"b"_s, u"mine"_s);
        QTRY_VERIFY2(w.message->text().contains(u"В файле теперь: theirs"_s), qPrintable(w.message->text()));
        QVERIFY(contentOf(file).contains("theirs"));
    }

    void asksAgainBeforeEachOfSeveralRemovals()
    {
        Window w;
        const QString file = openAtOnce(w, "a=1\nb=2\nc=3\n");
        write(file, "a=1\nb=200\nc=3\n");
        w.select(u"a"_s);
        w.tree->selectionModel()->select(w.at(u"b"_s),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);

        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });

        QTRY_COMPARE(
            w.message->text(),
            u"Ничего не записано: изменено и здесь, и в файле другой программой: b. Повторите, чтобы "
            "заменить то, что в файле"_s);
        QCOMPARE(contentOf(file), QByteArray("b=200\nc=3\n"));
        QCOMPARE(treeText(*w.tree->model()), u"b=200 c=3"_s);
        w.select(u"b"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(contentOf(file), QByteArray("c=3\n"));
        QCOMPARE(treeText(*w.tree->model()), u"c=3"_s);
    }

    void keepsWhatAnotherProgramWroteWhereNamesAreAmbiguous()
    {
        Window w;
        const QString file = open(w, "a=1\nx=2\n[x]\ny=3\n");
        write(file, "a=1\nx=2\nz=1\n[x]\ny=30\n");

        w.edit(u"a"_s, u"7"_s);

        QTRY_COMPARE(w.message->text(),
                     u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(contentOf(file), QByteArray("a=7\nx=2\nz=1\n[x]\ny=30\n"));
        QCOMPARE(treeText(*w.tree->model()), u"x{y=30} a=7 x=2 z=1"_s);
        const QByteArray others = "a=500\nx=2\n[x]\ny=3\n";
        write(file, others);
        w.select(u"a"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QTRY_COMPARE(
            w.message->text(),
            u"Ничего не записано: изменено и здесь, и в файле другой программой: a. Повторите, чтобы "
            "заменить то, что в файле"_s);
        QCOMPARE(contentOf(file), others);
        QCOMPARE(treeText(*w.tree->model()), u"x{y=3} a=500 x=2"_s);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        w.select(u"a"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(w.message->text(), u"Ничего не записано: файл «%1» доступен только для чтения"_s.arg(file));
        QCOMPARE(contentOf(file), others);
    }

    void asksBeforeARefreshDropsChanges()
    {
        const QByteArray content = "a=1\nx=2\n[x]\ny=3\n";
        Window w;
        const QString file = open(w, "a=1\nx=2\n");
        w.edit(u"a"_s, u"9"_s);
        w.remove(u"x"_s);
        const QStringList pending{u"Правка|a|1|9"_s, u"Удаление|x|2|"_s};
        write(file, content);
        const QString question =
            u"Обновление отбросит изменения, которые ждут записи: 2. Обновить?|Другая программа записала "
            "в файл записи без имени или имена, которые сразу и группа, и ключ."_s;

        for (const QString &name : {u"refresh"_s, u"revert"_s}) {
            w.message->clear();
            QCOMPARE(w.answer(u"Отмена"_s, [&] { w.action(name)->trigger(); }), question);
            QCOMPARE(w.message->text(), u"Файл изменён другой программой"_s);
            QCOMPARE(w.pendingTexts(), pending);
            QCOMPARE(treeText(*w.tree->model()), u"a=9"_s);
        }
        w.tree->setFocus();
        w.press(Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(w.message->text(),
                 u"Ничего не записано: файл изменён другой программой, и в нём теперь есть записи без "
                 "имени или имена, которые сразу и группа, и ключ"_s);
        w.action(u"immediate"_s)->trigger();
        QCOMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QVERIFY(w.action(u"manual"_s)->isChecked());
        w.dismiss(1);
        QCOMPARE(treeText(*w.tree->model()), u"a=9 x=2"_s);
        QCOMPARE(w.pendingTexts(), pending.mid(0, 1));
        QCOMPARE(contentOf(file), content);

        w.answer(u"Обновить"_s, [&] { w.press(Qt::Key_F5); });

        QCOMPARE(w.message->text(), u"Отброшено изменений, которые ждали записи: 1"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(treeText(*w.tree->model()), u"x{y=3} a=1 x=2"_s);
        QVERIFY(w.action(u"immediate"_s)->isChecked());
    }
};

QTEST_MAIN(tst_SettingsConflicts)
#include "tst_settingsconflicts.moc"
