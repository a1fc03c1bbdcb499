#pragma once

#include "embedded_host/diagnosis/Activity.hpp"
#include "embedded_host/diagnosis/Firing.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovrinhost {

// The lines of a trace: one event each, in the JSON of Chrome's trace events. Viewers go by what stands in front;
// what reads a trace again, by `args`, where all moments are nanoseconds since the program began.
//
//     track of each timer    waiting (b, e), the callback (X, "firing"), what was dropped (i, "firing")
//     scheduler              dispatches (X, "dispatch")
//     interpreter            what it was at (X, "interpreter"); dispatches by whoever asked for them
//     arrows                 from the dispatch (s) to the callback (f)
//     counter                how many callbacks wait (C)

/// How each kind of line that is read again begins.
namespace trace {

constexpr std::string_view firstLine = "[";
constexpr std::string_view header = R"({"ph":"M","cat":"tovrin 1",)";
constexpr std::string_view timer = R"({"ph":"M","cat":"timer",)";
constexpr std::string_view firing = R"({"ph":"X","cat":"firing","ts":)";
constexpr std::string_view neverRan = R"({"ph":"i","cat":"firing","ts":)";
constexpr std::string_view dispatch = R"({"ph":"X","cat":"dispatch","ts":)";
constexpr std::string_view activity = R"({"ph":"X","cat":"interpreter","ts":)";

/// Where on the page things are.
enum Track : int { Scheduler = 1, Interpreter = 2, FirstTimer = 100 };

} // namespace trace

/// A piece of a scheduler's time.
struct DispatchEvent {
    std::uint64_t number = 0;
    Nanoseconds from = 0;
    Nanoseconds to = 0;
};

/// Writes the lines, each without its end.
class TraceLines {
public:
    /// \param beginning the moment from which all others count
    explicit TraceLines(Nanoseconds beginning)
        : m_beginning(beginning)
    {
    }

    std::string header(const std::string& program) const;
    std::string nameOfTrack(int track, const std::string& name) const;
    std::string timer(const TimerTable::Identity& identity, const TimerDescription& description) const;

    /// All that is told of a firing that is over, in several lines.
    /// \param name of its timer's callback, "run 17"
    std::string firing(const Firing& firing, int track, const std::string& name) const;

    std::string dispatch(const Firing& firing, const std::string& timer) const;
    std::string activity(const Activity& activity, const std::string& name) const;
    std::string backlog(Nanoseconds at, std::size_t waiting) const;

    /// How many firings so far the trace could not tell of.
    std::string lost(Nanoseconds at, std::uint64_t firings) const;

private:
    class Event;

    Nanoseconds sinceBeginning(Nanoseconds moment) const { return moment - m_beginning; }

    const Nanoseconds m_beginning;
};

/// Text as JSON has it, with its quotes; bytes that are no UTF-8 are replaced.
std::string toJson(const std::string& text);

// What such lines say; nothing where one is damaged.

struct TimerEvent {
    TimerTable::Identity identity { 0, 0 };
    TimerDescription description;
};

/// The name of the program.
std::optional<std::string> readHeader(std::string_view line);

std::optional<TimerEvent> readTimer(std::string_view line);
std::optional<Firing> readFiring(std::string_view line);
std::optional<DispatchEvent> readDispatch(std::string_view line);
std::optional<Activity> readActivity(std::string_view line);

} // namespace tovrinhost
