// SPDX-License-Identifier: MIT
#include <filters/securitiessessionfilter.h>

#include <data/icore.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <filterfuncs/filterfunc.h>
#include <support/exceptions.h>
#include <support/objectlayout.h>

#include "filterfixtures.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

static_assert(!std::is_abstract_v<SecuritiesSessionFilter>);
static_assert(std::is_base_of_v<ValueFilter, SecuritiesSessionFilter>);
static_assert(sizeof(SecuritiesSessionFilter) == sizeof(ValueFilter), "no members of its own");

namespace {
/// Called whenever any library of this program asks the database library for one of the operations below.
std::function<void(const char *operation)> onCall;

/// The texts that were read and the numbers that constants were made of, in that order.
QStringList readTexts;
QList<int> constants;

void note(const char *operation)
{
    if (onCall)
        onCall(operation);
}

constexpr int minInt = std::numeric_limits<int>::min();
constexpr int maxInt = std::numeric_limits<int>::max();

MemoryTable &makeSessions(FieldType::Type stock = FieldType::Int, FieldType::Type session = FieldType::Int,
                          bool nullable = true)
{
    const auto length = [](FieldType::Type type) {
        return type == FieldType::VarChar || type == FieldType::Raw ? 20 : 0;
    };
    return *MemoryDatabase::instance().createTable(u"sessions"_s,
                                                   {{u"day"_s, FieldType::DateTime},
                                                    {u"sess_id"_s, session, nullable, length(session)},
                                                    {u"stock_id"_s, stock, nullable, length(stock)}});
}

void addRow(MemoryTable &sessions, const CellValue &stock, const CellValue &session)
{
    sessions.append({datetime(1), session, stock});
}

/// Waits for the lock of \a table in a thread of its own.
class LockSeeker
{
public:
    explicit LockSeeker(const Table &table)
        : m_thread([this, &table] {
              m_running = true;
              table.lock();
              m_locked = true;
              table.unlock();
          })
    {
        while (!m_running)
            std::this_thread::yield();
    }
    ~LockSeeker() { m_thread.join(); }

    bool hasLocked() const { return m_locked; }
    /// Whether it gets the lock in time.
    bool waitForLock() const
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_locked && timer.elapsed() < 20'000)
            std::this_thread::yield();
        return m_locked;
    }

private:
    std::atomic<bool> m_running = false;
    std::atomic<bool> m_locked = false;
    std::thread m_thread;
};

bool isUnlocked(const Table &table)
{
    return LockSeeker(table).waitForLock();
}

/// A table to be filtered; never the sessions table.
class Quotes
{
public:
    explicit Quotes(FieldType::Type type = FieldType::Int)
        : table(u"quotes"_s, {{u"stock"_s, type}, {u"sess"_s, type}})
    {
    }

    std::unique_ptr<SecuritiesSessionFilter> filter()
    {
        return std::make_unique<SecuritiesSessionFilter>(table, 3, QList<int>{0, 1}, 4, &parent);
    }

    MemoryTable table;
    QObject parent;
};
} // namespace

// These stand in front of the database library's own for every library of this program.

int Table::columnIndex(const QString &name) const
{
    note("columnIndex");
    using Function = int (*)(const Table *, const QString &);
    static const auto real =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZNK5Table11columnIndexERK7QString"));
    return real(this, name);
}

