// SPDX-License-Identifier: MIT
#include "decimalchecks.h"

#include <data/decimal.h>

#include <QTest>

#include <limits>
#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(sizeof(decimal) == 8);
static_assert(std::is_trivially_copyable_v<decimal>);

static_assert(decimal().word() == 0 && decimal().scale() == 0);
static_assert(decimal(qint64(255)).word() == 0xFF);
static_assert(quint64(decimal(qint64(-1)).word()) == 0x80FFFFFFFFFFFFFFu);
static_assert(decimal(qint64(-1)).word() < decimal(qint64(255)).word());

static_assert(decimal::fromWord(qint64(0xFFFFFFFFFFFFFFFFu)).unscaled() == -1);
static_assert(decimal::fromWord(qint64(0xFFFFFFFFFFFFFFFFu)).scale() == -1);
static_assert(decimal::fromWord(qint64(0x3F00000000000001u)).scale() == 63);
static_assert(decimal::fromWord(qint64(0x4000000000000001u)).scale() == -64);
static_assert(decimal::fromWord(qint64(0xC000000000000000u)).scale() == -64);
static_assert(decimal::fromWord(qint64(0xC000000000000000u)).unscaled() == decimal::minUnscaled);
static_assert(decimal::fromWord(0x00FFFFFFFFFFFFFF).unscaled() == decimal::maxUnscaled);

class tst_decimal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void isMadeFromIntegers_data();
    void isMadeFromIntegers();
    void readsText_data();
    void readsText();
    void refusesText_data();
    void refusesText();
    void writesText_data();
    void writesText();
    void isMadeFromParts();
    void rounds_data();
    void rounds();
    void keepsItselfWhenRescalingFails_data();
    void keepsItselfWhenRescalingFails();
    void compares_data();
    void compares();
    void roundsDoubles_data();
    void roundsDoubles();
    void refusesDoubles_data();
    void refusesDoubles();
    void becomesDouble_data();
    void becomesDouble();

    void storesEveryPartWithoutLoss() { checks().storesEveryPartWithoutLoss(); }
    void writesWhatItReads() { checks().writesWhatItReads(); }
    void readsTextsExactly() { checks().readsTextsExactly(); }
    void comparesExactly() { checks().comparesExactly(); }
    void ordersLikeItsWordAtOneScale() { checks().ordersLikeItsWordAtOneScale(); }
    void rescalesExactly() { checks().rescalesExactly(); }
    void takesDoublesExactly() { checks().takesDoublesExactly(); }
    void givesTheNearestDouble() { checks().givesTheNearestDouble(); }

private:
    using Checks = DecimalChecks<decimal>;
    static Checks checks() { return Checks(u"Decimal"_s); }
};

void tst_decimal::isMadeFromIntegers_data()
{
    QTest::addColumn<qint64>("integer");
    QTest::addColumn<qint64>("unscaled");
    QTest::addColumn<int>("scale");
    constexpr qint64 limit = qint64(1) << 56;

    QTest::newRow("zero") << qint64(0) << qint64(0) << 0;
    QTest::newRow("255") << qint64(255) << qint64(255) << 0;
    QTest::newRow("minus one") << qint64(-1) << qint64(-1) << 0;
    QTest::newRow("largest that fits") << limit - 1 << limit - 1 << 0;
    QTest::newRow("2^56 loses a digit") << limit << qint64(7205759403792793) << -1;
    QTest::newRow("just below ten times 2^56") << limit * 10 - 1 << limit - 1 << -1;
    QTest::newRow("ten times 2^56 loses two digits") << limit * 10 << qint64(7205759403792793) << -2;
    QTest::newRow("cut, not rounded") << qint64(999999999999999999) << qint64(9999999999999999) << -2;
    QTest::newRow("largest of all") << std::numeric_limits<qint64>::max() << qint64(9223372036854775) << -3;
    QTest::newRow("smallest that fits") << -limit << -limit << 0;
    QTest::newRow("one below it wraps") << -limit - 1 << qint64(-1) << 0;
    QTest::newRow("255 below it wraps") << -limit - 255 << qint64(-255) << 0;
    QTest::newRow("twice the smallest wraps") << -limit * 2 << -limit << 0;
    QTest::newRow("smallest of all wraps") << std::numeric_limits<qint64>::min() << -limit << 0;
}

