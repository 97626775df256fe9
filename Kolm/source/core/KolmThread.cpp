#include "KolmThread.h"

#include <errno.h>
#include <limits.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "KolmLog.h"

namespace Kolm {

Thread::Thread() {
    pthread_mutex_init(&mutex, nullptr);
    pthread_cond_init(&event, nullptr);
}

Thread::~Thread() {
    signal();
    if(!isStopped()) terminate();
    while(is_entered.load()) sched_yield();
    pthread_cond_destroy(&event);
    pthread_mutex_destroy(&mutex);
}

void Thread::process() { Log::print(Log::Error, "Thread::process(): is called\n"); }

bool Thread::run(uint32_t stack_size) {
    if(isRunning() || !isStopped()) {
        Log::print(Log::Error, "Thread::run(): is already running\n");
        return false;
    }
    while(is_entered.load()) sched_yield(); // the last step of the thread before
    is_running = 1;
    is_stopped = 0;
    is_waiting = 0;
    is_entered = 1;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if(stack_size) {
        // In whole pages, as some systems refuse anything else.
        const size_t size = max(size_t(stack_size), max(size_t(MinStackSize), size_t(PTHREAD_STACK_MIN)));
        pthread_attr_setstacksize(&attributes, align_up(size, size_t(65536)));
    }
    const int error = pthread_create(&thread, &attributes, entry, this);
    pthread_attr_destroy(&attributes);
    if(error) {
        is_running = 0;
        is_stopped = 1;
        is_entered = 0;
        errno = error;
        Log::printe(Log::Error, "Thread::run(): can't create thread\n");
        return false;
    }
    return true;
}

// Detached: nobody else can wait for the thread, so its last step says that it is gone. A cancelled thread takes that
// step while its stack unwinds.
void *Thread::entry(void *data) {
    struct Leave {
        Thread *self;
        ~Leave() {
            self->is_running = 0;
            self->is_waiting = 0;
            self->is_stopped = 1;
            self->is_entered = 0;
        }
    };
    Leave leave{static_cast<Thread *>(data)};
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    leave.self->run_process();
    return nullptr;
}

// Only frames without destructors may be unwound from anywhere, so that this one has none, and the body's own frames
// are its own affair.
void Thread::run_process() {
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    process();
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, nullptr);
}

bool Thread::stop(bool wait) {
    if(!isRunning()) return false;
    is_running = 0;
    pthread_mutex_lock(&mutex);
    is_waiting = 0;
    pthread_cond_signal(&event);
    pthread_mutex_unlock(&mutex);
    if(wait && !pthread_equal(thread, pthread_self())) {
        while(!isStopped()) sched_yield();
    }
    return true;
}

bool Thread::wait() {
    prepare_wait();
    return wait_prepared();
}

bool Thread::wait_prepared() {
    int type = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
    const bool ret = sleep_prepared();
    pthread_setcanceltype(type, nullptr);
    return ret;
}

bool Thread::sleep_prepared() {
    // A cancelled sleeper gets the mutex back, and has to leave it free.
    struct Unlock {
        pthread_mutex_t *mutex;
        ~Unlock() { pthread_mutex_unlock(mutex); }
    };
    int error = pthread_mutex_lock(&mutex);
    if(error == 0) {
        Unlock unlock{&mutex};
        while(isWaiting() && isRunning() && error == 0) error = pthread_cond_wait(&event, &mutex);
    }
    is_waiting = 0;
    if(error) {
        errno = error;
        Log::printe(Log::Error, "Thread::wait(): can't wait signal\n");
    }
    return error == 0;
}

bool Thread::signal() {
    if(!isRunning()) return false;
    int error = pthread_mutex_lock(&mutex);
    if(error == 0) {
        is_waiting = 0;
        error = pthread_cond_signal(&event);
        pthread_mutex_unlock(&mutex);
    }
    if(error) {
        errno = error;
        Log::printe(Log::Error, "Thread::signal(): can't send a signal\n");
    }
    return error == 0;
}

bool Thread::terminate() {
    if(isStopped()) return false;
    if(const int error = pthread_cancel(thread)) {
        errno = error;
        Log::printe(Log::Error, "Thread::terminate(): can't terminate thread\n");
        return false;
    }
    is_running = 0;
    is_stopped = 1;
    return true;
}

uint64_t Thread::getID() { return uint64_t(syscall(SYS_gettid)); }

} // namespace Kolm
