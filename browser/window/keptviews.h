// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/filterstorage.h>

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>

class MemoryTable;
class QSettings;

namespace sito {

class FilterList;

/// What the store keeps of the tables of a source between starts: the table shown last, the layout of each,
/// its filters and sets of them; and the recent sources.
///
/// Used from the GUI thread.
class KeptViews : public QObject
{
    Q_OBJECT
public:
    /// \a store is not owned and must outlive the object.
    explicit KeptViews(QSettings &store, QObject *parent = nullptr);
    ~KeptViews() override;

    /// Whose tables everything below is about; sources are told apart by \a key.
    void setSource(const QString &key);

    /// The table that was shown last; empty when there is none.
    QString lastTable() const;
    void setLastTable(const QString &table);
    /// What setLayout() was given; empty at first.
    QString layout(const QString &table) const;
    void setLayout(const QString &table, const QString &layout);

    /// The column by which new rows of \a table are found; empty at first.
    QString growingColumn(const QString &table) const;
    void setGrowingColumn(const QString &table, const QString &column);

    /// Whether filters that are kept for \a table, also in sets, read the table "sessions".
    bool needsSessions(const QString &table) const;
    /// Whether all filters that are kept for \a table fit its columns.
    bool fitFilters(MemoryTable &table);
    /// Replaces \a filters by those kept for \a table. Returns a message for each that does not fit.
    QStringList restoreFilters(const QString &table, FilterList &filters);
    /// From now on keeps \a filters for \a table, soon after each change, but for changes within
    /// restoreFilters() and changeUnkept().
    void follow(const QString &table, FilterList &filters);
    /// Calls \a change, which changes filters for this time only: what is kept stays until the next change.
    void changeUnkept(const std::function<void()> &change);
    /// Keeps now what was about to be kept.
    void flush();

    /// The names of the sets of filters for \a table, sorted.
    QStringList setNames(const QString &table) const;
    /// Keeps \a filters as a set, in the place of one of that name. Throws Exception when the store cannot be
    /// written.
    void saveSet(const QString &table, const QString &name, const FilterList &filters);
    /// As restoreFilters(), but the change is kept.
    QStringList restoreSet(const QString &table, const QString &name, FilterList &filters);
    /// Throws Exception when the store cannot be written.
    void removeSet(const QString &table, const QString &name);

    /// The keys of the sources that were opened last, the newest first.
    QStringList recentSources() const;
    /// Puts \a key first; at most ten are kept.
    void addRecentSource(const QString &key);
    void forgetRecentSources();

Q_SIGNALS:
    /// Filters could not be kept, as \a message says.
    void failed(const QString &message);

private:
    void onChanged(const QString &table, FilterList &filters);
    void noteNeedOfSessions(const QString &table);
    /// The name of \a table among all sources.
    QString viewKey(const QString &table) const;
    QString entry(const QString &table, const QString &name) const;
    QString lastTableEntry() const;

    QSettings &m_store;
    FilterStorage m_storage;
    QString m_source;
    /// Changes of filters come in bunches; one of them is written.
    QTimer m_timer;
    QPointer<FilterList> m_unsaved;
    QString m_unsavedTable;
    bool m_isUnkept = false;
};

} // namespace sito
