// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// A store over a private copy of some content, gone with the object. All stores over one file share what one
/// of them read or was given, a private copy shares nothing.
class ScratchStore
{
public:
    explicit ScratchStore(const QByteArray &content, QSettings::Format format = QSettings::IniFormat);

    QSettings *operator->() const { return m_store.get(); }
    QSettings &operator*() const { return *m_store; }
    /// Whether the copy could be made.
    bool isComplete() const { return m_complete; }
    /// Writes the store out and answers its content; null when that failed.
    QByteArray content() const;

private:
    bool m_complete = false;
    QTemporaryDir m_directory;
    std::unique_ptr<QSettings> m_store;
};

/// Throws Exception with what is wrong when \a name is no INI file that can be read: missing, a directory, no
/// regular file, unreadable, of another format. Stores over the file go on with what they have read.
void requireIniFile(const QString &name);

/// Whether \a store must not be written: its file cannot be, or is marked as read-only for everybody. What the
/// file allows to this very user is everything for the administrator; here the mark counts. A file that does
/// not exist yet is not marked.
bool isReadOnlyStore(const QSettings &store);
