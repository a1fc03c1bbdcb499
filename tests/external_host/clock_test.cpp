// Tests a host of its own over a clock in the test's hand: an hour of a timer, in no time, and the same each time.

#include "Engine.hpp"
#include "Services.hpp"
#include "host/foundation/tovrindata/CharArray.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"
#include "virtual_time/ManualClock.hpp"

#include <boost/log/core/core.hpp>

#include <iostream>
#include <memory>
#include <sstream>

namespace {

using namespace std::chrono_literals;
using foundation::tovrindata::CharArray;

int failures = 0;

template <typename Value> void expectEqual(const char* what, const Value& actual, const Value& expected)
{
    if (!(actual == expected)) {
        std::cerr << what << ": " << actual << " instead of " << expected << '\n';
        ++failures;
    }
}

std::shared_ptr<tovrintimer::TimerInfo> makeTimer(
    const std::shared_ptr<external_host::Engine>& engine, const std::shared_ptr<InterruptStateData>& interruptData)
{
    auto timer = std::make_shared<tovrintimer::TimerInfo>(foundation::tovrindata::Array(), engine, interruptData);
    external_host::share(timer.get());
    timer->setExecutionMode(static_cast<size_t>(tovrintimer::ExecutionMode::FixedRate));
    timer->setPeriod(20 * 60'000.0);
    timer->setNumOfTasksToExecute(4);
    timer->setStopFcnIsEmpty(false);
    return timer;
}

} // namespace

int main()
{
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    // The engine works where the clock says, and here: its thread is this one.
    std::shared_ptr<external_host::Engine> engine;
    virtual_time::ManualClock clock([&] { engine->serve([] { return true; }, 0s); });
    std::ostringstream story;
    const auto timercb = [&](const external_host::Engine::Arguments& arguments) {
        const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(clock.now());
        story << CharArray(arguments.at(1)).toUTF8() << " after " << minutes.count() << " min; ";
    };
    engine = std::make_shared<external_host::Engine>(external_host::Engine::Functions { { "timercb", timercb } });
    const auto timer = makeTimer(engine, std::make_shared<InterruptStateData>());

    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->createAndStartWork(timer);
    clock.settle();
    expectEqual<std::string>("at once", story.str(), "TimerFcn after 0 min; ");
    expectEqual<long long>("due next, in minutes", clock.nextDue().value_or(0s) / 1min, 20);

    clock.advance(20min - 1ms);
    expectEqual<std::string>("a moment too soon", story.str(), "TimerFcn after 0 min; ");
    clock.advance(1ms);
    expectEqual<std::string>("in time", story.str(), "TimerFcn after 0 min; TimerFcn after 20 min; ");

    clock.advance(24h);
    expectEqual<std::string>("to the end", story.str(),
        "TimerFcn after 0 min; TimerFcn after 20 min; TimerFcn after 40 min; TimerFcn after 60 min; StopFcn after "
        "60 min; ");
    expectEqual("running", timer->getIsRunning(), false);
    expectEqual("something is due", clock.nextDue().has_value(), false);

    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    external_host::destroyProcessScope();
    return failures == 0 ? 0 : 1;
}
