#pragma once

#include "host/Export.hpp"

#include <memory>

/// What the host's object system asks of C++ objects.
namespace pelk::factory::full {

/// How the class system shares an object.
enum class SharingType : int {
    StdShared = 0, ///< through std::shared_ptr
};

/// A C++ object that can be handed to the host's object system.
///
/// The host's destructor of this base calls `retract` with the object, also where a derived class's constructor
/// failed, so that the object system forgets it.
class TOVRINHOST_API Wrappable {
public:
    Wrappable();
    Wrappable(const Wrappable&) = delete;
    Wrappable& operator=(const Wrappable&) = delete;
    virtual ~Wrappable();

    /// For the host's object system; the library answers, and never asks.
    virtual SharingType getSharingType() const = 0;

    /// The class's name in the host language. The text is never destroyed.
    virtual const char* getFullyQualifiedPelkTypeName() const = 0;
};

/// A wrappable object that is owned by std::shared_ptr.
// The self-reference stands first so that it is released last, after the object has been retracted.
class TOVRINHOST_API StdShareable : public std::enable_shared_from_this<StdShareable>, public Wrappable {
public:
    StdShareable();
    ~StdShareable() override;
};

/// Makes the object system forget an object that is being destroyed.
///
/// Called once for each object, on the thread that released it last, which may be any. Only the address may be
/// used: the derived parts are gone. Must not throw.
TOVRINHOST_API void retract(Wrappable* object);

} // namespace pelk::factory::full