void Table::unlock() const
{
    note("unlock");
    using Function = void (*)(const Table *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZNK5Table6unlockEv"));
    real(this);
}

QString Field::toString() const
{
    note("toString");
    using Function = QString (*)(const Field *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZNK5Field8toStringEv"));
    const QString text = real(this);
    readTexts.append(text);
    return text;
}

FieldConstValue::FieldConstValue(const int &number)
    : FieldValue([]() -> const ColumnDef * {
          static const ColumnDef column{FieldType::Int, 0, 0, 0, sizeof(qint32)};
          return &column;
      }())
{
    note("constant");
    constants.append(number);
    std::memcpy(data, &number, sizeof number);
    setPresent();
}

class tst_SecuritiesSessionFilter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void startsWithTheLastSessionOfEverySecurity();
    void passesItsArgumentsOn();
    void emptySessionsGiveNoKeys();
    void addsKeysInAscendingOrder();
    void readsTheSecurityBeforeTheSession();
    void keysAreIntsOfTheirOwn();
    void readsIds_data();
    void readsIds();
    void absentValuesOfAnyTypeAreZero_data();
    void absentValuesOfAnyTypeAreZero();
    void otherTypesAreRefused_data();
    void otherTypesAreRefused();
    void otherTypesAreNoMatterWithoutRows();
    void sessionsBelowZeroCountAsZero();

    void missingTableIsNamed();
    void missingColumnIsNamed_data();
    void missingColumnIsNamed();

    void holdsTheLockFromTheLookUpToTheLastKey();
    void waitsForTheLock();
    void unlocksAfterAThrowingRow();
    void readsTheTableOnlyOnce();
    void behavesAsAnyValueFilterAfterwards();
    void predicateExcludesTheLastSessions_data();
    void predicateExcludesTheLastSessions();
    void hasNeitherWidgetNorName();
    void overridesFourVirtualOperations();
    void addsNothingToTheMetaObject();

    void agreesWithAPlainMap();
    void readsManySessions_data();
    void readsManySessions();
};

void tst_SecuritiesSessionFilter::init()
{
    failOnAnyWarning();
    readTexts.clear();
    constants.clear();
}

void tst_SecuritiesSessionFilter::cleanup()
{
    onCall = nullptr;
    MemoryDatabase::instance().clear();
}

void tst_SecuritiesSessionFilter::startsWithTheLastSessionOfEverySecurity()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 7, 3);
    addRow(sessions, 9, 1);
    addRow(sessions, 7, 5);
    addRow(sessions, 7, 4);

    const auto filter = quotes.filter();

    QCOMPARE(filter->value(), u"7,5|9,1"_s);
}

void tst_SecuritiesSessionFilter::passesItsArgumentsOn()
{
    makeSessions();
    Quotes quotes;
    const QList<int> columns{1, 0};

    auto *filter = new SecuritiesSessionFilter(quotes.table, 11, columns, 12, &quotes.parent);

    QCOMPARE(filter->table(), &quotes.table);
    QCOMPARE(filter->firstId(), 11);
    QCOMPARE(filter->columns(), columns);
    QCOMPARE(filter->secondId(), 12);
    QCOMPARE(quotes.parent.children(), QObjectList{filter});
    QVERIFY(!filter->isEnabled());
}

void tst_SecuritiesSessionFilter::emptySessionsGiveNoKeys()
{
    const MemoryTable &sessions = makeSessions();
    Quotes quotes;

    const auto filter = quotes.filter();

    QVERIFY(!filter->hasValue());
    QVERIFY(isUnlocked(sessions));
}

void tst_SecuritiesSessionFilter::addsKeysInAscendingOrder()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    for (const int stock : {5, minInt, 3, maxInt, -1, 4, 0, 3, -2, 5, 1})
        addRow(sessions, stock, 1);

    const auto filter = quotes.filter();

    QCOMPARE(filter->value(), u"-2147483648,1|-2,1|-1,1|0,1|1,1|3,1|4,1|5,1|2147483647,1"_s);
    // The set would be sorted anyway: the keys are made and added in this order.
    QCOMPARE(constants, (QList<int>{minInt, 1, -2, 1, -1, 1, 0, 1, 1, 1, 3, 1, 4, 1, 5, 1, maxInt, 1}));
}

void tst_SecuritiesSessionFilter::readsTheSecurityBeforeTheSession()
{
    MemoryTable &sessions = makeSessions(FieldType::String, FieldType::String);
    Quotes quotes;
    addRow(sessions, u"5"_s, u"10"_s);
    addRow(sessions, u"4"_s, u"20"_s);

    const auto filter = quotes.filter();

    QCOMPARE(readTexts, (QStringList{u"5"_s, u"10"_s, u"4"_s, u"20"_s}));
}

void tst_SecuritiesSessionFilter::keysAreIntsOfTheirOwn()
{
    MemoryTable &sessions = makeSessions(FieldType::Int64, FieldType::String);
    Quotes quotes(FieldType::Int64);
    addRow(sessions, qint64(7), u"5"_s);

    const auto filter = quotes.filter();
    MemoryDatabase::instance().clear();

    const KeyValue key = filter->getAllExcludedKeys().first();
    QCOMPARE(key.size(), 2);
    for (const FieldValue &field : key) {
        QCOMPARE(field.def->type, FieldType::Int);
        QVERIFY(field.isPresent());
    }
    QCOMPARE(key.at(0).value<qint32>(), 7);
    QCOMPARE(key.at(1).value<qint32>(), 5);
    const Record row = quotes.table.append({qint64(7), qint64(5)});
    QVERIFY2(!filter->hasExcludedKey(filter->keyFromRecord(row)), "an Int is no Int64");
    QVERIFY(filter->hasExcludedKey(intKey({7, 5})));
}

