#include "embedded_host/timers/ScriptTimer.hpp"

#include "embedded_host/timers/ErrorReport.hpp"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace tovrinhost {

ScriptTimer::ScriptTimer(const TimerSurroundings& surroundings, std::uint64_t number, TimerSettings settings)
    : m_surroundings(surroundings)
    , m_number(number)
    , m_settings(std::move(settings))
{
}

ScriptTimer::~ScriptTimer()
{
    if (m_run) {
        m_run->forgetOwner();
    }
}

void ScriptTimer::change(TimerSettings settings)
{
    m_settings = std::move(settings);
    if (m_run) {
        m_run->change(m_settings);
    }
}

void ScriptTimer::start()
{
    if (m_life == Life::BeingDeleted) {
        throw std::logic_error("the timer is being deleted; it cannot be started any more");
    }
    // A run that the library has ended, as one that was overtaken, is still under way until its callback ends.
    if (isStartAccepted() || (m_runsToCome == 0 && m_run && m_run->isUnderWay() && m_run->isRunning())) {
        throw std::logic_error("the timer is already running; only a stopped timer can be started");
    }
    if (m_surroundings.isEnding) {
        return;
    }
    ++m_runsToCome;
    m_stopsTheLastToCome = false;
    beginWhatIsToCome();
}

void ScriptTimer::beginWhatIsToCome()
{
    if (m_begins) {
        return; // the call that is under way goes on
    }
    m_begins = true;
    try {
        while (m_runsToCome > 0 && (!m_run || m_run->isEnded())) {
            beginRun();
        }
    } catch (...) {
        m_begins = false;
        throw;
    }
    m_begins = false;
}

void ScriptTimer::beginRun()
{
    --m_runsToCome;
    const bool isStopped = m_runsToCome > 0 || m_stopsTheLastToCome;
    m_lastError.reset();
    ScriptRun::Owner& owner = *this;
    m_run = std::make_shared<ScriptRun>(m_surroundings, owner, m_number, m_settings);
    m_run->begin();
    if (isStopped) {
        m_run->stop();
    }
}

void ScriptTimer::stop()
{
    if (m_runsToCome > 0) {
        m_stopsTheLastToCome = true;
    } else if (m_run) {
        const auto kept = m_run; // whatever comes after it
        kept->stop();
    }
}

void ScriptTimer::stopForGood()
{
    m_runsToCome = 0;
    stop();
}

bool ScriptTimer::wait(const EventLoop::Deadline& deadline)
{
    if (m_run && m_run->isInTask()) {
        throw std::logic_error(
            "the timer cannot be waited for while one of its callbacks is running: the wait would never end");
    }
    return m_surroundings.engine->loop().runUntil(
        EventLoop::State::Pumping, [this] { return isDeleted() || isQuiet(); }, deadline);
}

void ScriptTimer::destroy()
{
    if (m_life != Life::Live) {
        return; // asked for by one of its last callbacks
    }
    m_life = Life::BeingDeleted;
    m_runsToCome = 0;
    if (m_run) {
        m_run->finishForOwnerThatLeaves();
        m_run.reset();
    }
    m_life = Life::Deleted;
}

bool ScriptTimer::isRunning() const
{
    return isStartAccepted() || (m_run && m_run->isRunning());
}

void ScriptTimer::runEnded()
{
    try {
        beginWhatIsToCome();
    } catch (const std::exception& problem) {
        m_lastError = m_surroundings.errors.report("timer \"" + m_settings.name + "\"", problem);
    }
}

double ScriptTimer::tasksExecuted() const
{
    return m_run ? m_run->statistics().getTasksExecuted() : 0.0;
}

double ScriptTimer::instantPeriod() const
{
    return m_run ? m_run->statistics().getInstantPeriod() : std::nan("");
}

double ScriptTimer::averagePeriod() const
{
    return m_run ? m_run->statistics().getAveragePeriod() : std::nan("");
}

} // namespace tovrinhost
