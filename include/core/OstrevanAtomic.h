// Atomic integers and pointers, and the spin lock.
//
// Every operation is a sequentially consistent read-modify-write. A load is one as well: the value is stored as it
// was, so an atomic must live in writable memory even if it is only read. Where a plain access is enough, and only
// there, `load`, `load_relaxed` and their like say so.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Hint to the processor that the caller spins.
inline void cpu_pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

/// Atomic integer. All operators are single read-modify-write steps; the compound ones return the new value.
template<class Type> class AtomicInteger {
public:
    AtomicInteger() = default;
    constexpr explicit AtomicInteger(Type value) : value(value) {}

    // Adding 0 is one locked instruction, where an exchange with itself would be a loop.
    operator Type() const { return __atomic_fetch_add(&value, Type(0), __ATOMIC_SEQ_CST); }
    Type operator=(Type v) {
        __atomic_exchange_n(&value, v, __ATOMIC_SEQ_CST);
        return v;
    }
    AtomicInteger(const AtomicInteger &other) : value(other) {}
    AtomicInteger &operator=(const AtomicInteger &other) {
        *this = Type(other);
        return *this;
    }

    Type operator++() { return __atomic_add_fetch(&value, Type(1), __ATOMIC_SEQ_CST); }
    Type operator--() { return __atomic_sub_fetch(&value, Type(1), __ATOMIC_SEQ_CST); }
    Type operator++(int) { return __atomic_fetch_add(&value, Type(1), __ATOMIC_SEQ_CST); }
    Type operator--(int) { return __atomic_fetch_sub(&value, Type(1), __ATOMIC_SEQ_CST); }
    Type operator+=(Type v) { return __atomic_add_fetch(&value, v, __ATOMIC_SEQ_CST); }
    Type operator-=(Type v) { return __atomic_sub_fetch(&value, v, __ATOMIC_SEQ_CST); }
    Type operator&=(Type v) { return __atomic_and_fetch(&value, v, __ATOMIC_SEQ_CST); }
    Type operator|=(Type v) { return __atomic_or_fetch(&value, v, __ATOMIC_SEQ_CST); }
    Type operator^=(Type v) { return __atomic_xor_fetch(&value, v, __ATOMIC_SEQ_CST); }

    /// Stores \p v and returns the old value.
    Type exchange(Type v) { return __atomic_exchange_n(&value, v, __ATOMIC_SEQ_CST); }
    /// Stores \p v if the value is \p expected; tells whether it was.
    bool cas(Type expected, Type v) {
        return __atomic_compare_exchange_n(&value, &expected, v, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    }
    /// Plain load that keeps its place among all sequentially consistent operations.
    Type load() const { return __atomic_load_n(&value, __ATOMIC_SEQ_CST); }
    /// Plain load and store without any ordering.
    Type load_relaxed() const { return __atomic_load_n(&value, __ATOMIC_RELAXED); }
    void store_relaxed(Type v) { __atomic_store_n(&value, v, __ATOMIC_RELAXED); }
    /// Plain store that everything written before it precedes.
    void store_release(Type v) { __atomic_store_n(&value, v, __ATOMIC_RELEASE); }

private:
    mutable Type value = 0;
};

using Atomici32 = AtomicInteger<int32_t>;
using Atomici64 = AtomicInteger<int64_t>;

/// Atomic pointer. The arithmetic operators count in elements, the bit operators work on the address.
template<class Type> class AtomicPtr {
public:
    AtomicPtr() = default;
    constexpr explicit AtomicPtr(Type *ptr) : ptr(ptr) {}

    operator Type *() const { return get(); }
    Type *get() const { return add_bytes(0); }
    Type *operator=(Type *p) {
        exchange(p);
        return p;
    }
    AtomicPtr(const AtomicPtr &other) : ptr(other.get()) {}
    AtomicPtr &operator=(const AtomicPtr &other) {
        *this = other.get();
        return *this;
    }
    Type *operator->() const { return get(); }

    Type *operator++() { return fetch_add(1) + 1; }
    Type *operator--() { return fetch_add(-1) - 1; }
    Type *operator++(int) { return fetch_add(1); }
    Type *operator--(int) { return fetch_add(-1); }
    Type *operator+=(ptrdiff_t n) { return fetch_add(n) + n; }
    Type *operator-=(ptrdiff_t n) { return fetch_add(-n) - n; }
    Type *operator&=(uintptr_t v) { return reinterpret_cast<Type *>(__atomic_and_fetch(word(), v, __ATOMIC_SEQ_CST)); }
    Type *operator|=(uintptr_t v) { return reinterpret_cast<Type *>(__atomic_or_fetch(word(), v, __ATOMIC_SEQ_CST)); }
    Type *operator^=(uintptr_t v) { return reinterpret_cast<Type *>(__atomic_xor_fetch(word(), v, __ATOMIC_SEQ_CST)); }

    Type *exchange(Type *p) { return __atomic_exchange_n(&ptr, p, __ATOMIC_SEQ_CST); }
    bool cas(Type *expected, Type *p) {
        return __atomic_compare_exchange_n(&ptr, &expected, p, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    }
    /// Plain load and store without any ordering.
    Type *load_relaxed() const { return __atomic_load_n(&ptr, __ATOMIC_RELAXED); }
    void store_relaxed(Type *p) { __atomic_store_n(&ptr, p, __ATOMIC_RELAXED); }

private:
    using Word __attribute__((may_alias)) = uintptr_t;
    Word *word() const { return reinterpret_cast<Word *>(&ptr); }
    Type *add_bytes(uintptr_t bytes) const {
        return reinterpret_cast<Type *>(__atomic_fetch_add(word(), bytes, __ATOMIC_SEQ_CST));
    }
    Type *fetch_add(ptrdiff_t n) const { return add_bytes(uintptr_t(n) * sizeof(Type)); }

    mutable Type *ptr = nullptr;
};

/// Spin lock: 0 free, 1 taken. Neither fair nor recursive; unlocking a free lock spins for ever.
class SpinLock {
public:
    void lock() {
        while(!atomic.cas(0, 1)) {
            // The lock is mostly held for less time than one pause takes.
            for(uint32_t i = 0; atomic.load_relaxed(); i++) {
                if(i >= 16) cpu_pause();
            }
        }
    }
    void unlock() {
        while(!atomic.cas(1, 0)) cpu_pause();
    }
    /// Takes the lock only if it is free.
    bool check() { return atomic.cas(0, 1); }
    /// Marks the lock as taken, whatever it was.
    void signal() { atomic = 1; }
    /// Marks the lock as free, whatever it was.
    void clear() { atomic = 0; }
    bool get() const { return atomic != 0; }
    explicit operator bool() const { return get(); }

private:
    Atomici32 atomic;
};

/// Holds a SpinLock for a scope.
class AtomicLock : private NoCopy {
public:
    explicit AtomicLock(SpinLock &lock) : spin_lock(lock) { spin_lock.lock(); }
    ~AtomicLock() { spin_lock.unlock(); }

private:
    SpinLock &spin_lock;
};

} // namespace Ostrevan
