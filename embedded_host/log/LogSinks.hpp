#pragma once

#include "host/Export.hpp"

#include <cstdint>
#include <string>

namespace tovrinhost {

/// Sets which severities of a channel are recorded, for the loggers that exist and for those made later.
/// Threading: any thread.
TOVRINHOST_API void setLogMask(const std::string& channel, std::uint32_t mask);

// Where the records go, one line each:
//
//     2024-05-01 13:45:07.045123 [tovrintimer::workHandler] 0x04 Requesting StartFcn Processing
//
// Time is local; a record inside a traced scope is indented by two blanks. Each line is written as a whole,
// and control characters in it are written out (\n, \x1b): no text can pass for a record. A line that cannot be
// written is lost; the first that a file does not take is told of on standard error.
// Threading: the operations, one thread; the records, any thread.

/// Nothing more happens if it is so already.
TOVRINHOST_API void logToStandardError();

/// Appends to a file, in the place of the file of an earlier call.
/// \throws std::system_error, naming the file, if it cannot be opened for writing; nothing has changed then
TOVRINHOST_API void logToFile(const std::string& path);

/// Flushes and removes what the operations above have put in place; records go nowhere then.
TOVRINHOST_API void stopLogging();

/// Whether a line could not be written since the process began.
TOVRINHOST_API bool hasLostRecords();

} // namespace tovrinhost
