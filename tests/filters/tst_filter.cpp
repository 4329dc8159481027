// SPDX-License-Identifier: MIT
#include <filters/filter.h>

#include <support/exceptions.h>
#include <support/objectlayout.h>

#include "filterfixtures.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QTest>

#include <memory>
#include <type_traits>

static_assert(std::is_abstract_v<Filter>);
static_assert(std::is_base_of_v<QObject, Filter> && std::is_convertible_v<Filter *, QObject *>);
static_assert(std::has_virtual_destructor_v<Filter>);
static_assert(!std::is_copy_constructible_v<Filter>);
static_assert(sizeof(QObject) == 16 && sizeof(Filter) == 32, "three members behind those of QObject");

namespace {
/// The least that can be made of Filter; it notes what reaches its virtual operations.
class BareFilter : public Filter
{
public:
    using Filter::Filter;

    FilterFunc *createFilterFunc(QObject *) const override { return nullptr; }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return QString(); }
    QString name() const override { return QString(); }

    /// The protected last virtual operation of QObject.
    static std::ptrdiff_t lastSlotOfQObject() { return virtualSlot(&BareFilter::disconnectNotify); }
};

class NotingFilter : public BareFilter
{
public:
    using BareFilter::BareFilter;

    void setValue(const QString &value) override
    {
        values.append(value);
        if (fails)
            throw 7;
    }
    void setEnabled(bool enabled) override
    {
        enabledCalls.append(enabled);
        BareFilter::setEnabled(enabled);
    }

    QStringList values;
    QList<bool> enabledCalls;
    bool fails = false;
};
} // namespace

class tst_Filter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void startsDisabledAndWithoutValue();
    void keepsItsTwoNumbers();
    void belongsToItsParent();
    void membersLieInTheStatedOrder();
    void virtualOperationsLieInTheStatedOrder();
    void setValueOfTheBaseDoesNothing();
    void setEnabledSignalsEveryCall();
    void setEnabledStoresBeforeItSignals();
    void switchingDoesNotTouchTheValue();
    void clearIsSetValueOfANullText();
    void clearLetsExceptionsPass();
    void metaObjectHasTwoSignalsAndOneProperty();
    void writingThePropertyReachesTheOverride();
    void asincChangedIsOnlyEmittedFromOutside();
};

void tst_Filter::init()
{
    failOnAnyWarning();
}

void tst_Filter::startsDisabledAndWithoutValue()
{
    const BareFilter one(7, nullptr);
    const BareFilter two(7, 3, nullptr);

    for (const BareFilter *filter : {&one, &two}) {
        QVERIFY(!filter->isEnabled());
        QCOMPARE(filter->property("isEnabled"), QVariant(false));
        QVERIFY(!filter->hasValue());
        QVERIFY(filter->value().isNull());
    }
}

void tst_Filter::keepsItsTwoNumbers()
{
    const BareFilter one(7, nullptr);
    const BareFilter two(7, 3, nullptr);
    const BareFilter negative(-2147483647 - 1, 2147483647, nullptr);

    QCOMPARE(one.firstId(), 7);
    QCOMPARE(one.secondId(), -1);
    QCOMPARE(two.firstId(), 7);
    QCOMPARE(two.secondId(), 3);
    QCOMPARE(negative.firstId(), -2147483647 - 1);
    QCOMPARE(negative.secondId(), 2147483647);
}

void tst_Filter::belongsToItsParent()
{
    QObject parent;

    auto *one = new BareFilter(7, &parent);
    auto *two = new BareFilter(7, 3, &parent);

    QCOMPARE(parent.children(), QObjectList({one, two}));
}

void tst_Filter::membersLieInTheStatedOrder()
{
    BareFilter filter(0x01020304, 0x05060708, nullptr);

    QCOMPARE(memberAt<bool>(filter, 16), false);
    QCOMPARE(memberAt<qint32>(filter, 20), 0x01020304);
    QCOMPARE(memberAt<qint32>(filter, 24), 0x05060708);

    filter.setEnabled(true);

    QCOMPARE(memberAt<bool>(filter, 16), true);
    QCOMPARE(memberAt<qint32>(filter, 20), 0x01020304);
    QCOMPARE(memberAt<qint32>(filter, 24), 0x05060708);
}

void tst_Filter::virtualOperationsLieInTheStatedOrder()
{
    const std::ptrdiff_t base = BareFilter::lastSlotOfQObject();

    QCOMPARE(base, 11);
    QCOMPARE(virtualSlot(&Filter::createFilterFunc), base + 1);
    QCOMPARE(virtualSlot(&Filter::createFilterWidget), base + 2);
    QCOMPARE(virtualSlot(&Filter::apply), base + 3);
    QCOMPARE(virtualSlot(&Filter::init), base + 4);
    QCOMPARE(virtualSlot(&Filter::text), base + 5);
    QCOMPARE(virtualSlot(&Filter::name), base + 6);
    QCOMPARE(virtualSlot(&Filter::hasValue), base + 7);
    QCOMPARE(virtualSlot(&Filter::value), base + 8);
    QCOMPARE(virtualSlot(&Filter::setValue), base + 9);
    QCOMPARE(virtualSlot(&Filter::clear), base + 10);
    QCOMPARE(virtualSlot(&Filter::setEnabled), base + 11);
}

