// SPDX-License-Identifier: MIT
#include <browser/window/keptviews.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <filters/securitiessessionfilter.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <support/exceptions.h>

#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

/// What is kept of tables and sources between starts, without a window.
class tst_KeptViews : public QObject
{
    Q_OBJECT
private:
    /// As another start does.
    void reopen()
    {
        m_views.reset();
        m_store = std::make_unique<QSettings>(m_directory->filePath(u"store.ini"_s), QSettings::IniFormat);
        m_views = std::make_unique<KeptViews>(*m_store);
        m_views->setSource(u"one"_s);
    }
    std::unique_ptr<FilterList> makeList() { return std::make_unique<FilterList>(*m_table); }
    void addFilter(FilterList &filters, const QString &value)
    {
        auto *filter = new ColumnsFilter(*m_table, {0});
        filter->setValue(value);
        filter->setEnabled(true);
        filters.add(filter);
    }
    /// The values of the filters that are kept for \a table.
    QStringList kept(const QString &table)
    {
        const auto filters = makeList();
        m_views->restoreFilters(table, *filters);
        return values(*filters);
    }
    static QStringList values(const FilterList &filters)
    {
        QStringList result;
        for (const Filter *filter : filters.filters())
            result.append(static_cast<const ValueFilter *>(filter)->value());
        return result;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<KeptViews> m_views;
    MemoryTable *m_table = nullptr;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        QLoggingCategory::setFilterRules(u"database.exception=false"_s);
        const QList<ColumnSpec> columns{{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}};
        m_table = MemoryDatabase::instance().createTable(u"t"_s, columns);
        MemoryDatabase::instance().createTable(u"sessions"_s, columns)->append({1, 2});
        m_directory = std::make_unique<QTemporaryDir>();
        reopen();
    }
    void cleanup()
    {
        m_views.reset();
        MemoryDatabase::instance().clear();
    }

    void keepsTheTableAndTheLayoutsOfEachSource()
    {
        m_views->setLastTable(u"t/1"_s);
        m_views->setLayout(u"t/1"_s, u"layout"_s);
        m_views->setSource(u"two"_s);
        QCOMPARE(m_views->lastTable(), QString());
        QCOMPARE(m_views->layout(u"t/1"_s), QString());
        m_views->setLayout(u"t/1"_s, u"other"_s);

        reopen();

        QCOMPARE(m_views->lastTable(), u"t/1"_s);
        QCOMPARE(m_views->layout(u"t/1"_s), u"layout"_s);
        QCOMPARE(m_views->layout(u"t"_s), QString());
        m_views->setSource(u"two"_s);
        QCOMPARE(m_views->layout(u"t/1"_s), u"other"_s);
    }

    void keepsFiltersSoonAfterAChange()
    {
        const auto filters = makeList();
        m_views->follow(u"t"_s, *filters);

        addFilter(*filters, u"1"_s);
        QCOMPARE(m_store->allKeys(), QStringList());

        QTRY_VERIFY(!m_store->allKeys().isEmpty());
        QCOMPARE(kept(u"t"_s), QStringList{u"1"_s});
        QCOMPARE(kept(u"u"_s), QStringList());
    }

    void keepsFiltersAtOnceWhenAsked()
    {
        const auto filters = makeList();
        m_views->follow(u"t"_s, *filters);
        addFilter(*filters, u"1"_s);

        m_views->flush();
        reopen();

        QCOMPARE(kept(u"t"_s), QStringList{u"1"_s});
    }

    void keepsTheFiltersOfTwoTablesChangedAtOnce()
    {
        const auto first = makeList();
        const auto second = makeList();
        m_views->follow(u"t"_s, *first);
        m_views->follow(u"u"_s, *second);

        addFilter(*first, u"1"_s);
        addFilter(*second, u"2"_s);
        m_views->flush();

        QCOMPARE(kept(u"t"_s), QStringList{u"1"_s});
        QCOMPARE(kept(u"u"_s), QStringList{u"2"_s});
    }

