#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

namespace foundation::tovrindata {

namespace {

Array makeArray(ArrayDimensions dimensions, detail::ArrayStorage::Elements elements)
{
    auto storage = std::make_shared<detail::ArrayStorage>();
    storage->dimensions = std::move(dimensions);
    storage->elements = std::move(elements);
    return Array(std::move(storage));
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

} // namespace

ArrayFactory::ArrayFactory() = default;
ArrayFactory::~ArrayFactory() = default;

CharArray ArrayFactory::createCharArray(const std::string& utf8)
{
    const std::size_t rows = utf8.empty() ? 0 : 1;
    return CharArray(makeArray({ rows, countCharacters(utf8) }, detail::CharElements { utf8 }));
}

TypedArray<double> ArrayFactory::createDoubleArray(const ArrayDimensions& dimensions, std::vector<double> values)
{
    const std::size_t needed = detail::countElements(dimensions);
    if (values.size() != needed) {
        throw std::invalid_argument(std::to_string(values.size()) + " values for an array of "
            + detail::toText(dimensions) + ": there must be " + std::to_string(needed));
    }
    return TypedArray<double>(makeArray(dimensions, detail::DoubleElements { std::move(values) }));
}

StructArray ArrayFactory::createStructArray(const ArrayDimensions& dimensions, std::vector<std::string> fieldNames)
{
    std::set<std::string> names;
    for (const std::string& name : fieldNames) {
        if (!names.insert(name).second) {
            throw std::invalid_argument("two fields named \"" + name + "\": the names must differ");
        }
    }
    ArrayDimensions all = dimensions;
    all.push_back(fieldNames.size());
    // Counted on their own, too: records without fields take no room, but are still counted.
    detail::countElements(dimensions);
    std::vector<Array> values(detail::countElements(all));
    return StructArray(makeArray(dimensions, detail::StructElements { std::move(fieldNames), std::move(values) }));
}

namespace tovrin {

ServerArrayFactory::ServerArrayFactory() = default;
ServerArrayFactory::~ServerArrayFactory() = default;

} // namespace tovrin

} // namespace foundation::tovrindata
