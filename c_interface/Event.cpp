#include "c_interface/Event.hpp"

#include <cstdint>

namespace tovrin_c {

using tovrinhost::Callback;
using tovrinhost::ScriptRun;

namespace {

std::int32_t kindOf(Callback kind)
{
    switch (kind) {
    case Callback::StartFcn:
        return TOVRIN_START_FCN;
    case Callback::StopFcn:
        return TOVRIN_STOP_FCN;
    case Callback::ErrorFcn:
        return TOVRIN_ERROR_FCN;
    case Callback::TimerFcn:
    case Callback::None:
        break;
    }
    return TOVRIN_TIMER_FCN;
}

double toSecondsOfClock(tovrinhost::Nanoseconds span)
{
    return static_cast<double>(span) / 1e9;
}

} // namespace

const tovrin_callback& functionOf(const Callbacks& callbacks, Callback kind)
{
    switch (kind) {
    case Callback::StartFcn:
        return callbacks.start;
    case Callback::StopFcn:
        return callbacks.stop;
    case Callback::ErrorFcn:
        return callbacks.error;
    case Callback::TimerFcn:
    case Callback::None:
        break;
    }
    return callbacks.timer;
}

tovrin_event describe(const tovrinhost::ScriptTimer& timer, const ScriptRun& run,
    const tovrinhost::FiringLog::Beginning& firing, WallTimes& wallTimes)
{
    const Callback callback = run.latestCallback();
    tovrin_event event {};
    event.size = sizeof event;
    event.kind = kindOf(callback);
    event.run = run.timerFcns();
    event.missed = firing.missed;
    event.time = wallTimes.at(firing.started);
    event.steady_time = toSecondsOfClock(firing.started);
    event.lateness = toSecondsOfClock(firing.lateness());
    event.name = timer.settings().name.c_str();
    if (callback == Callback::StopFcn || callback == Callback::ErrorFcn) {
        event.end_reason = static_cast<std::int32_t>(run.endReason()) + 1;
    }
    if (callback == Callback::ErrorFcn) {
        event.error = run.failure().message.c_str();
    }
    return event;
}

} // namespace tovrin_c
