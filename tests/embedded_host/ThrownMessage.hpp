#pragma once

#include <gtest/gtest.h>

#include <string>

namespace tovrinhost {

/// What the exception of exactly this kind says; a failure where there is none.
template <typename Exception, typename Operation> std::string thrownMessage(const Operation& operation)
{
    try {
        operation();
    } catch (const Exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

} // namespace tovrinhost
