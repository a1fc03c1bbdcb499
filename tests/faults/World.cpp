#include "tests/faults/World.hpp"

namespace faults {

Timer World::makeTimer() const
{
    auto timer = recording::World::makeTimer();
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    return timer;
}

Timer World::makeTimer(ExecutionMode mode, BusyMode busy, double periodMs, std::size_t tasks) const
{
    auto timer = recording::World::makeTimer();
    timer->setExecutionMode(static_cast<size_t>(mode));
    timer->setBusyMode(static_cast<size_t>(busy));
    timer->setPeriod(periodMs);
    timer->setNumOfTasksToExecute(tasks);
    timer->setStopFcnIsEmpty(false);
    return timer;
}

void World::serveAnother() const
{
    timerTasks().reset();
    journal().clear();
    // An engine of its own: other timers' last tasks may still come in between.
    const auto engine = std::make_shared<recording::Engine>(2);
    const auto another = std::make_shared<TimerInfo>(foundation::tovrindata::Array(), engine, m_interruptData);
    another->setStartDelay(1.0);
    scheduler().createAndStartWork(another);
    for (std::size_t tasks = 1; another->getIsRunning(); ++tasks) {
        journal().waitFor("processTovrinTimerTask", tasks);
        timerTasks().runAll();
    }
    if (engine->evaluations().size() != 1) {
        throw std::runtime_error("another timer is not served");
    }
}

std::vector<std::string> World::evaluated()
{
    std::vector<std::string> texts;
    for (const auto& event : journal().events()) {
        if (event.kind == recording::Kind::Call && event.text.starts_with("feval ")) {
            texts.push_back(event.text);
        }
    }
    return texts;
}

} // namespace faults
