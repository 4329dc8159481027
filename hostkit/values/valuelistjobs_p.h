// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctvalues_p.h>
#include <hostkit/values/valuechoice_p.h>
#include <hostkit/values/valuecount_p.h>
#include <hostkit/values/valuelistmodel_p.h>

#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class TableChanges;

namespace sito {

namespace parallel {
class Task;
}

/// What a ValueListWidget has done in threads: counting values, and searching those that are counted. Each of
/// them reports at most once, in the thread of this object.
class ValueListJobs final : public QObject
{
    Q_OBJECT
public:
    explicit ValueListJobs(QObject *parent = nullptr);
    /// As stop().
    ~ValueListJobs() override;

    /// Emits changed() when \a changes tell of one; null for none.
    void watch(TableChanges *changes);
    /// Counts the values of \a source; counted() or countFailed() follows. Counting that runs is superseded.
    void count(const ValueCount::Source &source);
    /// Counts them again, with the excluded keys of \a choice in place of those of \a source, and looks for
    /// those whose text contains \a needle, unless that is empty; recounted() or countFailed() follows.
    void recount(const ValueCount::Source &source, const ValueChoice &choice, const QString &needle);
    /// Looks for the values whose text contains \a needle, among those of these numbers or all; found() or
    /// searchFailed() follows. A search that runs is superseded.
    void search(const std::shared_ptr<const DistinctValues> &values, const QString &needle,
                std::optional<ValueListModel::Numbers> among);
    /// The search that runs, if any, reports nothing any more.
    void cancelSearch();
    bool isSearching() const;
    /// Waits until the search that runs, if any, has reported.
    void waitForSearch();
    /// Stops everything and waits for it, but not for the lock of a table: afterwards no thread knows
    /// anything of what count() and search() got, and nothing is reported.
    void stop();

    /// What recount() has found.
    struct Recount
    {
        ValueListModel::Update update;
        /// As they were when recount() was called.
        std::vector<bool> unchecked;
        /// The keys with which the values were counted.
        QList<KeyValue> keys;
        QString needle;
    };

Q_SIGNALS:
    /// The table has changed since the last count() or recount(); emitted once for each.
    void changed();
    /// How far the counting is, 0 to 100.
    void progressed(int percent);
    void counted(const std::shared_ptr<const DistinctValues> &values);
    void recounted(const sito::ValueListJobs::Recount &recount);
    void countFailed(const QString &message);
    void found(const ValueListModel::Numbers &numbers);
    void searchFailed(const QString &message);

protected:
    bool event(QEvent *event) override;

private:
    void makeTasks();
    ValueCount::Source watched(ValueCount::Source source) const;

    std::shared_ptr<TableWatch> m_watch;
    std::unique_ptr<parallel::Task> m_counting;
    std::unique_ptr<parallel::Task> m_searching;
};

} // namespace sito
