#include "embedded_host/process/platform/Platform.hpp"
#include "host/setCurrentThreadName.hpp"

void setCurrentThreadName(const std::string& name)
{
    tovrinhost::platform::nameCurrentThread(name.c_str());
}
