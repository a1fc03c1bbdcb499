#pragma once

#include "embedded_host/program/completion/Completion.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

/// The text with a backslash before each of these characters.
std::string withBackslashes(std::string_view text, std::string_view special);

/// One word of bash or zsh.
std::string shellWord(std::string_view text);

/// Whether the value so called is the name of a file.
bool isFile(const std::string& value);

/// All values that there are, separated by blanks; empty where they cannot be listed.
std::string choices(std::string value);

/// The program's options that are none of the command's that is meant without a name: they may stand first only.
std::vector<OfferedOption> ownOptions(const OfferedCommandLine& line);

/// A comment that says where it comes from.
std::string origin(const OfferedCommandLine& line, const std::string& shell);

} // namespace tovrinhost
