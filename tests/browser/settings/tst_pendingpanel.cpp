// SPDX-License-Identifier: MIT
#include <hostkit/settings/scratchstore.h>
#include <support/settingswindowtest.h>

#include <QClipboard>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_PendingPanel : public SettingsWindowTest
{
    Q_OBJECT
private Q_SLOTS:
    void keepsChangesUntilTheyAreSubmitted()
    {
        const QByteArray content = "a=1\n[g]\nk=x\nl=y\n";
        Window w;
        const QString file = open(w, content);
        QVERIFY(!w.action(u"submit"_s)->isEnabled());

        w.edit(u"g/k"_s, u"new"_s);
        w.select(u"g/l"_s);
        const QString asked = w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });
        QCOMPARE(asked, u"Удалить «g/l»?|Файл изменится после команды «Записать»."_s);

        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|g/k|x|new"_s, u"Удаление|g/l|y|"_s}));
        QVERIFY(w.isMarked(u"g/k"_s));
        QVERIFY(w.isMarked(u"g"_s)); // has a removal in it
        QVERIFY(!w.isMarked(u"a"_s));
        QCOMPARE(w.at(u"g/k"_s).data(Qt::AccessibleTextRole).toString(), u"k, правка ждёт записи"_s);
        QCOMPARE(w.at(u"g"_s).data(Qt::AccessibleTextRole).toString(), u"g, ждут удаления: 1"_s);
        QVERIFY(w.window.isWindowModified());
        QCOMPARE(contentOf(file), content);
        QCOMPARE(copies(file), QStringList());

        w.press(Qt::Key_S, Qt::ControlModifier);

        QCOMPARE(contentOf(file), QByteArray("a=1\n[g]\nk=new\n"));
        QCOMPARE(w.pendingTexts(), QStringList());
        QVERIFY(!w.isMarked(u"g/k"_s));
        QVERIFY(!w.window.isWindowModified());
        QCOMPARE(copies(file).size(), 1);
        QVERIFY(QRegularExpression(u"^store\\.ini\\.bak-\\d{8}-\\d{6}$"_s)
                    .match(copies(file).constFirst())
                    .hasMatch());
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);

        w.edit(u"a"_s, u"2"_s);
        w.press(Qt::Key_S, Qt::ControlModifier);
        QVERIFY(contentOf(file).contains("a=2"));
        QCOMPARE(copies(file).size(), 1);
    }

    void dismissesOneChangeAlone()
    {
        const QByteArray content = "a=1\n[g]\nk=x\nl=y\n";
        Window w;
        const QString file = open(w, content);
        w.edit(u"a"_s, u"2"_s);
        w.edit(u"g/k"_s, u"new"_s);
        w.select(u"g/l"_s);
        w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); });

        w.pending->setFocus();
        w.pending->setCurrentIndex(w.pending->model()->index(2, 0));
        w.press(Qt::Key_Delete);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|g/k|x|new"_s, u"Правка|a|1|2"_s}));
        QCOMPARE(treeText(*w.tree->model()), u"g{k=new l=y} a=2"_s);
        w.pending->setCurrentIndex(w.pending->model()->index(0, 0));
        QTest::mouseClick(w.window.findChild<QPushButton *>(u"dismiss"_s), Qt::LeftButton);

        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|a|1|2"_s});
        QCOMPARE(treeText(*w.tree->model()), u"g{k=x l=y} a=2"_s);
        QVERIFY(!w.isMarked(u"g/k"_s));
        QVERIFY(w.isMarked(u"a"_s));
        QCOMPARE(contentOf(file), content);
    }

    void revertsAll()
    {
        Window w;
        const QString file = open(w, "a=1\n[g]\nk=x\nl=y\n");
        w.edit(u"a"_s, u"2"_s);
        w.select(u"g"_s);
        QCOMPARE(
            w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }),
            u"Удалить «g»?|Вместе с содержимым групп записей: 3. Файл изменится после команды «Записать»."_s);
        QCOMPARE(treeText(*w.tree->model()), u"a=2"_s);

        w.press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);

        QCOMPARE(treeText(*w.tree->model()), u"g{k=x l=y} a=1"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void tellsOfEditsThatGoWithAGroup()
    {
        Window w;
        const QString file = open(w, "a=1\n[g]\nk=x\nl=y\n[gg]\nk=z\n");
        w.edit(u"g/k"_s, u"new"_s);
        w.edit(u"gg/k"_s, u"new"_s);
        w.remove(u"g/l"_s);

        w.select(u"g"_s);
        QCOMPARE(w.answer(u"Отмена"_s, [&] { w.press(Qt::Key_Delete); }),
                 u"Удалить «g»?|Вместе с содержимым групп записей: 2. Правки, которые ждут записи, "
                 "пропадут: 1. Файл изменится после команды «Записать»."_s);
    }

    void dismissesWhatItWasAskedToAlone()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\nc=3\n");
        w.edit(u"a"_s, u"9"_s);
        w.remove(u"b"_s);
        w.remove(u"c"_s);

        // What another program removed is found with the next refresh.
        write(file, "b=2\nc=3\n");
        w.dismiss(1);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|a|1|9"_s, u"Удаление|c|3|"_s}));

        // A store of the same file in this program holds the same.
        QSettings(file, QSettings::IniFormat).sync();
        w.dismiss(1);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка удалённой записи|a||9"_s});
        QCOMPARE(treeText(*w.tree->model()), u"b=2 c=3"_s);
        QCOMPARE(w.message->text(),
                 u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
                 "«Отменить это» оставит удалёнными"_s);
    }

    void offersToCreateAgainWhatOthersRemoved_data()
    {
        QTest::addColumn<bool>("writes");
        QTest::newRow("write") << true;
        QTest::newRow("let go") << false;
    }
    void offersToCreateAgainWhatOthersRemoved()
    {
        QFETCH(bool, writes);
        Window w;
        const QString file = open(w, "a=1\nb=2\nc=3\n");
        w.edit(u"a"_s, u"mine"_s);
        w.edit(u"c"_s, u"5"_s);
        write(file, "b=2\nc=3\n");

        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(),
                 u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
                 "«Отменить это» оставит удалёнными"_s);
        QCOMPARE(treeText(*w.tree->model()), u"b=2 c=5"_s);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|c|3|5"_s, u"Правка удалённой записи|a||mine"_s}));
        QCOMPARE(w.pending->model()->index(1, 0).data(Qt::ToolTipRole).toString(),
                 u"«a»: запись удалена другой программой. «Записать» создаст её снова"_s);
        w.press(Qt::Key_F5); // they are still there
        QCOMPARE(w.pendingTexts().size(), 2);
        if (!writes) {
            w.pending->setCurrentIndex(w.pending->model()->index(1, 0));
            QTest::mouseClick(w.window.findChild<QPushButton *>(u"dismiss"_s), Qt::LeftButton);
            QCOMPARE(w.pendingTexts(), QStringList{u"Правка|c|3|5"_s});
        }
        w.action(u"submit"_s)->trigger();

        QCOMPARE(contentOf(file), writes ? QByteArray("b=2\nc=5\na=mine\n") : QByteArray("b=2\nc=5\n"));
        QCOMPARE(treeText(*w.tree->model()), writes ? u"a=mine b=2 c=5"_s : u"b=2 c=5"_s);
        QCOMPARE(w.pendingTexts(), QStringList());
    }

    void showsPendingChangesThatTheSearchHides()
    {
        Window w;
        const QString file = open(w, "alpha=1\nbeta=2\n");
        w.edit(u"alpha"_s, u"5"_s);
        w.remove(u"beta"_s);
        const auto search = [&](const QString &text) {
            w.search->setText(text);
            QTest::keyClick(w.search, Qt::Key_Return);
        };
        const auto activate = [&](int row) {
            w.pending->setFocus();
            w.pending->setCurrentIndex(w.pending->model()->index(row, 0));
            w.press(Qt::Key_Return);
        };
        search(u"5"_s);
        activate(0);
        QCOMPARE(w.search->text(), u"5"_s);
        search(u"none"_s);
        QCOMPARE(w.tree->model()->rowCount(), 0);

        // Without the search it is not there either.
        activate(1);
        QCOMPARE(w.search->text(), u"none"_s);
        activate(0);

        QCOMPARE(w.search->text(), QString());
        QCOMPARE(w.tree->currentIndex().siblingAtColumn(0), w.at(u"alpha"_s));
    }

    void keepsWhatIsNoValueYetWhenAPendingChangeIsChosen()
    {
        Window w;
        const QString file = open(w, "a=1\nb=2\nsize=@Size(1 2)\n");
        w.edit(u"a"_s, u"5"_s);
        w.type(u"size"_s, u"words"_s);
        auto *line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(line);

        Q_EMIT w.pending->activated(w.pending->model()->index(0, 0));

        QCOMPARE(w.message->text(), u"Сначала исправьте введённое значение или отмените его правку (Esc)"_s);
        QVERIFY(w.isEditing());
        QCOMPARE(line->text(), u"words"_s);
    }

    void losesNoChangeWithTheFile_data()
    {
        QTest::addColumn<bool>("gone");
        QTest::newRow("gone") << true;
        QTest::newRow("no INI any more") << false;
    }
    void losesNoChangeWithTheFile()
    {
        QFETCH(bool, gone);
        const QByteArray broken = "just\nwords\n";
        Window w;
        const QString file = open(w, "a=1\nb=2\n[g]\nk=x\n[h]\nl=y\n");
        w.edit(u"a"_s, u"9"_s);
        w.edit(u"g/k"_s, u"new"_s);
        w.remove(u"b"_s);
        const QStringList pending{u"Правка|g/k|x|new"_s, u"Правка|a|1|9"_s, u"Удаление|b|2|"_s};
        QCOMPARE(w.pendingTexts(), pending);
        QString problem = u"«%1» - не файл INI"_s.arg(file);
        if (gone) {
            QVERIFY(QFile::remove(file));
            problem = u"Файла «%1» больше нет. Показано то, что в нём было. "
                      "Команда «Записать» создаст его заново"_s.arg(file);
        } else {
            write(file, broken);
        }
        w.action(u"revert"_s)->trigger();
        QCOMPARE(w.message->text(), u"Ничего не отменено. "_s + problem);
        QCOMPARE(w.message->findChild<QPushButton *>(u"button"_s)->text(), u"Обновить"_s);
        w.message->clear();
        w.dismiss(2);
        QCOMPARE(w.message->text(), u"Ничего не отменено. "_s + problem);
        w.press(Qt::Key_F5);
        QCOMPARE(w.message->text(), problem);
        w.action(u"immediate"_s)->trigger();
        QCOMPARE(w.message->text(), problem);
        QVERIFY(w.action(u"manual"_s)->isChecked());
        QCOMPARE(w.pendingTexts(), pending);
        QCOMPARE(treeText(*w.tree->model()), u"g{k=new} h{l=y} a=9"_s);

        w.dismiss(0);
        QCOMPARE(w.pendingTexts(), pending.mid(1));
        QCOMPARE(treeText(*w.tree->model()), u"g{k=x} h{l=y} a=9"_s);

        problem = u"Ничего не записано: "_s + problem;
        w.press(Qt::Key_S, Qt::ControlModifier);
        if (gone) {
            QCOMPARE(contentOf(file), QByteArray("a=9\n[g]\nk=x\n[h]\nl=y\n"));
            QCOMPARE(w.pendingTexts(), QStringList());
            QCOMPARE(w.message->text(), QString());
            QVERIFY(!w.action(u"submit"_s)->isEnabled());
        } else {
            QCOMPARE(contentOf(file), broken);
            QCOMPARE(w.message->text(), problem);
            QCOMPARE(w.pendingTexts(), pending.mid(1));
        }
    }

    void keepsWhatOthersAddToAGroupToBeRemoved_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("tree");
        QTest::addColumn<QString>("also");
        QTest::newRow("added") << QByteArray("a=1\n[g]\nk=x\nnew=precious\n") << u"g{k=x new=precious} a=5"_s
                               << QString();
        QTest::newRow("added deeper")
            << QByteArray("a=1\n[g]\nh\\new=precious\nk=x\n") << u"g{h{new=precious} k=x} a=5"_s << QString();
        QTest::newRow("changed") << QByteArray("a=1\n[g]\nk=precious\n") << u"g{k=precious} a=5"_s
                                 << QString();
        QTest::newRow("and an edited key is gone")
            << QByteArray("[g]\nk=precious\n") << u"g{k=precious}"_s
            << u"Другая программа удалила записи, правки которых ждут: a. «Записать» создаст их снова, "
               "«Отменить это» оставит удалёнными. "_s;
    }
    void keepsWhatOthersAddToAGroupToBeRemoved()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, tree);
        QFETCH(QString, also);
        Window w;
        const QString file = open(w, "a=1\n[g]\nk=x\n");
        w.edit(u"a"_s, u"5"_s);
        w.remove(u"g"_s);
        QCOMPARE(w.pendingTexts(), (QStringList{u"Правка|a|1|5"_s, u"Удаление группы|g||"_s}));

        write(file, content);
        w.action(u"refresh"_s)->trigger();

        QCOMPARE(w.message->text(),
                 also + u"Отменено удаление групп, в которые другая программа записала новое: g"_s);
        QCOMPARE(treeText(*w.tree->model()), tree);
        QCOMPARE(w.pendingTexts(),
                 QStringList{also.isEmpty() ? u"Правка|a|1|5"_s : u"Правка удалённой записи|a||5"_s});
        w.action(u"submit"_s)->trigger();
        QVERIFY(contentOf(file).contains("precious"));
        w.remove(u"g"_s);
        w.action(u"submit"_s)->trigger();
        QCOMPARE(contentOf(file), QByteArray(also.isEmpty() ? "a=5\n" : "[General]\na=5\n"));
    }

    void changesEntriesBelowNamesWithPercents_data()
    {
        QTest::addColumn<QString>("strategy");
        QTest::newRow("by command") << u"manual"_s;
        QTest::newRow("at once") << u"immediate"_s;
    }
    void changesEntriesBelowNamesWithPercents()
    {
        QFETCH(QString, strategy);
        const bool manual = strategy == u"manual"_s;
        const QString group = u"views/%2Fhome%2Fx"_s;
        const QString file = makeFile({});
        {
            QSettings store(file, QSettings::IniFormat);
            store.setValue(group + u"/other"_s, u"x"_s);
            store.setValue(group + u"/table"_s, u"Customers"_s);
            store.setValue(group + u"/deep%1/k"_s, u"y"_s);
        }
        Window w;
        w.window.openFile(file);
        w.action(strategy)->trigger();
        const auto stored = [&] { return entries(*ScratchStore(contentOf(file))); };

        w.edit(group + u"/table"_s, u"Orders"_s);
        w.select(group + u"/table"_s);
        w.action(u"copyPath"_s)->trigger();
        QCOMPARE(QApplication::clipboard()->text(), group + u"/table"_s);
        QCOMPARE(w.isMarked(group + u"/table"_s), manual);
        QCOMPARE(w.at(group + u"/table"_s).data(Qt::ToolTipRole).toString(), group + u"/table"_s);
        w.select(group + u"/other"_s);
        QVERIFY(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }).startsWith(u"Удалить «"_s + group));
        QCOMPARE(w.isMarked(group), manual);
        w.remove(group + u"/deep%1"_s);

        const QStringList pending{u"Правка|"_s + group + u"/table|Customers|Orders"_s,
                                  u"Удаление|"_s + group + u"/other|x|"_s,
                                  u"Удаление группы|"_s + group + u"/deep%1||"_s};
        QCOMPARE(w.pendingTexts(), manual ? pending : QStringList());
        if (manual) {
            w.pending->setFocus();
            w.pending->setCurrentIndex(w.pending->model()->index(0, 0));
            w.press(Qt::Key_Return);
            QCOMPARE(w.tree->currentIndex(), w.at(group + u"/table"_s));
            w.dismiss(1);
            QCOMPARE(treeText(*w.tree->model(), w.at(group)), u"other=x table=Orders"_s);
            w.remove(group + u"/other"_s);
            w.action(u"refresh"_s)->trigger();
            QCOMPARE(w.pendingTexts(), (QStringList{pending.at(0), pending.at(2), pending.at(1)}));
        }
        w.action(u"submit"_s)->trigger();

        QCOMPARE(w.pendingTexts(), QStringList());
        QCOMPARE(w.message->text(), QString());
        QCOMPARE(treeText(*w.tree->model()), u"views{%2Fhome%2Fx{table=Orders}}"_s);
        QCOMPARE(stored(), QStringList{group + u"/table=Orders"_s});
    }
};

QTEST_MAIN(tst_PendingPanel)
#include "tst_pendingpanel.moc"
