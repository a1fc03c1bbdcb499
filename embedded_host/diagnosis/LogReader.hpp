#pragma once

#include "embedded_host/diagnosis/Activity.hpp"
#include "embedded_host/diagnosis/FiringLog.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tovrinhost {

/// What has happened since the log was last read.
struct News {
    std::vector<Activity> activities; ///< that have ended, the oldest first; of callbacks only the number is told
    std::vector<Firing> handedOver; ///< that the scheduler is done with; they may be over as well
    std::vector<Firing> over;
    std::size_t waiting = 0; ///< callbacks that wait in the host's queue now
    std::uint64_t lost
        = 0; ///< firings so far that fell out of the log before they were read, or could not be told
};

/// Reads the log again and again, and each thing once.
///
/// Threading: one thread, any.
class LogReader {
public:
    explicit LogReader(const FiringLog& log);

    /// \returns what is valid until the next call
    /// \throws std::bad_alloc
    const News& read();

    /// What was read last could not be told, or not read to the end: its firings are lost.
    void countAsLost() noexcept { m_news.lost += m_news.over.size(); }

private:
    struct Open {
        std::uint64_t number;
        bool isHandedOver = false;
    };

    bool isDone(Open& open);

    const FiringLog& m_log;
    News m_news;
    std::uint64_t m_nextNumber = 1;
    std::uint64_t m_nextMoment = 0;
    std::vector<Open> m_open; // what is not over, the oldest first
};

} // namespace tovrinhost
