// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>
#include <sources/sourcerows_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sito {

/// How one kind of source is asked for its tables and their rows. What fails throws Exception.
class TableSource
{
    Q_DISABLE_COPY_MOVE(TableSource)
public:
    struct Table
    {
        QString name;
        /// As statements name it; empty when they cannot.
        QString quotedName;
        /// PostgreSQL: of the object. SQLite: of the first page; virtual tables have none.
        qint64 number = 0;
        /// A view or a foreign table, whose rows are not counted: that would compute or fetch them all.
        bool isView = false;
    };
    struct Column
    {
        QString name;
        QString declaredType;
        bool nullable = true;
        /// Whether it belongs to the primary key.
        bool isKey = false;
        /// Its place among the columns of a file that declares no types.
        int place = 0;

        bool operator==(const Column &) const = default;
    };

    virtual ~TableSource() = default;

    /// \a error, which was met in \a table if that has a name, with the name of the source.
    virtual QString errorText(const QString &error, const QString &table) const = 0;
    /// Whether there is still an answer to be had.
    virtual bool isAlive() const = 0;
    /// Whether columns declare types, to which a strict load holds them.
    virtual bool declaresTypes() const { return true; }

    /// With views, without the source's own tables, in any order.
    virtual QList<Table> tables() const = 0;
    virtual QList<Column> columns(const Table &table) const = 0;
    /// What \a column becomes; nothing, where \a isStrict, for a type that has no place in a table.
    virtual std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const = 0;
    /// Nothing when \a stop was requested. Not for views.
    virtual std::optional<qint64> rowCount(const Table &table, const parallel::StopToken &stop) const = 0;
    /// The values of \a columns in all rows of \a table; \a declared is what columns() gave.
    virtual std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                             const std::vector<SourceColumn> &columns) const = 0;
    /// Lines for the user about \a table that are about no column alone.
    virtual QStringList notes(const Table &) const { return {}; }
    /// A text that differs, as long as this object lives, once a row of a table has changed; empty when that
    /// cannot be told without reading. What views compute, and what foreign tables hold, may change without
    /// it; so may files, whose size and time tell of that.
    virtual QString changeMark() const { return {}; }
    /// From now on several readings see the same rows, where the source can do that. The function that is
    /// returned ends it, and must be called.
    virtual std::function<void()> beginSnapshot() const = 0;

protected:
    TableSource() = default;
};

} // namespace sito
