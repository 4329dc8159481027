// SPDX-License-Identifier: MIT
#include <data/datetime.h>

#include <support/exceptions.h>
#include <support/seed.h>
#include <support/zoneguard.h>

#include <QDateTime>
#include <QTest>
#include <QTimeZone>

#include <limits>
#include <random>
#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(sizeof(datetime) == 8);
static_assert(std::is_trivially_copyable_v<datetime>);
static_assert(datetime().milliseconds() == 0);
static_assert(datetime(-1).milliseconds() == -1);
static_assert(!std::is_convertible_v<QString, datetime> && !std::is_convertible_v<qint64, datetime>);

namespace {

constexpr qint64 second = 1000;
constexpr qint64 minute = 60 * second;
constexpr qint64 hour = 60 * minute;

const QString longPattern = u"yyyy.MM.dd HH:mm:ss.zzz"_s;
const QStringList &patterns()
{
    static const QStringList all = {longPattern, u"yyyy-MM-dd HH:mm:ss"_s, u"yyyy.MM.dd"_s, u"yyyy-MM-dd"_s};
    return all;
}

/// The zone that this process runs in.
QByteArray zoneName()
{
    return qgetenv("TZ");
}

QString utcText(qint64 milliseconds, const QString &pattern = longPattern)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, QTimeZone::utc()).toString(pattern);
}

qint64 utc(int year, int month, int day, int hours = 0, int minutes = 0, int seconds = 0,
           int milliseconds = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hours, minutes, seconds, milliseconds), QTimeZone::utc())
        .toMSecsSinceEpoch();
}

/// The plain sequence of platform calls that defines which texts are dates, and which. It is right in UTC
/// alone.
qint64 plainlyRead(const QString &text)
{
    // Newer platforms take any white space of Unicode for the blank of a pattern; separators are exactly its
    // own.
    for (const QChar c : text) {
        if (c.isSpace() && c != u' ')
            return 0;
    }
    QDateTime result;
    for (const QString &pattern : patterns()) {
        result = QDateTime::fromString(text, pattern);
        if (result.isValid())
            break;
    }
    result.setTimeZone(QTimeZone::utc());
    return result.isValid() ? result.toMSecsSinceEpoch() : 0;
}

/// A change of the zone's offset, in milliseconds.
struct Transition
{
    qint64 at;
    qint64 before;
    qint64 after;

    /// Whether local clocks never show \a reading because of this change.
    bool skips(qint64 reading) const { return reading >= at + before && reading < at + after; }
};

/// All of them in this process's zone from 2000 to 2037, by the zone's own table.
QList<Transition> transitions()
{
    QList<Transition> result;
    const QTimeZone zone(zoneName());
    const auto from = QDateTime(QDate(2000, 1, 1), QTime(0, 0), QTimeZone::utc());
    const auto to = QDateTime(QDate(2038, 1, 1), QTime(0, 0), QTimeZone::utc());
    const auto all = zone.transitions(from, to);
    for (const QTimeZone::OffsetData &data : all) {
        const qint64 at = data.atUtc.toMSecsSinceEpoch();
        const qint64 before = zone.offsetFromUtc(data.atUtc.addMSecs(-1)) * second;
        result.append({at, before, data.offsetFromUtc * second});
    }
    return result;
}

} // namespace

class tst_datetime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { failOnAnyWarning(); }

    void readsTexts_data();
    void readsTexts();
    void gives0ForOtherTexts_data();
    void gives0ForOtherTexts();
    void readsWhatThePlainCallsRead();
    void writesTexts_data();
    void writesTexts();
    void movesSkippedReadings_data();
    void movesSkippedReadings();
    void isRightAroundEveryTransition();
    void writesInUtcAsThePlatformDoes();
    void readsItsUtcTextInEveryYear();
    void readsUtcTexts();
};

void tst_datetime::initTestCase()
{
    QVERIFY2(!zoneName().isEmpty(), "name the zone by the environment variable TZ");
    QVERIFY2(QTimeZone(zoneName()).isValid(), "the zone is not installed");
    // A zone that the C library does not find would silently be UTC.
    for (int month = 1; month <= 12; ++month) {
        const QDateTime instant = QDateTime::fromMSecsSinceEpoch(utc(2015, month, 15, 12));
        QCOMPARE(instant.offsetFromUtc(), QTimeZone(zoneName()).offsetFromUtc(instant));
    }
}