void tst_decimal::isMadeFromIntegers()
{
    QFETCH(qint64, integer);

    const decimal number(integer);

    QTEST(number.unscaled(), "unscaled");
    QTEST(int(number.scale()), "scale");
}

void tst_decimal::readsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("unscaled");
    QTest::addColumn<int>("scale");

    QTest::newRow("digits") << u"42"_s << qint64(42) << 0;
    QTest::newRow("plus") << u"+42"_s << qint64(42) << 0;
    QTest::newRow("minus") << u"-42"_s << qint64(-42) << 0;
    QTest::newRow("trailing zero is kept") << u"1.50"_s << qint64(150) << 2;
    QTest::newRow("zero with digits") << u"0.000"_s << qint64(0) << 3;
    QTest::newRow("minus zero") << u"-0"_s << qint64(0) << 0;
    QTest::newRow("nothing before the point") << u".5"_s << qint64(5) << 1;
    QTest::newRow("nothing behind the point") << u"5."_s << qint64(5) << 0;
    QTest::newRow("leading zeros") << u"007.010"_s << qint64(7010) << 3;
    QTest::newRow("exponent") << u"15e3"_s << qint64(15) << -3;
    QTest::newRow("exponent with plus") << u"15E+3"_s << qint64(15) << -3;
    QTest::newRow("negative exponent") << u"15e-3"_s << qint64(15) << 3;
    QTest::newRow("point and exponent") << u"1.5e3"_s << qint64(15) << -2;
    QTest::newRow("white space") << u"\t 1.5\n"_s << qint64(15) << 1;
    QTest::newRow("largest") << u"72057594037927935"_s << decimal::maxUnscaled << 0;
    QTest::newRow("smallest") << u"-72057594037927936"_s << decimal::minUnscaled << 0;
    QTest::newRow("zeros given up for room") << u"72057594037927935.000"_s << decimal::maxUnscaled << 0;
    QTest::newRow("one zero given up") << u"7205759403792793.00"_s << qint64(72057594037927930) << 1;
    QTest::newRow("whole number as a power")
        << u"10000000000000000000000"_s << qint64(10000000000000000) << -6;
    QTest::newRow("zeros given up for the scale")
        << (u"1."_s + QString(100, u'0')) << qint64(10000000000000000) << 16;
    QTest::newRow("scale 64 by a zero") << (u"0."_s + QString(62, u'0') + u"10"_s) << qint64(1) << 63;
    QTest::newRow("zeros added for the scale") << u"1e70"_s << qint64(1000000) << -64;
    QTest::newRow("largest scale") << u"1e-63"_s << qint64(1) << 63;
    QTest::newRow("smallest scale") << u"1e64"_s << qint64(1) << -64;
    QTest::newRow("zero with a huge exponent") << u"0e99999999999999999999"_s << qint64(0) << -64;
    QTest::newRow("zero with a tiny exponent") << u"0e-99999999999999999999"_s << qint64(0) << 63;
    QTest::newRow("small number far behind the point")
        << (u"0."_s + QString(200, u'0') + u"25e200"_s) << qint64(25) << 2;
}

void tst_decimal::readsText()
{
    QFETCH(QString, text);
    QFETCH(qint64, unscaled);
    QFETCH(int, scale);

    const decimal fromString(text);
    const decimal fromView{QStringView(text)};
    const std::optional<decimal> checked = decimal::fromString(text);

    QCOMPARE(fromString.unscaled(), unscaled);
    QCOMPARE(int(fromString.scale()), scale);
    QCOMPARE(fromView.word(), fromString.word());
    QVERIFY(checked);
    QCOMPARE(checked->word(), fromString.word());
}

