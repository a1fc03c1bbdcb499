// Runs a single-shot timer in a host of its own, and checks which callbacks came, in which order and when.

#include "Engine.hpp"
#include "Services.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <boost/log/core/core.hpp>

#include <iostream>
#include <memory>

namespace {

using namespace std::chrono_literals;
using external_host::Call;

constexpr auto startDelay = 50ms;

int failures = 0;

template <typename Value> void expectEqual(const char* what, const Value& actual, const Value& expected)
{
    if (!(actual == expected)) {
        std::cerr << what << ": " << actual << " instead of " << expected << '\n';
        ++failures;
    }
}

std::string inOrder(const std::vector<Call>& calls)
{
    std::string names;
    for (const Call& call : calls) {
        names += (names.empty() ? "" : " ") + call.name;
    }
    return names;
}

/// The clock as the library reads it: in whole milliseconds.
std::chrono::milliseconds wholeMilliseconds(std::chrono::steady_clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
}

void runTimer(
    const std::shared_ptr<external_host::Engine>& engine, const std::shared_ptr<InterruptStateData>& interruptData)
{
    const auto timer
        = std::make_shared<tovrintimer::TimerInfo>(foundation::tovrindata::Array(), engine, interruptData);
    timer->setExecutionMode(static_cast<size_t>(tovrintimer::ExecutionMode::SingleShot));
    timer->setStartDelay(startDelay.count());
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);

    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(timer);
    expectEqual("running after the start", timer->getIsRunning(), true);
    expectEqual("ended in time", engine->serve([&] { return !timer->getIsRunning(); }, 30s), true);
    expectEqual("tasks executed", timer->getTasksExecuted(), 1.0);
}

void checkCalls(const std::vector<Call>& calls, std::chrono::steady_clock::time_point started)
{
    for (const Call& call : calls) {
        const auto passed = wholeMilliseconds(call.at) - wholeMilliseconds(started);
        std::cout << call.name << " after " << passed.count() << " ms\n";
        if (call.name != "StartFcn" && passed < startDelay) {
            std::cerr << "the " << call.name << " came early\n";
            ++failures;
        }
    }
    expectEqual<std::string>("callbacks", inOrder(calls), "StartFcn TimerFcn StopFcn");
}

} // namespace

int main()
{
    // Records are made, and then go nowhere.
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    const auto engine = std::make_shared<external_host::Engine>();
    const auto interruptData = std::make_shared<InterruptStateData>();
    const auto started = std::chrono::steady_clock::now();
    runTimer(engine, interruptData);
    // Ends the scheduler's thread, as every host has to before `main` returns. Until then that thread may be
    // just behind its latest hand-over: still telling the interpreter of it, and holding the timer.
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    external_host::destroyProcessScope();

    checkCalls(engine->calls, started);
    expectEqual("requests that the interpreter was told of", external_host::readyRequests(), 3);
    expectEqual("looks at the request line", external_host::requestLineLooks(), 3);
    expectEqual("timers retracted", external_host::retractedObjects(), 1);
    return failures == 0 ? 0 : 1;
}
