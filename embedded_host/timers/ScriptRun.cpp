#include "embedded_host/timers/ScriptRun.hpp"

#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/values/ObjectArray.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace tovrinhost {

using tovrintimer::ExecutionMode;
using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

ScriptRun::ScriptRun(const TimerSurroundings& surroundings, Owner& owner, std::uint64_t number,
    std::shared_ptr<FiringStatistics> statistics, TimerSettings settings)
    : m_surroundings(surroundings)
    , m_owner(&owner)
    , m_statistics(std::move(statistics))
    , m_number(number)
    , m_mode(settings.executionMode)
    , m_intake(std::make_shared<RunIntake>(
          surroundings.diagnosis.log(), m_mode, settings.hasStartFcn, settings.taskCount()))
    , m_progress(m_mode, settings.taskCount(), *m_intake)
    , m_settings(std::move(settings))
{
}

void ScriptRun::begin()
{
    m_state = m_settings.hasStartFcn ? State::Starting : State::Running;
    m_statistics->run = FiringStatistics::Run::UnderWay;
    m_engine = std::make_shared<TimerEngine>(m_surroundings.engine, m_intake,
        std::weak_ptr<TimerTaskListener>(weak_from_this()), m_surroundings.maxBacklog);
    m_timer = std::make_shared<TimerInfo>(makeObjectArray(m_number), m_engine, m_interruptState);
    m_intake->setTimer(*m_timer);
    m_timer->setNumOfTasksToExecute(m_settings.taskCount());
    m_timer->setBusyMode(static_cast<std::size_t>(m_settings.busyMode));
    applySettings();
    try {
        describe();
        TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(m_timer);
    } catch (...) {
        m_engine->close(0);
        m_state = State::Ended;
        m_statistics->run = FiringStatistics::Run::Over;
        m_endReason = EndReason::Error;
        m_timer->setActivationStatus(false);
        throw;
    }
}

void ScriptRun::changeTasks(std::uint64_t tasks)
{
    if (isUnderWay() && isRunning()) {
        m_progress.setTotal(tasks);
    }
}

void ScriptRun::change(const TimerSettings& settings)
{
    m_hasNewStopFcn = m_hasNewStopFcn || (settings.hasStopFcn && !m_settings.hasStopFcn);
    m_settings = settings;
    describe();
    if (!isUnderWay()) {
        return;
    }
    applySettings();
    const bool hasTooMany = m_progress.hasBegunAll() && !m_progress.isLastOfLibrary();
    if (hasTooMany && !m_engine->isInTask()) { // else once that callback has ended
        stop(EndReason::TasksDone);
    }
}

void ScriptRun::applySettings()
{
    m_settings.applyTo(*m_timer);
    m_timer->setStopFcnIsEmpty(!m_settings.hasStopFcn);
    m_intake->setBusyMode(m_settings.busyMode);
    if (m_mode != ExecutionMode::FixedRate) { // there, the dispatching thread does it
        m_timer->setNumOfTasksToExecute(m_settings.taskCount());
    }
}

bool ScriptRun::stop(EndReason why)
{
    if (!isUnderWay()) {
        return false;
    }
    const bool prevents = !m_progress.hasBegunAll();
    if (prevents) {
        m_endReason = why;
    }
    // A started timer has its StartFcn run before its StopFcn, however soon it is stopped.
    m_engine->close(m_state == State::Starting ? 1 : 0);
    m_state = State::Ending;
    TimerScheduler::getPerTOVRINProcessInstance()->forceStopWorkAndScheduleStopFcn(m_timer);
    goOn();
    return prevents;
}

void ScriptRun::fail(const std::string& message)
{
    const std::size_t startFcn = m_state == State::Starting ? 1 : 0;
    reportFailure("forced error", message);
    runFails(EndReason::Error, startFcn);
    goOn();
}

void ScriptRun::finishForOwnerThatLeaves()
{
    stop(EndReason::Deleted);
    if (std::exchange(m_isOverrun, false)) {
        askForErrorFcn(false); // within the StopFcn, behind which it was to come
    }
    m_engine->runPending();
    m_engine->close(0);
    forgetOwner();
    goOn();
}

