#include "host/vorn/VORN.hpp"

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

foundation::msg_svc::exchange::IDType VORN::createRequestID()
{
    return {};
}

} // namespace vorn
