#include "tests/faults/WallClock.hpp"

#include <pthread.h>

#include <atomic>

namespace faults {

namespace {

std::atomic<std::chrono::system_clock::rep> stepped { 0 };
std::atomic<int> wallClockWaits { 0 };

} // namespace

WallClock::WallClock()
{
    wallClockWaits = 0;
}

WallClock::~WallClock()
{
    stepped = 0;
}

void WallClock::step(std::chrono::hours by)
{
    stepped += std::chrono::system_clock::duration(by).count();
}

int WallClock::waits() const
{
    return wallClockWaits;
}

} // namespace faults

// std::chrono::system_clock::now; a moment is returned as the number that it consists of.
extern "C" std::chrono::system_clock::rep __real__ZNSt6chrono3_V212system_clock3nowEv();

extern "C" std::chrono::system_clock::rep __wrap__ZNSt6chrono3_V212system_clock3nowEv();

extern "C" std::chrono::system_clock::rep __wrap__ZNSt6chrono3_V212system_clock3nowEv()
{
    return __real__ZNSt6chrono3_V212system_clock3nowEv() + faults::stepped;
}

extern "C" int __real_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);

extern "C" int __wrap_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);

extern "C" int __wrap_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline)
{
    ++faults::wallClockWaits;
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}
