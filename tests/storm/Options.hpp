#pragma once

#include <chrono>

namespace storm {

/// What the command line says. Constant while the tests run.
struct Options {
    std::chrono::seconds duration { 3 };
    unsigned int seed = 0; ///< where none is given, one that is drawn; printed in any case
};

Options& options();

} // namespace storm
