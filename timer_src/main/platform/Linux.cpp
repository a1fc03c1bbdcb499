#include "timer_src/main/platform/Platform.hpp"

#include <sys/prctl.h>

#include <atomic>

namespace tovrintimer::platform {

namespace {

// On Linux the kernel may put a thread's wake-up off by its timer slack, 50 us by default: the largest part of
// a timer's lateness. Slack belongs to a thread and only the thread itself may change it, so the request is
// noted here, and followed in `adoptTimerResolution`.
std::atomic<int> requests { 0 };

constexpr unsigned long finestSlackNs = 1;
constexpr unsigned long defaultSlack = 0; // what the thread started with

} // namespace

void beginTimerResolution()
{
    ++requests;
}

void endTimerResolution()
{
    --requests;
}

void adoptTimerResolution() noexcept
{
    thread_local bool raised = false;
    const bool wanted = requests.load(std::memory_order_relaxed) > 0;
    if (raised != wanted) {
        // A kernel that refuses leaves the thread as punctual as it was.
        prctl(PR_SET_TIMERSLACK, wanted ? finestSlackNs : defaultSlack, 0, 0, 0);
        raised = wanted;
    }
}

std::tm localTime(std::time_t seconds) noexcept
{
    std::tm local {};
    if (localtime_r(&seconds, &local) == nullptr) {
        local = {};
    }
    return local;
}

} // namespace tovrintimer::platform
