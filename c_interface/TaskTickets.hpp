#pragma once

#include "c_interface/HostLog.hpp"
#include "c_interface/tovrintimer.h"
#include "timer_src/main/Concurrency.hpp"

#include <cstdint>
#include <set>

namespace tovrin_c {

/// The tasks that an embedder's submit function has taken, and has not given back yet. Each stands for "one thing
/// that waits in the queue", not for a certain one: so a callback may be taken back, or run out of turn, and none
/// is lost.
///
/// Threading: any thread. The submit function is called with no lock held.
class TaskTickets {
public:
    /// \param function null: nobody wants any
    TaskTickets(tovrin_host host, tovrin_submit_function function, void* data, const HostLog& log);

    /// Has a task brought to the host's thread, unless it is the end.
    void submit() noexcept;

    /// The same if there is none under way.
    void submitIfNone() noexcept;

    /// Takes one back. \throws Misuse if there is no such one
    void redeem(tovrin_task task);

    /// No more are submitted; returns once nobody is in the submit function.
    void close();

private:
    /// \returns whether it was there
    bool erase(tovrin_task task) noexcept;
    void callSubmit(tovrin_task task) noexcept;

    const tovrin_host m_host;
    const tovrin_submit_function m_submit;
    void* const m_data;
    const HostLog& m_log;

    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_left; // the submit function
    std::set<tovrin_task> m_tasks; // guarded by m_mutex, like all below
    std::uint64_t m_latest = 0;
    int m_calls = 0; // of the submit function, under way
    bool m_isClosed = false;
};

} // namespace tovrin_c
