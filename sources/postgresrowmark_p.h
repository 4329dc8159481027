// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace sito {

/// By what PostgreSQL tells which rows of a table are new or changed: every row carries the number of the
/// transaction that wrote it (`xmin`), and a snapshot names the least number that was still at work (its own
/// `xmin`). What the snapshot did not show was written by that transaction, by a later one, or by a part of
/// one: what follows a `SAVEPOINT` has a number of its own, larger than that of its transaction.
///
/// Rows that the server has frozen keep their number, but for those written before the server was a 9.4.
/// Numbers are used again after 2^32 transactions, so only ages are compared. A very old row may look young;
/// then it is read without need.
namespace PostgresRowMark {

/// Gives whether rows of the table with that object number, on which a lock must be held, can be told; what
/// must stay the same for it: the parts of the table, their columns, settings by which texts are written; the
/// bounds of the snapshot; and the object numbers of the parts.
QString statement(qint64 table);
/// Whether values of a type, as PostgresDialect::columns() gives it, are written in the same way as long as
/// nobody writes the row. Not those of enumerations, whose labels may be renamed, of composite types, of
/// types that are names of objects, or of types that others defined.
bool keepsItsText(const QString &declaredType);
/// The type, without digits, by which values of a type that grow are compared; empty for any other type.
QString comparedType(const QString &declaredType);
/// Only rows of \a parts, as statement() gives them: others may be attached to a table that is locked.
QString partsCondition(const QString &parts);
/// Rows that the snapshot with the bounds \a before did not show, in the snapshot with the bounds \a now;
/// empty after so many transactions that ages would come near to their end.
QString changedCondition(const QString &before, const QString &now);

} // namespace PostgresRowMark

} // namespace sito
