#pragma once

#include <string>

namespace random_programs {

/// An open file in memory, without a name. \throws std::system_error
int openMemory();

/// Replaces what the file holds. \throws std::system_error
void writeFile(int file, const std::string& text);

/// \returns all that the file holds
std::string readFile(int file);

} // namespace random_programs
