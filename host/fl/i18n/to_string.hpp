#pragma once

#include "host/Export.hpp"

#include <string>

/// Texts.
namespace fl::i18n {

/// Converts wide text to UTF-8. Any thread.
TOVRINHOST_API std::string to_string(const std::wstring& wide);

} // namespace fl::i18n
