#pragma once

#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "tests/simulation/VirtualTime.hpp"
#include "tests/simulation/model/History.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace simulation {

using tovrintimer::BusyMode;
using tovrintimer::ExecutionMode;
using tovrintimer::WorkKind;

/// How many callbacks a run is to have, and how many of them are still to come.
struct Count {
    std::uint64_t total = 1;
    std::uint64_t left = 1;
};

/// A callback task on its way, from the hand-over to its end.
struct HandOver {
    int number = 0;
    int timer = 0;

    // What it may be: more than one only where a setting changed under the handler's eyes.
    std::vector<WorkKind> kinds;
    std::vector<ExecutionMode> modes;
    std::vector<Count> counts;

    // Of a fixed-rate callback: whether it has returned; and whether all can know of it by now.
    History<bool> completed;
    History<bool> hasSettled;

    // The end of a fixed-rate run.
    bool isFixedRate = false;
    std::uint64_t when = 0;
    bool dispatchEnded = false;
    bool taskEnded = false;
    bool taskSucceeded = false;
    std::vector<std::uint64_t> left; ///< after this callback
    int woken = 0; ///< how often the task has ended the run
};

/// An item of the queue.
struct Item {
    foundation::msg_svc::exchange::IDType id { 0, 0 };
    int timer = -1;
    WorkKind kind = tovrintimer::TimerFcnWork;
    std::int64_t due = 0; ///< milliseconds
    Count count;
    const void* record = nullptr;
    std::shared_ptr<HandOver> after; ///< the callback before this one in a fixed-rate run
    bool waits = false; ///< for that callback: queued again where it was found running
};

struct Event {
    enum What { Removed, Inserted, HandedOver, Woken, EvaluationBegins, EvaluationEnds };

    What what = Removed;
    std::uint64_t when = 0;
    Item item; ///< of an insertion
    std::shared_ptr<HandOver> handOver;
    WorkKind kind = tovrintimer::TimerFcnWork; ///< of an evaluation
    bool succeeded = true; ///< of an evaluation's end
};

/// What one thread does for one timer: an operation of the host, the dispatch of an item, or a callback task.
struct Activity {
    enum What { Start, Stop, Fail, FailAndStop, Dispatch, Task, Cleanup };

    What what = Start;
    int timer = -1;
    bool timerExists = true;
    std::uint64_t begin = 0;
    std::optional<Item> item; ///< of a dispatch
    std::shared_ptr<HandOver> handOver; ///< of a task
    std::vector<Event> events;
    std::vector<std::pair<std::uint64_t, Moment>> clockReads;
};

const char* name(WorkKind kind);
const char* name(Activity::What what);
std::string describe(const Activity& activity);

} // namespace simulation
