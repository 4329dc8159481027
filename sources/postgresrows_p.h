// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>

#include <vector>

namespace sito {

/// The rows of a cursor, which fetches one portion at a time; so a reading that is given up need not wait for
/// the rest. Inside a transaction only.
class PostgresRows : public SqlRows
{
public:
    /// Of the columns that \a texts marks, values come with one character in front, which is taken away.
    PostgresRows(const QSqlDatabase &connection, const QString &statement, std::vector<bool> texts);

    bool open() override;
    bool next() override;
    QVariant value(int column) const override;
    void close() override;

private:
    bool fetch();

    const std::vector<bool> m_texts;
    int m_fetched = 0;
};

} // namespace sito
