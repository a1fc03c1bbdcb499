#include "tests/random_programs/model/BrokenRule.hpp"
#include "tests/random_programs/model/RuleNames.hpp"
#include "tests/random_programs/model/TimerModel.hpp"

namespace random_programs {

void TimerModel::read(const Event& event)
{
    const Reading& reading = event.reading;
    if (isBeingDeleted()) {
        return;
    }
    require((reading.running == "deleted") == m_isDeleted, rules::deletedSaysSo,
        label() + (m_isDeleted ? " has been deleted" : " lives") + ", and says " + reading.running);
    if (m_isDeleted) {
        return;
    }
    readRunning(reading.running);
    const auto allowed = counts();
    require(allowed.contains(reading.tasksExecuted), rules::tasksExecuted,
        "TasksExecuted of " + label() + " is " + reading.tasksExecuted + ", but has to be " + *allowed.begin());
    require(m_lastErrors.contains(reading.lastError), rules::lastError,
        "LastError of " + label() + " is " + reading.lastError + ", but has to be " + *m_lastErrors.begin());
}

void TimerModel::readRunning(const std::string& running)
{
    bool mayBeTrue = !m_runs.empty();
    bool mayBeFalse = m_runs.empty();
    if (!m_runs.empty() && (!m_runs.back()->hasBegun || m_runs.back()->isTakenBack)) {
        const Run& run = *m_runs.back();
        mayBeFalse = m_isStopPhase || run.end == Run::End::Yes || (run.mayHaveEnded() && !run.stopFcn.must);
    } else if (!m_runs.empty()) {
        const Run& run = *m_runs.back();
        if (run.end == Run::End::Yes) {
            const bool hasLastTask = run.endsByCount && run.active > 0;
            mayBeTrue = !run.stopFcn.begun && (run.stopFcn.may || hasLastTask);
            const bool mayBeEarly
                = run.isStoppedInLast || (run.looksEarly && run.isStopFcnChanged) || run.mayGoOn();
            mayBeFalse = run.stopFcn.begun || !(run.stopFcn.must || (hasLastTask && !mayBeEarly));
        } else {
            mayBeFalse = run.mayHaveEnded() && !run.stopFcn.must;
        }
    }
    require(running == "true" ? mayBeTrue : running == "false" && mayBeFalse, rules::running,
        "Running of " + label() + " is " + running);
    if (running == "false" && !m_runs.empty() && m_runs.back()->end != Run::End::Yes) {
        m_runs.back()->noteEnd();
    }
}

std::set<std::string> TimerModel::counts() const
{
    if (m_runs.empty()) {
        return { std::to_string(m_latestCount) };
    }
    std::set<std::string> counts;
    for (const auto& run : m_runs) {
        counts.insert(std::to_string(run->timerFcns));
        if (!run->hasBegun) {
            counts.insert(std::to_string(m_latestCount));
        }
        if (!run->canBeOver()) {
            break;
        }
    }
    return counts;
}

} // namespace random_programs
