#include "tests/simulation/model/FixedRateRules.hpp"

#include "tests/simulation/model/FollowUp.hpp"

namespace simulation {

using tovrintimer::ErrorFcnWork;
using tovrintimer::StopFcnWork;
using tovrintimer::TimerFcnWork;

namespace {

constexpr auto drop = static_cast<std::size_t>(BusyMode::Drop);
constexpr auto queue = static_cast<std::size_t>(BusyMode::Queue);
constexpr auto error = static_cast<std::size_t>(BusyMode::Error);

/// The last callback of a fixed-rate run without StopFcn ends it, whether it returns before its dispatch has
/// counted it or after.
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
            "task comes later");
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
        reading.require(
            isDueNow(reading, again.due - 1), "a dropped TimerFcn is due again in the next millisecond");
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

} // namespace

void readFixedRate(Reading& reading, const std::vector<Count>& counts, const HandOver* before)
{
    const TimerModel& timer = reading.timer();
    const bool isFirst = counts.front().total == counts.front().left;
    // Where the mode changed as the callback before was handed over, it may be of either.
    const bool isUnclear = before != nullptr && before->modes.size() > 1;
    const bool mayBeOver = isUnclear || (before != nullptr && reading.had(before->completed, true));
    const bool mayBeBusy = isUnclear || before == nullptr || reading.had(before->hasSettled, false);
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
    callback.dispatchEnded = true;
    checkEndOfRun(reading, callback);
}

void readFixedRateTask(Reading& reading, HandOver& callback)
{
    callback.taskSucceeded = reading.takeEvaluation();
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

} // namespace simulation
