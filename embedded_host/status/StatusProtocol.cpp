#include "embedded_host/status/StatusProtocol.hpp"

#include <nlohmann/json.hpp>

#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

namespace tovrinhost::protocol {

namespace {

using Json = nlohmann::json;

constexpr const char* versionMember = "tovrin";

const std::string greeting = "tovrin " + std::to_string(version) + ' ';

template <typename Value> Json orNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json();
}

Json toJsonObject(const TimerStatus& timer)
{
    return { { "number", timer.number }, { "name", timer.name }, { "settings", timer.settings },
        { "state", nameOf(timer.state) }, { "due", orNull(timer.due) }, { "last", orNull(timer.last) },
        { "runs", timer.runs }, { "latenessOfLast", orNull(timer.latenessOfLast) },
        { "lateness99", orNull(timer.lateness99) }, { "mostLateness", orNull(timer.mostLateness) },
        { "busy", timer.busy }, { "dropped", timer.dropped }, { "errors", timer.errors },
        { "backlog", timer.backlog } };
}

/// As text of ASCII alone: no terminal obeys it.
std::string dumped(const Json& document)
{
    return document.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

TimerState stateNamed(const std::string& name)
{
    for (const TimerState state : { TimerState::New, TimerState::Due, TimerState::Waits, TimerState::Runs,
             TimerState::Stopped, TimerState::Unknown }) {
        if (name == nameOf(state)) {
            return state;
        }
    }
    throw std::runtime_error("there is no state \"" + name + "\"");
}

std::optional<double> numberOrNothing(const Json& value)
{
    return value.is_null() ? std::nullopt : std::optional(value.get<double>());
}

std::uint64_t countIn(const Json& object, const char* member)
{
    const Json& value = object.at(member);
    if (!value.is_number_unsigned()) {
        throw std::runtime_error(std::string("\"") + member + "\" is no count");
    }
    return value.get<std::uint64_t>();
}

TimerStatus readTimer(const Json& object)
{
    TimerStatus timer;
    timer.number = countIn(object, "number");
    timer.name = object.at("name").get<std::string>();
    timer.settings = object.at("settings").get<std::string>();
    timer.state = stateNamed(object.at("state").get<std::string>());
    timer.due = numberOrNothing(object.at("due"));
    timer.last = numberOrNothing(object.at("last"));
    timer.runs = countIn(object, "runs");
    timer.latenessOfLast = numberOrNothing(object.at("latenessOfLast"));
    timer.lateness99 = numberOrNothing(object.at("lateness99"));
    timer.mostLateness = numberOrNothing(object.at("mostLateness"));
    timer.busy = object.at("busy").get<double>();
    timer.dropped = countIn(object, "dropped");
    timer.errors = countIn(object, "errors");
    timer.backlog = countIn(object, "backlog");
    return timer;
}

/// \param read given the document
template <typename Read> auto readAnswer(const std::string& answer, const Read& read)
{
    std::string error;
    try {
        const Json document = Json::parse(answer);
        if (const auto& spoken = document.at(versionMember); spoken != version) {
            throw std::runtime_error("it speaks version " + spoken.dump() + ", not " + std::to_string(version));
        }
        if (!document.contains("error")) {
            return read(document);
        }
        error = document["error"].get<std::string>();
    } catch (const std::exception& problem) {
        throw std::runtime_error(
            std::string("the answer is not that of a program of this kind: ") + problem.what());
    }
    throw std::runtime_error("the program has answered: " + error);
}

std::string errorAnswer(const std::string& text)
{
    return dumped({ { versionMember, version }, { "error", text } });
}

} // namespace

std::string timersRequest()
{
    return greeting + "timers\n";
}

std::string timerRequest(std::uint64_t number)
{
    return greeting + "timer " + std::to_string(number) + '\n';
}

std::string answer(
    std::string_view request, const Diagnosis& diagnosis, std::int64_t process, const std::string& script)
{
    if (!request.starts_with(greeting)) {
        return errorAnswer("a request begins with \"" + greeting + "\"");
    }
    request.remove_prefix(greeting.size());
    if (request == "timers") {
        return toJson(takeStatus(diagnosis, process, script));
    }
    constexpr std::string_view timer = "timer ";
    std::uint64_t number = 0;
    if (request.starts_with(timer)) {
        const char* const last = request.data() + request.size();
        const auto [end, error] = std::from_chars(request.data() + timer.size(), last, number);
        number = error == std::errc() && end == last ? number : 0;
    }
    if (number == 0) {
        return errorAnswer(R"(a request is "timers" or "timer NUMBER")");
    }
    const auto explanation = explainLatest(diagnosis, number);
    return explanation ? dumped({ { versionMember, version }, { "explanation", *explanation } })
                       : errorAnswer("there is no timer with the number " + std::to_string(number));
}

std::string toJson(const ProgramStatus& status)
{
    Json timers = Json::array();
    for (const TimerStatus& timer : status.timers) {
        timers.push_back(toJsonObject(timer));
    }
    return dumped({ { versionMember, version }, { "process", status.process }, { "script", status.script },
        { "now", status.now }, { "timers", std::move(timers) }, { "moreTimers", status.moreTimers } });
}

ProgramStatus readStatus(const std::string& answer)
{
    return readAnswer(answer, [](const Json& document) {
        ProgramStatus status;
        status.process = document.at("process").get<std::int64_t>();
        status.script = document.at("script").get<std::string>();
        status.now = document.at("now").get<double>();
        status.moreTimers = countIn(document, "moreTimers");
        for (const Json& timer : document.at("timers")) {
            status.timers.push_back(readTimer(timer));
        }
        return status;
    });
}

std::string readExplanation(const std::string& answer)
{
    return readAnswer(answer, [](const Json& document) { return document.at("explanation").get<std::string>(); });
}

} // namespace tovrinhost::protocol
