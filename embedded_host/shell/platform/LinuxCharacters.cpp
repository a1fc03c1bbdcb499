#include "embedded_host/shell/platform/Characters.hpp"

#include <clocale>
#include <cwchar>

namespace tovrinhost::platform {

namespace {

/// The C library's table of characters; the process's own setting may know ASCII alone.
locale_t unicode()
{
    static const locale_t instance = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return instance;
}

} // namespace

int columnsOf(std::uint32_t character)
{
    const locale_t before = uselocale(unicode());
    const int columns = wcwidth(static_cast<wchar_t>(character));
    uselocale(before);
    return columns;
}

} // namespace tovrinhost::platform
