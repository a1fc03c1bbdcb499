#pragma once

#include "embedded_host/shell/History.hpp"
#include "embedded_host/shell/LineInput.hpp"
#include "embedded_host/shell/platform/LinuxTerminal.hpp"

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include <histedit.h>

namespace tovrinhost::platform {

/// The shell's input on a terminal: libedit knows the keys, edits and searches; the Terminal draws.
///
/// libedit asks for each key through a function of ours, which shows what has become of the input, and serves the
/// event loop until a key comes. What libedit itself draws goes nowhere. The user's ~/.editrc is obeyed.
class Editor final : public LineInput {
public:
    Editor();
    ~Editor() override;

    Came read(EventLoop& loop, const Assistance& assistance, std::string& text) override;
    bool cancel() override;
    void showOutput() override { m_terminal.showOutput(); }
    void remember(const std::string& text) override;
    void giveBack() noexcept override { m_terminal.giveBack(); }

private:
    /// What a key of ours does. \returns what libedit is to do then
    using Action = unsigned char (Editor::*)(wint_t key);

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
        void operator()(EditLine* line) const { el_end(line); }
        void operator()(HistoryW* history) const { history_wend(history); }
    };

    void open();
    template <Action action>
    void bind(const wchar_t* name, const wchar_t* help, std::initializer_list<const wchar_t*> keys);
    void addToHistory(const std::string& text);

    static int readKey(EditLine* line, wchar_t* key);
    bool nextKey(wchar_t& key);
    bool waitForKeys();
    Typed typed() const;

    unsigned char enter(wint_t key);
    unsigned char complete(wint_t key);
    unsigned char paste(wint_t key);
    unsigned char up(wint_t key);
    unsigned char down(wint_t key);
    unsigned char clear(wint_t key);
    unsigned char goTo(std::size_t place);

    Terminal m_terminal;
    std::optional<History> m_history;
    bool m_hasToldOfHistory = false;

    // Made as the first line is read.
    std::unique_ptr<std::FILE, Close> m_nowhere;
    std::unique_ptr<HistoryW, Close> m_entries; // before the line, which refers to it
    std::unique_ptr<EditLine, Close> m_line;

    // While a line is read.
    EventLoop* m_loop = nullptr;
    const Assistance* m_assistance = nullptr;
    std::optional<std::string> m_submitted;
    std::exception_ptr m_error;

    std::string m_bytes; // that have been read and are no keys yet
    std::wstring m_keys; // that libedit has not taken yet
    std::size_t m_nextKey = 0;

    // Shared without a lock.
    std::atomic<bool> m_isCancelled { false };
    std::atomic<bool> m_hasKeys { false };
};

} // namespace tovrinhost::platform
