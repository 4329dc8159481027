// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QMetaObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class QSettings;
class Table;
class ValueFilter;

namespace sito {

class FilterList;

/// Filters of table views in a QSettings store: those that a view has, and sets of them under names of their
/// own. Views and sets are named by any texts, which are told apart exactly.
///
/// **What is stored.** Of each filter its kind, the names of its columns, its switch and its keys, as
/// keysToJson() writes them; beside these, for people and other programs, the plain text of value(), which is
/// never read. The numbers firstId() and secondId() are not stored.
///
/// **What no longer fits** (another kind, a missing column, a column that cannot hold a key, an entry that
/// cannot be read) is told in one message, harms no other filter and stays stored as it is: save() replaces
/// only what can be restored over the table of its list, and leaves the others in their places. What the last
/// restore() of this object refused, or a save() left, save() goes on leaving when it would fit by now, since
/// it is not in the list: until a restore() brings it there, remove() and removeSet() alone take it away.
///
/// Everything lies in the group "filters" of the store, below its current group. The store is not owned; the
/// object is used from the thread that uses the store. An Exception that was turned into a message has
/// reported itself, as all do.
class HOSTKIT_EXPORT FilterStorage
{
    Q_DECLARE_TR_FUNCTIONS(FilterStorage)
    Q_DISABLE_COPY_MOVE(FilterStorage)
public:
    /// Makes a filter over \a columns of \a table, which are different ones and at least one. Whatever it
    /// throws, Exception, QString or std::exception, is the reason why the filter does not fit.
    using Maker = std::function<std::unique_ptr<ValueFilter>(Table &table, const QList<int> &columns)>;

    /// Where the keys of a restored filter come from.
    enum class Keys {
        Stored, ///< those that were saved
        Made,   ///< those it has when it is made; none are saved
    };

    explicit FilterStorage(QSettings &store);
    ~FilterStorage();

    /// Registers the filters of class \a type, and of classes derived from it that are not registered
    /// themselves, under the name \a kind. A kind that is registered already is replaced.
    void registerKind(const QString &kind, const QMetaObject &type, Maker maker, Keys keys = Keys::Stored);
    /// Registers the filters of the library and of hostkit: "columns", "only" (ShowOnlyFilter), "values"
    /// (ValueListFilter, with the list that it is restored into as its siblings) and "session". The keys of
    /// the last are made anew, since it means the last session of every security as it is now.
    void registerHostKinds();

    /// Stores the filters of \a filters in their order as those of \a view, and writes the store.
    ///
    /// Throws Exception, and has changed nothing then, for a filter of no registered kind and for a store
    /// that cannot be read or written; the message names the filter or the file of the store. When writing
    /// fails in the end, the file is as it was, and the filters stay in the store object, which tries to
    /// write them whenever it writes.
    void save(const QString &view, const FilterList &filters);
    /// Whether anything is stored for \a view, be it no filter at all.
    bool contains(const QString &view) const;
    /// Whether a filter of the kind \a kind is stored for \a view, among its own or in one of its sets, be it
    /// that it fits or not.
    bool containsKind(const QString &view, const QString &kind) const;
    /// Replaces the filters of \a filters by those stored for \a view; does nothing when none were ever
    /// stored. Returns one message per stored filter that does not fit, and one more when the store could
    /// not be read.
    QStringList restore(const QString &view, FilterList &filters);
    /// Forgets the filters of \a view, also those that do not fit, but not its sets. Throws as save() does.
    void remove(const QString &view);

    /// The names of the sets of \a view, sorted.
    QStringList setNames(const QString &view) const;
    /// As save(), in the place of a set of that name.
    void saveSet(const QString &view, const QString &name, const FilterList &filters);
    /// As restore(); a message when there is no set of that name.
    QStringList restoreSet(const QString &view, const QString &name, FilterList &filters);
    /// Forgets a set. Throws as save() does.
    void removeSet(const QString &view, const QString &name);

private:
    struct Kind;
    struct Entry;

    const Kind *kindOf(const QMetaObject &type) const;
    std::unique_ptr<ValueFilter> make(const Entry &entry, Table &table) const;
    /// What make() throws, as a message; empty when it throws nothing.
    QString attempt(const Entry &entry, Table &table, std::unique_ptr<ValueFilter> &filter) const;
    QList<Entry> read(const QString &group) const;
    void saveTo(const QString &group, const FilterList &filters);
    QStringList restoreFrom(const QString &group, const QString &place, FilterList &filters);
    void removeGroup(const QString &group);
    QString wholeGroup(const QString &group) const;
    QString readingError() const;
    void requireStore() const;
    void write();

    QSettings &m_store;
    std::vector<Kind> m_kinds;
    /// By wholeGroup(): the stored filters that the lists do not have.
    QHash<QString, QList<Entry>> m_left;
};

} // namespace sito
