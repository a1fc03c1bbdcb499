#pragma once

#include <string>
#include <string_view>

namespace tovrinhost::platform {

// libedit's text: a wchar_t is a character. Bytes that are no characters, and the zero byte, which would end a
// text, are taken for numbers that no character has: so they come back as they were.

std::string toBytes(std::wstring_view wide);
std::wstring toWide(std::string_view bytes);

/// The same, but what may be the beginning of a character at the end of the bytes stays there.
std::wstring takeWide(std::string& bytes);

} // namespace tovrinhost::platform
