#include "tests/random_programs/model/TimerModel.hpp"

#include "tests/random_programs/model/BrokenRule.hpp"
#include "tests/random_programs/model/RuleNames.hpp"

#include <algorithm>

namespace random_programs {

std::shared_ptr<Run> TimerModel::begin(const Event& event)
{
    require(
        !m_isDeleted, rules::deletedIsSilent, label() + " has been deleted, and its " + event.what + " begins");
    const auto run = runOf(event);
    if (!run->hasBegun) {
        run->hasBegun = true;
        m_lastErrors = { "nil" };
    }
    if (event.what == "StartFcn") {
        run->startFcn.begun = true;
    } else if (event.what == "TimerFcn") {
        require(event.time + grain >= run->due(), rules::neverEarly,
            "the TimerFcn of " + label() + " is due at " + std::to_string(run->due()) + ", and begins at "
                + std::to_string(event.time));
        run->count();
        run->allowEnd(m_settings.hasStopFcn);
    } else if (event.what == "StopFcn") {
        run->stopFcn.begun = true;
        if (run->end != Run::End::Yes) {
            run->noteEnd();
        }
        run->mayComeLate = false;
    } else {
        run->errorFcn.begun = true;
        if (!run->failed) {
            run->hasOverrun = true;
            run->end = Run::End::Yes;
        }
        run->mayComeLate = false;
    }
    ++run->active;
    run->isInTimerFcn = event.what == "TimerFcn";
    ++m_active;
    read(event);
    return run;
}

void TimerModel::end(Run& run, const Event& event)
{
    read(event);
    leaveCallback(run);
    const bool hasFailed = !event.text.empty();
    if (hasFailed && (event.what == "StartFcn" || event.what == "TimerFcn") && !m_isDeleted) {
        run.fail(m_settings, event.what + ": " + event.text);
    } else if (event.what == "TimerFcn" && m_settings.mode == "FixedSpacing") {
        run.space(event.time);
    }
}

void TimerModel::leaveCallback(Run& run)
{
    --run.active;
    run.isInTimerFcn = false;
    --m_active;
}

std::shared_ptr<Run> TimerModel::runOf(const Event& event)
{
    for (;;) {
        require(!m_runs.empty(), rules::silentBetweenRuns,
            "the " + event.what + " of " + label() + " begins, which does not run");
        const auto run = m_runs.front();
        const std::string why = run->refuses(event.what);
        const auto counts = [&event](const Run& candidate) {
            const auto timerFcns = candidate.timerFcns + (event.what == "TimerFcn" ? 1 : 0);
            return event.reading.tasksExecuted == std::to_string(timerFcns);
        };
        const auto isExpectedByTheNext = [this, &event, &counts] {
            const Run& next = *m_runs[1];
            return event.what != "TimerFcn" && next.expects(event.what) && next.refuses(event.what).empty()
                && counts(next);
        };
        const bool isOfTheNext = m_runs.size() > 1 && run->canBeOver()
            && (!counts(*run) || (!run->expects(event.what) && isExpectedByTheNext()));
        if (why.empty() && !isOfTheNext) {
            return run;
        }
        require(
            m_runs.size() > 1, rules::orderInARun, "the " + event.what + " of " + label() + " begins, but " + why);
        require(run->canBeOver(), rules::runsInOrder,
            "the " + event.what + " of " + label() + " begins, which is not of its earlier run, since " + why
                + ", and not of a later one, since of the earlier one "
                + (run->active > 0 ? "a callback is running" : run->owes()));
        popRun();
    }
}

void TimerModel::popRun()
{
    const Run& run = *m_runs.front();
    if (run.hasBegun || !run.isTakenBack) {
        m_latestCount = run.timerFcns;
        m_latestReason = run.reason();
    }
    m_runs.pop_front();
}

TimerModel::Answer TimerModel::answerToStart() const
{
    if (m_runs.empty() || m_isStopPhase) {
        return Answer::Accept;
    }
    const Run& latest = *m_runs.back();
    if (latest.end == Run::End::Yes) {
        // From when on a run that ends of itself is no longer running is the host's to say.
        const bool isEnding = latest.endsByCount && (latest.isInTimerFcn || latest.stopFcn.canBegin());
        return isEnding ? Answer::Either : Answer::Accept;
    }
    return latest.mayHaveEnded() ? Answer::Either : Answer::Refuse;
}

void TimerModel::start(const Event& answer, double called)
{
    const bool isAccepted = answer.kind == Event::Kind::Done;
    if (isBeingDeleted()) {
        return;
    }
    if (!isAccepted) {
        require(answer.text.find("already running") != std::string::npos, rules::startOfStopped,
            label() + ": start fails: " + answer.text);
    }
    const Answer expected = answerToStart();
    require(!isAccepted || expected != Answer::Refuse, rules::startOfRunning, label() + " runs, and is started");
    require(isAccepted || expected != Answer::Accept, rules::startOfStopped,
        label() + " does not run, and cannot be started");
    if (isAccepted && !m_isStopPhase) {
        accept(called);
    }
}

void TimerModel::accept(double called)
{
    if (!m_runs.empty() && m_runs.back()->end != Run::End::Yes) {
        m_runs.back()->noteEnd();
    }
    const bool beginsAtOnce = m_active == 0
        && std::all_of(m_runs.begin(), m_runs.end(), [](const auto& run) { return run->isOver(); });
    if (beginsAtOnce) {
        m_runs.clear();
        m_lastErrors = { "nil" };
    } else {
        m_lastErrors.insert("nil");
    }
    m_runs.push_back(std::make_shared<Run>(m_settings, called));
    m_runs.back()->hasBegun = beginsAtOnce;
}

void TimerModel::made(const Event& event)
{
    if (m_isStopPhase) {
        require(event.reading.running == "false", rules::running, label() + " is started as the program ends");
        return;
    }
    accept(std::stod(event.settings.back()));
    read(event);
}

void TimerModel::stop(const std::string& result)
{
    const bool prevents = !m_runs.empty() && !m_runs.back()->cause && !m_runs.back()->hasAll();
    require(isBeingDeleted() || result == (prevents ? "true" : "false"), rules::stopAlwaysSucceeds,
        label() + ": stop says " + result);
    if (!m_runs.empty()) {
        m_runs.back()->stop(m_settings.hasStopFcn, "stopped");
    }
}

void TimerModel::told(const Run& run, const Event& event) const
{
    const std::string expected = event.what == "StopFcn" ? run.reason() : run.failure;
    require(event.text == expected, rules::reasons,
        "the " + event.what + " of " + label() + " is told \"" + event.text + "\", which has to be \"" + expected
            + '"');
}

TimerModel::Answer TimerModel::answerToTasks(double tasks, const Reading& before, const Reading& after) const
{
    if (m_settings.mode == "SingleShot" || before.running != "true" || m_runs.empty() || m_isStopPhase) {
        return Answer::Accept;
    }
    const Run& run = *m_runs.back();
    if (tasks <= run.tasks || run.cause) {
        return Answer::Accept;
    }
    const bool isLast = run.endsByCount && run.isInTimerFcn;
    if (m_settings.mode != "FixedRate" && (!run.endsByCount || (m_settings.mode == "FixedSpacing" && isLast))) {
        return Answer::Accept;
    }
    // Whether the engine has counted the last one already is seen only where nothing was changed before.
    const bool isCounted
        = m_settings.mode == "FixedDelay" && isLast && !run.isTasksChanged && !run.isStoppedInLast;
    return isCounted && after.running == "true" ? Answer::Refuse : Answer::Either;
}

void TimerModel::assign(const Event& answer, const std::string& assignment, const Reading& before)
{
    const std::size_t equals = assignment.find('=');
    const std::string property = assignment.substr(0, equals);
    Settings settings = m_settings;
    const bool isValid = settings.assign(property, assignment.substr(equals + 1));
    const bool isFixed = property == "StartDelay" && before.running == "true";
    // It may come to its end between the two looks.
    const bool isUnknown = property == "StartDelay" && before.running != answer.reading.running;
    const bool isDone = answer.kind == Event::Kind::Done;
    Answer expected = isValid && !isFixed ? Answer::Accept : Answer::Refuse;
    if (isUnknown || isBeingDeleted()) {
        expected = Answer::Either;
    } else if (isValid && property == "TasksToExecute") {
        expected = answerToTasks(settings.tasks, before, answer.reading);
    }
    require(expected == Answer::Either || isDone == (expected == Answer::Accept), rules::assignments,
        label() + ": " + assignment + (isDone ? " is done" : " is refused: " + answer.text));
    if (isDone) {
        m_settings = settings;
        for (const auto& run : m_runs) {
            run->change(settings, property);
        }
    }
}

void TimerModel::deleteBegins()
{
    ++m_deleting;
    for (const auto& run : m_runs) {
        run->stop(m_settings.hasStopFcn, "deleted");
        run->isTakenBack = run->isTakenBack || !run->hasBegun;
    }
}

void TimerModel::deleteEnds()
{
    --m_deleting;
    if (m_deleting > 0) {
        return; // asked for by one of its last callbacks
    }
    for (const auto& run : m_runs) {
        require(run->owes().empty(), rules::deleteRunsWhatWaits, label() + " is deleted, and " + run->owes());
    }
    m_isDeleted = true;
    while (!m_runs.empty()) {
        popRun();
    }
}

bool TimerModel::isQuiet() const
{
    return m_isDeleted || (m_active == 0 && std::all_of(m_runs.begin(), m_runs.end(), [](const auto& run) {
        return run->isOver();
    }));
}

void TimerModel::expectQuiet(const char* rule)
{
    if (m_isDeleted) {
        return;
    }
    require(m_active == 0, rule, label() + " has a callback that is running");
    for (const auto& run : m_runs) {
        require(run->canBeOver(), rule, "of a run of " + label() + ", " + run->owes());
    }
    while (!m_runs.empty()) {
        popRun();
    }
}

void TimerModel::reportOfCallback(const std::string& text)
{
    const bool isOfLatest = m_runs.size() == 1;
    m_lastErrors = { text };
    if (!isOfLatest) {
        m_lastErrors.insert("nil");
    }
}

void TimerModel::reportOfOverrun(const Event& report)
{
    const auto run = std::find_if(m_runs.begin(), m_runs.end(),
        [](const auto& candidate) { return candidate->mayOverrun && !candidate->isReported; });
    require(m_isDeleted || run != m_runs.end(), rules::overrunOnlyInModeError, report.what + ": " + report.text);
    require(report.text == "callback of timer \"" + m_name + "\" was still running when its next run fell due",
        rules::errorIsReported, report.what + ": " + report.text);
    if (run != m_runs.end()) {
        (*run)->isReported = true;
        (*run)->hasOverrun = true;
        (*run)->end = Run::End::Yes;
        (*run)->cause = "overrun";
        (*run)->failure = "overrun: " + report.text;
        reportOfCallback(report.text);
    }
}

void TimerModel::stopPhaseBegins()
{
    m_isStopPhase = true;
    for (const auto& run : m_runs) {
        run->stop(m_settings.hasStopFcn, "interrupted");
        run->isTakenBack = run->isTakenBack || !run->hasBegun || isBeingDeleted();
    }
}

std::string TimerModel::waiting(std::shared_ptr<Run>& run) const
{
    if (m_runs.empty() || m_active > 0 || isBeingDeleted()) {
        return {};
    }
    run = m_runs.front();
    if (!run->hasBegun || run->isTakenBack) {
        return {};
    }
    if (run->startFcn.isOpen()) {
        return "StartFcn";
    }
    // What comes of itself at a fixed rate comes when the scheduler thread has seen it.
    if (run->end != Run::End::Yes || run->endsByCount) {
        return {};
    }
    if (run->failed && run->errorFcn.isOpen()) {
        return "ErrorFcn";
    }
    return run->stopFcn.isOpen() ? "StopFcn" : "";
}

} // namespace random_programs
