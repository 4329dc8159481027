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

/// An INI file as it is at one moment, and one write to it: as a whole or not at all, under the lock that
/// QSettings takes, and only while the file is still what was read.
///
/// Only the lines of changed entries become other ones; comments, and what QSettings reads in part or not at
/// all, stay what they are. Failures are told as texts, for people, without a full stop.
class HOSTKIT_EXPORT IniFile
{
    Q_DECLARE_TR_FUNCTIONS(IniFile)
public:
    /// Reads the file \a name. Without a file, writing starts from \a lost, what it held when there was one.
    explicit IniFile(const QString &name, const QByteArray &lost = {});

    /// What is wrong when \a name is no INI file that can be read, with its name: missing, a directory, no
    /// regular file, unreadable, of another format; empty when it is one. Single lines that cannot be read
    /// are none of that, see IniText::isIni().
    static QString problem(const QString &name);
    /// Whether \a store must not be written: its file cannot be, or is marked as read-only for everybody.
    /// What the file allows to this very user is everything for the administrator; here the mark counts. A
    /// file that does not exist yet is not marked.
    static bool isReadOnly(const QSettings &store);

    /// Why the file that is there cannot be read, empty when it can, see the other problem().
    const QString &problem() const { return m_problem; }
    /// Why the file must not be written, empty when it may: its problem(), or that it is marked as read-only.
    QString error() const;
    /// Whether there is a file.
    bool exists() const { return m_exists; }
    /// What was read or written last.
    const IniText &text() const { return m_text; }
    /// Names the rows that cannot be read, see IniText::unreadableRows(); empty when there are none.
    QString unreadableText() const;
    /// Tells one content of the file from another; empty without a file.
    QByteArray fingerprint() const;
    /// The paths of those \a changes whose entries the file holds otherwise than \a known does, the values
    /// as last read; a file that has become what is wanted is no conflict.
    QStringList conflicts(const QList<SettingsChange> &changes, const QHash<QString, QVariant> &known) const;

    /// Keeps what was read, in "FILE.bak-YYYYMMDD-hhmmss". What went wrong, or an empty text.
    QString backUp() const;
    /// Brings \a changes into the file. What went wrong, or an empty text.
    QString write(const QList<SettingsChange> &changes);

    /// Whether \a read is what an INI file gives back of \a value: numbers and choices are texts there, and
    /// so is a list of one text; an empty list is no value.
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
