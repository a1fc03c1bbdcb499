#include "embedded_host/timers/ScriptTimer.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/timers/ErrorReport.hpp"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace tovrinhost {

ScriptTimer::ScriptTimer(const TimerSurroundings& surroundings, std::uint64_t number, TimerSettings settings)
    : m_surroundings(surroundings)
    , m_number(number)
    , m_made(surroundings.diagnosis.log().now())
    , m_settings(std::move(settings))
{
    describe();
}

ScriptTimer::~ScriptTimer()
{
    m_surroundings.diagnosis.timers().removeLive(m_number);
    if (m_run) {
        m_run->forgetOwner();
    }
}

void ScriptTimer::change(TimerSettings settings)
{
    if (m_run && settings.tasksToExecute != m_settings.tasksToExecute) {
        m_run->changeTasks(settings.taskCount());
    }
    m_settings = std::move(settings);
    describe();
    if (m_run) {
        m_run->change(settingsOfRun());
    }
}

/// For people who ask what timers there are.
void ScriptTimer::describe() const
{
    TimerDescription description = m_settings.describe();
    description.number = m_number;
    description.made = m_made;
    description.statistics = m_statistics;
    m_surroundings.diagnosis.timers().putLive(std::move(description));
}

void ScriptTimer::start()
{
    if (m_life == Life::BeingDeleted) {
        throw std::logic_error("the timer is being deleted; it cannot be started any more");
    }
    // A run that the library has ended, as one that was overtaken, is still under way until its callback ends.
    if (isStartAccepted() || m_appointment
        || (m_runsToCome == 0 && m_run && m_run->isUnderWay() && m_run->isRunning())) {
        throw std::logic_error("the timer is already running; only a stopped timer can be started");
    }
    if (m_surroundings.isEnding) {
        return;
    }
    ++m_runsToCome;
    m_stopsTheLastToCome = false;
    m_isRunAppointed = false;
    beginWhatIsToCome();
}

void ScriptTimer::startAt(WallTime moment)
{
    if (m_life == Life::BeingDeleted) {
        throw std::logic_error("the timer is being deleted; it cannot be started any more");
    }
    if (m_appointment) {
        throw std::logic_error("the timer is to start at another moment already; stop it first");
    }
    if (!m_surroundings.isEnding) {
        m_appointment = Appointment::make(m_surroundings.alarms, m_surroundings.engine, moment,
            [this] { reportErrorsOf([this] { keepAppointment(); }); });
    }
}

/// The moment has come, or the run that was under way then has ended.
void ScriptTimer::keepAppointment()
{
    if (m_runsToCome > 0 || (m_run && !m_run->isEnded())) {
        return;
    }
    m_appointment.reset();
    ++m_runsToCome;
    m_stopsTheLastToCome = false;
    m_isRunAppointed = true;
    beginWhatIsToCome();
}

/// \returns whether there was one
bool ScriptTimer::takeAppointmentBack(EndReason why)
{
    if (!std::exchange(m_appointment, nullptr)) {
        return false;
    }
    if (isQuiet()) {
        m_endReason = why; // of a run that has not begun
        m_surroundings.timerIsQuiet(*this);
    }
    return true;
}

TimerSettings ScriptTimer::settingsOfRun() const
{
    TimerSettings settings = m_settings;
    if (m_isRunAppointed) {
        settings.startDelaySeconds = 0.0;
    }
    return settings;
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
    m_endReason.reset();
    ScriptRun::Owner& owner = *this;
    m_run = std::make_shared<ScriptRun>(m_surroundings, owner, m_number, m_statistics, settingsOfRun());
    try {
        m_run->begin();
    } catch (...) {
        m_endReason = m_run->endReason();
        throw;
    }
    if (isStopped) {
        m_run->stop(EndReason::Stopped);
    }
}

bool ScriptTimer::stop()
{
    const bool isTakenBack = takeAppointmentBack(EndReason::Stopped);
    if (m_runsToCome > 0) {
        return !std::exchange(m_stopsTheLastToCome, true) || isTakenBack;
    }
    const auto kept = m_run; // whatever comes after it
    return (kept && kept->stop(EndReason::Stopped)) || isTakenBack;
}

