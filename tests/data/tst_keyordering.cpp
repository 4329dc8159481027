// SPDX-License-Identifier: MIT
#include <data/keyvalue.h>
#include <database/memorytable.h>

#include <support/allocationcounter.h>
#include <support/exceptions.h>
#include <support/seed.h>

#include <QTest>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <limits>
#include <memory>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<QList<FieldValue>, KeyValue>);
static_assert(sizeof(KeyValue) == sizeof(QList<FieldValue>));
static_assert(
    std::is_same_v<decltype(std::declval<const Field &>().compare(std::declval<const Field &>())), int>);

namespace {

using Type = FieldType::Type;
constexpr auto unknownType = Type(10);

/// A value of its own with the field that looks at it.
class Cell
{
    Q_DISABLE_COPY_MOVE(Cell)
public:
    Cell(Type type, qsizetype size) : m_bytes(new unsigned char[size_t(size)]())
    {
        def.type = type;
        def.size = quint64(size);
        def.nullable = 1;
        field = Field(&def, m_bytes.get(), &flags, 0x04);
        field.setPresent();
    }
    ~Cell()
    {
        if (def.type == FieldType::String)
            delete m_text;
    }

    void setBytes(const void *bytes) { std::memcpy(field.data, bytes, def.size); }
    void setText(const QString &text)
    {
        m_text = new QString(text);
        field.data = reinterpret_cast<unsigned char *>(m_text);
    }

    ColumnDef def;
    Field field;
    // The neighbours' bits must not matter.
    unsigned char flags = 0xF0;

private:
    std::unique_ptr<unsigned char[]> m_bytes;
    QString *m_text = nullptr;
};

using CellPointer = std::shared_ptr<Cell>;

template <typename T>
CellPointer cell(Type type, T value)
{
    static_assert(std::is_trivially_copyable_v<T>);
    auto result = std::make_shared<Cell>(type, qsizetype(sizeof(T)));
    result->setBytes(&value);
    return result;
}

CellPointer absent(Type type)
{
    auto result = std::make_shared<Cell>(type, FieldType::blockSize);
    if (type == FieldType::String)
        result->setText(QString());
    result->field.setAbsent();
    return result;
}

CellPointer integer(int value)
{
    return cell(FieldType::Int, qint32(value));
}

CellPointer integer64(qint64 value)
{
    return cell(FieldType::Int64, value);
}

CellPointer real(double value)
{
    return cell(FieldType::Double, value);
}

CellPointer money(const QString &text)
{
    return cell(FieldType::Decimal, decimal(text).word());
}

CellPointer bigMoney(const QString &text)
{
    const xdecimal value{QStringView(text)};
    auto result = std::make_shared<Cell>(FieldType::XDecimal, 16);
    result->setBytes(value.data());
    return result;
}

CellPointer varChar(const QString &text, int capacity = 12)
{
    // How many bytes that takes is the database library's business.
    const MemoryTable table(u"t"_s, {{u"a"_s, FieldType::VarChar, false, capacity}});
    auto result = std::make_shared<Cell>(FieldType::VarChar, qsizetype(table.columnDef(0)->size));
    result->def.length = capacity;
    FieldType::stringToVarChar(result->field.data, capacity, text);
    return result;
}

CellPointer string(const QString &text)
{
    auto result = std::make_shared<Cell>(FieldType::String, qsizetype(sizeof(QString)));
    result->setText(text);
    return result;
}

CellPointer date(qint64 milliseconds)
{
    return cell(FieldType::DateTime, milliseconds);
}

CellPointer bytes(Type type, char filling, int size)
{
    auto result = std::make_shared<Cell>(type, size);
    const QByteArray value(size, filling);
    result->setBytes(value.constData());
    return result;
}

/// The cells that keys were made from: owned values go on referring to the column definitions.
std::vector<CellPointer> &keptCells()
{
    static std::vector<CellPointer> cells;
    return cells;
}

KeyValue key(std::initializer_list<CellPointer> cells)
{
    KeyValue result;
    for (const CellPointer &one : cells) {
        result.append(FieldValue(one->field));
        keptCells().push_back(one);
    }
    return result;
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}

/// How often decimals were compared by the database library.
int decimalComparisons = 0;

} // namespace

