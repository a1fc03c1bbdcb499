#pragma once

#include "tests/simulation/kernel/Fiber.hpp"
#include "tests/simulation/kernel/Random.hpp"

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace simulation {

/// Virtual time, in nanoseconds.
using Moment = std::int64_t;

constexpr Moment never = std::numeric_limits<Moment>::max();
constexpr Moment millisecond = 1'000'000;

/// How rough the weather is: each is a chance of one in so many, and 0 is never.
struct Weather {
    std::uint64_t switches = 4; ///< another thread goes on at an operation
    std::uint64_t spuriousWakeUps = 0; ///< a wait for a condition ends for no reason
    std::uint64_t lateWakeUps = 0; ///< a timed wait ends after its time
    std::uint64_t slowThreads = 0; ///< a thread sleeps at an operation
    bool oneIsStarved = false; ///< one thread seldom gets its turn
};

Weather randomWeather(Random& random);

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

/// How a simulation ended.
struct Verdict {
    std::string failure; ///< empty if there is none
    std::uint64_t steps = 0;
    Moment end = 0;
    std::string trace;

    bool failed() const { return !failure.empty(); }
};

/// Runs virtual threads, one at a time, in virtual time.
///
/// Each operation of a virtual thread is a point where another one may go on; the seed says where and which. Time
/// moves only when every thread is blocked, to the next deadline. When there is none, that is a deadlock. Threads
/// that are busy for long without letting time move take a nap each, as work takes time.
///
/// Threading: one real thread. One kernel at a time.
/// Errors: the first failure ends the run at once. The threads' stacks are left as they are then: whoever expects
/// a failure runs the simulation in a process of its own.
class Kernel {
public:
    struct Options {
        std::uint64_t seed = 1;
        Weather weather;
        bool trace = false;
        std::uint64_t stepLimit = 2'000'000;
        Moment begin = 5'000'000 * millisecond + 123'456;
    };

    explicit Kernel(const Options& options);
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;
    ~Kernel();

    /// The one that runs, or null.
    static Kernel* current();

    /// Runs the function as the first virtual thread, until it and all others have returned.
    Verdict run(std::function<void()> body);

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

    Moment now() const { return m_now; }
    std::uint64_t step() const { return m_steps; }

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
    int choose();
    int letTimeMove();
    void nap(Moment duration);
    void wakeSomebodySpuriously();
    std::string describe(const VirtualThread& thread) const;
    std::string describeAll() const;

    const Options m_options;
    Random m_random;
    Witness* m_witness = nullptr;
    Fiber m_root;
    std::vector<std::unique_ptr<VirtualThread>> m_threads;
    std::vector<int> m_ready; // the numbers of the threads that can go on, the running one included
    int m_running = 0;
    int m_starved = -1;
    int m_atomic = 0;
    Moment m_now;
    std::uint64_t m_steps = 0;
    std::uint64_t m_stepsSinceTimeMoved = 0;
    std::int64_t m_numbers = 0;
    Verdict m_verdict;
};

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

} // namespace simulation
