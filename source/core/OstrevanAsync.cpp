#include "OstrevanAsyncKolm.h"

#include "OstrevanAsyncFunctionKolm.h"

namespace Ostrevan {

// Task

Async::Task::TaskImpl &Async::Task::impl() { return *std::launder(reinterpret_cast<TaskImpl *>(&reserved)); }
const Async::Task::TaskImpl &Async::Task::impl() const { return const_cast<Task *>(this)->impl(); }

Async::Task::Task() {
    static_assert(sizeof(TaskImpl) == sizeof(reserved) && alignof(TaskImpl) <= alignof(void *));
    new(static_cast<void *>(&reserved)) TaskImpl();
}
Async::Task::Task(const Task &task) { new(static_cast<void *>(&reserved)) TaskImpl(task.impl()); }
Async::Task::Task(Task &&task) noexcept { new(static_cast<void *>(&reserved)) TaskImpl(std::move(task.impl())); }
Async::Task::~Task() { impl().~TaskImpl(); }
Async::Task &Async::Task::operator=(const Task &task) {
    impl() = task.impl();
    return *this;
}
Async::Task &Async::Task::operator=(Task &&task) noexcept {
    impl() = std::move(task.impl());
    return *this;
}

bool Async::Task::empty() const { return impl().empty(); }
void Async::Task::clear() { impl().clear(); }
void Async::Task::cancel() { impl().cancel(); }
bool Async::Task::isCanceled() const { return impl().isCanceled(); }
uint32_t Async::Task::index() const { return impl().index(); }
uint32_t Async::Task::size() const { return impl().size(); }
bool Async::Task::run(AsyncFunctionBase *func) { return impl().run(new OstrevanAsyncFunction(func)); }
bool Async::Task::check(uint32_t num) const { return impl().check(num); }
bool Async::Task::wait(uint32_t num) const { return impl().wait(num); }
const void *Async::Task::get(uint32_t num) const { return impl().get(num); }

// Async

OSTREVAN_HANDLE_SOURCE(Async, Noncopyable)

Async::Async() : Async(VoidImpl()) {}

bool Async::init(uint32_t num_threads, uint32_t stack_size) { return impl().ref().init(num_threads, stack_size); }
bool Async::shutdown() { return impl().ref().shutdown(); }
bool Async::isInitialized() const { return impl().isValid() && impl().ref().isInitialized(); }
uint32_t Async::getNumCores() { return Kolm::Async::getNumCores(); }
uint32_t Async::getNumThreads() const { return impl().ref().getNumThreads(); }

void Async::append(const Task &task) { impl().ref().append(task.impl()); }
void Async::clear() { impl().ref().clear(); }
uint32_t Async::getNumTasks(bool running) const { return impl().ref().getNumTasks(running); }

Async::Task Async::run(uint32_t index) {
    Task task;
    static_cast<Kolm::Async::Task &>(task.impl()) = impl().ref().run(index);
    return task;
}
Async::Task Async::run(uint64_t mask) {
    Task task;
    static_cast<Kolm::Async::Task &>(task.impl()) = impl().ref().run(mask);
    return task;
}
Async::Task Async::run(AsyncFunctionBase *func, uint64_t mask) {
    Task task;
    static_cast<Kolm::Async::Task &>(task.impl()) = impl().ref().run(new OstrevanAsyncFunction(func), mask);
    return task;
}

// Arrays of handles of both layers hold the same pointers.
bool Async::check(const Task *tasks, uint32_t num_tasks) const {
    return impl().ref().check(reinterpret_cast<const Kolm::Async::Task *>(tasks), num_tasks);
}
bool Async::check() const { return impl().ref().check(); }
bool Async::wait(const Task *tasks, uint32_t num_tasks) const {
    return impl().ref().wait(reinterpret_cast<const Kolm::Async::Task *>(tasks), num_tasks);
}
bool Async::wait() { return impl().ref().wait(); }

} // namespace Ostrevan
