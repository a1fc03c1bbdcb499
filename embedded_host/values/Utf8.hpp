#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace tovrinhost {

/// Stands for what is no character.
inline constexpr std::uint32_t replacementCharacter = 0xFFFD;

inline void appendUtf8(std::string& utf8, std::uint32_t character)
{
    const auto append = [&utf8](std::uint32_t byte) { utf8 += static_cast<char>(byte); };
    const auto appendFollower = [&append](std::uint32_t bits) { append(0x80U | (bits & 0x3FU)); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0U | (character >> 6U));
        appendFollower(character);
    } else if (character < 0x10000) {
        append(0xE0U | (character >> 12U));
        appendFollower(character >> 6U);
        appendFollower(character);
    } else {
        append(0xF0U | (character >> 18U));
        appendFollower(character >> 12U);
        appendFollower(character >> 6U);
        appendFollower(character);
    }
}

/// Converts UTF-16 or UTF-32, by the size of a unit, to UTF-8. A surrogate without its other half, and a number
/// beyond the last character, become U+FFFD.
template <typename Unit> std::string toUtf8(std::basic_string_view<Unit> wide)
{
    static_assert(sizeof(Unit) == 2 || sizeof(Unit) == 4);
    const auto unitAt = [wide](std::size_t index) {
        return std::uint32_t { static_cast<std::make_unsigned_t<Unit>>(wide[index]) };
    };
    const auto isHigh = [](std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; };
    const auto isLow = [](std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; };

    std::string utf8;
    utf8.reserve(wide.size());
    for (std::size_t index = 0; index < wide.size(); ++index) {
        std::uint32_t character = unitAt(index);
        if (isHigh(character) || isLow(character)) {
            const bool halved
                = sizeof(Unit) == 2 && isHigh(character) && index + 1 < wide.size() && isLow(unitAt(index + 1));
            if (halved) {
                ++index;
                character = 0x10000U + ((character - 0xD800U) << 10U) + (unitAt(index) - 0xDC00U);
            } else {
                character = replacementCharacter;
            }
        } else if (character > 0x10FFFF) {
            character = replacementCharacter;
        }
        appendUtf8(utf8, character);
    }
    return utf8;
}

} // namespace tovrinhost
