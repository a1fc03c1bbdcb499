#include "tests/faults/AllocationSweep.hpp"

#include <functional>
#include <optional>
#include <utility>

namespace faults {

namespace {

using namespace tovrintimer;

using foundation::msg_svc::exchange::IDType;

/// A start, with a timer that the test has set up.
Operation<Timer> start(std::function<Timer(World&)> make)
{
    return { .prepare =
                 [make = std::move(make)](World& world, Timer& timer) {
                     timer = make(world);
                     world.scheduler();
                 },
        .act = [](World& world, Timer& timer) { world.scheduler().createAndStartWork(timer); },
        .examine =
            [](World&, Timer& timer, bool) {
                EXPECT_TRUE(timer->getIsRunning());
                expectStoppable(timer);
            } };
}

TEST(AllocationTest, MakingATimer)
{
    EXPECT_GT(sweep<Timer>({ .act = [](World& world, Timer& timer) { timer = world.makeTimer(); } }), 0);
}

TEST(AllocationTest, FindingTheScheduler)
{
    EXPECT_GT(sweep<int>({ .act = [](World& world, int&) { world.scheduler(); } }), 0);
}

TEST(AllocationTest, StartingATimerWithAStartFcn)
{
    EXPECT_GT(sweep(start([](World& world) { return world.makeTimer(); })), 0);
}

TEST(AllocationTest, StartingATimerWhoseFirstTimerFcnIsDueAtOnce)
{
    for (const ExecutionMode mode : { ExecutionMode::SingleShot, ExecutionMode::FixedSpacing,
             ExecutionMode::FixedDelay, ExecutionMode::FixedRate }) {
        EXPECT_GT(sweep(start([mode](World& world) { return world.makeTimer(mode); })), 0);
    }
}

TEST(AllocationTest, StartingATimerWithADelay)
{
    EXPECT_GT(sweep(start([](World& world) {
        auto timer = world.makeTimer(ExecutionMode::FixedRate);
        timer->setStartDelay(3'600'000.0);
        return timer;
    })),
        0);
}

/// A timer whose work stands in the queue between that of another.
struct Queued {
    Timer timer;
    Timer other;
    std::vector<std::pair<int, DueTime>> before {};
};

std::vector<std::pair<int, DueTime>> contentsOf(TimerScheduler& scheduler)
{
    std::vector<std::pair<int, DueTime>> contents;
    for (const WorkItemVariant& queued : TimerSchedulerPeer::queue(scheduler)) {
        contents.emplace_back(queued.which(), dueTime(queued));
    }
    return contents;
}

DueTime farOff(std::chrono::minutes more)
{
    return now() + 1h + more;
}

void fill(World& world, Queued& queued, bool withTimersOwn)
{
    queued.timer = world.makeTimer();
    queued.timer->setActivationStatus(true);
    queued.other = world.makeTimer();
    auto& scheduler = world.scheduler();
    const auto id = queued.other->getId();
    scheduler.insertAscendingSorted(WorkItem<StartFcnWork>(farOff(1min), id, queued.other));
    scheduler.insertAscendingSorted(WorkItem<TimerFcnWork>(id, farOff(3min), queued.other, 1));
    scheduler.insertAscendingSorted(WorkItem<ErrorFcnWork>(farOff(5min), id, queued.other));
    if (withTimersOwn) {
        const auto own = queued.timer->getId();
        scheduler.insertAscendingSorted(WorkItem<TimerFcnWork>(own, farOff(0min), queued.timer, 1));
        scheduler.insertAscendingSorted(WorkItem<StopFcnWork>(farOff(2min), own, queued.timer));
        scheduler.insertAscendingSorted(WorkItem<ErrorFcnWork>(farOff(4min), own, queued.timer));
    }
    queued.before = contentsOf(scheduler);
}

/// The items of the other timer alone.
std::vector<std::pair<int, DueTime>> others(const std::vector<std::pair<int, DueTime>>& before)
{
    return { before.at(0), before.at(2), before.at(4) };
}

/// Inserts between others, with room in the queue and without.
template <typename Item> void sweepInserts(const std::function<Item(const Timer&)>& make)
{
    for (const bool withRoom : { true, false }) {
        const auto allocations = sweep<Queued>({ .prepare
            =
                [withRoom](World& world, Queued& queued) {
                    fill(world, queued, false);
                    if (!withRoom) {
                        // Three items have grown into room for four.
                        world.scheduler().insertAscendingSorted(WorkItem<StopFcnWork>(farOff(9min), IDType(), {}));
                        queued.before = contentsOf(world.scheduler());
                    }
                },
            .act = [&make](World& world,
                       Queued& queued) { world.scheduler().insertAscendingSorted(make(queued.timer)); },
            .examine =
                [](World& world, Queued& queued, bool failed) {
                    auto contents = contentsOf(world.scheduler());
                    if (!failed) {
                        ASSERT_EQ(contents.size(), queued.before.size() + 1);
                        contents.erase(contents.end() - 2);
                    }
                    EXPECT_EQ(contents, queued.before);
                } });
        EXPECT_GT(allocations, 0);
    }
}

TEST(AllocationTest, InsertingAStartFcn)
{
    sweepInserts<WorkItem<StartFcnWork>>(
        [](const Timer& timer) { return WorkItem<StartFcnWork>(farOff(2min), timer->getId(), timer); });
}

TEST(AllocationTest, InsertingAStopFcn)
{
    sweepInserts<WorkItem<StopFcnWork>>(
        [](const Timer& timer) { return WorkItem<StopFcnWork>(farOff(2min), timer->getId(), timer); });
}

TEST(AllocationTest, InsertingATimerFcn)
{
    sweepInserts<WorkItem<TimerFcnWork>>(
        [](const Timer& timer) { return WorkItem<TimerFcnWork>(timer->getId(), farOff(2min), timer, 1); });
}

TEST(AllocationTest, InsertingAnErrorFcn)
{
    sweepInserts<WorkItem<ErrorFcnWork>>(
        [](const Timer& timer) { return WorkItem<ErrorFcnWork>(farOff(2min), timer->getId(), timer); });
}

void expectOwnWorkIsGone(World& world, Queued& queued, bool /*failed*/)
{
    EXPECT_EQ(contentsOf(world.scheduler()), others(queued.before));
    expectStoppable(queued.timer);
}

TEST(AllocationTest, StoppingATimer)
{
    EXPECT_GT(sweep<Queued>({ .prepare = [](World& world, Queued& queued) { fill(world, queued, true); },
                  .act = [](World& world,
                             Queued& queued) { world.scheduler().forceStopWorkAndScheduleStopFcn(queued.timer); },
                  .examine = expectOwnWorkIsGone }),
        0);
}

TEST(AllocationTest, FailingATimer)
{
    for (const bool alsoStop : { false, true }) {
        EXPECT_GT(
            sweep<Queued>({ .prepare = [](World& world, Queued& queued) { fill(world, queued, true); },
                .act = [alsoStop](World& world,
                           Queued& queued) { world.scheduler().forceScheduleOfErrorFcn(queued.timer, alsoStop); },
                .examine = expectOwnWorkIsGone }),
            0);
    }
}

TEST(AllocationTest, RemovingWorkNeverFails)
{
    EXPECT_GT(
        sweep<Queued>({ .prepare = [](World& world, Queued& queued) { fill(world, queued, true); },
            .act = [](World& world,
                       Queued& queued) { TimerSchedulerPeer::remove(world.scheduler(), queued.timer->getId()); },
            .examine =
                [](World& world, Queued& queued, bool failed) {
                    EXPECT_FALSE(failed);
                    expectOwnWorkIsGone(world, queued, failed);
                } }),
        0);
}

TEST(AllocationTest, ReadingTheSoonestItemNeverFails)
{
    EXPECT_EQ(
        sweep<Queued>({ .prepare = [](World& world, Queued& queued) { fill(world, queued, true); },
            .act = [](World& world, Queued&) { TimerSchedulerPeer::workQueue(world.scheduler()).soonest(); } }),
        0);
}

TEST(AllocationTest, CleaningUpNeverFails)
{
    EXPECT_GT(sweep<Queued>({ .prepare = [](World& world, Queued& queued) { fill(world, queued, true); },
                  .act = [](World& world, Queued&) { world.scheduler().cleanup(); },
                  .examine =
                      [](World& world, Queued&, bool failed) {
                          EXPECT_FALSE(failed);
                          EXPECT_TRUE(TimerSchedulerPeer::queue(world.scheduler()).empty());
                          EXPECT_FALSE(TimerSchedulerPeer::hasThread(world.scheduler()));
                      },
                  .serves = Serves::Nobody }),
        0);
}

TEST(AllocationTest, DestroyingASchedulerNeverFails)
{
    EXPECT_GT(sweep<std::optional<TimerScheduler>>({ .prepare
                  =
                      [](World&, std::optional<TimerScheduler>& scheduler) {
                          scheduler.emplace();
                          scheduler->insertAscendingSorted(WorkItem<StopFcnWork>(farOff(1min), IDType(), {}));
                      },
                  .act = [](World&, std::optional<TimerScheduler>& scheduler) { scheduler.reset(); },
                  .examine = [](World&, std::optional<TimerScheduler>&, bool failed) { EXPECT_FALSE(failed); } }),
        0);
}

TEST(AllocationTest, EndingARunClearsTheFlagFirst)
{
    EXPECT_GT(sweep<Timer>({ .prepare =
                                 [](World& world, Timer& timer) {
                                     timer = world.makeTimer();
                                     timer->setActivationStatus(true);
                                 },
                  .act = [](World&, Timer& timer) { timer->setActivationStatus(false); },
                  .examine = [](World&, Timer& timer, bool) { EXPECT_FALSE(timer->getIsRunning()); } }),
        0);
}

TEST(AllocationTest, SettingsAndStatisticsNeedNoMemory)
{
    EXPECT_EQ(sweep<Timer>({ .prepare = [](World& world, Timer& timer) { timer = world.makeTimer(); },
                  .act =
                      [](World&, Timer& timer) {
                          timer->setPeriod(timer->getPeriod());
                          timer->setStartDelay(timer->getStartDelay());
                          timer->setBusyMode(timer->getBusyMode());
                          timer->setExecutionMode(timer->getExecutionMode());
                          timer->setNumOfTasksToExecute(timer->getNumOfTasksToExecute());
                          timer->setStartFcnIsEmpty(timer->getStartFcnIsEmpty());
                          timer->setStopFcnIsEmpty(timer->getStopFcnIsEmpty());
                          timer->setErrorFcnIsEmpty(timer->getErrorFcnIsEmpty());
                          timer->setActivationStatus(true);
                          timer->updateTimerFunRunStatus();
                          timer->updateTimerFunRunStatus();
                          EXPECT_EQ(timer->getTasksExecuted(), 2.0);
                          EXPECT_GE(timer->getInstantPeriod(), 0.0);
                          EXPECT_GE(timer->getAveragePeriod(), 0.0);
                          EXPECT_NE(timer->getVORNInstanceWhereTimerWasFirstCreated(), nullptr);
                          EXPECT_NE(timer->getInterruptData(), nullptr);
                          timer->getTOVRINSideOfTimerObj();
                          timer->getId();
                          timer->reset();
                      } }),
        0);
}

/// The one task that has been handed over is run under the fault; the error is the host's, which stops the timer.
Operation<Timer> runTask(std::function<void(World&, Timer&)> handOver)
{
    return { .prepare = std::move(handOver),
        .act = [](World&, Timer&) { timerTasks().runNext(); },
        .examine = [](World&, Timer& timer, bool) { expectStoppable(timer); } };
}

TEST(AllocationTest, RunningTheTaskOfAStartFcn)
{
    EXPECT_GT(sweep(runTask([](World& world, Timer& timer) {
        timer = world.makeTimer();
        timer->setStartDelay(3'600'000.0);
        world.scheduler().createAndStartWork(timer);
    })),
        0);
}

TEST(AllocationTest, RunningTheTaskOfAStopFcn)
{
    EXPECT_GT(sweep(runTask([](World& world, Timer& timer) {
        timer = world.makeTimer();
        timer->setActivationStatus(true);
        world.scheduler().forceStopWorkAndScheduleStopFcn(timer);
    })),
        0);
}

TEST(AllocationTest, RunningTheTaskOfAnErrorFcn)
{
    EXPECT_GT(sweep(runTask([](World& world, Timer& timer) {
        timer = world.makeTimer();
        timer->setActivationStatus(true);
        world.scheduler().forceScheduleOfErrorFcn(timer, false);
    })),
        0);
}

TEST(AllocationTest, RunningTheTaskOfATimerFcn)
{
    for (const ExecutionMode mode : { ExecutionMode::SingleShot, ExecutionMode::FixedSpacing,
             ExecutionMode::FixedDelay, ExecutionMode::FixedRate }) {
        for (const bool isLast : { false, true }) {
            EXPECT_GT(sweep(runTask([mode, isLast](World& world, Timer& timer) {
                timer = world.makeTimer(mode);
                timer->setNumOfTasksToExecute(isLast ? 1 : 2);
                timer->setStopFcnIsEmpty(isLast);
                world.scheduler().createAndStartWork(timer);
            })),
                0);
        }
    }
}

} // namespace

} // namespace faults
