#pragma once

#include "host/Export.hpp"

#include <string>

/// Switches of the host.
namespace foundation::feature {

/// A switch of the host.
class TOVRINHOST_API IFeature {
public:
    virtual ~IFeature();

    /// Nonzero when the feature is on.
    ///
    /// Threading: the library reads it at every hand-over, on the thread that hands over, with no lock held.
    /// The value may change at any time; the next hand-over follows it.
    virtual int get() const = 0;
};

/// The switch with a given name.
///
/// Lifetime: the library keeps static objects of this class, made on first use and never destroyed: construction
/// must work at any time, and `get` until the last hand-over. In a process that ends without an orderly shutdown,
/// that may come while static objects are being destroyed.
class TOVRINHOST_API Feature : public IFeature {
public:
    /// The library asks for one switch, "TIMER_PPE".
    explicit Feature(const char* name);
    ~Feature() override;

    int get() const override;

private:
    std::string m_name;
};

} // namespace foundation::feature
