#include "tests/shutdown/platform/Platform.hpp"

namespace shutdown_test {

bool isLibraryGone()
{
    return true; // it stays for good, and that is as it shall be
}

} // namespace shutdown_test
