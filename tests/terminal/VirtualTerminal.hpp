#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct VTerm;
struct VTermScreen;

namespace terminals {

/// What a terminal makes of the bytes that it is sent: its screen, and the rows that have left it at the top.
class VirtualTerminal {
public:
    VirtualTerminal(int width, int height);
    VirtualTerminal(const VirtualTerminal&) = delete;
    VirtualTerminal& operator=(const VirtualTerminal&) = delete;
    ~VirtualTerminal();

    void feed(std::string_view bytes);
    void resize(int width, int height);

    /// All rows, from the first that has left the screen to the last with something in it; without blanks at their
    /// ends.
    std::vector<std::string> rows() const;

    /// Those of the screen alone, all of them.
    std::vector<std::string> screen() const;

    /// The row with the cursor, and how many columns it stands behind the row's beginning.
    std::string cursorRow() const;
    int cursorColumn() const;

private:
    struct Callbacks;
    std::string row(int number) const;

    VTerm* const m_terminal;
    VTermScreen* const m_screen;
    std::vector<std::string> m_gone;
};

} // namespace terminals
