#include "host/setCurrentThreadName.hpp"

#include <array>
#include <cstring>

#include <pthread.h>

void setCurrentThreadName(const std::string& name)
{
    // A longer name is refused altogether.
    std::array<char, 16> shortened {};
    std::strncpy(shortened.data(), name.c_str(), shortened.size() - 1);
    pthread_setname_np(pthread_self(), shortened.data());
}
