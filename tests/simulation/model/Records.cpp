#include "tests/simulation/model/Records.hpp"

namespace simulation {

namespace {

std::string describe(const Item& item)
{
    return std::string(name(item.kind)) + " due " + std::to_string(item.due) + " ms, "
        + std::to_string(item.count.left) + " of " + std::to_string(item.count.total) + " left";
}

std::string describe(const Event& event)
{
    switch (event.what) {
    case Event::Removed:
        return "work removed";
    case Event::Inserted:
        return "queued (" + describe(event.item) + ")";
    case Event::HandedOver:
        return "handed over";
    case Event::Woken:
        return "running flag cleared";
    case Event::EvaluationBegins:
        return std::string(name(event.kind)) + " begins";
    case Event::EvaluationEnds:
        return std::string(name(event.kind)) + (event.succeeded ? " ends" : " raises an error");
    }
    return "";
}

} // namespace

const char* name(Activity::What what)
{
    switch (what) {
    case Activity::Start:
        return "start";
    case Activity::Stop:
        return "stop";
    case Activity::Fail:
        return "fail";
    case Activity::FailAndStop:
        return "fail-and-stop";
    case Activity::Dispatch:
        return "dispatch";
    case Activity::Task:
        return "task";
    case Activity::Cleanup:
        return "cleanup";
    }
    return "";
}

const char* name(WorkKind kind)
{
    switch (kind) {
    case tovrintimer::StartFcnWork:
        return "StartFcn";
    case tovrintimer::StopFcnWork:
        return "StopFcn";
    case tovrintimer::TimerFcnWork:
        return "TimerFcn";
    case tovrintimer::ErrorFcnWork:
        return "ErrorFcn";
    }
    return "";
}

std::string describe(const Activity& activity)
{
    std::string text = std::string(name(activity.what)) + " of timer " + std::to_string(activity.timer);
    if (activity.item) {
        text += " (" + describe(*activity.item) + ")";
    }
    text += ":";
    const char* separator = " ";
    for (const Event& event : activity.events) {
        text += separator + describe(event);
        separator = ", ";
    }
    return text + (activity.events.empty() ? " nothing" : "");
}

} // namespace simulation
