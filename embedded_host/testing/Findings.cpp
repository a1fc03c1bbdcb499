#include "embedded_host/testing/Findings.hpp"

#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/log/Escape.hpp"

#include <algorithm>

namespace tovrinhost {

void Findings::failed(const std::exception& error)
{
    if (m_standsStill) {
        return; // it has been made to give up
    }
    const auto* const script = dynamic_cast<const ScriptError*>(&error);
    const std::string text
        = script != nullptr ? textOf(script->message(), script->traceback()) : textOf(error.what(), "");
    m_findings.push_back({ text, false, "" });
}

void Findings::callbackFailed(const std::string& where, const ReportedError& error)
{
    m_findings.push_back(
        { "error in " + escape(where) + ": " + textOf(error.message, error.traceback), true, error.message });
}

void Findings::expectError(const std::string& position, const std::string& text)
{
    m_expected.push_back({ position, text });
}

void Findings::exitWasCalled(const std::string& position)
{
    m_exit = position + "os.exit was called";
}

void Findings::nothingGoesOn(const std::string& position, const std::string& waits)
{
    m_standsStill = true;
    m_findings.push_back(
        { position + "deadlock: each thread waits, and nothing is ever due\n" + waits, false, "" });
}

std::string Findings::text() const
{
    auto left = m_findings;
    std::string unfulfilled;
    for (const ExpectedError& expected : m_expected) {
        const auto found = std::find_if(left.begin(), left.end(), [&](const Finding& finding) {
            return finding.isOfCallback && finding.message.find(expected.text) != std::string::npos;
        });
        if (found != left.end()) {
            left.erase(found);
        } else {
            if (!unfulfilled.empty()) {
                unfulfilled += '\n';
            }
            unfulfilled += expected.position + "expectError: no callback has raised "
                + (expected.text.empty() ? "an error" : '"' + escape(expected.text) + '"');
        }
    }
    std::string text;
    for (const Finding& finding : left) {
        if (!text.empty()) {
            text += '\n';
        }
        text += finding.text;
    }
    if (!text.empty()) {
        return text; // what has not come about since, is no surprise
    }
    return m_exit.empty() ? unfulfilled : m_exit;
}

std::string Findings::textOf(const std::string& message, const std::string& traceback) const
{
    if (message == m_expectation) {
        return message; // the values in it are escaped one by one
    }
    return escapeLines(message) + (traceback.empty() ? "" : '\n' + escapeLines(traceback));
}

} // namespace tovrinhost
