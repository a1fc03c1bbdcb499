#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// A script, and the words that it is given.
struct Script {
    /// One of a text that is in no file.
    struct Text {
        std::string statements;
        std::string chunkName; ///< how tracebacks call it: "=stdin"
    };

    std::string name; ///< what arg[0] says; the file, where there is no text
    std::vector<std::string> arguments;
    std::optional<Text> text;
};

} // namespace tovrinhost