void tst_datetime::readsTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("milliseconds");

    const qint64 instant = 1711852200000; // 2024-03-31T02:30:00Z, which clocks skip in Berlin
    QTest::newRow("dots and milliseconds") << u"2024.03.31 02:30:00.000"_s << instant;
    QTest::newRow("dashes and seconds") << u"2024-03-31 02:30:00"_s << instant;
    QTest::newRow("dotted date") << u"2024.03.31"_s << instant - 150 * minute;
    QTest::newRow("dashed date") << u"2024-03-31"_s << instant - 150 * minute;
    QTest::newRow("skipped midnight, dots") << u"2018.11.04"_s << utc(2018, 11, 4);
    QTest::newRow("skipped midnight, dashes") << u"2018-11-04"_s << utc(2018, 11, 4);
    QTest::newRow("skipped day") << u"2011-12-30 12:00:00"_s << utc(2011, 12, 30, 12);
    QTest::newRow("repeated reading") << u"2017.10.31 21:00:00.000"_s << utc(2017, 10, 31, 21);
    QTest::newRow("last millisecond") << u"9999.12.31 23:59:59.999"_s << qint64(253402300799999);
    QTest::newRow("first of all years") << u"0001-01-01"_s << qint64(-62135596800000);
    QTest::newRow("before the epoch") << u"1969.12.31 23:59:59.999"_s << qint64(-1);
    QTest::newRow("leap day") << u"2024.02.29"_s << utc(2024, 2, 29);
    QTest::newRow("leap day of a century") << u"2000-02-29"_s << utc(2000, 2, 29);
    QTest::newRow("before Christ") << u"-0001.12.31 23:59:59.999"_s << qint64(-62135596800001);
    QTest::newRow("leap day before Christ") << u"-0001-02-29"_s << utc(-1, 2, 29);
    QTest::newRow("four years earlier") << u"-0005-02-29"_s << utc(-5, 2, 29);
    QTest::newRow("far before Christ") << u"-9999.01.01"_s << utc(-9999, 1, 1);
}

void tst_datetime::readsTexts()
{
    QFETCH(QString, text);

    const datetime value(text);

    QTEST(value.milliseconds(), "milliseconds");
}

void tst_datetime::gives0ForOtherTexts_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("minus alone") << u"-"_s;
    QTest::newRow("the epoch itself") << u"1970-01-01 00:00:00"_s;
    QTest::newRow("day first") << u"31.03.2024"_s;
    QTest::newRow("slashes") << u"2024/03/31"_s;
    QTest::newRow("dots without milliseconds") << u"2024.03.31 02:30:00"_s;
    QTest::newRow("dashes with milliseconds") << u"2024-03-31 02:30:00.000"_s;
    QTest::newRow("mixed separators") << u"2024.03-31"_s;
    QTest::newRow("mixed separators with time") << u"2024-03.31 02:30:00"_s;
    QTest::newRow("letter between") << u"2024-03-31T02:30:00"_s;
    QTest::newRow("zone behind") << u"2024-03-31 02:30:00Z"_s;
    QTest::newRow("two digits of a year") << u"24.03.31"_s;
    QTest::newRow("five digits of a year") << u"10000.01.01"_s;
    QTest::newRow("plus") << u"+2024.03.31"_s;
    QTest::newRow("two minus signs") << u"--2024.03.31"_s;
    QTest::newRow("no leading zeros") << u"2024.3.1"_s;
    QTest::newRow("blanks for zeros") << u"2024. 3. 1"_s;
    QTest::newRow("blank in front") << u" 2024.03.31"_s;
    QTest::newRow("blank behind") << u"2024.03.31 "_s;
    QTest::newRow("two blanks") << u"2024-03-31  02:30:00"_s;
    QTest::newRow("another blank") << (u"2024-03-31"_s + QChar(QChar::Nbsp) + u"02:30:00"_s);
    QTest::newRow("year 0") << u"0000.03.31"_s;
    QTest::newRow("year minus 0") << u"-0000.03.31"_s;
    QTest::newRow("month 0") << u"2024.00.31"_s;
    QTest::newRow("month 13") << u"2024.13.01"_s;
    QTest::newRow("day 0") << u"2024.01.00"_s;
    QTest::newRow("day 31 of 30") << u"2024.04.31"_s;
    QTest::newRow("no leap year") << u"2023.02.29"_s;
    QTest::newRow("no leap century") << u"1900-02-29"_s;
    QTest::newRow("no leap year before Christ") << u"-0004.02.29"_s;
    QTest::newRow("hour 24") << u"2024-03-31 24:00:00"_s;
    QTest::newRow("minute 60") << u"2024-03-31 02:60:00"_s;
    QTest::newRow("second 60") << u"2024-03-31 02:30:60"_s;
    QTest::newRow("two digits of milliseconds") << u"2024.03.31 02:30:00.00"_s;
    QTest::newRow("four digits of milliseconds") << u"2024.03.31 02:30:00.0000"_s;
    QTest::newRow("comma before milliseconds") << u"2024.03.31 02:30:00,000"_s;
    QTest::newRow("digits of another script") << u"٢٠٢٤.٠٣.٣١"_s;
    QTest::newRow("milliseconds as a number") << u"@5"_s;
}

