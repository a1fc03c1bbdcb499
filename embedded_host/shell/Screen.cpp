#include "embedded_host/shell/Screen.hpp"

#include <algorithm>
#include <utility>

namespace tovrinhost {

namespace {

// A terminal brackets what is pasted with marks, where it is asked to.
constexpr std::string_view bracketPastes = "\x1b[?2004h";
constexpr std::string_view pasteAsTyped = "\x1b[?2004l";
constexpr std::string_view hideCursor = "\x1b[?25l";
constexpr std::string_view showCursor = "\x1b[?25h";
constexpr std::string_view clearBelow = "\x1b[J";
constexpr std::string_view clearAll = "\x1b[H\x1b[2J";
constexpr std::string_view plainLook = "\x1b[m";

std::string move(std::size_t by, char direction)
{
    return by == 0 ? "" : "\x1b[" + std::to_string(by) + direction;
}

} // namespace

Screen::Screen(Write write, std::size_t width, std::size_t height)
    : m_write(std::move(write))
    , m_width(std::max<std::size_t>(width, 2))
    , m_height(std::max<std::size_t>(height, 2))
    , m_output(m_width)
{
}

void Screen::show(Typed typed)
{
    std::string text = erasure();
    m_typed = std::move(typed);
    m_rows.emplace(m_typed, m_width);
    draw(std::move(text));
}

void Screen::leave(const std::string& typed, std::string_view mark)
{
    std::string text = erasure();
    m_rows.emplace(Typed { typed, typed.size() }, m_width);
    text += drawing();
    m_rows.reset();
    m_output = OutputColumn(m_width);
    draw(text.append(mark).append("\r\n").append(pasteAsTyped));
}

void Screen::hide()
{
    if (hasPrompt()) {
        suspend();
        m_rows.reset();
    }
}

void Screen::suspend()
{
    m_write(erasure().append(pasteAsTyped));
    m_output = OutputColumn(m_width);
    m_isDrawn = false;
}

void Screen::clear()
{
    m_output = OutputColumn(m_width);
    draw(std::string(clearAll));
}

void Screen::print(std::string_view output)
{
    m_cutShort += output;
    std::string text = erasure();
    const std::size_t whole = m_output.follow(m_cutShort);
    text.append(m_cutShort, 0, whole);
    m_cutShort.erase(0, whole);
    draw(std::move(text));
}

void Screen::resize(std::size_t width, std::size_t height)
{
    const std::size_t rowsBefore = m_isDrawn ? m_rows->cursorRow - firstShown() : 0;
    m_width = std::max<std::size_t>(width, 2);
    m_height = std::max<std::size_t>(height, 2);
    if (!hasPrompt()) {
        m_output.setWidth(m_width);
        return;
    }
    m_rows.emplace(m_typed, m_width);
    m_output = OutputColumn(m_width); // where an unfinished line ends is not known any more
    // Some terminals break the rows anew and others do not. The fewest rows that the prompt may have now are taken
    // off: no output; at worst, a piece of the prompt as it looked before stays above.
    const std::size_t up = std::min(rowsBefore, m_rows->cursorRow - firstShown());
    draw('\r' + move(up, 'A'));
}

/// Writes what has been prepared, and draws the prompt behind it.
void Screen::draw(std::string text)
{
    if (hasPrompt()) {
        text += m_isDrawn ? "" : bracketPastes;
        text += drawing();
    }
    m_isDrawn = hasPrompt();
    m_write(text);
}

/// How many rows of the prompt fit: the unfinished line above has to stay on the screen, to be gone back to.
std::size_t Screen::mostRows() const
{
    return m_output.isRowUsed() ? m_height - 1 : m_height;
}

/// Of more rows than fit, those around the cursor are shown.
std::size_t Screen::firstShown() const
{
    const std::size_t rows = m_rows->rows.size();
    const std::size_t most = mostRows();
    if (rows <= most) {
        return 0;
    }
    const std::size_t half = most / 2;
    return std::min(m_rows->cursorRow - std::min(m_rows->cursorRow, half), rows - most);
}

/// What draws the prompt, from where output has ended.
std::string Screen::drawing() const
{
    std::string text(hideCursor);
    text += m_output.hasLook() ? plainLook : "";
    text += m_output.isRowUsed() ? "\r\n" : "\r";
    text += clearBelow;
    const std::size_t first = firstShown();
    const std::size_t end = std::min(m_rows->rows.size(), first + mostRows());
    for (std::size_t row = first; row < end; ++row) {
        const bool isBroken = row > first && !m_rows->rows[row - 1].goesOn;
        text += isBroken ? "\r\n" : "";
        text += m_rows->rows[row].text;
    }
    text += '\r' + move(end - 1 - m_rows->cursorRow, 'A') + move(m_rows->cursorColumn, 'C');
    return text.append(showCursor);
}

/// What takes the prompt off the screen, and goes back to where output has ended.
std::string Screen::erasure() const
{
    if (!m_isDrawn) {
        return "";
    }
    std::string text = '\r' + move(m_rows->cursorRow - firstShown(), 'A') + std::string(clearBelow);
    if (m_output.isRowUsed()) {
        text += move(1, 'A');
    }
    return text + m_output.wayBack();
}

} // namespace tovrinhost
