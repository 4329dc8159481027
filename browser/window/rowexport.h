// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/tableexport.h>

#include <QList>
#include <QObject>
#include <QString>

#include <exception>
#include <functional>
#include <memory>

class QMimeData;

namespace sito {

/// Writes rows into a file, and copies rows to the clipboard, in threads of the library's pool: whoever uses
/// it goes on working.
///
/// One file is written at a time, beside at most one copy; a new copy takes the place of one that is not
/// ready. Each of them is answered by exactly one signal, from the event loop, but for a copy that was
/// superseded.
///
/// Used from the GUI thread.
class RowExport : public QObject
{
    Q_OBJECT
public:
    explicit RowExport(QObject *parent = nullptr);
    /// As stop(), but emits nothing.
    ~RowExport() override;

    /// Writes \a rows into the file \a fileName, which is replaced as a whole or not at all; \a source is as
    /// for exportCsvFile(). \a keeper keeps the table of \a rows alive; it is let go after them, in any
    /// thread. isWriting() must be false. Throws std::bad_alloc.
    void write(TableExport rows, const QString &fileName, const QString &source,
               std::shared_ptr<const void> keeper);
    /// Fills the clipboard with \a rows as soon as all of them are read. Throws std::bad_alloc.
    void copy(TableExport rows, std::shared_ptr<const void> keeper);

    bool isBusy() const { return !m_running.isEmpty(); }
    bool isWriting() const;
    /// What is being done, for the user, once that lasts; empty when nothing is.
    QString activity() const;
    /// How much of that is done, in percent.
    int progress() const;
    /// Gives up what activity() tells of; cancelled() follows, unless it has just ended.
    void cancel();
    /// Gives up everything, and waits until it has ended: for some rows, but not for the lock of their table;
    /// where texts of cells are read from a source, for its next answer.
    void stop();

Q_SIGNALS:
    void written(qint64 rows);
    void copied(qint64 rows);
    void cancelled();
    /// Why the file could not be written or the rows not be copied.
    void failed(const QString &message);
    /// What the functions above say has changed.
    void changed();

private:
    struct Job;
    using Work = std::function<std::unique_ptr<QMimeData>(const TableExport &, const parallel::Context &)>;

    void start(Job &job, TableExport rows, std::shared_ptr<const void> keeper, const QString &activity,
               Work work);
    void finish(Job &job, std::unique_ptr<QMimeData> copied);
    void fail(Job &job, const std::exception_ptr &error);
    void show(Job &job);
    /// What began last and is not given up; null when there is nothing.
    Job *current() const;

    const std::unique_ptr<Job> m_file;
    const std::unique_ptr<Job> m_copy;
    /// In the order in which they began.
    QList<Job *> m_running;
};

} // namespace sito
