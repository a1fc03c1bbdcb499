#include "tests/faults/World.hpp"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

// A steady clock that has run for more than 375 days, the fixed moment until which an idle scheduler thread waits.
// Such a clock is had in a time namespace, in which this program runs once more.

namespace faults {

namespace {

using namespace tovrintimer;

constexpr std::chrono::hours farPoint { 375 * 24 };
const std::string namespaceCommand = "unshare --time --monotonic 34560000 --boottime 34560000 --fork ";

bool isFar()
{
    return now().time_since_epoch() > farPoint;
}

bool succeeds(const std::string& command)
{
    return std::system(command.c_str()) == 0;
}

/// The command that begins a namespace here, empty if the kernel lets nobody do that.
std::string enterNamespace()
{
    for (const std::string& command : { namespaceCommand, namespaceCommand + "--user --map-root-user " }) {
        if (succeeds(command + "true 2>/dev/null")) {
            return command;
        }
    }
    return "";
}

/// Does the work of the test that runs: in a namespace where the clock is far.
void whereTheClockIsFar(const std::function<void()>& work)
{
    if (isFar()) {
        work();
        return;
    }
    const std::string enter = enterNamespace();
    if (enter.empty()) {
        GTEST_SKIP() << "the kernel grants no time namespace";
    }
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    EXPECT_TRUE(succeeds(enter + std::filesystem::read_symlink("/proc/self/exe").string()
        + " --gtest_filter=" + test->test_suite_name() + "." + test->name()));
}

TEST(FarClockTest, TimersAreServedAndNeverEarly)
{
    whereTheClockIsFar([] {
        const World world(0);
        std::vector<DueTime> moments;
        journal().when("feval timercb TimerFcn", [&] { moments.push_back(now()); });
        timerTasks().setRun(TaskRun::Inline);
        const auto timer = world.makeTimer(ExecutionMode::FixedRate, BusyMode::Drop, 10.0, 3);
        timer->setStartDelay(20.0);
        const DueTime start = now();
        world.scheduler().createAndStartWork(timer);
        journal().waitFor("feval timercb StopFcn");

        ASSERT_EQ(moments.size(), 3U);
        EXPECT_GE(moments[0] - start, 20ms);
        EXPECT_GE(moments[1] - moments[0], 10ms);
        EXPECT_GE(moments[2] - moments[1], 10ms);
        EXPECT_FALSE(timer->getIsRunning());
    });
}

TEST(FarClockTest, AnIdleThreadDoesNotSleepButServesAndEnds)
{
    whereTheClockIsFar([] {
        const World world;
        world.serveAnother();

        // It looks again and again at its empty queue.
        journal().waitFor("waiting forever/large timeout at", 100);
        world.serveAnother();
        world.scheduler().cleanup();
        EXPECT_FALSE(TimerSchedulerPeer::hasThread(world.scheduler()));
    });
}

} // namespace

} // namespace faults
