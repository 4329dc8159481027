// SPDX-License-Identifier: MIT
#include <hostkit/table/hashslots_p.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QRandomGenerator>
#include <QTest>

#include <unordered_map>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

struct Slot
{
    quint64 key = 0;
    /// 0 in a free slot.
    int value = 0;

    bool isFree() const { return value == 0; }
};

/// Numbers keys from 1 on; \a mask decides how many hashes there are.
class Numbers
{
public:
    Numbers(size_t count, size_t mask) : m_slots(count), m_mask(mask) {}

    int numberOf(quint64 key)
    {
        Slot &slot = m_slots.slot(key & m_mask, [key](const Slot &other) { return other.key == key; });
        if (slot.isFree()) {
            slot = {key, ++m_count};
            m_slots.added([this](const Slot &other) { return other.key & m_mask; });
            return m_count;
        }
        return slot.value;
    }
    int find(quint64 key) const
    {
        m_slots.prefetch(key & m_mask);
        return m_slots.slot(key & m_mask, [key](const Slot &other) { return other.key == key; }).value;
    }

private:
    HashSlots<Slot> m_slots;
    size_t m_mask;
    int m_count = 0;
};

} // namespace

class tst_HashSlots : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void findsNothingAtFirst()
    {
        for (const int count : {0, 1, 512})
            QCOMPARE(Numbers(size_t(count), ~size_t(0)).find(7), 0);
    }

    void findsWhatWasAdded_data()
    {
        QTest::addColumn<quint64>("roomFor");
        QTest::addColumn<quint64>("mask");
        QTest::newRow("hashes that differ") << quint64(512) << ~quint64(0);
        QTest::newRow("no room at first") << quint64(0) << ~quint64(0);
        QTest::newRow("few hashes") << quint64(512) << quint64(15);
        QTest::newRow("one hash") << quint64(1) << quint64(0);
        QTest::newRow("hashes at the end") << quint64(16) << (quint64(31) << 8 | 0xF8);
    }
    void findsWhatWasAdded()
    {
        QFETCH(quint64, roomFor);
        QFETCH(quint64, mask);
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        Numbers numbers(roomFor, mask);
        std::unordered_map<quint64, int> oracle;

        for (int i = 0; i < 5000; ++i) {
            const quint64 key = random.bounded(2000U);
            const auto known = oracle.try_emplace(key, int(oracle.size()) + 1).first;
            QVERIFY2(numbers.numberOf(key) == known->second,
                     seedMessage(seed, u"key %1"_s.arg(key)).constData());
        }

        for (quint64 key = 0; key < 2500; ++key) {
            const auto known = oracle.find(key);
            QCOMPARE(numbers.find(key), known == oracle.end() ? 0 : known->second);
        }
    }
};

QTEST_GUILESS_MAIN(tst_HashSlots)
#include "tst_hashslots.moc"
