#include "embedded_host/values/Extents.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace foundation::tovrindata::detail {

Extents::Extents(const ArrayDimensions& dimensions)
    : m_count(countElements(dimensions))
{
    if (dimensions.size() == 2) {
        m_rows = dimensions[0];
        m_columns = dimensions[1];
    } else {
        m_all = std::make_shared<const ArrayDimensions>(dimensions);
    }
}

ArrayDimensions Extents::toDimensions() const
{
    return m_all ? *m_all : ArrayDimensions { m_rows, m_columns };
}

bool isTooLarge(std::size_t count, std::size_t each) noexcept
{
    std::size_t product = 0;
    return __builtin_mul_overflow(count, each, &product); // a division takes longer than all the rest
}

std::size_t countElements(const ArrayDimensions& dimensions)
{
    // A zero anywhere makes it nothing, however large the others are.
    if (std::find(dimensions.begin(), dimensions.end(), 0U) != dimensions.end()) {
        return 0;
    }
    std::size_t count = 1;
    for (const std::size_t extent : dimensions) {
        if (isTooLarge(count, extent)) {
            throw std::invalid_argument("an array of " + toText(dimensions)
                + " is too large: its elements must number at most "
                + std::to_string(std::numeric_limits<std::size_t>::max()));
        }
        count *= extent;
    }
    return count;
}

std::string toText(const ArrayDimensions& dimensions)
{
    std::string text;
    for (const std::size_t extent : dimensions) {
        if (!text.empty()) {
            text += 'x';
        }
        text += std::to_string(extent);
    }
    return text;
}

} // namespace foundation::tovrindata::detail