void tst_SecuritiesSessionFilter::readsIds_data()
{
    QTest::addColumn<FieldType::Type>("type");
    QTest::addColumn<CellValue>("cell");
    QTest::addColumn<int>("id");

    QTest::newRow("Int") << FieldType::Int << CellValue(12) << 12;
    QTest::newRow("smallest Int") << FieldType::Int << CellValue(minInt) << minInt;
    QTest::newRow("largest Int") << FieldType::Int << CellValue(maxInt) << maxInt;
    QTest::newRow("Int64") << FieldType::Int64 << CellValue(qint64(-12)) << -12;
    QTest::newRow("Int64 at the upper limit") << FieldType::Int64 << CellValue(qint64(maxInt)) << maxInt;
    QTest::newRow("Int64 above") << FieldType::Int64 << CellValue(qint64(maxInt) + 1) << maxInt;
    QTest::newRow("Int64 far above") << FieldType::Int64 << CellValue(qint64(5'000'000'000)) << maxInt;
    QTest::newRow("Int64 at the lower limit") << FieldType::Int64 << CellValue(qint64(minInt)) << minInt;
    QTest::newRow("Int64 below") << FieldType::Int64 << CellValue(qint64(minInt) - 1) << minInt;
    QTest::newRow("Int64 far below") << FieldType::Int64 << CellValue(std::numeric_limits<qint64>::min())
                                     << minInt;
    for (const FieldType::Type type : {FieldType::String, FieldType::VarChar}) {
        const auto row = [type](const QString &text, int id) {
            QTest::addRow("%s '%s'", type == FieldType::String ? "String" : "VarChar", qPrintable(text))
                << type << CellValue(text) << id;
        };
        row(u"12"_s, 12);
        row(u"x12"_s, 0);
        row(u"12x"_s, 0);
        row(u""_s, 0);
        row(u" 12 "_s, 12);
        row(u"+12"_s, 12);
        row(u"-12"_s, -12);
        row(u"0x12"_s, 0);
        row(u"012"_s, 12);
        row(u"1.5"_s, 0);
        row(u"1e3"_s, 0);
        row(u"2147483647"_s, maxInt);
        row(u"2147483648"_s, 0);
        row(u"-2147483648"_s, minInt);
        row(u"-2147483649"_s, 0);
    }
}

void tst_SecuritiesSessionFilter::readsIds()
{
    QFETCH(FieldType::Type, type);
    QFETCH(CellValue, cell);
    QFETCH(int, id);

    Quotes quotes;
    {
        MemoryTable &sessions = makeSessions(type, FieldType::Int, false);
        addRow(sessions, cell, 1);
        QCOMPARE(quotes.filter()->value(), u"%1,1"_s.arg(id));
        MemoryDatabase::instance().clear();
    }
    MemoryTable &sessions = makeSessions(FieldType::Int, type, false);
    addRow(sessions, 1, cell);
    QCOMPARE(quotes.filter()->value(), u"1,%1"_s.arg(std::max(id, 0)));
}

void tst_SecuritiesSessionFilter::absentValuesOfAnyTypeAreZero_data()
{
    QTest::addColumn<FieldType::Type>("type");

    for (int type = FieldType::Raw; type <= FieldType::Block; ++type)
        QTest::newRow(qPrintable(FieldType::typeName(FieldType::Type(type)))) << FieldType::Type(type);
}

void tst_SecuritiesSessionFilter::absentValuesOfAnyTypeAreZero()
{
    QFETCH(FieldType::Type, type);
    Quotes quotes;

    addRow(makeSessions(type, FieldType::Int), {}, 6);
    QCOMPARE(quotes.filter()->value(), u"0,6"_s);
    MemoryDatabase::instance().clear();
    addRow(makeSessions(FieldType::Int, type), 6, {});
    QCOMPARE(quotes.filter()->value(), u"6,0"_s);
}

void tst_SecuritiesSessionFilter::otherTypesAreRefused_data()
{
    QTest::addColumn<FieldType::Type>("type");
    QTest::addColumn<CellValue>("cell");

    QTest::newRow("Double") << FieldType::Double << CellValue(1.0);
    QTest::newRow("Decimal") << FieldType::Decimal << CellValue(decimal(1));
    QTest::newRow("XDecimal") << FieldType::XDecimal << CellValue(xdecimal(1, 0));
    QTest::newRow("DateTime") << FieldType::DateTime << CellValue(datetime(1));
    QTest::newRow("Raw") << FieldType::Raw << CellValue(QByteArray(20, '1'));
    QTest::newRow("Block") << FieldType::Block << CellValue(QByteArray(FieldType::blockSize, '1'));
}

void tst_SecuritiesSessionFilter::otherTypesAreRefused()
{
    QFETCH(FieldType::Type, type);
    QFETCH(CellValue, cell);
    Quotes quotes;

    MemoryTable *sessions = &makeSessions(type, FieldType::Int);
    addRow(*sessions, {}, 1);
    addRow(*sessions, cell, 1);
    QCOMPARE(exceptionMessage([&] { quotes.filter(); }), u"Incorrect type conversion."_s);
    QVERIFY(isUnlocked(*sessions));
    MemoryDatabase::instance().clear();

    sessions = &makeSessions(FieldType::Int, type);
    addRow(*sessions, 1, {});
    addRow(*sessions, 1, cell);
    QCOMPARE(exceptionMessage([&] { quotes.filter(); }), u"Incorrect type conversion."_s);
    QVERIFY(isUnlocked(*sessions));
    QVERIFY(quotes.parent.children().isEmpty());
}

void tst_SecuritiesSessionFilter::otherTypesAreNoMatterWithoutRows()
{
    makeSessions(FieldType::Double, FieldType::Block, false);
    Quotes quotes;

    QVERIFY(!quotes.filter()->hasValue());
}

void tst_SecuritiesSessionFilter::sessionsBelowZeroCountAsZero()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 1, -5);
    addRow(sessions, 2, 0);
    addRow(sessions, 3, {});
    addRow(sessions, 4, -5);
    addRow(sessions, 4, 2);
    addRow(sessions, 4, {});
    addRow(sessions, {}, {});
    addRow(sessions, {}, 8);
    addRow(sessions, 0, 9);

    QCOMPARE(quotes.filter()->value(), u"0,9|1,0|2,0|3,0|4,2"_s);
}

