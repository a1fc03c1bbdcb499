#pragma once

#include <stdexcept>

namespace tovrinhost {

/// Why running code is to be given up.
enum class Interruption {
    None,
    User, ///< somebody pressed Ctrl-C
    Exit, ///< the script called os.exit
};

/// Leaves a pumping call while an interruption is on.
class Interrupted : public std::runtime_error {
public:
    Interrupted()
        : std::runtime_error("interrupted")
    {
    }
};

} // namespace tovrinhost
