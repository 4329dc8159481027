// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/settings/initext.h>
#include <hostkit/settings/settingschange.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

class QSettings;

namespace sito {

/// An INI file as it is at one moment, and one write to it. The write is done completely or not at all, under
/// the lock that QSettings takes, and only if the file is still what was read.
///
/// Only the lines of changed entries are replaced. Comments, and lines that QSettings reads in part or not at
/// all, stay as they are. Failures are returned as texts for people, without a full stop.
///
/// **Threads.** Used from one thread at a time.
///
/// **Cost.** The constructor reads the whole file; write() reads it again and writes all of it.
class HOSTKIT_EXPORT IniFile
{
    Q_DECLARE_TR_FUNCTIONS(IniFile)
public:
    /// Reads the file \a name. If there is no file, a write starts from \a lost, its last known content.
    explicit IniFile(const QString &name, const QByteArray &lost = {});

    /// Why \a name cannot be read as an INI file, with its name: missing, a directory, no regular file,
    /// unreadable, of another format. Empty when it can be read. Single unreadable lines are no problem, see
    /// IniText::isIni().
    static QString problem(const QString &name);
    /// Whether \a store must not be written: its file cannot be written, or is marked as read-only for
    /// everybody. An administrator may write such a file all the same; here the mark counts. A file that does
    /// not exist yet is not marked.
    static bool isReadOnly(const QSettings &store);

    /// Why the existing file cannot be read; empty when it can. See the other problem().
    const QString &problem() const { return m_problem; }
    /// Why the file must not be written, empty when it may: its problem(), or that it is marked as read-only.
    QString error() const;
    /// Whether there is a file.
    bool exists() const { return m_exists; }
    /// What was read or written last.
    const IniText &text() const { return m_text; }
    /// Names the rows that cannot be read, see IniText::unreadableRows(); empty when there are none.
    QString unreadableText() const;
    /// A hash of the file's content; empty without a file.
    QByteArray fingerprint() const;
    /// The paths of those \a changes whose entries differ between the file and \a known, the values as last
    /// read. There is no conflict if the file already holds the new value.
    QStringList conflicts(const QList<SettingsChange> &changes, const QHash<QString, QVariant> &known) const;

    /// Writes what was read to "FILE.bak-YYYYMMDD-hhmmss". Returns what went wrong, or an empty text.
    QString backUp() const;
    /// Applies \a changes to the file. Returns what went wrong, or an empty text.
    QString write(const QList<SettingsChange> &changes);

    /// Whether \a read is what is read from an INI file to which \a value was written: numbers, yes or no,
    /// and lists of one text become texts there, and an empty list becomes no value.
    static bool isSame(const QVariant &value, const QVariant &read);

private:
    void read();
    QString replace(const QByteArray &content) const;

    const QString m_name;
    const QString m_shown;
    QString m_problem;
    bool m_exists = false;
    IniText m_text;
};

} // namespace sito
