// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>

#include <settings/settingsmodel.h>
#include <support/countingmodel.h>
#include <support/seed.h>
#include <support/settingsfixtures.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDir>
#include <QMap>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include <algorithm>
#include <functional>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// "edit g/k 1 -> 2", "removal g/", …
QStringList texts(const SettingsChanges &changes)
{
    QStringList result;
    for (const SettingsChanges::Change &change : changes.changes()) {
        if (change.removal)
            result += u"removal "_s + change.path + (change.group ? u"/"_s : QString());
        else
            result += (change.gone ? u"gone "_s : QString()) +
                      u"edit %1 %2 -> %3"_s.arg(change.path, settingsValueText(change.oldValue),
                                                settingsValueText(change.newValue));
    }
    return result;
}

void write(const QString &name, const QByteArray &content)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write");
}

/// Store, model and list.
struct Fixture
{
    explicit Fixture(std::unique_ptr<QSettings> settings) : store(std::move(settings))
    {
        model.setSettings(store.get());
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        changes.setModel(&model);
    }

    void edit(const QStringList &names, const QVariant &value)
    {
        model.setData(find(model, names, 2), value);
        changes.synchronize();
    }
    void remove(const QStringList &names)
    {
        const QModelIndex index = find(model, names);
        model.removeRow(index.row(), index.parent());
        changes.synchronize();
    }

    std::unique_ptr<QSettings> store;
    SettingsModel model;
    SettingsChanges changes;
};

} // namespace

class TestSettingsChanges : public QObject
{
    Q_OBJECT

private:
    SettingsFiles m_files;

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void listsEditsAndRemovals()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\nl=3\n[h]\nm=4\n"));
        const QAbstractItemModelTester tester(&f.changes,
                                              QAbstractItemModelTester::FailureReportingMode::Fatal);
        QSignalSpy changed(&f.changes, &SettingsChanges::changed);
        QVERIFY(f.changes.isEmpty());

        f.edit({u"g"_s, u"k"_s}, u"9"_s);
        f.edit({u"a"_s}, 1); // another type
        f.remove({u"g"_s, u"l"_s});
        f.remove({u"h"_s});

