#include "embedded_host/program/Timers.hpp"

#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/TimersTable.hpp"

#include <cstdio>

namespace tovrinhost {

void printTimers(const TimersCommand& command)
{
    const std::int64_t process = chooseProgram(command.process);
    const ProgramStatus status = protocol::readStatus(askProgram(process, protocol::timersRequest()));
    std::fputs((command.asJson ? protocol::toJson(status) : timersTable(status)).c_str(), stdout);
}

} // namespace tovrinhost
