#pragma once

#include "host/Export.hpp"

#include <exception>
#include <string>
#include <utility>

namespace tovrinhost {

/// An error that host-language code raised and did not catch.
///
/// Threading: a value. Copies share nothing, so each of them may go to a thread of its own; the standard
/// exceptions share their text.
class TOVRINHOST_API ScriptError : public std::exception {
public:
    ScriptError(std::string message, std::string traceback)
        : m_message(std::move(message))
        , m_traceback(std::move(traceback))
    {
    }

    const char* what() const noexcept override { return m_message.c_str(); }

    /// The whole text, zero bytes included.
    const std::string& message() const noexcept { return m_message; }

    /// "stack traceback:" and a line for each call, without a newline at the end.
    const std::string& traceback() const noexcept { return m_traceback; }

private:
    std::string m_message;
    std::string m_traceback;
};

} // namespace tovrinhost
