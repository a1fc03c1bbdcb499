#include "virtual_time/Fiber.hpp"

#include "virtual_time/platform/Context.hpp"

#include <cstring>
#include <cxxabi.h>
#include <utility>

namespace virtual_time {

namespace {

/// What the C++ run time keeps for each thread: the exceptions that are being handled, and how many are on their
/// way. The layout is the platform's binary interface.
struct ExceptionState {
    void* caught = nullptr;
    unsigned int uncaught = 0;
};

ExceptionState swapExceptionState(const ExceptionState& next)
{
    void* const globals = abi::__cxa_get_globals();
    ExceptionState before;
    std::memcpy(&before, globals, sizeof before);
    std::memcpy(globals, &next, sizeof next);
    return before;
}

} // namespace

struct Fiber::State {
    std::function<void()> body;
    ExceptionState exceptions;
    platform::Context context;

    State() = default;

    State(std::function<void()> what, std::size_t stackSize)
        : body(std::move(what))
        , context([](void* self) { static_cast<State*>(self)->body(); }, this, stackSize)
    {
    }
};

Fiber::Fiber()
    : m_state(std::make_unique<State>())
{
}

Fiber::Fiber(std::function<void()> body, std::size_t stackSize)
    : m_state(std::make_unique<State>(std::move(body), stackSize))
{
}

Fiber::~Fiber() = default;

void Fiber::switchTo(Fiber& next)
{
    go(next, false);
}

void Fiber::leaveFor(Fiber& next)
{
    go(next, true);
}

void Fiber::go(Fiber& next, bool forGood)
{
    m_state->exceptions = swapExceptionState(next.m_state->exceptions);
    m_state->context.switchTo(next.m_state->context, forGood);
}

} // namespace virtual_time
