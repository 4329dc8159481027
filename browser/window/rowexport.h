// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/tableexport.h>

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <vector>

namespace sito {

/// Writes rows into a file, and copies rows to the clipboard, in threads of a pool: whoever uses it goes on
/// working.
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
    /// As stop(). What has not ended by then goes on to its end by itself, and still writes nothing.
    ~RowExport() override;

    /// Writes \a rows into the file \a fileName, which is replaced as a whole or not at all; \a source is as
    /// for exportCsvFile(). \a keeper keeps the table of \a rows alive; it is let go after them, in any
    /// thread. isWriting() must be false.
    void write(TableExport rows, const QString &fileName, const QString &source,
               std::shared_ptr<const void> keeper);
    /// Fills the clipboard with \a rows as soon as all of them are read.
    void copy(TableExport rows, std::shared_ptr<const void> keeper);

    bool isBusy() const { return !m_jobs.empty(); }
    bool isWriting() const;
    /// What is being done, for the user, once that lasts; empty when nothing is.
    QString activity() const;
    /// How much of that is done, in thousandths.
    int progress() const;
    /// Gives up what activity() tells of; cancelled() follows, unless it has just ended.
    void cancel();
    /// Gives up everything, and waits until it has ended, but for no more than a second.
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

    void start(const std::shared_ptr<Job> &job);
    void finish(const std::shared_ptr<Job> &job);
    void tell(Job &job);
    /// What began last and is not given up; null when there is nothing.
    Job *current() const;
    void showProgress();

    /// In the order in which they began.
    std::vector<std::shared_ptr<Job>> m_jobs;
    QTimer m_timer;
};

} // namespace sito
