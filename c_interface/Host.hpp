#pragma once

#include "c_interface/CallbackEngine.hpp"
#include "c_interface/HostLog.hpp"
#include "c_interface/ReadySignal.hpp"
#include "c_interface/Settings.hpp"
#include "c_interface/TaskTickets.hpp"
#include "c_interface/WallTimes.hpp"
#include "embedded_host/engine/InterpreterThread.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace tovrin_c {

/// A timer, as its embedder knows it.
struct Timer {
    std::shared_ptr<tovrinhost::ScriptTimer> core;
    Callbacks callbacks;
    std::string nameToldOf; ///< what tovrin_timer_get has given a pointer to
    std::string errorToldOf; ///< the same of tovrin_timer_error

    std::string label() const { return "timer \"" + core->settings().name + "\""; }
};

/// A host of the engine, whose timers call functions of the embedder.
///
///     any thread                               the host's thread, in a Use
///     scheduler, post --> EventLoop --> ready signal, submit function --> run one, run what came, run until
///
/// Threading: each function of the interface that is for the host's thread holds a `Use` while it is at work;
/// everything here is for such a function, but for what says otherwise. Ownership: there is one at a time in a
/// process, which `current` gives shares of. Lifetime: until `destroy` has returned; shares that are left over
/// then refuse whatever is asked.
class Host {
public:
    using Ran = tovrinhost::EventLoop::Ran;

    /// Makes one of the calling thread, and the current one. \throws Misuse if there is one already
    static std::shared_ptr<Host> create(const tovrin_host_settings& settings);

    /// The one with this handle, and the one that this timer is of, as far as the handle tells. Any thread.
    /// \throws Misuse if there is none
    static std::shared_ptr<Host> find(tovrin_host handle);
    static std::shared_ptr<Host> findOf(tovrin_timer timer);

    Host(tovrin_host handle, const tovrin_host_settings& settings);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    /// A function of the interface is at work, on the host's thread. Where it is the outermost, what still waits
    /// as it ends is shown to the embedder's own loop.
    class Use {
    public:
        /// \throws Misuse on another thread, or where the embedder must not call
        explicit Use(Host& host);
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        ~Use();

    private:
        Host& m_host;
        const tovrinhost::InterpreterThread m_here;
    };

    tovrin_host handle() const { return m_handle; }

    /// Any thread. \throws Misuse
    void adopt();
    void post(tovrin_posted_function function, void* data);
    void discard(tovrin_task task);

    /// \returns how many entries of the queue have been run
    std::uint64_t poll(std::uint64_t most);
    void runTask(tovrin_task task);

    /// \param done null: until no timer runs or has a callback to come
    bool runUntil(const tovrinhost::EventLoop::Deadline& deadline, tovrin_done_function done, void* data);
    std::intptr_t readyDescriptor();
    void destroy();

    /// \throws Misuse if the host is being destroyed
    void requireNotEnding() const;

    /// Before callbacks are run. \throws Misuse where too many that do so are nested in each other's callbacks
    void requireRoom() const;

    tovrin_timer createTimer(Settings settings);
    void destroyTimer(tovrin_timer timer);

    /// \throws Misuse if there is no such timer
    Timer& timer(tovrin_timer handle);

private:
    static std::uint64_t numberOf(tovrin_timer timer);
    void requireOutermost(const char* what) const;
    void callBack(std::uint64_t number);
    void somethingCame() noexcept;
    void showWhatWaits() noexcept;
    void setReady() noexcept;

    const tovrin_host m_handle;
    HostLog m_log;
    TaskTickets m_tickets;

    // Guarded by m_mutex.
    mutable tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_posted;
    tovrintimer::Thread::id m_thread;
    int m_uses = 0; // nested in each other, of m_thread
    int m_posts = 0; // under way
    bool m_isEnding = false;

    // Guarded by m_readyMutex, taken alone.
    tovrintimer::Mutex m_readyMutex;
    std::optional<ReadySignal> m_ready; // made as it is asked for
    bool m_isReadyShown = false;
    std::atomic<bool> m_isReadyWanted { false }; // written under it, read without

    // Only for the host's thread. In this order: what stands behind refers to what stands before.
    const std::shared_ptr<CallbackEngine> m_engine;
    tovrinhost::ErrorReport m_errors;
    std::optional<tovrinhost::TimerSet> m_timers;
    std::unordered_map<std::uint64_t, Timer> m_byNumber;
    WallTimes m_wallTimes;
};

} // namespace tovrin_c
