#include "embedded_host/program/OptionValues.hpp"

#include <CLI/CLI.hpp>

#include <charconv>

namespace tovrinhost {

void failOption(const std::string& option, const std::string& value, const std::string& allowed)
{
    throw CLI::ValidationError(option, "\"" + value + "\" is not allowed: " + allowed);
}

std::size_t toCount(const char* option, const std::string& text, std::size_t most)
{
    std::size_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last || number == 0 || number > most) {
        failOption(option, text, "it must be a whole number from 1 to " + std::to_string(most));
    }
    return number;
}

double toSeconds(const char* option, const std::string& text)
{
    constexpr double most = 9e9;
    double seconds = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, seconds);
    if (error != std::errc() || end != last || !(seconds >= 0 && seconds <= most)) {
        failOption(option, text, "it must be a number of seconds from 0 to 9000000000");
    }
    return seconds;
}

} // namespace tovrinhost