/// Takes the place of the database library's, which it calls.
int decimal::compare(const decimal &other) const
{
    using Compare = int (*)(const decimal *, const decimal &);
    static const auto original = reinterpret_cast<Compare>(dlsym(RTLD_NEXT, "_ZNK7decimal7compareERKS_"));
    ++decimalComparisons;
    return original(this, other);
}

Q_DECLARE_METATYPE(CellPointer)

class tst_keyordering : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { keptCells().clear(); }

    void comparesFields_data();
    void comparesFields();
    void ordersDifferentTypesByCode();
    void asksForEveryBitOfTheMask();
    void takesAFieldWithoutMaskForPresent();
    void doesNotWriteWhatItCompares();
    void allocatesNothingButForTexts();
    void comparesDecimalsOfOneScaleByTheirWords();
    void ordersKeysByTheirFirstDifference();
    void readsOnlyAsManyFieldsAsTheFirstKeyHas();
    void sharesKeysUntilOneChanges();
    void ordersLikeAPlainComparison();
};

void tst_keyordering::comparesFields_data()
{
    QTest::addColumn<CellPointer>("a");
    QTest::addColumn<CellPointer>("b");
    QTest::addColumn<int>("order");
    const auto add = [](const char *name, const CellPointer &a, const CellPointer &b, int order) {
        QTest::newRow(name) << a << b << order;
    };
    const double nan = qQNaN();
    const double infinity = qInf();
    constexpr auto least = std::numeric_limits<qint64>::min();
    constexpr auto most = std::numeric_limits<qint64>::max();

    add("absent and absent", absent(FieldType::Int), absent(FieldType::Int), 0);
    add("absent and smallest", absent(FieldType::Int), integer(std::numeric_limits<int>::min()), -1);
    add("absent and absent of another type", absent(FieldType::Int), absent(FieldType::String), 0);
    add("absent of a higher type and value", absent(FieldType::String), integer(0), -1);
    add("absent and empty text", absent(FieldType::VarChar), varChar(u""_s), -1);
    add("absent and empty string", absent(FieldType::String), string(u""_s), -1);
    add("absent and NaN", absent(FieldType::Double), real(nan), -1);
    add("absent and raw", absent(FieldType::Raw), bytes(FieldType::Raw, 0, 5), -1);
    add("absent and block", absent(FieldType::Block), bytes(FieldType::Block, 0, FieldType::blockSize), -1);
    add("absent and unknown", absent(unknownType), bytes(unknownType, 0, 8), -1);

    add("raw is never ordered", bytes(FieldType::Raw, 'a', 5), bytes(FieldType::Raw, 'b', 5), 0);
    add("block is never ordered", bytes(FieldType::Block, 'a', FieldType::blockSize),
        bytes(FieldType::Block, 'b', FieldType::blockSize), 0);
    add("unknown types are never ordered", bytes(unknownType, 'a', 8), bytes(unknownType, 'b', 8), 0);
    add("unknown types by code", bytes(unknownType, 'a', 8), bytes(Type(11), 'a', 8), -1);

    add("integers", integer(0), integer(1), -1);
    add("negative integers", integer(-2), integer(-1), -1);
    add("equal integers", integer(7), integer(7), 0);
    add("integers whose difference overflows", integer(std::numeric_limits<int>::min()), integer(1), -1);
    add("integers signed", integer(-1), integer(std::numeric_limits<int>::max()), -1);

    add("64-bit integers", integer64(1), integer64(qint64(1) << 32), -1);
    add("64-bit integers, low words reversed", integer64((qint64(1) << 32) + 5),
        integer64((qint64(2) << 32) + 1), -1);
    add("64-bit integers, all of the range", integer64(least), integer64(most), -1);
    add("equal 64-bit integers", integer64(least), integer64(least), 0);
    add("neighbours beyond 53 bits", integer64(most - 1), integer64(most), -1);

    add("dates", date(-1), date(1), -1);
    add("no date and date", date(0), date(1711852200000), -1);
    add("dates, all of the range", date(least), date(most), -1);
    add("equal dates", date(5), date(5), 0);

    add("reals", real(-0.5), real(0.25), -1);
    add("zeros", real(0.0), real(-0.0), 0);
    add("denormals", real(0.0), real(std::numeric_limits<double>::denorm_min()), -1);
    add("NaN and number", real(nan), real(5.0), 0);
    add("NaN and NaN", real(nan), real(nan), 0);
    add("NaN and infinity", real(nan), real(infinity), 0);
    add("infinities", real(-infinity), real(infinity), -1);
    add("number and infinity", real(std::numeric_limits<double>::max()), real(infinity), -1);
    add("the same infinity", real(infinity), real(infinity), 0);
    add("reals whose difference overflows", real(-1e308), real(1e308), -1);

    add("decimals", money(u"1.49"_s), money(u"1.50"_s), -1);
    add("decimals of opposite sign", money(u"-0.01"_s), money(u"2.55"_s), -1);
    add("negative decimals", money(u"-2.55"_s), money(u"-0.01"_s), -1);
    add("decimals of negative scale", money(u"-2e5"_s), money(u"1e5"_s), -1);
    add("equal decimals of different scales", money(u"1.50"_s), money(u"1.5"_s), 0);
    add("different decimals of different scales", money(u"1.51"_s), money(u"1.6"_s), -1);
    add("the word is larger, the number less", money(u"0.001"_s), money(u"1"_s), -1);
    add("decimals of extreme scales", money(u"-1e-63"_s), money(u"-0e64"_s), -1);

    add("large decimals", bigMoney(u"123456789012345678901234567890.12"_s),
        bigMoney(u"123456789012345678901234567890.13"_s), -1);
    add("equal large decimals of different scales", bigMoney(u"7.0"_s), bigMoney(u"7"_s), 0);
    add("negative large decimals", bigMoney(u"-7.1"_s), bigMoney(u"-7"_s), -1);

    add("texts", varChar(u"abc"_s), varChar(u"abd"_s), -1);
    add("prefix", varChar(u"ab"_s), varChar(u"abc"_s), -1);
    add("empty text", varChar(u""_s), varChar(u" "_s), -1);
    add("upper case first", varChar(u"B"_s), varChar(u"a"_s), -1);
    add("case told apart", varChar(u"ABC"_s), varChar(u"abc"_s), -1);
    add("trailing blank counts", varChar(u"abc"_s), varChar(u"abc "_s), -1);
    add("equal texts", varChar(u"abc"_s), varChar(u"abc"_s), 0);
    add("texts that differ behind the end of one", varChar(u"abc"_s, 3), varChar(u"abcd"_s, 4), -1);
    add("by code units, not characters", varChar(u"\U0001F600"_s), varChar(u"\uFF5E"_s), -1);
    add("without locale", varChar(u"z"_s), varChar(u"ä"_s), -1);
    add("Russian texts", varChar(u"Яблоко"_s), varChar(u"арбуз"_s), -1);

    add("strings", string(u"abc"_s), string(u"abd"_s), -1);
    add("equal strings", string(u"abc"_s), string(u"abc"_s), 0);
    add("empty and null string", string(u""_s), string(QString()), 0);
    add("strings, upper case first", string(u"B"_s), string(u"a"_s), -1);
    add("strings by code units", string(u"\U0001F600"_s), string(u"\uFF5E"_s), -1);
    add("strings with a terminator", string(u"a"_s), string(u"a"_s + QChar(QChar::Null)), -1);

    add("text and string", varChar(u"abc"_s), string(u"abd"_s), -1);
    add("string and text", string(u"abc"_s), varChar(u"abd"_s), -1);
    add("text and equal string", varChar(u"abc"_s), string(u"abc"_s), 0);
    add("text and string of other case", varChar(u"ABC"_s), string(u"abc"_s), -1);
    add("text is greater than string", string(u"abc"_s), varChar(u"abcd"_s), -1);

    add("types before numbers", integer(1000), integer64(1), -1);
    add("types before numbers, 64 bits and real", integer64(1000), real(1.0), -1);
    add("equal numbers of different types", integer(1), integer64(1), -1);
    add("decimal types", money(u"100"_s), bigMoney(u"1"_s), -1);
    add("text and date", varChar(u"x"_s), date(1), -1);
    add("date and string", date(1), string(u""_s), -1);
    add("raw and integer", bytes(FieldType::Raw, 'x', 4), integer(-5), -1);
    add("string and block", string(u"x"_s), bytes(FieldType::Block, 'x', FieldType::blockSize), -1);
}