void tst_datetime::gives0ForOtherTexts()
{
    QFETCH(QString, text);

    const datetime value(text);

    QCOMPARE(value.milliseconds(), qint64(0));
}

void tst_datetime::readsWhatThePlainCallsRead()
{
    const quint64 seed = testSeed();
    std::mt19937_64 random(seed);
    const QString alphabet = u"0123456789.-: +\t@TZeU,/٣０\u00a0\u2009"_s + QChar(QChar::Null);
    const auto any = [&random](qsizetype count) { return qsizetype(random() % quint64(count)); };
    QStringList texts;
    for (int i = 0; i < 10000; ++i) {
        const qint64 instant = qint64(random() % 800'000'000'000'000) - 400'000'000'000'000;
        QString text = utcText(instant, patterns()[any(patterns().size())]);
        for (qsizetype changes = any(4); changes > 0; --changes) {
            const qsizetype at = any(text.size() + 1);
            const QChar c = alphabet[any(alphabet.size())];
            switch (any(3)) {
            case 0:
                text.insert(at, c);
                break;
            case 1:
                text.remove(at, 1);
                break;
            default:
                text.replace(at, 1, c);
            }
        }
        texts.append(text);
    }

    QList<qint64> expected;
    {
        const ZoneGuard inUtc("UTC");
        for (const QString &text : std::as_const(texts))
            expected.append(plainlyRead(text));
    }

    qsizetype dates = 0;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const datetime value(texts[i]);
        QVERIFY2(value.milliseconds() == expected[i], seedMessage(seed, texts[i]).constData());
        dates += expected[i] != 0 ? 1 : 0;
    }
    QVERIFY(dates > texts.size() / 10);
    QVERIFY(dates < texts.size() * 9 / 10);
}

void tst_datetime::writesTexts_data()
{
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("utc");
    const auto add = [](const char *name, qint64 milliseconds, const QString &text, const QString &utcForm) {
        QTest::newRow(name) << milliseconds << text << (utcForm.isNull() ? text : utcForm);
    };

    add("no date", 0, u""_s, QString());
    add("one millisecond", 1, u"1970.01.01 00:00:00.001"_s, QString());
    add("before the epoch", -1, u"1969.12.31 23:59:59.999"_s, QString());
    add("a date", utc(2024, 1, 5), u"2024.01.05 00:00:00.000"_s, QString());
    add("repeated reading", utc(2017, 10, 31, 21), u"2017.10.31 21:00:00.000"_s, QString());
    add("last of four digits", 253402300799999, u"9999.12.31 23:59:59.999"_s, QString());
    add("first of five digits", 253402300800000, u"10000.01.01 00:00:00.000"_s, u"@253402300800000"_s);
    add("first of all years", -62135596800000, u"0001.01.01 00:00:00.000"_s, QString());
    add("last before Christ", -62135596800001, u"-0001.12.31 23:59:59.999"_s, u"@-62135596800001"_s);
    add("six digits", utc(123456, 6, 1), u"123456.06.01 00:00:00.000"_s, u"@3833740972800000"_s);
    add("zeros inside the year", utc(30007, 6, 1), u"30007.06.01 00:00:00.000"_s, u"@884775312000000"_s);
    add("last of all", std::numeric_limits<qint64>::max(), u"292278994.08.17 07:12:55.807"_s,
        u"@9223372036854775807"_s);
    add("first of all", std::numeric_limits<qint64>::min(), u"-292275056.05.16 16:47:04.192"_s,
        u"@-9223372036854775808"_s);
}

