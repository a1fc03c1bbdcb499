#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tovrinhost {

/// An error that host-language code raised and did not catch.
class ScriptError : public std::runtime_error {
public:
    ScriptError(const std::string& message, std::string traceback)
        : std::runtime_error(message)
        , m_traceback(std::move(traceback))
    {
    }

    /// "stack traceback:" and a line for each call, without a newline at the end.
    const std::string& traceback() const noexcept { return m_traceback; }

private:
    std::string m_traceback;
};

} // namespace tovrinhost
