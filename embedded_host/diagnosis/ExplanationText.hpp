#pragma once

#include "embedded_host/diagnosis/Explanation.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <cstdint>
#include <functional>
#include <string>

namespace tovrinhost {

/// How things stand while a firing has not started.
struct Standing {
    Nanoseconds now = 0;
    Activity activity; ///< what the interpreter thread is at; `to` does not count
    std::uint64_t lastRun = 0; ///< of the firing's timer; 0 if it has had none
    std::uint64_t waiting = 0; ///< how many callbacks of its timer wait in the host's queue
};

/// Explanations as people read them, in lines that end with a line break.
///
///     poll run 17 (FixedRate, Drop, 0.1 s) due 1.700 started 1.832 late 132.0 ms
///           0.120 ms   0.1 %  the scheduler's wake-up
///         131.880 ms  99.9 %  behind run 3 of hog (script.lua:5)
class ExplanationText {
public:
    /// \returns null for a timer that nobody knows any more
    using Names = std::function<TimerTable::Description(const TimerTable::Identity&)>;

    /// \param beginning moments are told as seconds since then
    ExplanationText(Names names, Nanoseconds beginning);

    /// Of a firing that has started, or that never will.
    std::string of(const Explanation& explanation) const;

    /// Of one that has not started yet: what it waits for.
    std::string ofPending(const Firing& firing, const Standing& standing) const;

    /// "poll", or what stands for a timer that nobody knows.
    std::string timerName(const TimerTable::Identity& timer) const;

    /// "run 3 of hog (script.lua:5)"
    std::string callback(const Activity& activity) const;

    /// "run 17", or "StopFcn"
    static std::string callbackName(tovrintimer::WorkKind kind, std::uint64_t run);

    /// "behind run 3 of hog (script.lua:5)"
    std::string causeOf(const Part& part, const Firing& firing) const;

    /// Why a firing never ran, or never will: "its timer had stopped".
    static std::string reasonOf(const Firing& firing);

private:
    std::string title(const Firing& firing) const;
    std::string whatItWaitsFor(const Firing& firing, const Standing& standing) const;
    std::string moment(Nanoseconds at) const;

    const Names m_names;
    const Nanoseconds m_beginning;
};

} // namespace tovrinhost
