#include "embedded_host/plan/PlanRow.hpp"

#include "embedded_host/plan/FiringOrder.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

namespace tovrinhost {

namespace {

PlanRow::Outcome outcomeOf(Stage stage)
{
    switch (stage) {
    case Stage::Done:
        return PlanRow::Outcome::Done;
    case Stage::Failed:
        return PlanRow::Outcome::Failed;
    case Stage::Running:
        return PlanRow::Outcome::Running;
    case Stage::Queued:
    case Stage::Dispatched:
    case Stage::Waiting:
        return PlanRow::Outcome::Waiting;
    case Stage::Dropped:
    case Stage::Discarded:
    case Stage::Refused:
        break;
    }
    return PlanRow::Outcome::Dropped;
}

/// Dispatches take no time here: what a firing waits for is the interpreter.
std::vector<PlanRow::Wait> waitsOf(const Firing& firing, const Diagnosis& diagnosis, const Inquiry& inquiry)
{
    constexpr std::size_t mostActivities = 250; // behind a long queue, the latest of them
    Circumstances circumstances { {},
        diagnosis.log().interpreter().since(firing.taken, diagnosis.log().now(), mostActivities) };
    for (Activity& activity : circumstances.activities) {
        inquiry.identify(activity);
    }
    std::vector<Part> parts = explain(firing, circumstances).parts;
    std::erase_if(parts,
        [](const Part& part) { return part.activity.doing == Doing::Unknown && part.cause == Cause::Queue; });
    if (parts.size() > PlanRow::mostWaits) {
        std::vector<Nanoseconds> lengths;
        std::ranges::transform(parts, std::back_inserter(lengths), &Part::length);
        std::ranges::nth_element(lengths, lengths.begin() + (PlanRow::mostWaits - 1), std::greater());
        const Nanoseconds shortest = lengths[PlanRow::mostWaits - 1];
        std::erase_if(parts, [shortest](const Part& part) { return part.length < shortest; });
        parts.resize(std::min(parts.size(), PlanRow::mostWaits)); // several may be as short as that
    }
    std::vector<PlanRow::Wait> waits;
    waits.reserve(parts.size());
    for (const Part& part : parts) {
        waits.push_back({ inquiry.words().causeOf(part, firing), part.length });
    }
    return waits;
}

} // namespace

PlanRow rowOf(const Firing& firing, const Diagnosis& diagnosis, const Inquiry& inquiry, Nanoseconds now)
{
    const Nanoseconds beginning = diagnosis.log().beginning();
    const Nanoseconds at = momentOf(firing) != 0 ? momentOf(firing) : now;
    const auto timer = diagnosis.timers().find(firing.timer);
    PlanRow row;
    row.timerNumber = timer ? timer->number : 0;
    row.timer = timer ? timer->name : inquiry.words().timerName(firing.timer);
    row.callback
        = firing.kind == tovrintimer::TimerFcnWork ? "TimerFcn" : ExplanationText::callbackName(firing.kind, 0);
    row.run = firing.run;
    row.outcome = outcomeOf(firing.stage);
    row.due = firing.due - beginning;
    row.at = at - beginning;
    if (firing.started != 0) {
        row.took = (firing.ended != 0 ? firing.ended : now) - firing.started;
    }
    if (row.outcome == PlanRow::Outcome::Dropped) {
        row.reason = ExplanationText::reasonOf(firing);
        row.due = (firing.firstDue != 0 ? firing.firstDue : firing.due) - beginning;
        row.droppedFrom = row.due;
        row.dropped = firing.firstDue != 0 && timer ? missedFirings(at - firing.firstDue, timer->period) : 1;
    } else if (firing.missed != 0) {
        row.droppedFrom = firing.firstDue - beginning;
        row.dropped = firing.missed;
    }
    if (firing.started > firing.due) {
        row.waits = waitsOf(firing, diagnosis, inquiry);
    }
    return row;
}

const char* nameOf(PlanRow::Outcome outcome)
{
    switch (outcome) {
    case PlanRow::Outcome::Done:
        return "done";
    case PlanRow::Outcome::Failed:
        return "failed";
    case PlanRow::Outcome::Running:
        return "running";
    case PlanRow::Outcome::Waiting:
        return "waiting";
    case PlanRow::Outcome::Dropped:
        break;
    }
    return "dropped";
}

} // namespace tovrinhost
