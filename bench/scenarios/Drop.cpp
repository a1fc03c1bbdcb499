#include "bench/driver/Result.hpp"
#include "bench/host/BeatEngine.hpp"
#include "bench/host/TaskThread.hpp"
#include "bench/scenarios/LatenessFigures.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <deque>
#include <optional>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

/// A timer whose callback lasts longer than its period, so that each but the first is late. It goes after the
/// scheduler.
class DroppingTimer {
public:
    DroppingTimer()
        : m_timer(
            makeTimer(m_engine, { .period = 100ms, .startDelay = 1ms, .busyMode = tovrintimer::BusyMode::Drop }))
    {
        start(m_timer);
    }
    DroppingTimer(const DroppingTimer&) = delete;
    DroppingTimer& operator=(const DroppingTimer&) = delete;
    ~DroppingTimer() { m_engine->end(); }

    const TaskThread& callbacks() const { return *m_engine; }

private:
    const std::shared_ptr<TaskThread> m_engine = std::make_shared<TaskThread>(150ms);
    const Timer m_timer;
};

Values dropAlone(milliseconds time)
{
    const DroppingTimer dropping;
    const Scheduler scheduler;
    const ThreadProbe thread = scheduler.thread();
    const auto begin = Clock::now();
    const auto cpuBefore = thread.cpuTime();
    std::this_thread::sleep_for(time);
    const auto cpu = thread.cpuTime() - cpuBefore;
    const auto passed = Clock::now() - begin;
    return { 100 * (std::chrono::duration<double>(cpu) / passed), median(dropping.callbacks().gaps()) / 1000 };
}

/// How late ten timers of 5 ms are.
Values tenTimers(milliseconds time, bool besideDrop)
{
    Delays delays;
    std::optional<DroppingTimer> dropping;
    if (besideDrop) {
        dropping.emplace();
    }
    std::vector<Timer> timers;
    for (int i = 0; i < 10; ++i) {
        const auto engine = std::make_shared<BeatEngine>(5ms, [&](Clock::time_point due) { delays.note(due); });
        timers.push_back(makeTimer(engine, { .period = 5ms, .startDelay = 1ms }));
    }
    {
        const Scheduler scheduler;
        for (const Timer& timer : timers) {
            start(timer);
        }
        std::this_thread::sleep_for(time);
    }
    return latenessValues(delays.microseconds());
}

} // namespace

std::vector<Measurement> drop(const Pace& pace)
{
    const auto time = pace.time(3000ms);
    return {
        { "alone",
            { { "scheduler's thread, of a core", "%", { { 3 } } }, { "gap after a drop", "ms", { { 0.3 } } } },
            { { "library", [=] { return dropAlone(time); } } } },
        { "ten others of 5 ms", latenessFigures({ { 1.1, "without Drop" } }),
            { { "library", [=] { return tenTimers(time / 4, true); } },
                { "without Drop", [=] { return tenTimers(time / 4, false); } } },
            2 },
    };
}

} // namespace bench
