// The part of a process that has a host and timers.

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/process/ProcessScope.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <boost/config.hpp>

#include <memory>
#include <thread>

namespace {

using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

std::shared_ptr<tovrinhost::Engine> engine;
std::shared_ptr<TimerInfo> timer;
std::shared_ptr<InterruptStateData> interruptState;

} // namespace

extern "C" BOOST_SYMBOL_EXPORT void startTimer();
extern "C" BOOST_SYMBOL_EXPORT void shutDown();

/// Starts a timer that runs until it is stopped, as fast as it can; returns when it has run ten times.
void startTimer()
{
    engine = tovrinhost::Engine::start();
    engine->run(
        [](tovrinhost::Interpreter& interpreter) { interpreter.execute("function timercb() end", "=plugin"); });
    timer = std::make_shared<TimerInfo>(foundation::tovrindata::Array(), engine, interruptState);
    timer->setExecutionMode(static_cast<size_t>(tovrintimer::ExecutionMode::FixedRate));
    timer->setBusyMode(static_cast<size_t>(tovrintimer::BusyMode::Drop));
    timer->setPeriod(1.0);
    timer->setNumOfTasksToExecute(1'000'000'000);
    TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(timer);
    while (timer->getTasksExecuted() < 10.0) {
        std::this_thread::yield();
    }
}

/// With the timer still running.
void shutDown()
{
    TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    tovrinhost::destroyProcessScope();
    engine->shutDown();
    timer.reset();
    engine.reset();
}
