#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tovrinhost {

/// What is being typed.
struct Typed {
    std::string text; ///< UTF-8, and what bytes there may be besides
    std::size_t cursor = 0; ///< the byte before which it stands
};

/// The rows of a terminal that a prompt and what is typed behind it take: a prompt for the first line of the text,
/// another for those that follow. Control characters and bytes that are no characters are written out.
struct PromptRows {
    struct Row {
        std::string text;
        bool goesOn = false; ///< the terminal itself begins the next row, since this one is full
    };

    PromptRows(const Typed& typed, std::size_t width);

    std::vector<Row> rows;
    std::size_t cursorRow = 0;
    std::size_t cursorColumn = 0;
};

} // namespace tovrinhost
