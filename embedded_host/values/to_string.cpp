#include "host/fl/i18n/to_string.hpp"

#include "embedded_host/values/Utf8.hpp"

namespace fl::i18n {

std::string to_string(const std::wstring& wide)
{
    return tovrinhost::toUtf8(std::wstring_view(wide));
}

} // namespace fl::i18n
