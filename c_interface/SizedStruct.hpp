#pragma once

#include "c_interface/Misuse.hpp"
#include "c_interface/tovrintimer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

namespace tovrin_c {

// Structs whose size the embedder tells, so that later versions of one can be longer. The one that there is now is
// the shortest.

inline void requireNotNull(const void* pointer, const char* what)
{
    if (pointer == nullptr) {
        throw Misuse(TOVRIN_ERROR_ARGUMENT, std::string(what) + " is NULL");
    }
}

template <typename Struct> void requireKnownSize(std::size_t size, const char* what)
{
    if (size < sizeof(Struct)) {
        throw Misuse(TOVRIN_ERROR_SIZE,
            std::string(what) + ".size is " + std::to_string(size) + "; it has to be at least "
                + std::to_string(sizeof(Struct)));
    }
}

/// The known part of what the embedder gives.
/// \throws Misuse if it is no such struct, or if there is something in what is beyond
template <typename Struct> Struct takeStruct(const Struct* given, const char* what)
{
    requireNotNull(given, what);
    requireKnownSize<Struct>(given->size, what);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(given);
    if (std::any_of(bytes + sizeof(Struct), bytes + given->size, [](unsigned char one) { return one != 0; })) {
        throw Misuse(TOVRIN_ERROR_SIZE,
            std::string(what) + ".size is " + std::to_string(given->size) + "; of what is beyond "
                + std::to_string(sizeof(Struct)) + " bytes this version knows nothing, and it has to be zero");
    }
    return *given;
}

/// Fills the known part in, and zeros beyond; the size stays.
template <typename Struct> void giveStruct(Struct* wanted, const char* what, Struct values)
{
    requireNotNull(wanted, what);
    requireKnownSize<Struct>(wanted->size, what);
    values.size = wanted->size;
    std::memset(reinterpret_cast<unsigned char*>(wanted) + sizeof(Struct), 0, wanted->size - sizeof(Struct));
    *wanted = values;
}

/// The same for one whose size is not in it yet.
template <typename Struct>
void initStruct(Struct* wanted, std::size_t size, const char* what, const Struct& values)
{
    requireNotNull(wanted, what);
    requireKnownSize<Struct>(size, what);
    wanted->size = size;
    giveStruct(wanted, what, values);
}

} // namespace tovrin_c
