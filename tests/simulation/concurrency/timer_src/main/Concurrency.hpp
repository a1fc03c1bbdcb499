#pragma once

#include "tests/simulation/kernel/Types.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <utility>

namespace tovrintimer {

// Stands in for the library's own file of this name: the same names for the simulation's types.

using SteadyClock = simulation::SteadyClock;
using SystemClock = simulation::SystemClock;
using Mutex = simulation::Mutex;
using Lock = std::unique_lock<Mutex>;
using ConditionVariable = simulation::ConditionVariable;
template <typename T> using Atomic = simulation::Atomic<T>;
using Thread = simulation::Thread;
using simulation::currentThreadId;

using DueTime = std::chrono::time_point<SteadyClock, std::chrono::duration<std::int64_t, std::milli>>;

class OnceFlag {
public:
    template <typename Function> void callOnce(Function&& function)
    {
        const simulation::Operation operation("call once");
        if (m_done.load()) {
            return;
        }
        const Lock lock(m_mutex);
        if (!m_done.load()) {
            std::forward<Function>(function)();
            m_done.store(true);
        }
    }

private:
    Mutex m_mutex;
    std::atomic<bool> m_done { false };
};

} // namespace tovrintimer
