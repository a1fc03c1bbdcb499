#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/timers/Appointment.hpp"
#include "embedded_host/timers/ScriptRun.hpp"
#include "embedded_host/timers/TimerSettings.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tovrinhost {

/// A timer object of a script: its settings, and its runs one after the other.
///
/// Each start that is accepted gives one run, with its StartFcn first and its StopFcn last. Where an earlier run
/// has not ended yet, the new one begins as soon as it has.
///
/// Threading: the interpreter thread only.
/// Lifetime: a deleted timer is an empty shell that tells so.
class ScriptTimer final : private ScriptRun::Owner {
public:
    /// \param number by which the engine finds the script's object
    ScriptTimer(const TimerSurroundings& surroundings, std::uint64_t number, TimerSettings settings);
    ScriptTimer(const ScriptTimer&) = delete;
    ScriptTimer& operator=(const ScriptTimer&) = delete;
    ~ScriptTimer();

    const TimerSettings& settings() const { return m_settings; }
    std::uint64_t number() const { return m_number; }

    /// Puts new settings in force; those of a running timer at its next callback.
    /// \throws std::invalid_argument, which says what is allowed, for a number of tasks that comes too late for
    /// the
    ///         run; nothing is changed then
    void change(TimerSettings settings);

    /// Does nothing once the program is about to end.
    /// \throws std::logic_error if a run is under way; whatever keeps the library from starting it, in which case
    ///         the timer stays stopped
    void start();

    /// Starts it once the wall clock shows `moment`, which takes the place of the start delay; at once if it has
    /// passed. A run that is under way then has to end first. Until then the timer counts as running. \throws
    /// std::logic_error if another moment is waited for already; std::system_error if that cannot be done
    void startAt(WallTime moment);

    /// Ends the run; the StopFcn follows. Does nothing on a stopped timer. A run that was accepted and has not
    /// begun is stopped as it begins; one that waits for its moment is taken back.
    /// \returns whether it has kept a TimerFcn from running
    bool stop();

    /// Ends its run as a TimerFcn that fails does.
    /// \param message what has failed
    /// \throws std::logic_error if none is under way
    void fail(const std::string& message);

    /// Stops it for the end of the program: what has not begun is taken back.
    void stopForGood();

    /// Pumps the event loop until there is nothing to wait for.
    /// \returns false if `deadline` came first
    /// \throws std::logic_error from within one of the timer's own callbacks; Interrupted
    bool wait(const EventLoop::Deadline& deadline);

    /// \throws std::logic_error from within one of the timer's own callbacks: it cannot be waited for there
    void requireOutsideItsCallbacks() const;

    /// Stops the timer, with the callbacks that this calls for run before it returns, and gives everything back.
    void destroy();

    bool isDeleted() const { return m_life == Life::Deleted; }
    bool isRunning() const;

    /// Whether it neither runs nor has a callback or a run to come.
    bool isQuiet() const { return m_runsToCome == 0 && !m_appointment && (!m_run || m_run->isEnded()); }

    /// Whether there is nothing to wait for.
    bool isOver() const { return isDeleted() || isQuiet(); }

    // Of the latest run.
    double tasksExecuted() const;
    double instantPeriod() const;
    double averagePeriod() const;
    const std::optional<std::string>& lastError() const { return m_lastError; }

    /// By what it ended; of a deleted timer, too. Nothing before that.
    const std::optional<EndReason>& endReason() const { return m_endReason; }

    /// The run whose callback begins or runs; null while there is none.
    ScriptRun* run() { return m_run.get(); }

    /// Why the latest of its firings was late, or what it waits for; or of its TimerFcn, the one with this number
    /// in the latest run. \param run from 1 \throws std::invalid_argument if it has not had so many
    std::string explain(std::optional<std::uint64_t> run) const;

    /// Of all runs.
    const FiringStatistics& firings() const { return *m_statistics; }

    /// How long it is until its next TimerFcn is due; negative if that waits to run; nothing if none is known to
    /// come.
    std::optional<Nanoseconds> untilNextDue() const;

    /// When that is by the wall clock.
    std::optional<WallTime> nextTime() const;

    /// The moment at which it was made.
    Nanoseconds made() const { return m_made; }

private:
    enum class Life { Live, BeingDeleted, Deleted };

    void errorReported(const std::string& error) override { m_lastError = error; }
    void runEnded() override;
    void describe() const;
    bool isStartAccepted() const { return m_runsToCome > 0 && !m_stopsTheLastToCome; }
    TimerSettings settingsOfRun() const;
    void beginWhatIsToCome();
    void beginRun();
    void keepAppointment();
    bool takeAppointmentBack(EndReason why);
    template <typename Operation> void reportErrorsOf(Operation operation);

    const TimerSurroundings& m_surroundings;
    const std::uint64_t m_number;
    const Nanoseconds m_made;
    TimerSettings m_settings;
    Life m_life = Life::Live;
    std::shared_ptr<ScriptRun> m_run; // the latest; null before the first, and once deleted
    std::optional<std::string> m_lastError; // of the latest run, like the next
    std::optional<EndReason> m_endReason;
    // Of all runs; whoever was told of the timer may still look at it.
    const std::shared_ptr<FiringStatistics> m_statistics = std::make_shared<FiringStatistics>();

    // Accepted, and not begun. All but the last have been stopped already.
    std::size_t m_runsToCome = 0;
    bool m_stopsTheLastToCome = false;
    bool m_begins = false; // while `beginWhatIsToCome` is at it

    std::shared_ptr<Appointment> m_appointment; // that a run is to begin at; null if there is none
    bool m_isRunAppointed = false; // the one to come, or the latest, has no start delay
};

} // namespace tovrinhost
