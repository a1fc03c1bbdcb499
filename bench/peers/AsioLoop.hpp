#pragma once

#include "bench/measure/Thread.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <future>
#include <thread>

namespace bench {

/// An io_context that a thread of its own runs. It ends with what is pending on it.
class AsioLoop {
public:
    AsioLoop()
        : m_thread([this] { context.run(); })
    {
    }
    AsioLoop(const AsioLoop&) = delete;
    AsioLoop& operator=(const AsioLoop&) = delete;
    ~AsioLoop() { end(); }

    /// From here on no handler runs: for those whose handlers use what they are about to destroy.
    void end()
    {
        context.stop();
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    /// Does something on the loop's thread, and waits for its end.
    template <typename Function> auto call(Function function)
    {
        std::packaged_task<decltype(function())()> task(std::move(function));
        auto result = task.get_future();
        boost::asio::post(context, std::move(task));
        return result.get();
    }

    ThreadProbe thread()
    {
        return call([] { return ThreadProbe::ofCaller(); });
    }

    boost::asio::io_context context;

private:
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work
        = boost::asio::make_work_guard(context);
    std::thread m_thread;
};

} // namespace bench
