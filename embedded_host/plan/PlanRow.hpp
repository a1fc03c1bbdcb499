#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/diagnosis/Firing.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// What a plan tells of a firing. Moments count from the script's beginning.
struct PlanRow {
    enum class Outcome : std::uint8_t {
        Done,
        Failed, ///< its callback raises an error
        Running, ///< as the plan ends
        Waiting, ///< to be run, as the plan ends
        Dropped, ///< never runs, or has not by the end of the plan
    };

    /// Something that it waited behind.
    struct Wait {
        std::string what; ///< "behind run 3 of hog (script.lua:5)"
        Nanoseconds length = 0;
    };

    static constexpr std::size_t mostWaits = 3;

    std::uint64_t timerNumber = 0; ///< 0 of a timer that nobody knows any more
    std::string timer; ///< its name, as it is
    std::string callback; ///< "TimerFcn"
    std::uint64_t run = 0; ///< of a TimerFcn that begins; else 0
    Outcome outcome = Outcome::Done;
    std::string reason; ///< of one that is dropped

    Nanoseconds due = 0;
    Nanoseconds at = 0; ///< when it begins or comes to nothing; of one that does neither, the plan's end
    std::optional<Nanoseconds> took; ///< until the plan's end, if it is running then; none if it has not begun

    std::uint64_t dropped = 0; ///< firings of the TimerFcn that this one stands for, without having them run
    Nanoseconds droppedFrom = 0; ///< when the first of them was due
    std::vector<Wait> waits; ///< why it is late: the longest, in the order of time

    Nanoseconds lateness() const { return at - due; }
    bool isTimerFcn() const { return callback == "TimerFcn"; }
};

/// \param inquiry that of the diagnosis
/// \param now what goes on, goes on until then
PlanRow rowOf(const Firing& firing, const Diagnosis& diagnosis, const Inquiry& inquiry, Nanoseconds now);

/// "done", "failed"
const char* nameOf(PlanRow::Outcome outcome);

} // namespace tovrinhost
