#include "virtual_time/platform/Context.hpp"

#include <windows.h>

#include <new>

namespace virtual_time::platform {

struct Context::State {
    void* fiber = nullptr;
    bool isOwn = false;
    Body body = nullptr;
    void* argument = nullptr;

    static void CALLBACK enter(void* self)
    {
        const State& state = *static_cast<State*>(self);
        state.body(state.argument);
    }
};

Context::Context()
    : m_state(std::make_unique<State>())
{
    // A thread has to be a fiber itself, to come back to; and stays one.
    static void* const ofThisThread = ConvertThreadToFiber(nullptr);
    m_state->fiber = ofThisThread;
    if (m_state->fiber == nullptr) {
        throw std::bad_alloc();
    }
}

Context::Context(Body body, void* argument, std::size_t stackSize)
    : m_state(std::make_unique<State>())
{
    constexpr std::size_t atOnce = std::size_t { 64 } * 1024;
    m_state->body = body;
    m_state->argument = argument;
    m_state->fiber = CreateFiberEx(atOnce, stackSize, FIBER_FLAG_FLOAT_SWITCH, State::enter, m_state.get());
    if (m_state->fiber == nullptr) {
        throw std::bad_alloc();
    }
    m_state->isOwn = true;
}

Context::~Context()
{
    if (m_state->isOwn) {
        DeleteFiber(m_state->fiber);
    }
}

void Context::switchTo(Context& next, bool /*forGood*/)
{
    SwitchToFiber(next.m_state->fiber);
}

} // namespace virtual_time::platform
