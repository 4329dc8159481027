// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingschanges.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

class QSettings;

namespace sito {

/// One write to the file of an INI store: looks at the file as it is now, and brings changes into it as a
/// whole or not at all.
///
/// The store itself is not written: what it was given and cannot write would stay in it, hidden from its
/// readers, until a later write succeeds. It reads the new file, and values keep the types which the store
/// knew and the file does not hold.
///
/// Only the lines of changed entries become other ones; comments, and what QSettings reads in part or not at
/// all, stay what they are. Failures are told as texts, for people, without a full stop.
class SettingsFile
{
    Q_DECLARE_TR_FUNCTIONS(SettingsFile)
public:
    /// By path.
    using Values = QHash<QString, QVariant>;

    /// Reads the file of \a store, which must live as long. Without a file, writing starts from \a lost, what it
    /// held when there was one.
    explicit SettingsFile(QSettings &store, const QByteArray &lost = {});

    /// Why the file must not be written, empty when it may: it is no INI file, or it is marked as read-only.
    const QString &error() const { return m_error; }
    /// Whether there is a file.
    bool exists() const { return m_exists; }
    /// Tells one content of the file from another; empty without a file.
    QByteArray fingerprint() const;
    /// What was read or written last.
    const QByteArray &text() const { return m_content; }
    /// What the file holds, apart from the store.
    QSettings &content() const { return *m_now; }
    /// The paths of those \a changes whose entries the file holds otherwise than \a known does, the values
    /// as last read; a file that has become what is wanted is no conflict.
    QStringList conflicts(const QList<SettingsChanges::Change> &changes, const Values &known) const;

    /// Keeps what was read, in "FILE.bak-YYYYMMDD-hhmmss". What went wrong, or an empty text.
    QString backUp();
    /// Brings \a changes into the file, and from there into the store. What went wrong, or an empty text.
    QString write(const QList<SettingsChanges::Change> &changes);
    /// After write(): the paths of lists that read otherwise from an INI file: one of a single item is a text
    /// there, an empty one no value.
    const QStringList &flattened() const { return m_flattened; }
    /// After write(): the copy that alone holds what of the file had to be given up, empty when nothing had.
    const QString &keptIn() const { return m_keptIn; }

private:
    using Changes = QList<SettingsChanges::Change>;
    bool isAsWritten() const;
    QByteArray changed(const Changes &changes) const;
    bool loses(const QByteArray &content, const Changes &changes) const;
    QString replaceFile(const QByteArray &content) const;
    void readAgain(Values typed, bool rewrite);

    QSettings &m_store;
    QString m_name;
    QString m_error;
    bool m_exists = false;
    QByteArray m_content;
    std::unique_ptr<ScratchStore> m_scratch;
    QSettings *m_now = nullptr;
    QStringList m_flattened;
    QString m_copy;
    QString m_keptIn;
};

} // namespace sito
