#include "timer_src/main/WorkKind.hpp"

#include "host/fl/i18n/to_string.hpp"

#include <ostream>

namespace tovrintimer {

std::ostream& operator<<(std::ostream& stream, KindName name)
{
    return stream << fl::i18n::to_string(name.wide);
}

} // namespace tovrintimer
