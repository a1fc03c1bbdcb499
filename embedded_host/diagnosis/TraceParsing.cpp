#include "embedded_host/diagnosis/TraceEvents.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <limits>
#include <utility>

namespace tovrinhost {

namespace {

using Json = nlohmann::json;

constexpr std::size_t mostNumbers = 24; // of one line
constexpr std::size_t mostCharacters = 4096; // of one text

/// What stands in a line's `args`, as it is read: no tree is made of it, and what is too much is given up.
class Arguments {
public:
    /// \returns whether the line is an event, whatever it says
    bool read(std::string_view line) { return Json::sax_parse(line.begin(), line.end(), this) && m_hasArguments; }

    /// \returns `otherwise` where there is none of this name
    std::int64_t number(std::string_view of, std::int64_t otherwise = 0) const
    {
        for (std::size_t i = 0; i < m_count; ++i) {
            if (m_numbers[i].first == of) {
                return m_numbers[i].second;
            }
        }
        return otherwise;
    }

    bool has(std::string_view of) const
    {
        constexpr std::int64_t none = std::numeric_limits<std::int64_t>::min();
        return number(of, none) != none;
    }

    TimerTable::Identity identity() const { return { number("timer.0"), number("timer.1") }; }

    std::string name;
    std::string settings;
    std::array<std::string, 4> places;

    // What the parser calls. All that is no number, text or member ends the reading.

    bool start_object(std::size_t /*size*/)
    {
        ++m_depth;
        m_hasArguments = m_hasArguments || m_depth == 2;
        return m_depth <= 2;
    }

    bool end_object()
    {
        --m_depth;
        return true;
    }

    bool start_array(std::size_t /*size*/)
    {
        m_place = 0;
        return m_depth == 2 && !std::exchange(m_isInArray, true);
    }

    bool end_array()
    {
        m_isInArray = false;
        return true;
    }

    bool key(std::string& text)
    {
        m_key = text;
        return true;
    }

    bool number_integer(std::int64_t value) { return take(value); }
    bool number_unsigned(std::uint64_t value) { return take(static_cast<std::int64_t>(value)); }
    bool number_float(double /*value*/, const std::string& /*text*/) const { return m_depth == 1; }

    bool string(std::string& text)
    {
        if (m_depth == 2 && text.size() <= mostCharacters) {
            if (m_isInArray) {
                return m_key == "places" && m_place < places.size() && (places.at(m_place++) = text, true);
            }
            (m_key == "name" ? name : settings) = text;
        }
        return text.size() <= mostCharacters;
    }

    bool null() { return false; }
    bool boolean(bool /*value*/) { return false; }
    bool binary(Json::binary_t& /*value*/) { return false; }
    bool parse_error(std::size_t /*at*/, const std::string& /*token*/, const Json::exception& /*why*/)
    {
        return false;
    }

private:
    bool take(std::int64_t value)
    {
        if (m_depth != 2) {
            return true; // for viewers
        }
        if (m_count == m_numbers.size()) {
            return false;
        }
        m_numbers[m_count++] = { m_isInArray ? m_key + '.' + std::to_string(m_place++) : m_key, value };
        return true;
    }

    int m_depth = 0;
    bool m_hasArguments = false;
    bool m_isInArray = false;
    std::size_t m_place = 0;
    std::string m_key;
    std::array<std::pair<std::string, std::int64_t>, mostNumbers> m_numbers;
    std::size_t m_count = 0;
};

template <typename Enumeration> bool toEnumeration(std::int64_t value, Enumeration last, Enumeration& into)
{
    into = static_cast<Enumeration>(value);
    return value >= 0 && value <= static_cast<std::int64_t>(last);
}

bool toKind(std::int64_t value, tovrintimer::WorkKind& into)
{
    constexpr int none = 3;
    return toEnumeration(value, tovrintimer::ErrorFcnWork, into) && value != none;
}

} // namespace

std::optional<std::string> readHeader(std::string_view line)
{
    Arguments arguments;
    return arguments.read(line) ? std::optional(arguments.name) : std::nullopt;
}

std::optional<TimerEvent> readTimer(std::string_view line)
{
    Arguments arguments;
    if (!arguments.read(line) || !arguments.has("number") || !arguments.has("timer.1")) {
        return std::nullopt;
    }
    TimerEvent event { arguments.identity(), {} };
    event.description.number = static_cast<std::uint64_t>(arguments.number("number"));
    event.description.name = arguments.name;
    event.description.settings = arguments.settings;
    event.description.places = arguments.places;
    event.description.period = arguments.number("period");
    return event;
}

std::optional<Firing> readFiring(std::string_view line)
{
    Arguments arguments;
    Firing firing;
    const bool isWhole = arguments.read(line) && arguments.has("number") && arguments.has("due")
        && arguments.has("within") && toKind(arguments.number("kind"), firing.kind)
        && toEnumeration(arguments.number("stage"), Stage::Refused, firing.stage)
        && toEnumeration(arguments.number("reason"), tovrintimer::DropReason::NotHandedOver, firing.reason);
    if (!isWhole) {
        return std::nullopt;
    }
    firing.number = static_cast<std::uint64_t>(arguments.number("number"));
    firing.timer = arguments.identity();
    firing.wasQueued = arguments.number("queued") != 0;
    firing.due = arguments.number("due");
    firing.firstDue = arguments.number("firstDue");
    firing.dispatched = arguments.number("dispatched");
    firing.taken = arguments.number("taken");
    firing.started = arguments.number("started");
    firing.ended = arguments.number("ended");
    firing.run = static_cast<std::uint64_t>(arguments.number("run"));
    firing.missed = static_cast<std::uint64_t>(arguments.number("missed"));
    firing.within = static_cast<std::uint64_t>(arguments.number("within"));
    return firing;
}

std::optional<DispatchEvent> readDispatch(std::string_view line)
{
    Arguments arguments;
    if (!arguments.read(line) || !arguments.has("from") || !arguments.has("to")) {
        return std::nullopt;
    }
    // What its own thread dispatches keeps no scheduler's.
    const bool isSchedulers = arguments.number("queued") != 0;
    return DispatchEvent { static_cast<std::uint64_t>(arguments.number("number")), arguments.number("from"),
        isSchedulers ? arguments.number("to") : arguments.number("from") };
}

std::optional<Activity> readActivity(std::string_view line)
{
    Arguments arguments;
    Activity activity;
    const bool isWhole = arguments.read(line) && arguments.has("from") && arguments.has("to")
        && toEnumeration(arguments.number("doing"), Doing::Callback, activity.doing)
        && toKind(arguments.number("kind"), activity.kind);
    if (!isWhole) {
        return std::nullopt;
    }
    activity.from = arguments.number("from");
    activity.to = arguments.number("to");
    activity.line = static_cast<int>(arguments.number("line"));
    activity.number = static_cast<std::uint64_t>(arguments.number("number"));
    activity.timer = arguments.identity();
    activity.run = static_cast<std::uint64_t>(arguments.number("run"));
    return activity;
}

} // namespace tovrinhost
