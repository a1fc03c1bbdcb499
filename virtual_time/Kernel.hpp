#pragma once

#include "virtual_time/Fiber.hpp"
#include "virtual_time/Random.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace virtual_time {

/// Virtual time, in nanoseconds.
using Moment = std::int64_t;

constexpr Moment never = std::numeric_limits<Moment>::max();
constexpr Moment millisecond = 1'000'000;

/// How rough the weather is: each is a chance of one in so many, and 0 is never.
struct Weather {
    std::uint64_t switches = 4; ///< another thread goes on at an operation; never: they take turns, in order
    std::uint64_t spuriousWakeUps = 0; ///< a wait for a condition ends for no reason
    std::uint64_t lateWakeUps = 0; ///< a timed wait ends after its time
    std::uint64_t slowThreads = 0; ///< a thread sleeps at an operation
    bool oneIsStarved = false; ///< one thread seldom gets its turn
};

Weather randomWeather(Random& random);

/// Threads take turns where they wait, and nowhere else: always the same schedule.
inline constexpr Weather calmWeather { .switches = 0 };

/// Is told of what a model of the system has to know.
class Witness {
public:
    virtual ~Witness() = default;
    virtual void clockWasRead(Moment now) = 0;
    virtual void atomicWasWritten() = 0;
    virtual void mutexWasReleased(const void* mutex) = 0;
    virtual void conditionWasNotified(const void* condition) = 0;

    /// Every thread is blocked, and time is about to move.
    virtual void timeMoves() = 0;
};

/// What is thrown in the first thread where nothing can go on any more.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a run ended.
struct Verdict {
    std::string failure; ///< empty if there is none
    std::uint64_t steps = 0;
    Moment end = 0;
    std::string trace;

    bool failed() const { return !failure.empty(); }
};

/// Runs virtual threads, one at a time, in virtual time.
///
/// Each operation of a virtual thread is a point where another one may go on; the seed and the weather say where
/// and which. Time moves only when every thread is blocked, to the next deadline. When there is none, that is a
/// deadlock.
///
/// The first thread is either a function that is given to `run`, or whoever calls `begin`.
///
/// Threading: one real thread, but for `callFromOutside`. One kernel at a time.
/// Errors: after `run`, the first failure ends the run at once. After `begin`, it is thrown as a `Failure` in the
/// first thread, out of the operation that this waits in; a deadlock leaves the other threads as they are, and
/// where anything else fails, the thread in which it does never goes on. The stacks of threads that have not ended
/// are left as they are when the kernel goes.
class Kernel {
public:
    struct Options {
        std::uint64_t seed = 1;
        Weather weather;
        bool trace = false;
        std::uint64_t stepLimit = 2'000'000; ///< 0: none

        /// So many steps may be made in no time at all; then a thread takes a nap, as work takes time. 0: any
        /// number.
        std::uint64_t busyAfter = 150;

        Moment begin = 5'000'000 * millisecond + 123'456;
        Moment calendarAtZero = 1'700'000'000'000 * millisecond; ///< what the system clock shows at the moment 0
        std::size_t stackSize = std::size_t { 512 } * 1024; ///< of each thread but the first

        /// Whoever asks is told that a part of a millisecond has passed, as it has where time is real.
        bool isAlwaysWithinMillisecond = false;

        /// How many times faster than the real clock time goes; 0: it leaps to what is due next.
        double pace = 0;
    };

    explicit Kernel(const Options& options);
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;
    ~Kernel();

    /// The one that runs, or null.
    static Kernel* current();

    /// Runs the function as the first virtual thread, until it and all others have returned.
    Verdict run(std::function<void()> body);

    /// Makes the caller the first virtual thread.
    void begin();

    /// Asked before a deadlock is one, in the thread that has blocked last. It must not block.
    /// \param help given what each thread waits for; may wake one, or call from outside. Returns whether it has
    void onDeadlock(std::function<bool(const std::string& waits)> help) { m_help = std::move(help); }

    void setWitness(Witness* witness) { m_witness = witness; }
    Witness* witness() const { return m_witness; }

    // What virtual threads call.

    int spawn(std::string name, std::function<void()> body);
    int self() const { return m_running; }
    void join(int thread);
    bool hasEnded(int thread) const;
    void rename(std::string name);

    /// Perhaps lets another thread go on.
    void point();

    /// Blocks until `wake` is called for the key, or until the deadline.
    /// \param mayWakeSpuriously for waits whose caller looks again
    /// \returns false if the deadline came first
    bool block(const void* key, Moment deadline, bool mayWakeSpuriously = false);

    void wakeAll(const void* key);
    void wakeOne(const void* key);
    void sleepFor(Moment duration);

