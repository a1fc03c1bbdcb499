#include "bench/peers/BareBeat.hpp"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <sys/timerfd.h>
#include <unistd.h>

namespace bench {

namespace {

using std::chrono::milliseconds;

/// \param waitUntil returns at the due time that it is given
template <typename Wait>
void beat(milliseconds period, milliseconds time, const std::function<void(Clock::time_point)>& late,
    const Wait& waitUntil)
{
    const std::jthread thread([&] {
        askForFineTimers();
        Beat beat(period);
        beat.goOn();
        for (const auto end = Clock::now() + time; beat.due() < end; beat.goOn()) {
            waitUntil(beat.due());
            late(beat.due());
        }
    });
}

class Timerfd {
public:
    Timerfd()
        : m_file(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC))
    {
        if (m_file < 0) {
            throw std::runtime_error("a timerfd cannot be made");
        }
    }
    Timerfd(const Timerfd&) = delete;
    Timerfd& operator=(const Timerfd&) = delete;
    ~Timerfd() { close(m_file); }

    /// The steady clock is the system's monotonic one.
    void waitUntil(Clock::time_point due) const
    {
        const auto whole = std::chrono::floor<std::chrono::seconds>(due.time_since_epoch());
        itimerspec at {};
        at.it_value.tv_sec = whole.count();
        at.it_value.tv_nsec = std::chrono::nanoseconds(due.time_since_epoch() - whole).count();
        std::uint64_t times = 0;
        if (timerfd_settime(m_file, TFD_TIMER_ABSTIME, &at, nullptr) != 0
            || read(m_file, &times, sizeof times) != sizeof times) {
            throw std::runtime_error("a timerfd cannot be waited for");
        }
    }

private:
    const int m_file;
};

} // namespace

void beatByConditionVariable(
    milliseconds period, milliseconds time, const std::function<void(Clock::time_point)>& late)
{
    std::mutex mutex;
    std::condition_variable condition;
    beat(period, time, late, [&](Clock::time_point due) {
        std::unique_lock lock(mutex);
        condition.wait_until(lock, due, [] { return false; });
    });
}

void beatByTimerfd(milliseconds period, milliseconds time, const std::function<void(Clock::time_point)>& late)
{
    const Timerfd timer;
    beat(period, time, late, [&](Clock::time_point due) { timer.waitUntil(due); });
}

} // namespace bench
