#pragma once

#include <string>

namespace tovrinhost::platform {

/// Makes a folder that is only for the user, and those above it, where they are not there.
/// \throws std::system_error
void makePrivateFolder(const std::string& path);

/// Appends to a file that is only for the user, in one write.
/// \throws std::system_error
void appendPrivately(const std::string& path, const std::string& text);

/// Puts a file that is only for the user in place of what may be there, all of it or nothing.
/// \throws std::system_error
void replacePrivately(const std::string& path, const std::string& text);

} // namespace tovrinhost::platform
