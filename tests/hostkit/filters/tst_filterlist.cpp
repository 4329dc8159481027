// SPDX-License-Identifier: MIT
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>

#include <database/memorytable.h>

#include <data/record.h>
#include <filterfuncs/filterfunc.h>

#include <support/exceptions.h>

#include <QPointer>
#include <QTest>

#include <cstdlib>
#include <new>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// What a list tells, in order, as short texts: a filter by its text, and how many are in the list.
class Log
{
public:
    explicit Log(const FilterList &list)
    {
        const auto note = [this, &list](const QString &what) {
            m_entries.append(what + u'/' + QString::number(list.filters().size()));
        };
        QObject::connect(&list, &FilterList::added,
                         [note](Filter *filter) { note(u"added "_s + filter->text()); });
        QObject::connect(&list, &FilterList::aboutToBeRemoved,
                         [note](Filter *filter) { note(u"aboutToBeRemoved "_s + filter->text()); });
        QObject::connect(&list, &FilterList::removed, [note] { note(u"removed"_s); });
        QObject::connect(&list, &FilterList::filterChanged,
                         [note](Filter *filter) { note(u"filterChanged "_s + filter->text()); });
        QObject::connect(&list, &FilterList::changed, [note] { note(u"changed"_s); });
    }

    QStringList take() { return std::exchange(m_entries, {}); }

private:
    QStringList m_entries;
};

class BrokenFilter : public ColumnsFilter
{
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *) const override { throw u"broken"_s; }
};

/// Counts those that live.
/// A filter that takes part and has no columns.
class NoKeys : public Filter
{
public:
    NoKeys() : Filter(0, nullptr) { setEnabled(true); }

    FilterFunc *createFilterFunc(QObject *) const override { return nullptr; }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return {}; }
    QString name() const override { return {}; }
    bool hasValue() const override { return true; }
};

class CountedFunc : public FilterFunc
{
public:
    CountedFunc() : FilterFunc(nullptr) { ++living; }
    ~CountedFunc() override { --living; }
    bool filter(const Record &) const override { return false; }

    inline static int living = 0;
};

class CountedFilter : public ColumnsFilter
{
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *) const override { return new CountedFunc; }
};

/// How many more times operator new gives memory in this thread; below 0 without end.
thread_local qint64 allocationsLeft = -1;

} // namespace

/// Apart, so that no compiler takes the pair of new and free for a mistake.
[[gnu::noinline]] static void release(void *block) noexcept
{
    std::free(block);
}

// The libraries of the program allocate here, too.
void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size ? size : 1);
}

void *operator new(size_t size)
{
    if (void *block = operator new(size, std::nothrow))
        return block;
    throw std::bad_alloc();
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    return operator new(size, std::nothrow);
}

void operator delete(void *block) noexcept
{
    release(block);
}

void operator delete(void *block, size_t) noexcept
{
    release(block);
}

void operator delete[](void *block) noexcept
{
    release(block);
}

void operator delete[](void *block, size_t) noexcept
{
    release(block);
}

