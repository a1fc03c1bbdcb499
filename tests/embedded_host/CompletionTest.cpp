#include "embedded_host/engine/Completion.hpp"

#include "embedded_host/engine/ScriptError.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

namespace tovrinhost {

namespace {

TEST(CompletionTest, AWaitEndsNotBeforeTheWorkHas)
{
    const auto completion = std::make_shared<Completion>();
    std::atomic<bool> hasWorked { false };
    std::thread worker([completion, &hasWorked] {
        tovrintimer::sleepFor(std::chrono::milliseconds(20));
        hasWorked = true;
        completion->finish();
    });

    completion->wait();

    EXPECT_TRUE(hasWorked);
    worker.join();
}

TEST(CompletionTest, WhatHasEndedIsNotWaitedFor)
{
    Completion completion;
    completion.finish();
    completion.wait();
    completion.wait();
}

TEST(CompletionTest, AnErrorComesOutOfTheWait)
{
    const auto completion = std::make_shared<Completion>();
    std::thread worker([completion] { completion->finish(std::make_exception_ptr(ScriptError("no luck", ""))); });

    EXPECT_THAT([&] { completion->wait(); }, testing::ThrowsMessage<ScriptError>("no luck"));
    worker.join();
}

} // namespace

} // namespace tovrinhost
