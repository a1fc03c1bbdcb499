#include "embedded_host/diagnosis/LogReader.hpp"

#include <algorithm>

namespace tovrinhost {

LogReader::LogReader(const FiringLog& log)
    : m_log(log)
{
}

const News& LogReader::read()
{
    m_news.activities.clear();
    m_news.handedOver.clear();
    m_news.over.clear();
    m_news.waiting = 0;
    // Firings first: what the interpreter thread was at before one of them ended has been noted by then.
    const std::uint64_t newest = m_log.count();
    if (newest >= m_nextNumber + FiringLog::capacity) {
        m_news.lost += newest - FiringLog::capacity + 1 - m_nextNumber;
        m_nextNumber = newest - FiringLog::capacity + 1;
    }
    for (; m_nextNumber <= newest; ++m_nextNumber) {
        m_open.push_back({ m_nextNumber });
    }
    // What follows must not stop half way.
    m_news.handedOver.reserve(m_open.size());
    m_news.over.reserve(m_open.size());
    std::erase_if(m_open, [this](Open& open) { return isDone(open); });
    m_nextMoment = m_log.interpreter().readFrom(m_nextMoment, m_news.activities);
    return m_news;
}

/// \returns whether nothing more will come of it
bool LogReader::isDone(Open& open)
{
    const auto firing = m_log.at(open.number);
    if (!firing) {
        ++m_news.lost;
        return true;
    }
    m_news.waiting += firing->stage == Stage::Waiting ? 1 : 0;
    if (!open.isHandedOver && firing->taken != 0) {
        open.isHandedOver = true;
        m_news.handedOver.push_back(*firing);
    }
    const bool isOver = tovrinhost::isOver(firing->stage);
    if (isOver && !isForNobody(*firing)) {
        m_news.over.push_back(*firing);
    }
    return isOver;
}

} // namespace tovrinhost
