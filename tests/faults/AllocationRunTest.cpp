#include "tests/faults/Allocations.hpp"
#include "tests/faults/HostRun.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <new>
#include <ostream>

// Memory runs out once in a whole run of timers of all modes, on whichever thread it is: each allocation in turn,
// in a process of its own, since an error that leaves the scheduler thread ends the process.

namespace faults {

namespace {

constexpr std::int64_t none = std::numeric_limits<std::int64_t>::max();

/// What became of a process; its exit status.
enum Fate {
    Unharmed, ///< no allocation failed: there were fewer
    RecordLost, ///< one failed, and all timers ran to their ends
    TimersStopped, ///< one failed, the host learnt of it and stopped the timers
    ProcessEnded, ///< by std::bad_alloc that left the scheduler thread
    Stuck,
    OthersNotServed,
    Leaked,
    EndedWrongly, ///< on another thread, or by something else
    fates
};

[[noreturn]] void endAsTerminated()
{
    Fate fate = EndedWrongly;
    try {
        if (const auto error = std::current_exception()) {
            std::rethrow_exception(error);
        }
    } catch (const std::bad_alloc&) {
        fate = HostRun::isHostThread() ? EndedWrongly : ProcessEnded;
    } catch (...) {
        fate = EndedWrongly;
    }
    _exit(fate);
}

Fate runOnce(std::int64_t ordinal)
{
    const std::int64_t before = liveBlocks();
    Fate fate = Unharmed;
    {
        World world(4);
        World::scheduler();
        HostRun run(world);
        bool quiet = false;
        {
            const FailingAllocation fault(ordinal, FailingAllocation::On::AnyThread);
            quiet = run.run();
            if (fault.hasStruck()) {
                fate = run.hasFailed() ? TimersStopped : RecordLost;
            }
        }
        if (!quiet) {
            return Stuck;
        }
        try {
            world.serveAnother();
        } catch (const std::exception&) {
            return OthersNotServed;
        }
    }
    return liveBlocks() == before ? fate : Leaked;
}

Fate runInAProcess(std::int64_t ordinal)
{
    const pid_t child = fork();
    if (child == 0) {
        std::set_terminate(endAsTerminated);
        _exit(runOnce(ordinal));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return EndedWrongly;
    }
    return static_cast<Fate>(WEXITSTATUS(status));
}

TEST(AllocationRunTest, EachOneThatFailsStopsTimersOrEndsTheProcessButNothingElse)
{
    // What is made once and kept does not count as a leak.
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        runOnce(none);
    }
    ASSERT_EQ(runOnce(none), Unharmed);

    int counts[fates] = {};
    std::int64_t ordinal = 1 - FAULTS_EVERY;
    Fate fate = Stuck;
    do {
        ordinal += FAULTS_EVERY;
        fate = runInAProcess(ordinal);
        ASSERT_LE(fate, ProcessEnded) << "allocation " << ordinal;
        ++counts[fate];
    } while (fate != Unharmed);

    std::cout << "             " << ordinal - 1 << " allocations, in steps of " << FAULTS_EVERY << ": "
              << counts[RecordLost] << " times a record was lost, " << counts[TimersStopped]
              << " times the timers were stopped, " << counts[ProcessEnded] << " times the process ended\n";
    EXPECT_GT(counts[RecordLost], 0);
    EXPECT_GT(counts[TimersStopped], 0);
    EXPECT_GT(counts[ProcessEnded], 0);
}

} // namespace

} // namespace faults
