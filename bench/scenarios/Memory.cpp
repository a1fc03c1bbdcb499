#include "bench/measure/Memory.hpp"

#include "bench/host/Host.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <uv.h>

#include <deque>

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using tovrintimer::ExecutionMode;

namespace bench {

namespace {

constexpr auto far = 1h;
constexpr std::size_t pendingTimers = 10'000;

/// Bytes of the heap for each of the timers that this makes, and hands back.
template <typename MakeTimers> Values heapPerTimer(MakeTimers makeTimers)
{
    const std::size_t before = heapInUse();
    const auto timers = makeTimers();
    return { static_cast<double>(heapInUse() - before) / pendingTimers };
}

Values libraryHeap()
{
    const Scheduler scheduler;
    const auto engine = std::make_shared<IdleEngine>();
    // What there is one of, and not of each timer: the scheduler.
    const Timer first = makeTimer(engine, { .startDelay = far });
    start(first);
    static_cast<void>(scheduler.thread());
    return heapPerTimer([&] {
        std::deque<Timer> timers;
        for (std::size_t i = pendingTimers; i > 0; --i) {
            timers.push_back(makeTimer(engine, { .period = far, .startDelay = far + milliseconds(i) }));
            start(timers.back());
        }
        return timers;
    });
}

Values asioHeap()
{
    boost::asio::io_context context;
    return heapPerTimer([&] {
        std::deque<boost::asio::steady_timer> timers;
        for (std::size_t i = pendingTimers; i > 0; --i) {
            timers.emplace_back(context, far + milliseconds(i)).async_wait([](const boost::system::error_code&) {
            });
        }
        return timers;
    });
}

/// Its queue threads the timers together, and takes nothing of the heap.
Values uvHeap()
{
    return { static_cast<double>(sizeof(uv_timer_t)) };
}

/// Counts the allocations of the scheduler's thread from each hand-over to the next.
class AllocationEngine final : public Engine {
public:
    void take(const std::function<void()>& /*task*/) override
    {
        const std::uint64_t allocations = allocationsOfThread();
        if (m_handOvers++ == 0) {
            m_first = allocations;
        }
        m_latest = allocations;
    }

    double perDispatch() const { return static_cast<double>(m_latest - m_first) / (m_handOvers - 1); }

private:
    std::uint64_t m_first = 0;
    std::uint64_t m_latest = 0;
    int m_handOvers = 0;
};

/// Tasks are dropped: only a fixed rate goes on, every other timer fires once.
Values allocationsPerDispatch(ExecutionMode mode)
{
    const auto engine = std::make_shared<AllocationEngine>();
    std::vector<Timer> timers;
    {
        const Scheduler scheduler;
        for (int i = 0; i < 100; ++i) {
            timers.push_back(
                makeTimer(engine, { .period = 20ms, .startDelay = 20ms + milliseconds(i), .mode = mode }));
            start(timers.back());
        }
        std::this_thread::sleep_for(200ms);
    }
    return { engine->perDispatch() };
}

/// How often the scheduler's thread wakes up while its only timer is due in an hour.
Values idleWakeUps(milliseconds time)
{
    const Scheduler scheduler;
    const Timer timer = makeTimer(std::make_shared<IdleEngine>(), { .period = far, .startDelay = far });
    start(timer);
    const ThreadProbe thread = scheduler.thread();
    std::this_thread::sleep_for(50ms);
    const auto before = thread.voluntarySwitches();
    std::this_thread::sleep_for(time);
    return { static_cast<double>(thread.voluntarySwitches() - before) };
}

Measurement allocations(const char* name, ExecutionMode mode, double limit)
{
    return { name, { { "allocations for a dispatch", "", { { limit } } } },
        { { "library", [mode] { return allocationsPerDispatch(mode); } } } };
}

} // namespace

std::vector<Measurement> memory(const Pace& pace)
{
    return {
        { "a pending timer", { { "heap", "bytes", { { 512 } } } },
            { { "library", libraryHeap }, { "Asio", asioHeap }, { "libuv", uvHeap } } },
        allocations("FixedRate", ExecutionMode::FixedRate, 5),
        allocations("FixedDelay", ExecutionMode::FixedDelay, 4),
        allocations("FixedSpacing", ExecutionMode::FixedSpacing, 4),
        allocations("SingleShot", ExecutionMode::SingleShot, 4),
        { "idle", { { "wake-ups", "", { { 0 } } } },
            { { "library", [time = pace.time(1000ms)] { return idleWakeUps(time); } } } },
    };
}

} // namespace bench
