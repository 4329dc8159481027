// SPDX-License-Identifier: MIT
#include "decimalchecks.h"

#include <data/xdecimal.h>

#include <QTest>

#include <limits>
#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(sizeof(xdecimal) == 16);
static_assert(std::is_trivially_copyable_v<xdecimal>);

class tst_xdecimal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void isMadeFromParts_data();
    void isMadeFromParts();
    void refusesScalesOutOfRange();
    void holdsThirtySixDigits();
    void keepsItsBytes();
    void readsText_data();
    void readsText();
    void refusesText_data();
    void refusesText();
    void rounds_data();
    void rounds();
    void keepsItselfWhenRescalingFails();
    void compares_data();
    void compares();
    void takesDoubles();
    void readsWhatDecimalWrites();

    void storesEveryPartWithoutLoss() { checks().storesEveryPartWithoutLoss(); }
    void writesWhatItReads() { checks().writesWhatItReads(); }
    void readsTextsExactly() { checks().readsTextsExactly(); }
    void comparesExactly() { checks().comparesExactly(); }
    void ordersLikeItsWordAtOneScale() { checks().ordersLikeItsWordAtOneScale(); }
    void rescalesExactly() { checks().rescalesExactly(); }
    void takesDoublesExactly() { checks().takesDoublesExactly(); }
    void givesTheNearestDouble() { checks().givesTheNearestDouble(); }

private:
    using Checks = DecimalChecks<xdecimal>;
    static Checks checks() { return Checks(u"XDecimal"_s); }
    static xdecimal number(const QString &text) { return xdecimal(QStringView(text)); }
};

// 2^120 - 1 and -2^120.
static const QString largest = u"1329227995784915872903807060280344575"_s;
static const QString smallest = u"-1329227995784915872903807060280344576"_s;

void tst_xdecimal::isMadeFromParts_data()
{
    QTest::addColumn<qint64>("unscaled");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("text");

    QTest::newRow("zero") << qint64(0) << 0 << u"0"_s;
    QTest::newRow("seven") << qint64(7) << 0 << u"7"_s;
    QTest::newRow("price") << qint64(-12345) << 2 << u"-123.45"_s;
    QTest::newRow("zeros") << qint64(12) << -64 << u"12e64"_s;
    QTest::newRow("largest integer") << std::numeric_limits<qint64>::max() << 18 << u"9.223372036854775807"_s;
    QTest::newRow("smallest integer") << std::numeric_limits<qint64>::min() << 0 << u"-9223372036854775808"_s;
    QTest::newRow("largest scale") << qint64(1) << 63 << (u"0."_s + QString(62, u'0') + u'1');
}

void tst_xdecimal::isMadeFromParts()
{
    QFETCH(qint64, unscaled);
    QFETCH(int, scale);

    const xdecimal result(unscaled, short(scale));

    QCOMPARE(int(result.scale()), scale);
    QVERIFY(Checks::parts(result) == (Checks::Parts{Checks::Integer(unscaled), scale}));
    QTEST(result.toString(), "text");
}

void tst_xdecimal::refusesScalesOutOfRange()
{
    QVERIFY(Checks::throwsException(u"XDecimal overflow: '-5e-64'"_s, [] { xdecimal(-5, 64); }));
    QVERIFY(Checks::throwsException(u"XDecimal overflow: '0e65'"_s, [] { xdecimal(0, -65); }));
    QVERIFY(Checks::throwsException(u"XDecimal overflow: '7e-32767'"_s, [] { xdecimal(7, 32767); }));
}

void tst_xdecimal::holdsThirtySixDigits()
{
    for (int point = 0; point <= 36; ++point) {
        QString text = QString(36, u'9');
        if (point < 36)
            text.insert(point, point == 0 ? u"0."_s : u"."_s);

        const xdecimal result = number(text);

        QCOMPARE(result.toString(), text);
        QCOMPARE(number(u'-' + text).toString(), u'-' + text);
        QVERIFY(number(u'-' + text).compare(result) < 0);
    }
}

