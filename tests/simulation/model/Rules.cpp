#include "tests/simulation/model/Rules.hpp"

#include "tests/simulation/model/FixedRateRules.hpp"
#include "tests/simulation/model/FollowUp.hpp"
#include "tests/simulation/model/TaskRules.hpp"

#include <functional>

namespace simulation {

using tovrintimer::ErrorFcnWork;
using tovrintimer::StartFcnWork;
using tovrintimer::StopFcnWork;
using tovrintimer::TimerFcnWork;

namespace {

bool isMode(std::size_t mode)
{
    return mode <= static_cast<std::size_t>(ExecutionMode::FixedRate);
}

void readStartFcn(Reading& reading)
{
    reading.take(Event::HandedOver, "the StartFcn is handed over as the timer starts");
    if (reading.nextIsInsertOf(TimerFcnWork)) {
        reading.require(reading.mayRun(), "no TimerFcn follows the StartFcn in a timer that has stopped");
        readFirstTimerFcn(reading);
    } else {
        reading.require(reading.mayBeStopped(), "the first TimerFcn follows the StartFcn");
    }
}

void readStopFcn(Reading& reading)
{
    if (reading.nextIs(Event::Woken)) {
        reading.require(reading.had(reading.timer().hasStop, false), "the running flag is cleared by the StopFcn");
    } else {
        reading.require(reading.nextIs(Event::HandedOver), "a stopped timer's StopFcn is handed over");
        reading.require(reading.had(reading.timer().hasStop, true), "an empty StopFcn is not handed over");
    }
    reading.take();
}

void readErrorFcn(Reading& reading, std::size_t eventsOfStop)
{
    if (reading.left() > eventsOfStop) {
        reading.require(reading.had(reading.timer().hasError, true), "an empty ErrorFcn is not handed over");
        reading.take(Event::HandedOver, "the ErrorFcn is handed over");
    } else {
        reading.require(reading.had(reading.timer().hasError, false), "the ErrorFcn is handed over");
    }
}

void readTimerFcn(Reading& reading, const std::vector<Count>& counts, const HandOver* before)
{
    const auto modes = reading.during(reading.timer().mode);
    if (modes.size() > 1) {
        reading.takeAll();
    } else if (modes.front() == static_cast<std::size_t>(ExecutionMode::FixedRate)) {
        readFixedRate(reading, counts, before);
    } else if (isMode(modes.front())) {
        reading.take(Event::HandedOver, "a due TimerFcn is handed over");
    }
}

void readDispatch(Reading& reading)
{
    const Item& item = *reading.activity().item;
    switch (item.kind) {
    case StartFcnWork:
        readStartFcn(reading);
        return;
    case StopFcnWork:
        readStopFcn(reading);
        return;
    case TimerFcnWork:
        readTimerFcn(reading, { item.count }, item.after.get());
        return;
    case ErrorFcnWork:
        readErrorFcn(reading, 0);
        return;
    }
}

void readStart(Reading& reading)
{
    const TimerModel& timer = reading.timer();
    if (timer.hasStart) {
        readStartFcn(reading);
        return;
    }
    const auto isLater = [](double delay) { return delay > 0.0; };
    if (reading.nextIsInsertOf(TimerFcnWork)) {
        reading.require(
            reading.any(timer.delay, isLater), "without a start delay the first TimerFcn is due at once");
        readFirstTimerFcn(reading);
        return;
    }
    reading.require(
        reading.any(timer.delay, std::not_fn(isLater)), "the first TimerFcn is queued for after the start delay");
    std::vector<Count> counts;
    for (const std::size_t tasks : reading.during(timer.tasks)) {
        counts.push_back({ tasks, tasks });
    }
    readTimerFcn(reading, counts, nullptr);
}

} // namespace

void judge(const Model& model, const Activity& activity)
{
    Reading reading(model, activity);
    const bool wentBefore = activity.events.empty() && !reading.timer().exists;
    if (!activity.timerExists || wentBefore) {
        reading.require(reading.left() == 0, "work of a timer that has been destroyed is silent");
        return;
    }
    switch (activity.what) {
    case Activity::Start:
        readStart(reading);
        break;
    case Activity::Stop:
        reading.take(Event::Removed, "a stop removes the timer's work");
        readStopFcn(reading);
        break;
    case Activity::Fail:
        reading.take(Event::Removed, "an error removes the timer's work");
        readErrorFcn(reading, 0);
        break;
    case Activity::FailAndStop:
        reading.take(Event::Removed, "an error removes the timer's work");
        readErrorFcn(reading, 1);
        readStopFcn(reading);
        break;
    case Activity::Dispatch:
        readDispatch(reading);
        break;
    case Activity::Task:
        readTask(reading);
        break;
    case Activity::Cleanup:
        break;
    }
    reading.require(reading.left() == 0, "nothing else happens");
}

void expectOf(HandOver& handOver, const TimerModel& timer, const Activity& by, std::uint64_t time)
{
    const Window window { by.begin, time };
    for (const std::size_t mode : timer.mode.during(window)) {
        handOver.modes.push_back(static_cast<ExecutionMode>(mode));
    }
    switch (by.what) {
    case Activity::Start:
        handOver.kinds = { timer.hasStart ? StartFcnWork : TimerFcnWork };
        for (const std::size_t tasks : timer.tasks.during(window)) {
            handOver.counts.push_back({ tasks, tasks });
        }
        return;
    case Activity::Stop:
        handOver.kinds = { StopFcnWork };
        return;
    case Activity::Fail:
    case Activity::FailAndStop:
        if (timer.hasError.had(window, true)
            && std::ranges::count(by.events, Event::HandedOver, &Event::what) == 1) {
            handOver.kinds.push_back(ErrorFcnWork);
        }
        if (handOver.kinds.empty() || timer.hasError.had(window, false)) {
            handOver.kinds.push_back(StopFcnWork);
        }
        return;
    case Activity::Dispatch:
        handOver.kinds = { by.item->kind };
        handOver.counts = { by.item->count };
        return;
    case Activity::Task:
    case Activity::Cleanup:
        return; // nothing is handed over there
    }
}

} // namespace simulation
