#pragma once

#include "virtual_time/Kernel.hpp"

#include <map>

namespace virtual_time {

/// What the kernel keeps of each thread. For the kernel's own sources.
struct Kernel::VirtualThread {
    std::string name;
    std::function<void()> body;
    std::unique_ptr<Fiber> fiber;
    std::vector<Frame> frames;
    std::map<const void*, std::shared_ptr<void>> own;
    std::size_t locks = 0;
    bool ready = true;
    bool ended = false;

    // While it is blocked.
    const void* key = nullptr;
    Moment deadline = never; // what was asked for
    Moment wakesAt = never; // what it gets
    bool mayWakeSpuriously = false;
    bool timedOut = false;
    std::string failure; // to be thrown when it goes on
};

} // namespace virtual_time
