#include "embedded_host/shell/LineInput.hpp"
#include "embedded_host/values/Utf8.hpp"

#include <windows.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace tovrinhost::platform {

namespace {

constexpr wchar_t endOfInput = 0x1A; // Ctrl-Z

/// Reads one line, as the console edits it. \returns nothing where the input has ended
std::optional<std::wstring> readLine(HANDLE console)
{
    std::wstring line;
    while (!line.ends_with(L'\n')) {
        std::array<wchar_t, 1024> piece {};
        DWORD count = 0;
        SetLastError(ERROR_SUCCESS);
        const BOOL isRead = ReadConsoleW(console, piece.data(), static_cast<DWORD>(piece.size()), &count, nullptr);
        if (GetLastError() == ERROR_OPERATION_ABORTED) { // Ctrl-C, of which its handler is told
            line.clear();
            continue;
        }
        if (isRead == FALSE || count == 0) {
            return std::nullopt;
        }
        line.append(piece.data(), count);
    }
    line.erase(line.find_last_not_of(L"\r\n") + 1);
    return line.starts_with(endOfInput) ? std::nullopt : std::optional(line);
}

/// What the thread that reads, and those that wait for it, share. Nothing ends a read that is under way: as the
/// program ends, the thread and its share are left to the system.
struct Reading {
    std::mutex mutex;
    std::condition_variable asked;
    bool isAsked = false; // guarded by mutex, like the rest
    bool hasCome = false;
    std::optional<std::wstring> line;
    std::function<void()> wake;
};

void readOnRequest(const std::shared_ptr<Reading>& reading)
{
    const HANDLE console = GetStdHandle(STD_INPUT_HANDLE);
    for (;;) {
        {
            std::unique_lock lock(reading->mutex);
            reading->asked.wait(lock, [&] { return reading->isAsked; });
        }
        auto line = readLine(console);
        const std::lock_guard lock(reading->mutex);
        reading->line = std::move(line);
        reading->isAsked = false;
        reading->hasCome = true;
        if (reading->wake) {
            reading->wake();
        }
    }
}

/// The console, which edits its lines itself. It is read on a thread of its own, and its lines are handed to the
/// interpreter thread.
///
/// Lock order: the reading's mutex, then the event loop's.
class ConsoleInput final : public LineInput {
public:
    ConsoleInput() { std::thread(readOnRequest, m_reading).detach(); }
    ~ConsoleInput() override { setWake(nullptr); }

    Came read(EventLoop& loop, const Assistance& assistance, std::string& text) override
    {
        text.clear();
        setWake([&loop] { loop.wake(); });
        for (std::string_view prompt = "> ";; prompt = ">> ") {
            std::fwrite(prompt.data(), 1, prompt.size(), stdout);
            ask();
            loop.runUntil(EventLoop::State::Idle, [this] {
                std::fflush(stdout);
                return m_isCancelled || hasCome();
            });
            if (m_isCancelled.exchange(false)) {
                std::fputs("\n", stdout);
                return Came::Cancelled;
            }
            const auto line = take();
            if (!line) {
                return Came::End;
            }
            text += (text.empty() ? "" : "\n") + toUtf8(std::wstring_view(*line));
            if (!assistance.isUnfinished(text)) {
                return Came::Text;
            }
        }
    }

    bool cancel() override
    {
        const bool isFirst = !m_isCancelled.exchange(true);
        const std::lock_guard lock(m_reading->mutex);
        if (m_reading->wake) {
            m_reading->wake();
        }
        return isFirst;
    }

    void showOutput() override { std::fflush(stdout); }
    void remember(const std::string& /*text*/) override { } // the console does, for as long as it is open
    void giveBack() noexcept override { }

private:
    void setWake(std::function<void()> wake)
    {
        const std::lock_guard lock(m_reading->mutex);
        m_reading->wake = std::move(wake);
    }

    /// A line that was asked for before Ctrl-C is still to come.
    void ask()
    {
        const std::lock_guard lock(m_reading->mutex);
        m_reading->isAsked = !m_reading->hasCome;
        m_reading->asked.notify_one();
    }

    bool hasCome() const
    {
        const std::lock_guard lock(m_reading->mutex);
        return m_reading->hasCome;
    }

    std::optional<std::wstring> take()
    {
        const std::lock_guard lock(m_reading->mutex);
        m_reading->hasCome = false;
        return std::exchange(m_reading->line, std::nullopt);
    }

    const std::shared_ptr<Reading> m_reading = std::make_shared<Reading>();
    std::atomic<bool> m_isCancelled { false };
};

} // namespace

std::unique_ptr<LineInput> openLineInput()
{
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) == FALSE) {
        throw std::runtime_error("shell needs a terminal; tovrin run - reads a script from standard input");
    }
    return std::make_unique<ConsoleInput>();
}

} // namespace tovrinhost::platform
