#include "tests/faults/World.hpp"

#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/recording_host/PlatformDouble.hpp"
#include "tests/recording_host/Services.hpp"

namespace faults {

namespace {

void setLogMasks(std::uint32_t mask)
{
    for (const char* channel :
        { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem", "tovrintimer::workHandler" }) {
        tovrinhost::setLogMask(channel, mask);
    }
}

} // namespace

World::World(std::uint32_t logMask)
{
    journal().clear();
    timerTasks().reset();
    recording::setTimerPpe(true);
    recording::resetPlatform();
    m_capture = std::make_unique<recording::LogCapture>();
    setLogMasks(logMask);
    m_engine = std::make_shared<recording::Engine>();
    m_interruptData = std::make_shared<InterruptStateData>(m_engine->getContextId());
}

World::~World()
{
    journal().clear();
    timerTasks().reset();
    tovrinhost::destroyProcessScope();
    m_engine.reset();
    setLogMasks(0);
    m_capture.reset();
    journal().clear();
}

TimerScheduler& World::scheduler()
{
    return *TimerScheduler::getPerTOVRINProcessInstance();
}

Timer World::makeTimer() const
{
    auto timer = std::make_shared<TimerInfo>(foundation::tovrindata::Array(), m_engine, m_interruptData);
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);
    return timer;
}

Timer World::makeTimer(ExecutionMode mode, BusyMode busy) const
{
    auto timer = std::make_shared<TimerInfo>(foundation::tovrindata::Array(), m_engine, m_interruptData);
    timer->setExecutionMode(static_cast<size_t>(mode));
    timer->setBusyMode(static_cast<size_t>(busy));
    timer->setPeriod(3'600'000.0);
    timer->setNumOfTasksToExecute(2);
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
