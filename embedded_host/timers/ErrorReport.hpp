#pragma once

#include <exception>
#include <functional>
#include <string>
#include <utility>

namespace tovrinhost {

/// An error as it was reported.
struct ReportedError {
    std::string message; ///< as it is
    std::string traceback; ///< empty where there is none
};

/// Tells of errors, on standard error where nothing else is said, and remembers that there were any.
///
/// Threading: one thread at a time.
class ErrorReport {
public:
    using Tell = std::function<void(const std::string& where, const ReportedError& error)>;

    /// Has errors told like this instead.
    void tellTo(Tell tell) { m_tell = std::move(tell); }

    /// Writes "tovrin: error in <where>: <message>", and the traceback where the error has one, all with control
    /// characters written out. Indented lines of a message stay lines, as where `require` lists what it tried.
    ReportedError report(const std::string& where, const std::exception_ptr& error);
    ReportedError report(const std::string& where, const std::exception& error);

    bool hasErrors() const { return m_hasErrors; }

private:
    static void write(const std::string& where, const ReportedError& error);

    Tell m_tell = write;
    bool m_hasErrors = false;
};

} // namespace tovrinhost
