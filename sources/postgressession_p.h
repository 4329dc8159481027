// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>

#include <QString>
#include <QStringList>

namespace sito {

/// The session in which tables of PostgreSQL are read: one that runs nothing that others planted in the
/// database, and changes nothing.
///
/// It finds no name that is not qualified, reads only, and refuses a table of which policies would hide rows.
namespace PostgresSession {

/// Options of the Qt SQL driver for \a location. The session is safe before the driver's own first statement.
/// What the user asks for in PGOPTIONS, or in the service of PGSERVICE, holds as far as it does not
/// contradict that. Throws Exception for the name of a file that the driver cannot be given.
QString connectOptions(const SourceLocation &location, int connectSeconds, int lockMilliseconds);

/// To be carried out once, outside a transaction, before any other statement: they make the session safe
/// where a pool of connections dropped the options, and keep what schemas() gives.
QStringList statements();

/// An SQL expression: the schemas in which the user's names are found, in order, as an array of names. Those
/// of the search path of a session that was not made safe.
QString schemas();

} // namespace PostgresSession

} // namespace sito