std::optional<Nanoseconds> ScriptRun::nextDue() const
{
    if (!isUnderWay() || !isRunning() || m_progress.hasBegunAll()) {
        return std::nullopt;
    }
    const Inquiry inquiry = m_surroundings.diagnosis.inquiry();
    std::optional<Nanoseconds> due;
    for (int i = 0; i < 2 && !due; ++i) { // on its way here, it may have been nowhere
        due = inquiry.nextDue(m_timer->getId()); // at first, since from there it comes
        if (const auto waiting = m_engine->firstTimerFcn()) {
            due = waiting->due;
        }
    }
    return due;
}

/// For people who ask about its firings.
void ScriptRun::describe() const
{
    TimerDescription description = m_settings.describe();
    description.number = m_number;
    m_surroundings.diagnosis.timers().put(m_timer->getId(), std::move(description));
}

void ScriptRun::callbackBegins(Callback callback, const TaskNote& note)
{
    const Nanoseconds turned = callback == Callback::TimerFcn && m_mode == ExecutionMode::FixedDelay
        ? m_gap.await(m_surroundings.diagnosis.log())
        : turnedAt();
    const auto mark = static_cast<TaskMark>(note.mark);
    m_latestCallback = callback;
    if (callback == Callback::TimerFcn) {
        m_progress.timerFcnBegins(mark);
    } else if (callback == Callback::StartFcn && m_state == State::Starting) {
        m_state = State::Running;
    }
    noteBeginning(callback == Callback::TimerFcn, note, turned);
    if (callback == Callback::StopFcn) {
        m_stopFcnHasBegun = true;
        if (isUnderWay()) {
            m_state = State::Ending;
            if (mark != TaskMark::None) {
                noteOverrun();
            }
        }
    }
}

void ScriptRun::functionIsCalled()
{
    if (m_latestCallback == Callback::TimerFcn && m_mode == ExecutionMode::FixedDelay) {
        m_gap.begin(m_surroundings.diagnosis.log(), m_settings.periodNanoseconds());
    }
}

/// When the interpreter turned to what it is at.
Nanoseconds ScriptRun::turnedAt() const
{
    return std::chrono::nanoseconds(m_surroundings.engine->loop().turnedAt().time_since_epoch()).count();
}

void ScriptRun::noteBeginning(bool isTimerFcn, const TaskNote& note, Nanoseconds turned)
{
    const Nanoseconds beat = note.sinceDrop != 0 ? m_settings.beatNanoseconds() : 0;
    const auto& beginning
        = m_surroundings.diagnosis.callbackBegins(note, turned, isTimerFcn ? m_progress.timerFcns() : 0, beat);
    if (isTimerFcn) {
        m_statistics->timerFcnBegins(beginning.started, beginning.lateness(), beginning.missed);
    }
}

void ScriptRun::noteEnd(Callback callback, const TaskNote& note, bool hasFailed)
{
    FiringLog& log = m_surroundings.diagnosis.log();
    if (callback == Callback::None) {
        log.discarded(note); // its timer has gone
        return;
    }
    m_statistics->callbackEnds(log.callbackEnds(note, turnedAt(), hasFailed), hasFailed);
}

void ScriptRun::taskEnds(Callback callback, const TaskNote& note, const std::exception_ptr& error) noexcept
{
    noteEnd(callback, note, error != nullptr);
    try {
        if (error) {
            callbackFailed(callback, error);
        } else if (callback == Callback::TimerFcn) {
            m_progress.timerFcnEnds();
            if (m_progress.hasBegunAll() || m_progress.isLastOfLibrary()) {
                timerFcnsAreOver();
            }
        }
        goOn();
    } catch (const std::exception& problem) {
        m_surroundings.errors.report(label(), problem);
    }
}