        QCOMPARE(texts(f.changes),
                 (QStringList{u"edit g/k 2 -> 9"_s, u"edit a 1 -> 1"_s, u"removal g/l"_s, u"removal h/"_s}));
        QCOMPARE(changed.size(), 4);
        QVERIFY(f.changes.isEdited(u"g/k"_s));
        QVERIFY(!f.changes.isEdited(u"g/l"_s));
        QCOMPARE(f.changes.removalsIn(u"g"_s), 1);
        QCOMPARE(f.changes.removalsIn(QString()), 1);
        QCOMPARE(f.changes.index(0, SettingsChanges::KindColumn).data().toString(), u"Правка"_s);
        QCOMPARE(f.changes.index(2, SettingsChanges::KindColumn).data().toString(), u"Удаление"_s);
        QCOMPARE(f.changes.index(3, SettingsChanges::KindColumn).data().toString(), u"Удаление группы"_s);
        QCOMPARE(f.changes.index(2, SettingsChanges::PathColumn).data().toString(), u"g/l"_s);
        QCOMPARE(f.changes.index(2, SettingsChanges::OldColumn).data().toString(), u"3"_s);
        QCOMPARE(f.changes.index(0, SettingsChanges::NewColumn).data().toString(), u"9"_s);
        QCOMPARE(f.changes.headerData(2, Qt::Horizontal).toString(), u"Было"_s);
    }

    void followsWithTheEventLoop()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"));

        f.model.setData(find(f.model, {u"a"_s}, 2), u"5"_s);
        QCOMPARE(texts(f.changes), QStringList{u"edit a 1 -> 5"_s}); // at once
        f.model.setData(find(f.model, {u"a"_s}, 2), u"6"_s);
        QCOMPARE(texts(f.changes), QStringList{u"edit a 1 -> 6"_s});
        f.model.removeRow(1);
        QTRY_COMPARE(texts(f.changes), (QStringList{u"edit a 1 -> 6"_s, u"removal b"_s}));
        f.model.revertAll();
        QTRY_COMPARE(texts(f.changes), QStringList());
    }

    void asksNoOtherRowForAnEdit()
    {
        QList<int> questions;
        for (const int groups : {1, 1000}) {
            QByteArray content;
            for (int group = 0; group < groups; ++group)
                content += "[g" + QByteArray::number(group) + "]\nk=1\nl=2\nm=3\nn=4\no=5\n";
            const auto store = m_files.parsed(content);
            CountingModel model;
            model.setSettings(store.get());
            model.setReadOnly(false);
            model.setEditStrategy(SettingsModel::OnManualSubmit);
            SettingsChanges changes;
            changes.setModel(&model);
            const QModelIndex k = find(model, {u"g0"_s, u"k"_s}, 2);

            // The first edit, another one, and the one that takes it back.
            for (const QString &value : {u"7"_s, u"8"_s, u"1"_s}) {
                QCoreApplication::processEvents();
                model.forget();
                model.setData(k, value);
                QCoreApplication::processEvents();
                QCOMPARE(changes.rowCount(), value == u"1"_s ? 0 : 1);
                questions += model.questions();
            }
        }

        QVERIFY(questions.at(0) > 0);
        QCOMPARE(questions.mid(3), questions.first(3));
    }

    void listsEditsInTheOrderOfTheTreeWheneverTheyAreMade()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=3\nl=4\nh\\m=5\n[i]\nn=6\n"));
        const QAbstractItemModelTester tester(&f.changes,
                                              QAbstractItemModelTester::FailureReportingMode::Fatal);
        QSignalSpy reset(&f.changes, &QAbstractItemModel::modelReset);
        const QStringList all{u"edit g/h/m 5 -> x"_s, u"edit g/k 3 -> x"_s, u"edit g/l 4 -> x"_s,
                              u"edit i/n 6 -> x"_s, u"edit a 1 -> x"_s};

        for (const QString &path : {u"i/n"_s, u"a"_s, u"g/l"_s, u"g/h/m"_s, u"g/k"_s})
            f.model.setData(find(f.model, path.split(u'/'), 2), u"x"_s);

        QCOMPARE(texts(f.changes), all);
        QCOMPARE(reset.size(), 0);
        // Rows above them go.
        f.remove({u"g"_s, u"h"_s});
        f.model.setData(find(f.model, {u"g"_s, u"k"_s}, 2), u"3"_s);
        f.model.setData(find(f.model, {u"b"_s}, 2), u"x"_s);
        f.model.setData(find(f.model, {u"a"_s}, 2), u"y"_s);
        QCOMPARE(texts(f.changes), (QStringList{all.at(2), all.at(3), u"edit a 1 -> y"_s, u"edit b 2 -> x"_s,
                                                u"removal g/h/"_s}));
        f.changes.synchronize();
        QCOMPARE(texts(f.changes), (QStringList{all.at(2), all.at(3), u"edit a 1 -> y"_s, u"edit b 2 -> x"_s,
                                                u"removal g/h/"_s}));
    }

    void forgetsWhatIsNoneAnyMore()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\nl=3\n"));

        f.edit({u"a"_s}, u"5"_s);
        f.edit({u"a"_s}, u"1"_s);
        QCOMPARE(texts(f.changes), QStringList());
        f.edit({u"g"_s, u"k"_s}, u"5"_s);
        f.remove({u"g"_s, u"l"_s});
        f.remove({u"g"_s}); // with both
        QCOMPARE(texts(f.changes), QStringList{u"removal g/"_s});
        f.model.submitAll();
        f.changes.synchronize();
        QCOMPARE(texts(f.changes), QStringList());
        QCOMPARE(entries(*f.store), QStringList{u"a=1"_s});
    }

    void knowsWhatWasReadLast()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=3\nl=4\n"));
        f.edit({u"a"_s}, u"7"_s);
        f.remove({u"g"_s, u"k"_s});
        f.remove({u"g"_s});
        QFile file(f.store->fileName());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write("a=10\nc=30\n[g]\nl=4\n") > 0);
        file.close();

        const QHash<QString, QVariant> before = f.changes.known();
        QVERIFY(f.changes.refresh());
        const QHash<QString, QVariant> after = f.changes.known();

        QCOMPARE(
            before,
            (QHash<QString, QVariant>{
                {u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"g"_s, {}}, {u"g/k"_s, u"3"_s}, {u"g/l"_s, u"4"_s}}));
        QCOMPARE(after, (QHash<QString, QVariant>{
                            {u"a"_s, u"10"_s}, {u"c"_s, u"30"_s}, {u"g"_s, {}}, {u"g/l"_s, u"4"_s}}));
        QCOMPARE(texts(f.changes), (QStringList{u"edit a 10 -> 7"_s, u"removal g/"_s}));
    }

    void isEmptyWhenChangesAreWrittenAtOnce()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"));
        f.model.setEditStrategy(SettingsModel::OnFieldChange);

        f.edit({u"a"_s}, 5);
        f.remove({u"b"_s});

        QCOMPARE(texts(f.changes), QStringList());
        QCOMPARE(entries(*f.store), QStringList{u"a=5"_s});
    }

    void dismissesOneAlone_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QStringList>("left");
        QTest::addColumn<QString>("tree");

        QTest::newRow("edit") << 0 << QStringList{u"edit a 1 -> 9"_s, u"removal g/l"_s, u"removal h/"_s}
                              << u"g{k=2} a=9"_s;
        QTest::newRow("removal of a key")
            << 2 << QStringList{u"edit g/k 2 -> 8"_s, u"edit a 1 -> 9"_s, u"removal h/"_s}
            << u"g{k=8 l=3} a=9"_s;
        QTest::newRow("removal of a group")
            << 3 << QStringList{u"edit g/k 2 -> 8"_s, u"edit a 1 -> 9"_s, u"removal g/l"_s}
            << u"g{k=8} h{m=4} a=9"_s;
        QTest::newRow("none") << 4
                              << QStringList{u"edit g/k 2 -> 8"_s, u"edit a 1 -> 9"_s, u"removal g/l"_s,
                                             u"removal h/"_s}
                              << u"g{k=8} a=9"_s;
    }

    void dismissesOneAlone()
    {
        QFETCH(int, row);
        QFETCH(QStringList, left);
        QFETCH(QString, tree);
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\nl=3\n[h]\nm=4\n"));
        f.edit({u"g"_s, u"k"_s}, u"8"_s);
        f.edit({u"a"_s}, u"9"_s);
        f.remove({u"g"_s, u"l"_s});
        f.remove({u"h"_s});
        const QStringList stored = entries(*f.store);
        SettingsViewProxy proxy;
        proxy.setSourceModel(&f.model);
        QTreeView view;
        view.setModel(&proxy);
        view.expandAll();
        view.setCurrentIndex(find(proxy, {u"g"_s, u"k"_s}));

        f.changes.dismiss(row);

        QCOMPARE(texts(f.changes), left);
        QCOMPARE(treeText(f.model), tree);
        QCOMPARE(treeText(proxy), tree);
        QCOMPARE(entries(*f.store), stored);
        QCOMPARE(view.currentIndex(), find(proxy, {u"g"_s, u"k"_s}));
        QVERIFY(view.isExpanded(find(proxy, {u"g"_s})));
    }

    void dismissesAll()
    {
        Fixture f(m_files.parsed("c=1\n[z]\nk=2\n"));
        f.remove({u"z"_s, u"k"_s});
        f.model.submitAll(); // leaves an empty group that the store does not have
        f.changes.synchronize();
        f.store->setValue(u"a/new"_s, u"3"_s);
        f.changes.refresh();
        f.edit({u"c"_s}, u"8"_s);
        f.remove({u"a"_s});

        f.changes.dismissAll();

        QCOMPARE(treeText(f.model), u"a{new=3} c=1"_s);
        QCOMPARE(texts(f.changes), QStringList());
    }

    void refreshesRightlyInOneGo()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\nd=4\n[g]\nk=5\n[h]\nl=6\n"));
        f.edit({u"b"_s}, u"9"_s);
        f.edit({u"d"_s}, u"8"_s);
        f.remove({u"h"_s});
        f.store->remove(u"a"_s);
        f.store->remove(u"d"_s);
        f.store->setValue(u"e"_s, u"7"_s);
        f.store->setValue(u"g/j"_s, u"0"_s);
        f.store->setValue(u"f/new"_s, u"0"_s);

        f.changes.synchronize();
        QCOMPARE(texts(f.changes),
                 (QStringList{u"edit b 2 -> 9"_s, u"edit d  -> 8"_s, u"removal h/"_s})); // and nothing else
        QVERIFY(f.changes.refresh());

        QCOMPARE(f.changes.goneEntries(), QStringList{u"d"_s});
        QCOMPARE(treeText(f.model), u"f{new=0} g{j=0 k=5} b=9 c=3 e=7"_s);
        QCOMPARE(texts(f.changes),
                 (QStringList{u"edit b 2 -> 9"_s, u"gone edit d  -> 8"_s, u"removal h/"_s}));
        QVERIFY(!f.changes.isEdited(u"d"_s)); // no row of the model
        QVERIFY(f.changes.dismiss(1));
        QCOMPARE(texts(f.changes), (QStringList{u"edit b 2 -> 9"_s, u"removal h/"_s}));
        QVERIFY(f.model.editStrategy() == SettingsModel::OnManualSubmit);
        f.model.submitAll();
        QCOMPARE(entries(*f.store),
                 (QStringList{u"b=9"_s, u"c=3"_s, u"e=7"_s, u"f/new=0"_s, u"g/j=0"_s, u"g/k=5"_s}));
    }

    void dismissesWithoutReadingTheFile()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n"));
        f.edit({u"a"_s}, u"9"_s);
        f.remove({u"b"_s});
        write(f.store->fileName(), "b=2\nc=4\n");

        QVERIFY(f.changes.dismiss(1));

        QCOMPARE(treeText(f.model), u"a=9 b=2 c=3"_s);
        QCOMPARE(texts(f.changes), QStringList{u"edit a 1 -> 9"_s});
    }

    void keepsEditsOfWhatADismissalFoundGone()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n"));
        f.edit({u"a"_s}, u"9"_s);
        f.edit({u"c"_s}, u"8"_s);
        f.remove({u"b"_s});
        f.store->remove(u"a"_s);

        QVERIFY(f.changes.dismiss(2));

        QCOMPARE(f.changes.goneEntries(), QStringList{u"a"_s});
        QCOMPARE(treeText(f.model), u"b=2 c=8"_s);
        QCOMPARE(texts(f.changes), (QStringList{u"edit c 3 -> 8"_s, u"gone edit a  -> 9"_s}));
        QCOMPARE(f.changes.index(1, SettingsChanges::KindColumn).data().toString(),
                 u"Правка удалённой записи"_s);
        QCOMPARE(f.changes.index(1, 0).data(Qt::ToolTipRole).toString(),
                 u"«a»: запись удалена другой программой. «Записать» создаст её снова"_s);
        // An edit of what is there goes before it.
        f.edit({u"b"_s}, u"7"_s);
        QCOMPARE(texts(f.changes),
                 (QStringList{u"edit b 2 -> 7"_s, u"edit c 3 -> 8"_s, u"gone edit a  -> 9"_s}));
    }

    void dismissesBesideWhatIsNotListedYet()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n"));
        f.remove({u"a"_s});
        f.model.removeRow(0); // b

        QVERIFY(f.changes.dismiss(0));

        QCOMPARE(treeText(f.model), u"a=1 c=3"_s);
        QCOMPARE(texts(f.changes), QStringList{u"removal b"_s});
    }

    void losesNothingWithTheFile_data()
    {
        using State = SettingsChanges::StoreState;
        QTest::addColumn<std::function<void(const QString &)>>("spoil");
        QTest::addColumn<State>("state");
        QTest::addColumn<bool>("readAgain");

        const std::function<void(const QString &)> remove = [](const QString &file) { QFile::remove(file); };
        const std::function<void(const QString &)> overwrite = [](const QString &file) {
            write(file, "just\nwords\n");
        };
        const std::function<void(const QString &)> block = [](const QString &file) {
            QFile::remove(file);
            QDir().mkdir(file);
        };
        QTest::newRow("deleted") << remove << State::Missing << false;
        QTest::newRow("deleted, and somebody else in this process read it")
            << remove << State::Missing << true;
        QTest::newRow("no INI any more") << overwrite << State::Unreadable << false;
        QTest::newRow("no INI any more, and somebody else in this process read it")
            << overwrite << State::Unreadable << true;
        QTest::newRow("a directory in its place") << block << State::Unreadable << false;
    }

    void losesNothingWithTheFile()
    {
        QFETCH(std::function<void(const QString &)>, spoil);
        QFETCH(SettingsChanges::StoreState, state);
        QFETCH(bool, readAgain);
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n[g]\nk=4\n[h]\nl=5\n"));
        QVERIFY(f.changes.storeState() == SettingsChanges::StoreState::Readable);
        f.edit({u"a"_s}, u"9"_s);
        f.edit({u"g"_s, u"k"_s}, u"8"_s);
        f.remove({u"b"_s});
        f.remove({u"h"_s});
        const QStringList pending{u"edit g/k 4 -> 8"_s, u"edit a 1 -> 9"_s, u"removal b"_s, u"removal h/"_s};
        QCOMPARE(texts(f.changes), pending);
        const QString oldValue = f.changes.index(2, SettingsChanges::OldColumn).data().toString();
        QSignalSpy changed(&f.changes, &SettingsChanges::changed);

        spoil(f.store->fileName());
        if (readAgain)
            QSettings(f.store->fileName(), QSettings::IniFormat).allKeys();

        QVERIFY(f.changes.storeState() == state);
        QVERIFY(!f.changes.dismissAll());
        QVERIFY(!f.changes.dismiss(2));
        QVERIFY(!f.changes.dismiss(3));
        QVERIFY(!f.changes.refresh());
        if (!readAgain) {
            QCOMPARE(texts(f.changes), pending);
            QCOMPARE(changed.size(), 0);
        }
        QCOMPARE(treeText(f.model), u"g{k=8} a=9 c=3"_s);

        f.changes.synchronize();
        QCOMPARE(f.changes.rowCount(), 4);
        QCOMPARE(f.changes.index(2, SettingsChanges::OldColumn).data().toString(), oldValue);
        QVERIFY(f.changes.dismiss(0));
        QCOMPARE(treeText(f.model), u"g{k=4} a=9 c=3"_s);
        QCOMPARE(f.changes.rowCount(), 3);
        QVERIFY(!f.changes.isEdited(u"g/k"_s));
    }

    void findsAFileThatIsBack()
    {
        const QByteArray content = "a=1\nb=2\nc=3\n";
        Fixture f(m_files.parsed(content));
        f.edit({u"a"_s}, u"9"_s);
        f.remove({u"b"_s});
        QFile::remove(f.store->fileName());
        QSettings(f.store->fileName(), QSettings::IniFormat).allKeys(); // reads for both
        write(f.store->fileName(), content);

        QVERIFY(f.changes.dismiss(1));

        QCOMPARE(treeText(f.model), u"a=9 b=2 c=3"_s);
        QCOMPARE(texts(f.changes), QStringList{u"edit a 1 -> 9"_s});
    }

    void writesAMissingFileAnew()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n"));
        f.edit({u"a"_s}, u"9"_s);
        f.remove({u"b"_s});
        QFile::remove(f.store->fileName());

        f.model.submitAll();
        f.store->sync();

        QVERIFY(f.changes.refresh());
        QVERIFY(f.changes.isEmpty());
        QCOMPARE(entries(*m_files.reparsed(*f.store)), (QStringList{u"a=9"_s, u"c=3"_s}));
    }

    void mergesAStoreWhoseFileIsToCome()
    {
        Fixture f(m_files.empty());
        QVERIFY(f.changes.storeState() == SettingsChanges::StoreState::Readable);
        QVERIFY(f.changes.refresh());
        write(f.store->fileName(), "a=1\n");

        QVERIFY(f.changes.refresh());

        QCOMPARE(treeText(f.model), u"a=1"_s);
        QFile::remove(f.store->fileName());
        QVERIFY(f.changes.storeState() == SettingsChanges::StoreState::Missing);
        QVERIFY(!f.changes.refresh());
        QCOMPARE(treeText(f.model), u"a=1"_s);
    }

    void refreshesWhatIsReadOnly()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"));
        f.model.setReadOnly(true);
        f.model.setEditStrategy(SettingsModel::OnFieldChange);
        f.store->remove(u"a"_s);

        QVERIFY(f.changes.refresh());

        QCOMPARE(treeText(f.model), u"b=2"_s);
        QVERIFY(f.model.readOnly());
        QVERIFY(f.model.editStrategy() == SettingsModel::OnFieldChange);
        f.changes.dismiss(0);
        QCOMPARE(entries(*f.store), QStringList{u"b=2"_s});
    }

    void goesByNames_data()
    {
        QTest::addColumn<QString>("group");
        QTest::newRow("place marker") << u"views/%2Fhome%2Fx"_s;
        QTest::newRow("two levels of them") << u"a%1b/%2"_s;
        QTest::newRow("percent alone") << u"100%/%"_s;
    }
    void goesByNames()
    {
        QFETCH(QString, group);
        auto store = m_files.empty();
        store->setValue(group + u"/k"_s, u"1"_s);
        store->setValue(group + u"/l"_s, u"2"_s);
        store->setValue(group + u"/m/n"_s, u"3"_s);
        Fixture f(std::move(store));
        const QStringList names = group.split(u'/');
        QVERIFY(f.changes.known().contains(group + u"/k"_s));

        f.edit(names + QStringList{u"k"_s}, u"9"_s);
        f.remove(names + QStringList{u"l"_s});
        f.remove(names + QStringList{u"m"_s});
        const QStringList all{u"edit "_s + group + u"/k 1 -> 9"_s, u"removal "_s + group + u"/l"_s,
                              u"removal "_s + group + u"/m/"_s};
        QCOMPARE(texts(f.changes), all);
        QVERIFY(f.changes.isEdited(group + u"/k"_s));
        QCOMPARE(f.changes.removalsIn(group), 2);

        QVERIFY(f.changes.refresh());
        QCOMPARE(texts(f.changes), all);
        QVERIFY(f.changes.dismiss(2));
        QCOMPARE(texts(f.changes), all.first(2));
        f.model.submitAll();
        f.changes.synchronize();
        QCOMPARE(texts(f.changes), QStringList());
        QCOMPARE(entries(*f.store), (QStringList{group + u"/k=9"_s, group + u"/m/n=3"_s}));
    }

    void forgetsWhatWasRemovedAtOnce()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=3\nl=4\n[h]\nm=5\n"));
        f.model.setEditStrategy(SettingsModel::OnFieldChange);

        f.remove({u"b"_s});
        f.remove({u"g"_s});
        f.remove({u"h"_s, u"m"_s});

        QCOMPARE(f.changes.known(), (QHash<QString, QVariant>{{u"a"_s, u"1"_s}, {u"h"_s, {}}}));
    }

    void keepsWhatOthersAddToARemovedGroup_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("grown");
        QTest::addColumn<QStringList>("left");
        QTest::addColumn<QString>("tree");
        const QStringList all{u"edit a 1 -> 9"_s, u"removal g/"_s, u"removal h/"_s};
        const QStringList withoutG{u"edit a 1 -> 9"_s, u"removal h/"_s};
        QTest::newRow("added") << QByteArray("a=1\n[g]\nk=2\nl=3\nnew=4\n[h]\nm=5\n") << QStringList{u"g"_s}
                               << withoutG << u"g{k=2 l=3 new=4} a=9"_s;
        QTest::newRow("added deeper") << QByteArray("a=1\n[g]\nk=2\nl=3\nd\\new=4\n[h]\nm=5\n")
                                      << QStringList{u"g"_s} << withoutG << u"g{d{new=4} k=2 l=3} a=9"_s;
        QTest::newRow("changed") << QByteArray("a=1\n[g]\nk=2\nl=30\n[h]\nm=5\n") << QStringList{u"g"_s}
                                 << withoutG << u"g{k=2 l=30} a=9"_s;
        QTest::newRow("changed to no value") << QByteArray("a=1\n[g]\nk=2\nl=@Invalid()\n[h]\nm=5\n")
                                             << QStringList{u"g"_s} << withoutG << u"g{k=2 l=} a=9"_s;
        QTest::newRow("changed to a list") << QByteArray("a=1\n[g]\nk=2\nl=3, 3\n[h]\nm=5\n")
                                           << QStringList{u"g"_s} << withoutG << u"g{k=2 l=3,3} a=9"_s;
        QTest::newRow("added to both")
            << QByteArray("a=1\n[g]\nk=2\nnew=3\n[h]\nm=5\nnew=6\n") << QStringList{u"g"_s, u"h"_s}
            << QStringList{u"edit a 1 -> 9"_s} << u"g{k=2 new=3} h{m=5 new=6} a=9"_s;
        QTest::newRow("added beside") << QByteArray("a=1\n[g]\nk=2\nl=3\n[ga]\nnew=4\n[h]\nm=5\n")
                                      << QStringList() << all << u"ga{new=4} a=9"_s;
        QTest::newRow("removed in part")
            << QByteArray("a=1\n[g]\nk=2\n[h]\nm=5\n") << QStringList() << all << u"a=9"_s;
        QTest::newRow("nothing") << QByteArray("a=1\n[g]\nk=2\nl=3\n[h]\nm=5\n") << QStringList() << all
                                 << u"a=9"_s;
    }
    void keepsWhatOthersAddToARemovedGroup()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, grown);
        QFETCH(QStringList, left);
        QFETCH(QString, tree);
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\nl=3\n[h]\nm=5\n"));
        f.edit({u"a"_s}, u"9"_s);
        f.remove({u"g"_s});
        f.remove({u"h"_s});

        write(f.store->fileName(), content);
        QVERIFY(f.changes.refresh());

        QCOMPARE(f.changes.grownGroups(), grown);
        QCOMPARE(texts(f.changes), left);
        QCOMPARE(treeText(f.model), tree);
        QVERIFY(f.changes.refresh());
        QCOMPARE(f.changes.grownGroups(), QStringList());
        QCOMPARE(texts(f.changes), left);
    }

    void removesAGrownGroupThatTheUserWasToldOf()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\n"));
        f.remove({u"g"_s});
        f.store->setValue(u"g/new"_s, u"3"_s);

        QVERIFY(f.changes.refresh(SettingsChanges::Grown::Keep));
        QVERIFY(f.changes.refresh());

        QCOMPARE(f.changes.grownGroups(), QStringList());
        QCOMPARE(texts(f.changes), QStringList{u"removal g/"_s});
        QCOMPARE(treeText(f.model), u"a=1"_s);
    }

    void removesAGroupWhoseValuesOnlyLostTheirTypes()
    {
        auto store = m_files.empty();
        store->setValue(u"g/number"_s, 5);
        store->setValue(u"g/one"_s, QStringList{u"x"_s});
        store->setValue(u"g/none"_s, QStringList());
        store->setValue(u"a"_s, u"1"_s);
        Fixture f(std::move(store));
        f.remove({u"g"_s});
        f.store->sync();
        QFile file(f.store->fileName());
        QVERIFY(file.open(QIODevice::Append) && file.write("[z]\nnew=1\n") > 0);
        file.close();

        QVERIFY(f.changes.refresh());

        QCOMPARE(treeText(f.model), u"z{new=1} a=1"_s);
        QCOMPARE(texts(f.changes), QStringList{u"removal g/"_s});
    }

    void dismissesBesideAGroupThatHasGrown()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=2\n"));
        f.remove({u"a"_s});
        f.remove({u"g"_s});
        f.store->setValue(u"g/new"_s, u"3"_s);

        QVERIFY(f.changes.dismiss(0));

        QCOMPARE(f.changes.grownGroups(), QStringList{u"g"_s});
        QCOMPARE(treeText(f.model), u"g{k=2 new=3} a=1"_s);
        QCOMPARE(texts(f.changes), QStringList());
    }

    void outlivesTheModel()
    {
        SettingsChanges changes;
        {
            Fixture f(m_files.parsed("a=1\n"));
            changes.setModel(&f.model);
            f.model.setData(find(f.model, {u"a"_s}, 2), u"2"_s);
            QCOMPARE(changes.rowCount(), 1);
        }
        QVERIFY(changes.refresh());
        changes.synchronize();
        QVERIFY(changes.isEmpty());
        changes.setModel(nullptr);
    }

    void followsARandomScript()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(static_cast<quint32>(seed));
        const QStringList names{u"a"_s, u"b"_s, u"g/a"_s, u"g/b"_s, u"g/h/a"_s, u"g/h/b"_s, u"z/a"_s};
        QMap<QString, int> stored;
        auto settings = m_files.empty();
        for (const QString &name : names) {
            stored[name] = random.bounded(5);
            settings->setValue(name, stored[name]);
        }
        Fixture f(std::move(settings));
        QMap<QString, int> shown = stored;
        QMap<QString, int> gone; // edited, while somebody else removed them
        bool everGone = false;

        for (int step = 0; step < 1000 || !everGone; ++step) {
            const QByteArray where = seedMessage(seed, u"step %1"_s.arg(step));
            const QString name = names.at(random.bounded(int(names.size())));
            const QString group = name.section(u'/', 0, -2);
            switch (random.bounded(8)) {
            case 0:
            case 1:
            case 2:
                if (shown.contains(name)) {
                    shown[name] = random.bounded(5);
                    f.edit(name.split(u'/'), shown[name]);
                }
                break;
            case 3:
                if (random.bounded(3) == 0 && shown.remove(name))
                    f.remove(name.split(u'/'));
                break;
            case 4:
                if (!group.isEmpty() && random.bounded(3) == 0) {
                    const auto isInGroup = [&](auto it) { return it.key().startsWith(group + u'/'); };
                    if (shown.removeIf(isInGroup) > 0) {
                        f.remove(group.split(u'/'));
                        gone.removeIf(isInGroup);
                    }
                }
                break;
            case 5:
            case 6:
                if (!f.changes.isEmpty()) {
                    const int row = random.bounded(f.changes.rowCount());
                    const SettingsChanges::Change change = f.changes.changes().at(row);
                    f.changes.dismiss(row);
                    if (change.gone)
                        gone.remove(change.path);
                    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
                        if (it.key() == change.path ||
                            (change.group && it.key().startsWith(change.path + u'/')))
                            shown[it.key()] = it.value();
                    }
                }
                break;
            default:
                // Somebody else writes.
                if (random.bounded(2) == 0) {
                    const bool untouched = shown.value(name, -1) == stored.value(name, -1);
                    const int value = random.bounded(5);
                    f.store->setValue(name, value);
                    const bool added = !stored.contains(name);
                    const bool differs = stored.value(name, -1) != value;
                    stored[name] = value;
                    if (untouched || added)
                        shown[name] = gone.contains(name) ? gone.take(name) : value;
                    // A removed group to which something is added, or changed in it, is removed no more.
                    for (const SettingsChanges::Change &change : f.changes.changes()) {
                        if (!change.group || !name.startsWith(change.path + u'/'))
                            continue;
                        shown.remove(name);
                        for (auto it = stored.cbegin(); differs && it != stored.cend(); ++it) {
                            if (it.key().startsWith(change.path + u'/'))
                                shown[it.key()] = it.value();
                        }
                    }
                    f.changes.refresh();
                } else if (random.bounded(2) == 0) {
                    QStringList edited;
                    for (auto it = shown.cbegin(); it != shown.cend(); ++it) {
                        if (stored.value(it.key(), it.value()) != it.value())
                            edited += it.key();
                    }
                    // An edited entry where there is one.
                    const QString removed =
                        edited.isEmpty() ? name : edited.at(random.bounded(int(edited.size())));
                    f.store->remove(removed);
                    if (!edited.isEmpty()) {
                        gone[removed] = shown[removed];
                        everGone = true;
                    }
                    shown.remove(removed);
                    stored.remove(removed);
                    f.changes.refresh();
                } else if (random.bounded(4) == 0) {
                    f.model.submitAll();
                    f.changes.synchronize();
                    stored = shown;
                }
            }

            QStringList expected;
            for (auto it = shown.cbegin(); it != shown.cend(); ++it)
                expected += it.key() + u'=' + QString::number(it.value());
            QStringList found;
            const std::function<void(const QModelIndex &)> visit = [&](const QModelIndex &parent) {
                for (int row = 0; row < f.model.rowCount(parent); ++row) {
                    const QModelIndex index = f.model.index(row, 0, parent);
                    if (!f.model.hasChildren(index))
                        found += index.data(Qt::ToolTipRole).toString() + u'=' +
                                 index.siblingAtColumn(2).data().toString();
                    visit(index);
                }
            };
            visit({});
            found.sort();
            expected.sort();
            QVERIFY2(found == expected,
                     (where + ": " + found.join(u' ').toUtf8() + " / " + expected.join(u' ').toUtf8())
                         .constData());
            QStringList edits;
            for (auto it = shown.cbegin(); it != shown.cend(); ++it) {
                if (it.value() != stored.value(it.key(), -1))
                    edits += it.key();
            }
            for (auto it = gone.cbegin(); it != gone.cend(); ++it)
                edits += u"gone %1=%2"_s.arg(it.key()).arg(it.value());
            QStringList listed;
            for (const SettingsChanges::Change &change : f.changes.changes()) {
                if (change.gone)
                    listed += u"gone %1=%2"_s.arg(change.path, change.newValue.toString());
                else if (!change.removal)
                    listed += change.path;
            }
            listed.sort();
            edits.sort();
            QVERIFY2(listed == edits, where.constData());
            QStringList inStore;
            for (auto it = stored.cbegin(); it != stored.cend(); ++it)
                inStore += it.key() + u'=' + QString::number(it.value());
            inStore.sort();
            QStringList really = entries(*f.store);
            really.sort();
            QVERIFY2(really == inStore, where.constData());
        }
    }
};

QTEST_MAIN(TestSettingsChanges)
#include "tst_settingschanges.moc"
