#pragma once

#include "host/Export.hpp"

#include <boost/log/core/record_view.hpp>

#include <string>

namespace tovrinhost {

/// A record as one line, with the time of this call and a line feed at its end.
TOVRINHOST_API std::string formatLogLine(const boost::log::record_view& record);

} // namespace tovrinhost
