#include "embedded_host/diagnosis/ExplanationText.hpp"

#include "embedded_host/log/Escape.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

namespace tovrinhost {

using tovrintimer::DropReason;
using tovrintimer::WorkKind;

namespace {

/// How many parts a reader is told of singly: the longest.
constexpr std::size_t mostParts = 12;

template <typename... Values> std::string format(const char* form, Values... values)
{
    std::array<char, 96> text {};
    std::snprintf(text.data(), text.size(), form, values...);
    return text.data();
}

double toMilliseconds(Nanoseconds span)
{
    return static_cast<double>(span) / 1e6;
}

std::string kindOf(WorkKind kind)
{
    return fl::i18n::to_string(tovrintimer::kindName(kind).wide);
}

const char* textOf(DropReason why)
{
    switch (why) {
    case DropReason::BusyModeDrop:
        return "the callback before it was still running";
    case DropReason::BusyModeError:
        return "the callback before it was still running, which busy mode Error makes an error of its timer";
    case DropReason::NoSuchMode:
        return "its busy mode was changed as it was dispatched";
    case DropReason::NoCallback:
        return "its timer has no such function";
    case DropReason::TimerGone:
        return "its timer had gone";
    case DropReason::TimerNotRunning:
        return "its timer had stopped";
    case DropReason::RemovedByStop:
        return "its timer was stopped, or had an error";
    case DropReason::DiscardedByShutdown:
        return "the program ended";
    case DropReason::NotQueued:
        return "it could not be queued, for want of memory";
    case DropReason::NotHandedOver:
        return "it could not be handed over, for want of memory";
    }
    return "nobody knows why";
}

std::string missedText(const Firing& firing, std::uint64_t lastRun)
{
    return (lastRun == 0 ? "the run before" : "run " + std::to_string(lastRun)) + " had not ended; "
        + std::to_string(firing.missed) + (firing.missed == 1 ? " firing" : " firings in a row") + " missed";
}

} // namespace

ExplanationText::ExplanationText(Names names, Nanoseconds beginning)
    : m_names(std::move(names))
    , m_beginning(beginning)
{
}

std::string ExplanationText::moment(Nanoseconds at) const
{
    // The first timers are due in the millisecond in which the script began.
    return format("%.3f", toSeconds(std::max<Nanoseconds>(0, at - m_beginning)));
}

std::string ExplanationText::timerName(const TimerTable::Identity& timer) const
{
    const auto description = m_names(timer);
    return description ? escape(description->name) : "a timer that has gone";
}

std::string ExplanationText::title(const Firing& firing) const
{
    const auto description = m_names(firing.timer);
    return timerName(firing.timer) + ' ' + callbackName(firing.kind, firing.run)
        + (description ? " (" + description->settings + ")" : "") + " due " + moment(firing.due);
}

std::string ExplanationText::callbackName(WorkKind kind, std::uint64_t run)
{
    if (kind != tovrintimer::TimerFcnWork) {
        return kindOf(kind);
    }
    return run == 0 ? "next run" : "run " + std::to_string(run);
}

std::string ExplanationText::callback(const Activity& activity) const
{
    const auto description = m_names(activity.timer);
    const std::string place = description ? escape(description->placeOf(activity.kind)) : "";
    return callbackName(activity.kind, activity.run) + " of " + timerName(activity.timer)
        + (place.empty() ? "" : " (" + place + ")");
}

std::string ExplanationText::causeOf(const Part& part, const Firing& firing) const
{
    const Activity& activity = part.activity;
    switch (part.cause) {
    case Cause::WakeUp:
        return "the scheduler's wake-up";
    case Cause::OtherDispatches:
        return "other work dispatched before it (" + std::to_string(part.others) + ")";
    case Cause::Asking:
        return "due times are whole milliseconds: it was asked for in the midst of one";
    case Cause::Dispatching:
        return "its own way to the host";
    case Cause::Queue:
        break;
    }
    switch (activity.doing) {
    case Doing::Unknown:
        return "in the host's queue, behind what the log does not hold any more";
    case Doing::Host:
        return "the interpreter, on its way from one callback to the next";
    case Doing::Idle:
        if (activity.number == 0) {
            return "the interpreter's wake-up";
        }
        return activity.timer < firing.timer || firing.timer < activity.timer
            ? "the interpreter's wake-up, in " + callback(activity) + ", which paused or waited"
            : "behind " + callback(activity) + " of its own timer, which paused or waited";
    case Doing::Script:
        return activity.line == 0
            ? "behind the script's own code"
            : "behind the script's own code, which paused or waited next at line " + std::to_string(activity.line);
    case Doing::Callback:
        return "behind " + callback(activity);
    }
    return "";
}

std::string ExplanationText::reasonOf(const Firing& firing)
{
    return textOf(firing.stage == Stage::Discarded ? DropReason::RemovedByStop : firing.reason);
}

std::string ExplanationText::of(const Explanation& explanation) const
{
    const Firing& firing = explanation.firing;
    if (firing.started == 0) {
        return title(firing) + " never ran: " + reasonOf(firing) + "\n";
    }
    const Nanoseconds lateness = firing.lateness();
    std::string text = title(firing) + " started " + moment(firing.started)
        + format(" late %.1f ms", toMilliseconds(lateness)) + (firing.stage == Stage::Failed ? ", and failed" : "")
        + "\n";
    if (firing.missed > 0) {
        text += "    instead of the firing due " + moment(firing.firstDue)
            + ", which was dropped: " + missedText(firing, firing.run == 0 ? 0 : firing.run - 1) + "\n";
    }
    // The longest ones; but in the order of time.
    std::vector<Nanoseconds> lengths;
    for (const Part& part : explanation.parts) {
        lengths.push_back(part.length);
    }
    std::sort(lengths.rbegin(), lengths.rend());
    const Nanoseconds shortest = lengths.size() > mostParts ? lengths[mostParts] + 1 : 0;
    const auto line = [&](Nanoseconds length, const std::string& cause) {
        text += format("  %11.3f ms %5.1f %%  ", toMilliseconds(length),
                    100.0 * static_cast<double>(length) / static_cast<double>(lateness))
            + cause + "\n";
    };
    Nanoseconds restLength = 0;
    std::size_t rest = 0;
    for (const Part& part : explanation.parts) {
        if (part.length >= shortest) {
            line(part.length, causeOf(part, firing));
        } else {
            restLength += part.length;
            ++rest;
        }
    }
    if (rest > 0) {
        line(restLength, std::to_string(rest) + " others, each shorter");
    }
    return text;
}

std::string ExplanationText::ofPending(const Firing& firing, const Standing& standing) const
{
    if (isOver(firing.stage)) {
        return of({ firing, {} });
    }
    return title(firing) + " has not started: " + whatItWaitsFor(firing, standing) + "\n";
}

std::string ExplanationText::whatItWaitsFor(const Firing& firing, const Standing& standing) const
{
    switch (firing.stage) {
    case Stage::Queued:
        if (firing.due == std::numeric_limits<Nanoseconds>::max()) {
            return "its due time lies beyond the end of the clock";
        }
        if (firing.due > standing.now) {
            const bool isFirst = standing.lastRun == 0 && firing.kind == tovrintimer::TimerFcnWork;
            return (isFirst ? "start delay until " : "not due before ") + moment(firing.due);
        }
        return "the scheduler has not come to it yet";
    case Stage::Dropped:
        return missedText(firing, standing.lastRun) + " so far";
    case Stage::Dispatched:
        return "the scheduler is handing it over";
    default:
        break;
    }
    const Activity& activity = standing.activity;
    std::string text;
    if (activity.doing == Doing::Script) {
        text = "the script has been running its own code since " + moment(activity.from)
            + ", and neither pauses nor waits";
    } else if (activity.doing == Doing::Callback) {
        text = callback(activity) + " has been running since " + moment(activity.from);
    } else if (activity.number != 0) {
        text = callback(activity) + " pauses or waits";
    } else {
        text = "it is about to";
    }
    if (standing.waiting > 1) {
        text += "; " + std::to_string(standing.waiting) + " callbacks of its timer wait";
    }
    return text;
}

} // namespace tovrinhost
