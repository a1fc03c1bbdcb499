#include "embedded_host/program/TimeValues.hpp"

#include "embedded_host/clock/LocalTime.hpp"
#include "embedded_host/program/OptionValues.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>
#include <string_view>

namespace tovrinhost {

namespace {

struct Unit {
    char letter;
    double seconds;
};

constexpr double minute = 60;
constexpr double hour = 60 * minute;
constexpr double day = 24 * hour;

/// In the order in which they may follow each other.
constexpr std::array<Unit, 4> units { { { 'd', day }, { 'h', hour }, { 'm', minute }, { 's', 1 } } };

/// Takes a number without a sign off the beginning of the text. \returns none where there is none
std::optional<double> takeNumber(std::string_view& text)
{
    double number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(number) || text.starts_with('-')) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// "90", or "1h30m". \returns the seconds; none where it is no duration
std::optional<double> readDuration(std::string_view text)
{
    if (std::string_view rest = text; auto seconds = takeNumber(rest)) {
        if (rest.empty()) {
            return seconds;
        }
    }
    double sum = 0;
    const Unit* next = units.data(); // the largest that may follow
    const Unit* const end = units.data() + units.size();
    do {
        const auto number = takeNumber(text);
        const Unit* const unit = std::find_if(
            next, end, [&](const Unit& known) { return !text.empty() && text.front() == known.letter; });
        if (!number || unit == end) {
            return std::nullopt;
        }
        sum += *number * unit->seconds;
        text.remove_prefix(1);
        next = unit + 1;
    } while (!text.empty());
    return sum;
}

/// Takes so many digits, and what has to stand behind them. \returns none where there is something else
std::optional<int> takeDigits(std::string_view& text, std::size_t digits, std::string_view behind)
{
    int number = 0;
    const char* const last = text.data() + std::min(digits, text.size());
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != text.data() + digits || number < 0) {
        return std::nullopt;
    }
    text.remove_prefix(digits);
    if (!text.starts_with(behind)) {
        return std::nullopt;
    }
    text.remove_prefix(behind.size());
    return number;
}

/// "2026-12-24 08:00", or with seconds. \returns seconds, counted as if local time were UTC
std::optional<std::int64_t> readLocalTime(std::string_view text)
{
    using namespace std::chrono;
    constexpr int firstYear = 1971; // wherever one is, it is past 1970
    constexpr int lastYear = 2260; // the clock ends in 2262
    const auto yearOf = takeDigits(text, 4, "-");
    const auto monthOf = yearOf ? takeDigits(text, 2, "-") : std::nullopt;
    const auto dayOf = monthOf ? takeDigits(text, 2, " ") : std::nullopt;
    const auto hourOf = dayOf ? takeDigits(text, 2, ":") : std::nullopt;
    const auto minuteOf = hourOf ? takeDigits(text, 2, text.size() > 3 ? ":" : "") : std::nullopt;
    const auto secondOf = minuteOf && !text.empty() ? takeDigits(text, 2, "") : std::optional(0);
    if (!minuteOf || !secondOf || !text.empty()) {
        return std::nullopt;
    }
    const year_month_day date(
        year(*yearOf), month(static_cast<unsigned>(*monthOf)), std::chrono::day(static_cast<unsigned>(*dayOf)));
    if (!date.ok() || *yearOf < firstYear || *yearOf > lastYear || *hourOf > 23 || *minuteOf > 59
        || *secondOf > 59) {
        return std::nullopt;
    }
    return (sys_days(date) + hours(*hourOf) + minutes(*minuteOf) + seconds(*secondOf)).time_since_epoch().count();
}

} // namespace

Nanoseconds toSpan(const char* option, const std::string& text)
{
    constexpr double least = 0.001;
    constexpr double most = 366 * day;
    const auto seconds = readDuration(text);
    if (!seconds || !(*seconds >= least && *seconds <= most)) {
        failOption(option, text,
            "it must be a duration from 0.001s to 366d: seconds, such as 90, or numbers with the units d, h, m "
            "and "
            "s, such as 2d, 15m or 1h30m");
    }
    return std::llround(*seconds * 1e9);
}

std::int64_t toLocalMoment(const char* option, const std::string& text)
{
    const auto local = readLocalTime(text);
    if (!local) {
        failOption(option, text,
            "it must be a local time of the years 1971 to 2260 such as \"2026-12-24 08:00\" or \"2026-12-24 "
            "08:00:30\"");
    }
    return momentOf(*local, systemUtcOffset);
}

} // namespace tovrinhost
