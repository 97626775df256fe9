#include "KolmAsyncTask.h"

#include <cxxabi.h>
#include <exception>
#include <sched.h>

#include "KolmAsyncThread.h"
#include "KolmLog.h"
#include "KolmString.h"

namespace Kolm {

namespace {

// Looks at a completed number this often before it sleeps: a function that takes a few microseconds costs no switch.
constexpr uint32_t NumWaitSpins = 100;
// Functions that run inside one another, before they are queued all the same.
constexpr uint32_t MaxDepth = 16;

// A function that throws counts as completed: its task goes on, and nobody waits for ever.
void run_function(AsyncFunctionBase *func) {
    try {
        func->run();
    } catch(const abi::__forced_unwind &) {
        throw; // the thread is being cancelled
    } catch(const String &text) {
        Log::printf(Log::Error, "AsyncThread::process(): function throws \"%s\"\n", text.get());
    } catch(const std::exception &error) {
        Log::printf(Log::Error, "AsyncThread::process(): function throws \"%s\"\n", error.what());
    } catch(...) {
        Log::print(Log::Error, "AsyncThread::process(): function throws\n");
    }
}

} // namespace

// handles

bool AsyncTaskImpl::retain_alive() {
    int32_t num;
    do {
        num = counter;
        if(num < 1) return false;
    } while(!counter.cas(num, num + 1));
    return true;
}

void AsyncTaskImpl::drop() {
    if(is_own()) {
        clear(); // when the function has returned
        is_dropped = true;
        return;
    }
    if(chunks == nullptr && size() <= NumSlots && uint32_t(offset.load()) == size()) {
        // The usual end. Nobody else has the task any more, but for the worker on its way out.
        lock_process();
        for(uint32_t i = 0; i < size(); i++) destroy(functions[i]);
        functions.clear();
        offset.store_relaxed(0);
        is_canceled.store_relaxed(0);
        place_ptr = first_place;
        place_end = first_place + PlaceSize;
    } else {
        clear();
    }
    thread->destroy(this);
}

bool AsyncTaskImpl::is_own() const { return runner.load_relaxed() == &AsyncThread::get_context(); }

// The holder of the lock may run for long.
void AsyncTaskImpl::lock_process() {
    for(uint32_t i = 0; !process.check(); i++) {
        if(i < 64)
            cpu_pause();
        else
            sched_yield();
    }
}

// memory of functions

void *AsyncTaskImpl::place(size_t size) {
    size = align_up(size, size_t(16));
    lock.lock();
    if(KOLM_UNLIKELY(size > size_t(place_end - place_ptr))) {
        const size_t last = chunks ? chunks->size * 2 : MinChunk;
        const size_t bytes = max(min(last, MaxChunk), size + sizeof(Chunk));
        Chunk *chunk = static_cast<Chunk *>(Allocator::allocate(bytes));
        KOLM_ASSERT(chunk && "Async::Task::run(): can't allocate function");
        *chunk = {chunks, bytes};
        chunks = chunk;
        place_ptr = reinterpret_cast<uint8_t *>(chunk + 1);
        place_end = reinterpret_cast<uint8_t *>(chunk) + bytes;
    }
    void *ptr = place_ptr;
    place_ptr += size;
    return ptr;
}

void AsyncTaskImpl::reset_place() {
    functions.init(slots, NumSlots);
    place_ptr = first_place;
    place_end = first_place + PlaceSize;
}

void AsyncTaskImpl::release_chunks(Chunk *chunk) {
    while(chunk) {
        Chunk *next = chunk->next;
        Allocator::free(chunk, chunk->size);
        chunk = next;
    }
}

void AsyncTaskImpl::destroy(AsyncFunctionBase *func) {
    if(func->is_placed)
        func->~AsyncFunctionBase();
    else
        delete func;
}

// functions

bool AsyncTaskImpl::run(AsyncFunctionBase *func) {
    lock.lock();
    return append(func, false);
}

bool AsyncTaskImpl::append(AsyncFunctionBase *func, bool is_placed) {
    func->is_placed = is_placed;
    functions.append(func);
    AsyncContext &context = AsyncThread::get_context();
    if(context.thread && context.thread->get_async() == thread->get_async() && context.depth < MaxDepth &&
       uint32_t(offset.load()) + 1 == functions.size() && !isCanceled() && process.check()) {
        lock.unlock();
        run_functions(1, context);
        leave();
        return true;
    }
    const AsyncThread::State state = thread->append(this);
    if(state == AsyncThread::StateClosed) functions.remove(functions.size() - 1);
    lock.unlock();
    if(state == AsyncThread::StateAsleep) thread->signal();
    if(state != AsyncThread::StateClosed) return true;
    destroy(func);
    Log::print(Log::Error, "Async::TaskImpl::run(): is shut down\n");
    return false;
}

void AsyncTaskImpl::run_functions(uint32_t num, AsyncContext &context) {
    KOLM_ASSERT(num <= MaxBatch && "Async::TaskImpl::run_functions(): invalid number of functions");
    runner = &context;
    context.depth++;
    AsyncFunctionBase *batch[MaxBatch];
    if(!isCanceled()) {
        AtomicLock atomic(lock);
        for(uint32_t i = 0; i < num; i++) batch[i] = functions[uint32_t(offset.load_relaxed()) + i];
    }
    for(uint32_t i = 0; i < num && !isCanceled() && !is_clearing.load(); i++) {
        run_function(batch[i]);
        if(context.depth == 1) thread->set_left(num - i - 1);
        const int32_t completed = ++offset;
        if(completed >= target.load()) thread->async_signal(this);
    }
    context.depth--;
    runner = nullptr;
}

void AsyncTaskImpl::leave() {
    const bool last = is_dropped;
    if(num_cleared) remove_functions(num_cleared);
    if(last)
        thread->destroy(this);
    else
        process.unlock();
}

void AsyncTaskImpl::clear() {
    is_clearing = 1;
    if(is_own()) {
        thread->remove(this);
        num_cleared = size();
        return;
    }
    if(uint32_t(offset.load()) != size()) thread->remove(this);
    lock_process();
    remove_functions(Async::AllFunctions);
    process.unlock();
}

// Destroys the first functions. Their destructors may use the pool, so that no lock but `process` is held meanwhile.
void AsyncTaskImpl::remove_functions(uint32_t num) {
    ArrayStack<AsyncFunctionBase *, 16> removed;
    lock.lock();
    num = min(num, size());
    removed.append(functions.get(), num);
    if(num) functions.remove(0, num);
    offset = 0;
    is_canceled = 0;
    is_clearing = 0;
    num_cleared = 0;
    is_dropped = false;
    Chunk *old_chunks = nullptr;
    const bool is_empty = functions.empty();
    if(is_empty) {
        functions.release();
        old_chunks = std::exchange(chunks, nullptr);
        place_ptr = place_end = nullptr; // what is added meanwhile lies elsewhere
    }
    lock.unlock();
    for(AsyncFunctionBase *func : removed) destroy(func);
    release_chunks(old_chunks);
    lock.lock();
    if(is_empty && functions.empty() && chunks == nullptr) reset_place();
    lock.unlock();
    if(target.load() != INT32_MAX) thread->async_signal(this); // nobody can wait for these any more
}

void AsyncTaskImpl::cancel() {
    is_canceled = 1;
    thread->async_signal(this); // the pool itself doesn't wait for the task any more
}

AsyncTaskImpl::State AsyncTaskImpl::get_state(uint32_t num, bool is_pool) const {
    if(num <= uint32_t(offset.load()) || (is_pool && isCanceled())) return State::Done;
    return (num <= size()) ? State::Pending : State::Invalid;
}

bool AsyncTaskImpl::wait(uint32_t num, bool is_pool) {
    num = resolve(num);
    State state = get_state(num, is_pool);
    if(state == State::Pending && is_own()) {
        Log::print(Log::Error, "Async::TaskImpl::wait(): can't wait for itself\n");
        return false;
    }
    AsyncContext &context = AsyncThread::get_context();
    if(context.thread && context.thread->get_async() == thread->get_async()) {
        // A worker may be the one that has to do what it waits for.
        while(state == State::Pending) {
            const AsyncThread::Take take = thread->take(this);
            if(take == AsyncThread::TakeEmpty) break;
            if(take == AsyncThread::TakeDone) {
                run_functions(1, context);
                leave();
            } else {
                sched_yield();
            }
            state = get_state(num, is_pool);
        }
    }
    for(uint32_t i = 0; i < NumWaitSpins && state == State::Pending; i++) {
        cpu_pause();
        state = get_state(num, is_pool);
    }
    if(state == State::Pending) state = thread->async_wait(this, num, is_pool);
    if(state == State::Invalid)
        Log::printf(Log::Error, "Async::TaskImpl::wait(): invalid number of functions %u/%u\n", num, size());
    if(state == State::Closed) Log::print(Log::Error, "Async::TaskImpl::wait(): is shut down\n");
    return (state == State::Done);
}

const void *AsyncTaskImpl::get(uint32_t num) {
    KOLM_ASSERT(num < uint32_t(offset.load()) && "Async::TaskImpl::get(): function is not ready");
    AtomicLock atomic(lock);
    return functions[num]->get();
}

} // namespace Kolm