    void forgetsFiltersThatAreGoneBeforeTheyAreKept()
    {
        auto filters = makeList();
        m_views->follow(u"t"_s, *filters);
        addFilter(*filters, u"1"_s);

        filters.reset();
        m_views->flush();

        QCOMPARE(kept(u"t"_s), QStringList());
    }

    void keepsNoChangesForThisTimeOnly()
    {
        const auto filters = makeList();
        m_views->follow(u"t"_s, *filters);
        addFilter(*filters, u"1"_s);

        m_views->changeUnkept([&] {
            filters->clear();
            addFilter(*filters, u"2"_s);
        });
        m_views->flush();
        QCOMPARE(kept(u"t"_s), QStringList{u"1"_s}); // also what was changed just before

        addFilter(*filters, u"3"_s);
        m_views->flush();
        QCOMPARE(kept(u"t"_s), (QStringList{u"2"_s, u"3"_s}));
    }

    void tellsWhichTablesNeedTheSessions()
    {
        const auto filters = makeList();
        m_views->follow(u"t"_s, *filters);
        addFilter(*filters, u"1"_s);
        m_views->flush();
        QVERIFY(!m_views->needsSessions(u"t"_s));
        const QList<int> columns{0, 1};
        filters->add(new SecuritiesSessionFilter(*m_table, 0, columns, 1, nullptr));
        m_views->flush();
        QVERIFY(m_views->needsSessions(u"t"_s));

        m_views->saveSet(u"t"_s, u"mine"_s, *filters);
        filters->clear();
        m_views->flush();
        QVERIFY(m_views->needsSessions(u"t"_s)); // by the set
        m_views->removeSet(u"t"_s, u"mine"_s);

        QVERIFY(!m_views->needsSessions(u"t"_s));
    }

    void keepsSets()
    {
        const auto filters = makeList();
        addFilter(*filters, u"1"_s);
        m_views->saveSet(u"t"_s, u"b"_s, *filters);
        m_views->saveSet(u"t"_s, u"a"_s, *filters);
        reopen();
        QCOMPARE(m_views->setNames(u"t"_s), (QStringList{u"a"_s, u"b"_s}));
        QCOMPARE(m_views->setNames(u"u"_s), QStringList());

        const auto others = makeList();
        m_views->follow(u"t"_s, *others);
        QCOMPARE(m_views->restoreSet(u"t"_s, u"b"_s, *others), QStringList());
        m_views->flush();

        QCOMPARE(values(*others), QStringList{u"1"_s});
        QCOMPARE(kept(u"t"_s), QStringList{u"1"_s});
        QCOMPARE(m_views->restoreSet(u"t"_s, u"none"_s, *others).size(), 1);
    }

    void keepsTenRecentSourcesTheNewestFirst()
    {
        for (int i = 0; i < 12; ++i)
            m_views->addRecentSource(QString::number(i));
        m_views->addRecentSource(u"5"_s);

        reopen();

        const QStringList expected{u"5"_s, u"11"_s, u"10"_s, u"9"_s, u"8"_s,
                                   u"7"_s, u"6"_s,  u"4"_s,  u"3"_s, u"2"_s};
        QCOMPARE(m_views->recentSources(), expected);
        m_views->forgetRecentSources();
        QCOMPARE(m_views->recentSources(), QStringList());
    }

    void tellsThatFiltersCannotBeKept()
    {
        QFile file(m_directory->filePath(u"file"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        m_views.reset();
        m_store =
            std::make_unique<QSettings>(m_directory->filePath(u"file/store.ini"_s), QSettings::IniFormat);
        m_views = std::make_unique<KeptViews>(*m_store);
        const QSignalSpy failed(m_views.get(), &KeptViews::failed);
        const auto filters = makeList();
        m_views->follow(u"t"_s, *filters);

        addFilter(*filters, u"1"_s);
        m_views->flush();

        QCOMPARE(failed.size(), 1);
        QVERIFY(failed.constFirst().constFirst().toString().contains(u"store.ini"_s));
    }
};

QTEST_GUILESS_MAIN(tst_KeptViews)
#include "tst_keptviews.moc"
