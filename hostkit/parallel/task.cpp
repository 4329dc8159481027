// SPDX-License-Identifier: MIT
#include <hostkit/parallel/task.h>

#include <hostkit/parallel/startthread_p.h>
#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/threadpool.h>

#include <QBasicTimer>
#include <QCoreApplication>
#include <QEvent>
#include <QThreadPool>
#include <QTimerEvent>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace sito {

namespace {

constexpr int progressInterval = 100;
constexpr std::chrono::milliseconds nextAttempt(10);

QEvent::Type endedEvent()
{
    static const int type = QEvent::registerEventType();
    return QEvent::Type(type);
}

} // namespace

/// One piece of work. The Task owns it; its thread uses it until it has set isFinished.
struct parallel::Task::Run
{
    Work work;
    /// See startAside().
    std::function<void()> aside;
    Done done;
    Failed failed;
    StopSource stop;
    Progress progress;
    std::exception_ptr error;
    /// Guarded by the mutex.
    bool isFinished = false;
};

/// What outlives the Task until the last thread has returned.
struct parallel::Task::Shared
{
    /// Called in the thread. Must not throw.
    void finish(Run &run) noexcept
    {
        std::unique_lock lock(mutex);
        run.isFinished = true;
        finished.notify_all();
        // The run belongs to the Task again. Repeat until there is memory for the event.
        while (receiver && !post())
            finished.wait_for(lock, nextAttempt);
    }

    std::mutex mutex;
    std::condition_variable finished;
    /// Null when nothing is to be reported any longer. Guarded by the mutex.
    QObject *receiver = nullptr;

private:
    bool post() noexcept
    {
        try {
            QCoreApplication::postEvent(receiver, new QEvent(endedEvent()));
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }
};

struct parallel::Task::Private
{
    const std::shared_ptr<Shared> shared = std::make_shared<Shared>();
    std::unique_ptr<Run> current;
    /// Those that were superseded or report nothing.
    std::vector<std::unique_ptr<Run>> others;
    QBasicTimer timer;
    int reported = -1;
};

parallel::Task::Task(QObject *parent) : QObject(parent), d(std::make_unique<Private>())
{
    d->shared->receiver = this;
    endedEvent();
}

parallel::Task::~Task()
{
    requestStop();
    std::unique_lock lock(d->shared->mutex);
    d->shared->receiver = nullptr;
    d->shared->finished.notify_all();
    const auto isFinished = [](const std::unique_ptr<Run> &run) { return !run || run->isFinished; };
    d->shared->finished.wait(lock, [&] {
        return isFinished(d->current) && std::all_of(d->others.begin(), d->others.end(), isFinished);
    });
}

void parallel::Task::launch(Run &run)
{
    startThread([&run, shared = d->shared] {
        try {
            run.work({threadPool()->maxThreadCount(), run.stop.token(), &run.progress});
        } catch (...) {
            run.error = std::current_exception();
        }
        shared->finish(run);
    });
}

void parallel::Task::start(Work work, Done done, Failed failed)
{
    auto run = std::make_unique<Run>();
    run->work = std::move(work);
    run->done = std::move(done);
    run->failed = std::move(failed);
    // Everything that may throw comes before the thread starts. The list of the others always has room for
    // the current work.
    d->others.reserve(d->others.size() + 2);
    d->timer.start(progressInterval, this);
    launch(*run);
    cancel();
    d->current = std::move(run);
    d->reported = -1;
}

void parallel::Task::startAside(std::function<void()> work)
{
    try {
        auto run = std::make_unique<Run>();
        run->work = [&work = run->aside](const Context &) {
            work();
            // Deletes what it holds in the worker, not in the thread that deletes the run.
            work = nullptr;
        };
        d->others.reserve(d->others.size() + 2);
        run->aside.swap(work);
        try {
            launch(*run);
        } catch (...) {
            run->aside.swap(work);
            throw;
        }
        d->others.push_back(std::move(run));
    } catch (const std::bad_alloc &) {
        work();
    }
}

void parallel::Task::requestStop()
{
    if (d->current)
        d->current->stop.requestStop();
}

void parallel::Task::cancel()
{
    if (!d->current)
        return;
    requestStop();
    d->others.push_back(std::move(d->current));
}

bool parallel::Task::isRunning() const
{
    return d->current != nullptr;
}

void parallel::Task::wait()
{
    if (!d->current)
        return;
    {
        std::unique_lock lock(d->shared->mutex);
        d->shared->finished.wait(lock, [this] { return d->current->isFinished; });
    }
    collect();
}

int parallel::Task::percent() const
{
    return d->current ? d->current->progress.percent() : -1;
}

bool parallel::Task::event(QEvent *event)
{
    if (event->type() != endedEvent())
        return QObject::event(event);
    collect();
    return true;
}

void parallel::Task::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != d->timer.timerId()) {
        QObject::timerEvent(event);
        return;
    }
    const int now = percent();
    if (now < 0) {
        d->timer.stop();
    } else if (now > d->reported) {
        d->reported = now;
        Q_EMIT progressed(now);
    }
}

/// Handles work that has ended. Reports last, because the report may delete this object.
void parallel::Task::collect()
{
    std::unique_ptr<Run> run;
    size_t unfinished = 0;
    {
        const std::lock_guard lock(d->shared->mutex);
        const auto behind =
            std::partition(d->others.begin(), d->others.end(),
                           [](const std::unique_ptr<Run> &other) { return !other->isFinished; });
        unfinished = size_t(behind - d->others.begin());
        if (d->current && d->current->isFinished)
            run = std::move(d->current);
    }
    while (d->others.size() > unfinished) {
        const std::unique_ptr<Run> gone = std::move(d->others.back());
        d->others.pop_back();
    }
    if (!run)
        return;
    if (run->error)
        run->failed(run->error);
    else
        run->done();
}

} // namespace sito
