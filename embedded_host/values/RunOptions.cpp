#include "host/cmddistributor/RunOptions.hpp"

#include <utility>

namespace cmddistributor {

RunOptions::RunOptions()
    : RunOptions(WhenToDequeue::WhenIdle, boost::none)
{
}

RunOptions::RunOptions(WhenToDequeue when, boost::optional<std::u16string> queueName)
    : m_when(when)
    , m_queueName(std::move(queueName))
{
}

WhenToDequeue RunOptions::getWhenToDequeue() const noexcept
{
    return m_when;
}

const boost::optional<std::u16string>& RunOptions::getQueueName() const noexcept
{
    return m_queueName;
}

void RunOptions::setQueueName(std::u16string name)
{
    m_queueName = std::move(name);
}

} // namespace cmddistributor
