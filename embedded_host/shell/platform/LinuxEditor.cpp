#include "embedded_host/shell/platform/LinuxEditor.hpp"

#include "embedded_host/shell/platform/LinuxWideText.hpp"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include <unistd.h>

namespace tovrinhost::platform {

namespace {

constexpr std::wstring_view pasteEnd = L"\x1b[201~";

const LineInfoW& lineOf(EditLine* line)
{
    return *el_wline(line);
}

std::wstring_view textOf(EditLine* line)
{
    const LineInfoW& info = lineOf(line);
    return { info.buffer, static_cast<std::size_t>(info.lastchar - info.buffer) };
}

std::size_t cursorOf(EditLine* line)
{
    const LineInfoW& info = lineOf(line);
    return static_cast<std::size_t>(info.cursor - info.buffer);
}

/// What all the words begin with.
std::string commonBeginning(const std::vector<std::string>& words)
{
    std::string common = words.front();
    for (const std::string& word : words) {
        const auto end = std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first;
        common.erase(end, common.end());
    }
    return common;
}

/// The line breaks of a text that a terminal has pasted, as files have them.
void mendLineBreaks(std::wstring& text)
{
    for (std::size_t at = text.find(L'\r'); at != std::wstring::npos; at = text.find(L'\r', at)) {
        text.replace(at, text.substr(at, 2) == L"\r\n" ? 2 : 1, L"\n");
    }
}

} // namespace

Editor::Editor()
{
    // libedit asks it what is a letter. There is no other thread yet that could.
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    std::setlocale(LC_CTYPE, "C.UTF-8");
    if (const std::string folder = historyFolder(); !folder.empty()) {
        m_history.emplace(folder);
    }
}

Editor::~Editor() = default;

void Editor::open()
{
    m_nowhere.reset(std::fopen("/dev/null", "w"));
    m_entries.reset(history_winit());
    m_line.reset(el_init_fd("tovrin", stdin, m_nowhere.get(), m_nowhere.get(), STDIN_FILENO,
        m_terminal.descriptor(), m_terminal.descriptor()));
    if (!m_nowhere || !m_entries || !m_line) {
        throw std::runtime_error("the line editor cannot be set up");
    }
    HistEventW event {};
    history_w(m_entries.get(), &event, H_SETSIZE, static_cast<int>(History::mostEntries));
    history_w(m_entries.get(), &event, H_SETUNIQUE, 1);
    if (m_history) {
        for (const std::string& entry : m_history->load()) {
            addToHistory(entry);
        }
    }
    EditLine* const line = m_line.get();
    el_wset(line, EL_CLIENTDATA, this);
    el_wset(line, EL_GETCFN, readKey);
    el_wset(line, EL_HIST, history_w, m_entries.get());
    el_wset(line, EL_EDITOR, L"emacs");
    el_wset(line, EL_BIND, L"^R", L"em-inc-search-prev", nullptr);
    el_wset(line, EL_BIND, L"\\e[3~", L"ed-delete-next-char", nullptr);
    el_wset(line, EL_BIND, L"\\e[1;5D", L"ed-prev-word", nullptr);
    el_wset(line, EL_BIND, L"\\e[1;5C", L"em-next-word", nullptr);
    bind<&Editor::enter>(L"tovrin-enter", L"Run the input, or begin another line of it", { L"^M", L"^J" });
    bind<&Editor::complete>(L"tovrin-complete", L"Complete a name", { L"^I" });
    bind<&Editor::paste>(L"tovrin-paste", L"Take what is pasted", { L"\\e[200~" });
    bind<&Editor::up>(L"tovrin-up", L"The line above, or the entry before", { L"\\e[A", L"\\eOA" });
    bind<&Editor::down>(L"tovrin-down", L"The line below, or the entry behind", { L"\\e[B", L"\\eOB" });
    bind<&Editor::clear>(L"tovrin-clear", L"Clear the screen", { L"^L" });
    el_wset(line, EL_SETTY, L"-d", L"-icrnl", L"-inlcr", nullptr); // so that "\r\n" is known for one line break
    el_source(line, nullptr);
}

template <Editor::Action action>
void Editor::bind(const wchar_t* name, const wchar_t* help, std::initializer_list<const wchar_t*> keys)
{
    unsigned char (*const function)(EditLine*, wint_t) = [](EditLine* line, wint_t key) -> unsigned char {
        Editor* editor = nullptr;
        el_wget(line, EL_CLIENTDATA, &editor);
        try {
            return (editor->*action)(key);
        } catch (...) {
            editor->m_error = std::current_exception();
            return CC_EOF;
        }
    };
    el_wset(m_line.get(), EL_ADDFN, name, help, function);
    for (const wchar_t* key : keys) {
        el_wset(m_line.get(), EL_BIND, key, name, nullptr);
    }
}

LineInput::Came Editor::read(EventLoop& loop, const Assistance& assistance, std::string& text)
{
    if (!m_line) {
        open();
    }
    m_loop = &loop;
    m_assistance = &assistance;
    m_submitted.reset();
    m_error = nullptr;
    int count = 0;
    el_wgets(m_line.get(), &count);
    m_terminal.whenThereAreKeys(nullptr);
    if (m_submitted) {
        text = *m_submitted;
        m_terminal.leave(text);
        return Came::Text;
    }
    const bool isCancelled = m_isCancelled.exchange(false);
    m_terminal.leave(typed().text, isCancelled ? "^C" : "");
    if (m_error) {
        std::rethrow_exception(m_error);
    }
    return isCancelled ? Came::Cancelled : m_terminal.hasEnded() ? Came::Gone : Came::End;
}

bool Editor::cancel()
{
    if (m_isCancelled.exchange(true)) {
        return false;
    }
    m_terminal.wake();
    return true;
}

void Editor::remember(const std::string& text)
{
    addToHistory(text);
    if (!m_history || m_hasToldOfHistory) {
        return;
    }
    try {
        m_history->append(text);
    } catch (const std::exception& error) {
        m_hasToldOfHistory = true;
        std::cerr << "tovrin: " + std::string(error.what()) + '\n';
    }
}

void Editor::addToHistory(const std::string& text)
{
    HistEventW event {};
    history_w(m_entries.get(), &event, H_ENTER, toWide(text).c_str());
}

/// For libedit. \returns how many keys there were: 1, or -1 if no more come
int Editor::readKey(EditLine* line, wchar_t* key)
{
    Editor* editor = nullptr;
    el_wget(line, EL_CLIENTDATA, &editor);
    try {
        return editor->nextKey(*key) ? 1 : -1;
    } catch (...) {
        editor->m_error = std::current_exception();
        return -1;
    }
}

bool Editor::nextKey(wchar_t& key)
{
    while (m_nextKey == m_keys.size()) {
        if (!m_terminal.read(m_bytes) && !waitForKeys()) {
            return false;
        }
        m_keys = takeWide(m_bytes);
        m_nextKey = 0;
    }
    key = m_keys[m_nextKey++];
    return true;
}

/// \returns false if the line is to be given up
bool Editor::waitForKeys()
{
    m_terminal.show(typed());
    m_hasKeys = false;
    EventLoop& loop = *m_loop;
    m_terminal.whenThereAreKeys([this, &loop] {
        m_hasKeys = true;
        loop.wake();
    });
    loop.runUntil(EventLoop::State::Idle, [this] {
        std::fflush(stdout); // what callbacks have written without a line break
        return m_hasKeys || m_isCancelled;
    });
    return !m_isCancelled && !m_terminal.hasEnded();
}

Typed Editor::typed() const
{
    const std::wstring_view text = textOf(m_line.get());
    return { toBytes(text), toBytes(text.substr(0, cursorOf(m_line.get()))).size() };
}

unsigned char Editor::enter(wint_t /*key*/)
{
    std::string text = typed().text;
    if (m_assistance->isUnfinished(text)) {
        el_winsertstr(m_line.get(), L"\n");
        return CC_REFRESH;
    }
    m_submitted = std::move(text);
    return CC_EOF;
}

unsigned char Editor::complete(wint_t /*key*/)
{
    const auto [text, cursor] = typed();
    const std::size_t lineBegin = text.rfind('\n', cursor - 1) + 1;
    if (cursor == 0 || text.find_first_not_of(" \t", lineBegin) >= cursor) {
        el_winsertstr(m_line.get(), L"  ");
        return CC_REFRESH;
    }
    const Completion completion = m_assistance->complete(text, cursor);
    if (completion.words.empty()) {
        return CC_ERROR;
    }
    const std::string common = commonBeginning(completion.words);
    const std::size_t there = cursor - completion.begin;
    if (common.size() > there) {
        el_winsertstr(m_line.get(), toWide(common.substr(there)).c_str());
        return CC_REFRESH;
    }
    if (completion.words.size() > 1) {
        std::string list;
        for (const std::string& word : completion.words) {
            list += (list.empty() ? "" : "  ") + word;
        }
        std::fputs((list + '\n').c_str(), stdout);
    }
    return CC_NORM;
}

unsigned char Editor::paste(wint_t /*key*/)
{
    std::wstring text;
    for (wchar_t key = 0; !text.ends_with(pasteEnd); text += key) {
        if (!nextKey(key)) {
            return CC_EOF;
        }
    }
    text.resize(text.size() - pasteEnd.size());
    mendLineBreaks(text);
    el_winsertstr(m_line.get(), text.c_str());
    return CC_REFRESH;
}

unsigned char Editor::goTo(std::size_t place)
{
    el_cursor(m_line.get(), static_cast<int>(place) - static_cast<int>(cursorOf(m_line.get())));
    return CC_CURSOR;
}

unsigned char Editor::up(wint_t /*key*/)
{
    const std::wstring_view text = textOf(m_line.get());
    const std::size_t cursor = cursorOf(m_line.get());
    const std::size_t end = text.substr(0, cursor).rfind(L'\n');
    if (end == std::wstring_view::npos) {
        el_wpush(m_line.get(), L"\x10"); // ^P: the entry before
        return CC_NORM;
    }
    const std::size_t begin = text.substr(0, end).rfind(L'\n') + 1;
    return goTo(std::min(begin + (cursor - end - 1), end));
}

unsigned char Editor::down(wint_t /*key*/)
{
    const std::wstring_view text = textOf(m_line.get());
    const std::size_t cursor = cursorOf(m_line.get());
    const std::size_t end = text.find(L'\n', cursor);
    if (end == std::wstring_view::npos) {
        el_wpush(m_line.get(), L"\x0e"); // ^N: the entry behind
        return CC_NORM;
    }
    const std::size_t begin = text.substr(0, cursor).rfind(L'\n') + 1;
    return goTo(std::min(end + 1 + (cursor - begin), std::min(text.find(L'\n', end + 1), text.size())));
}

unsigned char Editor::clear(wint_t /*key*/)
{
    m_terminal.clear();
    return CC_NORM;
}

std::unique_ptr<LineInput> openLineInput()
{
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        throw std::runtime_error("shell needs a terminal; tovrin run - reads a script from standard input");
    }
    const char* const type = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    if (type == nullptr || *type == 0 || std::string_view(type) == "dumb") {
        throw std::runtime_error("shell needs a terminal that can move its cursor; the terminal type (TERM) is \""
            + std::string(type == nullptr ? "" : type) + "\"; tovrin run - reads a script from standard input");
    }
    return std::make_unique<Editor>();
}

} // namespace tovrinhost::platform
