#pragma once

#include "tests/simulation/kernel/Kernel.hpp"

#include <chrono>
#include <mutex>

namespace simulation {

// The types that stand behind Concurrency.hpp in the simulation. Each operation is a point where another virtual
// thread may go on. They may be made and destroyed where nothing runs.

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

} // namespace simulation
