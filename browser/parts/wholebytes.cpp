// SPDX-License-Identifier: MIT
#include <browser/parts/wholebytes.h>

#include <sources/bytesreader.h>

#include <hostkit/views/tableexport.h>

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>

namespace sito {

/// Their digits are held in memory several times, two bytes for each.
static constexpr qint64 mostWrittenBytes = 64 << 20;

void writeWholeBytes(TableExport &rows, std::shared_ptr<BytesReader> reader)
{
    const QList<int> columns = reader->columns();
    // The reader ends in the thread that has written the rows: nobody else keeps it.
    auto text = [reader = std::move(reader)](const Record &row, int column, const QString &shown,
                                             const parallel::StopToken &stop) {
        const std::optional<QByteArray> bytes = reader->read(row, column, mostWrittenBytes, stop);
        if (!bytes)
            return std::optional(shown);
        return bytes->isNull() ? std::nullopt : std::optional(QString::fromLatin1(bytes->toHex()));
    };
    rows.setCellText(columns, std::move(text));
}

} // namespace sito
