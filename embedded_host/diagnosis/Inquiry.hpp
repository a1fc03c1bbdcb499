#pragma once

#include "embedded_host/diagnosis/Explanation.hpp"
#include "embedded_host/diagnosis/ExplanationText.hpp"
#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// Answers questions out of the log, each of which takes up to a millisecond, and out of the library's queue. What
/// the log does not hold any more is not known.
///
/// Threading: any thread, while the program runs.
class Inquiry {
public:
    /// Tells what of a timer's work is queued, the soonest first.
    using Queue = std::function<std::vector<tovrintimer::ObservedWork>(const TimerTable::Identity&)>;

    Inquiry(const FiringLog& log, const TimerTable& timers, Queue queue);

    Explanation explain(const Firing& firing) const;

    /// Of a firing, whether it has started or not.
    std::string text(const Firing& firing) const;

    /// The latest firing of a timer whose callback has begun or was to begin; or of its TimerFcn, the one with
    /// this number.
    std::optional<Firing> latest(const TimerTable::Identity& timer) const;
    std::optional<Firing> run(const TimerTable::Identity& timer, std::uint64_t run) const;

    /// What of a timer is queued and due the soonest.
    std::optional<Firing> queued(const TimerTable::Identity& timer) const;
    std::optional<Firing> queuedOf(std::uint64_t number) const; ///< of a script's timer, by its number

    /// When the next TimerFcn of this timer is due that is queued, or was, if attempts of it have been dropped.
    std::optional<Nanoseconds> nextDue(const TimerTable::Identity& timer) const;

    /// The firings that began the latest after they were due, the latest of all first.
    std::vector<Firing> worst(std::size_t count) const;

    /// What the log holds of the timers of a script, by their numbers.
    struct Summary {
        std::vector<Nanoseconds> latenesses; ///< of its TimerFcns, the latest first
        std::uint64_t missed = 0;
        std::uint64_t waiting = 0; ///< callbacks in the host's queue
        bool isInCallback = false;
        Firing newest; ///< number 0: none
    };
    std::map<std::uint64_t, Summary> summaries() const;

    /// What the interpreter thread is at.
    Activity activityNow() const;

    /// Tells of an activity which callback it is that it names.
    void identify(Activity& activity) const;

    const ExplanationText& words() const { return m_words; }

private:
    /// Calls `visit(firing)` for each one, the latest first, until it returns false.
    template <typename Visit> void visitAll(const Visit& visit) const;

    const FiringLog& m_log;
    const TimerTable& m_timers;
    const Queue m_queue;
    const ExplanationText m_words;
};

} // namespace tovrinhost
