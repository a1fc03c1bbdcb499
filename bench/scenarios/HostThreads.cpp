#include "bench/host/Host.hpp"
#include "bench/measure/Random.hpp"
#include "bench/peers/AsioLoop.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

constexpr auto far = 1h;
constexpr std::size_t timersOfThread = 100;

/// Lets threads work side by side, each on something of its own that `make(number)` gives. \returns how many
/// thousand calls there were in a second
template <typename Make> Values throughput(unsigned int threads, milliseconds time, Make make)
{
    using Work = decltype(make(0U));
    std::deque<Work> works;
    for (unsigned int number = 0; number < threads; ++number) {
        works.push_back(make(number));
    }
    std::atomic<bool> isOver { false };
    std::atomic<std::uint64_t> calls { 0 };
    const auto begin = Clock::now();
    {
        std::vector<std::jthread> running;
        for (Work& work : works) {
            running.emplace_back([&] {
                std::uint64_t count = 0;
                for (; !isOver; ++count) {
                    work();
                }
                calls += count;
            });
        }
        std::this_thread::sleep_for(time);
        isOver = true;
    }
    const std::chrono::duration<double, std::milli> passed = Clock::now() - begin;
    return { static_cast<double>(calls) / passed.count() };
}

Values libraryThroughput(unsigned int threads, milliseconds time)
{
    const Scheduler scheduler;
    const auto engine = std::make_shared<IdleEngine>();
    return throughput(threads, time, [&](unsigned int number) {
        std::vector<Timer> timers;
        for (std::size_t i = 0; i < timersOfThread; ++i) {
            timers.push_back(makeTimer(engine, { .period = far, .startDelay = far + milliseconds(i) }));
            start(timers.back());
        }
        return [timers = std::move(timers), random = Random(number + 1)]() mutable {
            const Timer& timer = timers[random.below(timers.size())];
            stop(timer);
            start(timer);
        };
    });
}

/// Timers of one queue, whose loop has a thread of its own; who stops or starts one holds the mutex.
Values asioThroughput(unsigned int threads, milliseconds time)
{
    std::mutex mutex;
    AsioLoop loop;
    std::deque<std::deque<boost::asio::steady_timer>> timers(threads);
    const Values values = throughput(threads, time, [&](unsigned int number) {
        auto& mine = timers[number];
        for (std::size_t i = 0; i < timersOfThread; ++i) {
            const std::lock_guard lock(mutex);
            mine.emplace_back(loop.context, far + milliseconds(i))
                .async_wait([](const boost::system::error_code&) {});
        }
        return [&mutex, &mine, random = Random(number + 1)]() mutable {
            const std::size_t index = random.below(mine.size());
            const std::lock_guard lock(mutex);
            mine[index].cancel();
            mine[index].expires_after(far + milliseconds(index));
            mine[index].async_wait([](const boost::system::error_code&) {});
        };
    });
    loop.end();
    return values;
}

} // namespace

std::vector<Measurement> hostThreads(const Pace& pace)
{
    const auto time = pace.time(500ms);
    std::vector<Measurement> all;
    for (const unsigned int threads : { 1U, 2U, 4U, 8U }) {
        all.push_back({ std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
            { { "stops and starts", "thousand/s" } },
            { { "library", [=] { return libraryThroughput(threads, time); } },
                { "Asio", [=] { return asioThroughput(threads, time); } } } });
    }
    return all;
}

} // namespace bench
