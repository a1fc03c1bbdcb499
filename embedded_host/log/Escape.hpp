#pragma once

#include "host/Export.hpp"

#include <string>
#include <string_view>

namespace tovrinhost {

// Names and error texts of scripts stand in diagnostic records and in reports on standard error, which begin a
// line each. What they contain is never to look like one more of these, nor to be obeyed by a terminal.

/// The text with every control character written out (\n, \t, \x1b): it stays on one line, and looks like what
/// it is.
TOVRINHOST_API std::string escape(std::string_view text);

/// A traceback, or another text of indented lines, with its control characters written out, but for tabs, and for
/// the line breaks in front of one: no line but the first begins at the margin.
TOVRINHOST_API std::string escapeLines(std::string_view text);

} // namespace tovrinhost
