#pragma once

// Which sanitizer watches the tests.
#if defined(__SANITIZE_ADDRESS__)
#define TESTS_WITH_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__)
#define TESTS_WITH_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESTS_WITH_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define TESTS_WITH_THREAD_SANITIZER 1
#endif
#endif

namespace tests {

#if defined(TESTS_WITH_ADDRESS_SANITIZER) || defined(TESTS_WITH_THREAD_SANITIZER)
inline constexpr bool isWatched = true;
#else
inline constexpr bool isWatched = false;
#endif

} // namespace tests
