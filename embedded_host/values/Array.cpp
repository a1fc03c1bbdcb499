#include "host/foundation/tovrindata/Array.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <utility>

namespace foundation::tovrindata {

namespace {

ArrayType typeOf(const detail::CharElements&) noexcept
{
    return ArrayType::Char;
}

ArrayType typeOf(const detail::DoubleElements&) noexcept
{
    return ArrayType::Double;
}

ArrayType typeOf(const detail::StructElements&) noexcept
{
    return ArrayType::Struct;
}

ArrayType typeOf(const detail::ObjectElement&) noexcept
{
    return ArrayType::Object;
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
    if (!m_storage) {
        return ArrayType::Empty;
    }
    return std::visit([](const auto& elements) { return typeOf(elements); }, m_storage->elements);
}

ArrayDimensions Array::getDimensions() const
{
    return m_storage ? m_storage->extents.toDimensions() : ArrayDimensions { 0, 0 };
}

std::size_t Array::getNumberOfElements() const noexcept
{
    return m_storage ? m_storage->extents.count() : 0;
}

const std::shared_ptr<detail::ArrayStorage>& Array::storage() const noexcept
{
    return m_storage;
}

detail::ArrayStorage& Array::ownStorage()
{
    if (m_storage.use_count() != 1) {
        m_storage = std::make_shared<detail::ArrayStorage>(*m_storage);
    } else {
        // The count says that the other copies have gone, not that their threads' reading is over and done with,
        // as seen from here. Taking a share and dropping it orders that reading before our writing.
        std::shared_ptr<detail::ArrayStorage>(m_storage).reset();
    }
    return *m_storage;
}

} // namespace foundation::tovrindata
