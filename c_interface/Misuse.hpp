#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tovrin_c {

/// What a function of the interface refuses, with the code that it returns for it.
class Misuse : public std::runtime_error {
public:
    Misuse(std::int32_t code, const std::string& text)
        : std::runtime_error(text)
        , m_code(code)
    {
    }

    std::int32_t code() const noexcept { return m_code; }

private:
    std::int32_t m_code;
};

} // namespace tovrin_c
