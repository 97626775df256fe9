#include "KolmAsync.h"

#include <errno.h>
#include <sched.h>

#include "KolmAsyncThread.h"
#include "KolmLog.h"

namespace Kolm {

// Task

void Async::Task::retain() {
    if(impl) impl->retain();
}

void Async::Task::release() {
    TaskImpl *old = std::exchange(impl, nullptr);
    if(old && old->release()) old->drop();
}

Async::Task &Async::Task::operator=(const Task &task) {
    if(impl == task.impl) return *this;
    Task copy(task);
    Kolm::swap(impl, copy.impl);
    return *this;
}

Async::Task &Async::Task::operator=(Task &&task) noexcept {
    if(this == &task) return *this;
    Task old(std::move(*this));
    impl = std::exchange(task.impl, nullptr);
    return *this;
}

void Async::Task::clear() {
    KOLM_ASSERT(impl != nullptr && "Async::Task::clear(): task is null");
    impl->clear();
}

void Async::Task::cancel() {
    KOLM_ASSERT(impl != nullptr && "Async::Task::cancel(): task is null");
    impl->cancel();
}

bool Async::Task::isCanceled() const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::isCanceled(): task is null");
    return impl->isCanceled();
}

uint32_t Async::Task::index() const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::index(): task is null");
    return impl->thread->get_id();
}

uint32_t Async::Task::size() const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::size(): task is null");
    return impl->size();
}

bool Async::Task::run(AsyncFunctionBase *func) {
    KOLM_ASSERT(impl != nullptr && "Async::Task::run(): task is null");
    KOLM_ASSERT(func != nullptr && "Async::Task::run(): function is null");
    return impl->run(func);
}

bool Async::Task::check(uint32_t num) const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::check(): task is null");
    return impl->check(num);
}

bool Async::Task::wait(uint32_t num) const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::wait(): task is null");
    return impl->wait(num);
}

const void *Async::Task::get(uint32_t num) const {
    KOLM_ASSERT(impl != nullptr && "Async::Task::get(): task is null");
    return impl->get(num);
}

void *Async::Task::place(size_t size) { return impl->place(size); }

bool Async::Task::append(AsyncFunctionBase *func) { return impl->append(func, true); }

// Async

Async::Async() {}

Async::~Async() {
    const bool is_shut_down = shutdown();
    KOLM_ASSERT(is_shut_down && "Async::~Async(): is called by its own worker");
}

bool Async::is_worker() const {
    const AsyncThread *thread = AsyncThread::get_context().thread;
    return thread && thread->get_async() == this;
}

bool Async::init(uint32_t num_threads, uint32_t stack_size) {
    if(isInitialized()) {
        Log::print(Log::Error, "Async::init(): is already initialized\n");
        return false;
    }
    if(num_threads == 0) num_threads = getNumCores();
    num_threads = clamp(num_threads, MinThreads, MaxThreads);
    for(uint32_t i = 0; i < num_threads; i++) {
        AsyncThread *thread = new AsyncThread(this, i);
        if(thread == nullptr || !thread->run(stack_size)) {
            Log::printf(Log::Error, "Async::init(): can't run %u/%u thread\n", i, num_threads);
            if(thread) thread->release();
            break;
        }
        threads.append(thread);
    }
    return isInitialized();
}

bool Async::shutdown() {
    if(is_worker()) {
        Log::print(Log::Error, "Async::shutdown(): is called by its own worker\n");
        return false;
    }
    wait();
    clear();
    for(AsyncThread *thread : threads) thread->close();
    // Functions that are still run may look at all workers.
    for(AsyncThread *thread : threads) {
        while(!thread->isStopped()) sched_yield();
    }
    while(threads.size()) {
        threads.back()->release();
        threads.removeBack();
    }
    threads.release();
    return true;
}

bool Async::isInitialized() const { return threads.size() != 0; }

uint32_t Async::getNumCores() {
    uint64_t mask[16] = {};
    uint32_t num = 0;
    if(sched_getaffinity(0, sizeof(mask), reinterpret_cast<cpu_set_t *>(mask)) == 0) {
        for(const uint64_t word : mask) num += uint32_t(__builtin_popcountll(word));
    }
    if(num) return num;
    Log::printe(Log::Error, "Async::getNumCores(): can't get number of cores\n");
    return 1;
}

uint32_t Async::getNumThreads() const { return threads.size(); }

void Async::append(const Task &task) {
    KOLM_ASSERT(task && "Async::append(): task is null");
    AtomicLock atomic(lock);
    tasks.append(task);
}

// Letting a task go may wait for it, and run the destructors of functions: outside of the lock.
void Async::clear() {
    Array<Task> old_tasks;
    AtomicLock atomic(lock);
    old_tasks.swap(tasks);
}

uint32_t Async::getNumTasks(bool running) const {
    AtomicLock atomic(lock);
    if(!running) return tasks.size();
    uint32_t num = 0;
    for(const Task &task : tasks) {
        if(!task.check()) num++;
    }
    return num;
}

Async::Task Async::run(uint32_t index) {
    if(index < threads.size()) return Task(threads[index]->create());
    Log::printf(Log::Error, "Async::run(): invalid thread %u/%u\n", index, threads.size());
    return Task();
}

Async::Task Async::run(uint64_t mask) { return Task(create(mask)); }

Async::Task Async::run(AsyncFunctionBase *func, uint64_t mask) {
    Task task(create(mask));
    if(task)
        task.run(func);
    else
        delete func;
    return task;
}

bool Async::check(const Task *list, uint32_t num_tasks) const {
    for(uint32_t i = 0; i < num_tasks; i++) {
        if(!list[i].check()) return false;
    }
    return true;
}

bool Async::check() const {
    for(AsyncThread *thread : threads) {
        if(!thread->check()) return false;
    }
    return true;
}

bool Async::wait(const Task *list, uint32_t num_tasks) const {
    for(uint32_t i = 0; i < num_tasks; i++) {
        if(!list[i].wait()) return false;
    }
    return true;
}

bool Async::wait() {
    if(is_worker()) {
        Log::print(Log::Error, "Async::wait(): is called by its own worker\n");
        return false;
    }
    bool ret = true;
    Array<TaskImpl *> functions;
    for(AsyncThread *thread : threads) {
        functions.clear();
        thread->get(functions);
        for(TaskImpl *impl : functions) {
            ret = ret && impl->wait(AllFunctions, true);
            if(impl->release()) impl->drop();
        }
    }
    if(ret) clear();
    return ret;
}

Async::TaskImpl *Async::create(uint64_t mask) {
    AsyncThread *thread = nullptr;
    uint32_t load = 0;
    for(uint32_t i = 0; i < threads.size(); i++) {
        if((mask & (uint64_t(1) << (i & 63))) == 0) continue;
        const uint32_t thread_load = threads[i]->get_load();
        if(thread && load <= thread_load) continue;
        thread = threads[i];
        load = thread_load;
    }
    if(thread) return thread->create();
    Log::print(Log::Error, "Async::create(): can't get thread\n");
    return nullptr;
}

} // namespace Kolm
