#include "host/foundation/log/indent_attribute.hpp"

#include <boost/log/attributes/function.hpp>

namespace foundation::log::detail {

namespace {

thread_local unsigned int depth = 0;

} // namespace

indent_attribute::indent_attribute()
    : attribute(boost::log::attributes::make_function([] { return depth; }))
{
}

void indent_attribute::increase() noexcept
{
    ++depth;
}

void indent_attribute::decrease() noexcept
{
    // One scope too many closed must not indent by four thousand million.
    if (depth > 0) {
        --depth;
    }
}

} // namespace foundation::log::detail
