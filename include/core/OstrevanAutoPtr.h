// Owned pointer whose copies take the pointer over, so that arrays can move their elements by assignment.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

template<class Type> struct DefaultDestructor {
    static void destroy(Type *ptr) { delete ptr; }
};

/// Owns at most one object. Copying empties the source, also through a const reference.
template<class Type, class Destructor = DefaultDestructor<Type>> class AutoPtr {
public:
    AutoPtr() = default;
    explicit AutoPtr(Type *ptr) : ptr(ptr) {}
    AutoPtr(const AutoPtr &other) : ptr(other.take()) {}
    ~AutoPtr() { clear(); }

    AutoPtr &operator=(const AutoPtr &other) {
        if(this != &other) *this = other.take();
        return *this;
    }
    AutoPtr &operator=(Type *p) {
        if(p != ptr) {
            clear();
            ptr = p;
        }
        return *this;
    }

    /// Destroys the object.
    void clear() {
        if(ptr) Destructor::destroy(ptr);
        ptr = nullptr;
    }
    /// Gives the pointer up: the caller owns it.
    Type *release() { return take(); }
    /// Destroys the object and returns the place of the pointer, for functions that return an object through one.
    Type **create() {
        clear();
        return &ptr;
    }
    void swap(AutoPtr &other) { std::swap(ptr, other.ptr); }

    bool operator==(const AutoPtr &other) const { return ptr == other.ptr; }
    bool operator!=(const AutoPtr &other) const { return ptr != other.ptr; }
    bool operator==(const Type *p) const { return ptr == p; }
    bool operator!=(const Type *p) const { return ptr != p; }

    Type &operator*() const { return ref(); }
    Type *operator->() const { return &ref(); }
    bool empty() const { return ptr == nullptr; }
    explicit operator bool() const { return ptr != nullptr; }
    Type &ref() const {
        OSTREVAN_ASSERT(ptr && "AutoPtr::ref(): pointer is null");
        return *ptr;
    }
    Type *get() const { return ptr; }

private:
    Type *take() const {
        Type *p = ptr;
        ptr = nullptr;
        return p;
    }

    mutable Type *ptr = nullptr;
};

} // namespace Ostrevan
