#pragma once

#include "tests/random_programs/model/Settings.hpp"

#include <optional>
#include <string>

namespace random_programs {

/// Whether a callback has to run yet, as far as can be told from outside.
struct Duty {
    bool must = false;
    bool may = false;
    bool begun = false;

    bool isOpen() const { return must && !begun; }
    bool canBegin() const { return may && !begun; }

    void decide(bool isThere) { must = may = isThere; }

    /// The callback has been assigned or taken away since it was decided.
    void change(bool isThere)
    {
        must = must && isThere;
        may = may || isThere;
    }
};

/// One run of a timer, from the start that was accepted.
///
/// What a run does of itself is done on another thread, and is not seen: `end` is Maybe from the moment on when it
/// may have come to its end.
struct Run {
    enum class End { No, Maybe, Yes };

    Run(const Settings& settings, double acceptedAt);

    /// The run that was accepted at first begins at once; another when nothing of the earlier one is left.
    bool hasBegun = false;

    End end = End::No;
    bool failed = false; ///< by an error of its StartFcn or TimerFcn
    bool endsByCount = false; ///< its last TimerFcn has begun
    bool isFixedRate = false;
    bool looksEarly = false; ///< for its StopFcn, before the last TimerFcn: at a fixed rate or delay
    bool mayOverrun = false; ///< at a fixed rate, in busy mode Error
    bool hasOverrun = false; ///< it has been seen to
    bool mayQueue = false; ///< several of its TimerFcns may wait
    bool mayComeLate = false; ///< a TimerFcn that waited when it was overtaken
    bool isReported = false; ///< the overrun
    bool isTakenBack = false; ///< nothing of it need come

    Duty startFcn;
    Duty stopFcn;
    Duty errorFcn;
    int timerFcns = 0; ///< that have begun
    int active = 0; ///< of its callbacks, on the stack
    bool isInTimerFcn = false;
    bool isStoppedInLast = false; ///< while its last TimerFcn runs
    bool isStopFcnChanged = false;

    double tasks; ///< that it is to have
    bool isTasksChanged = false;
    double shortestPeriod;

    std::optional<std::string> cause; ///< by which it has ended, if not by its last TimerFcn
    std::string failure; ///< what its ErrorFcn is called for

    /// A TimerFcn begins, or one of a fixed spacing ends.
    void count();
    void space(double ended);

    /// No TimerFcn begins earlier.
    double due() const;

    /// It is stopped. \param why as its StopFcn is told, unless nothing is prevented
    void stop(bool hasStopFcn, const std::string& why);

    /// \param failedCallback as its ErrorFcn is told
    void fail(const Settings& settings, const std::string& failedCallback);

    /// Whether all its TimerFcns have begun.
    bool hasAll() const { return timerFcns >= tasks; }

    /// As its StopFcn and `wait` are told.
    std::string reason() const { return cause.value_or("tasks done"); }

    /// It may have come to its end of itself, and in the fixed-rate case without anybody seeing it.
    void allowEnd(bool hasStopFcn);

    /// The settings have been changed while it runs.
    void change(const Settings& settings, const std::string& property);

    /// Whether the engine, which goes on beyond a number that was lowered to the next, may find itself overtaken
    /// there.
    bool mayGoOn() const;

    /// Whether it may have come to its end, for all that has been seen.
    bool mayHaveEnded() const;

    /// Whether it is over, or may be: no callback of it runs or is sure to come.
    bool canBeOver() const;

    /// Whether it cannot be anything but over.
    bool isOver() const;

    /// Which of its callbacks is still sure to come, in words; empty if none.
    std::string owes() const;

    /// Why this callback cannot be one of this run, empty if it can.
    std::string refuses(const std::string& callback) const;

    /// Whether this callback is sure to be one of this run, if it is one of several.
    bool expects(const std::string& callback) const;

    /// It has been seen to have come to its end of itself.
    void noteEnd();

private:
    double m_base; // of what is due next: no later than the engine's own
};

} // namespace random_programs
