#pragma once

#include "host/pelk/factory/full/StdShareable.hpp"

namespace tovrinhost {

/// The least that an object of the class system is.
class TestObject : public pelk::factory::full::StdShareable {
public:
    pelk::factory::full::SharingType getSharingType() const override
    {
        return pelk::factory::full::SharingType::StdShared;
    }

    const char* getFullyQualifiedPelkTypeName() const override { return "TestObject"; }
};

} // namespace tovrinhost