void tst_decimal::refusesText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("number");

    QTest::newRow("null") << QString() << false;
    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("blank") << u"  "_s << false;
    QTest::newRow("word") << u"abc"_s << false;
    QTest::newRow("sign alone") << u"-"_s << false;
    QTest::newRow("two signs") << u"--1"_s << false;
    QTest::newRow("point alone") << u"."_s << false;
    QTest::newRow("two points") << u"1.2.3"_s << false;
    QTest::newRow("comma") << u"1,5"_s << false;
    QTest::newRow("space inside") << u"1 000"_s << false;
    QTest::newRow("space behind the sign") << u"- 1"_s << false;
    QTest::newRow("exponent without digits") << u"1e"_s << false;
    QTest::newRow("exponent with sign alone") << u"1e-"_s << false;
    QTest::newRow("exponent with point") << u"1e1.5"_s << false;
    QTest::newRow("exponent alone") << u"e5"_s << false;
    QTest::newRow("rubbish behind") << u"1.5x"_s << false;
    QTest::newRow("rubbish behind too many digits") << (QString(60, u'7') + u'x') << false;
    QTest::newRow("place markers") << u"%1 and %2"_s << false;
    QTest::newRow("digits of another script") << u"٣"_s << false;
    QTest::newRow("hexadecimal") << u"0x10"_s << false;
    QTest::newRow("nan") << u"nan"_s << false;
    QTest::newRow("infinity") << u"inf"_s << false;

    QTest::newRow("one too large") << u"72057594037927936"_s << true;
    QTest::newRow("one too small") << u"-72057594037927937"_s << true;
    QTest::newRow("a digit behind the point too much") << u"72057594037927935.1"_s << true;
    QTest::newRow("scale 64") << u"1e-64"_s << true;
    QTest::newRow("exponent too large") << u"1e81"_s << true;
    QTest::newRow("exponent far too large") << u"1e99999999999999999999"_s << true;
    QTest::newRow("exponent far too small") << u"1e-99999999999999999999"_s << true;
    QTest::newRow("very long") << QString(1000, u'9') << true;
    QTest::newRow("blanks stay in the message") << u" 1e-64 "_s << true;
}

void tst_decimal::refusesText()
{
    QFETCH(QString, text);
    QFETCH(bool, number);
    const QString message = number ? checks().overflowMessage(text) : checks().conversionMessage(text);

    const std::optional<decimal> checked = decimal::fromString(text);

    QVERIFY(!checked);
    QVERIFY(!decimal::fromString(text + QChar(QChar::Null)));
    QVERIFY(Checks::throwsException(message, [&] { decimal{text}; }));
    QVERIFY(Checks::throwsException(message, [&] { decimal{QStringView(text)}; }));
}

void tst_decimal::writesText_data()
{
    QTest::addColumn<qint64>("unscaled");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("text");

    QTest::newRow("zero") << qint64(0) << 0 << u"0"_s;
    QTest::newRow("zero with digits") << qint64(0) << 2 << u"0.00"_s;
    QTest::newRow("zero with zeros") << qint64(0) << -2 << u"0e2"_s;
    QTest::newRow("whole") << qint64(-42) << 0 << u"-42"_s;
    QTest::newRow("point") << qint64(150) << 2 << u"1.50"_s;
    QTest::newRow("less than one") << qint64(5) << 3 << u"0.005"_s;
    QTest::newRow("less than one, negative") << qint64(-5) << 1 << u"-0.5"_s;
    QTest::newRow("zeros") << qint64(15) << -3 << u"15e3"_s;
    QTest::newRow("largest") << decimal::maxUnscaled << -64 << u"72057594037927935e64"_s;
    QTest::newRow("smallest") << decimal::minUnscaled << -64 << u"-72057594037927936e64"_s;
    QTest::newRow("nearest to zero") << qint64(-1) << 63 << (u"-0."_s + QString(62, u'0') + u'1');
}

void tst_decimal::writesText()
{
    QFETCH(qint64, unscaled);
    QFETCH(int, scale);

    const QString text = decimal::fromUnscaled(unscaled, short(scale)).toString();

    QTEST(text, "text");
}

void tst_decimal::isMadeFromParts()
{
    const decimal number = decimal::fromUnscaled(decimal::minUnscaled, decimal::maxScale);

    QCOMPARE(number.unscaled(), decimal::minUnscaled);
    QCOMPARE(number.scale(), decimal::maxScale);
    QCOMPARE(decimal::fromWord(number.word()).word(), number.word());
    QVERIFY(Checks::throwsException(u"Decimal overflow: '72057594037927936e-2'"_s,
                                    [] { decimal::fromUnscaled(decimal::maxUnscaled + 1, 2); }));
    QVERIFY(Checks::throwsException(u"Decimal overflow: '-72057594037927937e0'"_s,
                                    [] { decimal::fromUnscaled(decimal::minUnscaled - 1, 0); }));
    QVERIFY(Checks::throwsException(u"Decimal overflow: '1e-64'"_s, [] { decimal::fromUnscaled(1, 64); }));
    QVERIFY(Checks::throwsException(u"Decimal overflow: '0e65'"_s, [] { decimal::fromUnscaled(0, -65); }));
    QVERIFY(Checks::throwsException(u"Decimal overflow: '-9223372036854775808e32768'"_s, [] {
        decimal::fromUnscaled(std::numeric_limits<qint64>::min(), std::numeric_limits<short>::min());
    }));
}

