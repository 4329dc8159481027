// SPDX-License-Identifier: MIT
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QList>
#include <QRandomGenerator>
#include <QTest>

#include <memory>
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
    /// Every test has a new one, with no rows.
    std::unique_ptr<MemoryTable> m_table;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table = std::make_unique<MemoryTable>(QStringLiteral("t"), columns);
    }
    void cleanup() { m_table.reset(); }

    void countsItsHandlesInTheBlock()
    {
        const Record record(m_table.get());
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
        QCOMPARE(owner, m_table.get());
        QCOMPARE(record.table(), m_table.get());
    }

    void beginsItsDataAfterTheHeader()
    {
        const Record record(m_table.get());

        for (int column = 0; column < m_table->columnCount(); ++column)
            QCOMPARE(record.field(column).data - record.row(),
                     16 + qsizetype(m_table->columnDef(column)->offset));
    }

    void freesTheRowWithTheLastHandle()
    {
        QList<Record> list{Record(m_table.get()), Record(m_table.get())};
        QList<Record> copy = list;
        copy.append(Record(m_table.get()));
        QCOMPARE(m_table->liveRowCount(), 3);

        list.clear();
        QCOMPARE(m_table->liveRowCount(), 3);
        copy.removeLast();
        QCOMPARE(m_table->liveRowCount(), 2);
        Record kept = copy.takeFirst();
        copy = {};
        QCOMPARE(m_table->liveRowCount(), 1);

        kept = Record();
        QCOMPARE(m_table->liveRowCount(), 0);
    }

    void keepsARowAliveThatLeftItsTable()
    {
        m_table->append({qint32(7), QStringLiteral("seven")});
        const Record record = m_table->row(0);

        m_table->remove(record);

        QCOMPARE(m_table->rowCount(), 0);
        QCOMPARE(m_table->liveRowCount(), 1);
        QCOMPARE(record.field(1).toString(), QStringLiteral("seven"));
    }

    void movesAndSwapsWithoutCounting()
    {
        Record a(m_table.get());
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
        QCOMPARE(m_table->liveRowCount(), 1);
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
