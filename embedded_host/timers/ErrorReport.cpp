#include "embedded_host/timers/ErrorReport.hpp"

#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/log/Escape.hpp"

#include <iostream>
#include <stdexcept>

namespace tovrinhost {

ReportedError ErrorReport::report(const std::string& where, const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return report(where, known);
    } catch (...) {
        return report(where, std::runtime_error("an error of an unknown kind"));
    }
}

ReportedError ErrorReport::report(const std::string& where, const std::exception& error)
{
    m_hasErrors = true;
    const auto* script = dynamic_cast<const ScriptError*>(&error);
    ReportedError reported;
    if (script != nullptr) {
        reported = { script->message(), script->traceback() };
    } else {
        reported.message = error.what();
    }
    m_tell(where, reported);
    return reported;
}

void ErrorReport::write(const std::string& where, const ReportedError& error)
{
    std::string lines = "tovrin: error in " + escape(where) + ": " + escapeLines(error.message) + '\n';
    if (!error.traceback.empty()) {
        lines += escapeLines(error.traceback) + '\n';
    }
    std::cerr << lines << std::flush;
}

} // namespace tovrinhost
