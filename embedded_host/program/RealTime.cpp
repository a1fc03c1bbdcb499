#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/StatusServer.hpp"

#include <array>
#include <string_view>
#include <vector>

namespace tovrinhost {

namespace {

std::vector<const char*>& words()
{
    static std::vector<const char*> all;
    return all;
}

/// Has the program beside this one do what its command line says. \returns its exit status, where that comes back
int continueInVirtualTime()
{
    return platform::continueAs("tovrin-virtual", words());
}

} // namespace

void rememberWords(int argc, const char* const* argv)
{
    words().assign(argv, argv + argc);
}

std::span<const Command* const> commands()
{
    static constexpr std::array all { &runCommand, &planCommand, &testCommand, &explainCommand, &reportCommand,
        &shellCommand, &timersCommand, &topCommand, &completionCommand };
    return all;
}

int planInVirtualTime(const PlanOptions& /*options*/)
{
    return continueInVirtualTime();
}

int runByItsClock(const RunOptions& options)
{
    if (options.pace) {
        return continueInVirtualTime();
    }
    return run(options, [&options](ScriptRunner& runner) -> std::shared_ptr<void> {
        if (!options.servesStatus) {
            return nullptr;
        }
        return std::make_shared<StatusServer>([&runner, &options](std::string_view request) {
            return protocol::answer(request, runner.diagnosis(), ownProcess(), options.script.name);
        });
    });
}

int testInVirtualTime(const TestOptions& /*options*/)
{
    return continueInVirtualTime();
}

} // namespace tovrinhost
