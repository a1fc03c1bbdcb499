#pragma once

#include "host/Export.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace tovrinhost {

/// The text with every byte that is no part of a character in UTF-8 written out (\xff).
TOVRINHOST_API std::string validText(std::string_view text);

/// The text, which is valid, with at most so many bytes; "..." at its end tells that something is missing.
TOVRINHOST_API std::string shortened(std::string text, std::size_t most);

/// How many characters a valid text has.
TOVRINHOST_API std::size_t characterCount(std::string_view text);

/// The text up to so many characters.
TOVRINHOST_API std::string firstCharacters(std::string_view text, std::size_t count);

} // namespace tovrinhost
