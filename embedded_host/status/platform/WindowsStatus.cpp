#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusServer.hpp"
#include "embedded_host/status/Top.hpp"

#include <stdexcept>

namespace tovrinhost {

namespace {

[[noreturn]] void refuse()
{
    throw std::runtime_error("--status, timers and top are not to be had on Windows; Ctrl-Break has tovrin run "
                             "print a table of its timers");
}

} // namespace

class StatusServer::Serving { };

StatusServer::StatusServer(Answer /*answer*/)
{
    refuse();
}

StatusServer::~StatusServer() = default;

std::int64_t ownProcess()
{
    return 0;
}

std::string askProgram(std::int64_t /*process*/, const std::string& /*request*/)
{
    refuse();
}

std::vector<std::int64_t> servingPrograms()
{
    refuse();
}

void showTop(std::optional<std::int64_t> /*process*/)
{
    refuse();
}

} // namespace tovrinhost
