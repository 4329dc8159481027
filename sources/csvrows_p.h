// SPDX-License-Identifier: MIT
#pragma once

#include <sources/csvshape_p.h>
#include <sources/sourcerows_p.h>

#include <memory>

namespace sito {

/// The rows of a CSV file. Its errors are thrown as Exception.
class CsvRows : public SourceRows
{
public:
    explicit CsvRows(const CsvShape &shape) : m_shape(shape) {}

    bool open() override;
    bool next() override;
    QVariant value(int column) const override;
    bool isNull(int column) const override { return column >= m_width || m_records->isAbsent(column); }

private:
    /// The next record that is a row or the header.
    bool readRecord();

    const CsvShape m_shape;
    std::unique_ptr<CsvRecords> m_records;
    int m_width = 0;
    bool m_hasHeader = false;
    qint64 m_rows = 0;
};

} // namespace sito
