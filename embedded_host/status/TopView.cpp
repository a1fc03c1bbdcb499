#include "embedded_host/status/TopView.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"

#include <algorithm>
#include <sstream>
#include <utility>

namespace tovrinhost {

namespace {

using Line = TopView::Line;

/// Wide enough for what usually stands there; what is wider is cut off.
constexpr std::array<std::size_t, columnCount> columnWidths { 16, 7, 24, 9, 8, 9, 8, 11, 8, 8, 7, 8, 8 };

const char* const helpText = R"(left, right  sort by the column before, or after
r            reverse the order
/            show timers only whose name contains what is typed; enter ends, escape clears it
space, p     pause; again: go on
up, down     choose a timer (also page up, page down, home, end)
enter        open it: why its latest callback was late, or what it waits for
?, h         this help
q            quit

Moments are seconds of the steady clock since the program began; "left" is the time until a timer is due.
Lateness is in milliseconds, and its 99 % by what the log holds of all timers. "busy" is the share of the
timer's life that was spent in its callbacks; "backlog" how many of them wait.

Any key goes back.)";

Line plainLine(std::string text, Line::Style style = Line::Plain)
{
    return { style, { { 0, std::move(text) } } };
}

/// Text in lines that are not wider.
void addWrapped(std::vector<Line>& lines, const std::string& text, std::size_t width)
{
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        do {
            const std::string beginning = firstCharacters(line, std::max<std::size_t>(width, 1));
            lines.push_back(plainLine(beginning));
            line.erase(0, beginning.size());
        } while (!line.empty());
    }
}

/// Where the columns after the timer's name begin, so that one of them is seen in this width.
std::size_t firstColumnFor(std::size_t seen, std::size_t width)
{
    std::size_t end = columnWidths.front(); // of the one to be seen
    for (std::size_t column = 1; column <= seen; ++column) {
        end += columnWidths.at(column) + 1;
    }
    std::size_t first = 1;
    for (; first < seen && end > width; ++first) {
        end -= columnWidths.at(first) + 1;
    }
    return first;
}

/// A row of the table, each cell in its place: the timer's name, and the columns from the first one on as far as
/// they fit into the width.
Line rowLine(
    const std::array<std::string, columnCount>& cells, Line::Style style, std::size_t first, std::size_t width)
{
    Line line { style, {} };
    std::size_t begin = 0;
    for (std::size_t column = 0; column < columnCount && begin < width; column = std::max(column + 1, first)) {
        const std::size_t room = std::min(columnWidths.at(column), width - begin);
        const std::string text = firstCharacters(cells.at(column), room);
        const std::size_t indent = columnHeads.at(column).isText ? 0 : room - characterCount(text);
        line.pieces.push_back({ begin + indent, text });
        begin += columnWidths.at(column) + 1;
    }
    return line;
}

} // namespace

void TopView::show(ProgramStatus status)
{
    m_status = std::move(status);
    arrange();
}

bool TopView::press(const KeyPress& key)
{
    if (m_mode == Mode::Help) {
        m_mode = Mode::Table;
    } else if (m_mode == Mode::Filter) {
        pressInFilter(key);
    } else if (m_open) {
        const bool isBack = key.key == KeyPress::Enter || key.key == KeyPress::Escape || key.text == "q";
        if (isBack) {
            m_open.reset();
        }
    } else {
        pressInTable(key);
    }
    return !m_ends;
}

void TopView::pressInTable(const KeyPress& key)
{
    const auto turnTo = [this](std::size_t by) {
        m_sortedBy = static_cast<Column>((static_cast<std::size_t>(m_sortedBy) + by) % columnCount);
        arrange();
    };
    const auto page = static_cast<std::ptrdiff_t>(m_rows);
    const auto all = static_cast<std::ptrdiff_t>(m_shown.size());
    switch (key.key) {
    case KeyPress::Up:
        return move(-1);
    case KeyPress::Down:
        return move(1);
    case KeyPress::PageUp:
        return move(-page);
    case KeyPress::PageDown:
        return move(page);
    case KeyPress::Home:
        return move(-all);
    case KeyPress::End:
        return move(all);
    case KeyPress::Left:
        return turnTo(columnCount - 1);
    case KeyPress::Right:
        return turnTo(1);
    case KeyPress::Enter:
        if (!m_shown.empty()) {
            m_open = m_selected;
            m_explanation.clear();
        }
        return;
    case KeyPress::Escape:
    case KeyPress::Backspace:
        return;
    case KeyPress::Character:
        break;
    }
    if (key.text == "q") {
        m_ends = true;
    } else if (key.text == "r") {
        m_isReversed = !m_isReversed;
        arrange();
    } else if (key.text == "/") {
        m_mode = Mode::Filter;
    } else if (key.text == " " || key.text == "p") {
        m_isPaused = !m_isPaused;
    } else if (key.text == "?" || key.text == "h") {
        m_mode = Mode::Help;
    }
}

void TopView::pressInFilter(const KeyPress& key)
{
    if (key.key == KeyPress::Enter) {
        m_mode = Mode::Table;
    } else if (key.key == KeyPress::Escape) {
        m_filter.clear();
        m_mode = Mode::Table;
    } else if (key.key == KeyPress::Backspace) {
        m_filter = firstCharacters(m_filter, std::max<std::size_t>(characterCount(m_filter), 1) - 1);
    } else if (key.key == KeyPress::Character) {
        m_filter += key.text;
    }
    arrange();
}