    /// Lets all others go on until each of them is blocked. Time stands still.
    void letOthersRun();

    bool othersAreReady() const { return m_ready.size() > 1; }

    /// The earliest moment that another thread waits for; none where that is so far away that nothing is due then.
    std::optional<Moment> nextMoment() const;

    /// The thread looks at the clock, and may do so until that shows something else: the thousandth look at the
    /// same moment takes a millisecond.
    void clockWasLookedAt();

    Moment now() const { return m_now; }
    bool isAtMillisecond() const { return !m_options.isAlwaysWithinMillisecond && m_now % millisecond == 0; }
    Moment sinceBeginning() const { return m_now - m_options.begin; }
    Moment calendar() const { return m_options.calendarAtZero + m_now; }

    /// Has something done that comes from outside: in a virtual thread of its own, soon. Any real thread.
    void callFromOutside(std::function<void()> call);

    std::uint64_t step() const { return m_steps; }

    /// What the running thread keeps for itself under this key; null at first.
    std::shared_ptr<void>& own(const void* key);

    /// Numbers for the names of things in traces, from 1.
    std::int64_t nextNumber() { return ++m_numbers; }

    /// Ends the run.
    [[noreturn]] void fail(const std::string& failure);

    void note(const std::string& line);
    bool isTracing() const { return m_options.trace; }

    /// What the thread waits for until `deadline`, if it is blocked and nobody has woken it yet.
    bool isBlockedOn(int thread, const void* key) const;
    Moment deadlineOf(int thread) const;

    /// Locks that the running thread holds.
    std::size_t locksHeld() const;
    void lockTaken();
    void lockGiven();

    void enter(const char* what, std::int64_t number);
    void leave();

    /// While one exists, nobody else goes on.
    class Atomically {
    public:
        Atomically() { ++current()->m_atomic; }
        Atomically(const Atomically&) = delete;
        Atomically& operator=(const Atomically&) = delete;
        ~Atomically() { --current()->m_atomic; }
    };

private:
    struct Frame {
        const char* what;
        std::int64_t number;
    };

    struct VirtualThread;

    VirtualThread& running() const { return *m_threads[static_cast<std::size_t>(m_running)]; }
    void threadBody(int number);
    void switchTo(int next, bool forGood = false);
    void yield();
    void throwIfFailed();
    int choose();
    int letTimeMove();
    void moveTo(Moment moment);
    void wakeTheDue();
    void makeReady(std::size_t number);
    bool areHelped();
    void sleepInRealTime(Moment until);
    void followRealTime();
    void letIn();
    void nap(Moment duration);
    void wakeSomebodySpuriously();
    std::string describe(const VirtualThread& thread) const;
    std::string describeAll() const;

    const Options m_options;
    Random m_random;
    Witness* m_witness = nullptr;
    std::function<bool(const std::string&)> m_help;
    Fiber m_root;
    bool m_hasBegun = false; // the first thread is whoever made it
    std::vector<std::unique_ptr<VirtualThread>> m_threads;
    std::vector<int> m_ready; // the numbers of the threads that can go on, the running one included
    int m_running = 0;
    int m_starved = -1;
    int m_atomic = 0;
    Moment m_now;
    std::uint64_t m_steps = 0;
    std::uint64_t m_stepsSinceTimeMoved = 0;
    Moment m_lookedAt = never; // what the clock showed at the latest looks
    int m_looks = 0; // at the same moment
    std::int64_t m_numbers = 0;
    Verdict m_verdict;
    const std::chrono::steady_clock::time_point m_realBegin = std::chrono::steady_clock::now();

    // What comes from other real threads.
    std::mutex m_outsideMutex;
    std::condition_variable m_outsideCame;
    std::vector<std::function<void()>> m_outside; // guarded by m_outsideMutex
    std::atomic<bool> m_someoneIsOutside { false }; // written under it, read without
};

/// What programs of users run with: no step too many, and a moment that is easy to read. Schedule 0 is the calm
/// one; each other number has threads go on, and waits end, in an order of its own. No wait ends late in any of
/// them.
Kernel::Options optionsOfSchedule(std::uint64_t schedule);

/// One operation of the running thread: a point where another may go on, and a line in its stack of operations.
class Operation {
public:
    explicit Operation(const char* what, std::int64_t number = -1);
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    ~Operation();

private:
    Kernel* const m_kernel;
};

/// A line in the stack of operations, and no more.
class Doing {
public:
    explicit Doing(const char* what, std::int64_t number = -1);
    Doing(const Doing&) = delete;
    Doing& operator=(const Doing&) = delete;
    ~Doing();
};

} // namespace virtual_time
