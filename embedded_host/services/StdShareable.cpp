#include "host/pelk/factory/full/StdShareable.hpp"

namespace pelk::factory::full {

Wrappable::Wrappable() = default;

Wrappable::~Wrappable()
{
    retract(this);
}

StdShareable::StdShareable() = default;
StdShareable::~StdShareable() = default;

} // namespace pelk::factory::full
