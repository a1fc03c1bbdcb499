#pragma once

#include "host/Export.hpp"
#include "host/foundation/log/indent_attribute.hpp"

#include <boost/log/attributes/attribute_set.hpp>
#include <boost/log/core/record.hpp>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

/// Diagnostic records.
namespace foundation::log {

template <typename CharT> class basic_diagnostic_logger;

/// A source of diagnostic records for one channel, on top of Boost.Log.
///
/// What the library writes, by channel and severity; each record's text is in the page Records:
///
///                                  4  trace                16  detail       32, 64  scope entry, exit
///     tovrintimer::TimerScheduler  queue, run loop,        waits, removals  the run loop
///                                  requests of the host
///     tovrintimer::WorkItem        changed task counts     -                -
///     tovrintimer::workHandler     handlers, tasks, the    -                -
///                                  way to the interpreter
///
/// Every record carries the attributes "Channel" (std::string), "Severity" (std::uint32_t, one bit) and
/// "Indent" (unsigned int): the host's constructor puts them into m_attributes. The severity is given to
/// `open_record`, which sees to it that the record bears it; by an attribute made for this record, say, or one
/// that reads a variable of the thread. To records of a scope the library itself adds "File" (std::string) and
/// "Line" (int).
///
/// The mask is the host's, too: the constructor sets it first, and the library only reads it. Several loggers may
/// bear the same channel name: a host sets a mask by channel, for the loggers that exist and for those made later.
///
/// Threading: all operations, any thread. The library writes records on the scheduler thread, on the threads
/// that call into it and in callback tasks; some of them while it holds its queue's mutex, so a sink may call
/// back into the library only for what takes no queue lock.
/// Lifetime: some loggers are namespace-scope objects: one of the library's scheduler, and one of the channel
/// tovrintimer::WorkItem in each source that includes WorkItem.hpp, which TimerScheduler.hpp does; those of a host
/// as well. Construction and destruction must work before `main` begins and after it ends. A process may also end
/// without an orderly shutdown, while threads of the library write: until the system ends them, what they call
/// must neither be destroyed nor use what has been. So a host destroys nothing that a record goes through, and of
/// what others destroy (Boost.Log's own static objects) it keeps later records away: it opens none once that has
/// begun. Errors: what `open_record`, `push_record` or a sink throws costs that record and nothing else.
template <> class TOVRINHOST_API basic_diagnostic_logger<char> {
public:
    using char_type = char; ///< of the records

    /// Any thread, at any time: before `main` begins as well.
    explicit basic_diagnostic_logger(const std::string& channel);
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;
    ~basic_diagnostic_logger();

    /// Whether records of this severity bit are wanted. Called before anything is formatted, so it is a
    /// single test.
    bool is_enabled(std::uint32_t severity) const noexcept
    {
        return (m_mask.load(std::memory_order_relaxed) & severity) != 0;
    }

    /// The severity bits that are wanted.
    std::uint32_t mask() const noexcept { return m_mask.load(std::memory_order_relaxed); }

    /// For the host. Any thread, at any time; the records that are opened next follow it.
    void set_mask(std::uint32_t mask) noexcept { m_mask.store(mask, std::memory_order_relaxed); }

    /// "tovrintimer::TimerScheduler", say. Constant.
    const std::string& channel() const noexcept { return m_channel; }

    /// Opens a record on the Boost.Log core, with the logger's lock held exclusively.
    /// \returns an empty record where the core's filters want none
    boost::log::record open_record(std::uint32_t severity);

    /// Gives the finished record to the core, without the logger's lock. Nothing else of it is used afterwards.
    void push_record(boost::log::record&& record);

    /// What the library tells of scopes that are entered and left.
    detail::indent_attribute& indent() noexcept { return m_indent; }

private:
    // Constant after construction.
    const std::string m_channel;
    detail::indent_attribute m_indent;

    // Shared without a lock.
    std::atomic<std::uint32_t> m_mask;

    // Held while a record is opened, never while it is formatted or pushed.
    std::mutex m_lock;
    boost::log::attribute_set m_attributes; // guarded by m_lock
};

} // namespace foundation::log
