#include "KolmAsyncThread.h"

#include <errno.h>
#include <sched.h>

#include "KolmLog.h"

namespace Kolm {

namespace {

// A worker without work looks for some this often before it sleeps, and lets others run in between.
constexpr uint32_t NumIdleSpins = 100;
constexpr uint32_t NumIdleYields = 8;

} // namespace

AsyncThread::AsyncThread(const Async *async, uint32_t id) : async(async), id(id) {
    pthread_mutex_init(&mutex, nullptr);
    pthread_cond_init(&event, nullptr);
}

AsyncThread::~AsyncThread() {
    remove_slabs();
    pthread_cond_destroy(&event);
    pthread_mutex_destroy(&mutex);
}

AsyncContext &AsyncThread::get_context() {
    static thread_local AsyncContext context __attribute__((tls_model("initial-exec"))) = {};
    return context;
}

bool AsyncThread::check() {
    AtomicLock atomic(lock);
    // Not `current`: the worker may still hold a task whose functions are completed, which waiters were told already.
    if(num_left.load_relaxed()) return false;
    for(uint32_t i = begin; i < functions.size(); i++) {
        if(!functions[i].task->isCanceled()) return false;
    }
    return true;
}

void AsyncThread::get(Array<AsyncTaskImpl *> &tasks) {
    AtomicLock task_atomic(task_lock); // no state is given back meanwhile
    AtomicLock atomic(lock);
    const auto append = [&](AsyncTaskImpl *task) {
        if(task && (tasks.empty() || tasks.back() != task) && task->retain_alive()) tasks.append(task);
    };
    append(current.get());
    for(uint32_t i = begin; i < functions.size(); i++) append(functions[i].task);
}

// states of tasks

AsyncTaskImpl *AsyncThread::create() {
    AtomicLock atomic(task_lock);
    if(unused == nullptr && !append_slab()) return nullptr;
    AsyncTaskImpl *task = unused;
    unused = task->next;
    num_tasks++;
    return task;
}

void AsyncThread::destroy(AsyncTaskImpl *task) {
    task_lock.lock();
    // Whoever looked at the task through `current` or the queue did so under this lock.
    task->counter.store_relaxed(0);
    task->target.store_relaxed(INT32_MAX);
    task->process.clear();
    task->next = unused;
    unused = task;
    num_tasks--;
    if(num_tasks == 0 && slabs->next) remove_slabs();
    const bool last = (is_released && num_tasks == 0);
    task_lock.unlock();
    if(last) delete this;
}

void AsyncThread::release() {
    task_lock.lock();
    is_released = true;
    const bool last = (num_tasks == 0);
    task_lock.unlock();
    if(last) delete this;
}

bool AsyncThread::append_slab() {
    Slab *slab = static_cast<Slab *>(Allocator::allocate(sizeof(Slab)));
    if(slab == nullptr) return false;
    slab->next = slabs;
    slabs = slab;
    for(uint32_t i = Slab::NumTasks; i-- > 0;) {
        AsyncTaskImpl *task = new(slab->get(i)) AsyncTaskImpl(this);
        task->next = unused;
        unused = task;
    }
    return true;
}

void AsyncThread::remove_slabs() {
    while(slabs) {
        Slab *slab = slabs;
        slabs = slab->next;
        for(uint32_t i = 0; i < Slab::NumTasks; i++) slab->get(i)->~AsyncTaskImpl();
        Allocator::free(slab, sizeof(Slab));
    }
    unused = nullptr;
}

// queue

AsyncThread::State AsyncThread::append(AsyncTaskImpl *task) {
    AtomicLock atomic(lock);
    if(is_closed) return StateClosed;
    const uint32_t size = functions.size();
    if(size > begin && functions[size - 1].task == task && functions[size - 1].num < INT32_MAX)
        functions[size - 1].num++;
    else
        functions.append({task, 1});
    num_queued.store_relaxed(num_queued.load_relaxed() + 1);
    return isWaiting() ? StateAsleep : StateAwake;
}

void AsyncThread::remove_functions(uint32_t index, uint32_t num) {
    functions[index].num -= num;
    num_queued.store_relaxed(num_queued.load_relaxed() - int32_t(num));
    if(functions[index].num) return;
    if(index != begin) return functions.remove(index);
    begin++;
    if(begin == functions.size()) {
        functions.clear();
        begin = 0;
    } else if(begin >= Capacity) {
        functions.remove(0, begin);
        begin = 0;
    }
}

void AsyncThread::remove(AsyncTaskImpl *task) {
    AtomicLock atomic(lock);
    const uint32_t first = begin; // removing the first entry moves it
    for(uint32_t i = functions.size(); i-- > first;) {
        if(functions[i].task == task) remove_functions(i, functions[i].num);
    }
}

AsyncThread::Take AsyncThread::take(AsyncTaskImpl *task) {
    AtomicLock atomic(lock);
    for(uint32_t i = begin; i < functions.size(); i++) {
        if(functions[i].task != task) continue;
        if(!task->process.check()) return TakeBusy;
        remove_functions(i, 1);
        return TakeDone;
    }
    return TakeEmpty;
}

AsyncThread::Take AsyncThread::take_next(AsyncTaskImpl *&task, uint32_t &num) {
    AtomicLock atomic(lock);
    if(begin == functions.size()) return TakeEmpty;
    const Entry &entry = functions[begin];
    if(!entry.task->process.check()) return TakeBusy; // another worker runs one of its functions
    task = entry.task;
    num = min(entry.num, AsyncTaskImpl::MaxBatch);
    remove_functions(begin, num);
    if(begin < functions.size()) __builtin_prefetch(functions[begin].task, 1);
    current = task;
    set_left(num);
    return TakeDone;
}

void AsyncThread::close() {
    lock.lock();
    is_closed = 1;
    lock.unlock();
    stop(false);
}

// the worker

void AsyncThread::process() {
    AsyncContext &context = get_context();
    context.thread = this;
    while(true) {
        AsyncTaskImpl *task = nullptr;
        uint32_t num = 0;
        const Take state = take_next(task, num);
        if(state == TakeDone) {
            task->run_functions(num, context);
            current = nullptr;
            set_left(0);
            task->leave();
        } else if(state == TakeBusy) {
            sched_yield();
        } else if(!sleep()) {
            break;
        }
    }
    context.thread = nullptr;
    is_finished = 1;
    async_signal(nullptr);
}

bool AsyncThread::sleep() {
    for(uint32_t i = 0; i < NumIdleSpins + NumIdleYields; i++) {
        if(num_queued.load_relaxed()) return true;
        if(!isRunning()) break;
        if(i < NumIdleSpins)
            cpu_pause();
        else
            sched_yield();
    }
    // Whoever appends under the lock afterwards sees that the worker sleeps.
    lock.lock();
    const bool is_empty = (begin == functions.size());
    const bool is_running = isRunning();
    if(is_empty && is_running) prepare_wait();
    lock.unlock();
    if(is_empty && is_running) wait_prepared();
    return !is_empty || is_running;
}

// waiters

void AsyncThread::async_signal(const AsyncTaskImpl *task) {
    int error = pthread_mutex_lock(&mutex);
    if(error == 0) {
        if(task) task->target = INT32_MAX; // those who still wait set it again
        error = pthread_cond_broadcast(&event);
        pthread_mutex_unlock(&mutex);
    }
    if(error) {
        errno = error;
        Log::printe(Log::Error, "AsyncThread::async_signal(): can't send a signal\n");
    }
}

// The target is set before the offset is read, and the worker adds to the offset before it reads the target: one of
// the two sees the other.
AsyncTaskImpl::State AsyncThread::async_wait(const AsyncTaskImpl *task, uint32_t num, bool is_pool) {
    using State = AsyncTaskImpl::State;
    State state = State::Failed;
    int error = pthread_mutex_lock(&mutex);
    if(error == 0) {
        while(error == 0) {
            task->target = min(int32_t(task->target), int32_t(num));
            state = task->get_state(num, is_pool);
            if(state == State::Pending && is_finished) state = State::Closed;
            if(state != State::Pending) break;
            error = pthread_cond_wait(&event, &mutex);
        }
        pthread_mutex_unlock(&mutex);
    }
    if(error == 0) return state;
    errno = error;
    Log::printe(Log::Error, "Async::TaskImpl::wait(): can't wait signal\n");
    return State::Failed;
}

} // namespace Kolm
