#pragma once

#include "host/Export.hpp"

#include <boost/log/core/record_view.hpp>

#include <chrono>
#include <string>

namespace tovrinhost {

/// A record as one line, with the time of this call and a line feed at its end.
TOVRINHOST_API std::string formatLogLine(const boost::log::record_view& record);

using RecordTime = std::chrono::system_clock::time_point;

/// By which clock the lines tell what time it is; the system's if nobody has said. Before there are records.
/// \param now asked by any thread
TOVRINHOST_API void setRecordClock(RecordTime (*now)() noexcept);

} // namespace tovrinhost
