// The part of a process that has a host and timers.

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "host/foundation/log/basic_diagnostic_logger.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <boost/config.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>

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
extern "C" BOOST_SYMBOL_EXPORT void startRecords();
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

/// Has all records of the library written, and those of two threads that write them without a pause until the
/// system ends them; returns when both are at it.
void startRecords()
{
    using Logger = foundation::log::basic_diagnostic_logger<char>;
    for (const char* channel :
        { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem", "tovrintimer::workHandler", "shutdown" }) {
        tovrinhost::setLogMask(channel, 0xFFFFFFFF);
    }
    tovrinhost::logToStandardError();
    // Neither of the two is destroyed: the threads outlive everything.
    static Logger& logger = *new Logger("shutdown");
    static auto& written = *new std::atomic<int>(0);
    for (int thread = 0; thread < 2; ++thread) {
        std::thread([] {
            while (true) {
                if (logger.is_enabled(4)) {
                    auto record = logger.open_record(4);
                    if (record) {
                        boost::log::record_ostream stream(record);
                        stream << boost::log::add_value("Line", 1) << "record";
                        stream.detach_from_record();
                        logger.push_record(std::move(record));
                        ++written;
                    }
                }
            }
        }).detach();
    }
    while (written < 100) {
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
