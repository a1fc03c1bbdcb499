#include "tests/storm/Options.hpp"

#include <gmock/gmock.h>

#include <charconv>
#include <iostream>
#include <limits>
#include <random>
#include <string_view>

namespace {

/// \returns false, after a message, where the value is no whole number of at least `least`
bool read(std::string_view name, std::string_view text, unsigned int least, unsigned int& value)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && end == text.data() + text.size() && value >= least) {
        return true;
    }
    std::cerr << name << " is \"" << text << "\", and must be a whole number from " << least << " to "
              << std::numeric_limits<unsigned int>::max() << '\n';
    return false;
}

} // namespace

storm::Options& storm::options()
{
    static Options instance;
    return instance;
}

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    auto seconds = static_cast<unsigned int>(storm::options().duration.count());
    unsigned int seed = std::random_device()();
    for (int i = 1; i < argc; i += 2) {
        const std::string_view name = argv[i];
        const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
        if (name == "--seconds" ? !read(name, value, 1, seconds)
                                : name != "--seed" || !read(name, value, 0, seed)) {
            std::cerr << "usage: storm_test [--seconds N] [--seed N]\n";
            return 2;
        }
    }
    storm::options() = { std::chrono::seconds(seconds), seed };
    return RUN_ALL_TESTS();
}