void tst_xdecimal::keepsItsBytes()
{
    alignas(8) unsigned char storage[17] = {};
    for (int i = 1; i <= 16; ++i)
        storage[i] = static_cast<unsigned char>(i * 15);

    const xdecimal unaligned = xdecimal::fromData(storage + 1);

    QVERIFY(std::memcmp(unaligned.data(), storage + 1, 16) == 0);
    const xdecimal copy = unaligned;
    QVERIFY(std::memcmp(copy.data(), storage + 1, 16) == 0);
    QVERIFY(copy.data() != unaligned.data());
    const unsigned char zeros[16] = {};
    QVERIFY(std::memcmp(xdecimal().data(), zeros, 16) == 0);
}

void tst_xdecimal::readsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");

    QTest::newRow("trailing zero is kept") << u"1.50"_s << u"1.50"_s;
    QTest::newRow("white space and signs") << u" +1.5E+3 "_s << u"15e2"_s;
    QTest::newRow("largest") << largest << largest;
    QTest::newRow("smallest") << smallest << smallest;
    QTest::newRow("zeros given up for room") << (largest + u".000"_s) << largest;
    QTest::newRow("whole number as a power") << u"1e99"_s
                                             << u"10000000000000000000000000000000000"
                                                "0e64"_s;
    QTest::newRow("nineteen digits") << u"9999999999999999999"_s << u"9999999999999999999"_s;
    QTest::newRow("twenty digits") << u"99999999999999999999"_s << u"99999999999999999999"_s;
    QTest::newRow("zeros across the word")
        << u"1000000000000000000000001.0"_s << u"1000000000000000000000001.0"_s;
    QTest::newRow("zeros at the word's end") << u"10000000000000000000"_s << u"10000000000000000000"_s;
}

void tst_xdecimal::readsText()
{
    QFETCH(QString, text);

    const xdecimal result = number(text);

    QTEST(result.toString(), "written");
}

void tst_xdecimal::refusesText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isNumber");

    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("null") << QString() << false;
    QTest::newRow("word") << u"abc"_s << false;
    QTest::newRow("place markers") << u"%1%2"_s << false;
    QTest::newRow("two points") << u"1..2"_s << false;
    QTest::newRow("one too large") << u"1329227995784915872903807060280344576"_s << true;
    QTest::newRow("one too small") << u"-1329227995784915872903807060280344577"_s << true;
    QTest::newRow("all that 38 digits hold") << QString(38, u'9') << true;
    QTest::newRow("too many digits") << QString(39, u'9') << true;
    QTest::newRow("scale 64") << u"1e-64"_s << true;
    QTest::newRow("exponent too large") << u"2e100"_s << true;
}

void tst_xdecimal::refusesText()
{
    QFETCH(QString, text);
    QFETCH(bool, isNumber);
    const QString message = isNumber ? checks().overflowMessage(text) : checks().conversionMessage(text);

    const std::optional<xdecimal> checked = xdecimal::fromString(text);

    QVERIFY(!checked);
    QVERIFY(Checks::throwsException(message, [&] { xdecimal{QStringView(text)}; }));
}

void tst_xdecimal::rounds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("rounded");

    QTest::newRow("half goes up") << u"1.245"_s << 2 << u"1.25"_s;
    QTest::newRow("negative half goes down") << u"-1.245"_s << 2 << u"-1.25"_s;
    QTest::newRow("largest to nothing") << largest << -37 << u"0e37"_s;
    QTest::newRow("largest to nothing by far") << largest << -64 << u"0e64"_s;
    QTest::newRow("largest to its first digit") << largest << -36 << u"1e36"_s;
    QTest::newRow("half of the largest divisor")
        << u"500000000000000000000000000000000000"_s << -36 << u"1e36"_s;
    QTest::newRow("one below that half") << u"499999999999999999999999999999999999"_s << -36 << u"0e36"_s;
    QTest::newRow("digits added") << u"7"_s << 35 << (u"7."_s + QString(35, u'0'));
}