void tst_SecuritiesSessionFilter::missingTableIsNamed()
{
    Quotes quotes;

    const QString message = exceptionMessage([&] { quotes.filter(); });

    QCOMPARE(message, u"There is no table 'sessions'."_s);
    QVERIFY(quotes.parent.children().isEmpty());
}

void tst_SecuritiesSessionFilter::missingColumnIsNamed_data()
{
    QTest::addColumn<QStringList>("columns");
    QTest::addColumn<QString>("missing");

    QTest::newRow("stock_id") << QStringList{u"sess_id"_s} << u"stock_id"_s;
    QTest::newRow("sess_id") << QStringList{u"stock_id"_s} << u"sess_id"_s;
    QTest::newRow("both") << QStringList{u"other"_s} << u"stock_id"_s;
    QTest::newRow("written differently") << QStringList{u"stock_id"_s, u"Sess_Id"_s} << u"sess_id"_s;
}

void tst_SecuritiesSessionFilter::missingColumnIsNamed()
{
    QFETCH(QStringList, columns);
    QFETCH(QString, missing);
    Quotes quotes;
    QList<ColumnSpec> specs;
    for (const QString &column : std::as_const(columns))
        specs.append({column});
    const MemoryTable &sessions = *MemoryDatabase::instance().createTable(u"sessions"_s, specs);

    const QString message = exceptionMessage([&] { quotes.filter(); });

    QCOMPARE(message, u"There is no column '%1' in the table 'sessions'."_s.arg(missing));
    QVERIFY(isUnlocked(sessions));
    QVERIFY(quotes.parent.children().isEmpty());
}

