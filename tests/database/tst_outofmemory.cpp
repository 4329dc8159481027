// SPDX-License-Identifier: MIT
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QTest>

#include <cstdlib>
#include <new>

namespace {
/// How many more times operator new gives memory in this thread; below 0 without end.
thread_local qint64 allocationsLeft = -1;
/// How many blocks of operator new are in use in this thread.
thread_local qint64 blocksInUse = 0;
} // namespace

// The libraries of the program allocate here, too.
void *operator new(size_t size)
{
    if (allocationsLeft == 0)
        throw std::bad_alloc();
    if (allocationsLeft > 0)
        --allocationsLeft;
    void *block = std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++blocksInUse;
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void operator delete(void *block) noexcept
{
    if (block)
        --blocksInUse;
    std::free(block);
}

void operator delete[](void *block) noexcept
{
    operator delete(block);
}

void operator delete(void *block, size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void *block, size_t) noexcept
{
    operator delete(block);
}

namespace {
const QList<ColumnSpec> columns{{QStringLiteral("id"), FieldType::Int},
                                {QStringLiteral("wide"), FieldType::Raw, true, 3000}};

/// \a count rows numbered from \a first.
QList<QList<CellValue>> rowsFrom(int first, int count)
{
    QList<QList<CellValue>> rows;
    for (int i = 0; i < count; ++i)
        rows.append({qint32(first + i), std::monostate()});
    return rows;
}

QList<int> ids(const MemoryTable &table)
{
    QList<int> result;
    for (unsigned char *row : *table.masterIndex())
        result.append(table.dataPtr(row, 0).value<qint32>());
    return result;
}

QList<int> idsByNumber(const MemoryTable &table)
{
    QList<int> result;
    for (qint64 i = 0; i < table.rowCount(); ++i)
        result.append(table.row(i).field(0).value<qint32>());
    return result;
}
} // namespace

class OutOfMemoryTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void losesAndLeaksNothing_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("at");
        QTest::addColumn<int>("count");
        QTest::newRow("one row into an empty table") << 0 << 0 << 1;
        QTest::newRow("many rows into an empty table") << 0 << 0 << 20000;
        QTest::newRow("one row behind a full small page") << 64 << 64 << 1;
        QTest::newRow("one row into a full small page") << 64 << 10 << 1;
        QTest::newRow("one row behind full pages") << 8256 << 8256 << 1;
        QTest::newRow("one row into a full page") << 8256 << 5000 << 1;
        QTest::newRow("many rows behind full pages") << 8256 << 8256 << 70000;
        QTest::newRow("many rows into a full page") << 8256 << 4000 << 20000;
    }
    void losesAndLeaksNothing()
    {
        QFETCH(const int, before);
        QFETCH(const int, at);
        QFETCH(const int, count);
        const QList<ColumnSpec> narrow{columns[0], {QStringLiteral("text"), FieldType::Int, true}};
        const auto first = rowsFrom(0, before);
        const auto added = rowsFrom(before, count);
        QList<int> expected;
        for (int i = 0; i < before; ++i)
            expected.append(i);
        const QList<int> unchanged = expected;
        for (int i = 0; i < count; ++i)
            expected.insert(at + i, before + i);

        int failures = 0;
        bool sound = true;
        bool complete = false;
        qint64 leaked = 0;
        for (qint64 allowed = 0; !complete; ++allowed) {
            const qint64 inUse = blocksInUse;
            {
                MemoryTable table(QStringLiteral("t"), narrow);
                // One by one, so that neither the last page nor the list of pages has room at the end.
                for (const auto &row : first)
                    table.append(row);
                try {
                    allocationsLeft = allowed;
                    table.insert(at, added);
                    complete = true;
                } catch (const std::bad_alloc &) {
                    ++failures;
                }
                allocationsLeft = -1;
                if (!complete) {
                    sound = sound && ids(table) == unchanged && idsByNumber(table) == unchanged &&
                            table.liveRowCount() == before;
                    // The next operation may run out of memory, too, and the one after it may not.
                    try {
                        allocationsLeft = 0;
                        table.append(added.first());
                    } catch (const std::bad_alloc &) {
                    }
                    allocationsLeft = -1;
                    if (table.rowCount() > before)
                        table.remove(table.row(before));
                    sound = sound && ids(table) == unchanged;
                    table.insert(at, added);
                }
                sound = sound && ids(table) == expected && idsByNumber(table) == expected;
            }
            leaked += blocksInUse - inUse;
        }

        QVERIFY(sound);
        QCOMPARE(leaked, 0);
        QVERIFY(failures > 0);
    }

    void leaksNoSlab()
    {
        constexpr int rows = 60; // wide ones, so that the list of slabs grows several times
        bool complete = false;
        qint64 leaked = 0;
        for (qint64 allowed = 0; !complete; ++allowed) {
            const qint64 inUse = blocksInUse;
            {
                MemoryTable table(QStringLiteral("t"), columns);
                try {
                    allocationsLeft = allowed;
                    for (int i = 0; i < rows; ++i)
                        table.append({qint32(i), std::monostate()});
                    complete = true;
                } catch (const std::bad_alloc &) {
                }
                allocationsLeft = -1;
            }
            leaked += blocksInUse - inUse;
        }

        QCOMPARE(leaked, 0);
    }
};

QTEST_APPLESS_MAIN(OutOfMemoryTest)
#include "tst_outofmemory.moc"
