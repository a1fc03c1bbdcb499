#include "bench/peers/UvLoop.hpp"

#include <uv.h>

#include <algorithm>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

namespace bench {

namespace {

void require(int result, const char* what)
{
    if (result != 0) {
        throw std::runtime_error(std::string(what) + ": " + uv_strerror(result));
    }
}

} // namespace

class UvTimers::Loop {
public:
    Loop(std::size_t timers, Clock::time_point first, std::chrono::milliseconds period, std::function<void()> fire)
        : m_timers(timers)
        , m_fire(std::move(fire))
    {
        require(uv_loop_init(&m_loop), "uv_loop_init");
        require(uv_async_init(&m_loop, &m_end, [](uv_async_t* end) { uv_stop(end->loop); }), "uv_async_init");
        uv_update_time(&m_loop);
        const auto delay = std::chrono::duration_cast<std::chrono::milliseconds>(first - Clock::now()).count();
        for (uv_timer_t& timer : m_timers) {
            require(uv_timer_init(&m_loop, &timer), "uv_timer_init");
            timer.data = this;
            require(uv_timer_start(
                        &timer, [](uv_timer_t* fired) { static_cast<Loop*>(fired->data)->m_fire(); },
                        static_cast<std::uint64_t>(std::max<long>(delay, 1)),
                        static_cast<std::uint64_t>(period.count())),
                "uv_timer_start");
        }
        std::promise<ThreadProbe> probe;
        auto probed = probe.get_future();
        m_thread = std::thread([this, &probe] {
            probe.set_value(ThreadProbe::ofCaller());
            uv_run(&m_loop, UV_RUN_DEFAULT);
        });
        m_probe = probed.get();
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    ~Loop()
    {
        uv_async_send(&m_end);
        m_thread.join();
        uv_walk(
            &m_loop, [](uv_handle_t* handle, void*) { uv_close(handle, nullptr); }, nullptr);
        uv_run(&m_loop, UV_RUN_DEFAULT);
        uv_loop_close(&m_loop);
    }

    ThreadProbe thread() const { return m_probe; }

private:
    uv_loop_t m_loop {};
    uv_async_t m_end {};
    std::vector<uv_timer_t> m_timers; // on the loop's thread, like the next, once it has begun
    std::function<void()> m_fire;
    ThreadProbe m_probe;
    std::thread m_thread;
};

UvTimers::UvTimers(
    std::size_t timers, Clock::time_point first, std::chrono::milliseconds period, std::function<void()> fire)
    : m_loop(std::make_unique<Loop>(timers, first, period, std::move(fire)))
{
}

UvTimers::~UvTimers() = default;

ThreadProbe UvTimers::thread() const
{
    return m_loop->thread();
}

} // namespace bench
