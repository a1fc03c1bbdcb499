#pragma once

#include "embedded_host/clock/Alarms.hpp"
#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/diagnosis/FiringStatistics.hpp"
#include "embedded_host/engine/LoopEngine.hpp"
#include "embedded_host/engine/TimerEngine.hpp"
#include "embedded_host/timers/RunEnd.hpp"
#include "embedded_host/timers/RunIntake.hpp"
#include "embedded_host/timers/RunProgress.hpp"
#include "embedded_host/timers/StartGap.hpp"
#include "embedded_host/timers/TimerSettings.hpp"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tovrinhost {

class ErrorReport;
class ScriptTimer;
struct ReportedError;

/// What all timers of a script share.
struct TimerSurroundings {
    const std::shared_ptr<LoopEngine> engine;
    ErrorReport& errors;
    Diagnosis& diagnosis;
    Alarms& alarms;
    const std::size_t maxBacklog; ///< how many callbacks of one timer may wait at most
    bool isEnding = false; ///< the program is about to end: no run begins any more

    /// Told of a timer that has nothing to come any more; it may be gone when this returns.
    std::function<void(const ScriptTimer&)> timerIsQuiet = [](const ScriptTimer& /*timer*/) {};
};

/// One run of a script's timer: from its start until nothing of it is left.
///
/// It has a library timer and an engine of its own, and each of its tasks carries that engine. So nothing that the
/// scheduler may still bring for an earlier run reaches a later one.
///
///     Starting ----> Running ----> Ending ----> Ended
///
/// Starting: the StartFcn waits, until it begins.
///   stop:    drops what waits behind the StartFcn, asks for the StopFcn; Ending.
/// Running, until a stop, an error, the StopFcn begins, the last TimerFcn has ended and there is no StopFcn, or as
/// many have ended as the timer is set to meanwhile.
///   stop:    drops what waits, asks for the StopFcn; Ending.
///   error in StartFcn or TimerFcn: drops what waits, asks for ErrorFcn and StopFcn; Ending.
/// Ending: what the end calls for waits or runs, until nothing waits and nothing runs.
///   stop:    nothing.
///   error in StartFcn or TimerFcn: as in Running, but for a StopFcn that has begun.
/// Ended: nothing comes of anything any more.
///
/// What the library leaves to its host:
/// - In fixed delay and fixed rate it decides before the last callback whether a StopFcn follows, and that one may
///   assign it. So the run counts along, and asks itself for a StopFcn that was not there from the start.
/// - After a contention in busy mode Error it says nothing. It shows in a StopFcn that comes while callbacks are
///   still to come, or without a StopFcn in a timer that has stopped before its time. The ErrorFcn that follows is
///   asked for by the run, so that the library is told of none meanwhile.
///
/// Threading: the interpreter thread. What the dispatching thread has to do for it is its RunIntake's.
/// Lifetime: shared by its timer and, while it runs, by the running task.
class ScriptRun final : public TimerTaskListener, public std::enable_shared_from_this<ScriptRun> {
public:
    /// The timer that the run belongs to.
    class Owner {
    public:
        /// An error of the run has been reported, but for one of its ErrorFcn.
        virtual void errorReported(const std::string& error) = 0;

        /// Nothing of the run is left.
        virtual void runEnded() = 0;

    protected:
        ~Owner() = default;
    };

    /// \param number by which the engine finds the script's object
    /// \param statistics what is counted of the timer's firings
    ScriptRun(const TimerSurroundings& surroundings, Owner& owner, std::uint64_t number,
        std::shared_ptr<FiringStatistics> statistics, TimerSettings settings);

    /// Once, before anything else.
    /// \throws whatever keeps the library from starting the timer; the run has ended then
    void begin();

    /// Takes a new number of tasks in, before the settings that hold it.
    /// \throws std::invalid_argument if the run goes by the old one whatever comes; says what is allowed
    void changeTasks(std::uint64_t tasks);

    /// New settings, in force from the next callback.
    void change(const TimerSettings& settings);

    /// \param why the reason for its end, unless all its TimerFcns have begun
    /// \returns whether it has kept a TimerFcn from running
    bool stop(EndReason why);

