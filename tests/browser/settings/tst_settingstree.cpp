// SPDX-License-Identifier: MIT
#include <browser/settings/settingstree.h>

#include <hostkit/settings/settingschanges.h>
#include <support/countingmodel.h>
#include <support/settingswindowtest.h>

#include <QAbstractItemView>
#include <QClipboard>
#include <QPointer>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The tree of a store with \a groups groups of ten keys each, whose changes wait.
struct Shown
{
    explicit Shown(int groups)
    {
        QByteArray content;
        for (int group = 0; group < groups; ++group) {
            content += "[g" + QByteArray::number(group) + "]\n";
            for (int key = 0; key < 10; ++key)
                content += "k" + QByteArray::number(key) + "=1\n";
        }
        store = files.parsed(content);
        model.setSettings(store.get());
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        tree.setSource(&model);
        changes.setModel(&model);
        QObject::connect(&changes, &SettingsChanges::changed, &tree, &SettingsTree::remark);
        tree.showFromTheTop();
        tree.resize(600, 400);
        tree.show();
        if (!QTest::qWaitForWindowExposed(&tree))
            qFatal("the tree was not shown");
        rest();
    }
    void rest() const
    {
        QCoreApplication::processEvents();
        QTest::qWait(0);
    }
    QModelIndex cell(const QString &path, int column = 0) const
    {
        return find(*tree.model(), path.split(u'/'), column);
    }

    SettingsFiles files;
    std::unique_ptr<QSettings> store;
    CountingModel model;
    SettingsChanges changes;
    SettingsTree tree{changes};
};

} // namespace