void tst_datetime::writesTexts()
{
    QFETCH(qint64, milliseconds);
    QFETCH(QString, text);

    const datetime value(milliseconds);

    QCOMPARE(value.toString(), text);
    QTEST(value.toUtcString(), "utc");
    QCOMPARE(datetime::fromUtcString(value.toUtcString()).milliseconds(), milliseconds);
    // What the constructor reads ends with four digits of a year.
    if (milliseconds < 253402300800000 && milliseconds > utc(-9999, 1, 1))
        QCOMPARE(datetime(text).milliseconds(), milliseconds);
}

void tst_datetime::movesSkippedReadings_data()
{
    QTest::addColumn<QByteArrayList>("zones");
    QTest::addColumn<QString>("reading");
    QTest::addColumn<QString>("shown");
    const auto add = [](const char *name, const char *zone, const QString &reading, const QString &shown) {
        QTest::newRow(name) << QByteArray(zone).split(' ') << reading << shown;
    };

    add("spring", "Europe/Berlin", u"2024.03.31 02:30:00.000"_s, u"2024.03.31 03:30:00.000"_s);
    add("first of the gap", "Europe/Berlin", u"2024.03.31 02:00:00.000"_s, u"2024.03.31 03:00:00.000"_s);
    add("last of the gap", "Europe/Berlin", u"2024.03.31 02:59:59.999"_s, u"2024.03.31 03:59:59.999"_s);
    add("before the gap", "Europe/Berlin", u"2024.03.31 01:59:59.999"_s, u"2024.03.31 01:59:59.999"_s);
    add("behind the gap", "Europe/Berlin", u"2024.03.31 03:00:00.000"_s, u"2024.03.31 03:00:00.000"_s);
    add("a zone west of UTC", "America/New_York", u"2024.03.10 02:30:00.000"_s, u"2024.03.10 03:30:00.000"_s);
    add("midnight", "America/Sao_Paulo", u"2018.11.04 00:00:00.000"_s, u"2018.11.04 01:00:00.000"_s);
    add("a whole day", "Pacific/Apia", u"2011.12.30 12:34:56.789"_s, u"2011.12.31 12:34:56.789"_s);
    add("first of that day", "Pacific/Apia", u"2011.12.30 00:00:00.000"_s, u"2011.12.31 00:00:00.000"_s);
    add("last of that day", "Pacific/Apia", u"2011.12.30 23:59:59.999"_s, u"2011.12.31 23:59:59.999"_s);
    add("before that day", "Pacific/Apia", u"2011.12.29 23:59:59.999"_s, u"2011.12.29 23:59:59.999"_s);
    add("half an hour", "Australia/Lord_Howe", u"2024.10.06 02:15:00.000"_s, u"2024.10.06 02:45:00.000"_s);
    add("two zones at once", "Europe/Moscow Europe/Berlin", u"2011.03.27 02:30:00.000"_s,
        u"2011.03.27 03:30:00.000"_s);
    add("gap by day", "Africa/Khartoum", u"2000.01.15 12:30:00.000"_s, u"2000.01.15 13:30:00.000"_s);
    add("repeated, not skipped", "Africa/Khartoum", u"2017.10.31 23:30:00.000"_s,
        u"2017.10.31 23:30:00.000"_s);
    add("around a change in UTC", "Africa/Khartoum", u"2017.10.31 21:00:00.000"_s,
        u"2017.10.31 21:00:00.000"_s);
    add("before the epoch", "Europe/Berlin", u"1946.04.14 02:30:00.000"_s, u"1946.04.14 03:30:00.000"_s);
    add("far future", "Europe/Berlin", u"2400.03.26 02:30:00.000"_s, u"2400.03.26 03:30:00.000"_s);
}

void tst_datetime::movesSkippedReadings()
{
    QFETCH(QByteArrayList, zones);
    QFETCH(QString, reading);
    QFETCH(QString, shown);
    const datetime value(reading);

    const QString text = value.toString();

    QCOMPARE(text, zones.contains(zoneName()) ? shown : reading);
    QCOMPARE(value.toUtcString(), reading);
    QCOMPARE(datetime::fromUtcString(reading).milliseconds(), value.milliseconds());
}

