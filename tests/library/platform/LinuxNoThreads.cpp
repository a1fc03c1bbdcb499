#include "tests/library/NoThreads.hpp"

#include <pthread.h>

#include <cstddef>
#include <system_error>

namespace tovrintimer {

namespace {

void setDefaultStackSize(std::size_t bytes)
{
    pthread_attr_t attributes;
    int error = pthread_getattr_default_np(&attributes);
    if (error == 0) {
        error = pthread_attr_setstacksize(&attributes, bytes);
        if (error == 0) {
            error = pthread_setattr_default_np(&attributes);
        }
        pthread_attr_destroy(&attributes);
    }
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "cannot set the default stack size");
    }
}

constexpr std::size_t moreThanThereIs = std::size_t { 1 } << 60;
constexpr std::size_t usual = std::size_t { 8 } << 20;

} // namespace

// No address space holds such a stack.
NoThreads::NoThreads()
{
    setDefaultStackSize(moreThanThereIs);
}

NoThreads::~NoThreads()
{
    setDefaultStackSize(usual);
}

} // namespace tovrintimer
