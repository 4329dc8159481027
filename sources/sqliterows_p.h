// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>

#include <vector>

namespace sito {

/// Tells texts from bytes that are none: SQLite hands out some character or other for a stray or missing
/// byte. Reads the same rows again, bytes in place of texts, as far as it is asked.
class SqliteRows : public SqlRows
{
public:
    /// \a bytesStatement must give the rows in the order of \a statement; it is empty for a database whose
    /// texts cannot be checked. \a sizeColumns is empty, or tells of each column where the size of bytes
    /// stands of which it gives only the first; negative for a column that does not.
    SqliteRows(const QSqlDatabase &connection, const QString &statement, const QString &bytesStatement,
               std::vector<int> sizeColumns);

    bool next() override;
    QVariant value(int column) const override;
    std::optional<QByteArray> strayBytes(int column, const QString &text) override;

private:
    const QString m_bytesStatement;
    const std::vector<int> m_sizeColumns;
    QSqlQuery m_bytes;
    qint64 m_row = -1;
    qint64 m_bytesRow = -1;
};

} // namespace sito