void tst_datetime::isRightAroundEveryTransition()
{
    const QList<Transition> all = transitions();
    const QMap<QByteArray, int> least = {{"America/New_York", 76},   {"America/Sao_Paulo", 38},
                                         {"Europe/Berlin", 76},      {"Europe/Moscow", 23},
                                         {"Pacific/Apia", 20},       {"Africa/Khartoum", 2},
                                         {"Australia/Lord_Howe", 76}};
    QVERIFY2(all.size() >= least.value(zoneName()), qPrintable(QString::number(all.size())));

    for (const Transition &transition : all) {
        const qint64 begin = transition.at + qMin(transition.before, transition.after);
        const qint64 end = transition.at + qMax(transition.before, transition.after);
        QList<qint64> readings;
        for (qint64 reading = begin - 3 * hour; reading <= end + 3 * hour; reading += minute)
            readings.append(reading);
        for (const qint64 edge : {begin, end, transition.at}) {
            for (qint64 reading = edge - 5 * second; reading <= edge + 5 * second; reading += 250)
                readings << reading - 1 << reading << reading + 1;
        }

        for (const qint64 reading : std::as_const(readings)) {
            const datetime value(reading);
            const bool skipped = transition.skips(reading);
            const qint64 shown = skipped ? reading + transition.after - transition.before : reading;
            const QString text = utcText(reading);

            QCOMPARE(value.toString(), utcText(shown));
            QCOMPARE(value.toUtcString(), text);
            QCOMPARE(datetime(text).milliseconds(), reading);
            if (!skipped)
                QCOMPARE(datetime(value.toString()).milliseconds(), reading);
            if (reading % second == 0)
                QCOMPARE(datetime(utcText(reading, patterns()[1])).milliseconds(), reading);
        }
        for (const qint64 day : {begin, end}) {
            for (const QString &pattern : {patterns()[2], patterns()[3]}) {
                const qint64 midnight = QDateTime::fromMSecsSinceEpoch(day, QTimeZone::utc())
                                            .date()
                                            .startOfDay(QTimeZone::utc())
                                            .toMSecsSinceEpoch();
                QCOMPARE(datetime(utcText(day, pattern)).milliseconds(), midnight);
            }
        }
    }
}

void tst_datetime::writesInUtcAsThePlatformDoes()
{
    const ZoneGuard inUtc("UTC");
    const quint64 seed = testSeed();
    std::mt19937_64 random(seed);
    for (int i = 0; i < 40000; ++i) {
        const auto milliseconds = qint64(random()) >> (random() % 64);
        if (milliseconds == 0)
            continue;

        const QString text = datetime(milliseconds).toString();

        const QString expected = utcText(milliseconds);
        QVERIFY2(text == expected, seedMessage(seed, text + u' ' + expected).constData());
    }
}

void tst_datetime::readsItsUtcTextInEveryYear()
{
    const quint64 seed = testSeed();
    std::mt19937_64 random(seed);
    for (int i = 0; i < 40000; ++i) {
        const auto milliseconds = qint64(random()) >> (random() % 64);

        const QString text = datetime(milliseconds).toUtcString();

        QVERIFY2(datetime::fromUtcString(text).milliseconds() == milliseconds,
                 seedMessage(seed, text).constData());
    }
    for (int year = -10001; year <= 10001; ++year) {
        if (year == 0)
            continue;
        for (const qint64 milliseconds : {utc(year, 1, 1), utc(year, 2, 28, 23, 59, 59, 999),
                                          utc(year, 3, 1) - 1, utc(year, 3, 1), utc(year, 12, 31, 12)}) {
            const QString text = datetime(milliseconds).toUtcString();

            QCOMPARE(datetime::fromUtcString(text).milliseconds(), milliseconds);
            if (year > 0 && year < 10000 && milliseconds != 0)
                QCOMPARE(text, utcText(milliseconds));
        }
    }
}

void tst_datetime::readsUtcTexts()
{
    QCOMPARE(datetime::fromUtcString(u"2024-03-31 02:30:00").milliseconds(), qint64(1711852200000));
    QCOMPARE(datetime::fromUtcString(u"@-5").milliseconds(), qint64(-5));
    for (const QStringView text :
         {QStringView(), QStringView(u"@"), QStringView(u"@x"), QStringView(u"@1.5"),
          QStringView(u"@9223372036854775808"), QStringView(u"x@5"), QStringView(u"2024")})
        QCOMPARE(datetime::fromUtcString(text).milliseconds(), qint64(0));
}

QTEST_APPLESS_MAIN(tst_datetime)
#include "tst_datetime.moc"
