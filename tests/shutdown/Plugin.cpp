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

struct Host {
    std::shared_ptr<tovrinhost::Engine> engine = tovrinhost::Engine::start();
    std::shared_ptr<InterruptStateData> interruptState;
    std::shared_ptr<TimerInfo> timer
        = std::make_shared<TimerInfo>(foundation::tovrindata::Array(), engine, interruptState);
};

// Not destroyed as the process ends: where the system has ended the threads by then, nobody can join them.
Host* host = nullptr;

} // namespace

extern "C" BOOST_SYMBOL_EXPORT void startTimer();
extern "C" BOOST_SYMBOL_EXPORT void shutDown();

/// Starts a timer that runs until it is stopped, as fast as it can; returns when it has run ten times.
void startTimer()
{
    host = new Host;
    host->engine->run(
        [](tovrinhost::Interpreter& interpreter) { interpreter.execute("function timercb() end", "=plugin"); });
    const auto timer = host->timer;
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
    host->engine->shutDown();
    tovrinhost::destroyProcessScope();
    delete host;
}
