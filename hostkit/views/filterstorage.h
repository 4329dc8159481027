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

/// Stores the filters of table views in a QSettings store: the filters of each view, and named sets of
/// filters. Names of views and sets may be any texts, and are compared exactly.
///
/// **What is stored.** For each filter: its kind, the names of its columns, whether it is switched on, and
/// its keys, as keysToJson() writes them. The plain text of value() is stored as well, for people and other
/// programs, and never read. The numbers firstId() and secondId() are not stored.
///
/// **What no longer fits.** A stored filter of an unknown kind, over a missing column or one that cannot
/// hold a key, and an entry that cannot be read, are reported in one message each. They affect no other
/// filter and stay stored as they are: save() replaces only what can be restored over the table of its
/// list, and leaves the others in their places. What the last restore() of this object refused, or a save()
/// left, is left by save() also when it would fit by now, because it is not in the list. Until a restore()
/// puts it there, only remove() and removeSet() delete it.
///
/// Everything is stored in the group "filters", below the current group of the store. The store is not owned.
/// An Exception that is turned into a message has been reported by dump() as any other.
///
/// **Threads.** Use this object from the thread that uses the store.
///
/// **Cost.** Saving and restoring grow with the keys of the filters; save() also reads what is stored, to
/// keep what does not fit, and the store then writes its whole file.
class HOSTKIT_EXPORT FilterStorage
{
    Q_DECLARE_TR_FUNCTIONS(FilterStorage)
    Q_DISABLE_COPY_MOVE(FilterStorage)
public:
    /// Makes a filter over \a columns of \a table: at least one column, none of them twice. What it throws
    /// (Exception, QString or std::exception) is the reason why the filter does not fit.
    using Maker = std::function<std::unique_ptr<ValueFilter>(Table &table, const QList<int> &columns)>;

    /// Where the keys of a restored filter come from.
    enum class Keys {
        Stored, ///< those that were saved
        Made,   ///< those of the new filter; none are saved
    };

    explicit FilterStorage(QSettings &store);
    ~FilterStorage();

    /// Registers the filters of class \a type, and of classes derived from it that are not registered
    /// themselves, under the name \a kind. A kind that is registered already is replaced.
    void registerKind(const QString &kind, const QMetaObject &type, Maker maker, Keys keys = Keys::Stored);
    /// Registers the filters of the library and of hostkit: "columns", "only" (ShowOnlyFilter), "values"
    /// (ValueListFilter; its siblings are the list that it is restored into) and "session". The keys of the
    /// last are not stored: a new filter starts with the last session of every security at that time.
    void registerHostKinds();

    /// Stores the filters of \a filters in their order as those of \a view, and writes the store.
    ///
    /// Throws Exception, and changes nothing then, for a filter of no registered kind and for a store that
    /// cannot be read or written. The message names the filter or the file of the store. When the final write
    /// fails, the file stays as it was; the filters stay in the store object, which tries again whenever it
    /// writes.
    void save(const QString &view, const FilterList &filters);
    /// Whether save() has stored anything for \a view, even an empty list.
    bool contains(const QString &view) const;
    /// Whether a filter of the kind \a kind is stored for \a view, among its own or in one of its sets, also
    /// when it does not fit.
    bool containsKind(const QString &view, const QString &kind) const;
    /// Replaces the filters of \a filters by those stored for \a view; does nothing when none were ever
    /// stored. Returns one message per stored filter that does not fit, and one more when the store could
    /// not be read.
    QStringList restore(const QString &view, FilterList &filters);
    /// Deletes the stored filters of \a view, also those that do not fit, but not its sets. Throws as save()
    /// does.
    void remove(const QString &view);

    /// The names of the sets of \a view, sorted.
    QStringList setNames(const QString &view) const;
    /// As save(), but under a name; replaces a set of that name.
    void saveSet(const QString &view, const QString &name, const FilterList &filters);
    /// As restore(); returns a message when there is no set of that name.
    QStringList restoreSet(const QString &view, const QString &name, FilterList &filters);
    /// Deletes a set. Throws as save() does.
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
    /// The stored filters that are in no list, by wholeGroup().
    QHash<QString, QList<Entry>> m_left;
};

} // namespace sito
