#include "tests/simulation/model/FollowUp.hpp"

#include "tests/simulation/model/Counting.hpp"

namespace simulation {

using tovrintimer::StopFcnWork;
using tovrintimer::TimerFcnWork;

namespace {

bool isDueAfter(const Reading& reading, std::int64_t due, const History<double>& span)
{
    return reading.any(span, [&](double milliseconds) {
        return std::ranges::any_of(
            reading.clock(), [&](Moment now) { return dueAfter(now, milliseconds) == due; });
    });
}

} // namespace

bool contains(const Lefts& lefts, bool zero)
{
    return std::ranges::any_of(lefts, [zero](std::uint64_t left) { return (left == 0) == zero; });
}

bool isDueNow(const Reading& reading, std::int64_t due)
{
    return std::ranges::any_of(reading.clock(), [due](Moment now) { return now / millisecond == due; });
}

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

} // namespace simulation
