// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/storecontent.h>

#include <settings/settingsmodel.h>
#include <support/exceptions.h>
#include <support/settingsfixtures.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_StoreContent : public QObject
{
    Q_OBJECT

private:
    SettingsFiles m_files;

    static void write(const QString &name, const QByteArray &content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write");
    }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void isEmptyWithoutAStore()
    {
        StoreContent content;

        content.noteFile();
        content.readAgain();

        QVERIFY(content.values().isEmpty());
        QVERIFY(content.paths().keys.isEmpty());
        QVERIFY(!content.hasCurrentGroup());
        QCOMPARE(content.value(u"a"_s, 5), QVariant(5));
        QVERIFY(content.state() == StoreContent::State::Readable);
    }

    void answersFromMemory()
    {
        const auto store = m_files.parsed("a=1\n[g]\nh\\k=2\n");
        StoreContent content(store.get());
        QCOMPARE(content.values(), (QHash<QString, QVariant>{{u"a"_s, u"1"_s}, {u"g/h/k"_s, u"2"_s}}));
        const StoreContent::Paths paths = content.paths();
        QVERIFY(paths.contains(u"a"_s, false) && !paths.contains(u"a"_s, true));
        QVERIFY(paths.contains(u"g"_s, true) && paths.contains(u"g/h"_s, true));

        write(store->fileName(), "a=longer\n");

        QCOMPARE(content.value(u"a"_s), QVariant(u"1"_s));
        content.readAgain();
        QCOMPARE(content.value(u"a"_s), QVariant(u"longer"_s));
        QCOMPARE(content.value(u"g/h/k"_s, u"none"_s), QVariant(u"none"_s));
    }

    void missesOnlyAFileThatWasThere()
    {
        const auto store = m_files.empty();
        StoreContent content(store.get());
        content.noteFile();
        QVERIFY(content.state() == StoreContent::State::Readable);
        write(store->fileName(), "a=1\n");
        content.noteFile();

        QFile::remove(store->fileName());

        QVERIFY(content.state() == StoreContent::State::Missing);
        write(store->fileName(), "just\nwords\n");
        QVERIFY(content.state() == StoreContent::State::Unreadable);
    }

    void isAskedByChangesInPlaceOfTheModelsStore()
    {
        const auto store = m_files.parsed("a=1\n");
        SettingsModel model;
        model.setSettings(store.get());
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        StoreContent content(store.get());
        SettingsChanges changes;
        changes.setModel(&model, content);

        QFile::remove(store->fileName());

        // It has seen the file while the changes were compared.
        QVERIFY(content.state() == StoreContent::State::Missing);
        QVERIFY(changes.storeState() == SettingsChanges::StoreState::Missing);
        QVERIFY(!changes.refresh());
        changes.setModel(nullptr);
        QVERIFY(changes.storeState() == SettingsChanges::StoreState::Readable);
    }

    void followsTheStoreOfTheModel()
    {
        const auto first = m_files.parsed("a=1\n");
        const auto second = m_files.parsed("b=1\n");
        SettingsModel model;
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        SettingsChanges changes;
        changes.setModel(&model);

        for (QSettings *store : {first.get(), second.get()}) {
            model.setSettings(store);
            changes.synchronize();
        }
        model.setData(find(model, {u"b"_s}, 2), u"5"_s);

        QVERIFY(changes.isEdited(u"b"_s));
        QCOMPARE(changes.changes().constFirst().oldValue, QVariant(u"1"_s));
    }
};

QTEST_MAIN(tst_StoreContent)
#include "tst_storecontent.moc"
