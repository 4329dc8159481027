// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>

#include <QString>

namespace sito {

/// What a loader says to PostgreSQL in another way than to other databases.
namespace PostgresDialect {

/// Gives schema, name, object number, and whether the name alone finds it, of all tables that hold rows: those
/// of users in every schema, partitioned ones as a whole.
QString tablesStatement();
/// Gives name, declared type and whether a value is required, of the columns of the table of that object
/// number. Domains are told as the types that they rest on.
QString columnsStatement(qint64 table);

/// Gives why the table of that object number is not to be read, looked at without reading it: whether policies hide
/// rows of it where that is an error; and the name and the owner of a function that planning a query would run, null
/// when there is none. A function of the user, or of a superuser, who can do everything anyway, is not one.
QString obstacleStatement(qint64 table);

/// The name under which a table is listed: with its schema in front where the name alone does not find it. A
/// part that holds a point or a quotation mark is quoted, so that no two tables have the same.
QString listedName(const QString &schema, const QString &table, bool isFoundByName);
QString quoted(const QString &name);

/// What to select for \a column, a column of \a declaredType, so that the driver hands over its value
/// undamaged.
QString expression(const SourceColumn &column, const QString &declaredType);
/// The text of a column that was selected by expression().
QString text(const QString &selected);

} // namespace PostgresDialect

} // namespace sito
