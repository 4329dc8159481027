// SPDX-License-Identifier: MIT
#include <database/memorytable.h>
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/showonlywidget.h>
#include <hostkit/values/valuelistwidget.h>
#include <settings/settingsmodel.h>

#include <QApplication>
#include <QIdentityProxyModel>
#include <QListView>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

/// What views in QML call the roles: every model names each role for which it has an answer.
class tst_RoleNames : public QObject
{
    Q_OBJECT
private:
    /// The roles for which a cell of \a model has an answer, by name; a number where it has no name.
    static QStringList answers(const QAbstractItemModel &model, const QModelIndex &parent = {})
    {
        constexpr int lastRole = SettingsViewProxy::PathRole;
        const QHash<int, QByteArray> names = model.roleNames();
        QSet<QString> found;
        for (int row = 0; row < model.rowCount(parent); ++row) {
            for (int column = 0; column < model.columnCount(parent); ++column) {
                for (int role = 0; role <= lastRole; ++role) {
                    if (model.index(row, column, parent).data(role).isValid())
                        found +=
                            names.contains(role) ? QString::fromLatin1(names[role]) : QString::number(role);
                }
            }
        }
        QStringList sorted(found.cbegin(), found.cend());
        sorted.sort();
        return sorted;
    }
    static int role(const QAbstractItemModel &model, const QByteArray &name)
    {
        return model.roleNames().key(name, -1);
    }

    MemoryTable m_table{u"t"_s,
                        {{.name = u"id"_s, .type = FieldType::Int, .nullable = true},
                         {.name = u"real"_s, .type = FieldType::Double}}};
    QTemporaryDir m_directory;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<SettingsModel> m_settings;

private Q_SLOTS:
    void initTestCase()
    {
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_s));
        m_table.append({1, qQNaN()});
        m_table.append({{}, 2.5});
        m_store = std::make_unique<QSettings>(m_directory.filePath(u"a.ini"_s), QSettings::IniFormat);
        m_store->setValue(u"group/key"_s, u"value"_s);
        m_settings = std::make_unique<SettingsModel>();
        m_settings->setReadOnly(false);
        m_settings->setEditStrategy(SettingsModel::OnManualSubmit);
        m_settings->setSettings(m_store.get());
    }
    void cleanupTestCase() { m_settings.reset(); }

    void ofTables()
    {
        const TableModel model(m_table, {0, 1});

        QCOMPARE(answers(model),
                 (QStringList{u"absent"_s, u"accessibleText"_s, u"display"_s, u"edit"_s, u"tableColumn"_s,
                              u"textAlignment"_s, u"textColor"_s, u"textFont"_s, u"toolTip"_s}));
        QCOMPARE(role(model, "tableColumn"), int(TableModel::ColumnRole));
        QCOMPARE(role(model, "absent"), int(TableModel::AbsentRole));
    }

    /// Qt's own names are enough.
    void ofSettings()
    {
        const QStringList expected{u"decoration"_s, u"display"_s, u"edit"_s, u"toolTip"_s};

        QCOMPARE(answers(*m_settings), expected);
        QCOMPARE(m_settings->roleNames(), QIdentityProxyModel().roleNames());
    }

    void ofSettingsInViews()
    {
        SettingsViewProxy proxy;
        proxy.setSourceModel(m_settings.get());
        QIdentityProxyModel onTop;
        onTop.setSourceModel(&proxy);
        const QStringList expected{u"decoration"_s, u"display"_s, u"edit"_s,
                                   u"path"_s,       u"toolTip"_s, u"value"_s};

        QCOMPARE(answers(proxy, proxy.index(0, 0)), expected);
        QCOMPARE(answers(onTop, onTop.index(0, 0)), expected);
        QCOMPARE(role(proxy, "value"), int(SettingsViewProxy::ValueRole));
        QCOMPARE(role(proxy, "path"), int(SettingsViewProxy::PathRole));
    }

    /// Qt's own names are enough.
    void ofPendingChanges()
    {
        SettingsChanges changes;
        changes.setModel(m_settings.get());
        const QModelIndex group = m_settings->index(0, 0);
        QVERIFY(m_settings->setData(m_settings->index(0, 2, group), u"other"_s));
        changes.synchronize();

        QCOMPARE(answers(changes), (QStringList{u"display"_s, u"toolTip"_s}));
    }

    void ofLists_data()
    {
        QTest::addColumn<bool>("counted");

        QTest::newRow("of values with the number of their rows") << true;
        QTest::newRow("of the keys of a filter") << false;
    }
    void ofLists()
    {
        QFETCH(bool, counted);
        ValueListWidget values;
        values.fill(m_table, {1}, {}, {});
        QTRY_VERIFY(values.isReady());
        ShowOnlyFilter filter(m_table, {0});
        filter.setValue(u"1"_s);
        ShowOnlyWidget keys;
        keys.setKeys(filter);
        const QWidget &widget = counted ? static_cast<QWidget &>(values) : keys;

        const QStringList found = answers(*widget.findChild<QListView *>()->model());

        QCOMPARE(found, counted
                            ? (QStringList{u"accessibleDescription"_s, u"accessibleText"_s, u"checkState"_s,
                                           u"count"_s, u"display"_s, u"toolTip"_s, u"unwritten"_s})
                            : (QStringList{u"checkState"_s, u"display"_s}));
    }
};

QTEST_MAIN(tst_RoleNames)
#include "tst_rolenames.moc"