void tst_keyordering::comparesFields()
{
    QFETCH(CellPointer, a);
    QFETCH(CellPointer, b);
    QFETCH(int, order);

    const int forwards = a->field.compare(b->field);
    const int backwards = b->field.compare(a->field);

    QCOMPARE(sign(forwards), order);
    QCOMPARE(sign(backwards), -order);
    QCOMPARE(a->field.compare(a->field), 0);
    QCOMPARE(key({a}) < key({b}), order < 0);
    QCOMPARE(key({b}) < key({a}), order > 0);
}

void tst_keyordering::ordersDifferentTypesByCode()
{
    for (int code = 0; code <= 11; ++code) {
        for (int otherCode = 0; otherCode <= 11; ++otherCode) {
            const bool texts = (code == FieldType::VarChar && otherCode == FieldType::String) ||
                               (code == FieldType::String && otherCode == FieldType::VarChar);
            if (code == otherCode || texts)
                continue;
            const auto make = [](int type) {
                return type == FieldType::String ? string(u"x"_s)
                                                 : bytes(Type(type), 'x', FieldType::blockSize);
            };

            const int order = make(code)->field.compare(make(otherCode)->field);

            QCOMPARE(order, code - otherCode);
        }
    }
}

void tst_keyordering::asksForEveryBitOfTheMask()
{
    const CellPointer one = integer(1);
    const CellPointer two = integer(2);
    one->field.nullMask = 0x06;

    one->flags = 0x04;
    QVERIFY(!one->field.isPresent());
    QVERIFY(one->field.compare(two->field) < 0);
    two->field.setAbsent();
    QCOMPARE(one->field.compare(two->field), 0);
    one->flags = 0x07;

    QVERIFY(one->field.isPresent());
    QVERIFY(one->field.compare(two->field) > 0);
}

