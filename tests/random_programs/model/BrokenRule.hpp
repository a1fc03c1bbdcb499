#pragma once

#include <stdexcept>
#include <string>

namespace random_programs {

/// What a program has shown against the rules.
struct BrokenRule : std::runtime_error {
    /// \param brokenRule the same text for whatever breaks it
    BrokenRule(const std::string& brokenRule, const std::string& how)
        : std::runtime_error(brokenRule + ": " + how)
        , rule(brokenRule)
    {
    }

    std::string rule;
};

inline void require(bool holds, const char* rule, const std::string& how)
{
    if (!holds) {
        throw BrokenRule(rule, how);
    }
}

} // namespace random_programs