void tst_decimal::rounds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("rounded");

    QTest::newRow("digits added") << u"1.5"_s << 4 << u"1.5000"_s;
    QTest::newRow("below half") << u"1.2449"_s << 2 << u"1.24"_s;
    QTest::newRow("half goes up") << u"1.245"_s << 2 << u"1.25"_s;
    QTest::newRow("half of an even digit goes up") << u"2.5"_s << 0 << u"3"_s;
    QTest::newRow("negative half goes down") << u"-2.5"_s << 0 << u"-3"_s;
    QTest::newRow("negative below half") << u"-2.4999"_s << 0 << u"-2"_s;
    QTest::newRow("rounded twice would go up") << u"0.449"_s << 0 << u"0"_s;
    QTest::newRow("carried on") << u"9.995"_s << 2 << u"10.00"_s;
    QTest::newRow("to tens") << u"15"_s << -1 << u"2e1"_s;
    QTest::newRow("to nothing") << u"-4"_s << -1 << u"0e1"_s;
    QTest::newRow("far to nothing") << u"72057594037927935"_s << -64 << u"0e64"_s;
    QTest::newRow("half of the largest divisor that matters") << u"0.50000000000000000"_s << 0 << u"1"_s;
    QTest::newRow("the same scale") << u"-72057594037927936"_s << 0 << u"-72057594037927936"_s;
    QTest::newRow("zero to any scale") << u"0"_s << 63 << (u"0."_s + QString(63, u'0'));
    QTest::newRow("zeros into digits") << u"1e16"_s << 0 << u"10000000000000000"_s;
}

void tst_decimal::rounds()
{
    QFETCH(QString, text);
    QFETCH(int, scale);
    decimal number(text);

    number.setScale(short(scale));

    QTEST(number.toString(), "rounded");
    QCOMPARE(int(number.scale()), scale);
}

void tst_decimal::keepsItselfWhenRescalingFails_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("scale");

    QTest::newRow("no room for a digit") << u"7205759403792794"_s << 1;
    QTest::newRow("no room for a negative digit") << u"-7205759403792794"_s << 1;
    QTest::newRow("no room for many digits") << u"1e64"_s << 63;
    QTest::newRow("scale too large") << u"0"_s << 64;
    QTest::newRow("scale too small") << u"0"_s << -65;
}

void tst_decimal::keepsItselfWhenRescalingFails()
{
    QFETCH(QString, text);
    QFETCH(int, scale);
    decimal number(text);
    const qint64 word = number.word();

    QVERIFY(Checks::throwsException(checks().overflowMessage(text), [&] { number.setScale(short(scale)); }));

    QCOMPARE(number.word(), word);
}

void tst_decimal::compares_data()
{
    QTest::addColumn<QString>("less");
    QTest::addColumn<QString>("greater");
    QTest::addColumn<bool>("equal");

    QTest::newRow("same number, other scale") << u"1.5"_s << u"1.50"_s << true;
    QTest::newRow("zeros") << u"0e64"_s << u"0.00"_s << true;
    QTest::newRow("a digit behind the point") << u"1.5"_s << u"1.51"_s << false;
    QTest::newRow("negative, a digit behind the point") << u"-1.51"_s << u"-1.5"_s << false;
    QTest::newRow("extreme scales") << u"72057594037927935e-63"_s << u"1e64"_s << false;
    QTest::newRow("extreme scales, negative") << u"-1e64"_s << u"-72057594037927936e-63"_s << false;
    QTest::newRow("zero and the nearest to it") << u"0e64"_s << u"1e-63"_s << false;
    QTest::newRow("the nearest to zero and zero") << u"-1e-63"_s << u"0e64"_s << false;
    QTest::newRow("largest and next scale") << u"7205759403792793"_s << u"7205759403792793.1"_s << false;
    QTest::newRow("opposite extremes") << u"-72057594037927936e64"_s << u"72057594037927935e64"_s << false;
}

void tst_decimal::compares()
{
    QFETCH(QString, less);
    QFETCH(QString, greater);
    QFETCH(bool, equal);

    const int order = decimal(less).compare(decimal(greater));
    const int reverse = decimal(greater).compare(decimal(less));

    QVERIFY(equal ? order == 0 : order < 0);
    QVERIFY(equal ? reverse == 0 : reverse > 0);
    QCOMPARE(decimal(less).compare(decimal(less)), 0);
}

