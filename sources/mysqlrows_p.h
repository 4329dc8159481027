// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>

#include <vector>

namespace sito {

/// Rows of MariaDB and MySQL. The driver copies all rows of a statement before it gives the first one, so
/// that a table with a key of whole numbers is read in portions, in the order of the key. Undoes what the
/// statement did to keep the driver from changing values.
class MysqlRows : public SqlRows
{
public:
    struct Column
    {
        enum Kind {
            Plain,
            Text,   ///< with a character in front
            Double, ///< as a text with a character in front
            Float,  ///< the same of the double that it is
            Bytes,  ///< only the first of them
        };

        Kind kind = Plain;
        /// Bytes: where their number stands.
        int sizeColumn = -1;
    };

    /// \a key is the name of the key, quoted, whose value stands in the last column; empty where there is
    /// none.
    MysqlRows(const QSqlDatabase &connection, const QString &statement, const QString &key,
              std::vector<Column> columns);

    bool open() override;
    bool next() override;
    QVariant value(int column) const override;

private:
    bool readPortion(const QString &condition);
    QString text(int column) const;

    const QString m_key;
    const std::vector<Column> m_columns;
    /// Of the portion that is being read.
    int m_rows = 0;
    QString m_lastKey;
};

} // namespace sito
