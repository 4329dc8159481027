// SPDX-License-Identifier: MIT
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QList>
#include <QRandomGenerator>
#include <QTest>

#include <thread>
#include <vector>

static_assert(sizeof(Record) == sizeof(void *));
static_assert(QTypeInfo<Record>::isRelocatable);
static_assert(sizeof(RowHeader) == 16 && sizeof(RowHeader::references) == 4);
static_assert(std::is_nothrow_move_constructible_v<Record> && std::is_nothrow_copy_constructible_v<Record>);

namespace {
const QList<ColumnSpec> columns{{QStringLiteral("id"), FieldType::Int},
                                {QStringLiteral("name"), FieldType::String}};
}

class RecordTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void countsItsHandlesInTheBlock()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        const Record record(&table);
        const auto count = [&] {
            qint32 result = 0;
            memcpy(&result, record.row(), sizeof result);
            return result;
        };

        QCOMPARE(count(), 1);
        {
            const Record copy(record);
            const Record again(record.row());
            QCOMPARE(count(), 3);
        }
        QCOMPARE(count(), 1);

        Table *owner = nullptr;
        memcpy(&owner, record.row() + 8, sizeof owner);
        QCOMPARE(owner, &table);
        QCOMPARE(record.table(), &table);
    }

    void beginsItsDataAfterTheHeader()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        const Record record(&table);

        for (int column = 0; column < table.columnCount(); ++column)
            QCOMPARE(record.field(column).data - record.row(),
                     16 + qsizetype(table.columnDef(column)->offset));
    }

    void freesTheRowWithTheLastHandle()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        QList<Record> list{Record(&table), Record(&table)};
        QList<Record> copy = list;
        copy.append(Record(&table));
        QCOMPARE(table.liveRowCount(), 3);

        list.clear();
        QCOMPARE(table.liveRowCount(), 3);
        copy.removeLast();
        QCOMPARE(table.liveRowCount(), 2);
        Record kept = copy.takeFirst();
        copy = {};
        QCOMPARE(table.liveRowCount(), 1);

        kept = Record();
        QCOMPARE(table.liveRowCount(), 0);
    }

    void keepsARowAliveThatLeftItsTable()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        table.append({qint32(7), QStringLiteral("seven")});
        const Record record = table.row(0);

        table.remove(record);

        QCOMPARE(table.rowCount(), 0);
        QCOMPARE(table.liveRowCount(), 1);
        QCOMPARE(record.field(1).toString(), QStringLiteral("seven"));
    }

    void movesAndSwapsWithoutCounting()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        Record a(&table);
        Record b;
        unsigned char *row = a.row();

        b = std::move(a);
        QVERIFY(a.isNull());
        QCOMPARE(b.row(), row);
        a.swap(b);
        QCOMPARE(a.row(), row);
        QVERIFY(b.isNull() && !b.table());
        a = *&a;
        QCOMPARE(a.row(), row);
        QVERIFY(a == Record(row) && !(a == b));
        QCOMPARE(table.liveRowCount(), 1);
    }

    void countsAcrossThreads()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        for (int i = 0; i < 64; ++i)
            table.append({qint32(i), QString::number(i)});
        QList<Record> rows;
        for (unsigned char *row : *table.masterIndex())
            rows.append(Record(row));

        std::vector<std::thread> threads;
        for (quint32 seed = 1; seed <= 4; ++seed) {
            threads.emplace_back([rows, seed, &table]() mutable {
                QRandomGenerator random(seed);
                QList<Record> own;
                for (int step = 0; step < 5000; ++step) {
                    own.append(rows[random.bounded(64)]);
                    if (own.size() > 20)
                        own.remove(0, 10);
                    own.append(Record(&table));
                    QList<Record> copy = own;
                    copy.removeLast();
                }
                rows.clear();
            });
        }
        table.clear();
        rows.clear();
        for (std::thread &thread : threads)
            thread.join();

        QCOMPARE(table.liveRowCount(), 0);
    }
};

QTEST_APPLESS_MAIN(RecordTest)
#include "tst_record.moc"
