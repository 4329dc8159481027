// SPDX-License-Identifier: MIT
#include <database/memorytable.h>
#include <filterfuncs/keyfilterfunc.h>
#include <filters/selectfilter.h>
#include <filters/valuefilter.h>
#include <support/exceptions.h>
#include <support/typenames.h>

#include "filtertest.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <dlfcn.h>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {
/// What the database library does when it is asked for a new row: how many rows it still makes as ever, and
/// what it throws then, one text a row until there are none left.
struct RowMaking
{
    int good = 0;
    QStringList refusals;
    int asked = 0;
};
RowMaking rowMaking;

/// A line of Qt's log with all that came with it.
struct LogLine
{
    QtMsgType type;
    QByteArray category;
    bool placeless;
    QString text;
};

/// Takes Qt's log while it lives.
class LogCapture
{
public:
    LogCapture()
    {
        lines.clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &text) {
                lines.append(
                    {type, context.category, !context.file && !context.function && context.line == 0, text});
            });
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }

    static inline QList<LogLine> lines;

private:
    QtMessageHandler m_previous;
};

const QList<ColumnSpec> twoColumns{{u"a"_s, FieldType::Int, true}, {u"b"_s, FieldType::String}};
} // namespace

/// Stands in front of the database library's own constructor for every library of this program, so that the
/// library under test meets a database library that refuses to make a row.
Record::Record(const Table *table)
{
    ++rowMaking.asked;
    if (rowMaking.good > 0)
        --rowMaking.good;
    else if (!rowMaking.refusals.isEmpty())
        throw rowMaking.refusals.takeFirst();
    using Constructor = void (*)(Record *, const Table *);
    static const auto real = reinterpret_cast<Constructor>(dlsym(RTLD_NEXT, "_ZN6RecordC1EPK5Table"));
    real(this, table);
}

class tst_CreateFilterFunc : public FilterTest
{
    Q_OBJECT
public:
    tst_CreateFilterFunc() : FilterTest(twoColumns) {}

private Q_SLOTS:
    void init();
    void makesAKeyFilterFuncOfTheSet();
    void emptySetExcludesNothing();
    void keysWithoutColumnsExcludeEverything();
    void everyCallMakesANewPredicate();
    void belongsToParentOrCaller();
    void laterChangesDoNotReachThePredicate();
    void changesNothingInTheFilter();
    void subclassesInheritIt();
    void convertsConstantsToTheColumns();
    void aRefusalIsAWarningWhenTheSecondAttemptSucceeds();
    void namesAndMessagesStayAsTheyCame();
    void twoRefusalsReachTheCaller();
    void anExceptionPassesAtOnce();
    void anExceptionOfTheSecondAttemptPasses();
};

void tst_CreateFilterFunc::init()
{
    FilterTest::init();
    rowMaking = {};
}

void tst_CreateFilterFunc::makesAKeyFilterFuncOfTheSet()
{
    PlainFilter filter(*m_table, 0, {1, 0}, 0, nullptr);
    filter.setValue(u"x,1|y,2|z,"_s);

    const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

    QVERIFY(qobject_cast<KeyFilterFunc *>(func.get()));
    QCOMPARE(func->toString(), u"KeyFilterFunc"_s);
    QVERIFY(func->filter(m_table->append({1, u"x"_s})));
    QVERIFY(func->filter(m_table->append({2, u"y"_s})));
    QVERIFY(func->filter(m_table->append({{}, u"z"_s})));
    QVERIFY(!func->filter(m_table->append({2, u"x"_s})));
    QVERIFY(!func->filter(m_table->append({{}, u"x"_s})));
    QVERIFY(!func->filter(m_table->append({1, u"X"_s})));
}

void tst_CreateFilterFunc::emptySetExcludesNothing()
{
    const std::unique_ptr<FilterFunc> func(m_filter->createFilterFunc(nullptr));

    QVERIFY(!func->filter(m_table->append({1, u"x"_s})));
}

