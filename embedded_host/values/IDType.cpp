#include "host/foundation/msg_svc/exchange/IDType.hpp"

#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <ostream>
#include <random>

namespace foundation::msg_svc::exchange {

namespace {

/// Tells the identities of this process from those of others, in records that several have written.
std::int64_t processWord()
{
    static const std::int64_t word = [] {
        std::random_device entropy;
        return std::uniform_int_distribution<std::int64_t>(0)(entropy);
    }();
    return word;
}

std::int64_t nextCount() noexcept
{
    static std::atomic<std::int64_t> count { 0 };
    return count.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

IDType::IDType()
    : first(processWord())
    , second(nextCount())
{
}

std::ostream& operator<<(std::ostream& stream, const IDType& id)
{
    std::array<char, 34> text {};
    std::snprintf(text.data(), text.size(), "%016" PRIx64 "-%016" PRIx64, static_cast<std::uint64_t>(id.first),
        static_cast<std::uint64_t>(id.second));
    return stream << text.data();
}

} // namespace foundation::msg_svc::exchange
