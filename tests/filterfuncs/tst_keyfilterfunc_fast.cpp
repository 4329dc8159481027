// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc_fast.h>

#include <filterfuncs/keyfilterfunc.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fieldtypes.h>
#include <support/objectlayout.h>
#include <support/typenames.h>

#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

#include "keyfixtures.h"

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<FilterFunc, KeyFilterFunc_Fast>);
static_assert(!std::is_base_of_v<KeyFilterFunc, KeyFilterFunc_Fast>);
static_assert(std::is_constructible_v<KeyFilterFunc_Fast, Table *, const QList<KeyValue> &,
                                      const QList<int> &, QObject *>);
static_assert(std::is_same_v<decltype(&KeyFilterFunc_Fast::keyToRecord),
                             Record (KeyFilterFunc_Fast::*)(const KeyValue &) const>);
static_assert(std::is_same_v<decltype(&KeyFilterFunc_Fast::setup), void (KeyFilterFunc_Fast::*)()>);

namespace {

CellValue text(const char16_t *characters)
{
    return QString::fromUtf16(characters);
}

constexpr size_t base = sizeof(QObject);

quint64 offsetOf(const KeyFilterFunc_Fast &func)
{
    return memberAt<quint64>(func, base + 56);
}

quint64 lengthOf(const KeyFilterFunc_Fast &func)
{
    return memberAt<quint64>(func, base + 64);
}

using namespace fieldtypes;

} // namespace

class TestKeyFilterFuncFast : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsItsLayout();
    void addsNothingToTheMetaObject();
    void worksOutOffsetAndLength_data();
    void worksOutOffsetAndLength();
    void refusesColumns_data();
    void refusesColumns();
    void refusesBeforeItConverts();
    void setsUpTheSameAgain();
    void assertsThatTheColumnsLieSideBySide_data();
    void assertsThatTheColumnsLieSideBySide();
    void comparesNothingButBytes();
    void acceptsRowsOfATableOfTheSameLayout();
    void seesEveryByteOfTheRun();
};

void TestKeyFilterFuncFast::keepsItsLayout()
{
    MemoryTable table(u"t"_s, {{u"x"_s, Block}, {u"a"_s, Int}, {u"b"_s, Int}});
    const QList<int> columns{1, 2};
    const QByteArray block(FieldType::blockSize, '\0');
    QList<KeyValue> keys;
    for (const int number : {3, 1, 2})
        keys.append(keyOf(table.append({block, qint32(number), qint32(number * 10)}), columns));

    const KeyFilterFunc_Fast func(&table, keys, columns);

    QCOMPARE(memberAt<Table *>(func, base), &table);
    QCOMPARE(memberAt<qsizetype>(func, base + 24), 3);
    const auto *rows = memberAt<const Record *>(func, base + 16);
    QCOMPARE(rows[0].field(1).value<qint32>(), 3);
    QCOMPARE(rows[1].field(2).value<qint32>(), 10);
    QCOMPARE(rows[2].field(1).value<qint32>(), 2);
    QCOMPARE(memberAt<const int *>(func, base + 40), columns.constData());
    QCOMPARE(memberAt<qsizetype>(func, base + 48), 2);
    QCOMPARE(offsetOf(func), table.columnDef(1)->offset + 16);
    QCOMPARE(lengthOf(func), quint64(16));
    QCOMPARE(virtualSlot(&KeyFilterFunc_Fast::filter), virtualSlot(&FilterFunc::filter));
    QCOMPARE(virtualSlot(&KeyFilterFunc_Fast::setup), -1);
    QCOMPARE(virtualSlot(&KeyFilterFunc_Fast::keyToRecord), -1);
}

void TestKeyFilterFuncFast::addsNothingToTheMetaObject()
{
    const QMetaObject &meta = KeyFilterFunc_Fast::staticMetaObject;
    QCOMPARE(meta.superClass(), &FilterFunc::staticMetaObject);
    QCOMPARE(meta.methodCount(), FilterFunc::staticMetaObject.methodCount());
    QCOMPARE(meta.propertyCount(), FilterFunc::staticMetaObject.propertyCount());
}

void TestKeyFilterFuncFast::worksOutOffsetAndLength_data()
{
    QTest::addColumn<QList<int>>("columns");
    QTest::addColumn<quint64>("length");
    QTest::newRow("one narrow column") << QList<int>{3} << quint64(8);
    QTest::newRow("three numbers") << QList<int>{3, 4, 5} << quint64(24);
    QTest::newRow("first column") << QList<int>{0} << quint64(8);
    QTest::newRow("decimal and text of 10 bytes") << QList<int>{6, 7} << quint64(24);
    QTest::newRow("text with storage of its own") << QList<int>{8} << quint64(24);
    QTest::newRow("two texts") << QList<int>{7, 8} << quint64(40);
    QTest::newRow("six columns") << QList<int>{3, 4, 5, 6, 7, 8} << quint64(72);
}