void ScriptRun::timerFcnsAreOver()
{
    if (!isUnderWay()) {
        return;
    }
    if (m_progress.hasBegunAll() && !m_progress.isLastOfLibrary()) {
        stop(EndReason::TasksDone); // the library goes on
    } else if (!m_settings.hasStopFcn) {
        m_engine->close(0);
        m_state = State::Ending;
    } else if (m_hasNewStopFcn || !m_timer->getIsRunning()) {
        stop(m_endReason); // the library may have decided when there was none
    }
}

void ScriptRun::noteOverrun()
{
    m_isOverrun = true;
    m_endReason = EndReason::Overrun;
    reportFailure("overrun", "callback of " + label() + " was still running when its next run fell due");
}

void ScriptRun::goOn()
{
    if (m_engine->isInTask() || m_engine->pending() > 0) {
        return;
    }
    if (isUnderWay() && !m_timer->getIsRunning()) {
        if (m_mode == ExecutionMode::FixedRate && !m_progress.isLastOfLibrary()) {
            noteOverrun();
        }
        timerFcnsAreOver();
    }
    if (m_state == State::Ending && std::exchange(m_isOverrun, false)) {
        askForErrorFcn(false);
    }
    if (m_state == State::Ending && m_engine->pending() == 0) {
        end();
    }
}

void ScriptRun::callbackFailed(Callback callback, const std::exception_ptr& error)
{
    if (m_surroundings.engine->loop().interruption() != Interruption::None) {
        return; // the callback was given up, and the timer is about to be stopped
    }
    ReportedError reported = m_surroundings.errors.report(std::string(nameOf(callback)) + " of " + label(), error);
    if (callback == Callback::ErrorFcn) {
        return; // what it was called for is what counts
    }
    tellOwner(reported.message);
    if (callback != Callback::StopFcn) {
        noteFailure(nameOf(callback), std::move(reported));
        runFails(EndReason::Error);
    }
}

void ScriptRun::hasStopped() noexcept
{
    try {
        goOn();
    } catch (const std::exception& problem) {
        m_surroundings.errors.report(label(), problem);
    }
}

void ScriptRun::backlogExceeded() noexcept
{
    try {
        if (!isUnderWay()) {
            return;
        }
        reportFailure("backlog",
            "more than " + std::to_string(m_surroundings.maxBacklog)
                + " of its callbacks are waiting to run (the limit is set by --max-backlog); the timer is "
                  "stopped");
        runFails(EndReason::Overrun);
        goOn();
    } catch (const std::exception& problem) {
        m_surroundings.errors.report(label(), problem);
    }
}

/// Of the run itself, and of no callback.
void ScriptRun::reportFailure(const char* callback, const std::string& message)
{
    ReportedError reported = m_surroundings.errors.report(label(), std::runtime_error(message));
    tellOwner(reported.message);
    noteFailure(callback, std::move(reported));
}

void ScriptRun::noteFailure(const char* callback, ReportedError error)
{
    m_failure = { callback, std::move(error.message), std::move(error.traceback) };
}

void ScriptRun::tellOwner(const std::string& error)
{
    if (m_owner != nullptr) {
        m_owner->errorReported(error);
    }
}

void ScriptRun::runFails(EndReason why, std::size_t keep)
{
    if (m_owner == nullptr) {
        return; // deleted: there is nothing left to call
    }
    m_engine->close(keep);
    m_state = State::Ending;
    m_endReason = why;
    askForErrorFcn(!m_stopFcnHasBegun);
}

void ScriptRun::askForErrorFcn(bool alsoStopFcn)
{
    m_timer->setErrorFcnIsEmpty(!m_settings.hasErrorFcn);
    TimerScheduler::getPerTOVRINProcessInstance()->forceScheduleOfErrorFcn(m_timer, alsoStopFcn);
}

void ScriptRun::end()
{
    m_state = State::Ended;
    m_statistics->run = FiringStatistics::Run::Over;
    if (m_timer->getIsRunning()) {
        m_timer->setActivationStatus(false); // what the scheduler may still hold for it ends silently
    }
    if (m_owner != nullptr) {
        m_owner->runEnded();
    }
}

} // namespace tovrinhost
