#pragma once

#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>

#include <cstdio>
#include <memory>

namespace tovrinhost {

/// Writes records to a stream, one line and one write each.
///
/// Threading: the front end sees to it that one record at a time is consumed.
/// Ownership: a share of the stream, which must be unbuffered: what has been consumed has been written.
/// Ordering: lines are stamped with the time as they are written, so times never go back from line to line
/// unless the clock does.
/// Errors: a line that cannot be written is lost.
class LineSink : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    explicit LineSink(std::shared_ptr<std::FILE> stream);

    void consume(const boost::log::record_view& record);

private:
    const std::shared_ptr<std::FILE> m_stream;
};

} // namespace tovrinhost
