#include "tests/simulation/model/Rules.hpp"

#include "tests/simulation/model/Reading.hpp"

#include <cmath>
#include <limits>

namespace simulation {

using tovrintimer::ErrorFcnWork;
using tovrintimer::StartFcnWork;
using tovrintimer::StopFcnWork;
using tovrintimer::TimerFcnWork;

namespace {

using Lefts = std::vector<std::uint64_t>;

bool contains(const Lefts& lefts, bool zero)
{
    return std::ranges::any_of(lefts, [zero](std::uint64_t left) { return (left == 0) == zero; });
}

bool isMode(std::size_t mode)
{
    return mode <= static_cast<std::size_t>(ExecutionMode::FixedRate);
}

constexpr auto drop = static_cast<std::size_t>(BusyMode::Drop);
constexpr auto queue = static_cast<std::size_t>(BusyMode::Queue);
constexpr auto error = static_cast<std::size_t>(BusyMode::Error);

bool isDueNow(const Reading& reading, std::int64_t due)
{
    return std::ranges::any_of(reading.clock(), [due](Moment now) { return now / millisecond == due; });
}

bool isDueAfter(const Reading& reading, std::int64_t due, const History<double>& span)
{
    return reading.any(span, [&](double milliseconds) {
        return std::ranges::any_of(
            reading.clock(), [&](Moment now) { return dueAfter(now, milliseconds) == due; });
    });
}

// ---- What follows

/// The first TimerFcn of a run, due after the start delay.
void readFirstTimerFcn(Reading& reading)
{
    const Item& item = reading.next().item;
    reading.require(isDueAfter(reading, item.due, reading.timer().delay),
        "the first TimerFcn is due after the start delay, in whole milliseconds");
    reading.require(item.count.total == item.count.left
            && reading.had(reading.timer().tasks, static_cast<std::size_t>(item.count.total)),
        "the first TimerFcn of a run has all tasks before it");
    reading.take();
}

void readStopFcnInsert(Reading& reading)
{
    reading.require(isDueNow(reading, reading.next().item.due), "a StopFcn is due now");
    reading.take();
}

/// A callback is counted, and what follows it is queued while the timer runs.
/// \returns how many may be left then
Lefts readFollowUp(Reading& reading, const std::vector<Count>& counts)
{
    const TimerModel& timer = reading.timer();
    std::vector<Count> after;
    for (const std::size_t tasks : reading.during(timer.tasks)) {
        for (const Count& count : counts) {
            after.push_back(counted(count, tasks));
        }
    }
    Lefts lefts;
    if (reading.nextIsInsertOf(TimerFcnWork)) {
        reading.require(reading.mayRun(), "no TimerFcn follows in a timer that has stopped");
        const Item& item = reading.next().item;
        reading.require(isDueAfter(reading, item.due, timer.period),
            "the next TimerFcn is due a period from now, in whole milliseconds");
        reading.require(std::ranges::any_of(after,
                            [&item](const Count& count) {
                                return count.left != 0 && count.left == item.count.left
                                    && count.total == item.count.total;
                            }),
            "the next TimerFcn has the counts that the rules give it");
        lefts.push_back(item.count.left);
        reading.take();
    } else if (reading.nextIsInsertOf(StopFcnWork)) {
        reading.require(reading.mayRun(), "no StopFcn follows in a timer that has stopped");
        reading.require(reading.had(timer.hasStop, true), "a StopFcn follows only where the timer has one");
        reading.require(std::ranges::any_of(after, [](const Count& count) { return count.left == 0; }),
            "the StopFcn follows the last callback");
        lefts.push_back(0);
        readStopFcnInsert(reading);
    } else {
        for (const Count& count : after) {
            if (reading.mayBeStopped() || (count.left == 0 && reading.had(timer.hasStop, false))) {
                lefts.push_back(count.left);
            }
        }
        reading.require(!lefts.empty(), "something has to follow in a timer that runs");
    }
    return lefts;
}

/// After the last callback of a run without StopFcn, the run ends.
void readEndWithoutStopFcn(Reading& reading, const Lefts& lefts)
{
    const bool mayEnd = contains(lefts, true) && reading.had(reading.timer().hasStop, false);
    const bool mayGoOn = contains(lefts, false) || reading.had(reading.timer().hasStop, true);
    if (reading.nextIs(Event::Woken)) {
        reading.require(mayEnd, "a run ends only after its last callback, and where there is no StopFcn");
        reading.take();
    } else {
        reading.require(mayGoOn, "a run without StopFcn ends after its last callback");
    }
}

// ---- Fixed rate

/// The last callback of a fixed-rate run without StopFcn ends it once it has returned and has been counted,
/// whichever comes later.
void checkEndOfRun(const Reading& reading, const HandOver& callback)
{
    if (callback.woken > 0) {
        reading.require(callback.taskSucceeded && contains(callback.left, true),
            "a fixed-rate run ends only once its last callback has returned");
        reading.require(callback.woken == 1, "a fixed-rate run ends once");
    }
    if (callback.dispatchEnded && callback.taskEnded && callback.taskSucceeded && callback.woken == 0) {
        const Window window { callback.when, reading.window().to };
        reading.require(contains(callback.left, false) || reading.timer().hasStop.had(window, true),
            "a fixed-rate run without StopFcn ends after its last callback, whichever of its dispatch and its "
            "task "
            "comes later");
    }
}

void readContention(Reading& reading)
{
    const TimerModel& timer = reading.timer();
    const auto busyModes = reading.during(timer.busy);
    if (busyModes.size() > 1) {
        reading.takeAll();
        return;
    }
    const std::size_t busy = busyModes.front();
    const Item& due = *reading.activity().item;
    if (busy == drop) {
        if (!reading.nextIs(Event::Inserted)) {
            reading.require(reading.mayBeStopped(), "a dropped TimerFcn is queued again while the timer runs");
            return;
        }
        reading.require(reading.mayRun(), "a dropped TimerFcn is not queued again once the timer has stopped");
        const Item& again = reading.next().item;
        reading.require(again.kind == TimerFcnWork && again.count.left == due.count.left
                && again.count.total == due.count.total && again.record == due.record,
            "a dropped TimerFcn keeps its counts and its record");
        reading.require(isDueNow(reading, again.due), "a dropped TimerFcn is due again now");
        reading.take();
    } else if (busy == error) {
        if (reading.nextIs(Event::Woken)) {
            reading.require(
                reading.had(timer.hasStop, false), "the StopFcn comes first where a callback is not over in time");
            reading.take();
        } else if (reading.nextIsInsertOf(StopFcnWork)) {
            reading.require(reading.had(timer.hasStop, true) && reading.mayRun(),
                "a StopFcn follows only in a timer that runs and has one");
            readStopFcnInsert(reading);
        } else {
            reading.require(reading.had(timer.hasStop, true) && reading.mayBeStopped(),
                "a callback that is not over in time ends the run");
        }
        if (reading.nextIsInsertOf(ErrorFcnWork)) {
            reading.require(reading.had(timer.hasError, true), "an ErrorFcn follows only where there is one");
            reading.take();
        } else {
            reading.require(
                reading.had(timer.hasError, false), "the ErrorFcn follows where a callback is not over in time");
        }
    }
}

void readFixedRate(Reading& reading, const std::vector<Count>& counts, const HandOver* before)
{
    const TimerModel& timer = reading.timer();
    const bool isFirst = counts.front().total == counts.front().left;
    // Where the mode changed as the callback before was handed over, it may be of either.
    const bool isUnclear = before != nullptr && before->modes.size() > 1;
    const bool mayBeOver = isUnclear || (before != nullptr && reading.had(before->completed, true));
    const bool mayBeBusy = isUnclear || before == nullptr || reading.had(before->completed, false);
    const bool asks = reading.any(timer.busy, [](std::size_t busy) { return busy != queue; });
    if (!reading.nextIs(Event::HandedOver)) {
        reading.require(
            !isFirst && asks && mayBeBusy, "a due TimerFcn is handed over where nothing is in its way");
        readContention(reading);
        return;
    }
    reading.require(isFirst || mayBeOver || reading.had(timer.busy, queue),
        "a TimerFcn is handed over only once the callback before it has returned");
    HandOver& callback = *reading.take().handOver;
    callback.isFixedRate = true;
    callback.left = readFollowUp(reading, counts);
    while (reading.nextIs(Event::Woken)) {
        reading.take();
        ++callback.woken;
    }
    callback.dispatchEnded = true;
    checkEndOfRun(reading, callback);
}

// ---- Dispatch

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

// ---- Tasks

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

bool readEvaluation(Reading& reading)
{
    reading.take(Event::EvaluationBegins, "a task evaluates its callback");
    return reading.take(Event::EvaluationEnds, "a task waits for its callback").succeeded;
}

void readFixedRateTask(Reading& reading, HandOver& callback)
{
    callback.taskSucceeded = readEvaluation(reading);
    while (reading.nextIs(Event::Woken)) {
        reading.require(callback.taskSucceeded, "a callback that raised an error does not end its run");
        reading.take();
        ++callback.woken;
    }
    callback.taskEnded = true;
    if (callback.woken > 0 && callback.left.empty()) {
        // Its dispatch is still at work.
        callback.left = { 0 };
    }
    checkEndOfRun(reading, callback);
}

void readTimerFcnTask(Reading& reading, HandOver& callback)
{
    if (callback.modes.size() > 1) {
        reading.takeAll();
        return;
    }
    switch (callback.modes.front()) {
    case ExecutionMode::SingleShot:
        if (readEvaluation(reading)) {
            readEndOfSingleShot(reading);
        }
        return;
    case ExecutionMode::FixedSpacing:
        if (readEvaluation(reading)) {
            readEndWithoutStopFcn(reading, readFollowUp(reading, callback.counts));
        }
        return;
    case ExecutionMode::FixedDelay: {
        const Lefts left = readFollowUp(reading, callback.counts);
        if (readEvaluation(reading)) {
            readEndWithoutStopFcn(reading, left);
        }
        return;
    }
    case ExecutionMode::FixedRate:
        readFixedRateTask(reading, callback);
        return;
    }
}

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
        readEvaluation(reading);
        return;
    }
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

Count counted(Count before, std::uint64_t tasks)
{
    if (before.total != tasks && before.left != 0) {
        const std::uint64_t done = before.total - before.left;
        if (done < tasks - 1) {
            return { tasks, tasks - done - 1 };
        }
    }
    return { before.total, before.left - 1 };
}

std::int64_t dueAfter(Moment now, double span)
{
    constexpr Moment latest = std::numeric_limits<Moment>::max();
    constexpr auto most = static_cast<double>(latest / millisecond);
    if (std::isnan(span)) {
        return now / millisecond;
    }
    const auto whole = static_cast<Moment>(std::clamp(std::trunc(span), -most, most));
    const Moment distance = std::clamp(whole, -latest / millisecond, latest / millisecond) * millisecond;
    return (distance > 0 && now > latest - distance ? latest : now + distance) / millisecond;
}

} // namespace simulation
