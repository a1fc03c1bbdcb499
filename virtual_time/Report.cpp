#include "virtual_time/VirtualThread.hpp"

#include <cstdlib>
#include <iomanip>
#include <sstream>

namespace virtual_time {

// What is told of a run: its failure, its trace, and the threads' stacks of operations.

void Kernel::fail(const std::string& failure)
{
    m_verdict.failure = failure;
    m_atomic = 0;
    note("FAILED: " + failure);
    if (!m_hasBegun) {
        running().fiber->leaveFor(m_root);
        std::abort(); // nobody comes back to it
    }
    if (m_running == 0) {
        throw Failure(failure);
    }
    m_threads.front()->failure = failure;
    if (!m_threads.front()->ready) {
        makeReady(0);
    }
    running().ready = false;
    running().wakesAt = never;
    std::erase(m_ready, m_running);
    switchTo(0);
    std::abort(); // the same
}

void Kernel::note(const std::string& line)
{
    if (!m_options.trace || m_atomic > 0) {
        return;
    }
    std::ostringstream text;
    text << m_now / millisecond << '.' << std::setw(6) << std::setfill('0') << m_now % millisecond << ' '
         << running().name << ": " << line << '\n';
    m_verdict.trace += text.str();
}

void Kernel::enter(const char* what, std::int64_t number)
{
    running().frames.push_back({ what, number });
}

void Kernel::leave()
{
    running().frames.pop_back();
}

std::string Kernel::describe(const VirtualThread& thread) const
{
    std::ostringstream text;
    text << "  " << thread.name << ':';
    const char* separator = " ";
    for (const Frame& frame : thread.frames) {
        text << separator << frame.what;
        if (frame.number >= 0) {
            text << ' ' << frame.number;
        }
        separator = " > ";
    }
    if (!thread.ready && thread.deadline != never) {
        text << " until " << thread.deadline / millisecond << " ms";
    }
    text << '\n';
    return text.str();
}

std::string Kernel::describeAll() const
{
    std::string text = "it is " + std::to_string(m_now / millisecond) + " ms\n";
    for (const auto& thread : m_threads) {
        if (!thread->ended) {
            text += describe(*thread);
        }
    }
    return text;
}

Operation::Operation(const char* what, std::int64_t number)
    : m_kernel(Kernel::current())
{
    if (m_kernel == nullptr) {
        return;
    }
    m_kernel->enter(what, number);
    m_kernel->point();
    if (m_kernel->isTracing()) {
        m_kernel->note(number < 0 ? what : std::string(what) + ' ' + std::to_string(number));
    }
}

Operation::~Operation()
{
    if (m_kernel != nullptr) {
        m_kernel->leave();
    }
}

Doing::Doing(const char* what, std::int64_t number)
{
    Kernel::current()->enter(what, number);
}

Doing::~Doing()
{
    Kernel::current()->leave();
}

} // namespace virtual_time
