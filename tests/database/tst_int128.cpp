// SPDX-License-Identifier: MIT
//
// The numbers of 128 bits for compilers that have none, beside those of a compiler that has.
#include <database/int128_p.h>

#include <support/seed.h>

#include <QTest>

#include <array>
#include <random>

namespace {

__extension__ typedef __int128 Signed;
__extension__ typedef unsigned __int128 Unsigned;

constexpr sito::UInt128 ours(Unsigned value)
{
    return {quint64(value >> 64), quint64(value)};
}
constexpr sito::Int128 ours(Signed value)
{
    return sito::Int128(ours(Unsigned(value)));
}
constexpr bool isSame(sito::UInt128 a, Unsigned b)
{
    return a.high() == quint64(b >> 64) && a.low() == quint64(b);
}
constexpr bool isSame(sito::Int128 a, Signed b)
{
    return isSame(sito::UInt128(a), Unsigned(b));
}

// Where a carry, a sign or a word ends.
constexpr std::array<Unsigned, 15> edges{
    0,
    1,
    2,
    10,
    0x7FFF'FFFF,
    0xFFFF'FFFF,
    0x1'0000'0000,
    0x7FFF'FFFF'FFFF'FFFF,
    0x8000'0000'0000'0000,
    0xFFFF'FFFF'FFFF'FFFF,
    Unsigned(1) << 64,
    (Unsigned(1) << 127) - 1,
    Unsigned(1) << 127,
    ~Unsigned(0) - 1,
    ~Unsigned(0),
};

static_assert(isSame(ours(~Unsigned(0)) / 10, ~Unsigned(0) / 10));
static_assert(isSame(-ours(Unsigned(1)), ~Unsigned(0)));
static_assert(isSame(sito::Int128(-1), Signed(-1)));
static_assert(qint64(sito::Int128(-5)) == -5);

} // namespace

class Int128Test : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void agreesAtTheEdges()
    {
        for (const Unsigned a : edges) {
            for (const Unsigned b : edges)
                compare(a, b, "");
            shift(a, "");
        }
    }

    void agreesForRandomNumbersOfAnyWidth()
    {
        const quint64 seed = testSeed();
        std::mt19937_64 random(seed);
        const auto number = [&random] {
            const Unsigned bits = Unsigned(random()) << 64 | random();
            return bits >> (random() % 128);
        };

        for (int i = 0; i < 20'000 && !QTest::currentTestFailed(); ++i) {
            const Unsigned a = number();
            const Unsigned b = number();
            const QByteArray message = seedMessage(seed, QStringLiteral("round %1").arg(i));
            compare(a, b, message.constData());
            compare(a, ~b, message.constData());
            compare(~a, b, message.constData());
            shift(a, message.constData());
        }
    }

private:
    static void compare(Unsigned a, Unsigned b, const char *message)
    {
        const sito::UInt128 x = ours(a);
        const sito::UInt128 y = ours(b);
        QVERIFY2(isSame(x + y, a + b), message);
        QVERIFY2(isSame(x - y, a - b), message);
        QVERIFY2(isSame(x * y, a * b), message);
        QVERIFY2(isSame(x & y, a & b), message);
        QVERIFY2(isSame(x | y, a | b), message);
        QVERIFY2(isSame(-x, -a), message);
        QVERIFY2((x < y) == (a < b) && (x == y) == (a == b) && (x <= y) == (a <= b), message);
        if (b != 0) {
            QVERIFY2(isSame(x / y, a / b), message);
            QVERIFY2(isSame(x % y, a % b), message);
        }
        compareSigned(Signed(a), Signed(b), message);
    }

    static void compareSigned(Signed a, Signed b, const char *message)
    {
        constexpr auto least = Signed(Unsigned(1) << 127);
        const sito::Int128 x = ours(a);
        const sito::Int128 y = ours(b);
        QVERIFY2((x < y) == (a < b) && (x == y) == (a == b) && (x > 0) == (a > 0), message);
        QVERIFY2(quint64(x) == quint64(a) && qint64(x) == qint64(a), message);
        QVERIFY2(isSame(x * y, Signed(Unsigned(a) * Unsigned(b))), message);
        QVERIFY2(isSame(-x, Signed(-Unsigned(a))), message);
        if (b != 0 && !(a == least && b == -1)) {
            QVERIFY2(isSame(x / y, a / b), message);
            QVERIFY2(isSame(x % y, a % b), message);
        }
    }

    static void shift(Unsigned a, const char *message)
    {
        for (int bits = 0; bits < 128; ++bits) {
            QVERIFY2(isSame(ours(a) << bits, a << bits), message);
            QVERIFY2(isSame(ours(a) >> bits, a >> bits), message);
        }
    }
};

QTEST_APPLESS_MAIN(Int128Test)
#include "tst_int128.moc"
