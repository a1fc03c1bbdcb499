#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include "embedded_host/values/ArrayStorage.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <utility>

namespace foundation::tovrindata {

namespace {

/// There are few: looking at those before costs less than a set.
void failIfTwoAreAlike(const std::vector<std::string>& names)
{
    for (auto name = names.begin(); name != names.end(); ++name) {
        if (std::find(names.begin(), name, *name) != name) {
            throw std::invalid_argument("two fields named \"" + *name + "\": the names must differ");
        }
    }
}

/// How many bytes follow a first byte. One that cannot be first stands for itself.
int followers(unsigned char first) noexcept
{
    if (first >= 0xF0) {
        return 3;
    }
    if (first >= 0xE0) {
        return 2;
    }
    return first >= 0xC0 ? 1 : 0;
}

std::size_t countCharacters(const std::string& utf8) noexcept
{
    std::size_t count = 0;
    int awaited = 0;
    for (const char byte : utf8) {
        const auto unit = static_cast<unsigned char>(byte);
        if (awaited > 0 && (unit & 0xC0U) == 0x80U) {
            --awaited;
        } else {
            ++count;
            awaited = followers(unit);
        }
    }
    return count;
}

constexpr std::size_t longestWord = 15; // so that what is kept is little

CharArray makeCharArray(const std::string& utf8)
{
    const std::size_t rows = utf8.empty() ? 0 : 1;
    return CharArray(detail::makeArray({ rows, countCharacters(utf8) }, detail::CharElements { utf8 }));
}

using Place = std::atomic<const CharArray*>;

/// What is kept at this place: the text itself, where there was nothing.
const CharArray& keptAt(Place& place, const std::string& utf8)
{
    if (const CharArray* const word = place.load(std::memory_order_acquire)) {
        return *word;
    }
    auto made = std::make_unique<const CharArray>(makeCharArray(utf8));
    const CharArray* nothing = nullptr;
    if (place.compare_exchange_strong(nothing, made.get(), std::memory_order_acq_rel)) {
        return *made.release();
    }
    return *place.load(std::memory_order_acquire);
}

/// The first words that come are kept for ever, and found without a lock; no others are.
CharArray wordOf(const std::string& utf8)
{
    static std::array<Place, 16> kept {};
    for (Place& place : kept) {
        const CharArray& word = keptAt(place, utf8);
        if (detail::charactersOf(word) == utf8) {
            return word;
        }
    }
    return makeCharArray(utf8);
}

} // namespace

ArrayFactory::ArrayFactory() = default;
ArrayFactory::~ArrayFactory() = default;

CharArray ArrayFactory::createCharArray(const std::string& utf8)
{
    // The same few words come again and again. Copies share what they hold until one of them is changed.
    static const tovrintimer::NeverDestroyed<const CharArray> empty(makeCharArray(""));
    if (utf8.empty()) {
        return *empty;
    }
    if (utf8.size() > longestWord) {
        return makeCharArray(utf8);
    }
    return wordOf(utf8);
}

TypedArray<double> ArrayFactory::createDoubleArray(const ArrayDimensions& dimensions, std::vector<double> values)
{
    detail::Extents extents(dimensions);
    if (values.size() != extents.count()) {
        throw std::invalid_argument(std::to_string(values.size()) + " values for an array of "
            + detail::toText(dimensions) + ": there must be " + std::to_string(extents.count()));
    }
    return TypedArray<double>(detail::makeArray(std::move(extents), detail::DoubleElements { std::move(values) }));
}

StructArray ArrayFactory::createStructArray(const ArrayDimensions& dimensions, std::vector<std::string> fieldNames)
{
    failIfTwoAreAlike(fieldNames);
    detail::Extents extents(dimensions);
    const std::size_t fields = fieldNames.size();
    if (detail::isTooLarge(extents.count(), fields)) {
        ArrayDimensions all = dimensions;
        all.push_back(fields);
        detail::countElements(all); // says so
    }
    const std::size_t values = extents.count() * fields;
    Array array = detail::makeArray(std::move(extents), detail::StructElements { std::move(fieldNames), {} });
    std::get<detail::StructElements>(array.storage()->elements).values.resize(values);
    return StructArray(std::move(array));
}

namespace tovrin {

ServerArrayFactory::ServerArrayFactory() = default;
ServerArrayFactory::~ServerArrayFactory() = default;

} // namespace tovrin

} // namespace foundation::tovrindata
