#pragma once

#include "embedded_host/diagnosis/LogReader.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <functional>

namespace tovrinhost {

/// Reads the log twenty times a second, on a thread of its own, until it is destroyed; and once more then.
///
/// Lifetime: the log outlives it.
class Watch {
public:
    /// \param tell given what is new, on the watch's thread; where it throws, those are lost, and counted
    Watch(const FiringLog& log, std::function<void(const News&)> tell);
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch();

private:
    void run();

    LogReader m_reader; // only for the watch's thread, like the next
    const std::function<void(const News&)> m_tell;
    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    bool m_ends = false; // guarded by m_mutex
    tovrintimer::Thread m_thread;
};

} // namespace tovrinhost
