// Runs a single-shot timer in a host of its own, and checks which callbacks came, in which order and when.

#include "Engine.hpp"
#include "Services.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <boost/log/core/core.hpp>

#include <iostream>
#include <memory>
#include <stdexcept>

namespace {

using namespace std::chrono_literals;
using foundation::tovrindata::CharArray;
using foundation::tovrindata::StructArray;

constexpr auto startDelay = 50ms;

int failures = 0;

template <typename Value> void expectEqual(const char* what, const Value& actual, const Value& expected)
{
    if (!(actual == expected)) {
        std::cerr << what << ": " << actual << " instead of " << expected << '\n';
        ++failures;
    }
}

/// An evaluated callback.
struct Call {
    std::string name;
    std::chrono::steady_clock::time_point at;
};

std::vector<Call> calls; // the engine's thread

/// What the library has evaluated for each callback. A host with a language of its own calls the timer's property
/// here.
void timercb(const external_host::Engine::Arguments& arguments)
{
    const std::string name = CharArray(arguments.at(1)).toUTF8();
    const std::string type = CharArray(StructArray(arguments.at(3)).getField(0, "Type")).toUTF8();
    if (arguments.size() != 4 || type != name) {
        throw std::invalid_argument("the event of " + name + " is of type " + type);
    }
    calls.push_back({ name, std::chrono::steady_clock::now() });
}

std::string inOrder()
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
    external_host::share(timer.get());
    timer->setExecutionMode(static_cast<size_t>(tovrintimer::ExecutionMode::SingleShot));
    timer->setStartDelay(startDelay.count());
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);

    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(timer);
    expectEqual("running after the start", timer->getIsRunning(), true);
    expectEqual("ended in time", engine->serve([&] { return !timer->getIsRunning(); }, 30s), true);
    expectEqual("tasks executed", timer->getTasksExecuted(), 1.0);
}

void checkCalls(std::chrono::steady_clock::time_point started)
{
    for (const Call& call : calls) {
        const auto passed = wholeMilliseconds(call.at) - wholeMilliseconds(started);
        std::cout << call.name << " after " << passed.count() << " ms\n";
        if (call.name != "StartFcn" && passed < startDelay) {
            std::cerr << "the " << call.name << " came early\n";
            ++failures;
        }
    }
    expectEqual<std::string>("callbacks", inOrder(), "StartFcn TimerFcn StopFcn");
}

} // namespace

int main()
{
    // Records are made, and then go nowhere.
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    const auto engine
        = std::make_shared<external_host::Engine>(external_host::Engine::Functions { { "timercb", timercb } });
    const auto interruptData = std::make_shared<InterruptStateData>();
    const auto started = std::chrono::steady_clock::now();
    runTimer(engine, interruptData);
    // Ends the scheduler's thread, as every host has to before `main` returns. Until then that thread may be
    // just behind its latest hand-over: still telling the interpreter of it, and holding the timer.
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    external_host::destroyProcessScope();

    checkCalls(started);
    expectEqual("requests that the interpreter was told of", external_host::readyRequests(), 3);
    expectEqual("looks at the request line", external_host::requestLineLooks(), 3);
    expectEqual<std::size_t>("timers that were not retracted", external_host::sharedObjects(), 0);
    return failures == 0 ? 0 : 1;
}
