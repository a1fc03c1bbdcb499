#pragma once

#include "host/Export.hpp"

#include <lua.h>

#include <atomic>

namespace tovrinhost {

class EventLoop;

/// Which coroutine of a Lua state runs, and how it is made to give up when the event loop is interrupted.
///
///   any thread                         interpreter thread
///   EventLoop::interrupt: flag on      ... a script runs, without a hook ...
///   Interjection ~~~~~~~~~~~~~~~~~~~~> interrupt(): a hook on the coroutine that runs, between two instructions
///                                      its next step: the hook raises an error, again at each later step
///                                      it is dead, its resumer runs: interrupt() for that one
///                                      ... until all have been left
///   EventLoop::clearInterruption       the next step of the main state: the hook gives way to the script's own
///
/// Why no standing hook: one for every so many instructions makes a loop three times as slow however large the
/// number, since each instruction counts; and one that is set again at each look walks all active calls, which
/// makes deep recursion fifty times as slow. What sets the hook from outside does what the standalone interpreter
/// does in its handler of Ctrl-C; `lua_sethook` is made for that, but only on the thread that runs the state.
///
/// A hook belongs to one coroutine, so the running one is known at any time: resuming and closing go through here.
/// The error is one of memory, since that is the only one that no message handler of the script gets to see.
///
/// Lua runs no hooks in a finalizer (__gc), nor in a hook function of the script: an interruption takes hold as
/// soon as that returns.
///
/// Threading: the interpreter thread only, but for `interrupt`; that may come in the midst of everything else.
class TOVRINHOST_API RunningCode {
public:
    RunningCode(lua_State* main, const EventLoop& loop);
    RunningCode(const RunningCode&) = delete;
    RunningCode& operator=(const RunningCode&) = delete;

    /// Makes the library functions that run coroutines tell of it. To be called once, by code that may raise
    /// errors.
    static void watchCoroutines(lua_State* state);

    /// The coroutine that runs, or the main state.
    lua_State* state() const { return innermost().state; }

    /// Makes what runs look at the interruption at its next step. Fit for signal handlers.
    void interrupt() noexcept;

    /// Whether code is to be given up.
    bool isInterrupted() const noexcept;

    /// Raises the error that no message handler sees. Does not return.
    static int giveUp(lua_State* state);

private:
    /// A coroutine that runs, or has resumed one that does, and the hook that the script has set there.
    struct Level {
        lua_State* const state;
        lua_Hook hook = nullptr;
        int mask = 0;
        int count = 0;
    };

    class Resumed;

    /// What comes after a change of the level or its hook: an interruption in the midst of that was lost on it.
    void interruptIfAsked() noexcept;

    static int runCoroutine(lua_State* state);
    static int runWrapped(lua_State* state);
    static int wrap(lua_State* state);
    static void look(lua_State* state, lua_Debug* event);
    static void restoreHook(const Level& level);

    /// Without ordering, which a signal on the same thread does not need; and ThreadSanitizer takes a lock for it,
    /// which the signal may have come upon.
    Level& innermost() const { return *m_innermost.load(std::memory_order_relaxed); }

    const EventLoop& m_loop;
    Level m_main;
    std::atomic<Level*> m_innermost { &m_main };
};

} // namespace tovrinhost