void TestKeyFilterFuncFast::worksOutOffsetAndLength()
{
    QFETCH(QList<int>, columns);
    QFETCH(quint64, length);
    MemoryTable table(u"t"_s, {{u"c0"_s, Int},
                               {u"c1"_s, String},
                               {u"c2"_s, Double, true},
                               {u"c3"_s, Int},
                               {u"c4"_s, Int64},
                               {u"c5"_s, DateTime},
                               {u"c6"_s, Decimal, false, 2},
                               {u"c7"_s, VarChar, false, 5},
                               {u"c8"_s, VarChar, false, 5, 20}});

    const KeyFilterFunc_Fast func(&table, {}, columns);

    QCOMPARE(offsetOf(func), table.columnDef(columns.first())->offset + 16);
    QCOMPARE(lengthOf(func), length);
}

void TestKeyFilterFuncFast::refusesColumns_data()
{
    QTest::addColumn<QList<int>>("columns");
    QTest::addColumn<QString>("message");
    QTest::newRow("none") << QList<int>{} << u"Columns can't be empty"_s;
    QTest::newRow("a gap") << QList<int>{3, 5} << u"Columns must be sequenced: 5(five) / 4"_s;
    QTest::newRow("descending") << QList<int>{4, 3} << u"Columns must be sequenced: 3(three) / 5"_s;
    QTest::newRow("twice the same") << QList<int>{3, 3} << u"Columns must be sequenced: 3(three) / 4"_s;
    QTest::newRow("a double") << QList<int>{0} << u"Type 'Double' unsuported for zero"_s;
    QTest::newRow("an xdecimal") << QList<int>{1} << u"Type 'XDecimal' unsuported for one"_s;
    QTest::newRow("a string") << QList<int>{2} << u"Type 'String' unsuported for two"_s;
    QTest::newRow("a second column of wrong type")
        << QList<int>{5, 6} << u"Type 'Raw' unsuported for %1 %2"_s;
    QTest::newRow("a block") << QList<int>{7} << u"Type 'Block' unsuported for seven"_s;
    QTest::newRow("absent values admitted") << QList<int>{8} << u"Columns can't be nullable %3"_s;
    QTest::newRow("type before nullability") << QList<int>{9} << u"Type 'Double' unsuported for nine"_s;
    QTest::newRow("sequence before type") << QList<int>{3, 9} << u"Columns must be sequenced: 9(nine) / 4"_s;
    QTest::newRow("name like a place marker")
        << QList<int>{3, 8} << u"Columns must be sequenced: 8(%3) / 4"_s;
    QTest::newRow("first failing column decides")
        << QList<int>{7, 9} << u"Type 'Block' unsuported for seven"_s;
    QTest::newRow("second column nullable") << QList<int>{10, 11} << u"Columns can't be nullable eleven"_s;
}

void TestKeyFilterFuncFast::refusesColumns()
{
    QFETCH(QList<int>, columns);
    QFETCH(QString, message);
    MemoryTable table(u"t"_s, {{u"zero"_s, Double},
                               {u"one"_s, XDecimal},
                               {u"two"_s, String},
                               {u"three"_s, Int},
                               {u"four"_s, Int64},
                               {u"five"_s, DateTime},
                               {u"%1 %2"_s, Raw, false, 4},
                               {u"seven"_s, Block},
                               {u"%3"_s, Int, true},
                               {u"nine"_s, Double, true},
                               {u"ten"_s, VarChar, false, 3},
                               {u"eleven"_s, VarChar, true, 3}});
    QObject parent;

    QCOMPARE(thrownText([&] { new KeyFilterFunc_Fast(&table, {}, columns, &parent); }),
             withTypeNames(message));

    QVERIFY(parent.children().isEmpty());
}

void TestKeyFilterFuncFast::refusesBeforeItConverts()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int, true}});
    MemoryTable texts(u"texts"_s, {{u"a"_s, String}});
    const Record bad = texts.append({text(u"x")});

    QCOMPARE(thrownText([&] { KeyFilterFunc_Fast(&table, {keyOf(bad, {0})}, {0}); }),
             u"Columns can't be nullable a"_s);
}

