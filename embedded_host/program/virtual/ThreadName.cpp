#include "host/setCurrentThreadName.hpp"

#include "virtual_time/Kernel.hpp"

/// As it stands where threads are told of: the one real thread bears no name of theirs.
void setCurrentThreadName(const std::string& name)
{
    virtual_time::Kernel::current()->rename(name);
}
