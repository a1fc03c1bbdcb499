#pragma once

#include <nlohmann/json.hpp>

#include <sys/types.h>

#include <set>
#include <string>

namespace tovrinhost {

/// A headless Chromium, as its own remote control has it: JSON over two pipes.
class Browser {
public:
    /// \throws std::runtime_error if there is none, or if it does not answer
    Browser();
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;
    ~Browser();

    /// Shows the file, and returns once its scripts have run.
    void open(const std::string& file);

    /// \returns what the expression is in the page
    /// \throws std::runtime_error with the page's complaint
    nlohmann::json evaluate(const std::string& expression);

    void click(double x, double y);
    void press(const std::string& key);

private:
    nlohmann::json call(const std::string& method, const nlohmann::json& parameters);
    nlohmann::json receive();
    void noteLoad(const nlohmann::json& message);
    void mouse(const char* what, double x, double y, int clicks);

    std::string m_profile; // a folder of its own
    pid_t m_process = -1;
    int m_toBrowser = -1;
    int m_fromBrowser = -1;
    std::string m_session; // of the page
    std::set<std::string> m_loaded; // what has been loaded so far, each by the browser's own name for it
    int m_calls = 0;
    std::string m_received;
};

} // namespace tovrinhost
