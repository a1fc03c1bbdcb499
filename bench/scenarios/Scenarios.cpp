#include "bench/scenarios/Scenarios.hpp"

namespace bench {

const std::vector<Scenario>& scenarios()
{
    static const std::vector<Scenario> all {
        { "cost", "Timers that are due together: processor time of the thread that fires them", costPerFiring },
        { "scale", "The same with other periods, and with more engines", scale },
        { "observer", "The same while an observer is told of each piece of work", observed },
        { "stop-start", "Stop and start of one timer among many that are pending", stopAndStart },
        { "lateness", "Lateness of a timer of 5 ms", lateness },
        { "drop", "Busy mode Drop: period 100 ms, callback 150 ms", drop },
        { "threads", "Host threads that stop and start timers, 100 timers each", hostThreads },
        { "memory", "Memory, allocations, idle wake-ups", memory },
        { "c-interface", "The C interface: processor time of the process for each callback that is run",
            cInterface },
        { "scripts", "Scripts: timers whose callback counts, and start-up", scripts },
        { "log", "The log of firings: a script's callback with it and without", firingLog },
    };
    return all;
}

} // namespace bench
