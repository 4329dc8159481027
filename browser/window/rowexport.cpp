// SPDX-License-Identifier: MIT
#include <browser/window/rowexport.h>

#include <hostkit/parallel/task.h>
#include <hostkit/text/exceptiontext.h>

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>

#include <algorithm>
#include <cassert>
#include <utility>

namespace sito {

/// The file or the copy.
struct RowExport::Job
{
    QString activity = {};
    qint64 rowCount = 0;
    /// Whether it lasts: what is done sooner is not worth a progress bar.
    bool isShown = false;
    bool isGivenUp = false;
    /// Last: it waits for its thread.
    parallel::Task task;
};

RowExport::RowExport(QObject *parent)
    : QObject(parent), m_file(std::make_unique<Job>()), m_copy(std::make_unique<Job>())
{
    for (Job *job : {m_file.get(), m_copy.get()})
        connect(&job->task, &parallel::Task::progressed, this, [this, job] { show(*job); });
}

RowExport::~RowExport()
{
    // Both, before the first is waited for.
    for (Job *job : {m_file.get(), m_copy.get()})
        job->task.requestStop();
}

void RowExport::write(TableExport rows, const QString &fileName, const QString &source,
                      std::shared_ptr<const void> keeper)
{
    assert(!isWriting());
    start(*m_file, std::move(rows), std::move(keeper), tr("Запись в %1").arg(QFileInfo(fileName).fileName()),
          [fileName, source](const TableExport &taken, const parallel::Context &context) {
              exportCsvFile(fileName, taken, source, context);
              return nullptr;
          });
}

void RowExport::copy(TableExport rows, std::shared_ptr<const void> keeper)
{
    start(*m_copy, std::move(rows), std::move(keeper), tr("Копирование"),
          [home = thread()](const TableExport &taken, const parallel::Context &context) {
              std::unique_ptr<QMimeData> copied = taken.mimeData(context);
              copied->moveToThread(home);
              return copied;
          });
}

/// What is under way of \a job is superseded.
void RowExport::start(Job &job, TableExport rows, std::shared_ptr<const void> keeper, const QString &activity,
                      Work work)
{
    // The rows lie in what the keeper holds, and so go first.
    struct Content
    {
        std::shared_ptr<const void> keeper;
        TableExport rows;
    };
    const qint64 rowCount = rows.rowCount();
    auto content = std::make_shared<Content>(Content{std::move(keeper), std::move(rows)});
    job.task.start<std::unique_ptr<QMimeData>>(
        [content = std::move(content), work = std::move(work)](const parallel::Context &context) mutable {
            // To be deleted here: many rows take their time.
            const std::shared_ptr<Content> taken = std::move(content);
            return work(taken->rows, context);
        },
        [this, &job](std::unique_ptr<QMimeData> copied) { finish(job, std::move(copied)); },
        [this, &job](const std::exception_ptr &error) { fail(job, error); });
    job.activity = activity;
    job.rowCount = rowCount;
    job.isShown = job.isGivenUp = false;
    m_running.removeOne(&job);
    m_running.append(&job);
    Q_EMIT changed();
}

void RowExport::finish(Job &job, std::unique_ptr<QMimeData> copied)
{
    m_running.removeOne(&job);
    if (copied) {
        QGuiApplication::clipboard()->setMimeData(copied.release());
        Q_EMIT this->copied(job.rowCount);
    } else {
        Q_EMIT written(job.rowCount);
    }
    Q_EMIT changed();
}

void RowExport::fail(Job &job, const std::exception_ptr &error)
{
    m_running.removeOne(&job);
    try {
        std::rethrow_exception(error);
    } catch (const parallel::Stopped &) {
        Q_EMIT cancelled();
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
    }
    Q_EMIT changed();
}

void RowExport::show(Job &job)
{
    job.isShown = true;
    Q_EMIT changed();
}

bool RowExport::isWriting() const
{
    return m_running.contains(m_file.get());
}

RowExport::Job *RowExport::current() const
{
    const auto job =
        std::find_if(m_running.rbegin(), m_running.rend(), [](const Job *one) { return !one->isGivenUp; });
    return job == m_running.rend() ? nullptr : *job;
}

QString RowExport::activity() const
{
    const Job *job = current();
    return job && job->isShown ? job->activity : QString();
}

int RowExport::progress() const
{
    const Job *job = current();
    return job ? std::max(0, job->task.percent()) : 0;
}

void RowExport::cancel()
{
    if (Job *job = current()) {
        job->isGivenUp = true;
        job->task.requestStop();
        Q_EMIT changed();
    }
}

void RowExport::stop()
{
    const QList<Job *> running = m_running;
    for (Job *job : running)
        job->task.requestStop();
    for (Job *job : running)
        job->task.wait();
}

} // namespace sito