void tst_decimal::roundsDoubles_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("text");

    QTest::newRow("exact") << 1.5 << 6 << u"1.500000"_s;
    QTest::newRow("tie") << 0.125 << 2 << u"0.13"_s;
    QTest::newRow("negative tie") << -0.125 << 2 << u"-0.13"_s;
    QTest::newRow("just below a tie in binary") << 1.005 << 2 << u"1.00"_s;
    QTest::newRow("just above a tie in binary") << 1.135 << 2 << u"1.14"_s;
    QTest::newRow("below half by one bit") << 0.49999999999999994 << 0 << u"0"_s;
    QTest::newRow("minus zero") << -0.0 << 2 << u"0.00"_s;
    QTest::newRow("denormal") << 5e-324 << 6 << u"0.000000"_s;
    QTest::newRow("denormal at the largest scale") << 5e-324 << 63 << (u"0."_s + QString(63, u'0'));
    QTest::newRow("half of a power") << 5e63 << -64 << u"1e64"_s;
    QTest::newRow("less than half of a power") << 4e63 << -64 << u"0e64"_s;
    QTest::newRow("largest that fits") << 72057594037927928.0 << 0 << u"72057594037927928"_s;
    QTest::newRow("smallest that fits") << -72057594037927936.0 << 0 << u"-72057594037927936"_s;
}

void tst_decimal::roundsDoubles()
{
    QFETCH(double, value);
    QFETCH(int, scale);

    const decimal number = decimal::fromDouble(value, short(scale));

    QTEST(number.toString(), "text");
    QCOMPARE(int(number.scale()), scale);
}

void tst_decimal::refusesDoubles_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QString>("name");

    QTest::newRow("not a number") << qQNaN() << 6 << u"nan"_s;
    QTest::newRow("infinity") << qInf() << 6 << u"inf"_s;
    QTest::newRow("minus infinity") << -qInf() << 6 << u"-inf"_s;
    QTest::newRow("too large") << 1e12 << 6 << u"1e+12"_s;
    QTest::newRow("one bit too large") << 72057594037927936.0 << 0 << u"72057594037927940"_s;
    QTest::newRow("largest double") << std::numeric_limits<double>::max() << 0
                                    << u"1.7976931348623157e+308"_s;
    QTest::newRow("scale too large") << 0.0 << 64 << u"0"_s;
    QTest::newRow("scale too small") << 0.0 << -65 << u"0"_s;
}

void tst_decimal::refusesDoubles()
{
    QFETCH(double, value);
    QFETCH(int, scale);
    QFETCH(QString, name);

    // The shortest form of a double may differ in its exponent between versions of Qt, never in its value.
    const QString shortest = QString::number(value, 'g', QLocale::FloatingPointShortest);
    QCOMPARE(shortest.toDouble(), name.toDouble());
    QVERIFY(Checks::throwsException(checks().overflowMessage(shortest),
                                    [&] { decimal::fromDouble(value, short(scale)); }));
}

void tst_decimal::becomesDouble_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");

    QTest::newRow("zero") << u"0.00"_s << 0.0;
    QTest::newRow("tenth") << u"0.1"_s << 0.1;
    QTest::newRow("whole") << u"-42"_s << -42.0;
    QTest::newRow("zeros") << u"15e3"_s << 15000.0;
    QTest::newRow("more than 53 bits") << u"72057594037927935"_s << 72057594037927936.0;
    QTest::newRow("tie to even below") << u"9007199254740993"_s << 9007199254740992.0;
    QTest::newRow("tie to even above") << u"9007199254740995"_s << 9007199254740996.0;
    QTest::newRow("largest") << u"72057594037927935e64"_s << 72057594037927935e64;
    QTest::newRow("nearest to zero") << u"-1e-63"_s << -1e-63;
}

void tst_decimal::becomesDouble()
{
    QFETCH(QString, text);
    QFETCH(double, value);

    const double result = decimal(text).toDouble();

    QVERIFY2(result == value, qPrintable(QString::number(result, 'g', 17)));
    QVERIFY(!std::signbit(result) || value < 0);
}

QTEST_APPLESS_MAIN(tst_decimal)
#include "tst_decimal.moc"
