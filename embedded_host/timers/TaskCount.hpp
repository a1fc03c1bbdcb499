#pragma once

#include <cstdint>

namespace tovrinhost {

/// The callbacks that a run has still to come, counted by the rule by which the library counts them.
///
/// A new number of tasks is honoured while at least one more callback is to come by it; one that has already been
/// reached is ignored, and the run goes on to the old total.
///
/// Threading: a value.
class TaskCount {
public:
    /// \param total the number of tasks with which the run starts, at least 1
    explicit TaskCount(std::uint64_t total)
        : m_total(total)
        , m_left(total)
    {
    }

    std::uint64_t total() const { return m_total; }
    std::uint64_t left() const { return m_left; }

    /// Counts one callback, one of those that are left.
    /// \param wanted the number of tasks that the timer is set to now
    void count(std::uint64_t wanted)
    {
        const std::uint64_t before = m_total - m_left;
        if (wanted != m_total && before + 1 < wanted) {
            m_total = wanted;
        }
        m_left = m_total - before - 1;
    }

private:
    std::uint64_t m_total;
    std::uint64_t m_left;
};

} // namespace tovrinhost