void tst_Filter::setValueOfTheBaseDoesNothing()
{
    BareFilter filter(7, nullptr);
    const QSignalSpy enabled(&filter, &Filter::enabledChanged);

    filter.setValue(QStringLiteral("1,2|3"));

    QVERIFY(!filter.hasValue());
    QVERIFY(filter.value().isNull());
    QVERIFY(!filter.isEnabled());
    QCOMPARE(enabled.count(), 0);
}

void tst_Filter::setEnabledSignalsEveryCall()
{
    BareFilter filter(7, nullptr);
    const QSignalSpy enabled(&filter, &Filter::enabledChanged);
    const QSignalSpy asinc(&filter, &Filter::asincChanged);

    filter.setEnabled(true);
    filter.setEnabled(true);
    filter.setEnabled(false);
    filter.setEnabled(false);

    QCOMPARE(QList<QVariantList>(enabled), QList<QVariantList>({{true}, {true}, {false}, {false}}));
    QCOMPARE(asinc.count(), 0);
}

void tst_Filter::setEnabledStoresBeforeItSignals()
{
    BareFilter filter(7, nullptr);
    QList<bool> seen;
    connect(&filter, &Filter::enabledChanged, this, [&] { seen.append(filter.isEnabled()); });

    filter.setEnabled(true);
    filter.setEnabled(false);

    QCOMPARE(seen, QList<bool>({true, false}));
}

void tst_Filter::switchingDoesNotTouchTheValue()
{
    NotingFilter filter(7, nullptr);

    filter.setEnabled(true);
    filter.setEnabled(false);
    filter.setProperty("isEnabled", false);

    QCOMPARE(filter.values, QStringList());
}

void tst_Filter::clearIsSetValueOfANullText()
{
    NotingFilter filter(7, nullptr);
    filter.setEnabled(true);

    filter.clear();

    QCOMPARE(filter.values.size(), 1);
    QVERIFY(filter.values.first().isNull());
    QVERIFY(filter.isEnabled());
}

void tst_Filter::clearLetsExceptionsPass()
{
    NotingFilter filter(7, nullptr);
    filter.fails = true;

    QVERIFY_THROWS_EXCEPTION(int, filter.clear());
}

void tst_Filter::metaObjectHasTwoSignalsAndOneProperty()
{
    const QMetaObject &meta = Filter::staticMetaObject;

    QCOMPARE(QByteArray(meta.className()), QByteArray("Filter"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(ownSurface(meta), QStringList({QStringLiteral("enabledChanged(bool)"),
                                            QStringLiteral("asincChanged()"), QStringLiteral("isEnabled")}));

    const QMetaMethod enabledChanged = meta.method(meta.methodOffset());
    QCOMPARE(enabledChanged.methodType(), QMetaMethod::Signal);
    QCOMPARE(enabledChanged.access(), QMetaMethod::Public);
    QCOMPARE(enabledChanged.parameterNames(), QList<QByteArray>{"enabled"});
    QCOMPARE(enabledChanged.returnMetaType(), QMetaType::fromType<void>());
    const QMetaMethod asincChanged = meta.method(meta.methodOffset() + 1);
    QCOMPARE(asincChanged.methodType(), QMetaMethod::Signal);
    QCOMPARE(asincChanged.access(), QMetaMethod::Public);

    const QMetaProperty property = meta.property(meta.propertyOffset());
    QCOMPARE(property.metaType(), QMetaType::fromType<bool>());
    QVERIFY(property.isReadable() && property.isWritable());
    QVERIFY(property.isDesignable() && property.isScriptable() && property.isStored());
    QVERIFY(!property.isUser() && !property.isResettable() && !property.isConstant() && !property.isFinal());
    QCOMPARE(property.notifySignal(), enabledChanged);
}

void tst_Filter::writingThePropertyReachesTheOverride()
{
    NotingFilter filter(7, nullptr);
    const QSignalSpy enabled(&filter, &Filter::enabledChanged);

    QVERIFY(filter.setProperty("isEnabled", true));
    QVERIFY(filter.setProperty("isEnabled", true));

    QCOMPARE(filter.enabledCalls, QList<bool>({true, true}));
    QCOMPARE(QList<QVariantList>(enabled), QList<QVariantList>({{true}, {true}}));
    QCOMPARE(filter.property("isEnabled"), QVariant(true));
}

void tst_Filter::asincChangedIsOnlyEmittedFromOutside()
{
    BareFilter filter(7, nullptr);
    const QSignalSpy asinc(&filter, &Filter::asincChanged);

    filter.setEnabled(true);
    filter.setValue(QStringLiteral("1"));
    filter.clear();
    QCOMPARE(asinc.count(), 0);

    QVERIFY(QMetaObject::invokeMethod(&filter, "asincChanged"));
    QCOMPARE(asinc.count(), 1);
}

QTEST_GUILESS_MAIN(tst_Filter)
#include "tst_filter.moc"
