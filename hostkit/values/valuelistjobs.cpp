// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistjobs_p.h>

#include <hostkit/parallel/task.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/keychecks_p.h>

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace sito {

namespace {

using Values = std::shared_ptr<const DistinctValues>;

Values countValues(const ValueCount::Source &source, const parallel::Context &context)
{
    for (const KeyValue &key : source.keys)
        keychecks::requireWhole(key, source.columns.size());
    return ValueCount::run(source, context);
}

ValueListModel::Numbers find(const DistinctValues &values, const QString &needle,
                             const std::optional<ValueListModel::Numbers> &among,
                             const parallel::StopToken &stop)
{
    ValueListModel::Numbers found;
    const size_t count = among ? among->size() : size_t(values.size());
    for (size_t i = 0; i < count; ++i) {
        if (i % 256 == 0)
            stop.throwIfStopped();
        const quint32 number = among ? (*among)[i] : quint32(i);
        if (values.text(number).contains(needle, Qt::CaseInsensitive))
            found.push_back(number);
    }
    return found;
}

ValueListJobs::Recount countAgain(ValueCount::Source source, const ValueChoice &choice, const QString &needle,
                                  const parallel::Context &context)
{
    source.keys = choice.excludedKeys(source.columns.size());
    ValueListJobs::Recount result;
    ValueListModel::Update &update = result.update;
    update.values = countValues(source, context);
    update.newNumbers = choice.values->indexesIn(*update.values, context.stop);
    if (!needle.isEmpty())
        update.shown = find(*update.values, needle, std::nullopt, context.stop);
    result.unchecked = choice.unchecked;
    result.keys = source.keys;
    result.needle = needle;
    return result;
}

/// The table has told of changes.
QEvent::Type changedEvent()
{
    static const int type = QEvent::registerEventType();
    return QEvent::Type(type);
}

} // namespace

ValueListJobs::ValueListJobs(QObject *parent) : QObject(parent)
{
    makeTasks();
}

ValueListJobs::~ValueListJobs()
{
    watch(nullptr);
}

void ValueListJobs::makeTasks()
{
    // Of the old ones, the search goes first: it is over sooner.
    m_searching = std::make_unique<parallel::Task>();
    m_counting = std::make_unique<parallel::Task>();
    connect(m_counting.get(), &parallel::Task::progressed, this, &ValueListJobs::progressed);
}

void ValueListJobs::watch(TableChanges *changes)
{
    if (m_watch)
        m_watch->stop();
    m_watch.reset();
    if (changes) {
        m_watch = std::make_shared<TableWatch>(
            *changes, [this] { QCoreApplication::postEvent(this, new QEvent(changedEvent())); });
    }
}

bool ValueListJobs::event(QEvent *event)
{
    if (event->type() != changedEvent())
        return QObject::event(event);
    if (m_watch)
        Q_EMIT changed();
    return true;
}

void ValueListJobs::recount(const ValueCount::Source &source, const ValueChoice &choice,
                            const QString &needle)
{
    if (m_watch)
        m_watch->rearm();
    m_counting->start<Recount>(
        [source = watched(source), choice, needle](const parallel::Context &context) {
            return countAgain(source, choice, needle, context);
        },
        [this](const Recount &recount) { Q_EMIT recounted(recount); },
        [this](const std::exception_ptr &failure) { Q_EMIT countFailed(exceptionText(failure)); });
}

ValueCount::Source ValueListJobs::watched(ValueCount::Source source) const
{
    source.watch = m_watch;
    return source;
}

void ValueListJobs::count(const ValueCount::Source &source)
{
    m_counting->start<Values>(
        [source = watched(source)](const parallel::Context &context) { return countValues(source, context); },
        [this](const Values &values) { Q_EMIT counted(values); },
        [this](const std::exception_ptr &failure) { Q_EMIT countFailed(exceptionText(failure)); });
}

void ValueListJobs::search(const std::shared_ptr<const DistinctValues> &values, const QString &needle,
                           std::optional<ValueListModel::Numbers> among)
{
    m_searching->start<ValueListModel::Numbers>(
        [values, needle, among = std::move(among)](const parallel::Context &context) {
            return find(*values, needle, among, context.stop);
        },
        [this](const ValueListModel::Numbers &numbers) { Q_EMIT found(numbers); },
        [this](const std::exception_ptr &failure) { Q_EMIT searchFailed(exceptionText(failure)); });
}

void ValueListJobs::cancelSearch()
{
    m_searching->cancel();
}

bool ValueListJobs::isSearching() const
{
    return m_searching->isRunning();
}

void ValueListJobs::waitForSearch()
{
    m_searching->wait();
}

void ValueListJobs::stop()
{
    watch(nullptr);
    m_counting->cancel();
    m_searching->cancel();
    makeTasks();
}

} // namespace sito
