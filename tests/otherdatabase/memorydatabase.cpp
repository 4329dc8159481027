// SPDX-License-Identifier: MIT
#include <database/memorydatabase.h>

#include <database/memorytable.h>

#include <data/exception.h>
#include <data/icore.h>

#include <QDebug>

#include <algorithm>
#include <mutex>
#include <vector>

struct MemoryDatabase::Catalogue
{
    /// The place of the table of that name, or of none.
    auto find(const QString &name)
    {
        return std::find_if(tables.begin(), tables.end(),
                            [&](const auto &table) { return table->name() == name; });
    }
    auto require(const QString &name)
    {
        const auto place = find(name);
        if (place == tables.end())
            throw Exception(QStringLiteral("no table %1").arg(name));
        return place;
    }

    std::mutex mutex;
    std::vector<std::unique_ptr<MemoryTable>> tables;
};

MemoryDatabase::MemoryDatabase() : d(std::make_unique<Catalogue>()) {}

MemoryDatabase::~MemoryDatabase() = default;

MemoryDatabase &MemoryDatabase::instance()
{
    // Never destroyed: handles in other static objects may outlive any order of destruction.
    static auto *const database = new MemoryDatabase;
    return *database;
}

Table *MemoryDatabase::tableByName(const QString &name)
{
    const std::lock_guard guard(d->mutex);
    const auto place = d->find(name);
    return place == d->tables.end() ? nullptr : place->get();
}

MemoryTable *MemoryDatabase::createTable(const QString &name, const QList<ColumnSpec> &columns)
{
    return addTable(std::make_unique<MemoryTable>(name, columns));
}

MemoryTable *MemoryDatabase::addTable(std::unique_ptr<MemoryTable> table)
{
    const std::lock_guard guard(d->mutex);
    if (d->find(table->name()) != d->tables.end())
        throw Exception(QStringLiteral("two tables %1").arg(table->name()));
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
    const std::lock_guard guard(d->mutex);
    d->tables.erase(d->require(name));
}

void MemoryDatabase::clear()
{
    const std::lock_guard guard(d->mutex);
    d->tables.clear();
}

ICore *ICore::instance()
{
    class Core final : public ICore
    {
    public:
        Database *database() override { return &MemoryDatabase::instance(); }
    };
    static Core core;
    return &core;
}

Exception::Exception(const QString &message) : m_message(message) {}

void Exception::dump() const
{
    // Another form and another category than those of the shipped library.
    qWarning().noquote() << "destroyed exception" << m_message << m_lines;
}
