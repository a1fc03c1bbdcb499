#pragma once

#include "tests/faults/Allocations.hpp"
#include "tests/faults/World.hpp"

#include <cstdint>
#include <functional>
#include <iostream>
#include <limits>
#include <new>
#include <string>

namespace faults {

// Memory runs out at each call of operator new in turn that an operation makes on the calling thread, until there
// is none left that could fail. Then the operation has thrown std::bad_alloc or lost a record of the log; nothing
// has leaked; and another timer is served.

/// More than anything makes.
inline constexpr std::int64_t noAllocation = std::numeric_limits<std::int64_t>::max();

enum class Serves { Others, Nobody };

/// What a test does before the fault, under it, and to look at what has become of it.
///
/// Each is called with the same world and state, a new one for each attempt.
template <typename State> struct Operation {
    std::function<void(World&, State&)> prepare = [](World&, State&) {};
    std::function<void(World&, State&)> act;
    std::function<void(World&, State&, bool failed)> examine = [](World&, State&, bool) {};
    Serves serves = Serves::Others;
};

/// \returns whether the fault has struck
template <typename State> bool attempt(const Operation<State>& operation, std::int64_t ordinal)
{
    World world;
    State state {};
    operation.prepare(world, state);
    bool failed = false;
    bool struck = false;
    {
        const FailingAllocation fault(ordinal, FailingAllocation::On::ThisThread);
        try {
            operation.act(world, state);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        struck = fault.hasStruck();
    }
    EXPECT_TRUE(struck || !failed);
    operation.examine(world, state, failed);
    if (operation.serves == Serves::Others) {
        world.serveAnother();
    }
    return struck;
}

/// \returns how many allocations could fail
template <typename State> std::int64_t sweep(const Operation<State>& operation)
{
    // What is made once and kept does not count as a leak.
    attempt(operation, noAllocation);
    attempt(operation, noAllocation);
    for (std::int64_t ordinal = 1;; ++ordinal) {
        SCOPED_TRACE("allocation " + std::to_string(ordinal));
        const std::int64_t before = liveBlocks();
        const bool struck = attempt(operation, ordinal);
        EXPECT_EQ(liveBlocks(), before) << "leaked";
        if (!struck) {
            const std::int64_t allocations = ordinal - 1;
            testing::Test::RecordProperty("allocations", std::to_string(allocations));
            std::cout << "             " << allocations << " allocations, each of which failed once\n";
            return allocations;
        }
        if (testing::Test::HasFailure()) {
            return ordinal;
        }
    }
}

/// Stops a timer that a fault has left in whatever state, as a host does that takes its waiting tasks back: it is
/// stopped then, and nothing of it is queued.
inline void expectStoppable(const Timer& timer)
{
    timerTasks().reset();
    World::scheduler().forceStopWorkAndScheduleStopFcn(timer);
    for (const tovrintimer::WorkItemVariant& queued : TimerSchedulerPeer::queue(World::scheduler())) {
        EXPECT_FALSE(
            boost::apply_visitor([&](const auto& item) { return item.m_timerInfo.lock() == timer; }, queued));
    }
    timerTasks().runAll();
    EXPECT_FALSE(timer->getIsRunning());
}

} // namespace faults
