#include "embedded_host/engine/InterpreterThread.hpp"

namespace tovrinhost {

namespace {

thread_local const EventLoop* loopOfThisThread = nullptr;

} // namespace

bool isInterpreterThread(const EventLoop& loop) noexcept
{
    return loopOfThisThread == &loop;
}

InterpreterThread::InterpreterThread(const EventLoop& loop) noexcept
{
    loopOfThisThread = &loop;
}

InterpreterThread::~InterpreterThread()
{
    loopOfThisThread = nullptr;
}

} // namespace tovrinhost
