#include "virtual_time/platform/Context.hpp"

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define VIRTUAL_TIME_WITH_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VIRTUAL_TIME_WITH_ASAN 1
#endif
#endif

#if defined(VIRTUAL_TIME_WITH_ASAN)
#include <dlfcn.h>
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace virtual_time::platform {

namespace {

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

Stack takeStack(std::size_t size)
{
    const auto hasSize = [size](const Stack& stack) { return stack.size == size; };
    if (const auto found = std::ranges::find_if(freeStacks(), hasSize); found != freeStacks().end()) {
        const Stack stack = *found;
        freeStacks().erase(found);
        return stack;
    }
    void* const memory = mmap(
        nullptr, guardSize + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    mprotect(memory, guardSize, PROT_NONE); // stacks grow downwards
    return { static_cast<char*>(memory) + guardSize, size };
}

void giveBack(const Stack& stack)
{
#if defined(VIRTUAL_TIME_WITH_ASAN)
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

/// Goes on with another context.
void swapContexts(ucontext_t& from, const ucontext_t& to)
{
#if defined(VIRTUAL_TIME_WITH_ASAN)
    // The sanitizer's own stand-in for this function warns on standard error, and does not know that it is told of
    // each change of stack.
    using Swap = int (*)(ucontext_t*, const ucontext_t*);
    static const auto swap
        = reinterpret_cast<Swap>(dlsym(dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD), "swapcontext"));
    swap(&from, &to);
#else
    swapcontext(&from, &to);
#endif
}

} // namespace

struct Context::State {
    ucontext_t context {};
    Stack stack;
    bool ownsStack = false;
    Body body = nullptr;
    void* argument = nullptr;
    void* fakeStack = nullptr;

    static void enter(unsigned int high, unsigned int low)
    {
        const auto address = (static_cast<std::uintptr_t>(high) << 32U) | low;
        const State& self = *reinterpret_cast<State*>(address);
#if defined(VIRTUAL_TIME_WITH_ASAN)
        __sanitizer_finish_switch_fiber(nullptr, nullptr, nullptr);
#endif
        self.body(self.argument);
    }
};

Context::Context()
    : m_state(std::make_unique<State>())
{
    m_state->stack = runningStack();
}

Context::Context(Body body, void* argument, std::size_t stackSize)
    : m_state(std::make_unique<State>())
{
    m_state->body = body;
    m_state->argument = argument;
    m_state->stack = takeStack(stackSize);
    m_state->ownsStack = true;
    getcontext(&m_state->context);
    m_state->context.uc_stack.ss_sp = m_state->stack.bottom;
    m_state->context.uc_stack.ss_size = m_state->stack.size;
    m_state->context.uc_link = nullptr;
    // makecontext passes numbers of the size of int.
    const auto address = reinterpret_cast<std::uintptr_t>(m_state.get());
    makecontext(&m_state->context, reinterpret_cast<void (*)()>(&State::enter), 2,
        static_cast<unsigned int>(address >> 32U), static_cast<unsigned int>(address));
}

Context::~Context()
{
    if (m_state->ownsStack) {
        giveBack(m_state->stack);
    }
}

void Context::switchTo(Context& next, [[maybe_unused]] bool forGood)
{
#if defined(VIRTUAL_TIME_WITH_ASAN)
    __sanitizer_start_switch_fiber(
        forGood ? nullptr : &m_state->fakeStack, next.m_state->stack.bottom, next.m_state->stack.size);
#endif
    swapContexts(m_state->context, next.m_state->context);
#if defined(VIRTUAL_TIME_WITH_ASAN)
    __sanitizer_finish_switch_fiber(m_state->fakeStack, nullptr, nullptr);
#endif
}

} // namespace virtual_time::platform
