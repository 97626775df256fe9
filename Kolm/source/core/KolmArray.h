// Growable array, and its form with inline storage.
//
// All slots up to the capacity hold live objects: an array that shrinks destroys nothing and one that grows within its
// capacity constructs nothing. A removed element keeps its resources until its slot is overwritten. Elements move by
// assignment. Indexed access is checked in every build.

#pragma once

#include "KolmAllocator.h"

namespace Kolm {

template<class Type, class Alloc = Allocator> class Array {
public:
    static constexpr uint32_t MaxCapacity = 0x7FFFFFFF;

    /// Checked pointer into an array.
    template<class Value> class IteratorImpl {
    public:
        IteratorImpl() = default;
        IteratorImpl(Value *ptr, Value *end_ptr) : ptr(ptr), end_ptr(end_ptr) {}
        template<class Other, class = std::enable_if_t<std::is_convertible_v<Other *, Value *>>>
        IteratorImpl(const IteratorImpl<Other> &it) : ptr(it.get()), end_ptr(it.getEnd()) {}

        explicit operator bool() const { return ptr < end_ptr; }
        Value &operator*() const { return (*this)[0]; }
        Value *operator->() const { return &(*this)[0]; }
        Value &operator[](size_t index) const {
            KOLM_ASSERT(index < size_t(end_ptr - ptr) && "Array::Iterator::operator[](): invalid index");
            return ptr[index];
        }
        IteratorImpl &operator++() {
            ++ptr;
            return *this;
        }
        IteratorImpl &operator--() {
            --ptr;
            return *this;
        }
        IteratorImpl operator++(int) { return IteratorImpl(ptr++, end_ptr); }
        IteratorImpl operator--(int) { return IteratorImpl(ptr--, end_ptr); }
        IteratorImpl &operator+=(ptrdiff_t n) {
            ptr += n;
            return *this;
        }
        IteratorImpl &operator-=(ptrdiff_t n) {
            ptr -= n;
            return *this;
        }
        IteratorImpl operator+(ptrdiff_t n) const { return IteratorImpl(ptr + n, end_ptr); }
        IteratorImpl operator-(ptrdiff_t n) const { return IteratorImpl(ptr - n, end_ptr); }
        ptrdiff_t operator-(const IteratorImpl &it) const { return ptr - it.ptr; }
        bool operator==(const IteratorImpl &it) const { return ptr == it.ptr; }
        bool operator!=(const IteratorImpl &it) const { return ptr != it.ptr; }
        bool operator<(const IteratorImpl &it) const { return ptr < it.ptr; }

        Value *get() const { return ptr; }
        Value *getEnd() const { return end_ptr; }

    private:
        Value *ptr = nullptr;
        Value *end_ptr = nullptr;
    };
    using Iterator = IteratorImpl<Type>;
    using ConstIterator = IteratorImpl<const Type>;

    Array() = default;
    explicit Array(uint32_t size) { resize(size); }
    Array(std::initializer_list<Type> list) { append(list.begin(), uint32_t(list.size())); }
    Array(uint32_t size, const Type *src) {
        resize(size);
        copy_items(impl.data, src, size);
    }
    Array(uint32_t size, const Type &value) { resize(size, value); }
    Array(const Array &array) { copy(array); }
    Array(Array &&array) noexcept { move(array); }
    ~Array() {
        if(impl.capacity & OwnerBit) Alloc::freeArray(impl.data, impl.capacity & MaxCapacity);
    }

    Array &operator=(const Array &array) {
        copy(array);
        return *this;
    }
    Array &operator=(Array &&array) noexcept {
        move(array);
        return *this;
    }

    /// Looks at external memory of \p capacity live objects. The caller owns it and keeps it alive; growing past it
    /// moves the contents to the heap.
    void init(Type *data, size_t capacity, uint32_t length) {
        KOLM_ASSERT(length <= capacity && "Array::init(): invalid length");
        KOLM_ASSERT(capacity <= MaxCapacity && "Array::init(): invalid capacity");
        release_owned();
        impl.capacity = uint32_t(capacity);
        impl.length = length;
        impl.data = data;
    }

    /// Makes room for \p size elements. With \p discard the old ones need not survive.
    void reserve(uint32_t size, bool discard = false) {
        if(KOLM_UNLIKELY((impl.capacity & MaxCapacity) < size)) grow(get_capacity(size), discard);
    }
    /// Sets the length. New capacity is exact unless \p reserve asks for spare room.
    void resize(uint32_t size, bool reserve = false, bool discard = false) {
        if((impl.capacity & MaxCapacity) < size) {
            KOLM_ASSERT(size <= MaxCapacity && "Array::resize(): invalid size");
            grow(reserve ? get_capacity(size) : size, discard);
        }
        impl.length = size;
    }
    /// Sets the length; elements that are new take \p value.
    void resize(uint32_t size, const Type &value, bool reserve = false) {
        const uint32_t old = impl.length;
        if(size <= old) {
            impl.length = size;
            return;
        }
        Type saved = value; // value may live in this array
        resize(size, reserve);
        for(uint32_t i = old; i < size; i++) impl.data[i] = saved;
    }
    /// Forgets the elements and gives owned memory back for a new block of the same capacity.
    void discard() {
        const uint32_t capacity = impl.capacity & MaxCapacity;
        if(impl.capacity & OwnerBit) {
            release_owned();
            impl = ArrayImpl();
            if(capacity) grow(capacity, true);
        }
        impl.length = 0;
    }
    /// Frees owned memory. An array over external memory keeps it and becomes empty.
    void release() {
        if(impl.capacity & OwnerBit) {
            release_owned();
            impl = ArrayImpl();
        } else {
            impl.length = 0;
        }
    }
    /// Fits owned memory to the length.
    void shrink() {
        if((impl.capacity & OwnerBit) == 0 || (impl.capacity & MaxCapacity) == impl.length) return;
        if(impl.length == 0) return release();
        grow(impl.length, false);
    }
    /// Sets the length to 0 and keeps the memory and what the slots hold.
    void clear() { impl.length = 0; }

    void swap(Array &array) {
        if(this == &array) return;
        if(is_swappable() && array.is_swappable()) {
            Kolm::swap(impl, array.impl);
        } else {
            Array temp(*this);
            copy(array);
            array.copy(temp);
        }
    }
    void copy(const Array &array) {
        if(this == &array) return;
        resize(array.impl.length, false, true);
        copy_items(impl.data, array.impl.data, impl.length);
    }
    /// Takes the contents over; \p array is empty afterwards.
    void move(Array &array) {
        if(this == &array) return;
        if(array.impl.capacity & OwnerBit) {
            if(impl.capacity & OwnerBit) release_owned();
            impl = array.impl;
            array.forget();
        } else {
            resize(array.impl.length, false, true);
            for(uint32_t i = 0; i < impl.length; i++) impl.data[i] = std::move(array.impl.data[i]);
            array.impl.length = 0;
        }
    }
    void move(Array &&array) { move(array); }

    /// Adds one slot and returns what it holds.
    Type &append() {
        reserve_one();
        return impl.data[impl.length++];
    }
    Type &append(const Type &value) {
        if(KOLM_UNLIKELY((impl.capacity & MaxCapacity) == impl.length)) {
            Type saved = value; // value may live in this array
            reserve_one();
            return impl.data[impl.length++] = std::move(saved);
        }
        return impl.data[impl.length++] = value;
    }
    Type &append(Type &&value) {
        if(KOLM_UNLIKELY((impl.capacity & MaxCapacity) == impl.length)) {
            Type saved = std::move(value);
            reserve_one();
            return impl.data[impl.length++] = std::move(saved);
        }
        return impl.data[impl.length++] = std::move(value);
    }
    /// Adds \p count elements of \p src, which may lie in this array.
    void append(const Type *src, uint32_t count) {
        if(count == 0) return;
        const uint64_t size = uint64_t(impl.length) + count;
        KOLM_ASSERT(size <= MaxCapacity && "Array::append(): invalid size");
        if(size > (impl.capacity & MaxCapacity) && is_inside(src)) {
            const size_t offset = size_t(src - impl.data);
            reserve(uint32_t(size));
            src = impl.data + offset;
        } else {
            reserve(uint32_t(size));
        }
        copy_items(impl.data + impl.length, src, count);
        impl.length = uint32_t(size);
    }
    void append(const Array &array) { append(array.impl.data, array.impl.length); }
    void append(std::initializer_list<Type> list) { append(list.begin(), uint32_t(list.size())); }

    Type &insert(uint32_t pos, const Type &value) {
        Type saved = value;
        open_gap(pos, 1);
        return impl.data[pos] = std::move(saved);
    }
    void insert(uint32_t pos, const Type *src, uint32_t count) {
        if(count && is_inside(src)) {
            Array temp(count, src);
            open_gap(pos, count);
            copy_items(impl.data + pos, temp.impl.data, count);
        } else {
            open_gap(pos, count);
            copy_items(impl.data + pos, src, count);
        }
    }
    void insert(uint32_t pos, const Array &array) { insert(pos, array.impl.data, array.impl.length); }

    /// Overwrites \p count elements from \p pos on, growing the array if they pass its end.
    void replace(uint32_t pos, const Type *src, uint32_t count) {
        KOLM_ASSERT(pos <= impl.length && "Array::replace(): invalid position");
        const uint32_t tail = min(count, impl.length - pos);
        if(count > tail && is_inside(src)) {
            Array temp(count, src);
            return replace(pos, temp.impl.data, count);
        }
        copy_items(impl.data + pos, src, tail);
        append(src + tail, count - tail);
    }
    void replace(uint32_t pos, const Array &array) { replace(pos, array.impl.data, array.impl.length); }

    void removeBack(uint32_t count = 1) {
        KOLM_ASSERT(count <= impl.length && "Array::removeBack(): invalid length");
        impl.length -= count;
    }
    /// Fills the gap from the end of the array: cheap, but the order is lost.
    void removeFast(uint32_t pos, uint32_t len = 1) {
        KOLM_ASSERT(pos < impl.length && "Array::removeFast(): invalid position");
        KOLM_ASSERT(len <= impl.length - pos && "Array::removeFast(): invalid length");
        const uint32_t tail = impl.length - pos - len;
        const uint32_t count = min(len, tail);
        for(uint32_t i = 0; i < count; i++) impl.data[pos + i] = std::move(impl.data[impl.length - count + i]);
        impl.length -= len;
    }
    /// Keeps the order of what is left.
    void remove(uint32_t pos, uint32_t len = 1) {
        KOLM_ASSERT(pos < impl.length && "Array::remove(): invalid position");
        KOLM_ASSERT(len <= impl.length - pos && "Array::remove(): invalid length");
        for(uint32_t i = pos + len; i < impl.length; i++) impl.data[i - len] = std::move(impl.data[i]);
        impl.length -= len;
    }
    void remove(const Iterator &it) { remove(uint32_t(it.get() - impl.data)); }

    /// Turns \p len elements round.
    void reverse(uint32_t pos, uint32_t len) {
        KOLM_ASSERT(pos <= impl.length && "Array::reverse(): invalid position");
        KOLM_ASSERT(len <= impl.length - pos && "Array::reverse(): invalid length");
        for(uint32_t i = 0; i < len / 2; i++) Kolm::swap(impl.data[pos + i], impl.data[pos + len - 1 - i]);
    }
    void reverse() { reverse(0, impl.length); }

    bool empty() const { return impl.length == 0; }
    explicit operator bool() const { return impl.length != 0; }
    /// Bytes of the elements.
    size_t bytes() const { return sizeof(Type) * impl.length; }
    /// Bytes of owned memory.
    size_t memory() const { return (impl.capacity & OwnerBit) ? sizeof(Type) * capacity() : 0; }
    /// Whether the memory is owned.
    bool allocator() const { return (impl.capacity & OwnerBit) != 0; }
    uint32_t capacity() const { return impl.capacity & MaxCapacity; }
    uint32_t size() const { return impl.length; }

    Type *get() { return impl.data; }
    const Type *get() const { return impl.data; }
    Type &get(uint32_t index) {
        KOLM_ASSERT(index < impl.length && "Array::get(): invalid index");
        return impl.data[index];
    }
    const Type &get(uint32_t index) const {
        KOLM_ASSERT(index < impl.length && "Array::get(): invalid index");
        return impl.data[index];
    }
    Type &operator[](uint32_t index) {
        KOLM_ASSERT(index < impl.length && "Array::operator[](): invalid index");
        return impl.data[index];
    }
    const Type &operator[](uint32_t index) const {
        KOLM_ASSERT(index < impl.length && "Array::operator[](): invalid index");
        return impl.data[index];
    }
    Type &front(uint32_t index = 0) {
        KOLM_ASSERT(index < impl.length && "Array::front(): invalid index");
        return impl.data[index];
    }
    const Type &front(uint32_t index = 0) const {
        KOLM_ASSERT(index < impl.length && "Array::front(): invalid index");
        return impl.data[index];
    }
    /// Element counted from the end: back(0) is the last.
    Type &back(uint32_t index = 0) {
        KOLM_ASSERT(index < impl.length && "Array::back(): invalid index");
        return impl.data[impl.length - index - 1];
    }
    const Type &back(uint32_t index = 0) const {
        KOLM_ASSERT(index < impl.length && "Array::back(): invalid index");
        return impl.data[impl.length - index - 1];
    }

    Iterator begin() { return Iterator(impl.data, impl.data + impl.length); }
    Iterator end() { return Iterator(impl.data + impl.length, impl.data + impl.length); }
    ConstIterator begin() const { return beginConst(); }
    ConstIterator end() const { return endConst(); }
    ConstIterator beginConst() const { return ConstIterator(impl.data, impl.data + impl.length); }
    ConstIterator endConst() const { return ConstIterator(impl.data + impl.length, impl.data + impl.length); }

protected:
    static constexpr uint32_t OwnerBit = 0x80000000;

    struct ArrayImpl {
        uint32_t capacity = 0; // slots; OwnerBit: `data` is freed with the array
        uint32_t length = 0;
        Type *data = nullptr;
    };

    ArrayImpl impl;

    // Called when an owned block was handed to another array.
    void forget() { impl = ArrayImpl(); }

    static uint32_t get_capacity(uint32_t size) {
        KOLM_ASSERT(size <= MaxCapacity && "Array::reserve(): invalid size");
        const uint64_t capacity = (uint64_t(size) * 3 + 2) >> 1;
        return uint32_t(min(capacity, uint64_t(MaxCapacity)));
    }

    static void copy_items(Type *dest, const Type *src, uint32_t count) {
        if constexpr(std::is_trivially_copyable_v<Type>) {
            if(count) memmove(static_cast<void *>(dest), src, sizeof(Type) * count);
        } else {
            for(uint32_t i = 0; i < count; i++) dest[i] = src[i];
        }
    }

private:
    bool is_inside(const Type *src) const {
        return uintptr_t(src) >= uintptr_t(impl.data) && uintptr_t(src) < uintptr_t(impl.data + capacity());
    }
    // Inline storage belongs to its object and cannot change hands.
    bool is_swappable() const { return (impl.capacity & OwnerBit) || impl.data == nullptr; }

    void release_owned() {
        if(impl.capacity & OwnerBit) Alloc::freeArray(impl.data, impl.capacity & MaxCapacity);
    }
    void reserve_one() {
        KOLM_ASSERT(impl.length < MaxCapacity && "Array::append(): invalid size");
        if(KOLM_UNLIKELY((impl.capacity & MaxCapacity) == impl.length)) reserve(impl.length + 1);
    }
    // Moves to a new owned block of \p capacity slots.
    __attribute__((noinline)) void grow(uint32_t capacity, bool discard) {
        if constexpr(std::is_trivially_copyable_v<Type> && std::is_trivially_default_constructible_v<Type>) {
            if(impl.capacity & OwnerBit) {
                const uint32_t used = discard ? 0 : min(impl.length, capacity);
                Type *data =
                    Alloc::template reallocateArray<Type>(impl.data, impl.capacity & MaxCapacity, capacity, used);
                if(data == nullptr) release_owned();
                impl.data = data;
                impl.capacity = capacity | OwnerBit;
                return;
            }
        }
        Type *data = Alloc::template allocate<Type>(capacity);
        if(!discard && impl.length) {
            const uint32_t length = min(impl.length, capacity);
            if constexpr(std::is_trivially_copyable_v<Type>) {
                memcpy(static_cast<void *>(data), impl.data, sizeof(Type) * length);
            } else {
                for(uint32_t i = 0; i < length; i++) data[i] = std::move(impl.data[i]);
            }
        }
        release_owned();
        impl.data = data;
        impl.capacity = capacity | OwnerBit;
    }
    void open_gap(uint32_t pos, uint32_t count) {
        KOLM_ASSERT(pos <= impl.length && "Array::insert(): invalid position");
        const uint64_t size = uint64_t(impl.length) + count;
        KOLM_ASSERT(size <= MaxCapacity && "Array::insert(): invalid size");
        reserve(uint32_t(size));
        for(uint32_t i = impl.length; i > pos; i--) impl.data[i - 1 + count] = std::move(impl.data[i - 1]);
        impl.length = uint32_t(size);
    }
};

/// Array whose first \p Size elements lie inside the object. It moves to the heap when it grows past them.
template<class Type, uint32_t Size, class Alloc = Allocator> class ArrayStack : public Array<Type, Alloc> {
    using Base = Array<Type, Alloc>;

public:
    ArrayStack() { reset(); }
    explicit ArrayStack(uint32_t size) {
        reset();
        Base::resize(size);
    }
    ArrayStack(std::initializer_list<Type> list) {
        reset();
        Base::append(list);
    }
    ArrayStack(uint32_t size, const Type *src) {
        reset();
        Base::append(src, size);
    }
    ArrayStack(uint32_t size, const Type &value) {
        reset();
        Base::resize(size, value);
    }
    ArrayStack(const ArrayStack &array) : Base() {
        reset();
        Base::copy(array);
    }
    ArrayStack(const Base &array) {
        reset();
        Base::copy(array);
    }
    ArrayStack(ArrayStack &&array) noexcept {
        reset();
        Base::move(array);
        array.restore();
    }
    ArrayStack(Base &&array) {
        reset();
        Base::move(array);
    }
    ArrayStack &operator=(const ArrayStack &array) {
        Base::copy(array);
        return *this;
    }
    ArrayStack &operator=(const Base &array) {
        Base::copy(array);
        return *this;
    }
    ArrayStack &operator=(ArrayStack &&array) noexcept {
        Base::move(array);
        array.restore();
        return *this;
    }
    ArrayStack &operator=(Base &&array) {
        Base::move(array);
        return *this;
    }

private:
    void reset() {
        this->impl.capacity = Size;
        this->impl.length = 0;
        this->impl.data = data;
    }
    // A moved-from array whose block went away looks at its inline storage again.
    void restore() {
        if(this->impl.data == nullptr) reset();
    }

    Type data[Size];
};

template<class Type, class Alloc> bool operator==(const Array<Type, Alloc> &a, const Array<Type, Alloc> &b) {
    if(a.size() != b.size()) return false;
    for(uint32_t i = 0; i < a.size(); i++) {
        if(!(a.get()[i] == b.get()[i])) return false;
    }
    return true;
}
template<class Type, class Alloc> bool operator!=(const Array<Type, Alloc> &a, const Array<Type, Alloc> &b) {
    return !(a == b);
}

} // namespace Kolm
