#include "embedded_host/timers/ErrorReport.hpp"

#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/log/Escape.hpp"

#include <iostream>
#include <stdexcept>

namespace tovrinhost {

std::string ErrorReport::report(const std::string& where, const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return report(where, known);
    } catch (...) {
        return report(where, std::runtime_error("an error of an unknown kind"));
    }
}

std::string ErrorReport::report(const std::string& where, const std::exception& error)
{
    m_hasErrors = true;
    const auto* script = dynamic_cast<const ScriptError*>(&error);
    std::string message = script != nullptr ? script->message() : error.what();
    std::string lines = "tovrin: error in " + escape(where) + ": " + escapeLines(message) + '\n';
    if (script != nullptr && !script->traceback().empty()) {
        lines += escapeLines(script->traceback()) + '\n';
    }
    std::cerr << lines << std::flush;
    return message;
}

} // namespace tovrinhost
