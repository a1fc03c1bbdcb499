#include "embedded_host/diagnosis/TraceEvents.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace tovrinhost {

namespace {

/// Microseconds, to the nanosecond.
std::string microseconds(Nanoseconds span)
{
    constexpr Nanoseconds unit = 1000;
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%lld.%03lld", static_cast<long long>(span / unit),
        static_cast<long long>(span % unit));
    return text.data();
}

std::string bothWords(const TimerTable::Identity& timer)
{
    return '[' + std::to_string(timer.first) + ',' + std::to_string(timer.second) + ']';
}

} // namespace

std::string toJson(const std::string& text)
{
    return nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

/// One line, member by member.
class TraceLines::Event {
public:
    Event(const TraceLines& lines, std::string_view beginning)
        : m_lines(lines)
        , m_text(beginning)
    {
    }

    /// For those whose beginning ends with the name of the moment.
    Event& at(Nanoseconds moment)
    {
        m_text += microseconds(std::max<Nanoseconds>(0, m_lines.sinceBeginning(moment)));
        return *this;
    }

    Event& until(Nanoseconds from, Nanoseconds to)
    {
        const Nanoseconds shown = std::max(from, m_lines.m_beginning);
        return raw("dur", microseconds(std::max<Nanoseconds>(0, to - shown)));
    }

    Event& on(int track) { return raw("pid", "1").raw("tid", std::to_string(track)); }
    Event& name(const std::string& text) { return raw("name", toJson(text)); }

    Event& raw(const char* member, const std::string& json)
    {
        m_text += m_text.back() == '{' || m_text.back() == ',' ? "\"" : ",\"";
        m_text += member;
        m_text += "\":";
        m_text += json;
        return *this;
    }

    Event& arguments()
    {
        raw("args", "{");
        m_depth = 2;
        return *this;
    }

    template <typename Number> Event& number(const char* member, Number value)
    {
        return raw(member, std::to_string(value));
    }

    Event& moment(const char* member, Nanoseconds at)
    {
        return at == 0 ? *this : number(member, m_lines.sinceBeginning(at));
    }

    std::string end() { return m_text + (m_depth == 2 ? "}}" : "}"); }

private:
    const TraceLines& m_lines;
    std::string m_text;
    int m_depth = 1;
};

std::string TraceLines::header(const std::string& program) const
{
    return Event(*this, trace::header).on(0).name("process_name").arguments().raw("name", toJson(program)).end();
}

std::string TraceLines::nameOfTrack(int track, const std::string& name) const
{
    return Event(*this, R"({"ph":"M",)").on(track).name("thread_name").arguments().raw("name", toJson(name)).end();
}

std::string TraceLines::timer(const TimerTable::Identity& identity, const TimerDescription& description) const
{
    std::string places;
    for (const std::string& place : description.places) {
        places += (places.empty() ? "[" : ",") + toJson(place);
    }
    return Event(*this, trace::timer)
        .on(0)
        .name("timer")
        .arguments()
        .raw("timer", bothWords(identity))
        .number("number", description.number)
        .raw("name", toJson(description.name))
        .raw("settings", toJson(description.settings))
        .raw("places", places + ']')
        .end();
}

std::string TraceLines::firing(const Firing& firing, int track, const std::string& name) const
{
    const std::string id = std::to_string(firing.number);
    const bool hasRun = firing.started != 0;
    const auto waiting = [&](const char* beginning, Nanoseconds at) {
        return Event(*this, beginning).at(at).on(track).name("waiting").raw("id", id).end() + ",\n";
    };
    std::string text;
    if (hasRun) {
        const Nanoseconds due = std::min(firing.due, firing.started);
        text += waiting(R"({"ph":"b","cat":"waiting","ts":)", due);
        text += waiting(R"({"ph":"e","cat":"waiting","ts":)", firing.started);
    }
    if (firing.missed > 0) {
        text += Event(*this, R"({"ph":"i","s":"t","cat":"drop","ts":)")
                    .at(firing.firstDue)
                    .on(track)
                    .name("dropped, with " + std::to_string(firing.missed) + " missed")
                    .end()
            + ",\n";
    }
    Event event(*this, hasRun ? trace::firing : trace::neverRan);
    event.at(hasRun ? firing.started : firing.ended);
    if (hasRun) {
        event.until(firing.started, firing.ended);
    } else {
        event.raw("s", "\"t\"");
    }
    event.on(track).name(hasRun ? name : "never ran").arguments();
    event.number("number", firing.number).raw("timer", bothWords(firing.timer));
    event.number("kind", static_cast<int>(firing.kind)).number("stage", static_cast<int>(firing.stage));
    event.number("reason", static_cast<int>(firing.reason)).number("queued", firing.wasQueued ? 1 : 0);
    event.number("due", sinceBeginning(firing.due)).moment("firstDue", firing.firstDue);
    event.moment("dispatched", firing.dispatched).moment("taken", firing.taken);
    event.moment("started", firing.started).moment("ended", firing.ended);
    event.number("run", firing.run).number("missed", firing.missed).number("within", firing.within);
    text += event.end();
    if (hasRun && firing.dispatched != 0) {
        const auto arrow = [&](const char* beginning, Nanoseconds at, int from) {
            return ",\n" + Event(*this, beginning).at(at).on(from).name("handed over").raw("id", id).end();
        };
        const int from = firing.wasQueued ? trace::Scheduler : trace::Interpreter;
        text += arrow(R"({"ph":"s","cat":"handed over","ts":)", firing.dispatched, from);
        text += arrow(R"({"ph":"f","bp":"e","cat":"handed over","ts":)", firing.started, track);
    }
    return text;
}

std::string TraceLines::dispatch(const Firing& firing, const std::string& timer) const
{
    return Event(*this, trace::dispatch)
        .at(firing.dispatched)
        .until(firing.dispatched, firing.taken)
        .on(firing.wasQueued ? trace::Scheduler : trace::Interpreter)
        .name("dispatch " + timer)
        .arguments()
        .number("number", firing.number)
        .number("queued", firing.wasQueued ? 1 : 0)
        .number("from", sinceBeginning(firing.dispatched))
        .number("to", sinceBeginning(firing.taken))
        .end();
}

std::string TraceLines::activity(const Activity& activity, const std::string& name) const
{
    return Event(*this, trace::activity)
        .at(activity.from)
        .until(activity.from, activity.to)
        .on(trace::Interpreter)
        .name(name)
        .arguments()
        .number("doing", static_cast<int>(activity.doing))
        .number("from", sinceBeginning(activity.from))
        .number("to", sinceBeginning(activity.to))
        .number("line", activity.line)
        .number("number", activity.number)
        .raw("timer", bothWords(activity.timer))
        .number("kind", static_cast<int>(activity.kind))
        .number("run", activity.run)
        .end();
}

std::string TraceLines::backlog(Nanoseconds at, std::size_t waiting) const
{
    return Event(*this, R"({"ph":"C","ts":)")
        .at(at)
        .on(trace::Interpreter)
        .name("backlog")
        .arguments()
        .number("waiting", waiting)
        .end();
}

std::string TraceLines::lost(Nanoseconds at, std::uint64_t firings) const
{
    return Event(*this, R"({"ph":"i","s":"g","cat":"lost","ts":)")
        .at(at)
        .on(trace::Scheduler)
        .name(std::to_string(firings) + " firings lost: they came faster than they could be written")
        .end();
}

} // namespace tovrinhost
