#include "bench/host/Host.hpp"
#include "bench/peers/AsioLoop.hpp"
#include "bench/peers/UvLoop.hpp"
#include "bench/scenarios/Firings.hpp"
#include "bench/scenarios/Scenarios.hpp"
#include "timer_src/main/TimerObserver.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <deque>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

/// When all timers are due for the first time: once the last of them has been started.
Clock::time_point firstFiring(const Load& load)
{
    return Clock::now() + 50ms + load.timers * 20us;
}

/// Microseconds of the thread for each firing, and the share of what is due that fires, in percent. Begins and
/// ends midway between two firings, so that neither is cut in two. \param time a whole number of periods
Values observe(
    const ThreadProbe& thread, const Count& fired, const Load& load, Clock::time_point first, milliseconds time)
{
    std::this_thread::sleep_until(first + 2 * load.period + load.period / 2);
    const auto end = Clock::now() + time;
    const auto cpuBefore = thread.cpuTime();
    const std::uint64_t firedBefore = fired.get();
    std::this_thread::sleep_until(end);
    const auto firings = static_cast<double>(fired.get() - firedBefore);
    const auto cpu = std::chrono::duration<double, std::micro>(thread.cpuTime() - cpuBefore);
    return { cpu.count() / firings, 100 * firings / load.due(time) };
}

class CountingEngine final : public Engine {
public:
    explicit CountingEngine(Count& taken)
        : m_taken(taken)
    {
    }

    void take(const std::function<void()>& /*task*/) override { m_taken.add(); }

private:
    Count& m_taken;
};

/// Where callback tasks go.
enum class Engines { One, OneEach };

Values libraryCost(const Load& load, milliseconds time, Engines engines = Engines::One)
{
    Count taken;
    const Scheduler scheduler;
    auto engine = std::make_shared<CountingEngine>(taken);
    const auto first = firstFiring(load);
    std::vector<Timer> timers;
    for (std::size_t i = 0; i < load.timers; ++i) {
        if (engines == Engines::OneEach) {
            engine = std::make_shared<CountingEngine>(taken);
        }
        timers.push_back(
            makeTimer(engine, { .period = load.period, .startDelay = delayUntil(first + load.offset(i)) }));
        start(timers.back());
    }
    return observe(scheduler.thread(), taken, load, first, time);
}

/// Takes note of nothing.
class EmptyObserver final : public tovrintimer::TimerObserver {
public:
    void queued(const tovrintimer::ObservedWork& /*work*/) noexcept override { }
    void dispatched(const tovrintimer::ObservedWork& /*work*/) noexcept override { }
    void handedOver(const tovrintimer::ObservedWork& /*work*/) noexcept override { }
    void dropped(const tovrintimer::ObservedWork& /*work*/, tovrintimer::DropReason /*why*/) noexcept override { }
};

Values observedCost(const Load& load, milliseconds time)
{
    static EmptyObserver observer; // a thread may be about to tell it something, whenever it is taken away
    tovrintimer::TimerScheduler::setObserver(&observer);
    const Values values = libraryCost(load, time);
    tovrintimer::TimerScheduler::setObserver(nullptr);
    return values;
}

/// A timer that is due again a period after it was due.
class AsioRepeatingTimer {
public:
    AsioRepeatingTimer(AsioLoop& loop, Clock::time_point first, milliseconds period, Count& fired)
        : m_timer(loop.context, first)
        , m_period(period)
        , m_fired(fired)
    {
        wait();
    }

private:
    void wait()
    {
        m_timer.async_wait([this](const boost::system::error_code& error) {
            if (!error) {
                m_fired.add();
                m_timer.expires_at(m_timer.expiry() + m_period);
                wait();
            }
        });
    }

    boost::asio::steady_timer m_timer;
    const milliseconds m_period;
    Count& m_fired;
};

Values asioCost(const Load& load, milliseconds time)
{
    Count fired;
    AsioLoop loop;
    const ThreadProbe thread = loop.thread();
    std::deque<AsioRepeatingTimer> timers;
    const auto first = firstFiring(load);
    loop.call([&] {
        for (std::size_t i = 0; i < load.timers; ++i) {
            timers.emplace_back(loop, first + load.offset(i), load.period, fired);
        }
    });
    const Values values = observe(thread, fired, load, first, time);
    loop.end();
    return values;
}

Values uvCost(const Load& load, milliseconds time)
{
    Count fired;
    const auto first = firstFiring(load);
    const UvTimers timers(load.timers, first, load.period, [&fired] { fired.add(); });
    return observe(timers.thread(), fired, load, first, time);
}

/// \param limit of the ratio to Asio
Measurement costOf(const Load& load, double limit, milliseconds time)
{
    return { load.name(),
        { { "per firing", "us", { { limit, "Asio" } } },
            { "dispatched of due", "%", { { .bound = 99, .isAtLeast = true } } } },
        { { "library", [=] { return libraryCost(load, time); } }, { "Asio", [=] { return asioCost(load, time); } },
            { "libuv", [=] { return uvCost(load, time); } } } };
}

const std::vector<Figure> figuresWithoutLimits { { "per firing", "us" }, { "dispatched of due", "%" } };

Measurement costOfScale(const Load& load, milliseconds time)
{
    return { load.name(), figuresWithoutLimits,
        { { "library", [=] { return libraryCost(load, time); } },
            { "Asio", [=] { return asioCost(load, time); } } } };
}

Measurement costOfObserver(const Load& load, milliseconds time)
{
    return { load.name(), { { "per firing", "us", { { 1.03, "unobserved" } } }, { "dispatched of due", "%" } },
        { { "observed", [=] { return observedCost(load, time); } },
            { "unobserved", [=] { return libraryCost(load, time); } } } };
}

} // namespace

std::vector<Measurement> costPerFiring(const Pace& pace)
{
    const auto time = pace.time(1000ms);
    return {
        costOf({ 1, 10ms }, 1.1, time),
        costOf({ 10, 10ms }, 1.1, time),
        costOf({ 100, 10ms }, 1.0, time),
        costOf({ 1000, 10ms }, 2.0, time),
        costOf({ 10000, 100ms }, 2.0, time),
    };
}

std::vector<Measurement> scale(const Pace& pace)
{
    const auto time = pace.time(1000ms);
    const Load usual { 100, 10ms };
    return {
        costOfScale({ 100, 1ms }, time),
        costOfScale({ 100, 100ms }, time),
        costOfScale({ 100, 100ms, true }, time),
        { usual.name() + ", an engine each", figuresWithoutLimits,
            { { "library", [=] { return libraryCost(usual, time, Engines::OneEach); } },
                { "one engine", [=] { return libraryCost(usual, time); } } } },
    };
}

std::vector<Measurement> observed(const Pace& pace)
{
    const auto time = pace.time(1000ms);
    return {
        costOfObserver({ 1, 10ms }, time),
        costOfObserver({ 10, 10ms }, time),
        costOfObserver({ 100, 10ms }, time),
        costOfObserver({ 1000, 10ms }, time),
    };
}

} // namespace bench
