// Tasks and threads as an application uses them.

#include <Ostrevan.h>

#include <atomic>
#include <gtest/gtest.h>
#include <unistd.h>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

struct Counter {
    std::atomic<int> num{0};
    int add(int value) { return num += value; }
};

// Counts how often it lives and runs.
class CountedFunction : public AsyncFunctionBase {
public:
    CountedFunction() { live++; }
    ~CountedFunction() override { live--; }
    void run() override { runs++; }
    const void *get() const override { return &runs; }

    static std::atomic<int> live, runs;
};
std::atomic<int> CountedFunction::live{0}, CountedFunction::runs{0};

int subtract(int a, int b) { return a - b; }

class AsyncPublicTest : public testing::Test {
protected:
    AsyncPublicTest() {
        Log::setCallback(append, this);
        async.init();
    }
    ~AsyncPublicTest() override {
        async.clearPtr();
        EXPECT_EQ(Allocator::getAllocations(), allocations);
        EXPECT_EQ(CountedFunction::live, 0);
        Log::setCallback(nullptr);
    }
    static bool append(Log::Level, size_t, const char *line, void *data) {
        static_cast<AsyncPublicTest *>(data)->text += line;
        return true;
    }

    const size_t allocations = Allocator::getAllocations();
    std::string text;
    Async async;
};

} // namespace

TEST_F(AsyncPublicTest, callables_leave_their_results) {
    EXPECT_TRUE(async && async.isInitialized() && async.getNumThreads() >= 4 && Async::getNumCores() >= 1);
    Counter counter;
    int value = 4;
    Async::Task task = async.run(subtract, 9, 4);
    task.run([] { return true; });
    task.run([&] { return &value; });
    task.run(&counter, &Counter::add, 6);
    task.run([](const String &a) { return a + "!"; }, String("text"));
    task.run(Function<float()>([] { return 0.5f; }));
    task.run([] {});
    EXPECT_TRUE(task.wait() && task.check() && task.size() == 7);
    EXPECT_EQ(task.get<int>(), 5);
    EXPECT_TRUE(task.getBool(1));
    EXPECT_EQ(task.getPtr(2), &value);
    EXPECT_EQ(task.get<int>(3), 6);
    EXPECT_STREQ(task.get<String>(4).get(), "text!");
    EXPECT_EQ(task.get<float>(5), 0.5f);
    EXPECT_EQ(task.get(6), nullptr);
    Async::Task member = async.run(&counter, &Counter::add, 1);
    EXPECT_TRUE(member.wait() && member.get<int>() == 7);
    EXPECT_EQ(async.run(1u).index(), 1u);
    EXPECT_EQ(async.run(uint64_t(4)).index(), 2u);
    EXPECT_EQ(async.create(uint64_t(8)).index(), 3u);
    EXPECT_TRUE(async.run(uint64_t(0)).empty());
    EXPECT_EQ(text, "Async::create(): can't get thread\n");
}

TEST_F(AsyncPublicTest, functions_of_the_application_go_once) {
    CountedFunction::runs = 0;
    {
        Async::Task task = async.run(new CountedFunction, 1);
        EXPECT_TRUE(task.wait());
        EXPECT_EQ(task.get(), &CountedFunction::runs);
        std::atomic<bool> open{false};
        Async::Task held = async.run(0u), canceled = async.run(0u), dropped = async.run(0u);
        held.run([&] {
            while(!open) usleep(10);
        });
        for(int i = 0; i < 10; i++) {
            canceled.run(new CountedFunction);
            dropped.run(new CountedFunction);
        }
        canceled.cancel();
        dropped = Async::Task(); // never run
        EXPECT_EQ(CountedFunction::live, 11);
        open = true;
        EXPECT_TRUE(async.wait());
        EXPECT_TRUE(canceled.isCanceled() && !canceled.check());
        EXPECT_EQ(CountedFunction::runs, 1);
        canceled.clear();
        EXPECT_EQ(CountedFunction::live, 1);
        async.shutdown();
        EXPECT_FALSE(task.run(new CountedFunction));
        EXPECT_TRUE(async.run(new CountedFunction).empty());
        EXPECT_EQ(CountedFunction::live, 1);
    }
    EXPECT_EQ(CountedFunction::live, 0);
}

TEST_F(AsyncPublicTest, handles_share_the_pool) {
    Counter counter;
    Async copy = async;
    Array<Async::Task> tasks;
    for(int i = 0; i < 100; i++) tasks.append(copy.run(&counter, &Counter::add, 1));
    EXPECT_TRUE(async.wait(tasks) && copy.check(tasks));
    EXPECT_EQ(counter.num, 100);
    async.append(tasks[0]);
    EXPECT_EQ(copy.getNumTasks(), 1u);
    EXPECT_EQ(copy.getNumTasks(true), 0u);
    EXPECT_TRUE(copy.wait() && copy.check() && async.getNumTasks() == 0);
    async.append(tasks[0]);
    copy.clear();
    EXPECT_EQ(async.getNumTasks(), 0u);
    // The core pool is the application's to use inside its tasks.
    Async::Task outer = async.run([&] {
        Array<Async::Task> inner;
        for(int i = 0; i < 10; i++) inner.append(copy.run(&counter, &Counter::add, 1));
        return copy.wait(inner);
    });
    EXPECT_TRUE(outer.wait() && outer.getBool());
    EXPECT_EQ(counter.num, 110);
    copy.clearPtr();
    tasks.release(); // slots keep what they hold
}

TEST_F(AsyncPublicTest, mistakes_and_exceptions_have_their_text) {
    Async::Task task = async.run([] { throw String("reason"); });
    EXPECT_TRUE(task.wait());
    EXPECT_EQ(text, "AsyncThread::process(): function throws \"reason\"\n");
    Async::Task empty;
    EXPECT_TRUE(!empty && empty.empty());
    EXPECT_ASSERTION(empty.check(), "impl != nullptr && \"Async::Task::check(): task is null\"");
    Async none;
    EXPECT_FALSE(none || none.isInitialized());
    text.clear();
    EXPECT_TRUE(none.run([] {}).empty());
    EXPECT_EQ(text, "Async::create(): can't get thread\n");
}

TEST(ThreadPublic, runs_its_body) {
    struct Body : Thread {
        ~Body() override { stop(true); }
        void process() override {
            id = getID();
            while(isRunning()) {
                wait();
                num++;
            }
        }
        std::atomic<uint64_t> id{0};
        std::atomic<int> num{0};
    } body;
    EXPECT_TRUE(body.isStopped() && !body.isRunning());
    EXPECT_TRUE(body.run(1 << 20));
    while(!body.isWaiting()) usleep(10);
    EXPECT_NE(body.id, Thread::getID());
    EXPECT_TRUE(body.signal());
    while(body.num == 0) usleep(10);
    EXPECT_TRUE(body.stop());
    EXPECT_TRUE(body.isStopped() && body.num >= 2);
    EXPECT_FALSE(body.signal() || body.stop() || body.terminate());
}
