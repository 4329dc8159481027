// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>

#include <QString>
#include <QStringList>

namespace sito {

/// How a session of a MariaDB or MySQL server is made one that only reads.
namespace MysqlSession {

/// Options of the Qt SQL driver for \a location. Throws Exception for what the driver cannot do.
QString connectOptions(const SourceLocation &location, int connectSeconds);

/// To be carried out once, before any other statement.
QStringList statements(int lockMilliseconds);

/// Whether a session of \a location must be encrypted; the driver does not insist on it by itself.
bool isEncryptionRequired(const SourceLocation &location);

/// A statement that gives one row where the session is encrypted, and none where it is not.
QString encryptionStatement();

} // namespace MysqlSession

} // namespace sito
