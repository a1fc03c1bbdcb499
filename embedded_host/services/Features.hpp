#pragma once

#include "host/Export.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tovrinhost {

// The switches behind foundation::feature::Feature. All are on unless set otherwise. Any thread.

/// The names of the switches that this host has.
TOVRINHOST_API std::vector<std::string> featureNames();

/// \throws std::invalid_argument, naming the features that exist, if there is none of this name
TOVRINHOST_API void setFeature(const std::string& name, bool on);

/// False for a name that does not exist.
TOVRINHOST_API bool isFeatureOn(std::string_view name);

} // namespace tovrinhost
