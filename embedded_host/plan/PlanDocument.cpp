#include "embedded_host/plan/PlanDocument.hpp"

#include <nlohmann/json.hpp>

#include <utility>

namespace tovrinhost {

namespace {

using Json = nlohmann::ordered_json;

/// Names of scripts are any bytes.
std::string dump(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* nameOf(PlanEnd::Why why)
{
    switch (why) {
    case PlanEnd::Why::Span:
        return "span";
    case PlanEnd::Why::Script:
        return "script";
    case PlanEnd::Why::Interrupted:
        break;
    }
    return "interrupted";
}

Json waitsOf(const PlanRow& row)
{
    Json waits = Json::array();
    for (const PlanRow::Wait& wait : row.waits) {
        waits.push_back({ { "what", wait.what }, { "seconds", toSeconds(wait.length) } });
    }
    return waits;
}

/// What there is not, is null.
template <typename Value> Json valueIf(bool condition, const Value& value)
{
    return condition ? Json(value) : Json();
}

} // namespace

PlanDocument::PlanDocument(PlanOutput& output, std::string script, Nanoseconds span, Nanoseconds calendar)
    : m_output(output)
    , m_script(std::move(script))
    , m_span(span)
    , m_calendar(calendar)
{
}

void PlanDocument::begin(const std::vector<TimerTable::Description>& /*timers*/)
{
    m_output.write("{\"tovrin\":1,\"script\":" + dump(m_script) + ",\"from\":" + dump(toSeconds(m_calendar))
        + ",\"for\":" + dump(toSeconds(m_span)) + ",\"firings\":[");
}

void PlanDocument::writeElement(const std::string& text)
{
    m_output.write((std::exchange(m_isFirst, false) ? "\n" : ",\n") + text);
}

void PlanDocument::write(const PlanRow& row)
{
    const Json json {
        { "at", toSeconds(row.at) },
        { "number", row.timerNumber },
        { "timer", row.timer },
        { "callback", row.callback },
        { "run", valueIf(row.run != 0, row.run) },
        { "outcome", tovrinhost::nameOf(row.outcome) },
        { "due", toSeconds(row.due) },
        { "late", toSeconds(row.lateness()) },
        { "took", valueIf(row.took.has_value(), toSeconds(row.took.value_or(0))) },
        { "dropped", row.dropped },
        { "droppedFrom", valueIf(row.dropped > 0, toSeconds(row.droppedFrom)) },
        { "reason", valueIf(!row.reason.empty(), row.reason) },
        { "waits", waitsOf(row) },
    };
    writeElement(dump(json));
}

void PlanDocument::end(const PlanTotals& totals, const PlanEnd& end)
{
    m_output.write("\n],\"timers\":[");
    m_isFirst = true;
    for (const auto& [number, total] : totals.timers()) {
        writeElement(dump(Json {
            { "number", number },
            { "timer", total.timer },
            { "fired", total.fired },
            { "dropped", total.dropped },
            { "failed", total.failed },
            { "mostLateness", toSeconds(total.mostLateness) },
            { "busy", end.at > 0 ? toSeconds(total.busy) / toSeconds(end.at) : 0 },
        }));
    }
    m_output.write("\n],\"firingsOfOtherTimers\":" + std::to_string(totals.rowsLeftOut())
        + ",\"lost\":" + std::to_string(end.lost) + ",\"end\":" + dump(toSeconds(end.at))
        + ",\"endedBy\":" + dump(nameOf(end.why)) + "}\n");
}

} // namespace tovrinhost
