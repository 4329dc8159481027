// SPDX-License-Identifier: MIT
#include <browser/settings/settingstree.h>

#include <hostkit/settings/settingschanges.h>
#include <support/countingmodel.h>
#include <support/settingsfixtures.h>

#include <QRegularExpression>
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

class tst_SettingsTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

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
};

QTEST_MAIN(tst_SettingsTree)
#include "tst_settingstree.moc"
