#pragma once

#include "host/Export.hpp"

#include <boost/log/attributes/attribute.hpp>

/// What loggers are made of.
namespace foundation::log::detail {

/// The record attribute "Indent": how many traced scopes are open on the thread that writes the record.
///
/// Threading: each thread has a depth of its own, which all indent attributes share.
class TOVRINHOST_API indent_attribute : public boost::log::attribute {
public:
    indent_attribute();

    /// Enters a scope on the calling thread. Must not throw.
    void increase() noexcept;

    /// Leaves it again, on the same thread. Must not throw.
    void decrease() noexcept;
};

} // namespace foundation::log::detail
