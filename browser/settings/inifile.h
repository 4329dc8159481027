// SPDX-License-Identifier: MIT
#pragma once

class QSettings;
class QString;

namespace sito {

/// Throws Exception with what is wrong when \a name is no INI file that can be read: missing, a directory, no
/// regular file, unreadable, of another format. Stores over the file go on with what they have read.
void requireIniFile(const QString &name);

/// Whether \a store must not be written: its file cannot be, or is marked as read-only for everybody. What the
/// file allows to this very user is everything for the administrator; here the mark counts. A file that does
/// not exist yet is not marked.
bool isReadOnlyStore(const QSettings &store);

} // namespace sito
