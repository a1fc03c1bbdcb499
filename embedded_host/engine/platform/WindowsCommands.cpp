#include "embedded_host/engine/platform/Commands.hpp"

#include <cstdlib>
#include <string_view>

namespace tovrinhost::platform {

// A Ctrl-C goes to both.
int runCommand(const char* command, const std::function<bool()>& /*isInterrupted*/)
{
    return std::system(command);
}

std::FILE* openPipe(const char* command, const char* mode)
{
    return _popen(command, mode);
}

bool isPipeMode(const char* mode) noexcept
{
    const std::string_view text(mode);
    const bool endsAsItMay = text.size() == 1 || (text.size() == 2 && (text[1] == 'b' || text[1] == 't'));
    return endsAsItMay && (text[0] == 'r' || text[0] == 'w');
}

int closePipe(std::FILE* pipe)
{
    return _pclose(pipe);
}

bool isEndedByControlC(int result) noexcept
{
    constexpr unsigned int controlCExit = 0xC000013A;
    return static_cast<unsigned int>(result) == controlCExit;
}

} // namespace tovrinhost::platform
