#pragma once

#include "embedded_host/shell/OutputColumn.hpp"
#include "embedded_host/shell/PromptRows.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tovrinhost {

/// A terminal with output above, and below it a prompt with what is being typed.
///
///     output
///     the latest line, which may go on
///     > what is typed, in as
///     many rows as it takes
///
/// For output the prompt is taken off the screen and drawn again below, all in one write. An unfinished line stays
/// where it is: the output that follows goes on behind it, as it would without a prompt.
///
/// Threading: one thread at a time.
class Screen {
public:
    using Write = std::function<void(std::string_view)>;

    Screen(Write write, std::size_t width, std::size_t height);

    /// Shows the prompt, or what has become of it.
    void show(Typed typed);

    /// What has been typed stays on the screen, with the mark behind it, and the prompt is none any more.
    void leave(const std::string& typed, std::string_view mark = "");

    /// Takes the prompt off the screen.
    void hide();

    /// The same, until the next `resize` or `show`: others have the terminal meanwhile.
    void suspend();

    /// Clears the screen, but for the prompt.
    void clear();

    /// Writes output above the prompt. A character or sequence that is cut short waits for its rest.
    void print(std::string_view output);

    /// Draws the prompt as the new size has it.
    void resize(std::size_t width, std::size_t height);

    bool hasPrompt() const { return m_rows.has_value(); }

private:
    void draw(std::string text);
    std::string drawing() const;
    std::string erasure() const;
    std::size_t firstShown() const;
    std::size_t mostRows() const;

    const Write m_write;
    std::size_t m_width;
    std::size_t m_height;
    OutputColumn m_output;
    std::string m_cutShort; // output that has not been written yet
    Typed m_typed;
    std::optional<PromptRows> m_rows; // none: there is no prompt
    bool m_isDrawn = false;
};

} // namespace tovrinhost