void tst_xdecimal::rounds()
{
    QFETCH(QString, text);
    QFETCH(int, scale);
    xdecimal value = number(text);

    value.setScale(short(scale));

    QTEST(value.toString(), "rounded");
    QCOMPARE(int(value.scale()), scale);
}

void tst_xdecimal::keepsItselfWhenRescalingFails()
{
    xdecimal value = number(largest);

    QVERIFY(Checks::throwsException(checks().overflowMessage(largest), [&] { value.setScale(1); }));
    QVERIFY(Checks::throwsException(checks().overflowMessage(largest), [&] { value.setScale(63); }));
    QVERIFY(Checks::throwsException(checks().overflowMessage(largest), [&] { value.setScale(64); }));

    QCOMPARE(value.toString(), largest);
}

void tst_xdecimal::compares_data()
{
    QTest::addColumn<QString>("less");
    QTest::addColumn<QString>("greater");
    QTest::addColumn<bool>("equal");

    QTest::newRow("same number, other scale") << u"1.5"_s << u"1.50"_s << true;
    QTest::newRow("the last digit") << (largest + u"e-63"_s) << (largest.chopped(1) + u"e-62"_s) << false;
    QTest::newRow("extreme scales") << (largest + u"e-63"_s) << u"1e64"_s << false;
    QTest::newRow("opposite extremes") << (smallest + u"e64"_s) << (largest + u"e64"_s) << false;
    QTest::newRow("zero and the nearest to it") << u"0e64"_s << u"1e-63"_s << false;
}

void tst_xdecimal::compares()
{
    QFETCH(QString, less);
    QFETCH(QString, greater);
    QFETCH(bool, equal);
    if (qstrcmp(QTest::currentDataTag(), "the last digit") == 0)
        std::swap(less, greater);

    const int order = number(less).compare(number(greater));
    const int reverse = number(greater).compare(number(less));

    QVERIFY(equal ? order == 0 : order < 0);
    QVERIFY(equal ? reverse == 0 : reverse > 0);
}

void tst_xdecimal::takesDoubles()
{
    QCOMPARE(xdecimal::fromDouble(7.25, 6).toString(), u"7.250000"_s);
    QCOMPARE(xdecimal::fromDouble(-0.0000005, 6).toString(), u"0.000000"_s);
    QCOMPARE(xdecimal::fromDouble(-0.00000051, 6).toString(), u"-0.000001"_s);
    QCOMPARE(xdecimal::fromDouble(0.1, 35).toString(), u"0.10000000000000000555111512312578270"_s);
    QCOMPARE(xdecimal::fromDouble(1e22, 6).toString(), u"10000000000000000000000.000000"_s);
    for (const double value : {qQNaN(), qInf(), -qInf(), 1e37}) {
        const QString name = QString::number(value, 'g', QLocale::FloatingPointShortest);
        QVERIFY(
            Checks::throwsException(checks().overflowMessage(name), [&] { xdecimal::fromDouble(value, 6); }));
    }
}

void tst_xdecimal::readsWhatDecimalWrites()
{
    const quint64 seed = testSeed();
    std::mt19937_64 random(seed);
    for (int i = 0; i < 5000; ++i) {
        const decimal given = decimal::fromWord(qint64(random()));

        const xdecimal result = number(given.toString());

        const QByteArray about = seedMessage(seed, given.toString());
        QVERIFY2(result.toString() == given.toString(), about.constData());
        QVERIFY2(result.compare(xdecimal(given.unscaled(), given.scale())) == 0, about.constData());
        QVERIFY2(result.toDouble() == given.toDouble(), about.constData());
    }
}

QTEST_APPLESS_MAIN(tst_xdecimal)
#include "tst_xdecimal.moc"
