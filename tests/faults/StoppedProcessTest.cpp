#include "tests/faults/World.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>

// What becomes of timers whose process is stopped for a while, as by Ctrl-Z or a debugger.

namespace faults {

namespace {

using namespace tovrintimer;

constexpr std::int64_t periodMs = 10;
constexpr std::size_t tasks = 20;
constexpr auto stopFor = 300ms;

/// The child: a whole run, whose hand-overs tell their moment through the pipe.
[[noreturn]] void runTimer(int pipeEnd, ExecutionMode mode)
{
    int status = EXIT_FAILURE;
    {
        const World world(0);
        timerTasks().setRun(TaskRun::Inline);
        journal().when("processTovrinTimerTask", [pipeEnd] {
            const std::int64_t moment = now().time_since_epoch().count();
            static_cast<void>(!write(pipeEnd, &moment, sizeof(moment)));
        });
        const auto timer = world.makeTimer(mode, BusyMode::Queue, periodMs, tasks);
        world.scheduler().createAndStartWork(timer);
        journal().waitFor("feval timercb StopFcn");
        status = timer->getTasksExecuted() == static_cast<double>(tasks) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    _exit(status);
}

/// Stops the child, and has it go on after a while.
void stopForAWhile(pid_t child)
{
    ASSERT_EQ(kill(child, SIGSTOP), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
    ASSERT_TRUE(WIFSTOPPED(status));
    // For longer than some periods: the time itself is what is waited for.
    const auto until = now() + stopFor;
    while (now() < until) {
        usleep(1000);
    }
    ASSERT_EQ(kill(child, SIGCONT), 0);
}

TEST(StoppedProcessTest, MissedPeriodsAreNotMadeUpAndNothingIsEarlyOrLost)
{
    for (const ExecutionMode mode :
        { ExecutionMode::FixedRate, ExecutionMode::FixedDelay, ExecutionMode::FixedSpacing }) {
        SCOPED_TRACE(static_cast<int>(mode));
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(ends[0]);
            runTimer(ends[1], mode);
        }
        close(ends[1]);
        std::vector<std::int64_t> moments;
        std::int64_t moment = 0;
        while (read(ends[0], &moment, sizeof(moment)) == sizeof(moment)) {
            moments.push_back(moment);
            if (moments.size() == 3) {
                stopForAWhile(child);
            }
        }
        close(ends[0]);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS);

        // The StopFcn follows the last TimerFcn at once.
        ASSERT_EQ(moments.size(), tasks + 1);
        std::int64_t longest = 0;
        for (std::size_t run = 1; run < tasks; ++run) {
            const std::int64_t gap = moments[run] - moments[run - 1];
            EXPECT_GE(gap, periodMs) << "before run " << run;
            longest = std::max(longest, gap);
        }
        EXPECT_GE(longest, std::chrono::milliseconds(stopFor).count() - periodMs);
    }
}

} // namespace

} // namespace faults
