// All logic of the public handles, in one template.
//
// A public class X keeps a record X::XImpl in its reserved words. The record of a class without special needs is
//
//     struct Blob::BlobImpl : HandleImpl<Blob, Kolm::Blob, Stream> {};
//
// in the bridge header of the class, and OSTREVAN_HANDLE_SOURCE in its source file defines the shared members.
//
// A handle of a derived class has one record per class of its chain, all on one core object and one counter word:
//
//     Blob:  | vptr | StreamImpl ptr counter flags offset type | BlobImpl ptr counter flags offset type |
//                             \____ Kolm::Stream* ____________________________\____ Kolm::Blob* , same object
//
// The most derived record leads. Whatever it receives, the records below follow; whatever must be done to the whole
// handle (making the object, letting go of it) is asked for through `type`, which knows the most derived class.
//
// The counter word: 28 bits count the records that share it, then
//     owner      the object is deleted when the count reaches zero
//     alloc      the object exists, but was not used yet: handles read as false
//     destroyed  the object was deleted through another handle

#pragma once

#include <base/OstrevanHandle.h>

#include "KolmAllocator.h"
#include "KolmAtomic.h"
#include "KolmLog.h"

namespace Ostrevan {

/// Operations on a whole handle, for the class that the handle was constructed as.
struct HandleClass {
    bool (*create)(void *handle);
    void (*destroy)(void *handle);
    void (*reset)(void *handle, uint16_t flags);
};

/// Print the expression that a misused handle fails, and end the process.
[[noreturn]] void handleAssertion(const char *condition, const char *name, const char *text, int32_t line);
[[noreturn]] void handleCloneAssertion(const char *name, int32_t line);

/// Tells a leak checker that a counter word was left behind on purpose.
void handleAbandon(const void *counter);

#define OSTREVAN_HANDLE_ASSERT(EXPR, TEXT) \
    (KOLM_LIKELY(EXPR) ? void(0) : handleAssertion(#EXPR, Self::getClassNamePtr(), TEXT, __LINE__))

/// Record of a public class.
template<class Public> using HandleRecord = std::remove_reference_t<decltype(std::declval<Public &>().impl())>;

/// The shared word is an object of its own on the heap.
struct HandleCounter : Kolm::Atomici32, Kolm::Allocated {
    explicit HandleCounter(int32_t word) : Kolm::Atomici32(word) {}
};

/// \p Self is the public class, \p Core the class that does the work, \p Base the public base class of \p Self.
/// A record may hide constructor() where `new Core` is not how its object is made.
template<class Self, class Core, class Base = void> struct HandleImpl {
    enum Word : int32_t {
        CountMask = 0x0FFFFFFF,
        OwnerBit = 0x10000000,
        AllocBit = 0x20000000,
        DestroyedBit = 0x40000000,
        InvalidMask = AllocBit | DestroyedBit,
    };
    enum Flags : uint16_t {
        ConstFlag = 1,  // made from a const core pointer
        CreateFlag = 2, // may make its object on first use
    };

    Core *ptr = nullptr;
    HandleCounter *counter = nullptr;
    uint16_t flags = CreateFlag;
    uint16_t offset = 0;               // of this record from the start of the handle
    const HandleClass *type = nullptr; // of the most derived class

    HandleImpl() = default;
    HandleImpl(const HandleImpl &) = delete;
    HandleImpl &operator=(const HandleImpl &) = delete;
    ~HandleImpl() { release(); }

    // place in the handle

    /// Called by the constructor of each class of a chain; the last call is that of the most derived class.
    void setSelf(Self *self) {
        offset = static_cast<uint16_t>(reinterpret_cast<char *>(this) - reinterpret_cast<char *>(self));
        set_type(&self_type);
    }
    Self *getSelf() const {
        return reinterpret_cast<Self *>(const_cast<char *>(reinterpret_cast<const char *>(this)) - offset);
    }

    // state

    bool isValid() const { return ptr && counter && (counter->load_relaxed() & InvalidMask) == 0; }
    bool isConst() const { return (flags & ConstFlag) != 0; }
    bool isCreate() const { return (flags & CreateFlag) != 0; }
    bool isAlloc() const { return ptr && counter && (*counter & AllocBit) != 0; }
    bool isOwner() const { return counter && (*counter & (OwnerBit | DestroyedBit)) == OwnerBit; }
    uint32_t getCount() const { return isValid() ? uint32_t(counter->load_relaxed() & CountMask) : 0; }
    const void *getInternal() const { return isValid() ? ptr : nullptr; }
    uintptr_t getAddress() const { return reinterpret_cast<uintptr_t>(ptr); }

    // the core object, made on demand

    Core &ref() {
        OSTREVAN_HANDLE_ASSERT(!isConst(), "ref(): constant pointer");
        return KOLM_LIKELY(isValid()) ? *ptr : *make(true);
    }
    const Core &ref() const { return KOLM_LIKELY(isValid()) ? *ptr : *make(true); }
    Core *get() {
        OSTREVAN_HANDLE_ASSERT(!isConst(), "get(): constant pointer");
        return KOLM_LIKELY(isValid()) ? ptr : make(false);
    }
    const Core *get() const { return KOLM_LIKELY(isValid()) ? ptr : make(false); }

    /// The same, and with \p unacquire the object passes to the core layer, which deletes it from then on.
    Core &ref(bool unacquire) {
        Core &core = ref();
        if(unacquire) this->unacquire();
        return core;
    }
    Core *get(bool unacquire) {
        Core *core = get();
        if(unacquire) this->unacquire();
        return core;
    }

    // making

    static Core *constructor() {
        if constexpr(std::is_default_constructible_v<Core>) return new Core();
        return nullptr;
    }

    /// Makes the object of an empty handle, or turns an allocated object into a used one, for all who share it.
    bool create() { return type->create(getSelf()); }

    /// Makes the object of an empty handle without using it yet: copies made from now on share it.
    void alloc() {
        OSTREVAN_HANDLE_ASSERT(!ptr, "alloc(): is already created");
        OSTREVAN_HANDLE_ASSERT(isCreate(), "alloc(): can't be created");
        ptr = HandleRecord<Self>::constructor();
        OSTREVAN_HANDLE_ASSERT(ptr, "alloc(): can't create");
        counter = new HandleCounter(OwnerBit | AllocBit | 1);
        flags = CreateFlag;
        synchronize();
    }

    /// Becomes the owner of a new object, with a new word. An old word is left to those who share it: this record
    /// stays counted on it, so that the word itself is never freed. Kept.
    void init(Core *core) {
        if(counter) handleAbandon(counter);
        ptr = core;
        counter = new HandleCounter(OwnerBit | 1);
        flags = 0;
        synchronize();
    }

    // letting go; both reach every record of the handle

    void clear() { type->reset(getSelf(), CreateFlag); }
    void destroy() { type->destroy(getSelf()); }

    void acquire() {
        if(ptr && counter) *counter |= OwnerBit;
    }
    void unacquire() {
        if(ptr && counter) *counter &= ~OwnerBit;
    }

    /// Adds this record to the word.
    void retain(uint16_t new_flags) {
        if(ptr == nullptr) return;
        if(counter)
            ++*counter;
        else
            counter = new HandleCounter(1);
        flags = new_flags;
        synchronize();
    }

    /// Takes this record off the word. The fields stay unless it was the last record: the caller overwrites them.
    void release() {
        if(counter == nullptr || (counter->load_relaxed() & CountMask) == 0) return;
        const int32_t word = --*counter;
        if(word & CountMask) return;
        if((word & (OwnerBit | DestroyedBit)) == OwnerBit) delete ptr;
        delete counter;
        ptr = nullptr;
        counter = nullptr;
        flags = 0;
    }

    // taking an object from the core layer: a fresh word, without ownership unless told otherwise

    void set(Core *core) { wrap(core, 0, 1); }
    void set(const Core *core) { wrap(const_cast<Core *>(core), ConstFlag, 1); }
    void set(Core *core, bool owner) { wrap(core, 0, owner ? (OwnerBit | 1) : 1); }

    // taking the object of another handle

    template<class Impl>
    requires requires { Impl::InvalidMask; }
    void set(const Impl *impl) { take(impl, 0); }
    template<class Impl>
    requires requires { Impl::InvalidMask; }
    void set(Impl *impl) {
        OSTREVAN_HANDLE_ASSERT(!impl->isConst(), "set(): constant pointer");
        take(impl, 0);
    }

    /// Takes this level's place of \p impl on the word; what remains of \p impl lets go. It can't create any more.
    void move(HandleImpl *impl) {
        if(this == impl) return;
        if(is_same(impl->ptr)) {
            flags &= impl->flags;
            synchronize();
            return;
        }
        release();
        ptr = std::exchange(impl->ptr, nullptr);
        counter = std::exchange(impl->counter, nullptr);
        flags = std::exchange(impl->flags, uint16_t(0));
        synchronize();
        impl->type->reset(impl->getSelf(), 0);
    }

    /// For constructors that narrow a base class: takes the object of \p impl if \p is_type accepts it. An empty
    /// \p impl leaves this handle empty, an object of another type does so with the line \p error.
    template<class Impl, class Test> void narrow(const Impl &impl, Test is_type, const char *error) {
        if(!impl.isValid()) return;
        if(!is_type(*impl.ptr)) return Kolm::Log::print(Kolm::Log::Error, error);
        Core *core = static_cast<Core *>(impl.ptr);
        return impl.isConst() ? set(static_cast<const Core *>(core)) : set(core);
    }

    // handles for what the core layer returns

    /// View of an object that someone else owns. Null gives an empty handle.
    static Self TS(Core *core) { return wrap_core(core); }
    static Self TS(const Core *core) { return wrap_core(core); }
    /// Handle that owns the object from now on.
    static Self TS(Core *core, bool owner) {
        Self self{VoidImpl()};
        self.impl().set(core, owner);
        return self;
    }
    /// Handle of a new object that takes the contents of \p core over.
    static Self TS(const Core &core) {
        if constexpr(std::is_constructible_v<Core, const Core &, bool>)
            return TS(new Core(core, true), true);
        else
            return TS(new Core(std::move(const_cast<Core &>(core))), true);
    }

    /// Handle of a copy. The copy is made first, so that TS takes the contents of nothing else over.
    Self clone() const {
        Core copy(ref());
        return TS(static_cast<const Core &>(copy));
    }

private:
    template<class, class, class> friend struct HandleImpl;

    // The record below, in the same handle.
    auto &base_record() const { return static_cast<Base *>(getSelf())->impl(); }

    void set_type(const HandleClass *self_type) {
        type = self_type;
        if constexpr(!std::is_void_v<Base>) base_record().set_type(self_type);
    }

    // Lets the records below follow this one.
    void synchronize() {
        if constexpr(!std::is_void_v<Base>) base_record().take(this, flags);
    }

    // Equal addresses mean one object only while this record's object lives: a new object may have got the address
    // of one that was destroyed through another handle.
    bool is_same(const Core *core) const {
        return ptr == core && (counter == nullptr || (counter->load_relaxed() & DestroyedBit) == 0);
    }

    // A record that already has the object can only lose rights. An empty source gives \p empty_flags.
    template<class Impl> void take(const Impl *impl, uint16_t empty_flags) {
        if(static_cast<const void *>(this) == impl) return;
        if(is_same(impl->ptr)) {
            flags &= impl->flags;
            synchronize();
            return;
        }
        release();
        ptr = impl->ptr;
        counter = impl->counter;
        if(ptr == nullptr) {
            flags = empty_flags;
            synchronize();
        }
        retain(impl->flags);
    }

    void wrap(Core *core, uint16_t new_flags, int32_t word) {
        if(core && is_same(core)) {
            flags &= new_flags;
            if(word & OwnerBit) acquire();
            synchronize();
            return;
        }
        release();
        ptr = core;
        counter = core ? new HandleCounter(word) : nullptr;
        flags = core ? new_flags : uint16_t(CreateFlag);
        synchronize();
    }
    template<class Type> static Self wrap_core(Type *core) {
        Self self{VoidImpl()};
        self.impl().set(core);
        return self;
    }

    __attribute__((noinline)) Core *make(bool required) const {
        if(isCreate() && const_cast<HandleImpl *>(this)->create()) return ptr;
        if(required) handleAssertion("0", Self::getClassNamePtr(), "ref(): is not constructed", __LINE__);
        return nullptr;
    }

    // The operations of HandleClass, which run on the most derived record.

    static HandleImpl &get_impl(void *handle) { return static_cast<Self *>(handle)->impl(); }

    static bool create_handle(void *handle) {
        HandleImpl &impl = get_impl(handle);
        impl.assert_create();
        if(handle == &Self::null) return false; // one handle for all: it stays empty
        if(impl.ptr && impl.counter && (*impl.counter & InvalidMask) == AllocBit) {
            *impl.counter &= ~AllocBit;
            impl.synchronize();
            return true;
        }
        Core *core = HandleRecord<Self>::constructor();
        if(core == nullptr) return false;
        impl.init(core);
        return true;
    }

    // The object goes while this handle still counts, so that no other thread frees the word meanwhile.
    static void destroy_handle(void *handle) {
        HandleImpl &impl = get_impl(handle);
        if(impl.ptr && impl.counter) {
            int32_t word;
            do word = *impl.counter;
            while(!impl.counter->cas(word, word | DestroyedBit));
            if((word & (OwnerBit | DestroyedBit)) == OwnerBit) delete impl.ptr;
        }
        impl.reset(CreateFlag);
    }

    static void reset_handle(void *handle, uint16_t flags) { get_impl(handle).reset(flags); }

    void reset(uint16_t new_flags) {
        release();
        ptr = nullptr;
        counter = nullptr;
        flags = new_flags;
        if constexpr(!std::is_void_v<Base>) base_record().reset(new_flags);
    }

    void assert_create() const { OSTREVAN_HANDLE_ASSERT(isCreate(), "create(): can't be created"); }

    static constexpr HandleClass self_type = {create_handle, destroy_handle, reset_handle};
};

/// Handle of class \p Public for what the core layer returned, see HandleImpl::TS.
template<class Public, class... Args> Public TS(Args &&...args) {
    return HandleRecord<Public>::TS(std::forward<Args>(args)...);
}

} // namespace Ostrevan

#define OSTREVAN_CLONE_Copyable(NAME) return impl().clone();
#define OSTREVAN_CLONE_Noncopyable(NAME) handleCloneAssertion(#NAME, __LINE__);

/// Defines the shared members of the class NAME; COPY is Copyable or Noncopyable, the rest its public base class or
/// nothing. Stands once, inside the namespace, in the source file of the class.
#define OSTREVAN_HANDLE_SOURCE(NAME, COPY, ...)                                                                   \
    NAME::NAME##Impl &NAME::impl() { return *std::launder(reinterpret_cast<NAME##Impl *>(reserved)); }            \
    const NAME::NAME##Impl &NAME::impl() const { return const_cast<NAME *>(this)->impl(); }                       \
    NAME::NAME(const VoidImpl &v) __VA_OPT__( : __VA_ARGS__(v)) {                                                 \
        static_assert(sizeof(NAME##Impl) <= sizeof(reserved) && alignof(NAME##Impl) <= alignof(void *));          \
        (void)v;                                                                                                  \
        (new(static_cast<void *>(reserved)) NAME##Impl)->setSelf(this);                                           \
    }                                                                                                             \
    NAME::NAME(const NAME &handle) : NAME(VoidImpl()) { impl().set(&handle.impl()); }                             \
    NAME::NAME(NAME &handle) : NAME(VoidImpl()) { impl().set(&handle.impl()); }                                   \
    NAME::NAME(NAME &&handle) noexcept : NAME(VoidImpl()) { impl().move(&handle.impl()); }                        \
    NAME::~NAME() { impl().~NAME##Impl(); }                                                                       \
    NAME &NAME::operator=(const NAME &handle) {                                                                   \
        impl().set(&handle.impl());                                                                               \
        return *this;                                                                                             \
    }                                                                                                             \
    NAME &NAME::operator=(NAME &handle) {                                                                         \
        impl().set(&handle.impl());                                                                               \
        return *this;                                                                                             \
    }                                                                                                             \
    NAME &NAME::operator=(NAME &&handle) noexcept {                                                               \
        impl().move(&handle.impl());                                                                              \
        return *this;                                                                                             \
    }                                                                                                             \
    const char *NAME::getClassName() const { return #NAME; }                                                      \
    const char *NAME::getClassNamePtr() { return #NAME; }                                                         \
    bool NAME::operator==(const NAME &handle) const { return impl().getAddress() == handle.impl().getAddress(); } \
    bool NAME::operator!=(const NAME &handle) const { return impl().getAddress() != handle.impl().getAddress(); } \
    bool NAME::operator<=(const NAME &handle) const { return impl().getAddress() <= handle.impl().getAddress(); } \
    bool NAME::operator>=(const NAME &handle) const { return impl().getAddress() >= handle.impl().getAddress(); } \
    bool NAME::operator<(const NAME &handle) const { return impl().getAddress() < handle.impl().getAddress(); }   \
    bool NAME::operator>(const NAME &handle) const { return impl().getAddress() > handle.impl().getAddress(); }   \
    NAME::operator bool() const { return impl().isValid(); }                                                      \
    NAME NAME::clonePtr() const { OSTREVAN_CLONE_##COPY(NAME) }                                                   \
    void NAME::clearPtr() { impl().clear(); }                                                                     \
    void NAME::destroyPtr() { impl().destroy(); }                                                                 \
    NAME &NAME::acquirePtr() {                                                                                    \
        impl().acquire();                                                                                         \
        return *this;                                                                                             \
    }                                                                                                             \
    NAME &NAME::unacquirePtr() {                                                                                  \
        impl().unacquire();                                                                                       \
        return *this;                                                                                             \
    }                                                                                                             \
    bool NAME::isValidPtr() const { return impl().isValid() || impl().isCreate(); }                               \
    bool NAME::isOwnerPtr() const { return impl().isOwner(); }                                                    \
    bool NAME::isConstPtr() const { return impl().isConst(); }                                                    \
    uint32_t NAME::getCountPtr() const { return impl().getCount(); }                                              \
    const void *NAME::getInternalPtr() const { return impl().getInternal(); }                                     \
    __attribute__((init_priority(200))) const NAME NAME::null{VoidImpl()};
