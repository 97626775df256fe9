#include "KolmAsync.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"

using namespace Kolm;

TEST(Async, functions_run) {
    Async async;
    ASSERT_TRUE(async.init(1));
    EXPECT_EQ(async.getNumThreads(), 4u);
    std::atomic<int> sum{0};
    Async::Task task = async.run([&] { sum++; });
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(sum, 1);
    Async::Task values = async.run(~uint64_t(0));
    for(int i = 0; i < 1000; i++) values.run([i] { return i; });
    EXPECT_TRUE(values.wait());
    for(uint32_t i = 0; i < 1000; i++) EXPECT_EQ(*static_cast<const int *>(values.get(i)), int(i));
    for(int i = 0; i < 10000; i++) async.run([&] { sum++; });
    EXPECT_TRUE(async.wait());
    async.shutdown();
}
