// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/parallel/context.h>

#include <QObject>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace sito {

namespace parallel {

/// Work that runs in a thread of the pool for an object of the GUI, and reports to it through its event loop.
///
/// One piece of work at a time is current: start() supersedes the one before, which is asked to stop and no
/// longer reports. Superseded work may still run beside the current work for a while. What was passed to
/// start() is deleted in the thread of the Task.
///
/// **Threads.** Created, used and deleted in one thread that has an event loop; the work runs in
/// parallel::threadPool().
///
/// **Cost.** One thread of the pool for each piece of work, beside those over which it splits itself; a look
/// at the progress every tenth of a second while it runs.
class HOSTKIT_EXPORT Task : public QObject
{
    Q_OBJECT
public:
    /// Called in the thread, with the number of threads over which it may split itself, the stop and the
    /// progress.
    using Work = std::function<void(const Context &)>;
    using Done = std::function<void()>;
    using Failed = std::function<void(const std::exception_ptr &)>;

    explicit Task(QObject *parent = nullptr);
    /// Asks all work to stop and waits for it. Nothing is reported afterwards.
    ~Task() override;

    /// Calls \a work in a thread of the pool, at once. Then calls exactly one of \a done and \a failed in the
    /// thread of this object, unless the work was superseded or cancelled meanwhile. \a failed gets what
    /// \a work threw, Stopped included. Both may start the next work and may delete this object.
    ///
    /// Throws std::bad_alloc; then the current work continues.
    void start(Work work, Done done, Failed failed);
    /// As above; \a done gets what \a work returned.
    template <typename Result>
    void start(std::function<Result(const Context &)> work,
               std::type_identity_t<std::function<void(Result)>> done, Failed failed)
    {
        const auto result = std::make_shared<std::optional<Result>>();
        start([work = std::move(work), result](const Context &context) { result->emplace(work(context)); },
              [done = std::move(done), result] { done(*std::move(*result)); }, std::move(failed));
    }
    /// Calls \a work in a thread of the pool, beside the current work, and reports nothing. It must not
    /// throw. Calls it in the calling thread when there is not enough memory for a thread.
    void startAside(std::function<void()> work);

    /// Asks the current work to stop; it reports what follows, as a rule Stopped.
    void requestStop();
    /// Asks the current work to stop; it will report nothing.
    void cancel();
    /// Whether there is work that will report.
    bool isRunning() const;
    /// Blocks until the current work, if any, has ended and reported.
    void wait();
    /// The progress of the current work, 0 to 100; -1 when there is none.
    int percent() const;

Q_SIGNALS:
    /// Emitted at most every tenth of a second, when the progress of the current work has changed; 0 to 100.
    void progressed(int percent);

protected:
    bool event(QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    struct Q_DECL_HIDDEN Run;
    struct Q_DECL_HIDDEN Shared;
    struct Q_DECL_HIDDEN Private;

    void launch(Run &run);
    void collect();

    const std::unique_ptr<Private> d;
};

} // namespace parallel

} // namespace sito