void tst_keyordering::takesAFieldWithoutMaskForPresent()
{
    const CellPointer zero = integer(0);
    const CellPointer other = absent(FieldType::Int);
    zero->field.nullMask = 0;
    zero->flags = 0;

    QVERIFY(zero->field.isPresent());
    zero->field.setAbsent();
    QVERIFY(zero->field.isPresent());
    QCOMPARE(zero->flags, uchar(0));
    QVERIFY(zero->field.compare(other->field) > 0);
    QVERIFY(other->field.compare(zero->field) < 0);
}

void tst_keyordering::doesNotWriteWhatItCompares()
{
    const CellPointer a = varChar(u"abc"_s);
    const CellPointer b = varChar(u"abcdefghijkl"_s);
    const QByteArray before(reinterpret_cast<const char *>(b->field.data), qsizetype(b->def.size));

    QVERIFY(a->field.compare(b->field) < 0);

    QCOMPARE(QByteArray(reinterpret_cast<const char *>(b->field.data), qsizetype(b->def.size)), before);
    QCOMPARE(a->flags, uchar(0xF4));
    QCOMPARE(b->flags, uchar(0xF4));
}

void tst_keyordering::allocatesNothingButForTexts()
{
    const std::vector<CellPointer> cells = {integer(1),
                                            integer(2),
                                            integer64(1),
                                            integer64(-1),
                                            real(0.5),
                                            real(std::numeric_limits<double>::quiet_NaN()),
                                            money(u"1.50"_s),
                                            money(u"1.50001"_s),
                                            money(u"1.5"_s),
                                            bigMoney(u"123456789012345678901234567890.25"_s),
                                            bigMoney(u"123456789012345678901234567890.250"_s),
                                            bigMoney(u"-1e20"_s),
                                            date(5),
                                            date(-5),
                                            bytes(FieldType::Raw, 'a', 5),
                                            bytes(FieldType::Raw, 'b', 5),
                                            bytes(FieldType::Block, 'a', FieldType::blockSize),
                                            bytes(FieldType::Block, 'b', FieldType::blockSize),
                                            absent(FieldType::Int),
                                            absent(FieldType::XDecimal)};
    const KeyValue one = key({integer(1), money(u"1.50"_s), date(5)});
    const KeyValue other = key({integer(1), money(u"1.500"_s), date(6)});

    const AllocationCounter probe;
    const CellPointer allocated = integer(3);
    const qint64 noticed = probe.count();
    const AllocationCounter counter;
    int sum = 0;
    for (const CellPointer &a : cells) {
        for (const CellPointer &b : cells)
            sum += sign(a->field.compare(b->field));
    }
    const bool less = one < other;
    const qint64 allocations = counter.count();

    QCOMPARE(allocations, 0);
    QCOMPARE(sum, 0);
    QVERIFY(less);
    QVERIFY(noticed > 0);
}

