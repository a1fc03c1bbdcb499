#pragma once

#include "embedded_host/timers/ErrorReport.hpp"

#include <exception>
#include <string>
#include <vector>

namespace tovrinhost {

/// What speaks against one test. Positions are "FILE:LINE: ".
///
/// Threading: the interpreter thread, and the one that made it once that has ended.
class Findings {
public:
    /// The file or the test's function has failed.
    void failed(const std::exception& error);

    void callbackFailed(const std::string& where, const ReportedError& error);

    /// One callback is to fail, before or afterwards, with a text that contains this one.
    void expectError(const std::string& position, const std::string& text);

    /// An expectation does not hold: its error tells all, without where it was called from.
    void expectationFails(const std::string& message) { m_expectation = message; }

    /// os.exit was called, which raises an error here, so that nobody misses it who has caught that.
    void exitWasCalled(const std::string& position);

    /// The test waits there, and would for ever. What it fails with afterwards is that it has to give up.
    void nothingGoesOn(const std::string& position, const std::string& waits);

    /// All of it, a finding in one or more lines each; empty if there is none.
    std::string text() const;

private:
    struct Finding {
        std::string text;
        bool isOfCallback = false; // and might be expected
        std::string message;
    };
    struct ExpectedError {
        std::string position;
        std::string text;
    };

    std::string textOf(const std::string& message, const std::string& traceback) const;

    std::vector<Finding> m_findings;
    std::vector<ExpectedError> m_expected;
    std::string m_expectation;
    std::string m_exit;
    bool m_standsStill = false;
};

} // namespace tovrinhost
