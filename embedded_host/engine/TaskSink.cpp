#include "embedded_host/engine/TaskSink.hpp"

#include "embedded_host/services/Features.hpp"
#include "host/processTovrinTimerTask.hpp"

#include <stdexcept>

namespace tovrinhost {

TaskSink::~TaskSink() = default;

bool TaskSink::wakesInterpreter()
{
    return isFeatureOn("TIMER_PPE");
}

} // namespace tovrinhost

void processTovrinTimerTask(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    auto* sink = dynamic_cast<tovrinhost::TaskSink*>(engine.get());
    if (sink == nullptr) {
        throw std::invalid_argument("processTovrinTimerTask: the engine instance is not one of this host");
    }
    sink->submit(task);
}