class tst_FilterList : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"quotes"_s, {{.name = u"id"_s, .type = FieldType::Int}}};

    ColumnsFilter *filter(const QString &value, bool enabled = true)
    {
        auto *result = new ColumnsFilter(m_table, {0});
        result->setValue(value);
        result->setEnabled(enabled);
        return result;
    }

    /// The ids from 1 to 9 that none of \a predicates excludes.
    QString shown(const std::vector<std::shared_ptr<const FilterFunc>> &predicates)
    {
        QString result;
        for (int id = 1; id <= 9; ++id) {
            const Record row(&m_table);
            m_table.update(row, 0, qint32(id));
            if (std::none_of(predicates.begin(), predicates.end(),
                             [&](const auto &predicate) { return predicate->filter(row); }))
                result += QString::number(id);
        }
        return result;
    }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void beginsEmpty()
    {
        const FilterList list(m_table);

        QCOMPARE(list.table(), &m_table);
        QVERIFY(list.filters().isEmpty());
        QVERIFY(list.createFilterFuncs().empty());
    }

    void ownsWhatIsAdded()
    {
        QPointer<Filter> first = filter(u"1"_s);
        QPointer<Filter> second = filter(u"2"_s);
        {
            FilterList list(m_table);
            Log log(list);

            list.add(first);
            list.add(second);
            list.add(first);

            QCOMPARE(list.filters(), QList<Filter *>({first, second}));
            QCOMPARE(log.take(),
                     QStringList({u"added 1/1"_s, u"changed/1"_s, u"added 2/2"_s, u"changed/2"_s}));
        }
        QVERIFY(!first);
        QVERIFY(!second);
    }

    void takesOverAFilterOfAnotherList()
    {
        auto first = std::make_unique<FilterList>(m_table);
        FilterList second(m_table);
        QPointer<Filter> moved = filter(u"1"_s);
        first->add(moved);
        first->add(filter(u"2"_s));
        Log left(*first);
        Log taken(second);

        second.add(moved);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        QVERIFY(moved);
        QCOMPARE(first->filters().size(), 1);
        QCOMPARE(second.filters(), QList<Filter *>{moved});
        QCOMPARE(left.take(), QStringList({u"aboutToBeRemoved 1/2"_s, u"removed/1"_s, u"changed/1"_s}));
        QCOMPARE(taken.take(), QStringList({u"added 1/1"_s, u"changed/1"_s}));

        moved->setEnabled(false);
        QCOMPARE(left.take(), QStringList());
        QCOMPARE(taken.take(), QStringList({u"filterChanged 1/1"_s, u"changed/1"_s}));
        first.reset();
        QVERIFY(moved);
    }

    void addsNothingThatASlotOfTheOtherListDeletes()
    {
        FilterList first(m_table);
        FilterList second(m_table);
        Filter *moved = filter(u"1"_s);
        first.add(moved);
        Log taken(second);
        connect(&first, &FilterList::removed, moved, [moved] { delete moved; });

        second.add(moved);

        QVERIFY(first.filters().isEmpty());
        QVERIFY(second.filters().isEmpty());
        QCOMPARE(taken.take(), QStringList());
    }

    void deletesWhatIsRemovedLater()
    {
        FilterList list(m_table);
        QPointer<Filter> removed = filter(u"1"_s);
        list.add(removed);
        list.add(filter(u"2"_s));
        Log log(list);

        list.remove(removed);

        QCOMPARE(log.take(), QStringList({u"aboutToBeRemoved 1/2"_s, u"removed/1"_s, u"changed/1"_s}));
        QVERIFY(removed);
        removed->setEnabled(false);
        QCOMPARE(log.take(), QStringList());
        list.remove(removed);
        QCOMPARE(log.take(), QStringList());
        QCoreApplication::sendPostedEvents(removed, QEvent::DeferredDelete);
        QVERIFY(!removed);
        QCOMPARE(log.take(), QStringList());
    }

    void clearsWithOneChange()
    {
        FilterList list(m_table);
        list.add(filter(u"1"_s));
        list.add(filter(u"2"_s));
        Log log(list);

        list.clear();
        list.clear();

        QCOMPARE(log.take(), QStringList({u"aboutToBeRemoved 2/2"_s, u"removed/1"_s,
                                          u"aboutToBeRemoved 1/1"_s, u"removed/0"_s, u"changed/0"_s}));
    }

    void letsGoOfFiltersThatOthersDelete()
    {
        FilterList list(m_table);
        Filter *deleted = filter(u"1"_s);
        list.add(deleted);
        list.add(filter(u"2"_s));
        Log log(list);

        delete deleted;

        QCOMPARE(list.filters().size(), 1);
        QCOMPARE(log.take(), QStringList({u"removed/1"_s, u"changed/1"_s}));
    }

    void passesOnWhatFiltersSignal()
    {
        FilterList list(m_table);
        Filter *added = filter(u"1"_s);
        list.add(added);
        Log log(list);

        added->setEnabled(false);
        Q_EMIT added->asincChanged();
        added->setValue(u"3"_s);
        list.notifyChanged(added);

        QCOMPARE(log.take(), QStringList({u"filterChanged 1/1"_s, u"changed/1"_s, u"filterChanged 1/1"_s,
                                          u"changed/1"_s, u"filterChanged 3/1"_s, u"changed/1"_s}));
    }

    void knowsNothingOfForeignFilters()
    {
        FilterList list(m_table);
        const std::unique_ptr<Filter> foreign(filter(u"1"_s));
        Log log(list);

        list.notifyChanged(foreign.get());
        list.remove(foreign.get());

        QCOMPARE(log.take(), QStringList());
    }

    void makesPredicatesOfTheFiltersThatTakePart()
    {
        FilterList list(m_table);
        Filter *first = filter(u"1|2"_s);
        Filter *off = filter(u"3"_s, false);
        Filter *empty = filter(u""_s);
        Filter *last = filter(u"5"_s);
        for (Filter *added : {first, off, empty, last})
            list.add(added);

        QVERIFY(FilterList::takesPart(*first));
        QVERIFY(!FilterList::takesPart(*off));
        QVERIFY(!FilterList::takesPart(*empty));
        QCOMPARE(list.createFilterFuncs().size(), size_t(2));
        QCOMPARE(shown(list.createFilterFuncs()), u"346789"_s);
        QCOMPARE(shown(list.createFilterFuncs(first)), u"12346789"_s);
        QCOMPARE(shown(list.createFilterFuncs(last)), u"3456789"_s);
        QCOMPARE(shown(list.createFilterFuncs(off)), u"346789"_s);
    }

    void knowsWhichColumnsAreFiltered()
    {
        FilterList list(m_table);
        QVERIFY(!list.isFiltered(0));
        Filter *off = filter(u"3"_s, false);
        for (Filter *added : {off, static_cast<Filter *>(filter(u""_s)), static_cast<Filter *>(new NoKeys)})
            list.add(added);
        QVERIFY(!list.isFiltered(0));

        off->setEnabled(true);

        QVERIFY(list.isFiltered(0));
        QVERIFY(!list.isFiltered(1));
    }

    void predicatesAreCopies()
    {
        FilterList list(m_table);
        Filter *first = filter(u"1|2"_s);
        list.add(first);
        const auto predicates = list.createFilterFuncs();

        first->setValue(u"9"_s);
        list.clear();

        QCOMPARE(shown(predicates), u"3456789"_s);
    }

    void passesOnWhatMakingAPredicateThrows()
    {
        FilterList list(m_table);
        list.add(filter(u"1"_s));
        auto *broken = new BrokenFilter(m_table, {0});
        broken->setValue(u"1"_s);
        list.add(broken);

        QCOMPARE(shown(list.createFilterFuncs()), u"23456789"_s);
        broken->setEnabled(true);
        QCOMPARE(thrownText([&] { list.createFilterFuncs(); }), u"broken"_s);
    }

    void losesNoPredicateWhenMemoryRunsOut()
    {
        FilterList list(m_table);
        for (const QString &value : {u"1"_s, u"2"_s, u"3"_s}) {
            auto *counted = new CountedFilter(m_table, {0});
            counted->setValue(value);
            counted->setEnabled(true);
            list.add(counted);
        }

        // Every single allocation fails once.
        bool isDone = false;
        int failures = 0;
        while (!isDone && failures < 100) {
            allocationsLeft = failures;
            try {
                const auto predicates = list.createFilterFuncs();
                allocationsLeft = -1;
                isDone = true;
                QCOMPARE(predicates.size(), size_t(3));
            } catch (const std::bad_alloc &) {
                allocationsLeft = -1;
                ++failures;
            }
            QCOMPARE(CountedFunc::living, 0);
        }

        QVERIFY(isDone);
        QVERIFY(failures >= 8); // a predicate and its owner each, and some for the vector
    }

    void predicatesDieInTheirOwnThread()
    {
        FilterList list(m_table);
        list.add(filter(u"1"_s));
        auto predicates = list.createFilterFuncs();
        std::thread::id died;
        QPointer<const FilterFunc> predicate = predicates.front().get();
        connect(
            predicate, &QObject::destroyed, this, [&died] { died = std::this_thread::get_id(); },
            Qt::DirectConnection);

        std::thread([taken = std::move(predicates)]() mutable { taken.clear(); }).join();

        QVERIFY(predicate);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!predicate);
        QCOMPARE(died, std::this_thread::get_id());
    }
};

QTEST_GUILESS_MAIN(tst_FilterList)
#include "tst_filterlist.moc"
