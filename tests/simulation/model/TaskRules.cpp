#include "tests/simulation/model/TaskRules.hpp"

#include "tests/simulation/model/FixedRateRules.hpp"
#include "tests/simulation/model/FollowUp.hpp"

#include <limits>

namespace simulation {

using tovrintimer::ErrorFcnWork;
using tovrintimer::StartFcnWork;
using tovrintimer::StopFcnWork;
using tovrintimer::TimerFcnWork;

namespace {

void readEndOfSingleShot(Reading& reading)
{
    const auto hasStop
        = reading.timer().hasStop.during({ reading.window().from, std::numeric_limits<std::uint64_t>::max() });
    if (hasStop.size() > 1) {
        reading.takeAll();
    } else if (!hasStop.front()) {
        reading.take(Event::Woken, "a single shot without StopFcn ends after its callback");
        reading.take(
            Event::Woken, "the running flag is cleared twice at the end of a single shot without StopFcn");
    } else if (reading.nextIsInsertOf(StopFcnWork)) {
        reading.require(reading.mayRun(), "no StopFcn follows in a timer that has stopped");
        readStopFcnInsert(reading);
    } else {
        reading.require(reading.mayBeStopped(), "the StopFcn follows a single shot");
    }
}

void readTimerFcnTask(Reading& reading, HandOver& callback)
{
    if (callback.modes.size() > 1) {
        reading.takeAll();
        return;
    }
    switch (callback.modes.front()) {
    case ExecutionMode::SingleShot:
        if (reading.takeEvaluation()) {
            readEndOfSingleShot(reading);
        }
        return;
    case ExecutionMode::FixedSpacing:
        if (reading.takeEvaluation()) {
            readEndWithoutStopFcn(reading, readFollowUp(reading, callback.counts));
        }
        return;
    case ExecutionMode::FixedDelay: {
        const Lefts left = readFollowUp(reading, callback.counts);
        if (reading.takeEvaluation()) {
            readEndWithoutStopFcn(reading, left);
        }
        return;
    }
    case ExecutionMode::FixedRate:
        readFixedRateTask(reading, callback);
        return;
    }
}

} // namespace

void readTask(Reading& reading)
{
    HandOver& callback = *reading.activity().handOver;
    const auto& events = reading.activity().events;
    const auto evaluation = std::ranges::find(events, Event::EvaluationBegins, &Event::what);
    reading.require(evaluation != events.end(), "a task evaluates its callback");
    const WorkKind kind = evaluation->kind;
    reading.require(std::ranges::find(callback.kinds, kind) != callback.kinds.end(),
        "a task evaluates the callback that was due");
    switch (kind) {
    case TimerFcnWork:
        readTimerFcnTask(reading, callback);
        return;
    case StopFcnWork:
        reading.take(Event::Woken, "the running flag is cleared before the StopFcn");
        [[fallthrough]];
    case StartFcnWork:
    case ErrorFcnWork:
        reading.takeEvaluation();
        return;
    }
}

} // namespace simulation
