// SPDX-License-Identifier: MIT
#include <database/memorydatabase.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

struct MemoryDatabase::Catalogue
{
    using Tables = std::vector<std::unique_ptr<MemoryTable>>;

    Tables::iterator find(const QString &name)
    {
        return std::find_if(tables.begin(), tables.end(),
                            [&](const auto &table) { return table->name() == name; });
    }
    Tables::iterator require(const QString &name)
    {
        const auto found = find(name);
        if (found == tables.end())
            throw Exception(QStringLiteral("There is no table '%1'").arg(name));
        return found;
    }

    std::mutex mutex;
    Tables tables;
};

MemoryDatabase::MemoryDatabase() : d(std::make_unique<Catalogue>()) {}

MemoryDatabase::~MemoryDatabase() = default;

MemoryDatabase &MemoryDatabase::instance()
{
    // Never destroyed: handles in other static objects may live longer, whatever the order of destruction.
    static auto *database = new MemoryDatabase;
    return *database;
}

Table *MemoryDatabase::tableByName(const QString &name)
{
    const std::lock_guard guard(d->mutex);
    const auto found = d->find(name);
    return found == d->tables.end() ? nullptr : found->get();
}

MemoryTable *MemoryDatabase::createTable(const QString &name, const QList<ColumnSpec> &columns)
{
    return addTable(std::make_unique<MemoryTable>(name, columns));
}

MemoryTable *MemoryDatabase::addTable(std::unique_ptr<MemoryTable> table)
{
    const std::lock_guard guard(d->mutex);
    if (d->find(table->name()) != d->tables.end())
        throw Exception(QStringLiteral("There is a table '%1' already").arg(table->name()));
    return d->tables.emplace_back(std::move(table)).get();
}

MemoryTable *MemoryDatabase::table(const QString &name) const
{
    const std::lock_guard guard(d->mutex);
    return d->require(name)->get();
}

QStringList MemoryDatabase::tableNames() const
{
    const std::lock_guard guard(d->mutex);
    QStringList names;
    for (const auto &table : d->tables)
        names.append(table->name());
    return names;
}

void MemoryDatabase::dropTable(const QString &name)
{
    takeTable(name).reset();
}

std::unique_ptr<MemoryTable> MemoryDatabase::takeTable(const QString &name)
{
    const std::lock_guard guard(d->mutex);
    const auto found = d->require(name);
    std::unique_ptr<MemoryTable> table = std::move(*found);
    d->tables.erase(found);
    return table;
}

void MemoryDatabase::clear()
{
    const std::lock_guard guard(d->mutex);
    d->tables.clear();
}