void tst_SecuritiesSessionFilter::holdsTheLockFromTheLookUpToTheLastKey()
{
    MemoryTable &sessions = makeSessions(FieldType::String);
    Quotes quotes;
    addRow(sessions, u"1"_s, 1);
    addRow(sessions, u"2"_s, 1);
    std::unique_ptr<LockSeeker> seeker;
    QStringList calls;
    bool tooEarly = false;
    onCall = [&](const char *operation) {
        if (std::strcmp(operation, "unlock") == 0 && seeker && seeker->hasLocked())
            return; // that of the waiting thread
        if (!seeker) {
            seeker = std::make_unique<LockSeeker>(sessions);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        tooEarly = tooEarly || seeker->hasLocked();
        calls.append(QString::fromLatin1(operation));
    };

    const auto filter = quotes.filter();

    QVERIFY(!tooEarly);
    QVERIFY(seeker->waitForLock());
    QCOMPARE(calls.join(u' '),
             u"columnIndex columnIndex toString toString constant constant constant constant unlock"_s);
}

void tst_SecuritiesSessionFilter::waitsForTheLock()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 1, 1);
    std::atomic<bool> made = false;
    QString value;

    sessions.lock();
    std::thread maker([&] {
        value = SecuritiesSessionFilter(quotes.table, 3, {0, 1}, 4, nullptr).value();
        made = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const bool madeWhileLocked = made;
    addRow(sessions, 2, 2);
    sessions.unlock();
    maker.join();

    QVERIFY(!madeWhileLocked);
    QCOMPARE(value, u"1,1|2,2"_s);
}

void tst_SecuritiesSessionFilter::unlocksAfterAThrowingRow()
{
    MemoryTable &sessions = makeSessions(FieldType::String);
    Quotes quotes;
    addRow(sessions, u"1"_s, 1);
    addRow(sessions, u"2"_s, 1);
    int reads = 0;
    onCall = [&](const char *operation) {
        if (std::strcmp(operation, "toString") == 0 && ++reads == 2)
            throw 7;
    };

    QVERIFY_THROWS_EXCEPTION(int, quotes.filter());

    onCall = nullptr;
    QVERIFY(isUnlocked(sessions));
    QVERIFY(quotes.parent.children().isEmpty());
    QCOMPARE(quotes.filter()->value(), u"1,1|2,1"_s);
}

void tst_SecuritiesSessionFilter::readsTheTableOnlyOnce()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 1, 1);
    const auto filter = quotes.filter();

    addRow(sessions, 1, 9);
    addRow(sessions, 2, 2);
    QCOMPARE(filter->value(), u"1,1"_s);
    MemoryDatabase::instance().clear();
    QCOMPARE(filter->value(), u"1,1"_s);
}

void tst_SecuritiesSessionFilter::behavesAsAnyValueFilterAfterwards()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 1, 1);
    const auto filter = quotes.filter();
    const QSignalSpy enabled(filter.get(), &Filter::enabledChanged);

    filter->addExcludedKey(intKey({0, 3}));
    QCOMPARE(filter->value(), u"0,3|1,1"_s);
    QCOMPARE(filter->text(), u"0,3|1,1"_s);
    filter->setValue(u"4,4|2,2"_s);
    QCOMPARE(filter->value(), u"2,2|4,4"_s);
    filter->clear();
    QVERIFY(!filter->hasValue());
    QCOMPARE(enabled.count(), 0);
    filter->setEnabled(true);
    QCOMPARE(enabled.count(), 1);
}

void tst_SecuritiesSessionFilter::predicateExcludesTheLastSessions_data()
{
    QTest::addColumn<FieldType::Type>("type");

    QTest::newRow("Int columns") << FieldType::Int;
    QTest::newRow("Int64 columns") << FieldType::Int64;
}

void tst_SecuritiesSessionFilter::predicateExcludesTheLastSessions()
{
    QFETCH(FieldType::Type, type);
    MemoryTable &sessions = makeSessions();
    Quotes quotes(type);
    addRow(sessions, 1, 1);
    addRow(sessions, 1, 2);
    addRow(sessions, 2, 1);
    const auto row = [&](int stock, int session) {
        return type == FieldType::Int ? quotes.table.append({stock, session})
                                      : quotes.table.append({qint64(stock), qint64(session)});
    };

    const auto filter = quotes.filter();
    const std::unique_ptr<FilterFunc> func(filter->createFilterFunc(nullptr));

    QVERIFY(func->filter(row(1, 2)));
    QVERIFY(func->filter(row(2, 1)));
    QVERIFY(!func->filter(row(1, 1)));
    QVERIFY(!func->filter(row(2, 2)));
}

