#pragma once

#include <array>
#include <cstddef>
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

/// The character at the beginning of a text in UTF-8.
struct Utf8Character {
    std::size_t length = 0; ///< in bytes; 0 if the text does not begin with a character
    std::uint32_t character = replacementCharacter;
    bool isCutShort = false; ///< what there is may be the beginning of one
};

inline Utf8Character firstCharacter(std::string_view text)
{
    struct Form {
        std::uint32_t mask;
        std::uint32_t head;
        std::uint32_t smallest; // what would fit into fewer bytes is no character
    };
    static constexpr std::array<Form, 4> forms { { { 0x80, 0x00, 0 }, { 0xE0, 0xC0, 0x80 }, { 0xF0, 0xE0, 0x800 },
        { 0xF8, 0xF0, 0x10000 } } };
    const auto byteAt
        = [text](std::size_t index) { return std::uint32_t { static_cast<unsigned char>(text[index]) }; };
    for (std::size_t length = 1; !text.empty() && length <= forms.size(); ++length) {
        const Form& form = forms.at(length - 1);
        if ((byteAt(0) & form.mask) != form.head) {
            continue;
        }
        std::uint32_t character = byteAt(0) & ~form.mask;
        for (std::size_t i = 1; i < length; ++i) {
            if (i == text.size()) {
                return { 0, replacementCharacter, true };
            }
            if ((byteAt(i) & 0xC0U) != 0x80U) {
                return {};
            }
            character = (character << 6U) | (byteAt(i) & 0x3FU);
        }
        const bool isSurrogate = character >= 0xD800 && character < 0xE000;
        if (character < form.smallest || character > 0x10FFFF || isSurrogate) {
            return {};
        }
        return { length, character, false };
    }
    return {};
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
