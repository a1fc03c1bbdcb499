#include "embedded_host/diagnosis/TraceReader.hpp"

#include "embedded_host/diagnosis/TraceEvents.hpp"
#include "embedded_host/diagnosis/TraceInput.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace tovrinhost {

namespace {

constexpr std::size_t mostPieces = 2'000'000; // of circumstances, in all

/// From when to when an event goes, in microseconds, as it stands behind the beginning of its line.
struct Span {
    double from = 0;
    double to = 0;
};

Span spanOf(std::string_view line, std::string_view kind)
{
    constexpr std::string_view duration = ",\"dur\":";
    Span span;
    const char* const end = line.data() + line.size();
    const char* const next = std::from_chars(line.data() + kind.size(), end, span.from).ptr;
    double length = 0;
    if (line.substr(static_cast<std::size_t>(next - line.data())).starts_with(duration)) {
        std::from_chars(next + duration.size(), end, length);
    }
    span.to = span.from + length;
    return span;
}

} // namespace

TraceReader::TraceReader(const TraceQuestion& question)
{
    readFirings(question);
    readCircumstances(question);
    for (Wanted& wanted : m_wanted) {
        m_explanations.push_back(explain(wanted.firing, wanted.circumstances));
        wanted.circumstances = {};
    }
}

void TraceReader::readFirings(const TraceQuestion& question)
{
    TraceInput lines(question.file);
    while (lines.next()) {
        if (lines.is(trace::timer)) {
            if (auto event = lines.read(readTimer)) {
                m_timers.put(event->identity, std::move(event->description));
            }
        } else if (lines.is(trace::firing) || lines.is(trace::neverRan)) {
            if (const auto firing = lines.read(readFiring); firing && isWanted(*firing, question)) {
                take(*firing, question.worst);
            }
        }
    }
    std::sort(m_wanted.begin(), m_wanted.end(),
        [](const Wanted& a, const Wanted& b) { return isLater(a.firing, b.firing); });
}

bool TraceReader::isWanted(const Firing& firing, const TraceQuestion& question) const
{
    if (question.run && firing.run != *question.run) {
        return false;
    }
    const auto description = question.timer ? find(firing.timer) : nullptr;
    return !question.timer || (description && description->name == *question.timer);
}

/// Those that are the latest are kept.
void TraceReader::take(const Firing& firing, std::size_t most)
{
    if (firing.started == 0) {
        if (m_neverRan.size() < most) {
            m_neverRan.push_back(firing);
        } else {
            ++m_moreNeverRan;
        }
        return;
    }
    const auto isLaterWanted = [](const Wanted& a, const Wanted& b) { return isLater(a.firing, b.firing); };
    m_wanted.push_back({ firing, {} });
    std::push_heap(m_wanted.begin(), m_wanted.end(), isLaterWanted); // the least late in front
    if (m_wanted.size() > most) {
        std::pop_heap(m_wanted.begin(), m_wanted.end(), isLaterWanted);
        m_wanted.pop_back();
    }
}

void TraceReader::readCircumstances(const TraceQuestion& question)
{
    // Nobody wants to know of what was over before the first of them was due, or began after the last had started.
    Span span { std::numeric_limits<double>::max(), 0 };
    for (const Wanted& wanted : m_wanted) {
        span.from = std::min(span.from, static_cast<double>(wanted.firing.due) / 1e3);
        span.to = std::max(span.to, static_cast<double>(wanted.firing.started) / 1e3);
    }
    const auto isWithin = [&span](std::string_view line, std::string_view kind) {
        const auto [from, to] = spanOf(line, kind);
        return from <= span.to && to >= span.from;
    };
    TraceInput lines(question.file);
    while (lines.next() && m_pieces < mostPieces) {
        if (lines.is(trace::dispatch) && isWithin(lines.line(), trace::dispatch)) {
            if (const auto event = lines.read(readDispatch)) {
                addDispatch(*event);
            }
        } else if (lines.is(trace::activity) && isWithin(lines.line(), trace::activity)) {
            if (const auto activity = lines.read(readActivity)) {
                addActivity(*activity);
            }
        }
    }
    for (Wanted& wanted : m_wanted) {
        auto& activities = wanted.circumstances.activities;
        std::sort(activities.begin(), activities.end(),
            [](const Activity& a, const Activity& b) { return a.from < b.from; });
    }
}

void TraceReader::addDispatch(const DispatchEvent& event)
{
    for (Wanted& wanted : m_wanted) {
        const Firing& firing = wanted.firing;
        if (event.number != firing.number && event.to > firing.due && event.from < firing.dispatched) {
            wanted.circumstances.dispatches.push_back({ event.from, event.to });
            ++m_pieces;
        }
    }
}

void TraceReader::addActivity(const Activity& activity)
{
    for (Wanted& wanted : m_wanted) {
        if (activity.to > wanted.firing.taken && activity.from < wanted.firing.started) {
            wanted.circumstances.activities.push_back(activity);
            ++m_pieces;
        }
    }
}

} // namespace tovrinhost
