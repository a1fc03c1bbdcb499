#pragma once

#include "embedded_host/diagnosis/FiringLog.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace tovrinhost {

/// Reads the firings out of the log in the order in which they began or came to nothing, each once, and once it is
/// over. One whose callback takes long holds up those that begin meanwhile, but no more than 10,000 of them: then
/// it is told of as it stands.
///
/// To be read at each moment of virtual time, once all that happens then has happened.
///
/// Threading: one thread, any.
class FiringOrder {
public:
    using Tell = std::function<void(const Firing&)>;

    explicit FiringOrder(const FiringLog& log)
        : m_log(log)
    {
    }

    void read(const Tell& tell);

    /// The last ones, as they stand: those that run, and those that were due and have not begun.
    void readRest(const Tell& tell);

    /// How many fell out of the log before they were read: more than it holds, at one moment.
    std::uint64_t lost() const { return m_lost; }

private:
    static constexpr std::size_t mostHeldUp = 10'000;

    bool isPendingNoMore(std::uint64_t number);

    const FiringLog& m_log;
    std::uint64_t m_nextNumber = 1;
    std::uint64_t m_lost = 0;
    std::vector<std::uint64_t> m_pending; // what has not begun
    std::deque<Firing> m_begun; // in their order, each as it stood when it was last read
};

/// When it began or came to nothing; 0 while neither has happened.
Nanoseconds momentOf(const Firing& firing);

} // namespace tovrinhost
