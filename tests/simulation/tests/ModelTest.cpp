#include "tests/simulation/model/Model.hpp"
#include "host/setReadyRequestPending.hpp"
#include "tests/simulation/host/Host.hpp"
#include "tests/simulation/run/Apart.hpp"
#include "tests/simulation/run/Stage.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace simulation {

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using tovrintimer::TimerScheduler;
using tovrintimer::WorkItem;

/// A kernel, a model, a host, and one timer that nobody has started.
struct World {
    Kernel kernel { Kernel::Options {} };
    Model model { kernel };
    Host host { kernel, model, true };
    std::vector<TimerSpec> specs { TimerSpec {} };
    Stage stage { kernel, model, host, specs };
};

/// How a run ends in which something is done that breaks a rule.
template <typename Function> std::string failureOf(Function breakRule)
{
    std::string how;
    const auto failure = runApart(
        [&] {
            auto& world = *new World; // threads stand in the midst of it when it fails
            return world.kernel
                .run([&] {
                    world.stage.setUp();
                    world.host.startEngine();
                    const Host::MadeTimer other = world.host.makeTimer(0, world.specs.front().settings);
                    breakRule(world, *other.timer);
                    world.kernel.sleepFor(millisecond);
                    world.host.stopEngine();
                })
                .failure;
        },
        60, &how);
    return failure.value_or(how);
}

TimerScheduler& scheduler()
{
    return *TimerScheduler::getPerTOVRINProcessInstance();
}

TEST(ModelTest, WorkThatNobodyHasAskedForIsFound)
{
    const std::string failure = failureOf([](World&, tovrintimer::TimerInfo& timer) {
        scheduler().insertAscendingSorted(
            WorkItem<tovrintimer::StopFcnWork>(tovrintimer::DueTime(), timer.getId(), {}));
    });
    EXPECT_THAT(failure, StartsWith("something happens to timer 1 that nobody has asked for"));
}

TEST(ModelTest, ARunningFlagThatIsSetForNoReasonIsFound)
{
    const std::string failure
        = failureOf([](World&, tovrintimer::TimerInfo& timer) { timer.setActivationStatus(true); });
    EXPECT_EQ(failure, "the running flag of timer 1 is true, and ought to be false");
}

TEST(ModelTest, AnOperationThatDoesNothingIsFound)
{
    const std::string failure = failureOf([](World& world, tovrintimer::TimerInfo&) {
        world.model.operationBegins(Activity::Stop, 0);
        world.model.operationEnds();
    });
    EXPECT_EQ(failure, "a stop removes the timer's work\nstop of timer 0: nothing\nafter 0 events of it");
}

TEST(ModelTest, AnOperationThatDoesWhatAnotherDoesIsFound)
{
    const std::string failure = failureOf([](World& world, tovrintimer::TimerInfo& timer) {
        world.model.operationBegins(Activity::Fail, 1);
        const auto handle = std::static_pointer_cast<tovrintimer::TimerInfo>(timer.shared_from_this());
        scheduler().forceScheduleOfErrorFcn(handle, true);
        world.model.operationEnds();
    });
    EXPECT_EQ(failure,
        "an empty ErrorFcn is not handed over\n"
        "fail of timer 1: work removed, running flag cleared\nafter 1 events of it");
}

TEST(ModelTest, AHostCallUnderALockIsFound)
{
    const std::string failure = failureOf([](World&, tovrintimer::TimerInfo&) {
        Mutex mutex;
        const std::lock_guard lock(mutex);
        setReadyRequestPending(true);
    });
    EXPECT_EQ(failure, "the library calls setReadyRequestPending with a lock held");
}

TEST(ModelTest, ATimerThatSomebodyKeepsIsFound)
{
    const std::string failure
        = failureOf([](World& world, tovrintimer::TimerInfo&) { world.model.checkNothingIsLeft(); });
    EXPECT_THAT(failure, HasSubstr("timer 0 is still owned by somebody"));
}

} // namespace

} // namespace simulation
