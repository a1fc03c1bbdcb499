#include "bench/measure/Thread.hpp"

#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace bench {

ThreadProbe ThreadProbe::ofCaller()
{
    ThreadProbe probe;
    if (pthread_getcpuclockid(pthread_self(), &probe.m_clock) != 0) {
        throw std::runtime_error("the thread has no clock of its processor time");
    }
    probe.m_id = gettid();
    return probe;
}

std::chrono::nanoseconds ThreadProbe::cpuTime() const
{
    timespec time {};
    if (clock_gettime(m_clock, &time) != 0) {
        throw std::runtime_error("the thread's processor time cannot be read");
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::int64_t ThreadProbe::voluntarySwitches() const
{
    std::ifstream status("/proc/self/task/" + std::to_string(m_id) + "/status");
    for (std::string name; status >> name;) {
        if (name == "voluntary_ctxt_switches:") {
            std::int64_t count = 0;
            status >> count;
            return count;
        }
        status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    throw std::runtime_error("the thread's switches cannot be read");
}

void askForFineTimers()
{
    if (prctl(PR_SET_TIMERSLACK, 1UL, 0, 0, 0) != 0) {
        throw std::runtime_error("the thread's timer slack cannot be set");
    }
}

} // namespace bench
