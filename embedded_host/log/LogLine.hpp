#pragma once

#include "host/Export.hpp"

#include <boost/log/core/record_view.hpp>

#include <string>
#include <string_view>

namespace tovrinhost {

/// The text with every control character written out (\n, \t, \x1b): it stays on one line, and looks like what
/// it is.
TOVRINHOST_API std::string escape(std::string_view text);

/// A record as one line, with the time of this call and a line feed at its end.
TOVRINHOST_API std::string formatLogLine(const boost::log::record_view& record);

} // namespace tovrinhost
