#include "embedded_host/script/ScriptTimer.hpp"

#include "embedded_host/data/ObjectArray.hpp"
#include "embedded_host/script/ErrorReport.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <stdexcept>
#include <utility>

namespace tovrinhost {

using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

ScriptTimer::ScriptTimer(std::shared_ptr<Engine> engine, ErrorReport& errors, std::size_t maxBacklog,
    std::uint64_t number, TimerSettings settings)
    : m_engine(std::move(engine))
    , m_errors(errors)
    , m_maxBacklog(maxBacklog)
    , m_number(number)
    , m_settings(std::move(settings))
{
    makeLibraryTimer();
}

ScriptTimer::~ScriptTimer()
{
    m_timerEngine->forget();
}

void ScriptTimer::makeLibraryTimer()
{
    auto timerEngine = std::make_shared<TimerEngine>(m_engine, *this, m_maxBacklog);
    auto info = std::make_shared<TimerInfo>(makeObjectArray(m_number), timerEngine, m_interruptState);
    m_settings.applyTo(*info);
    if (m_timerEngine) {
        m_timerEngine->forget();
    }
    m_timerEngine = std::move(timerEngine);
    m_info = std::move(info);
    m_wasCutShort = false;
}

void ScriptTimer::change(TimerSettings settings)
{
    m_settings = std::move(settings);
    m_settings.applyTo(*m_info);
}

void ScriptTimer::start()
{
    if (isRunning()) {
        throw std::logic_error("the timer is already running; only a stopped timer can be started");
    }
    if (m_timerEngine->isInTask()) {
        // What that callback's task still does at its end belongs to the old run.
        m_startsAgain = true;
    } else {
        beginRun();
    }
}

void ScriptTimer::beginRun()
{
    m_startsAgain = false;
    if (m_wasCutShort) {
        makeLibraryTimer();
    }
    m_startFcnWaits = m_settings.hasStartFcn;
    m_timerEngine->open();
    if (m_settings.executionMode == tovrintimer::ExecutionMode::FixedRate) {
        m_barrier.emplace(m_engine);
    }
    try {
        TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(m_info);
    } catch (...) {
        m_timerEngine->close(0);
        m_info->setActivationStatus(false);
        throw;
    }
}

void ScriptTimer::stop()
{
    if (m_startsAgain) {
        m_startsAgain = false;
    } else if (m_info->getIsRunning()) {
        endRun();
    }
}

void ScriptTimer::endRun()
{
    m_barrier.reset();
    m_wasCutShort = true;
    // A started timer has its StartFcn run before its StopFcn, however soon it is stopped.
    m_timerEngine->close(m_startFcnWaits ? 1 : 0);
    TimerScheduler::getPerTOVRINProcessInstance()->forceStopWorkAndScheduleStopFcn(m_info);
}

bool ScriptTimer::wait(const EventLoop::Deadline& deadline)
{
    if (m_timerEngine->isInTask()) {
        throw std::logic_error(
            "the timer cannot be waited for while one of its callbacks is running: the wait would never end");
    }
    return m_engine->loop().runUntil(
        EventLoop::State::Pumping, [this] { return isDeleted() || isQuiet(); }, deadline);
}

void ScriptTimer::destroy()
{
    stop();
    m_timerEngine->runPending();
    m_timerEngine->close(0);
    m_timerEngine->forget();
    m_info.reset();
}

bool ScriptTimer::isRunning() const
{
    return m_startsAgain || m_info->getIsRunning();
}

bool ScriptTimer::isQuiet()
{
    const auto isSilent
        = [this] { return !isRunning() && !m_timerEngine->isInTask() && m_timerEngine->pending() == 0; };
    if (!isSilent()) {
        return false;
    }
    if (m_barrier) {
        // A fixed-rate run that fails of itself brings its ErrorFcn after it has stopped running.
        if (!m_barrier->isPassed()) {
            return false;
        }
        m_barrier.reset();
    }
    return isSilent();
}

void ScriptTimer::callbackBegins(const std::string& callback)
{
    if (callback == "StartFcn") {
        m_startFcnWaits = false;
    }
}

void ScriptTimer::taskEnds(const std::string& callback, const std::exception_ptr& error) noexcept
{
    try {
        if (error) {
            failCallback(callback, error);
        } else if (m_startsAgain && !m_timerEngine->isInTask()) {
            beginRun();
        }
    } catch (const std::exception& problem) {
        m_errors.report(label(), problem);
    }
}

void ScriptTimer::backlogExceeded() noexcept
{
    try {
        m_lastError = m_errors.report(label(),
            std::runtime_error("more than " + std::to_string(m_maxBacklog)
                + " of its callbacks are waiting to run (the limit is set by --max-backlog); the timer is "
                  "stopped"));
        failRun();
    } catch (const std::exception& problem) {
        m_errors.report(label(), problem);
    }
}

void ScriptTimer::failCallback(const std::string& callback, const std::exception_ptr& error)
{
    if (m_engine->loop().interruption() != Interruption::None) {
        return; // the callback was given up, and the timer is about to be stopped
    }
    m_startsAgain = false;
    m_lastError = m_errors.report(callback + " of " + label(), error);
    if (callback != "ErrorFcn" && callback != "StopFcn") {
        failRun();
    }
}

void ScriptTimer::failRun()
{
    const bool wasRunning = m_info->getIsRunning();
    m_barrier.reset();
    m_wasCutShort = true;
    m_timerEngine->close(0);
    TimerScheduler::getPerTOVRINProcessInstance()->forceScheduleOfErrorFcn(m_info, wasRunning);
}

} // namespace tovrinhost
