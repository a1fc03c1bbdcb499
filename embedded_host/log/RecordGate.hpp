#pragma once

#include <boost/log/core/core.hpp>

namespace tovrinhost {

// Where records go through as long as they can. A process may end while threads still write: then what Boost.Log
// and the C++ library have of their own is destroyed under them. So the gate is shut before that happens, the
// records that are being written are waited for, and later ones are not opened.

/// The core of Boost.Log, which is kept.
boost::log::core& recordCore();

/// Sees to it that what records use exists before the gate, and so is destroyed after it is shut. For the first
/// logger, before it writes.
void openRecordGate();

/// Whether records are opened no more. To be asked by whoever holds a RecordInBeing.
bool isRecordGateShut() noexcept;

/// A record has one as an attribute, for as long as it exists.
class RecordInBeing {
public:
    RecordInBeing() noexcept;
    RecordInBeing(const RecordInBeing&) noexcept;
    RecordInBeing& operator=(const RecordInBeing&) = default;
    ~RecordInBeing();
};

} // namespace tovrinhost
