// SPDX-License-Identifier: MIT
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/lambdafilterfunc.h>

#include <database/memorytable.h>

#include <support/objectlayout.h>

#include <QPointer>
#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>

static_assert(std::is_base_of_v<QObject, FilterFunc>);
static_assert(std::is_abstract_v<FilterFunc>);
static_assert(sizeof(FilterFunc) == sizeof(QObject), "the base has no members");
static_assert(std::has_virtual_destructor_v<FilterFunc>);
static_assert(!std::is_constructible_v<FilterFunc, QObject *>);
static_assert(std::is_base_of_v<FilterFunc, LambdaFilterFunc>);
static_assert(sizeof(LambdaFilterFunc) == sizeof(FilterFunc) + sizeof(std::function<bool(const Record &)>));
static_assert(!std::is_convertible_v<std::function<bool(const Record &)>, LambdaFilterFunc>);

namespace {

/// Where the virtual operations of QObject end.
class QObjectProbe : public QObject
{
public:
    static std::ptrdiff_t lastSlot() { return virtualSlot(&QObjectProbe::disconnectNotify); }
};

/// A predicate without a meta-object of its own.
class Plain : public FilterFunc
{
public:
    explicit Plain(QObject *parent) : FilterFunc(parent) {}
    bool filter(const Record &) const override { return true; }
};

} // namespace

class TestFilterFunc : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void keepsItsVirtualSlots()
    {
        QCOMPARE(virtualSlot(&FilterFunc::filter), QObjectProbe::lastSlot() + 1);
        QCOMPARE(virtualSlot(&FilterFunc::toString), QObjectProbe::lastSlot() + 2);
        QCOMPARE(virtualSlot(&LambdaFilterFunc::filter), virtualSlot(&FilterFunc::filter));
    }

    void addsNothingToTheMetaObject()
    {
        for (const QMetaObject *meta : {&FilterFunc::staticMetaObject, &LambdaFilterFunc::staticMetaObject}) {
            QCOMPARE(meta->methodCount(), QObject::staticMetaObject.methodCount());
            QCOMPARE(meta->propertyCount(), QObject::staticMetaObject.propertyCount());
            QCOMPARE(meta->enumeratorCount(), 0);
        }
        QCOMPARE(FilterFunc::staticMetaObject.superClass(), &QObject::staticMetaObject);
        QCOMPARE(LambdaFilterFunc::staticMetaObject.superClass(), &FilterFunc::staticMetaObject);
    }

    void isNamedByItsClass()
    {
        const LambdaFilterFunc lambda([](const Record &) { return true; });
        const Plain plain(nullptr);

        QCOMPARE(static_cast<const FilterFunc &>(lambda).toString(), QStringLiteral("LambdaFilterFunc"));
        QCOMPARE(plain.toString(), QStringLiteral("FilterFunc"));
    }

    void belongsToItsParent()
    {
        auto parent = std::make_unique<QObject>();
        const QPointer<FilterFunc> lambda =
            new LambdaFilterFunc([](const Record &) { return true; }, parent.get());
        const QPointer<FilterFunc> plain = new Plain(parent.get());
        const LambdaFilterFunc orphan([](const Record &) { return true; });
        QCOMPARE(lambda->parent(), parent.get());
        QCOMPARE(orphan.parent(), nullptr);

        parent.reset();

        QVERIFY(lambda.isNull());
        QVERIFY(plain.isNull());
    }

    void answersWhatTheCallableAnswers()
    {
        MemoryTable table(QStringLiteral("numbers"), {{QStringLiteral("n"), FieldType::Int}});
        const Record one = table.append({qint32(1)});
        const Record two = table.append({qint32(2)});
        const LambdaFilterFunc isTwo(
            [](const Record &record) { return record.field(0).value<qint32>() == 2; });
        const LambdaFilterFunc never([](const Record &) { return false; });

        QVERIFY(!isTwo.filter(one));
        QVERIFY(isTwo.filter(two));
        QVERIFY(!never.filter(one));
        QVERIFY(!never.filter(two));
    }

    void handsOnTheRecordItself()
    {
        const Record record;
        const Record *seen = nullptr;
        const LambdaFilterFunc func([&](const Record &given) {
            seen = &given;
            return true;
        });

        QVERIFY(func.filter(record));

        QCOMPARE(seen, &record);
    }

    void throwsWithoutACallable()
    {
        const LambdaFilterFunc func(std::function<bool(const Record &)>{});

        QVERIFY_THROWS_EXCEPTION(std::bad_function_call, func.filter(Record()));
    }

    void letsExceptionsThrough()
    {
        const LambdaFilterFunc func([](const Record &) -> bool { throw std::range_error("why not"); });

        QVERIFY_THROWS_EXCEPTION(std::range_error, func.filter(Record()));
    }

    void ownsWhatTheCallableHolds()
    {
        auto held = std::make_shared<int>(0);
        auto func = std::make_unique<LambdaFilterFunc>([held](const Record &) { return *held == 0; });
        QVERIFY(func->filter(Record()));
        QCOMPARE(held.use_count(), 2);

        func.reset();

        QCOMPARE(held.use_count(), 1);
    }
};

QTEST_APPLESS_MAIN(TestFilterFunc)
#include "tst_filterfunc.moc"
