#include "embedded_host/status/StatusClient.hpp"

#include "embedded_host/status/StatusProtocol.hpp"

#include <stdexcept>

namespace tovrinhost {

namespace {

std::string scriptOf(std::int64_t process)
{
    try {
        return protocol::readStatus(askProgram(process, protocol::timersRequest())).script;
    } catch (const std::exception&) {
        return "does not answer";
    }
}

} // namespace

std::int64_t chooseProgram(std::optional<std::int64_t> process)
{
    if (process) {
        return *process;
    }
    const auto programs = servingPrograms();
    if (programs.empty()) {
        throw std::runtime_error(
            "no program of yours serves its status; tovrin run --status FILE starts one that does");
    }
    if (programs.size() == 1) {
        return programs.front();
    }
    std::string all;
    for (const std::int64_t program : programs) {
        all += (all.empty() ? "" : ", ") + std::to_string(program) + " (" + scriptOf(program) + ")";
    }
    throw std::runtime_error("several programs serve their status, say which by its number: " + all);
}

} // namespace tovrinhost
