// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>

namespace sito {

/// Tells texts from bytes that are none: SQLite hands out some character or other for a stray or missing
/// byte. Reads the same rows again, bytes in place of texts, as far as it is asked.
class SqliteRows : public SqlRows
{
public:
    /// \a bytesStatement must give the rows in the order of \a statement; it is empty for a database whose
    /// texts cannot be checked.
    SqliteRows(const QSqlDatabase &connection, const QString &statement, const QString &bytesStatement);

    bool next() override;
    bool isText(int column, const QString &text) override;

private:
    const QString m_bytesStatement;
    QSqlQuery m_bytes;
    qint64 m_row = -1;
    qint64 m_bytesRow = -1;
};

} // namespace sito
