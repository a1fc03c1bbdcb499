#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/Top.hpp"
#include "embedded_host/status/TopView.hpp"
#include "embedded_host/status/platform/LinuxTerminalType.hpp"
#include "embedded_host/values/Utf8.hpp"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1 // NOLINT(cppcoreguidelines-macro-usage): the header asks for it
#include <ncurses.h>
#include <unistd.h>

namespace tovrinhost {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// The terminal, all of it ours until it is given back.
class Terminal {
public:
    Terminal()
        : m_output(fdopen(dup(STDOUT_FILENO), "w"))
        , m_input(fdopen(dup(STDIN_FILENO), "r"))
        , m_screen(m_output && m_input && platform::isTerminalTypeKnown()
                  ? newterm(nullptr, m_output.get(), m_input.get())
                  : nullptr)
    {
        if (m_screen == nullptr) {
            // Nobody in this process changes its environment. NOLINTNEXTLINE(concurrency-mt-unsafe)
            const char* const type = std::getenv("TERM");
            throw std::runtime_error(std::string("the terminal type \"") + (type == nullptr ? "" : type)
                + "\" (TERM) is not known here");
        }
        cbreak();
        noecho();
        keypad(stdscr, TRUE);
        set_escdelay(keyDelay);
        curs_set(0);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        endwin();
        delscreen(m_screen);
    }

    void draw(TopView& view) const
    {
        erase();
        const auto lines
            = view.draw(static_cast<std::size_t>(getmaxx(stdscr)), static_cast<std::size_t>(getmaxy(stdscr)));
        for (std::size_t row = 0; row < lines.size(); ++row) {
            const bool isMarked = lines[row].style == TopView::Line::Selected;
            const auto look = isMarked ? A_REVERSE : lines[row].style == TopView::Line::Head ? A_BOLD : A_NORMAL;
            attrset(static_cast<int>(look));
            if (isMarked) {
                mvhline(static_cast<int>(row), 0, ' ', getmaxx(stdscr));
            }
            for (const TopView::Piece& piece : lines[row].pieces) {
                mvaddstr(static_cast<int>(row), static_cast<int>(piece.column), shown(piece.text).c_str());
            }
        }
        refresh();
    }

    /// \returns what was pressed within the time, if anything
    static std::optional<KeyPress> read(milliseconds limit)
    {
        wint_t key = 0;
        timeout(static_cast<int>(limit.count()));
        const int kind = get_wch(&key);
        if (kind == ERR || key == KEY_RESIZE) {
            return std::nullopt;
        }
        if (kind == KEY_CODE_YES) {
            switch (key) {
            case KEY_UP:
                return KeyPress { KeyPress::Up, {} };
            case KEY_DOWN:
                return KeyPress { KeyPress::Down, {} };
            case KEY_LEFT:
                return KeyPress { KeyPress::Left, {} };
            case KEY_RIGHT:
                return KeyPress { KeyPress::Right, {} };
            case KEY_PPAGE:
                return KeyPress { KeyPress::PageUp, {} };
            case KEY_NPAGE:
                return KeyPress { KeyPress::PageDown, {} };
            case KEY_HOME:
                return KeyPress { KeyPress::Home, {} };
            case KEY_END:
                return KeyPress { KeyPress::End, {} };
            case KEY_ENTER:
                return KeyPress { KeyPress::Enter, {} };
            case KEY_BACKSPACE:
                return KeyPress { KeyPress::Backspace, {} };
            default:
                return std::nullopt;
            }
        }
        switch (key) {
        case '\r':
        case '\n':
            return KeyPress { KeyPress::Enter, {} };
        case escapeKey:
            return KeyPress { KeyPress::Escape, {} };
        case '\b':
        case deleteKey:
            return KeyPress { KeyPress::Backspace, {} };
        default:
            break;
        }
        KeyPress press;
        appendUtf8(press.text, key);
        return press;
    }

private:
    static constexpr int keyDelay = 25; // ms, within which the rest of a key's characters comes
    static constexpr wint_t escapeKey = 27;
    static constexpr wint_t deleteKey = 127;

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, Close>;

    /// As the terminal takes it: one that knows no UTF-8 gets ASCII.
    static std::string shown(std::string text)
    {
        if (MB_CUR_MAX == 1) {
            std::replace_if(
                text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) < 0; }, '?');
        }
        return text;
    }

    // Streams of its own: standard output is written line by line elsewhere.
    const File m_output;
    const File m_input;
    SCREEN* const m_screen;
};

void fetch(TopView& view, std::int64_t process)
{
    view.show(protocol::readStatus(askProgram(process, protocol::timersRequest())));
    if (view.open()) {
        try {
            view.explain(protocol::readExplanation(askProgram(process, protocol::timerRequest(*view.open()))));
        } catch (const std::exception& problem) {
            view.explain(problem.what()); // its timer has gone, as a rule
        }
    }
}

} // namespace

void showTop(std::optional<std::int64_t> process)
{
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        throw std::runtime_error("top needs a terminal; tovrin timers prints the table once, wherever to");
    }
    const std::int64_t program = chooseProgram(process);
    TopView view;
    fetch(view, program);
    // There is no other thread: top runs no script. NOLINTNEXTLINE(concurrency-mt-unsafe)
    std::setlocale(LC_CTYPE, "");
    const Terminal terminal;
    constexpr std::chrono::seconds interval { 1 };
    for (auto next = Clock::now() + interval;;) {
        if (Clock::now() >= next) {
            if (!view.isPaused()) {
                fetch(view, program);
            }
            next = Clock::now() + interval;
        }
        terminal.draw(view);
        const auto left = std::chrono::ceil<milliseconds>(next - Clock::now());
        const auto key = Terminal::read(std::max(left, milliseconds::zero()));
        if (!key) {
            continue;
        }
        const auto openBefore = view.open();
        if (!view.press(*key)) {
            return;
        }
        if (view.open() && view.open() != openBefore) {
            fetch(view, program);
        }
    }
}

} // namespace tovrinhost
