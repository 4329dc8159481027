// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QByteArray>
#include <QSettings>
#include <QTemporaryDir>

#include <memory>

namespace sito {

/// A settings store over a temporary copy of some content, deleted with this object.
///
/// Within a process, all stores over one file share what one of them has read or written. Reading the file
/// through a second store therefore changes what the first one holds. A temporary copy shares nothing.
///
/// **Threads.** Used from one thread.
///
/// **Cost.** One temporary folder and one file that holds the content.
class HOSTKIT_EXPORT ScratchStore
{
public:
    /// \a content is that of an INI file.
    explicit ScratchStore(const QByteArray &content);

    QSettings *operator->() const { return m_store.get(); }
    QSettings &operator*() const { return *m_store; }
    /// Whether the copy could be made.
    bool isComplete() const { return m_complete; }
    /// Writes the store out and returns its content; null when that failed.
    QByteArray content() const;

private:
    Q_DISABLE_COPY_MOVE(ScratchStore)

    bool m_complete = false;
    QTemporaryDir m_directory;
    std::unique_ptr<QSettings> m_store;
};

} // namespace sito
