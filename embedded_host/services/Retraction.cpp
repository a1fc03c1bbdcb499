#include "host/pelk/factory/full/StdShareable.hpp"

// Scripts refer to their timers by number, through Lua's registry, and to no C++ object by its address: there is
// none to forget.
void pelk::factory::full::retract(Wrappable* /*object*/)
{
}
