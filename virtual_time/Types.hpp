#pragma once

#include "virtual_time/Kernel.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <utility>

namespace virtual_time {

// The types that stand behind Concurrency.hpp in virtual time. Each operation is a point where another virtual
// thread may go on. They may be made and destroyed where nothing runs.

/// Tells the witness, if there is one.
void atomicWasWritten();

/// The virtual clock.
struct SteadyClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<SteadyClock>;
    static constexpr bool is_steady = true;

    static time_point now();
};

/// Goes with the virtual clock.
struct SystemClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<SystemClock>;
    static constexpr bool is_steady = false;

    static time_point now();
};

/// What is shared without a lock. Each operation is seen by all threads in the same order.
template <typename T> class Atomic {
public:
    static constexpr bool is_always_lock_free = std::atomic<T>::is_always_lock_free;

    Atomic() = default;
    Atomic(T value) // NOLINT(google-explicit-constructor,hicpp-explicit-conversions): as of std::atomic
        : m_value(value)
    {
    }
    Atomic(const Atomic&) = delete;
    Atomic& operator=(const Atomic&) = delete;
    ~Atomic() = default;

    T load(std::memory_order /*order*/ = std::memory_order_seq_cst) const
    {
        const Operation operation("read atomic");
        return m_value;
    }

    void store(T value, std::memory_order order = std::memory_order_seq_cst) { exchange(value, order); }

    T exchange(T value, std::memory_order /*order*/ = std::memory_order_seq_cst)
    {
        const Operation operation("write atomic");
        const T before = std::exchange(m_value, value);
        atomicWasWritten();
        return before;
    }

    bool compare_exchange_strong(T& expected, T desired)
    {
        const Operation operation("compare and write atomic");
        if (m_value != expected) {
            expected = m_value;
            return false;
        }
        m_value = desired;
        atomicWasWritten();
        return true;
    }

    T operator++()
    {
        const Operation operation("count atomic");
        ++m_value;
        atomicWasWritten();
        return m_value;
    }

    // As std::atomic has them, so that the library uses both alike.
    operator T() const { return load(); } // NOLINT(google-explicit-constructor,hicpp-explicit-conversions)

    T operator=(T value) // NOLINT(misc-unconventional-assign-operator)
    {
        store(value);
        return value;
    }

private:
    T m_value {};
};

class Mutex {
public:
    Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex() = default;

    void lock();
    void unlock();

private:
    friend class ConditionVariable;

    void acquire();
    void release();

    const std::int64_t m_number;
    int m_owner = -1;
};

class ConditionVariable {
public:
    ConditionVariable();
    ConditionVariable(const ConditionVariable&) = delete;
    ConditionVariable& operator=(const ConditionVariable&) = delete;
    ~ConditionVariable() = default;

    void notify_one() noexcept;

    template <typename Predicate> void wait(std::unique_lock<Mutex>& lock, Predicate predicate)
    {
        while (!predicate()) {
            wait(*lock.mutex(), never);
        }
    }

    template <typename Duration, typename Predicate>
    bool wait_until(std::unique_lock<Mutex>& lock, std::chrono::time_point<SteadyClock, Duration> deadline,
        Predicate predicate)
    {
        const Moment until = std::chrono::nanoseconds(deadline.time_since_epoch()).count();
        while (!predicate()) {
            if (!wait(*lock.mutex(), until)) {
                return predicate();
            }
        }
        return true;
    }

private:
    /// \returns false if the deadline came first
    bool wait(Mutex& mutex, Moment until);

    const std::int64_t m_number;
};

class Thread {
public:
    class id {
    public:
        id() = default;
        explicit id(int number)
            : m_number(number)
        {
        }

        friend bool operator==(const id&, const id&) = default;

    private:
        int m_number = -1;
    };

    Thread() = default;
    explicit Thread(std::function<void()> body);
    Thread(Thread&& other) noexcept;
    Thread& operator=(Thread&& other) noexcept;
    ~Thread();

    bool joinable() const noexcept { return m_number >= 0; }
    id get_id() const noexcept { return id(m_number); }
    void join();

private:
    int m_number = -1;
};

Thread::id currentThreadId();

void sleepFor(std::chrono::nanoseconds duration);

/// Work takes its time, whatever there is to do.
template <typename GivesUp> void workUntil(SteadyClock::time_point deadline, const GivesUp& givesUp)
{
    constexpr std::chrono::nanoseconds atOnce = std::chrono::seconds(1);
    for (auto now = SteadyClock::now(); now < deadline && !givesUp(); now = SteadyClock::now()) {
        sleepFor(std::min(atOnce, deadline - now));
    }
}

/// Whether no part of a millisecond has passed, and the kernel does not have it otherwise.
bool isAtMillisecond();

/// Has a moment pass where a thread does nothing but look at the clock: see Kernel::clockWasLookedAt.
void clockWasLookedAt();

/// All time counts as work.
std::chrono::duration<double> timeAtWork();

/// Where the running thread keeps its own of a kind. \param kind an address that stands for it
std::shared_ptr<void>& placeOfThisThread(const void* kind);

/// One T for each thread.
template <typename T> T& ofThisThread()
{
    static const char kind = 0;
    std::shared_ptr<void>& place = placeOfThisThread(&kind);
    if (!place) {
        place = std::make_shared<T>();
    }
    return *static_cast<T*>(place.get());
}

/// Has a thread of the program do what another real thread asks for.
void fromOutside(std::function<void()> call);

} // namespace virtual_time