void tst_CreateFilterFunc::keysWithoutColumnsExcludeEverything()
{
    PlainFilter filter(*m_table, 0, {}, 0, nullptr);
    filter.addExcludedKey(KeyValue());

    const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

    QVERIFY(filter.hasValue());
    QVERIFY(func->filter(m_table->append({1, u"x"_s})));
}

void tst_CreateFilterFunc::everyCallMakesANewPredicate()
{
    const std::unique_ptr<FilterFunc> one(m_filter->createFilterFunc(nullptr));
    const std::unique_ptr<FilterFunc> two(m_filter->createFilterFunc(nullptr));

    QVERIFY(one && two && one != two);
}

void tst_CreateFilterFunc::belongsToParentOrCaller()
{
    m_filter->addExcludedKey(intKey({1}));
    auto parent = std::make_unique<QObject>();

    const QPointer<FilterFunc> child = m_filter->createFilterFunc(parent.get());
    const std::unique_ptr<FilterFunc> own(m_filter->createFilterFunc(nullptr));

    QCOMPARE(child->parent(), parent.get());
    QCOMPARE(parent->children(), QObjectList{child});
    QCOMPARE(own->parent(), nullptr);
    QVERIFY(m_filter->children().isEmpty());
    QCOMPARE(m_table->liveRowCount(), 2);
    parent.reset();
    QVERIFY(!child);
    QCOMPARE(m_table->liveRowCount(), 1);
}

void tst_CreateFilterFunc::laterChangesDoNotReachThePredicate()
{
    auto filter = std::make_unique<PlainFilter>(*m_table, 0, nullptr);
    filter->addExcludedKey(intKey({1}));
    const std::unique_ptr<FilterFunc> func(filter->createFilterFunc(nullptr));
    const Record one = m_table->append({1, u"x"_s});
    const Record two = m_table->append({2, u"x"_s});

    filter->clear();
    filter->addExcludedKey(intKey({2}));
    QVERIFY(func->filter(one));
    QVERIFY(!func->filter(two));

    filter.reset();
    QVERIFY(func->filter(one));
    QVERIFY(!func->filter(two));
}

void tst_CreateFilterFunc::changesNothingInTheFilter()
{
    m_filter->setAllExcludedKeys({intKey({2}), intKey({1}), intKey({2})});
    const QSignalSpy enabled(m_filter.get(), &Filter::enabledChanged);
    const QSignalSpy asinc(m_filter.get(), &Filter::asincChanged);

    const std::unique_ptr<FilterFunc> func(m_filter->createFilterFunc(nullptr));

    QCOMPARE(m_filter->value(), u"1|2|2"_s);
    QVERIFY(!m_filter->isEnabled());
    QCOMPARE(enabled.count() + asinc.count(), 0);
}

void tst_CreateFilterFunc::subclassesInheritIt()
{
    class Selecting : public Completed<SelectFilter>
    {
    public:
        using Completed::Completed;
        void select(QWidget *) override {}
    };
    Selecting filter(*m_table, 0, nullptr);
    filter.addExcludedKey(intKey({1}));

    const std::unique_ptr<FilterFunc> func(static_cast<const Filter &>(filter).createFilterFunc(nullptr));

    QCOMPARE(func->toString(), u"KeyFilterFunc"_s);
    QVERIFY(func->filter(m_table->append({1, u"x"_s})));
}

void tst_CreateFilterFunc::convertsConstantsToTheColumns()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::Int64}, {u"b"_s, FieldType::String}});
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    filter.addExcludedKey(intKey({1, 2}));

    const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

    QVERIFY(func->filter(table.append({qint64(1), u"2"_s})));
    QVERIFY2(!filter.hasExcludedKey(filter.keyFromRecord(table.row(0))), "an Int is no Int64 in the set");
}