void TestKeyFilterFuncFast::setsUpTheSameAgain()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int64}});
    const Record row = table.append({qint32(1), qint64(2)});
    const Record other = table.append({qint32(1), qint64(3)});
    KeyFilterFunc_Fast func(&table, {keyOf(row, {0, 1})}, {0, 1});

    func.setup();

    QCOMPARE(offsetOf(func), 16 + table.columnDef(0)->offset);
    QCOMPARE(lengthOf(func), quint64(16));
    QVERIFY(func.filter(row));
    QVERIFY(!func.filter(other));
}

void TestKeyFilterFuncFast::assertsThatTheColumnsLieSideBySide_data()
{
    QTest::addColumn<quint64>("first");
    QTest::addColumn<quint64>("second");
    QTest::addColumn<bool>("holds");
    QTest::newRow("side by side") << quint64(0) << quint64(8) << true;
    QTest::newRow("side by side further on") << quint64(24) << quint64(32) << true;
    QTest::newRow("a gap") << quint64(0) << quint64(16) << false;
    QTest::newRow("packed") << quint64(0) << quint64(4) << false;
    QTest::newRow("descending") << quint64(8) << quint64(0) << false;
    QTest::newRow("at no multiple of 8") << quint64(4) << quint64(12) << false;
}

void TestKeyFilterFuncFast::assertsThatTheColumnsLieSideBySide()
{
#ifdef NDEBUG
    QSKIP("built without assertions");
#endif
    QFETCH(const quint64, first);
    QFETCH(const quint64, second);
    QFETCH(const bool, holds);
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    // What a database library would do that neglects its duty.
    const_cast<ColumnDef *>(table.columnDef(0))->offset = first;
    const_cast<ColumnDef *>(table.columnDef(1))->offset = second;

    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGABRT, SIG_DFL);
        close(STDERR_FILENO);
        const KeyFilterFunc_Fast func(&table, {}, {0, 1});
        _exit(0);
    }
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);

    QCOMPARE(WIFEXITED(status), holds);
    QVERIFY(holds || (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT));
}

void TestKeyFilterFuncFast::comparesNothingButBytes()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, false, 2}});
    const Record row = table.append({decimal::fromUnscaled(150, 2)});
    const Record equal = table.append({decimal::fromUnscaled(15, 1)});
    const KeyFilterFunc_Fast func(&table, {keyOf(row, {0})}, {0});

    QVERIFY(func.filter(row));
    QVERIFY(!func.filter(equal));
    QVERIFY(KeyFilterFunc(&table, {keyOf(row, {0})}, {0}).filter(equal));
}

void TestKeyFilterFuncFast::acceptsRowsOfATableOfTheSameLayout()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, DateTime}});
    MemoryTable twin(u"twin"_s, {{u"x"_s, Int}, {u"y"_s, DateTime}});
    const Record row = table.append({qint32(1), datetime(2)});
    const Record same = twin.append({qint32(1), datetime(2)});
    const Record other = twin.append({qint32(1), datetime(3)});
    const KeyFilterFunc_Fast func(&table, {keyOf(row, {0, 1})}, {0, 1});

    QVERIFY(func.filter(same));
    QVERIFY(!func.filter(other));
}

void TestKeyFilterFuncFast::seesEveryByteOfTheRun()
{
    // Runs of 8 to 80 bytes, and one key or many: a change of any byte of a text is seen.
    for (const int length : {4, 8, 12, 16, 20, 40}) {
        for (const int count : {1, 2, 3, 20, 100}) {
            MemoryTable table(u"t"_s, {{u"a"_s, VarChar, false, length}});
            const QString word(length, u'\u0101');
            const Record row = table.append({word});
            QList<KeyValue> keys;
            for (int i = 1; i < count; ++i)
                keys.append(keyOf(table.append({QString::number(i).left(length)}), {0}));
            keys.insert(count / 2, keyOf(row, {0}));
            const KeyFilterFunc_Fast func(&table, keys, {0});

            QVERIFY(func.filter(row));
            for (int i = 0; i < length; ++i) {
                for (const char16_t changed : {u'\u0102', u'\u0201'}) {
                    QString other = word;
                    other[i] = changed;
                    table.update(row, 0, other);
                    QVERIFY2(!func.filter(row),
                             qPrintable(u"%1 of %2, %3 keys"_s.arg(i).arg(length).arg(count)));
                }
            }
            table.update(row, 0, word);
            QVERIFY(func.filter(row));
        }
    }
}

QTEST_APPLESS_MAIN(TestKeyFilterFuncFast)
#include "tst_keyfilterfunc_fast.moc"
