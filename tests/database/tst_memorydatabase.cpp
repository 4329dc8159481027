// SPDX-License-Identifier: MIT
#include <data/database.h>
#include <data/icore.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/objectlayout.h>

#include <QTest>

namespace {
const QList<ColumnSpec> columns{{QStringLiteral("id"), FieldType::Int}};
}

class MemoryDatabaseTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { MemoryDatabase::instance().clear(); }

    void standsBehindTheCore()
    {
        QVERIFY(ICore::instance());
        QCOMPARE(ICore::instance(), ICore::instance());
        QCOMPARE(ICore::instance()->database(), &MemoryDatabase::instance());
    }

    void isReachedThroughFirstVirtualFunctions()
    {
        QCOMPARE(virtualSlot(&ICore::database), 0);
        QCOMPARE(virtualSlot(&Database::tableByName), 0);
        QCOMPARE(virtualSlot(&MemoryDatabase::tableByName), 0);
    }

    void findsTablesByName()
    {
        auto &database = MemoryDatabase::instance();
        MemoryTable *quotes = database.createTable(QStringLiteral("quotes"), columns);
        MemoryTable *sessions = database.createTable(QStringLiteral("sessions"), columns);

        Database *catalogue = ICore::instance()->database();

        QCOMPARE(catalogue->tableByName(QStringLiteral("sessions")), sessions);
        QCOMPARE(catalogue->tableByName(QStringLiteral("Sessions")), nullptr);
        QCOMPARE(database.table(QStringLiteral("quotes")), quotes);
        QCOMPARE(database.tableNames(), QStringList({QStringLiteral("quotes"), QStringLiteral("sessions")}));
    }

    void dropsTables()
    {
        auto &database = MemoryDatabase::instance();
        database.createTable(QStringLiteral("a"), columns);
        database.createTable(QStringLiteral("b"), columns);

        database.dropTable(QStringLiteral("a"));

        QCOMPARE(database.tableNames(), QStringList(QStringLiteral("b")));
        QCOMPARE(exceptionMessage([&] { database.dropTable(QStringLiteral("a")); }),
                 QStringLiteral("There is no table 'a'"));
        database.clear();
        QVERIFY(database.tableNames().isEmpty());
    }

    void handsTablesOver()
    {
        auto &database = MemoryDatabase::instance();
        MemoryTable *table = database.createTable(QStringLiteral("a"), columns);

        const std::unique_ptr<MemoryTable> taken = database.takeTable(QStringLiteral("a"));

        QCOMPARE(taken.get(), table);
        QCOMPARE(taken->name(), QStringLiteral("a"));
        QVERIFY(database.tableNames().isEmpty());
        QVERIFY(database.createTable(QStringLiteral("a"), columns) != table); // the name is free
        database.clear();
        QCOMPARE(exceptionMessage([&] { database.takeTable(QStringLiteral("a")); }),
                 QStringLiteral("There is no table 'a'"));
    }

    void refusesNames()
    {
        auto &database = MemoryDatabase::instance();
        MemoryTable *table = database.createTable(QStringLiteral("a"), columns);

        QCOMPARE(exceptionMessage([&] { database.createTable(QStringLiteral("a"), columns); }),
                 QStringLiteral("There is a table 'a' already"));
        QCOMPARE(exceptionMessage([&] { database.table(QStringLiteral("none")); }),
                 QStringLiteral("There is no table 'none'"));
        QCOMPARE(exceptionMessage([&] { database.createTable(QString(), columns); }),
                 QStringLiteral("A table needs a name"));
        QCOMPARE(database.table(QStringLiteral("a")), table);
    }
};

QTEST_APPLESS_MAIN(MemoryDatabaseTest)
#include "tst_memorydatabase.moc"
