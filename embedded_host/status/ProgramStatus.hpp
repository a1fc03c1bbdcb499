#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// What a timer is at.
enum class TimerState : std::uint8_t {
    New, ///< has not been started
    Due, ///< waits for its due time
    Waits, ///< its callback waits in the host's queue
    Runs, ///< its callback runs
    Stopped,
    Unknown, ///< its callback has run for longer than the log reaches back
};

const char* nameOf(TimerState state);

/// How a timer of a script is doing. Moments are seconds since its program began, by the steady clock; so are
/// spans.
struct TimerStatus {
    std::uint64_t number = 0; ///< counted from 1
    std::string name;
    std::string settings; ///< "FixedRate, Drop, 0.1 s"
    TimerState state = TimerState::New;
    std::optional<double> due; ///< of what waits for its due time
    std::optional<double> last; ///< when its TimerFcn began last
    std::uint64_t runs = 0;
    std::optional<double> latenessOfLast; ///< absent before the first run, like the next
    std::optional<double> mostLateness;
    std::optional<double> lateness99; ///< the 99th percentile, of the runs that the log holds
    double busy = 0; ///< the share of the time since it was made that its callbacks took
    std::uint64_t dropped = 0;
    std::uint64_t errors = 0;
    std::uint64_t backlog = 0; ///< callbacks in the host's queue
};

/// How a program's timers are doing.
struct ProgramStatus {
    std::int64_t process = 0;
    std::string script;
    double now = 0;
    std::vector<TimerStatus> timers; ///< by number; the first `mostTimers`
    std::size_t moreTimers = 0; ///< that are left out

    static constexpr std::size_t mostTimers = 1000;
};

/// Looks at all timers. Any thread.
ProgramStatus takeStatus(const Diagnosis& diagnosis, std::int64_t process, const std::string& script);

/// Why the latest firing of a timer was late, or what it waits for. Any thread.
/// \returns nothing if there is no such timer
std::optional<std::string> explainLatest(const Diagnosis& diagnosis, std::uint64_t number);

} // namespace tovrinhost
