#include "embedded_host/program/OptionValues.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <limits>
#include <string_view>

namespace tovrinhost {

void failOption(const std::string& option, const std::string& value, const std::string& allowed)
{
    throw CLI::ValidationError(option, "\"" + value + "\" is not allowed: " + allowed);
}

std::size_t toCount(const char* option, const std::string& text, std::size_t most, std::size_t least)
{
    std::size_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last || number < least || number > most) {
        failOption(option, text,
            "it must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

namespace {

/// NaN for what is no number.
double toNumber(std::string_view text)
{
    double number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    return error == std::errc() && end == last ? number : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

double toSeconds(const char* option, const std::string& text)
{
    constexpr double most = 9e9;
    const double seconds = toNumber(text);
    if (!(seconds >= 0 && seconds <= most)) {
        failOption(option, text, "it must be a number of seconds from 0 to 9000000000");
    }
    return seconds;
}

std::optional<double> toPace(const char* option, const std::string& text)
{
    constexpr std::string_view faster = "real:";
    constexpr double most = 1e6;
    if (text == "real") {
        return std::nullopt;
    }
    if (text == "virtual") {
        return 0;
    }
    const double pace = text.starts_with(faster) ? toNumber(std::string_view(text).substr(faster.size())) : 0;
    if (!(pace >= 1 && pace <= most)) {
        failOption(option, text, "it must be real, virtual, or real:N with a number N from 1 to 1000000");
    }
    return pace;
}

} // namespace tovrinhost
