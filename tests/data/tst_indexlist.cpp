// SPDX-License-Identifier: MIT
#include <data/indexlist.h>

#include <support/exceptions.h>
#include <support/objectlayout.h>

#include <QTest>

#include <vector>

namespace {
/// The second base must have a table of virtual functions of its own.
static_assert(std::is_base_of_v<TableIndex, IndexList> && std::is_base_of_v<RowRange, IndexList>);
static_assert(std::is_polymorphic_v<TableIndex> && std::is_polymorphic_v<RowRange>);
static_assert(sizeof(IndexPage) == 2 * sizeof(void *));
static_assert(sizeof(IndexList) == 4 * sizeof(void *),
              "two tables of virtual functions, the count, the slots");

/// An index over numbered rows, page by page; a page of -1 is an empty slot.
class Pages : public IndexList
{
public:
    explicit Pages(const QList<int> &counts)
    {
        m_rows.reserve(1000);
        m_pages.reserve(size_t(counts.size()));
        for (const int count : counts) {
            if (count < 0) {
                m_table.push_back(nullptr);
                continue;
            }
            auto *first = m_rows.data() + m_rows.size();
            for (int i = 0; i < count; ++i)
                m_rows.push_back(m_bytes + m_rows.size());
            m_pages.push_back({first, m_rows.data() + m_rows.size()});
            m_table.push_back(&m_pages.back());
        }
        m_slots = m_table.data();
        m_slotCount = qint64(m_table.size());
    }

    IndexPage *const *slots() const { return m_table.data(); }

    QString walk() const
    {
        QStringList rows;
        for (const unsigned char *row : *this)
            rows.append(QString::number(row - m_bytes));
        return rows.join(QChar(u' '));
    }

private:
    unsigned char m_bytes[1000] = {};
    std::vector<unsigned char *> m_rows;
    std::vector<IndexPage> m_pages;
    std::vector<IndexPage *> m_table;
};
} // namespace

class IndexListTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void visitsEveryRowBehindTheFirstSlot_data()
    {
        QTest::addColumn<QList<int>>("counts");
        QTest::addColumn<QString>("rows");
        QTest::newRow("empty second slot") << QList<int>{-1, -1} << QString();
        QTest::newRow("no rows in the second slot") << QList<int>{-1, 0} << QString();
        QTest::newRow("one page") << QList<int>{-1, 3} << QStringLiteral("0 1 2");
        QTest::newRow("first slot holds rows") << QList<int>{2, 3} << QStringLiteral("2 3 4");
        QTest::newRow("several pages") << QList<int>{1, 2, 1, 2} << QStringLiteral("1 2 3 4 5");
        QTest::newRow("no rows in the middle") << QList<int>{-1, 2, 0, 0, 1} << QStringLiteral("0 1 2");
        QTest::newRow("no rows at the end") << QList<int>{-1, 2, 0} << QStringLiteral("0 1");
        QTest::newRow("no slots") << QList<int>{} << QString();
        QTest::newRow("nothing but the first slot") << QList<int>{2} << QString();
        QTest::newRow("no rows in the second slot, rows behind")
            << QList<int>{-1, 0, 2} << QStringLiteral("0 1");
        QTest::newRow("second slot empty, rows behind") << QList<int>{-1, -1, 2} << QStringLiteral("0 1");
        QTest::newRow("several without rows, then rows")
            << QList<int>{-1, 0, -1, 0, 2, 1} << QStringLiteral("0 1 2");
        QTest::newRow("empty slots in the middle") << QList<int>{-1, 1, -1, -1, 2} << QStringLiteral("0 1 2");
        QTest::newRow("empty slot at the end") << QList<int>{-1, 2, -1} << QStringLiteral("0 1");
        QTest::newRow("empty slot and no rows at the end")
            << QList<int>{-1, 2, -1, 0} << QStringLiteral("0 1");
        QTest::newRow("no rows and an empty slot at the end")
            << QList<int>{-1, 2, 0, -1} << QStringLiteral("0 1");
        QTest::newRow("no rows at all in many slots") << QList<int>{3, 0, -1, 0, -1} << QString();
    }
    void visitsEveryRowBehindTheFirstSlot()
    {
        QFETCH(const QList<int>, counts);
        QFETCH(const QString, rows);

        const Pages pages(counts);

        QCOMPARE(pages.walk(), rows);
        QCOMPARE(pages.rowCount(), rows.isEmpty() ? 0 : rows.count(QChar(u' ')) + 1);
    }

    void keepsTheCountBeforeTheSlots()
    {
        const Pages pages({-1, 2, 1});
        const IndexList &list = pages;

        QCOMPARE(memberAt<qint64>(list, 2 * sizeof(void *)), 3);
        QCOMPARE(memberAt<IndexPage *const *>(list, 3 * sizeof(void *)), pages.slots());
    }

    void hasItsRangeInBothTablesOfVirtualFunctions()
    {
        const Pages pages({-1, 2});
        const IndexList &list = pages;

        // Two slots are the destructor's.
        QCOMPARE(virtualSlot(&TableIndex::rowCount), 2);
        QCOMPARE(virtualSlot(&IndexList::rowCount), 2);
        QCOMPARE(virtualSlot(&IndexList::begin), 3);
        QCOMPARE(virtualSlot(&IndexList::end), 4);
        QCOMPARE(virtualSlot(&RowRange::begin), 2);
        QCOMPARE(virtualSlot(&RowRange::end), 3);
        const auto address = [](const auto *object) { return reinterpret_cast<quintptr>(object); };
        QCOMPARE(address(static_cast<const TableIndex *>(&list)), address(&list));
        QCOMPARE(address(static_cast<const RowRange *>(&list)), address(&list) + sizeof(void *));
    }

    void isReadThroughItsSecondBase()
    {
        const Pages pages({-1, 2});
        const RowRange &range = pages;

        const int rows = int(std::distance(range.begin(), range.end()));

        QCOMPARE(rows, 2);
        QVERIFY(range.begin() == pages.begin() && range.end() == pages.end());
    }
};

QTEST_APPLESS_MAIN(IndexListTest)
#include "tst_indexlist.moc"
