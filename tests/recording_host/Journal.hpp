#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace recording {

enum class Kind {
    Call, ///< the library called the host
    Detail, ///< it called for something that most tests do not want to see
    Log, ///< it wrote a log record
};

struct Event {
    Kind kind = Kind::Call;
    std::string text;
    std::thread::id thread = std::this_thread::get_id();

    // Of log records only.
    std::string channel = {};
    std::uint32_t severity = 0;
    unsigned int indent = 0;
    std::string file = {};
    int line = 0;
};

/// All that happened in the host, in order, and what a test wants to happen thereupon.
///
/// Events are named by the beginning of their text.
/// Threading: all operations, any thread. Actions run on the thread of their event, with no lock held: they may
/// wait, throw, and call the library or the journal.
class Journal {
public:
    /// Appends the event, then runs the actions set for it.
    /// \throws what an action throws
    void add(const Event& event);

    std::vector<Event> events() const;

    /// The texts of one kind of event, on one thread or on all.
    std::vector<std::string> texts(Kind kind, std::thread::id thread = {}) const;

    std::size_t count(const std::string& beginning) const;

    /// Forgets all events and actions.
    void clear();

    /// Forgets the events only.
    void clearEvents();

    using Action = std::function<void(const Event&)>;

    /// Has the action, which may take the event, run each time that such an event occurs.
    template <typename Function> void when(std::string beginning, Function action)
    {
        hook({ std::move(beginning), withEvent(std::move(action)), false });
    }

    /// Has it run at the first such event from now on.
    template <typename Function> void once(std::string beginning, Function action)
    {
        hook({ std::move(beginning), withEvent(std::move(action)), true });
    }

    /// Waits until such an event has occurred so many times.
    /// \throws std::runtime_error, listing all events, if it does not within the time limit
    void waitFor(const std::string& beginning, std::size_t times = 1) const;

private:
    struct Hook {
        std::string beginning;
        Action action;
        bool once;
    };

    template <typename Function> static Action withEvent(Function action)
    {
        if constexpr (std::is_invocable_v<Function, const Event&>) {
            return action;
        } else {
            return [action = std::move(action)](const Event&) { action(); };
        }
    }

    std::size_t countLocked(const std::string& beginning) const;
    void hook(Hook hook);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_added;
    std::vector<Event> m_events; // guarded by m_mutex, like the next
    std::list<Hook> m_hooks;
};

/// The one of this process; usable before `main` and after it.
Journal& journal();

} // namespace recording
