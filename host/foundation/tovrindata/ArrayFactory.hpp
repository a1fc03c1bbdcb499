#pragma once

#include "host/foundation/tovrindata/CharArray.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "host/foundation/tovrindata/TypedArray.hpp"

#include <string>
#include <vector>

namespace foundation::tovrindata {

/// Makes arrays.
///
/// Threading: the library makes one factory for each callback, on the thread that runs the callback task, and
/// uses it on that thread only.
/// Errors: whatever an operation throws leaves the callback task.
class TOVRINHOST_API ArrayFactory {
public:
    ArrayFactory();
    ArrayFactory(const ArrayFactory&) = delete;
    ArrayFactory& operator=(const ArrayFactory&) = delete;
    virtual ~ArrayFactory();

    /// \param utf8 the characters; an empty text gives an empty (0x0) array
    CharArray createCharArray(const std::string& utf8);

    /// \param dimensions rows and columns: the library makes rows of six
    /// \param values one for each element, column by column
    /// \throws std::invalid_argument if the number of values is not the product of the dimensions, or that product
    ///         is beyond what can be counted
    TypedArray<double> createDoubleArray(const ArrayDimensions& dimensions, std::vector<double> values);

    /// \throws std::invalid_argument if two fields bear the same name, or the dimensions' product is beyond what
    ///         can be counted
    StructArray createStructArray(const ArrayDimensions& dimensions, std::vector<std::string> fieldNames);
};

/// Of the host itself.
namespace tovrin {

/// The factory for arrays that are handed to the host's own evaluation requests.
class TOVRINHOST_API ServerArrayFactory : public ArrayFactory {
public:
    ServerArrayFactory();
    ~ServerArrayFactory() override;
};

} // namespace tovrin

} // namespace foundation::tovrindata
