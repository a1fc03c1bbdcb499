#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tovrinhost {

/// What has become of the firings of one timer, in all its runs.
///
/// Threading: the interpreter thread writes; any thread reads, each of them for itself.
struct FiringStatistics {
    enum class Run : std::uint8_t { None, UnderWay, Over };

    std::atomic<Run> run { Run::None }; ///< the latest
    std::atomic<std::uint64_t> runs { 0 }; ///< TimerFcns that have begun
    std::atomic<std::uint64_t> drops { 0 }; ///< firings that were dropped before one of them
    std::atomic<std::uint64_t> errors { 0 }; ///< callbacks of any kind that have failed
    std::atomic<Nanoseconds> lastStarted { 0 }; ///< the latest TimerFcn
    std::atomic<Nanoseconds> lastLateness { 0 };
    std::atomic<Nanoseconds> mostLateness { 0 };
    std::atomic<Nanoseconds> busy { 0 }; ///< spent in callbacks of any kind, with what they waited for

    void timerFcnBegins(Nanoseconds started, Nanoseconds lateness, std::uint64_t missed)
    {
        set(runs, runs + 1);
        set(drops, drops + missed);
        set(lastStarted, started);
        set(lastLateness, lateness);
        set(mostLateness, std::max<Nanoseconds>(mostLateness, lateness));
    }

    void callbackEnds(Nanoseconds took, bool hasFailed)
    {
        set(busy, busy + took);
        set(errors, errors + (hasFailed ? 1 : 0));
    }

private:
    /// One thread writes: no other write can come in between.
    template <typename Value> static void set(std::atomic<Value>& member, Value value)
    {
        member.store(value, std::memory_order_relaxed);
    }
};

/// The smallest of them that `percent` of them do not exceed; 0 where there is none.
inline Nanoseconds percentile(std::vector<Nanoseconds> values, std::size_t percent)
{
    if (values.empty()) {
        return 0;
    }
    const std::size_t rank = (values.size() * percent + 99) / 100;
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace tovrinhost
