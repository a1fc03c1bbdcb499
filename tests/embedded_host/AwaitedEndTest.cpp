#include "embedded_host/engine/AwaitedEnd.hpp"

#include "embedded_host/engine/ScriptError.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

namespace tovrinhost {

namespace {

TEST(AwaitedEndTest, AWaitEndsNotBeforeTheWorkHas)
{
    const auto end = std::make_shared<AwaitedEnd>();
    std::atomic<bool> hasWorked { false };
    std::thread worker([end, &hasWorked] {
        tovrintimer::sleepFor(std::chrono::milliseconds(20));
        hasWorked = true;
        end->finish();
    });

    end->wait();

    EXPECT_TRUE(hasWorked);
    worker.join();
}

TEST(AwaitedEndTest, WhatHasEndedIsNotWaitedFor)
{
    AwaitedEnd end;
    end.finish();
    end.wait();
    end.wait();
}

TEST(AwaitedEndTest, AnErrorComesOutOfTheWait)
{
    const auto end = std::make_shared<AwaitedEnd>();
    std::thread worker([end] { end->finish(std::make_exception_ptr(ScriptError("no luck", ""))); });

    EXPECT_THAT([&] { end->wait(); }, testing::ThrowsMessage<ScriptError>("no luck"));
    worker.join();
}

} // namespace

} // namespace tovrinhost
