#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <stdexcept>
#include <utility>

namespace foundation::tovrindata {

namespace detail {

class ArrayStorage {
public:
    ArrayType type = ArrayType::Empty;
    ArrayDimensions dimensions;
    std::string text;
    std::vector<double> numbers;
    std::vector<std::string> fieldNames;
    std::vector<std::map<std::string, Array>> records;
};

} // namespace detail

namespace {

std::size_t elements(const ArrayDimensions& dimensions)
{
    if (std::count(dimensions.begin(), dimensions.end(), std::size_t { 0 }) > 0) {
        return 0;
    }
    std::size_t product = 1;
    for (const std::size_t extent : dimensions) {
        if (extent > std::numeric_limits<std::size_t>::max() / product) {
            throw std::invalid_argument("there are more elements than can be counted");
        }
        product *= extent;
    }
    return product;
}

Array requireType(Array array, ArrayType type, const char* what)
{
    if (array.getType() != type) {
        throw std::invalid_argument(std::string("the array does not hold ") + what);
    }
    return array;
}

} // namespace

Array::Array() noexcept = default;
Array::Array(const Array& other) = default;
Array::Array(Array&& other) noexcept = default;
Array& Array::operator=(const Array& other) = default;
Array& Array::operator=(Array&& other) noexcept = default;
Array::~Array() = default;

Array::Array(std::shared_ptr<detail::ArrayStorage> storage) noexcept
    : m_storage(std::move(storage))
{
}

ArrayType Array::getType() const noexcept
{
    return m_storage ? m_storage->type : ArrayType::Empty;
}

ArrayDimensions Array::getDimensions() const
{
    return m_storage ? m_storage->dimensions : ArrayDimensions { 0, 0 };
}

std::size_t Array::getNumberOfElements() const noexcept
{
    return m_storage ? elements(m_storage->dimensions) : 0;
}

const std::shared_ptr<detail::ArrayStorage>& Array::storage() const noexcept
{
    return m_storage;
}

detail::ArrayStorage& Array::ownStorage()
{
    m_storage = std::make_shared<detail::ArrayStorage>(*m_storage);
    return *m_storage;
}

CharArray::CharArray(Array array)
    : Array(requireType(std::move(array), ArrayType::Char, "characters"))
{
}

std::string CharArray::toUTF8() const
{
    return storage()->text;
}

TypedArray<double>::TypedArray(Array array)
    : Array(requireType(std::move(array), ArrayType::Double, "numbers"))
{
}

double TypedArray<double>::at(std::size_t index) const
{
    return storage()->numbers.at(index);
}

StructArray::StructArray(Array array)
    : Array(requireType(std::move(array), ArrayType::Struct, "records"))
{
}

std::vector<std::string> StructArray::getFieldNames() const
{
    return storage()->fieldNames;
}

Array StructArray::getField(std::size_t index, const std::string& field) const
{
    return storage()->records.at(index).at(field);
}

void StructArray::setField(std::size_t index, const std::string& field, Array value)
{
    ownStorage().records.at(index).at(field) = std::move(value);
}

ArrayFactory::ArrayFactory() = default;
ArrayFactory::~ArrayFactory() = default;

CharArray ArrayFactory::createCharArray(const std::string& utf8)
{
    auto storage = std::make_shared<detail::ArrayStorage>();
    storage->type = ArrayType::Char;
    // As many characters as bytes: more is not asked of this host.
    storage->dimensions = { utf8.empty() ? std::size_t { 0 } : std::size_t { 1 }, utf8.size() };
    storage->text = utf8;
    return CharArray(Array(std::move(storage)));
}

TypedArray<double> ArrayFactory::createDoubleArray(const ArrayDimensions& dimensions, std::vector<double> values)
{
    if (values.size() != elements(dimensions)) {
        throw std::invalid_argument("the number of values is not the product of the dimensions");
    }
    auto storage = std::make_shared<detail::ArrayStorage>();
    storage->type = ArrayType::Double;
    storage->dimensions = dimensions;
    storage->numbers = std::move(values);
    return TypedArray<double>(Array(std::move(storage)));
}

StructArray ArrayFactory::createStructArray(const ArrayDimensions& dimensions, std::vector<std::string> fieldNames)
{
    auto storage = std::make_shared<detail::ArrayStorage>();
    storage->type = ArrayType::Struct;
    storage->dimensions = dimensions;
    std::map<std::string, Array> record;
    for (const std::string& name : fieldNames) {
        if (!record.emplace(name, Array()).second) {
            throw std::invalid_argument("two fields bear the name " + name);
        }
    }
    storage->records.assign(elements(dimensions), record);
    storage->fieldNames = std::move(fieldNames);
    return StructArray(Array(std::move(storage)));
}

namespace tovrin {

ServerArrayFactory::ServerArrayFactory() = default;
ServerArrayFactory::~ServerArrayFactory() = default;

} // namespace tovrin

} // namespace foundation::tovrindata
