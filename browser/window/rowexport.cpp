// SPDX-License-Identifier: MIT
#include <browser/window/rowexport.h>

#include <hostkit/parallel/threadpool.h>
#include <hostkit/text/exceptiontext.h>

#include <QClipboard>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace sito {

namespace {

using namespace std::chrono_literals;

/// What is done sooner is not worth a progress bar.
constexpr std::chrono::milliseconds progressInterval = 100ms;
constexpr std::chrono::milliseconds longestWait = 1s;

} // namespace

/// Shared by its thread, the object that began it, and the event that brings the result.
struct RowExport::Job
{
    enum class End { Done, Cancelled, Failed };

    static void run(const std::shared_ptr<Job> &job);
    void work();
    bool isCopy() const { return fileName.isEmpty(); }

    /// Let go after the rows, which lie in its tables.
    std::shared_ptr<const void> keeper;
    std::optional<TableExport> rows;
    qint64 rowCount = 0;
    /// Empty for the clipboard.
    QString fileName = {};
    QString source = {};
    QString activity = {};
    /// Whether it lasts.
    bool isShown = false;
    /// By another copy.
    bool isSuperseded = false;
    /// Where the result is used.
    QThread *home = nullptr;

    std::atomic<bool> isCancelled = false;
    std::atomic<qint64> done = 0;
    std::atomic<qint64> total = 0;

    End end = End::Cancelled;
    QString error;
    std::unique_ptr<QMimeData> copied;

    /// Guards the rest.
    std::mutex mutex;
    std::condition_variable ended;
    bool hasEnded = false;
    /// Null once nobody waits for the result.
    RowExport *owner = nullptr;
};

/// In a thread of the pool.
void RowExport::Job::run(const std::shared_ptr<Job> &job)
{
    try {
        job->work();
    } catch (...) {
        job->end = End::Failed;
        job->error = currentExceptionText();
    }
    job->rows.reset();
    job->keeper.reset();
    const std::lock_guard guard(job->mutex);
    job->hasEnded = true;
    job->ended.notify_all();
    if (job->owner) {
        QMetaObject::invokeMethod(
            job->owner, [owner = job->owner, job] { owner->finish(job); }, Qt::QueuedConnection);
    }
}

void RowExport::Job::work()
{
    const auto count = [this](qint64 rowsDone, qint64 rowsTotal) {
        done = rowsDone;
        total = rowsTotal;
        return !isCancelled;
    };
    bool isDone = false;
    if (!isCopy()) {
        isDone = exportCsvFile(fileName, *rows, source, count);
    } else {
        copied = rows->mimeData(count);
        isDone = copied != nullptr;
        if (isDone)
            copied->moveToThread(home);
    }
    end = isDone ? End::Done : End::Cancelled;
}

RowExport::RowExport(QObject *parent) : QObject(parent)
{
    m_timer.setInterval(progressInterval);
    connect(&m_timer, &QTimer::timeout, this, &RowExport::showProgress);
}

RowExport::~RowExport()
{
    stop();
    for (const std::shared_ptr<Job> &job : m_jobs) {
        const std::lock_guard guard(job->mutex);
        job->owner = nullptr;
    }
}

void RowExport::write(TableExport rows, const QString &fileName, const QString &source,
                      std::shared_ptr<const void> keeper)
{
    Q_ASSERT(!isWriting());
    auto job = std::make_shared<Job>();
    job->keeper = std::move(keeper);
    job->rows = std::move(rows);
    job->fileName = fileName;
    job->source = source;
    job->activity = tr("Запись в %1").arg(QFileInfo(fileName).fileName());
    start(job);
}

void RowExport::copy(TableExport rows, std::shared_ptr<const void> keeper)
{
    for (const std::shared_ptr<Job> &job : m_jobs) {
        if (job->isCopy())
            job->isCancelled = job->isSuperseded = true;
    }
    auto job = std::make_shared<Job>();
    job->keeper = std::move(keeper);
    job->rows = std::move(rows);
    job->activity = tr("Копирование");
    start(job);
}

void RowExport::start(const std::shared_ptr<Job> &job)
{
    job->rowCount = job->rows->rowCount();
    job->owner = this;
    job->home = thread();
    m_jobs.push_back(job);
    if (!m_timer.isActive())
        m_timer.start();
    parallel::startThread([job] { Job::run(job); });
    Q_EMIT changed();
}

void RowExport::finish(const std::shared_ptr<Job> &job)
{
    std::erase(m_jobs, job);
    if (m_jobs.empty())
        m_timer.stop();
    if (!job->isSuperseded)
        tell(*job);
    Q_EMIT changed();
}

void RowExport::tell(Job &job)
{
    switch (job.end) {
    case Job::End::Done:
        if (job.isCopy()) {
            QGuiApplication::clipboard()->setMimeData(job.copied.release());
            Q_EMIT copied(job.rowCount);
        } else {
            Q_EMIT written(job.rowCount);
        }
        break;
    case Job::End::Cancelled:
        Q_EMIT cancelled();
        break;
    case Job::End::Failed:
        Q_EMIT failed(job.error);
        break;
    }
}

bool RowExport::isWriting() const
{
    return std::any_of(m_jobs.begin(), m_jobs.end(),
                       [](const std::shared_ptr<Job> &job) { return !job->isCopy(); });
}

RowExport::Job *RowExport::current() const
{
    const auto job = std::find_if(m_jobs.rbegin(), m_jobs.rend(),
                                  [](const std::shared_ptr<Job> &one) { return !one->isCancelled; });
    return job == m_jobs.rend() ? nullptr : job->get();
}

QString RowExport::activity() const
{
    const Job *job = current();
    return job && job->isShown ? job->activity : QString();
}

int RowExport::progress() const
{
    const Job *job = current();
    const qint64 total = job ? job->total.load() : 0;
    return total > 0 ? int(job->done * 1000 / total) : 0;
}

void RowExport::showProgress()
{
    for (const std::shared_ptr<Job> &job : m_jobs)
        job->isShown = true;
    Q_EMIT changed();
}

void RowExport::cancel()
{
    if (Job *job = current()) {
        job->isCancelled = true;
        Q_EMIT changed();
    }
}

void RowExport::stop()
{
    for (const std::shared_ptr<Job> &job : m_jobs)
        job->isCancelled = true;
    const QDeadlineTimer deadline(longestWait);
    for (const std::shared_ptr<Job> &job : m_jobs) {
        std::unique_lock lock(job->mutex);
        job->ended.wait_for(lock, deadline.remainingTimeAsDuration(), [&job] { return job->hasEnded; });
    }
}

} // namespace sito
