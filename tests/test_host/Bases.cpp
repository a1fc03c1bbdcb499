// The constructors and destructors that all hosts of tests define alike.

#include "host/foundation/feature/Feature.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/vorn/VORN.hpp"

namespace vorn {

VORN::VORN() = default;
VORN::~VORN() = default;

} // namespace vorn

namespace iqm {

Iqm::Iqm() = default;
Iqm::~Iqm() = default;

} // namespace iqm

namespace foundation::feature {

IFeature::~IFeature() = default;

// Made inside the initialisation of static variables: in the simulation no other thread may go on there.
Feature::Feature(const char* name)
    : m_name(name)
{
}

Feature::~Feature() = default;

} // namespace foundation::feature
