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
    struct Column
    {
        /// Values come with one character in front, which is taken away.
        bool isText = false;
        /// Where it is not negative, values are the first of some bytes, and how many those are stands in
        /// that column.
        int sizeColumn = -1;
        /// Texts come as bytes, which need not be UTF-8.
        bool isBytes = false;
    };

    PostgresRows(const QSqlDatabase &connection, const QString &statement, std::vector<Column> columns);

    bool open() override;
    bool next() override;
    QVariant value(int column) const override;
    std::optional<QByteArray> strayBytes(int column, const QString &text) override;
    void close() override;

private:
    bool fetch();

    const std::vector<Column> m_columns;
    int m_fetched = 0;
};

} // namespace sito
