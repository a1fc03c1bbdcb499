#include "tests/report/linux/Browser.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace tovrinhost {

using nlohmann::json;

namespace {

/// Where Chromium reads, and where it writes.
constexpr int itsInput = 3;
constexpr int itsOutput = 4;

constexpr std::chrono::seconds patience { 60 };

[[noreturn]] void becomeBrowser(int input, int output, const std::string& profile)
{
    // In two steps, since either may bear the other's number.
    const int copiedInput = ::fcntl(input, F_DUPFD, 10);
    const int copiedOutput = ::fcntl(output, F_DUPFD, 10);
    ::dup2(copiedInput, itsInput);
    ::dup2(copiedOutput, itsOutput);
    const std::string folder = "--user-data-dir=" + profile;
    // Its own walls need a system of one's own, which containers do not have. The page is ours.
    ::execlp("chromium", "chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
        "--remote-debugging-pipe", "--window-size=1200,900", folder.c_str(), "about:blank", nullptr);
    ::_exit(127);
}

} // namespace

Browser::Browser()
{
    std::string profile = (std::filesystem::temp_directory_path() / "tovrin-browser-XXXXXX").string();
    if (::mkdtemp(profile.data()) == nullptr) {
        throw std::runtime_error("no folder for the browser");
    }
    m_profile = profile;
    std::array<int, 2> to {};
    std::array<int, 2> from {};
    if (::pipe(to.data()) != 0 || ::pipe(from.data()) != 0) {
        throw std::runtime_error("no pipes for the browser");
    }
    m_process = ::fork();
    if (m_process == 0) {
        becomeBrowser(to[0], from[1], m_profile);
    }
    ::close(to[0]);
    ::close(from[1]);
    m_toBrowser = to[1];
    m_fromBrowser = from[0];
    const json target = call("Target.createTarget", { { "url", "about:blank" } });
    m_session
        = call("Target.attachToTarget", { { "targetId", target["targetId"] }, { "flatten", true } })["sessionId"];
}

Browser::~Browser()
{
    ::close(m_toBrowser);
    ::close(m_fromBrowser);
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    // Its own child processes may be writing yet, and nothing tells when they have ended: they are not ours.
    for (int attempt = 0; attempt < 50; ++attempt) {
        std::error_code error;
        std::filesystem::remove_all(m_profile, error);
        if (!error) {
            return;
        }
        // The browser's own children may still write there, and nothing tells when the last one has gone.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

json Browser::call(const std::string& method, const json& parameters)
{
    json request { { "id", ++m_calls }, { "method", method }, { "params", parameters } };
    if (!m_session.empty()) {
        request["sessionId"] = m_session;
    }
    const std::string text = request.dump();
    // With the zero byte that ends it.
    if (::write(m_toBrowser, text.c_str(), text.size() + 1) != static_cast<ssize_t>(text.size() + 1)) {
        throw std::runtime_error("the browser is not there: " + method);
    }
    for (;;) {
        const json answer = receive();
        if (answer.value("id", 0) == m_calls) {
            if (answer.contains("error")) {
                throw std::runtime_error(method + ": " + answer["error"].dump());
            }
            return answer["result"];
        }
    }
}

json Browser::receive()
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (const std::size_t zero = m_received.find('\0'); zero != std::string::npos) {
            const json message = json::parse(m_received.substr(0, zero));
            m_received.erase(0, zero + 1);
            noteLoad(message);
            return message;
        }
        pollfd readable { m_fromBrowser, POLLIN, 0 };
        if (::poll(&readable, 1, 100) > 0) {
            std::array<char, 65536> buffer {};
            const ssize_t count = ::read(m_fromBrowser, buffer.data(), buffer.size());
            if (count <= 0) {
                throw std::runtime_error("the browser has ended; is chromium installed?");
            }
            m_received.append(buffer.data(), static_cast<std::size_t>(count));
        }
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("the browser does not answer");
        }
    }
}

void Browser::noteLoad(const json& message)
{
    if (message.value("method", "") == "Page.lifecycleEvent" && message["params"]["name"] == "load") {
        m_loaded.insert(message["params"]["loaderId"]);
    }
}

void Browser::open(const std::string& file)
{
    call("Page.enable", json::object());
    call("Page.setLifecycleEventsEnabled", { { "enabled", true } });
    const std::string loader = call("Page.navigate", { { "url", "file://" + file } })["loaderId"];
    while (m_loaded.count(loader) == 0) {
        receive();
    }
}

json Browser::evaluate(const std::string& expression)
{
    const json result = call("Runtime.evaluate", { { "expression", expression }, { "returnByValue", true } });
    if (result.contains("exceptionDetails")) {
        throw std::runtime_error(expression + ": " + result["exceptionDetails"].dump());
    }
    return result["result"].value("value", json());
}

void Browser::mouse(const char* what, double x, double y, int clicks)
{
    call("Input.dispatchMouseEvent",
        { { "type", what }, { "x", x }, { "y", y }, { "button", clicks > 0 ? "left" : "none" },
            { "clickCount", clicks } });
}

void Browser::click(double x, double y)
{
    mouse("mouseMoved", x, y, 0);
    mouse("mousePressed", x, y, 1);
    mouse("mouseReleased", x, y, 1);
}

void Browser::press(const std::string& key)
{
    json event { { "type", "keyDown" }, { "key", key } };
    if (key.size() == 1) {
        event["text"] = key;
    }
    call("Input.dispatchKeyEvent", event);
    event["type"] = "keyUp";
    event.erase("text");
    call("Input.dispatchKeyEvent", event);
}

} // namespace tovrinhost