void tst_keyordering::comparesDecimalsOfOneScaleByTheirWords()
{
    const CellPointer positive = cell(FieldType::Decimal, qint64(0x00000000000000FF));
    const CellPointer negative = cell(FieldType::Decimal, qint64(0x80FFFFFFFFFFFFFFu));
    const CellPointer longer = cell(FieldType::Decimal, decimal::fromUnscaled(2550, 1).word());
    decimalComparisons = 0;

    QVERIFY(positive->field.compare(negative->field) > 0);
    QVERIFY(negative->field.compare(positive->field) < 0);
    QCOMPARE(positive->field.compare(positive->field), 0);
    QCOMPARE(decimalComparisons, 0);
    // The library is asked where the scales differ.
    QCOMPARE(positive->field.compare(longer->field), 0);
    QCOMPARE(decimalComparisons, 1);
    QCOMPARE(decimal::fromWord(positive->field.value<qint64>()).toString(), u"255"_s);
    QCOMPARE(decimal::fromWord(negative->field.value<qint64>()).toString(), u"-1"_s);
}

void tst_keyordering::ordersKeysByTheirFirstDifference()
{
    const KeyValue b1 = key({integer(1), string(u"b"_s)});
    const KeyValue c1 = key({integer(1), string(u"c"_s)});
    const KeyValue a2 = key({integer(2), string(u"a"_s)});
    const KeyValue absent1 = key({integer(1), absent(FieldType::String)});

    QVERIFY(b1 < c1);
    QVERIFY(c1 < a2);
    QVERIFY(b1 < a2);
    QVERIFY(!(c1 < b1) && !(a2 < c1) && !(a2 < b1));
    QVERIFY(absent1 < b1 && !(b1 < absent1));
    for (const KeyValue &one : {b1, c1, a2, absent1, KeyValue()})
        QVERIFY(!(one < one));

    // A NaN equals every real, so that the next field decides.
    QVERIFY(key({real(qQNaN()), integer(1)}) < key({real(5.0), integer(2)}));
    QVERIFY(!(key({real(5.0), integer(2)}) < key({real(qQNaN()), integer(1)})));
    QVERIFY(!(key({real(qQNaN())}) < key({real(5.0)})) && !(key({real(5.0)}) < key({real(qQNaN())})));

    // Bytes never tell keys apart.
    QVERIFY(key({bytes(FieldType::Raw, 'b', 4), integer(1)}) <
            key({bytes(FieldType::Raw, 'a', 4), integer(2)}));
}

