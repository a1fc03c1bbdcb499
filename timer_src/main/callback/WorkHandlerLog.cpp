#include "timer_src/main/callback/WorkHandlerLog.hpp"

namespace tovrintimer {

DiagnosticLogger& workHandlerLogger()
{
    static DiagnosticLogger logger("tovrintimer::workHandler");
    return logger;
}

} // namespace tovrintimer