void tst_CreateFilterFunc::aRefusalIsAWarningWhenTheSecondAttemptSucceeds()
{
    MemoryTable table(u"sessions"_s, twoColumns);
    PlainFilter filter(table, 0, nullptr);
    filter.setValue(u"1|2|3"_s);
    QObject parent;
    rowMaking = {2, {u"M"_s}};

    const LogCapture capture;
    FilterFunc *func = filter.createFilterFunc(&parent);

    QCOMPARE(capture.lines.size(), 1);
    const LogLine line = capture.lines.first();
    QCOMPARE(line.text, u"Can't use optimized KeyFilterFunc for 'sessions' M"_s);
    QCOMPARE(line.type, QtWarningMsg);
    QCOMPARE(line.category, QByteArray("default"));
    QVERIFY(line.placeless);
    QCOMPARE(rowMaking.asked, 3 + 3);
    QCOMPARE(table.liveRowCount(), 3);
    QCOMPARE(parent.children(), QObjectList{func});
    QCOMPARE(func->toString(), u"KeyFilterFunc"_s);
    QVERIFY(func->filter(table.append({2, u"x"_s})));
    QVERIFY(!func->filter(table.append({4, u"x"_s})));
}

void tst_CreateFilterFunc::namesAndMessagesStayAsTheyCame()
{
    MemoryTable table(u"my \"%1\"\ttable"_s, twoColumns);
    PlainFilter filter(table, 0, nullptr);
    filter.setValue(u"1"_s);
    rowMaking = {0, {u"%1 \"Столбец\" \\ %2\n"_s}};

    const LogCapture capture;
    const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

    QCOMPARE(capture.lines.size(), 1);
    QCOMPARE(capture.lines.first().text,
             u"Can't use optimized KeyFilterFunc for 'my \"%1\"\ttable' %1 \"Столбец\" \\ %2\n"_s);
}

void tst_CreateFilterFunc::twoRefusalsReachTheCaller()
{
    MemoryTable table(u"sessions"_s, twoColumns);
    PlainFilter filter(table, 0, nullptr);
    filter.setValue(u"1|2|3"_s);
    QObject parent;
    rowMaking = {1, {u"first"_s, u"second"_s}};

    const LogCapture capture;
    const QString refusal = thrownText([&] { filter.createFilterFunc(&parent); });

    QCOMPARE(refusal, u"second"_s);
    QVERIFY(capture.lines.isEmpty());
    QCOMPARE(table.liveRowCount(), 0);
    QVERIFY(parent.children().isEmpty());
    QCOMPARE(filter.value(), u"1|2|3"_s);
}

void tst_CreateFilterFunc::anExceptionPassesAtOnce()
{
    MemoryTable table(u"sessions"_s, {{u"a"_s, FieldType::Int}, {u"b"_s, FieldType::String}});
    PlainFilter filter(table, 0, nullptr);
    const PlainFilter texts(table, 1, nullptr);
    filter.addExcludedKey(intKey({1}));
    filter.addExcludedKey(texts.valueToKey(u"x"_s));
    QObject parent;

    const QString message = exceptionMessage([&] { filter.createFilterFunc(&parent); });

    QCOMPARE(message, withTypeNames(u"Can't convert from 'x' to Int"_s));
    QCOMPARE(rowMaking.asked, 2);
    QCOMPARE(table.liveRowCount(), 0);
    QVERIFY(parent.children().isEmpty());
}

void tst_CreateFilterFunc::anExceptionOfTheSecondAttemptPasses()
{
    MemoryTable table(u"sessions"_s, {{u"a"_s, FieldType::Int}, {u"b"_s, FieldType::String}});
    PlainFilter filter(table, 0, nullptr);
    const PlainFilter texts(table, 1, nullptr);
    filter.addExcludedKey(texts.valueToKey(u"x"_s));
    rowMaking = {0, {u"M"_s}};

    // The only line that comes is the report of the Exception itself.
    const QString message = exceptionMessage([&] { filter.createFilterFunc(nullptr); });

    QCOMPARE(message, withTypeNames(u"Can't convert from 'x' to Int"_s));
    QCOMPARE(rowMaking.asked, 2);
    QCOMPARE(table.liveRowCount(), 0);
}

QTEST_GUILESS_MAIN(tst_CreateFilterFunc)
#include "tst_createfilterfunc.moc"
