#pragma once

#include "host/fl/i18n/to_string.hpp"

#include <ostream>

namespace tovrintimer {

/// The kinds of work. There is no 3.
enum WorkKind : int {
    StartFcnWork = 0,
    StopFcnWork = 1,
    TimerFcnWork = 2,
    ErrorFcnWork = 4,
};

/// The name of a kind: "StartFcn", "StopFcn", "TimerFcn" or "ErrorFcn". It is also the name of the callback
/// property of the host's timer object. Streams as narrow text.
struct KindName {
    const wchar_t* wide; ///< a literal
};

/// Empty for what is no kind.
constexpr KindName kindName(WorkKind kind)
{
    switch (kind) {
    case StartFcnWork:
        return { L"StartFcn" };
    case StopFcnWork:
        return { L"StopFcn" };
    case TimerFcnWork:
        return { L"TimerFcn" };
    case ErrorFcnWork:
        return { L"ErrorFcn" };
    }
    return { L"" };
}

/// By the host's `fl::i18n::to_string`.
inline std::ostream& operator<<(std::ostream& stream, KindName name)
{
    return stream << fl::i18n::to_string(name.wide);
}

} // namespace tovrintimer