void tst_keyordering::readsOnlyAsManyFieldsAsTheFirstKeyHas()
{
    const KeyValue shortKey = key({integer(1)});
    const KeyValue longKey = key({integer(1), integer(0)});

    QVERIFY(!(shortKey < longKey));
    QVERIFY(!(KeyValue() < longKey));
    QVERIFY(!(KeyValue() < KeyValue()));
    QVERIFY(shortKey < key({integer(2), integer(0)}));
}

void tst_keyordering::sharesKeysUntilOneChanges()
{
    const KeyValue original = key({integer(1), string(u"b"_s)});

    KeyValue copy = original;

    QCOMPARE(copy.constData(), original.constData());
    const CellPointer third = integer(3);
    copy.append(FieldValue(third->field));
    QCOMPARE(original.size(), 2);
    QCOMPARE(copy.size(), 3);
    KeyValue other = key({integer(9)});
    const FieldValue *const mine = copy.constData();
    const FieldValue *const theirs = other.constData();
    copy.swap(other);
    QCOMPARE(copy.constData(), theirs);
    QCOMPARE(other.constData(), mine);
}

void tst_keyordering::ordersLikeAPlainComparison()
{
    const quint64 seed = testSeed();
    std::mt19937_64 random(seed);
    // Two cells of a key: whether they hold a value, and how the value sorts.
    struct Plain
    {
        std::pair<bool, int> number;
        std::pair<bool, QString> text;
        std::pair<bool, qint64> price;

        auto operator<=>(const Plain &) const = default;
    };
    struct Pair
    {
        Plain plain;
        KeyValue key;
    };
    std::vector<Pair> pairs;
    const auto present = [&random] { return random() % 5 != 0; };
    for (int i = 0; i < 3000; ++i) {
        Pair pair;
        CellPointer number = absent(FieldType::Int64);
        CellPointer text = absent(FieldType::VarChar);
        CellPointer price = absent(FieldType::Decimal);
        if ((pair.plain.number.first = present())) {
            pair.plain.number.second = int(random() % 9) - 4;
            number = integer64(pair.plain.number.second);
        }
        if ((pair.plain.text.first = present())) {
            for (auto left = random() % 3; left > 0; --left)
                pair.plain.text.second += QChar(u'A' + char16_t(random() % 2) * 32);
            text = varChar(pair.plain.text.second);
        }
        if ((pair.plain.price.first = present())) {
            // In hundredths, at any scale that holds them.
            pair.plain.price.second = qint64(random() % 9) - 4;
            decimal value = decimal::fromUnscaled(pair.plain.price.second, 2);
            value.setScale(short(2 + random() % 10));
            price = cell(FieldType::Decimal, value.word());
        }
        pair.key = key({number, text, price});
        pairs.push_back(pair);
    }

    for (size_t i = 1; i < pairs.size(); ++i) {
        for (size_t j = i - qMin<size_t>(i, 20); j < i; ++j) {
            const bool less = pairs[i].key < pairs[j].key;
            QVERIFY2(less == (pairs[i].plain < pairs[j].plain),
                     seedMessage(seed, QString::number(i)).constData());
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(), [](const Pair &a, const Pair &b) { return a.key < b.key; });
    const bool sorted = std::is_sorted(pairs.begin(), pairs.end(),
                                       [](const Pair &a, const Pair &b) { return a.plain < b.plain; });
    QVERIFY2(sorted, seedMessage(seed, u"sorting"_s).constData());
}

QTEST_APPLESS_MAIN(tst_keyordering)
#include "tst_keyordering.moc"
