#include <core/OstrevanThread.h>

#include "KolmThread.h"

namespace Ostrevan {

struct Thread::ThreadImpl : Kolm::Thread {
    explicit ThreadImpl(Ostrevan::Thread *self) : self(self) {}
    void process() override { self->process(); }

    Ostrevan::Thread *self;
};

Thread::Thread() : impl(new ThreadImpl(this)) {}
Thread::~Thread() { delete impl; }
void Thread::process() { impl->Kolm::Thread::process(); }
bool Thread::run(uint32_t stack_size) { return impl->run(stack_size); }
bool Thread::stop(bool wait) { return impl->stop(wait); }
bool Thread::wait() { return impl->wait(); }
bool Thread::signal() { return impl->signal(); }
bool Thread::terminate() { return impl->terminate(); }
bool Thread::isRunning() const { return impl->isRunning(); }
bool Thread::isStopped() const { return impl->isStopped(); }
bool Thread::isWaiting() const { return impl->isWaiting(); }
uint64_t Thread::getID() { return Kolm::Thread::getID(); }

} // namespace Ostrevan