class tst_SettingsTree : public SettingsWindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void announcesOnlyRowsWhoseMarksChange()
    {
        Shown shown(1000);
        QCOMPARE(shown.tree.model()->rowCount(), 1000);
        const QModelIndex k = shown.cell(u"g5/k3"_s, 2);
        ModelRecorder recorder(shown.tree.model());
        const QString marks = u" [%1,%2,%3]"_s.arg(int(Qt::FontRole))
                                  .arg(int(Qt::UserRole) + 1)
                                  .arg(int(Qt::AccessibleTextRole));

        shown.tree.model()->setData(k, u"7"_s);
        shown.rest();
        QCOMPARE(recorder.take(), (QStringList{u"changed g5/k3 2-2 []"_s, u"changed g5/k3 0-2"_s + marks}));

        shown.tree.model()->setData(k, u"8"_s); // marked already
        shown.rest();
        QCOMPARE(recorder.take(), QStringList{u"changed g5/k3 2-2 []"_s});

        shown.tree.model()->setData(k, u"1"_s);
        shown.rest();
        QCOMPARE(recorder.take(), (QStringList{u"changed g5/k3 2-2 []"_s, u"changed g5/k3 0-2"_s + marks}));

        // A removal marks the group around it, and no other.
        const QModelIndex gone = shown.cell(u"g5/k9"_s);
        shown.tree.remove({gone});
        shown.rest();
        QCOMPARE(recorder.take(),
                 (QStringList{u"removing g5 9..9"_s, u"removed g5 9..9"_s, u"changed g5 0-2"_s + marks}));
    }

    void asksTheSameForAnEditInATreeOfAnySize()
    {
        QList<int> questions;
        for (const int groups : {100, 1000}) {
            Shown shown(groups);
            const QModelIndex k = shown.cell(u"g5/k3"_s, 2);

            for (const QString &value : {u"7"_s, u"8"_s, u"1"_s}) {
                shown.rest();
                shown.model.forget();
                shown.tree.model()->setData(k, value);
                shown.rest();
                questions += shown.model.questions();
            }
        }

        // A server of windows may ask for another paint. A look at every row would be 11,000 questions or more.
        constexpr int paint = 3000;
        QVERIFY(questions.at(0) > 0);
        for (int edit = 0; edit < 3; ++edit)
            QVERIFY2(questions.at(edit + 3) < questions.at(edit) + paint,
                     qPrintable(u"%1, %2"_s.arg(questions.at(edit)).arg(questions.at(edit + 3))));
    }

    void findsWhatIsBelowGroupsAndShowsThem()
    {
        Shown shown(12);

        shown.tree.search(u"g11/k7"_s);
        QCOMPARE(treeText(*shown.tree.model()), u"g11{k7=1}"_s);
        shown.tree.search(u"g11/k"_s);
        QCOMPARE(shown.tree.model()->rowCount(shown.tree.model()->index(0, 0)), 10);
        shown.tree.search(QString());

        QCOMPARE(shown.tree.model()->rowCount(), 12);
    }

    // In the window.

    void refreshesInPlace()
    {
        QByteArray content;
        for (int group = 10; group < 40; ++group)
            content += "[g" + QByteArray::number(group) + "]\nk=1\nl=2\n";
        Window w;
        const QString file = open(w, content);
        w.edit(u"g21/k"_s, u"mine"_s);
        w.tree->collapse(w.at(u"g12"_s));
        w.select(u"g20/l"_s);
        w.tree->scrollTo(w.at(u"g20/l"_s), QAbstractItemView::PositionAtTop);
        const int place = w.tree->visualRect(w.at(u"g20/l"_s)).top();

        content.replace("[g11]\nk=1\n", "[g11]\n")
            .replace("[g15]\nk=1\nl=2\n", "")
            .replace("[g30]\n", "[g30]\nj=0\n");
        write(file, content);
        QTRY_COMPARE(w.message->text(), u"Файл изменён другой программой"_s);
        QVERIFY(w.at(u"g15"_s).isValid());
        w.press(Qt::Key_F5);

        QCOMPARE(w.message->text(), QString());
        QVERIFY(!w.at(u"g15"_s).isValid());
        QVERIFY(!w.at(u"g11/k"_s).isValid());
        QVERIFY(w.at(u"g30/j"_s).isValid());
        QVERIFY(!w.tree->isExpanded(w.at(u"g12"_s)));
        QVERIFY(w.tree->isExpanded(w.at(u"g39"_s)));
        QCOMPARE(w.tree->currentIndex(), w.at(u"g20/l"_s));
        QVERIFY(w.tree->selectionModel()->isSelected(w.at(u"g20/l"_s)));
        QCOMPARE(w.tree->visualRect(w.at(u"g20/l"_s)).top(), place);
        QCOMPARE(w.pendingTexts(), QStringList{u"Правка|g21/k|1|mine"_s});
    }

    void keepsGroupsExpandedThatWereAway()
    {
        Window w;
        const QString file = open(w, "a=1\n[g]\nk=1\ndeep\\k=2\nflat\\k=3\n[h]\nk=4\n");
        w.tree->collapse(w.at(u"g/flat"_s));
        w.tree->collapse(w.at(u"h"_s));
        const auto expanded = [&w] {
            QStringList paths;
            for (const QString &path : {u"g"_s, u"g/deep"_s, u"g/flat"_s, u"h"_s}) {
                if (w.tree->isExpanded(w.at(path)))
                    paths += path;
            }
            return paths.join(u' ');
        };
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.remove(u"g"_s);
        w.remove(u"h"_s);
        QCOMPARE(expanded(), QString());
        w.action(u"revert"_s)->trigger();
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.remove(u"g/deep"_s);
        w.dismiss(0);
        QCOMPARE(expanded(), u"g g/deep"_s);

        w.search->setFocus();
        for (const QString &text : {u"nothing at all"_s, QString()}) {
            w.search->setText(text);
            w.press(Qt::Key_Return);
            w.search->setFocus();
        }
        QCOMPARE(expanded(), u"g g/deep"_s);
    }

    void searchesAllColumns_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tree");
        QTest::newRow("name") << u"COLO"_s << u"window{colour=#010203}"_s;
        QTest::newRow("path") << u"window/s"_s << u"window{size=}"_s;
        QTest::newRow("type") << u"stringlist"_s << u"g{list=a,b}"_s;
        QTest::newRow("value") << u"hello"_s << u"g{deep{k=Hello world}}"_s;
        QTest::newRow("text of a value") << u"640 × 4"_s << u"window{size=}"_s;
        QTest::newRow("group") << u"deep"_s << u"g{deep{k=Hello world}}"_s;
        QTest::newRow("nothing") << u"none"_s << QString();
    }
    void searchesAllColumns()
    {
        QFETCH(QString, text);
        QFETCH(QString, tree);
        const QString file =
            makeFile("top=1\n[g]\nlist=a, b\ndeep\\k=Hello world\n[window]\nsize=@Size(640 480)\n"
                     "colour=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff\\x1\\x1\\x2\\x2\\x3\\x3\\0\\0)\n");
        Window w;
        w.window.openFile(file);
        const QString all = treeText(*w.tree->model());

        w.window.setFocus();
        w.tree->setFocus();
        w.press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), w.search);
        QTest::keyClicks(w.search, text.left(1));
        w.search->setText(text);
        QCOMPARE(treeText(*w.tree->model()), all); // not yet
        QTRY_COMPARE(treeText(*w.tree->model()), tree);
        w.search->clear();
        w.press(Qt::Key_Return); // at once

        QCOMPARE(treeText(*w.tree->model()), all);
        QCOMPARE(QApplication::focusWidget(), w.tree);
    }

    void removesWhatTheSearchHides()
    {
        Window w;
        const QString file = open(w, "top=1\n[g]\nfound=1\nother=2\n");
        w.search->setFocus();
        QTest::keyClicks(w.search, u"found"_s);
        w.press(Qt::Key_Return);
        QCOMPARE(treeText(*w.tree->model()), u"g{found=1}"_s);

        w.select(u"g"_s);
        QVERIFY(w.answer(u"Удалить"_s, [&] { w.press(Qt::Key_Delete); }).contains(u"групп записей: 3."_s));

        QCOMPARE(w.pendingTexts(), QStringList{u"Удаление группы|g||"_s});
    }

    void searchesWhenTheEditorIsClosed()
    {
        Window w;
        const QString file = open(w, "alpha=@Size(1 2)\nbeta=2\n");
        w.type(u"alpha"_s, u"words"_s);
        QPointer<QWidget> field = QApplication::focusWidget();
        w.search->setText(u"beta"_s);
        QTRY_VERIFY(!w.message->text().isEmpty());
        QCOMPARE(w.tree->model()->rowCount(), 2);

        field->setFocus();
        w.press(Qt::Key_Escape);

        QTRY_COMPARE(treeText(*w.tree->model()), u"beta=2"_s);
    }

    void copiesPaths()
    {
        Window w;
        const QString file = open(w, "top=1\n[g]\nk=1\n");
        w.select(u"g/k"_s);
        w.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"g/k"_s);

        w.tree->selectAll();
        w.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(QApplication::clipboard()->text().split(u'\n'), (QStringList{u"g"_s, u"g/k"_s, u"top"_s}));
    }
};

QTEST_MAIN(tst_SettingsTree)
#include "tst_settingstree.moc"
