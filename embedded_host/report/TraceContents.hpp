#pragma once

#include "embedded_host/diagnosis/Explanation.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"
#include "embedded_host/diagnosis/TraceEvents.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tovrinhost {

/// A part of a trace: what was due, started or ended within it.
struct TraceWindow {
    Nanoseconds from = 0;
    Nanoseconds to = std::numeric_limits<Nanoseconds>::max();
};

/// A trace, or a part of it, as a whole in memory.
class TraceContents {
public:
    static constexpr std::size_t mostFiringsOfAPage = 50'000;

    /// \throws std::runtime_error that names the file if it cannot be read, is no trace of this program, or has
    /// more
    ///         firings in the window than may be
    TraceContents(
        const std::string& file, const TraceWindow& window, std::size_t mostFirings = mostFiringsOfAPage);

    /// The name of the program that was traced.
    const std::string& program() const { return m_program; }

    /// In the order in which they were due.
    const std::vector<Firing>& firings() const { return m_firings; }

    Explanation explain(const Firing& firing) const;

    /// \returns null for a timer that the trace does not name
    TimerTable::Description find(const TimerTable::Identity& timer) const { return m_timers.find(timer); }

private:
    void read(const std::string& file, const TraceWindow& window, std::size_t mostFirings);
    void putInOrder();

    std::string m_program;
    TimerTable m_timers;
    std::vector<Firing> m_firings;

    // In the order in which they began; and how long the longest of each took.
    std::vector<DispatchEvent> m_dispatches;
    std::vector<Activity> m_activities;
    Nanoseconds m_longestDispatch = 0;
    Nanoseconds m_longestActivity = 0;
};

} // namespace tovrinhost
