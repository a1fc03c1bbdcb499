#pragma once

#include "host/Export.hpp"

#include <cstdint>
#include <iosfwd>

/// Identities.
namespace foundation::msg_svc::exchange {

/// An identity: of a timer, of an evaluation request.
///
/// Threading: a value. Identities are made, compared and printed on any thread.
/// The library relies on the ordering alone: two identities are the same when neither is less than the other.
struct TOVRINHOST_API IDType {
    /// A new identity, different from every other that was made this way in the process. May throw: the timer
    /// whose identity it was to be is not made then.
    IDType();

    /// A known identity: one that was kept, or is made up.
    constexpr IDType(std::int64_t firstWord, std::int64_t secondWord) noexcept
        : first(firstWord)
        , second(secondWord)
    {
    }

    std::int64_t first; ///< goes before the second where identities are ordered
    std::int64_t second; ///< decides where the first words are equal
};

/// Lexicographic, the first word first, each word as a signed number.
constexpr bool operator<(const IDType& left, const IDType& right) noexcept
{
    return left.first != right.first ? left.first < right.first : left.second < right.second;
}

/// Writes the identity as diagnostic records show it.
TOVRINHOST_API std::ostream& operator<<(std::ostream& stream, const IDType& id);

} // namespace foundation::msg_svc::exchange
