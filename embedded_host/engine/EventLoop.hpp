#pragma once

#include "embedded_host/engine/InterpreterObserver.hpp"
#include "embedded_host/engine/Interruption.hpp"
#include "embedded_host/engine/TaskOwner.hpp"
#include "host/Export.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace tovrinhost {

/// The interpreter thread's queue: requests, and callback tasks of timers, in the order in which they came.
///
///     any thread                     interpreter thread
///     post, submit --> m_arrived --> m_waiting --> run
///                      (locked)      (its own)
///
/// The interpreter collects what has arrived in one go, once nothing is left of what it has that may run: so the
/// lock is taken once for many entries. Only what is urgent is collected at once, and goes in front.
///
/// Threading: `post`, `submit`, `wake`, `interrupt`: any thread. Everything else: the interpreter thread.
/// Ownership: owns what is queued; an entry is destroyed without the lock held.
/// Ordering: arrival order. While the interpreter is not idle but pumps, requests that want it idle stay behind,
/// and so do the tasks of an owner whose task is running.
/// Lock order: m_mutex is taken alone.
class TOVRINHOST_API EventLoop {
public:
    using Work = std::function<void()>;
    using Clock = tovrintimer::SteadyClock;
    using Deadline = std::optional<Clock::time_point>;

    enum class When { Idle, AtEventLoop };

    /// How the interpreter stands when it looks for work.
    enum class State { Idle, Pumping };

    /// Queues a request, which must not throw, and wakes the interpreter. Dropped once the loop has stopped.
    void post(When when, Work request);

    /// Like `post`, but before everything that waits.
    void postUrgent(Work request);

    /// Queues a callback task. It wakes the interpreter itself only if `wakes`.
    ///
    /// The task keeps its owner for as long as there is a copy of it: the queue does so by that alone.
    ///
    /// Where another thread than the interpreter's brings more waiting tasks than `limit`, the owner's doors close
    /// behind the last of them; what such a thread brings to closed doors is dropped.
    /// \returns whether the doors have closed
    bool submit(TaskOwner& owner, Work task, bool wakes,
        std::size_t limit = std::numeric_limits<std::size_t>::max(), const TaskNote& note = {});

    /// Makes the interpreter look for work.
    void wake();

    /// Drops the owner's waiting tasks but for the first `keep`, and from now on whatever other threads submit.
    void close(TaskOwner& owner, std::size_t keep);

    /// How many of the owner's tasks wait.
    static std::size_t pending(const TaskOwner& owner);

    /// Runs the owner's waiting tasks at once, out of turn.
    void runPending(const TaskOwner& owner);

    /// Runs what comes, until `done` or the deadline. What was waiting before the call is run even if the deadline
    /// passes meanwhile.
    /// \returns whether `done` holds
    /// \throws Interrupted
    bool runUntil(State state, const std::function<bool()>& done, const Deadline& deadline = std::nullopt);

    /// What `runWhatCame` has run, the most telling of it.
    enum class Ran { Nothing, Requests, Tasks };

    /// Runs what has come until now, without waiting.
    /// \throws Interrupted
    Ran runWhatCame(State state);

    /// How many entries have come so far.
    std::uint64_t arrivals() const;

    static constexpr std::uint64_t anyArrival = std::numeric_limits<std::uint64_t>::max();

    /// Runs the first that may run of what waits, if there is one.
    /// \param arrivedBefore only one of the first so many that have come
    Ran runOne(State state, std::uint64_t arrivedBefore = anyArrival)
    {
        look();
        return runNext(state, arrivedBefore);
    }

    /// What its owner noted of the first of its TimerFcns that wait.
    std::optional<TaskNote> firstTimerFcn(const TaskOwner& owner) const;

    /// When the interpreter turned to what it is at: it looks at the clock as it begins to look for work, as it
    /// wakes up, and as an entry has been run.
    Clock::time_point turnedAt() const { return m_turnedAt; }

    /// Whether nothing waits.
    bool isEmpty() const;

    /// The body of the interpreter thread.
    void runUntilStopped();

    /// Ends `runUntilStopped`. Waiting entries are dropped, and so is whatever comes later.
    void stop();

    /// Makes each pumping call give up, until it is cleared. Engine::interrupt is for the code that runs, too.
    void interrupt(Interruption why);
    void clearInterruption() { m_interruption = Interruption::None; }
    Interruption interruption() const { return m_interruption; }

    /// Has this called each time that something has come, on the thread that brought it and with no lock held.
    /// Before anything comes. \param tell must not throw
    void tellArrivals(std::function<void()> tell) { m_tellArrival = std::move(tell); }

    /// \param observer null for none
    void setObserver(InterpreterObserver* observer) { m_observer = observer; }
    InterpreterObserver* observer() const { return m_observer; }

private:
    struct Entry {
        When when;
        Work work;
        TaskOwner* owner; ///< null for a request; kept by the work
        TaskNote note;
        std::uint64_t arrival = 0;
    };

    Ran runNext(State state, std::uint64_t arrivedBefore = anyArrival);
    void runTask(const Entry& entry);
    void look() { m_turnedAt = Clock::now(); }
    static void drop(const std::deque<Entry>& entries);
    template <typename Fits> std::optional<Entry> takeFirst(const Fits& fits);
    bool collect();
    bool collectUnderLock();
    void tellArrival() const;
    void waitForAttention(const Deadline& deadline);
    void raiseAttention(tovrintimer::Lock lock);

    std::function<void()> m_tellArrival; // constant once something has come; may be empty

    mutable tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    std::deque<Entry> m_arrived; // guarded by m_mutex, like the next four
    std::deque<Entry> m_urgent;
    std::uint64_t m_arrivals = 0;
    bool m_attention = false; // there is something to look at
    bool m_sleeps = false; // the interpreter, and nobody has woken it yet

    // Written under m_mutex, read without.
    std::atomic<bool> m_isUrgent { false }; // something is in m_urgent
    std::atomic<bool> m_stopped { false };

    // Only for the interpreter thread: what it has collected and not run yet.
    std::deque<Entry> m_waiting;

    // Likewise.
    InterpreterObserver* m_observer = nullptr;
    Clock::time_point m_turnedAt;

    // Shared without a lock.
    std::atomic<Interruption> m_interruption { Interruption::None };
};

} // namespace tovrinhost
