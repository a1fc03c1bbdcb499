#include "tests/terminal/VirtualTerminal.hpp"

#include "embedded_host/values/Utf8.hpp"

#include <cstdint>
#include <utility>

#include <vterm.h>

namespace terminals {

namespace {

constexpr auto secondHalf = static_cast<std::uint32_t>(-1); // of a wide character

std::string textOf(const VTermScreenCell& cell)
{
    std::string text;
    for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && cell.chars[i] != 0; ++i) {
        if (cell.chars[i] != secondHalf) {
            tovrinhost::appendUtf8(text, cell.chars[i]);
        }
    }
    return cell.chars[0] == 0 ? " " : text;
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

} // namespace

struct VirtualTerminal::Callbacks {
    static int rowLeaves(int width, const VTermScreenCell* cells, void* self)
    {
        std::string text;
        for (int column = 0; column < width; ++column) {
            text += textOf(cells[column]);
        }
        static_cast<VirtualTerminal*>(self)->m_gone.push_back(trimmed(text));
        return 1;
    }

    static constexpr VTermScreenCallbacks table { nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, rowLeaves,
        nullptr };
};

VirtualTerminal::VirtualTerminal(int width, int height)
    : m_terminal(vterm_new(height, width))
    , m_screen(vterm_obtain_screen(m_terminal))
{
    vterm_set_utf8(m_terminal, 1);
    vterm_screen_set_callbacks(m_screen, &Callbacks::table, this);
    vterm_screen_reset(m_screen, 1);
}

VirtualTerminal::~VirtualTerminal()
{
    vterm_free(m_terminal);
}

void VirtualTerminal::feed(std::string_view bytes)
{
    vterm_input_write(m_terminal, bytes.data(), bytes.size());
}

void VirtualTerminal::resize(int width, int height)
{
    vterm_set_size(m_terminal, height, width);
}

std::string VirtualTerminal::row(int number) const
{
    int width = 0;
    int height = 0;
    vterm_get_size(m_terminal, &height, &width);
    std::string text;
    for (int column = 0; column < width; ++column) {
        VTermScreenCell cell {};
        vterm_screen_get_cell(m_screen, { number, column }, &cell);
        text += textOf(cell);
    }
    return trimmed(text);
}

std::vector<std::string> VirtualTerminal::screen() const
{
    int width = 0;
    int height = 0;
    vterm_get_size(m_terminal, &height, &width);
    std::vector<std::string> rows;
    for (int number = 0; number < height; ++number) {
        rows.push_back(row(number));
    }
    return rows;
}

std::vector<std::string> VirtualTerminal::rows() const
{
    std::vector<std::string> rows = m_gone;
    for (std::string& row : screen()) {
        rows.push_back(std::move(row));
    }
    while (!rows.empty() && rows.back().empty()) {
        rows.pop_back();
    }
    return rows;
}

std::string VirtualTerminal::cursorRow() const
{
    VTermPos place {};
    vterm_state_get_cursorpos(vterm_obtain_state(m_terminal), &place);
    return row(place.row);
}

int VirtualTerminal::cursorColumn() const
{
    VTermPos place {};
    vterm_state_get_cursorpos(vterm_obtain_state(m_terminal), &place);
    return place.col;
}

} // namespace terminals
