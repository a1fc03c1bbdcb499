#include "embedded_host/testing/ValueDifference.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"
#include "embedded_host/testing/Difference.hpp"
#include "embedded_host/timers/TimerProperties.hpp"
#include "embedded_host/timers/ValueText.hpp"

#include <algorithm>
#include <string_view>

namespace tovrinhost {

namespace {

constexpr std::size_t longText = 60;

std::string shownText(std::string_view text)
{
    return validText(escape(text));
}

/// A text with each of its lines fit to be shown.
std::string shownLines(std::string_view text)
{
    std::string lines;
    for (;;) {
        const std::size_t end = text.find('\n');
        lines += shownText(text.substr(0, end));
        if (end == std::string_view::npos) {
            return lines;
        }
        lines += '\n';
        text.remove_prefix(end + 1);
    }
}

/// The piece of a text around a place, in quotes.
std::string pieceAround(std::string_view text, std::size_t place)
{
    constexpr std::size_t before = 20;
    const std::size_t from = place - std::min(place, before);
    const std::string_view piece = text.substr(from, longText);
    return (from > 0 ? "..." : "") + ('"' + shownText(piece) + '"')
        + (from + piece.size() < text.size() ? "..." : "");
}

std::string differenceOfTexts(const std::string& expected, const std::string& actual)
{
    if (expected.find('\n') != std::string::npos || actual.find('\n') != std::string::npos) {
        return difference(shownLines(expected), shownLines(actual));
    }
    if (std::max(expected.size(), actual.size()) <= longText) {
        return "";
    }
    const auto first = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end()).first;
    const auto place = static_cast<std::size_t>(first - expected.begin());
    return "  from byte " + std::to_string(place + 1) + " on\n- " + pieceAround(expected, place) + "\n+ "
        + pieceAround(actual, place);
}

std::string differenceOfTables(lua_State* state, int expected, int actual)
{
    const std::string expectedRow = valueText(state, expected);
    const std::string actualRow = valueText(state, actual);
    const bool areRows = (expectedRow + actualRow).find('\n') == std::string::npos;
    if (areRows && expectedRow != actualRow) {
        return "";
    }
    constexpr ValueLimits all { 50, 100'000, 100'000, 10'000, 0 };
    return difference(valueText(state, expected, all), valueText(state, actual, all));
}

std::string indented(const std::string& rows)
{
    std::string text = "    ";
    for (const char letter : rows) {
        text += letter;
        text += letter == '\n' ? "    " : "";
    }
    return text;
}

} // namespace

std::string valueDifference(lua_State* state, int expected, int actual)
{
    std::string rows;
    if (lua_type(state, expected) == LUA_TSTRING && lua_type(state, actual) == LUA_TSTRING) {
        rows = differenceOfTexts(textAt(state, expected), textAt(state, actual));
    } else if (lua_istable(state, expected) && lua_istable(state, actual)) {
        rows = differenceOfTables(state, expected, actual);
    }
    return rows.empty() ? rows : indented(rows);
}

} // namespace tovrinhost
