// SPDX-License-Identifier: MIT
#include <sources/bytesreader.h>

#include <sources/sourcecell_p.h>
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>
#include <sources/tableshape_p.h>

#include <hostkit/parallel/tablelock.h>

#include <database/memorytable.h>

#include <data/record.h>

#include <QScopeGuard>

#include <optional>
#include <utility>

namespace sito {

struct BytesReader::Private
{
    const SourceLocation location;
    const MemoryTable &table;
    const std::shared_ptr<const TableShape> shape;
    std::optional<TableLoader> loader = {};
    /// As the connection has the table; nothing before it was asked.
    std::optional<TableShape> present = {};
};

BytesReader::BytesReader(const SourceLocation &location, const MemoryTable &table,
                         std::shared_ptr<const TableShape> shape)
    : d(new Private{.location = location, .table = table, .shape = std::move(shape)})
{
}

BytesReader::~BytesReader() = default;

QList<int> BytesReader::columns() const
{
    return d->shape->bytesColumns();
}

std::optional<QByteArray> BytesReader::read(const Record &row, int column, qint64 limit,
                                            const parallel::StopToken &stop)
{
    SourceCell cell;
    parallel::underLock(d->table, stop, [&] { cell = SourceCell::of(d->table, row, column, limit); });
    cell.requireBytes(*d->shape);
    if (!d->loader)
        d->loader.emplace(d->location, stop);
    auto disconnect = qScopeGuard([this] {
        d->present.reset();
        d->loader.reset();
    });
    const TableSource &origin = d->loader->origin();
    std::optional<QByteArray> bytes;
    {
        const auto snapshot = qScopeGuard(origin.beginSnapshot());
        if (!d->present)
            d->present = cell.presentShape(origin, *d->shape);
        bytes = origin.bytes(*d->present, cell, stop);
    }
    disconnect.dismiss();
    return bytes;
}

} // namespace sito
