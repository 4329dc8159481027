// SPDX-License-Identifier: MIT
#include <filters/selectfilter.h>

#include <database/memorytable.h>
#include <support/exceptions.h>
#include <support/objectlayout.h>

#include "filterfixtures.h"

#include <QCoreApplication>
#include <QTest>
#include <QTranslator>

#include <type_traits>

static_assert(std::is_abstract_v<SelectFilter>);
static_assert(std::is_base_of_v<ValueFilter, SelectFilter>);
static_assert(sizeof(SelectFilter) == sizeof(ValueFilter), "no members of its own");

namespace {
/// A host's filter: its select action takes one key.
class ChoosingFilter : public Completed<SelectFilter>
{
public:
    using Completed::Completed;

    void select(QWidget *parent) override
    {
        lastParent = parent;
        addExcludedKey(intKey({5}));
    }

    QWidget *lastParent = reinterpret_cast<QWidget *>(1);
};

/// Leaves the select action open.
using NamedOnly = Completed<SelectFilter>;
static_assert(std::is_abstract_v<NamedOnly>, "select() is pure");

class Upper : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *disambiguation,
                      int n) const override
    {
        asked.append(QStringLiteral("%1/%2/%3/%4")
                         .arg(QString::fromUtf8(context), QString::fromUtf8(source),
                              disambiguation ? QString::fromUtf8(disambiguation) : QStringLiteral("-"))
                         .arg(n));
        return QStringLiteral("Select");
    }
    bool isEmpty() const override { return false; }

    mutable QStringList asked;
};
} // namespace

class tst_SelectFilter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void namesItsAction();
    void translatesTheNameInItsOwnContext();
    void isAValueFilterByBothConstructors();
    void addsTwoVirtualOperationsBehindThoseOfValueFilter();
    void addsNothingToTheMetaObject();
    void leavesTheActionToTheHost();
};

void tst_SelectFilter::init()
{
    failOnAnyWarning();
}

void tst_SelectFilter::namesItsAction()
{
    MemoryTable table(QStringLiteral("quotes"), {{QStringLiteral("a")}});

    const ChoosingFilter filter(table, 0, nullptr);

    QCOMPARE(filter.selectActionName(), QString::fromUtf8("Выбрать"));
}

void tst_SelectFilter::translatesTheNameInItsOwnContext()
{
    MemoryTable table(QStringLiteral("quotes"), {{QStringLiteral("a")}});
    const ChoosingFilter filter(table, 0, nullptr);
    Upper translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));

    const QString name = filter.selectActionName();

    QCOMPARE(name, QStringLiteral("Select"));
    QCOMPARE(translator.asked, QStringList(QString::fromUtf8("SelectFilter/Выбрать/-/-1")));
}

void tst_SelectFilter::isAValueFilterByBothConstructors()
{
    MemoryTable table(QStringLiteral("quotes"), {{QStringLiteral("a")}, {QStringLiteral("b")}});
    QObject parent;

    const ChoosingFilter one(table, 1, &parent);
    const ChoosingFilter two(table, 4, {1, 0}, 6, &parent);

    QCOMPARE(one.table(), &table);
    QCOMPARE(one.columns(), QList<int>{1});
    QCOMPARE(one.firstId(), 1);
    QCOMPARE(one.secondId(), -1);
    QCOMPARE(one.parent(), &parent);
    QCOMPARE(two.table(), &table);
    QCOMPARE(two.columns(), QList<int>({1, 0}));
    QCOMPARE(two.firstId(), 4);
    QCOMPARE(two.secondId(), 6);
    QCOMPARE(two.parent(), &parent);
    QVERIFY(!one.isEnabled() && !two.isEnabled() && !one.hasValue() && !two.hasValue());
}

void tst_SelectFilter::addsTwoVirtualOperationsBehindThoseOfValueFilter()
{
    const std::ptrdiff_t last = virtualSlot(&ValueFilter::keyToText);

    QCOMPARE(virtualSlot(&SelectFilter::selectActionName), last + 1);
    QCOMPARE(virtualSlot(&SelectFilter::select), last + 2);
}

void tst_SelectFilter::addsNothingToTheMetaObject()
{
    const QMetaObject &meta = SelectFilter::staticMetaObject;

    QCOMPARE(QByteArray(meta.className()), QByteArray("SelectFilter"));
    QCOMPARE(meta.superClass(), &ValueFilter::staticMetaObject);
    QCOMPARE(ownSurface(meta), QStringList());
}

void tst_SelectFilter::leavesTheActionToTheHost()
{
    MemoryTable table(QStringLiteral("quotes"), {{QStringLiteral("a")}});
    ChoosingFilter filter(table, 0, nullptr);

    static_cast<SelectFilter &>(filter).select(nullptr);

    QCOMPARE(filter.lastParent, nullptr);
    QCOMPARE(filter.value(), QStringLiteral("5"));
}

QTEST_GUILESS_MAIN(tst_SelectFilter)
#include "tst_selectfilter.moc"
