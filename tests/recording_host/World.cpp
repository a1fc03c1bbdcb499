#include "tests/recording_host/World.hpp"

#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "tests/recording_host/PlatformDouble.hpp"

#include <utility>

namespace recording {

using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

World::World(std::uint32_t logMask)
{
    journal().clear();
    timerTasks().reset();
    setTimerPpe(true);
    resetPlatform();
    m_capture = std::make_unique<LogCapture>();
    setLogMasks(logMask);
    m_engine = std::make_shared<Engine>();
    m_interruptData = std::make_shared<InterruptStateData>(m_engine->getContextId());
    journal().clearEvents();
}

World::~World()
{
    end();
}

void World::end()
{
    // The actions of a test refer to its variables, which have gone.
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

void World::setLogMasks(std::uint32_t mask)
{
    for (const char* channel :
        { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem", "tovrintimer::workHandler" }) {
        tovrinhost::setLogMask(channel, mask);
    }
}

std::shared_ptr<TimerInfo> World::makeTimer(foundation::tovrindata::Array timerObject) const
{
    return std::make_shared<TimerInfo>(std::move(timerObject), m_engine, m_interruptData);
}

} // namespace recording