    /// Ends the run as a TimerFcn that fails does: ErrorFcn, StopFcn. To be under way. A StartFcn that waits comes
    /// first. \param message what has failed
    void fail(const std::string& message);

    /// Ends it at once, with all callbacks that the end calls for run before this returns, nested in whatever is
    /// running. The owner hears no more; errors of a callback that is still running are reported.
    void finishForOwnerThatLeaves();

    /// The function of the callback that has begun last is about to be called.
    void functionIsCalled();

    /// The owner is not there any more.
    void forgetOwner() { m_owner = nullptr; }

    /// Whether it can be stopped.
    bool isUnderWay() const { return m_state == State::Starting || m_state == State::Running; }

    /// What the script is told: also while the StopFcn has been asked for and has not begun.
    bool isRunning() const { return m_state != State::Ended && m_timer->getIsRunning(); }

    bool isEnded() const { return m_state == State::Ended; }

    /// Whether this is called from within one of its callbacks.
    bool isInTask() const { return m_engine->isInTask(); }

    const tovrintimer::TimerInfo& statistics() const { return *m_timer; }

    /// How many of its TimerFcns have begun.
    std::uint64_t timerFcns() const { return m_progress.timerFcns(); }

    /// When its next TimerFcn is due, or was, if it waits to run. Nothing where none is to come, or where that is
    /// not known yet: during a callback of a fixed spacing.
    std::optional<Nanoseconds> nextDue() const;

    /// Known as its StopFcn begins, or as it has ended.
    EndReason endReason() const { return m_endReason; }

    /// What its ErrorFcn is called for.
    const Failure& failure() const { return m_failure; }

    /// The callback that has begun last.
    Callback latestCallback() const { return m_latestCallback; }

private:
    enum class State { Starting, Running, Ending, Ended };

    void callbackBegins(Callback callback, const TaskNote& note) override;
    void periodCounts() noexcept override { m_settings.applyPeriodTo(*m_timer); }
    void taskEnds(Callback callback, const TaskNote& note, const std::exception_ptr& error) noexcept override;
    void hasStopped() noexcept override;
    void backlogExceeded() noexcept override;

    std::string label() const { return "timer \"" + m_settings.name + "\""; }
    void applySettings();
    void describe() const;
    Nanoseconds turnedAt() const;
    void noteBeginning(bool isTimerFcn, const TaskNote& note, Nanoseconds turned);
    void noteEnd(Callback callback, const TaskNote& note, bool hasFailed);
    void timerFcnsAreOver();
    void noteOverrun();
    void callbackFailed(Callback callback, const std::exception_ptr& error);
    void runFails(EndReason why, std::size_t keep = 0);
    void reportFailure(const char* callback, const std::string& message);
    void noteFailure(const char* callback, ReportedError error);
    void tellOwner(const std::string& error);
    void askForErrorFcn(bool alsoStopFcn);

    /// Looks what is to come of itself, once nothing waits and nothing runs: the run's end, or its ErrorFcn.
    void goOn();
    void end();

    const TimerSurroundings& m_surroundings;
    Owner* m_owner; // null once it has left
    const std::shared_ptr<FiringStatistics> m_statistics;
    const std::uint64_t m_number;
    const tovrintimer::ExecutionMode m_mode;
    const std::shared_ptr<RunIntake> m_intake; // which the engine shares

    // The library keeps a reference to it, so it stands before the library's timer, and goes after it. The
    // interrupt state that it is for comes from the queue manager instead.
    const std::shared_ptr<InterruptStateData> m_interruptState;

    std::shared_ptr<TimerEngine> m_engine;
    std::shared_ptr<tovrintimer::TimerInfo> m_timer;
    State m_state = State::Starting;
    EndReason m_endReason = EndReason::TasksDone;
    Callback m_latestCallback = Callback::None;
    StartGap m_gap; // from one TimerFcn of a fixed delay to the next
    bool m_hasNewStopFcn = false; // assigned during the run
    bool m_stopFcnHasBegun = false;
    bool m_isOverrun = false; // the ErrorFcn is to follow the StopFcn

    RunProgress m_progress;

    // Behind what each callback looks at.
    TimerSettings m_settings;
    Failure m_failure;
};

} // namespace tovrinhost
