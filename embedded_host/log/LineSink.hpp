#pragma once

#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>

#include <cstdio>
#include <functional>
#include <memory>

namespace tovrinhost {

/// Writes records to a stream, one line and one write each.
///
/// Threading: the front end sees to it that one record at a time is consumed.
/// Ownership: a share of the stream, which must be unbuffered: what has been consumed has been written.
/// Ordering: lines are stamped with the time as they are written, so times never go back from line to line
/// unless the clock does.
/// Errors: a line that cannot be written is lost; the first one is told of.
class LineSink : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    /// \param onLoss called with the errno of the first line that cannot be written
    LineSink(std::shared_ptr<std::FILE> stream, std::function<void(int error)> onLoss);

    void consume(const boost::log::record_view& record);

private:
    const std::shared_ptr<std::FILE> m_stream;
    const std::function<void(int error)> m_onLoss;
    bool m_hasLost = false;
};

} // namespace tovrinhost
