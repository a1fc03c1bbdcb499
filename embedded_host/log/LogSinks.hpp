#pragma once

#include "host/Export.hpp"

#include <string>

namespace tovrinhost {

// Where diagnostic records go, one line each:
//
//     2024-05-01 13:45:07.045123 [tovrintimer::workHandler] 0x04 Requesting StartFcn Processing
//
// Time is local; a record inside a traced scope is indented by two blanks. Each line is written as a whole.
// Threading: the three operations, one thread; the records, any thread.

TOVRINHOST_API void logToStandardError();

/// Appends to a file.
/// \throws std::system_error, naming the file, if it cannot be opened for writing
TOVRINHOST_API void logToFile(const std::string& path);

/// Flushes and removes what the operations above have put in place; records go nowhere then.
TOVRINHOST_API void stopLogging();

} // namespace tovrinhost