/// Chooses, orders, and finds the selected one again, or who is in its place.
void TopView::arrange()
{
    m_shown = m_status.timers;
    std::erase_if(m_shown,
        [this](const TimerStatus& timer) { return escape(timer.name).find(m_filter) == std::string::npos; });
    std::stable_sort(m_shown.begin(), m_shown.end(), [this](const TimerStatus& a, const TimerStatus& b) {
        return m_isReversed ? comesBefore(b, a, m_sortedBy) : comesBefore(a, b, m_sortedBy);
    });
    move(0);
}

std::ptrdiff_t TopView::placeOfSelected() const
{
    const auto found = std::find_if(
        m_shown.begin(), m_shown.end(), [this](const TimerStatus& timer) { return timer.number == m_selected; });
    return found == m_shown.end() ? m_selectedPlace : found - m_shown.begin();
}

void TopView::move(std::ptrdiff_t by)
{
    if (!m_shown.empty()) {
        const auto last = static_cast<std::ptrdiff_t>(m_shown.size()) - 1;
        m_selectedPlace = std::clamp<std::ptrdiff_t>(placeOfSelected() + by, 0, last);
        m_selected = m_shown[static_cast<std::size_t>(m_selectedPlace)].number;
    }
}

std::string TopView::headLine() const
{
    return headOf(m_status) + " (steady clock)" + (m_isPaused ? ", paused" : "")
        + (m_status.moreTimers > 0 ? ", " + std::to_string(m_status.moreTimers) + " left out" : "");
}

std::string TopView::lastLine() const
{
    if (m_mode == Mode::Filter) {
        return "names with: " + escape(m_filter) + "_   enter ends, escape clears";
    }
    return (m_filter.empty() ? "" : "names with \"" + escape(m_filter) + "\"   ")
        + std::string("left right sort   r reverse   / filter   p pause   enter open   ? help   q quit");
}

std::vector<Line> TopView::draw(std::size_t width, std::size_t height)
{
    std::vector<Line> lines { plainLine(firstCharacters(headLine(), width), Line::Head) };
    if (m_mode == Mode::Help) {
        addWrapped(lines, helpText, width);
    } else if (m_open) {
        drawOpen(lines, width, height);
    } else {
        drawTable(lines, width, height);
    }
    if (lines.size() > height) {
        lines.resize(height);
    }
    return lines;
}

void TopView::drawTable(std::vector<Line>& lines, std::size_t width, std::size_t height)
{
    constexpr std::size_t others = 3; // lines: the head, the titles, the last one
    std::array<std::string, columnCount> cells;
    for (std::size_t column = 0; column < columnCount; ++column) {
        const bool isSorted = column == static_cast<std::size_t>(m_sortedBy);
        cells.at(column) = columnHeads.at(column).title;
        if (isSorted) {
            cells.at(column).insert(0, 1, m_isReversed ? 'v' : '^');
        }
    }
    const std::size_t first = firstColumnFor(static_cast<std::size_t>(m_sortedBy), width);
    lines.push_back(rowLine(cells, Line::Head, first, width));
    m_rows = height > others ? height - others : 1;
    const auto selected = static_cast<std::size_t>(m_selectedPlace);
    m_firstRow = std::clamp(m_firstRow, selected < m_rows ? 0 : selected - m_rows + 1, selected);
    for (std::size_t row = m_firstRow; row < m_firstRow + m_rows; ++row) {
        if (row >= m_shown.size()) {
            lines.emplace_back();
            continue;
        }
        for (std::size_t column = 0; column < columnCount; ++column) {
            cells.at(column) = cellOf(m_shown[row], static_cast<Column>(column), m_status.now);
        }
        lines.push_back(rowLine(cells, row == selected ? Line::Selected : Line::Plain, first, width));
    }
    lines.push_back(plainLine(firstCharacters(lastLine(), width)));
}

void TopView::drawOpen(std::vector<Line>& lines, std::size_t width, std::size_t height) const
{
    const auto found = std::find_if(m_status.timers.begin(), m_status.timers.end(),
        [this](const TimerStatus& timer) { return timer.number == *m_open; });
    if (found == m_status.timers.end()) {
        lines.push_back(plainLine("the timer has gone"));
    } else {
        std::string summary;
        for (std::size_t column = 0; column < columnCount; ++column) {
            summary += (column == 0 ? "" : "   ") + std::string(columnHeads.at(column).title) + ' '
                + cellOf(*found, static_cast<Column>(column), m_status.now);
        }
        addWrapped(lines, summary, width);
    }
    lines.emplace_back();
    // Its line breaks are the explanation's own.
    std::istringstream explanation(m_explanation);
    for (std::string line; std::getline(explanation, line);) {
        addWrapped(lines, escape(line), width);
    }
    lines.resize(std::max<std::size_t>(height, 1) - 1);
    lines.push_back(plainLine(firstCharacters("enter, escape or q: back", width)));
}

} // namespace tovrinhost