void ScriptTimer::fail(const std::string& message)
{
    const auto kept = m_run; // whatever comes after it
    if (!kept || !kept->isUnderWay() || m_runsToCome > 0) {
        throw std::logic_error("the timer is not running; only a running timer can be made to fail");
    }
    kept->fail(message);
}

void ScriptTimer::stopForGood()
{
    m_runsToCome = 0;
    takeAppointmentBack(EndReason::Interrupted);
    if (const auto kept = m_run) {
        kept->stop(EndReason::Interrupted);
    }
}

bool ScriptTimer::wait(const EventLoop::Deadline& deadline)
{
    requireOutsideItsCallbacks();
    return m_surroundings.engine->loop().runUntil(
        EventLoop::State::Pumping, [this] { return isOver(); }, deadline);
}

void ScriptTimer::requireOutsideItsCallbacks() const
{
    if (m_run && m_run->isInTask()) {
        throw std::logic_error(
            "the timer cannot be waited for while one of its callbacks is running: the wait would never end");
    }
}

void ScriptTimer::destroy()
{
    if (m_life != Life::Live) {
        return; // asked for by one of its last callbacks
    }
    m_life = Life::BeingDeleted;
    m_runsToCome = 0;
    takeAppointmentBack(EndReason::Deleted);
    if (m_run) {
        m_run->finishForOwnerThatLeaves();
        m_endReason = m_run->endReason();
        m_run.reset();
    }
    m_life = Life::Deleted;
    m_surroundings.diagnosis.timers().removeLive(m_number);
}

bool ScriptTimer::isRunning() const
{
    return isStartAccepted() || m_appointment || (m_run && m_run->isRunning());
}

void ScriptTimer::runEnded()
{
    m_endReason = m_run->endReason();
    reportErrorsOf([this] {
        beginWhatIsToCome();
        if (m_appointment && m_appointment->hasCome()) {
            keepAppointment();
        }
    });
}

template <typename Operation> void ScriptTimer::reportErrorsOf(Operation operation)
{
    try {
        operation();
    } catch (const std::exception& problem) {
        m_lastError = m_surroundings.errors.report("timer \"" + m_settings.name + "\"", problem).message;
    }
    if (isQuiet()) {
        m_surroundings.timerIsQuiet(*this);
    }
}

std::string ScriptTimer::explain(std::optional<std::uint64_t> run) const
{
    const Inquiry inquiry = m_surroundings.diagnosis.inquiry();
    const std::string& name = m_settings.name;
    if (!m_run) {
        return escape(name)
            + (m_appointment ? " has not begun: it waits for a moment of the wall clock"
                             : " has not been started: nothing of it is due");
    }
    const auto runs = static_cast<std::uint64_t>(tasksExecuted());
    if (run && *run > runs) {
        throw std::invalid_argument("the run of explain is " + std::to_string(*run) + ", but the timer has had "
            + std::to_string(runs) + " since it was started");
    }
    if (!run && runs == 0 && m_run->isEnded() && m_run->endReason() == EndReason::Error) {
        const Failure& failure = m_run->failure();
        return escape(name) + " has not run since it was started: its " + failure.callback
            + " failed: " + escape(failure.message);
    }
    const auto& timer = m_run->statistics().getId();
    if (const auto firing = run ? inquiry.run(timer, *run) : inquiry.latest(timer)) {
        std::string text = inquiry.text(*firing);
        text.pop_back(); // the last line break
        return text;
    }
    return escape(name) + (run ? " run " + std::to_string(*run) : "")
        + " is not in the log any more, which holds the " + std::to_string(FiringLog::capacity)
        + " latest firings of all timers";
}

std::optional<Nanoseconds> ScriptTimer::untilNextDue() const
{
    if (const auto due = m_run ? m_run->nextDue() : std::nullopt) {
        return *due - m_surroundings.diagnosis.log().now();
    }
    if (m_appointment) {
        const auto span = m_appointment->moment() - m_surroundings.alarms.clock().now();
        return std::chrono::nanoseconds(span).count();
    }
    return std::nullopt;
}

std::optional<WallTime> ScriptTimer::nextTime() const
{
    if (m_appointment && !(m_run && m_run->nextDue())) {
        return m_appointment->moment();
    }
    const auto span = untilNextDue();
    if (!span) {
        return std::nullopt;
    }
    return m_surroundings.alarms.clock().now()
        + std::chrono::duration_cast<WallTime::duration>(std::chrono::nanoseconds(*span));
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
