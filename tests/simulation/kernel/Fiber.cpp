#include "tests/simulation/kernel/Fiber.hpp"

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <cstdint>
#include <cstring>
#include <cxxabi.h>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define SIMULATION_WITH_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SIMULATION_WITH_ASAN 1
#endif
#endif

#if defined(SIMULATION_WITH_ASAN)
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace simulation {

namespace {

constexpr std::size_t stackSize = std::size_t { 512 } * 1024;
constexpr std::size_t guardSize = std::size_t { 4 } * 1024;

struct Stack {
    void* bottom = nullptr;
    std::size_t size = 0;
};

/// Stacks are used again: mapping memory costs more than a short run.
std::vector<Stack>& freeStacks()
{
    static std::vector<Stack> stacks;
    return stacks;
}

Stack takeStack()
{
    if (!freeStacks().empty()) {
        const Stack stack = freeStacks().back();
        freeStacks().pop_back();
        return stack;
    }
    void* const memory = mmap(nullptr, guardSize + stackSize, PROT_READ | PROT_WRITE,
        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    mprotect(memory, guardSize, PROT_NONE); // stacks grow downwards
    return { static_cast<char*>(memory) + guardSize, stackSize };
}

void giveBack(const Stack& stack)
{
#if defined(SIMULATION_WITH_ASAN)
    ASAN_UNPOISON_MEMORY_REGION(stack.bottom, stack.size);
#endif
    freeStacks().push_back(stack);
}

Stack runningStack()
{
    pthread_attr_t attributes;
    Stack stack;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &stack.bottom, &stack.size);
        pthread_attr_destroy(&attributes);
    }
    return stack;
}

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
    ucontext_t context {};
    Stack stack;
    bool ownsStack = false;
    std::function<void()> body;
    ExceptionState exceptions;
    void* fakeStack = nullptr;
};

Fiber::Fiber()
    : m_state(std::make_unique<State>())
{
    m_state->stack = runningStack();
}

Fiber::Fiber(std::function<void()> body)
    : m_state(std::make_unique<State>())
{
    m_state->body = std::move(body);
    m_state->stack = takeStack();
    m_state->ownsStack = true;
    getcontext(&m_state->context);
    m_state->context.uc_stack.ss_sp = m_state->stack.bottom;
    m_state->context.uc_stack.ss_size = m_state->stack.size;
    m_state->context.uc_link = nullptr;
    // makecontext passes numbers of the size of int.
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    makecontext(&m_state->context, reinterpret_cast<void (*)()>(&Fiber::enter), 2,
        static_cast<unsigned int>(address >> 32U), static_cast<unsigned int>(address));
}

Fiber::~Fiber()
{
    if (m_state->ownsStack) {
        giveBack(m_state->stack);
    }
}

void Fiber::enter(unsigned int high, unsigned int low)
{
    const auto address = (static_cast<std::uintptr_t>(high) << 32U) | low;
    Fiber& self = *reinterpret_cast<Fiber*>(address);
#if defined(SIMULATION_WITH_ASAN)
    __sanitizer_finish_switch_fiber(nullptr, nullptr, nullptr);
#endif
    self.m_state->body();
}

void Fiber::switchTo(Fiber& next)
{
    go(next, false);
}

void Fiber::leaveFor(Fiber& next)
{
    go(next, true);
}

void Fiber::go(Fiber& next, [[maybe_unused]] bool forGood)
{
#if defined(SIMULATION_WITH_ASAN)
    __sanitizer_start_switch_fiber(
        forGood ? nullptr : &m_state->fakeStack, next.m_state->stack.bottom, next.m_state->stack.size);
#endif
    m_state->exceptions = swapExceptionState(next.m_state->exceptions);
    swapcontext(&m_state->context, &next.m_state->context);
#if defined(SIMULATION_WITH_ASAN)
    __sanitizer_finish_switch_fiber(m_state->fakeStack, nullptr, nullptr);
#endif
}

} // namespace simulation
