#include "timer_src/main/callback/CallbackTask.hpp"

#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "host/vorn/VORN.hpp"
#include "timer_src/main/MonotonicTime.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <string>
#include <vector>

namespace tovrintimer {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayDimensions;
using foundation::tovrindata::ArrayFactory;

namespace {

/// What is the same for every callback, made once.
struct Constants {
    const std::string function = "timercb";
    const std::string startFcn = fl::i18n::to_string(kindName(StartFcnWork).wide);
    const std::string stopFcn = fl::i18n::to_string(kindName(StopFcnWork).wide);
    const std::string timerFcn = fl::i18n::to_string(kindName(TimerFcnWork).wide);
    const std::string errorFcn = fl::i18n::to_string(kindName(ErrorFcnWork).wide);
    const std::string nothing;

    const std::string type = "Type";
    const std::string data = "Data";
    const std::vector<std::string> eventFields { type, data };
    const ArrayDimensions single { 1, 1 };
    const ArrayDimensions rowOfSix { 1, 6 };

    const std::string& callbackName(WorkKind kind) const
    {
        switch (kind) {
        case StartFcnWork:
            return startFcn;
        case StopFcnWork:
            return stopFcn;
        case TimerFcnWork:
            return timerFcn;
        case ErrorFcnWork:
            return errorFcn;
        }
        return nothing;
    }
};

/// Year, month, day, hour, minute, and seconds with milliseconds: the seconds are the calendar's, and the
/// milliseconds the steady clock's. The two do not begin their seconds together, so that the time can be off by up
/// to a second, and that of a later event can be the earlier one.
Array makeEventTime(const Constants& constants, ArrayFactory& factory)
{
    const auto [local, millisecond] = toCalendarTime(now());
    return factory.createDoubleArray(constants.rowOfSix,
        { local.tm_year + 1900.0, local.tm_mon + 1.0, static_cast<double>(local.tm_mday),
            static_cast<double>(local.tm_hour), static_cast<double>(local.tm_min),
            local.tm_sec + millisecond / 1000.0 });
}

Array makeEvent(const Constants& constants, ArrayFactory& factory, const Array& callbackName)
{
    auto event = factory.createStructArray(constants.single, constants.eventFields);
    event.setField(0, constants.type, callbackName);
    event.setField(0, constants.data, makeEventTime(constants, factory));
    return event;
}

std::vector<Array> makeArguments(const Constants& constants, TimerInfo& timer, WorkKind kind)
{
    foundation::tovrindata::tovrin::ServerArrayFactory factory;
    std::vector<Array> arguments;
    arguments.reserve(4);
    arguments.push_back(timer.getTOVRINSideOfTimerObj());
    arguments.push_back(factory.createCharArray(constants.callbackName(kind)));
    arguments.push_back(factory.createCharArray(constants.nothing));
    arguments.push_back(makeEvent(constants, factory, arguments[1]));
    return arguments;
}

} // namespace

void evaluateTimerCallback(TimerInfo& timer, vorn::VORN& engine, WorkKind kind)
{
    static const NeverDestroyed<const Constants> constants;
    const auto requestId = vorn::VORN::createRequestID();
    const cmddistributor::RunOptions options;
    const std::vector<Array> arguments = makeArguments(*constants, timer, kind);
    auto finished = engine.feval(constants->function, arguments, 0, options, false, requestId);
    finished.get();
}

} // namespace tovrintimer
