// SPDX-License-Identifier: MIT
#pragma once

#include <database/columnspec.h>

#include <data/database.h>

#include <QList>
#include <QStringList>

#include <memory>

class MemoryTable;

/// The catalogue of the in-memory database library: ICore::instance()->database() is this object. It owns its
/// tables.
///
/// **Threads.** All operations may be called from any thread; a table that is dropped must not be in use
/// anywhere.
///
/// **Cost.** A look-up compares the name with those of the tables, one after the other. Dropping a table
/// takes time in proportion to its rows.
class DATABASE_EXPORT MemoryDatabase final : public Database
{
    Q_DISABLE_COPY_MOVE(MemoryDatabase)
public:
    /// The one catalogue of the process.
    static MemoryDatabase &instance();

    Table *tableByName(const QString &name) override;

    /// A new, empty table of that name. Throws Exception when there is one already, and what the constructor
    /// of MemoryTable throws.
    MemoryTable *createTable(const QString &name, const QList<ColumnSpec> &columns);
    /// Adds \a table, which must not be null. Throws Exception when there is one of that name already; \a
    /// table is deleted then.
    MemoryTable *addTable(std::unique_ptr<MemoryTable> table);
    /// The table of that name. Throws Exception when there is none.
    MemoryTable *table(const QString &name) const;
    /// The names of all tables, in the order in which they were added.
    QStringList tableNames() const;
    /// Deletes the table of that name. Throws Exception when there is none. No handle, filter, predicate or
    /// model may refer to it any more.
    void dropTable(const QString &name);
    /// Takes the table of that name out of the catalogue and hands it over, for whoever must keep it alive
    /// for its rows. Throws Exception when there is none.
    std::unique_ptr<MemoryTable> takeTable(const QString &name);
    /// Deletes all tables.
    void clear();

private:
    MemoryDatabase();
    ~MemoryDatabase() override;

    struct Catalogue;
    const std::unique_ptr<Catalogue> d;
};
