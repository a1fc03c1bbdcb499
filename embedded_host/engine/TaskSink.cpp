#include "embedded_host/engine/TaskSink.hpp"

#include "embedded_host/engine/TimerEngine.hpp"
#include "embedded_host/services/Features.hpp"
#include "host/processTovrinTimerTask.hpp"

#include <stdexcept>
#include <typeinfo>

namespace tovrinhost {

namespace {

/// \returns null for an engine that is not of this host
TaskSink* sinkOf(vorn::VORN* engine)
{
    // Nearly all tasks are of timers. A cast looks at all bases, which takes longer than queueing the task.
    if (engine != nullptr && typeid(*engine) == typeid(TimerEngine)) {
        // It is one. NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast)
        return static_cast<TimerEngine*>(engine);
    }
    return dynamic_cast<TaskSink*>(engine);
}

} // namespace

TaskSink::~TaskSink() = default;

bool TaskSink::wakesInterpreter()
{
    return isFeatureOn("TIMER_PPE");
}

} // namespace tovrinhost

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    auto* const sink = tovrinhost::sinkOf(engine.get());
    if (sink == nullptr) {
        throw std::invalid_argument("processTovrinTimerTask: the engine instance is not one of this host");
    }
    sink->submit(task);
}
