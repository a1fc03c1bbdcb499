#include "bench/driver/Result.hpp"
#include "bench/host/Host.hpp"
#include "bench/measure/Random.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <deque>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

constexpr auto far = 1h;
constexpr int batch = 50;

/// Microseconds for one call: of batches of them, the median.
template <typename Function> Values timeBatches(milliseconds time, Function doBatch)
{
    std::vector<double> batches;
    for (const auto end = Clock::now() + time; batches.empty() || Clock::now() < end;) {
        const auto begin = Clock::now();
        doBatch();
        batches.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / batch);
    }
    return { median(batches) };
}

class LibraryPending {
public:
    explicit LibraryPending(std::size_t count)
    {
        // The last one first, since that is fast whatever the queue is made of.
        for (std::size_t i = count; i > 0; --i) {
            m_timers.push_back(makeTimer(m_engine, { .period = far, .startDelay = far + milliseconds(i) }));
            bench::start(m_timers.back());
        }
    }

    void stopAndStart()
    {
        const Timer& timer = m_timers[m_random.below(m_timers.size())];
        bench::stop(timer);
        bench::start(timer);
    }

private:
    const Scheduler m_scheduler;
    const std::shared_ptr<Engine> m_engine = std::make_shared<IdleEngine>();
    std::vector<Timer> m_timers;
    Random m_random;
};

/// On one thread, which lets the cancelled waits come to their end after each batch.
class AsioPending {
public:
    explicit AsioPending(std::size_t count)
    {
        for (std::size_t i = count; i > 0; --i) {
            auto& timer = m_timers.emplace_back(m_context, far + milliseconds(i));
            timer.async_wait([](const boost::system::error_code&) {});
        }
    }

    void stopAndStart()
    {
        const std::size_t index = m_random.below(m_timers.size());
        auto& timer = m_timers[index];
        timer.cancel();
        timer.expires_after(far + milliseconds(m_timers.size() - index));
        timer.async_wait([](const boost::system::error_code&) {});
    }

    void poll()
    {
        m_context.poll();
        m_context.restart();
    }

private:
    boost::asio::io_context m_context;
    std::deque<boost::asio::steady_timer> m_timers;
    Random m_random;
};

Side librarySide(std::size_t count, milliseconds time)
{
    return { "library", [=, pending = std::shared_ptr<LibraryPending>()]() mutable {
                if (!pending) {
                    pending = std::make_shared<LibraryPending>(count);
                }
                return timeBatches(time, [&] {
                    for (int i = 0; i < batch; ++i) {
                        pending->stopAndStart();
                    }
                });
            } };
}

Side asioSide(const char* name, std::size_t count, milliseconds time)
{
    return { name, [=, pending = std::shared_ptr<AsioPending>()]() mutable {
                if (!pending) {
                    pending = std::make_shared<AsioPending>(count);
                }
                return timeBatches(time, [&] {
                    for (int i = 0; i < batch; ++i) {
                        pending->stopAndStart();
                    }
                    pending->poll();
                });
            } };
}

} // namespace

std::vector<Measurement> stopAndStart(const Pace& pace)
{
    const auto time = pace.time(300ms);
    // 2 us where Asio takes 0.3 us among 100, and the same among however many.
    const Limit flat { 2 / 0.3, "Asio at 100" };
    std::vector<Measurement> all;
    for (const std::size_t count : { 1, 100, 1000, 10000, 100000 }) {
        all.push_back({ std::to_string(count) + " pending", { { "stop and start", "us", { flat } } },
            { librarySide(count, time), asioSide("Asio", count, time), asioSide("Asio at 100", 100, time) } });
    }
    return all;
}

} // namespace bench
