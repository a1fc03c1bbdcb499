#include "embedded_host/report/ReportData.hpp"

#include "embedded_host/diagnosis/ExplanationText.hpp"
#include "embedded_host/diagnosis/FiringStatistics.hpp"
#include "embedded_host/log/Escape.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

namespace tovrinhost {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr Nanoseconds microsecond = 1'000;

OrderedJson moment(Nanoseconds at)
{
    return at == 0 ? OrderedJson() : OrderedJson(std::max<Nanoseconds>(0, at) / microsecond);
}

const char* stateOf(const Firing& firing)
{
    switch (firing.stage) {
    case Stage::Done:
        return "done";
    case Stage::Failed:
        return "failed";
    case Stage::Running:
        return "running";
    case Stage::Queued:
    case Stage::Dropped:
    case Stage::Dispatched:
    case Stage::Waiting:
    case Stage::Discarded:
    case Stage::Refused:
        break;
    }
    return "never ran";
}

/// What a page tells of one timer of the script, all its runs together.
struct TimerRow {
    std::string name;
    std::string settings;
    Nanoseconds period = 0;
    std::uint64_t runs = 0;
    std::uint64_t missed = 0;
    std::uint64_t failed = 0;
    Nanoseconds busy = 0;
    std::vector<Nanoseconds> measured;
    std::vector<Nanoseconds> withMissed;

    void add(const Firing& firing)
    {
        if (firing.started == 0) {
            return;
        }
        failed += firing.stage == Stage::Failed ? 1 : 0;
        busy += std::max<Nanoseconds>(0, firing.ended - firing.started);
        if (firing.kind != tovrintimer::TimerFcnWork) {
            return;
        }
        ++runs;
        missed += firing.missed;
        const Nanoseconds lateness = std::max<Nanoseconds>(0, firing.lateness());
        measured.push_back(lateness);
        withMissed.push_back(lateness);
        for (std::uint64_t i = 0; i < firing.missed; ++i) {
            const Nanoseconds due = firing.firstDue + static_cast<Nanoseconds>(i) * period;
            withMissed.push_back(std::max<Nanoseconds>(0, firing.started - due));
        }
    }

    OrderedJson json() const
    {
        return { { "name", name }, { "settings", settings }, { "period", period / microsecond }, { "runs", runs },
            { "missed", missed }, { "failed", failed }, { "busy", toSeconds(busy) },
            { "measured", latenesses(measured) }, { "withMissed", latenesses(withMissed) } };
    }

private:
    static OrderedJson latenesses(const std::vector<Nanoseconds>& all)
    {
        OrderedJson three = OrderedJson::array();
        for (const std::size_t percent : { 50U, 99U, 100U }) {
            three.push_back(percentile(all, percent) / microsecond);
        }
        return three;
    }
};

/// The rows, in the order in which their timers fired first.
class TimerRows {
public:
    explicit TimerRows(const TraceContents& trace)
        : m_trace(trace)
    {
    }

    std::size_t add(const Firing& firing)
    {
        const auto description = m_trace.find(firing.timer);
        const std::uint64_t number = description ? description->number : 0;
        const auto [known, isNew] = m_rowOf.try_emplace(number, m_rows.size());
        if (isNew) {
            TimerRow& row = m_rows.emplace_back();
            row.name = description ? escape(description->name) : "a timer that has gone";
            row.settings = description ? description->settings : "";
            row.period = description ? description->period : 0;
        }
        m_rows[known->second].add(firing);
        return known->second;
    }

    OrderedJson json() const
    {
        OrderedJson all = OrderedJson::array();
        for (const TimerRow& row : m_rows) {
            all.push_back(row.json());
        }
        return all;
    }

private:
    const TraceContents& m_trace;
    std::map<std::uint64_t, std::size_t> m_rowOf; // by the number of the script's timer
    std::vector<TimerRow> m_rows;
};

} // namespace

std::string reportData(const TraceContents& trace)
{
    const ExplanationText words([&trace](const TimerTable::Identity& timer) { return trace.find(timer); }, 0);
    TimerRows rows(trace);
    OrderedJson firings = OrderedJson::array();
    for (const Firing& firing : trace.firings()) {
        firings.push_back({ rows.add(firing), ExplanationText::callbackName(firing.kind, firing.run),
            stateOf(firing), moment(firing.due), moment(firing.dispatched), moment(firing.started),
            moment(firing.ended), firing.missed, moment(firing.firstDue), words.of(trace.explain(firing)) });
    }
    const OrderedJson all { { "program", escape(trace.program()) }, { "timers", rows.json() },
        { "firings", firings } };
    std::string text = all.dump(-1, ' ', true, OrderedJson::error_handler_t::replace);
    // Else a name might end the element, or begin a comment in it.
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        text.replace(at, 1, "\\u003c");
    }
    return text;
}

} // namespace tovrinhost
