#pragma once

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/engine/TimerEngine.hpp"
#include "embedded_host/script/SchedulerBarrier.hpp"
#include "embedded_host/script/TimerSettings.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tovrinhost {

class ErrorReport;

/// A timer object of a script: it drives a timer of the library, and sees to what the library leaves to its host.
///
/// - The StopFcn runs once for each run, whatever the timing: a stop takes back what was handed over and not yet
///   run, before it asks for the StopFcn.
/// - Nothing of a stopped run reaches the next one: that has a library timer of its own, since the scheduler may
///   still be at work for the old one.
/// - After an error in the StartFcn or the TimerFcn the ErrorFcn runs, then the StopFcn, and nothing else of that
///   run.
/// - A start from within one of the timer's own callbacks begins the new run once that callback has ended.
/// - More waiting callbacks than the backlog may hold are an error like one in a callback.
///
/// Threading: the interpreter thread only.
/// Lifetime: a deleted timer is an empty shell that tells so.
class ScriptTimer final : public TimerTaskListener {
public:
    /// \param number by which the engine finds the script's object
    /// \param maxBacklog how many of its callbacks may wait at most
    ScriptTimer(std::shared_ptr<Engine> engine, ErrorReport& errors, std::size_t maxBacklog, std::uint64_t number,
        TimerSettings settings);
    ~ScriptTimer() override;

    const TimerSettings& settings() const { return m_settings; }
    std::uint64_t number() const { return m_number; }

    /// Puts new settings in force; those of a running timer at its next callback.
    void change(TimerSettings settings);

    /// \throws std::logic_error if the timer is running; whatever keeps the library from starting it, in which
    ///         case the timer stays stopped
    void start();

    /// Ends the run; the StopFcn follows. Does nothing on a stopped timer.
    void stop();

    /// Pumps the event loop until the run and all its callbacks have ended.
    /// \returns false if `deadline` came first
    /// \throws std::logic_error from within one of the timer's own callbacks; Interrupted
    bool wait(const EventLoop::Deadline& deadline);

    /// Stops the timer, with its StopFcn run before this returns, and gives everything back.
    void destroy();

    bool isDeleted() const { return m_info == nullptr; }
    bool isRunning() const;

    /// Whether it neither runs nor has a callback to come.
    bool isQuiet();

    double tasksExecuted() const { return m_info->getTasksExecuted(); }
    double instantPeriod() const { return m_info->getInstantPeriod(); }
    double averagePeriod() const { return m_info->getAveragePeriod(); }
    const std::optional<std::string>& lastError() const { return m_lastError; }

private:
    void callbackBegins(const std::string& callback) override;
    void taskEnds(const std::string& callback, const std::exception_ptr& error) noexcept override;
    void backlogExceeded() noexcept override;

    std::string label() const { return "timer \"" + m_settings.name + "\""; }
    void makeLibraryTimer();
    void beginRun();
    void endRun();
    void failCallback(const std::string& callback, const std::exception_ptr& error);
    void failRun();

    const std::shared_ptr<Engine> m_engine;
    ErrorReport& m_errors;
    const std::size_t m_maxBacklog;
    const std::uint64_t m_number;
    TimerSettings m_settings;

    // The library keeps a reference to it. The interrupt state that it is for comes from the queue manager
    // instead.
    const std::shared_ptr<InterruptStateData> m_interruptState;

    std::shared_ptr<TimerEngine> m_timerEngine;
    std::shared_ptr<tovrintimer::TimerInfo> m_info; // null once deleted
    std::optional<std::string> m_lastError;
    bool m_wasCutShort = false; // the latest run, by a stop or an error
    bool m_startFcnWaits = false; // handed over, and not begun
    bool m_startsAgain = false; // as soon as the callback that asked for it has ended
    std::optional<SchedulerBarrier> m_barrier; // set while the scheduler may bring more than the flag tells of
};

} // namespace tovrinhost
