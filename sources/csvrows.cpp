// SPDX-License-Identifier: MIT
#include <sources/csvrows_p.h>

#include <data/exception.h>

namespace sito {

using namespace Qt::StringLiterals;

bool CsvRows::open()
{
    m_records = m_shape.records();
    if (m_shape.hasHeader)
        readRecord();
    return true;
}

bool CsvRows::next()
{
    const bool isRow = readRecord();
    m_width = m_records->size();
    // Somebody else writes into the file.
    if (m_width > m_shape.names.size() || (!isRow && m_rows != m_shape.rows))
        throw Exception(CsvText::tr("Файл «%1» изменился во время чтения").arg(m_shape.fileName));
    ++m_rows;
    return isRow;
}

bool CsvRows::readRecord()
{
    while (m_shape.next(*m_records)) {
        const bool isHeader = m_shape.hasHeader && !m_hasHeader;
        if (isHeader ? !m_records->isEmptyLine() : m_shape.isRow(*m_records)) {
            m_hasHeader = m_shape.hasHeader;
            return true;
        }
    }
    return false;
}

QVariant CsvRows::value(int column) const
{
    if (isNull(column))
        return {};
    const QStringView field = m_records->field(column);
    return field.isEmpty() ? QVariant(u""_s) : QVariant(field.toString());
}

} // namespace sito
