// SPDX-License-Identifier: MIT
#include <browser/parts/wholebytes.h>

#include <sources/bytesreader.h>

#include <hostkit/views/tableexport.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace sito {

/// A line of a file is held in memory as a text.
static constexpr qint64 mostWrittenBytes = 256 << 20;

void writeWholeBytes(TableExport &rows, const std::shared_ptr<BytesReader> &reader)
{
    const auto text = [reader](const Record &row, int column, const QString &shown,
                               const parallel::StopToken &stop) {
        const std::optional<QByteArray> bytes = reader->read(row, column, mostWrittenBytes, stop);
        if (!bytes)
            return std::optional(shown);
        return bytes->isNull() ? std::nullopt : std::optional(QString::fromLatin1(bytes->toHex()));
    };
    rows.setCellText(reader->columns(), text);
}

} // namespace sito
