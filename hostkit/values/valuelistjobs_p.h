// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctvalues_p.h>
#include <hostkit/values/valuecount_p.h>
#include <hostkit/values/valuelistmodel_p.h>

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

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

    /// Counts the values of \a source; counted() or countFailed() follows. Counting that runs is superseded.
    void count(const ValueCount::Source &source);
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

Q_SIGNALS:
    /// How far the counting is, 0 to 100.
    void progressed(int percent);
    void counted(const std::shared_ptr<const DistinctValues> &values);
    void countFailed(const QString &message);
    void found(const ValueListModel::Numbers &numbers);
    void searchFailed(const QString &message);

private:
    void makeTasks();

    std::unique_ptr<parallel::Task> m_counting;
    std::unique_ptr<parallel::Task> m_searching;
};

} // namespace sito