void tst_SecuritiesSessionFilter::hasNeitherWidgetNorName()
{
    MemoryTable &sessions = makeSessions();
    Quotes quotes;
    addRow(sessions, 1, 1);
    const auto filter = quotes.filter();

    QVERIFY(filter->name().isEmpty());
    QCOMPARE(filter->createFilterWidget(nullptr), nullptr);
    filter->apply(nullptr);
    filter->init(nullptr);
    QCOMPARE(filter->value(), u"1,1"_s);
    QVERIFY(!filter->isEnabled());
}

void tst_SecuritiesSessionFilter::overridesFourVirtualOperations()
{
    QCOMPARE(virtualSlot(&SecuritiesSessionFilter::createFilterWidget),
             virtualSlot(&Filter::createFilterWidget));
    QCOMPARE(virtualSlot(&SecuritiesSessionFilter::apply), virtualSlot(&Filter::apply));
    QCOMPARE(virtualSlot(&SecuritiesSessionFilter::init), virtualSlot(&Filter::init));
    QCOMPARE(virtualSlot(&SecuritiesSessionFilter::name), virtualSlot(&Filter::name));
}

void tst_SecuritiesSessionFilter::addsNothingToTheMetaObject()
{
    const QMetaObject &meta = SecuritiesSessionFilter::staticMetaObject;

    QCOMPARE(QByteArray(meta.className()), QByteArray("SecuritiesSessionFilter"));
    QCOMPARE(meta.superClass(), &ValueFilter::staticMetaObject);
    QCOMPARE(ownSurface(meta), QStringList());
}

void tst_SecuritiesSessionFilter::agreesWithAPlainMap()
{
    Quotes quotes;
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    for (int round = 0; round < 100; ++round) {
        MemoryTable &sessions = makeSessions();
        std::map<int, int> oracle;
        const int stocks = int(random.bounded(1, 40));
        int stock = 0;
        for (int i = random.bounded(400); i > 0; --i) {
            // Runs of one security, of neighbours, and jumps.
            switch (random.bounded(4)) {
            case 0:
                stock = int(random.bounded(-stocks, stocks));
                break;
            case 1:
                ++stock;
                break;
            case 2:
                --stock;
                break;
            default:
                break;
            }
            const int session = int(random.bounded(-5, 100));
            addRow(sessions, stock, session);
            int &last = oracle[stock];
            last = std::max(last, session);
        }
        QStringList expected;
        for (const auto &[s, session] : oracle)
            expected.append(u"%1,%2"_s.arg(s).arg(session));

        const QString value = quotes.filter()->value();

        QVERIFY2(value == expected.join(u'|'), qPrintable(u"seed %1, round %2"_s.arg(seed).arg(round)));
        MemoryDatabase::instance().clear();
    }
}

void tst_SecuritiesSessionFilter::readsManySessions_data()
{
    QTest::addColumn<QString>("order");

    QTest::newRow("by day") << u"day"_s;
    QTest::newRow("by security") << u"security"_s;
    QTest::newRow("at random") << u"random"_s;
}

void tst_SecuritiesSessionFilter::readsManySessions()
{
    QFETCH(QString, order);
    // 5,000,000 rows in the full run.
    const int days = qEnvironmentVariableIsSet("SITO_LARGE_TESTS") ? 1000 : 60;
    constexpr int stocks = 5000;
    MemoryTable &sessions = makeSessions(FieldType::Int, FieldType::Int, false);
    Quotes quotes;
    std::vector<int> places(size_t(days * stocks));
    std::iota(places.begin(), places.end(), 0);
    if (order == u"random")
        std::shuffle(places.begin(), places.end(), QRandomGenerator(1));
    for (const int at : places) {
        const int stock = order == u"security" ? at / days : at % stocks;
        const int day = order == u"security" ? at % days : at / stocks;
        addRow(sessions, stock * 3, day * stocks + stock);
    }

    const auto filter = quotes.filter();

    QCOMPARE(filter->getAllExcludedKeys().size(), stocks);
    for (int stock = 0; stock < stocks; ++stock) {
        const KeyValue &key = filter->getAllExcludedKeys().at(stock);
        QCOMPARE(key.at(0).value<qint32>(), stock * 3);
        QCOMPARE(key.at(1).value<qint32>(), (days - 1) * stocks + stock);
    }
}

QTEST_GUILESS_MAIN(tst_SecuritiesSessionFilter)
#include "tst_securitiessessionfilter.moc"
