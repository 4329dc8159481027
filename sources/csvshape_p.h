// SPDX-License-Identifier: MIT
#pragma once

#include <sources/csvrecords_p.h>
#include <sources/csvtext_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>

namespace sito {

struct SourceLocation;

/// What a CSV file is like, found by reading it once: how it is written, and how many rows and columns it
/// has.
struct CsvShape
{
    QString fileName;
    CsvEncoding encoding = CsvEncoding::Utf8;
    QChar separator;
    bool hasHeader = false;
    /// What has been read, and when it was written: later additions do not count.
    qint64 size = 0;
    QDateTime modified;
    /// A name for each column; empty ones where the header has none.
    QStringList names;
    qint64 rows = 0;
    /// Lines for the user.
    QStringList notes;

    /// Looks at the file of \a location, for all that it does not say itself. Throws Exception where that is
    /// no CSV file, and parallel::Stopped.
    static CsvShape find(const SourceLocation &location, const parallel::StopToken &stop);

    /// Whether the file is still the one that was looked at.
    bool isCurrent() const;
    /// Its records from the first one, the header, too.
    std::unique_ptr<CsvRecords> records() const;
    /// Reads the next of \a records. Throws Exception with the file, the line and the column where they are
    /// malformed.
    bool next(CsvRecords &records) const;
    /// Whether \a record, one behind the header, is a row. In a file of several columns empty lines are none.
    bool isRow(const CsvRecords &record) const { return names.size() == 1 || !record.isEmptyLine(); }
};

} // namespace sito
