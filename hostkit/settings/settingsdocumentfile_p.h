// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingschange.h>
#include <hostkit/settings/settingsoutcome.h>
#include <hostkit/settings/storecontent.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class QSettings;

namespace sito {

class IniFile;

/// The file side of a SettingsDocument: the store, what its file held when it was last read or written, what
/// is in conflict, and the writing. Knows no model: its callers say what they want to have written, and what
/// they know of the store.
class SettingsDocumentFile
{
    Q_DECLARE_TR_FUNCTIONS(sito::SettingsDocument)
public:
    /// Reads the file, see read().
    explicit SettingsDocumentFile(std::unique_ptr<QSettings> store);
    ~SettingsDocumentFile();

    QSettings *store() const { return m_store.get(); }
    StoreContent &content() { return m_storeContent; }
    QString name() const;
    bool isAmbiguous() const { return m_ambiguous; }
    const QString &unreadableText() const { return m_unreadable; }

    // The file as it is now, see SettingsDocument.

    bool isGone() const;
    /// \a isManual and \a isReadOnly are for the advice what to do about a file that is gone.
    QString problem(bool isManual, bool isReadOnly) const;
    bool isOutdated() const;
    /// Whether the file differs from what was last read or written, also because it is gone.
    bool isOther() const;
    bool becameAmbiguous() const;
    bool keepsRow(const QString &path) const;

    static SettingsOutcome foundChanged();
    /// Remembers what the file holds now, and has the store read it. Later writes by other programs are
    /// noticed.
    void read();
    /// Writes \a wanted, unless that must be refused. \a known are the values last known to be the store's,
    /// by path; groups have invalid ones. \a isManual is whether changes wait: only then a file that is gone
    /// is created again.
    SettingsOutcome write(const QList<SettingsChange> &wanted, const QHash<QString, QVariant> &known,
                          bool isManual);
    /// See SettingsDocument::acceptConflict().
    void acceptConflict(const QString &path, const QVariant &found);

private:
    Q_DISABLE_COPY_MOVE(SettingsDocumentFile)
    QStringList conflicts(const IniFile &file, const QList<SettingsChange> &wanted,
                          const QHash<QString, QVariant> &known) const;
    static SettingsOutcome conflictOutcome(const IniFile &file, const QList<SettingsChange> &wanted,
                                           const QStringList &paths, bool isManual);
    void readAgain(const QList<SettingsChange> &written, const QByteArray &content);

    const std::unique_ptr<QSettings> m_store;
    StoreContent m_storeContent;
    bool m_ambiguous = false;
    bool m_stale = false; ///< the caller knows something older than what was last read
    QByteArray m_seen;    ///< the fingerprint of what was last read or written
    QByteArray m_content; ///< its content, also after the file has gone
    QByteArray m_safe;    ///< the fingerprint of what was copied or written here, and needs no copy
    QString m_unreadable;
    QHash<QString, QVariant> m_accepted;
};

} // namespace sito
