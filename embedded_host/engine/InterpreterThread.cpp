#include "embedded_host/engine/InterpreterThread.hpp"

#include "timer_src/main/Concurrency.hpp"

#include <utility>

namespace tovrinhost {

namespace {

/// What a thread is the interpreter thread of.
struct Interprets {
    const EventLoop* loop = nullptr;
};

const EventLoop*& loopOfThisThread() noexcept
{
    return tovrintimer::ofThisThread<Interprets>().loop;
}

} // namespace

bool isInterpreterThread(const EventLoop& loop) noexcept
{
    return loopOfThisThread() == &loop;
}

InterpreterThread::InterpreterThread(const EventLoop& loop) noexcept
    : m_before(std::exchange(loopOfThisThread(), &loop))
{
}

InterpreterThread::~InterpreterThread()
{
    loopOfThisThread() = m_before;
}

} // namespace tovrinhost
