#include "embedded_host/log/LineSink.hpp"

#include "embedded_host/log/LogLine.hpp"

#include <cerrno>
#include <string>
#include <utility>

namespace tovrinhost {

LineSink::LineSink(std::shared_ptr<std::FILE> stream, std::function<void(int error)> onLoss)
    : m_stream(std::move(stream))
    , m_onLoss(std::move(onLoss))
{
}

void LineSink::consume(const boost::log::record_view& record)
{
    const std::string line = formatLogLine(record);
    // The next line may fare better.
    if (std::fwrite(line.data(), 1, line.size(), m_stream.get()) != line.size() && !m_hasLost) {
        m_hasLost = true;
        m_onLoss(errno);
    }
}

} // namespace tovrinhost
