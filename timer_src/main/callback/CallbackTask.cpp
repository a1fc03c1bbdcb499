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

/// Year, month, day, hour, minute, and seconds with milliseconds: the seconds are the calendar's, and the
/// milliseconds the steady clock's. The two do not begin their seconds together, so that the time can be off by up
/// to a second, and that of a later event can be the earlier one.
Array makeEventTime(ArrayFactory& factory)
{
    static const NeverDestroyed<const ArrayDimensions> row(ArrayDimensions { 1, 6 });

    const auto [local, millisecond] = toCalendarTime(now());
    return factory.createDoubleArray(*row,
        { local.tm_year + 1900.0, local.tm_mon + 1.0, static_cast<double>(local.tm_mday),
            static_cast<double>(local.tm_hour), static_cast<double>(local.tm_min),
            local.tm_sec + millisecond / 1000.0 });
}

Array makeEvent(ArrayFactory& factory, const std::string& callbackName)
{
    auto event = factory.createStructArray({ 1, 1 }, { "Type", "Data" });
    event.setField(0, "Type", factory.createCharArray(callbackName));
    event.setField(0, "Data", makeEventTime(factory));
    return event;
}

std::vector<Array> makeArguments(TimerInfo& timer, WorkKind kind)
{
    foundation::tovrindata::tovrin::ServerArrayFactory factory;
    const std::string callbackName = fl::i18n::to_string(kindName(kind).wide);
    return { timer.getTOVRINSideOfTimerObj(), factory.createCharArray(callbackName), factory.createCharArray(""),
        makeEvent(factory, callbackName) };
}

} // namespace

void evaluateTimerCallback(TimerInfo& timer, vorn::VORN& engine, WorkKind kind)
{
    const auto requestId = vorn::VORN::createRequestID();
    const cmddistributor::RunOptions options;
    const std::vector<Array> arguments = makeArguments(timer, kind);
    auto finished = engine.feval("timercb", arguments, 0, options, false, requestId);
    finished.get();
}

} // namespace tovrintimer
