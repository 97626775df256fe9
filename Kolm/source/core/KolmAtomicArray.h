// Growing list for data that several threads look at.

#pragma once

#include "KolmArray.h"
#include "KolmAtomic.h"

namespace Kolm {

/// Array whose length may be read by any thread at any time. Nothing else is safe by itself: whoever reads elements or
/// changes the array holds the lock that belongs to it. Growth and removal are those of Array.
template<class Type, class Alloc = Allocator> class AtomicArray {
public:
    static constexpr uint32_t MaxCapacity = 0x7FFFFFFF;

    AtomicArray() = default;
    AtomicArray(const AtomicArray &array) { copy(array); }
    AtomicArray &operator=(const AtomicArray &array) {
        copy(array);
        return *this;
    }
    ~AtomicArray() { release(); }

    /// Empties the array and lets it begin in \p capacity slots of the caller, which outlive it.
    void init(Type *slots, uint32_t num_slots) {
        KOLM_ASSERT(num_slots <= MaxCapacity && "AtomicArray::init(): invalid size");
        release();
        length = 0;
        capacity.store_relaxed(int32_t(num_slots));
        data.store_relaxed(slots);
    }

    /// Makes room for \p size elements and half as many again.
    void reserve(uint32_t size, bool discard = false) {
        if(size <= get_capacity()) return;
        KOLM_ASSERT(size <= MaxCapacity && "AtomicArray::reserve(): invalid size");
        grow(uint32_t(min((uint64_t(size) * 3 + 2) >> 1, uint64_t(MaxCapacity))), discard);
    }
    /// Sets the length. New capacity is exact unless \p extra asks for spare room.
    void resize(uint32_t size, bool extra = false, bool discard = false) {
        KOLM_ASSERT(size <= MaxCapacity && "AtomicArray::resize(): invalid size");
        if(extra)
            reserve(size, discard);
        else if(size > get_capacity())
            grow(size, discard);
        length = int32_t(size);
    }
    /// Frees owned memory. An array over the caller's slots keeps them and becomes empty.
    void release() {
        length = 0;
        if((uint32_t(capacity.load_relaxed()) & OwnerBit) == 0) return;
        Alloc::freeArray(data.load_relaxed(), get_capacity());
        capacity.store_relaxed(0);
        data.store_relaxed(nullptr);
    }
    /// Sets the length to 0 and keeps the memory and what the slots hold.
    void clear() { length = 0; }

    void swap(AtomicArray &array) {
        if(this == &array) return;
        if(!is_swappable() || !array.is_swappable()) {
            AtomicArray temp(*this);
            copy(array);
            array.copy(temp);
            return;
        }
        swap_values(capacity, array.capacity);
        swap_values(data, array.data);
        length = array.length.exchange(length);
    }
    void copy(const AtomicArray &array) {
        if(this == &array) return;
        const uint32_t count = array.size();
        resize(count, false, true);
        for(uint32_t i = 0; i < count; i++) get()[i] = array.get()[i];
    }

    Type &append(const Type &value) {
        const uint32_t count = uint32_t(length.load_relaxed());
        KOLM_ASSERT(count < MaxCapacity && "AtomicArray::append(): invalid size");
        if(KOLM_UNLIKELY(count == get_capacity())) {
            const Type saved = value; // value may live in this array
            reserve(count + 1);
            return set_back(count, saved);
        }
        return set_back(count, value);
    }

    /// Fills the gap from the end of the array: cheap, but the order is lost.
    void removeFast(uint32_t pos, uint32_t len = 1) {
        const uint32_t count = size();
        KOLM_ASSERT(pos < (uint32_t)length && "AtomicArray::removeFast(): invalid position");
        KOLM_ASSERT(len <= (uint32_t)length - pos && "AtomicArray::removeFast(): invalid length");
        const uint32_t num = min(len, count - pos - len);
        for(uint32_t i = 0; i < num; i++) get()[pos + i] = std::move(get()[count - num + i]);
        length = int32_t(count - len);
    }
    /// Keeps the order of what is left.
    void remove(uint32_t pos, uint32_t len = 1) {
        const uint32_t count = size();
        KOLM_ASSERT(pos < (uint32_t)length && "AtomicArray::remove(): invalid position");
        KOLM_ASSERT(len <= (uint32_t)length - pos && "AtomicArray::remove(): invalid length");
        for(uint32_t i = pos + len; i < count; i++) get()[i - len] = std::move(get()[i]);
        length = int32_t(count - len);
    }

    bool empty() const { return size() == 0; }
    uint32_t size() const { return uint32_t(length.load()); }

    Type *get() { return data.load_relaxed(); }
    const Type *get() const { return data.load_relaxed(); }
    Type &get(uint32_t index) {
        const int32_t length = this->length.load();
        KOLM_ASSERT(index < (uint32_t)length && "AtomicArray::get(): invalid index");
        return get()[index];
    }
    const Type &get(uint32_t index) const {
        const int32_t length = this->length.load();
        KOLM_ASSERT(index < (uint32_t)length && "AtomicArray::get(): invalid index");
        return get()[index];
    }
    Type &operator[](uint32_t index) {
        const int32_t length = this->length.load();
        KOLM_ASSERT(index < (uint32_t)length && "AtomicArray::operator[](): invalid index");
        return get()[index];
    }
    const Type &operator[](uint32_t index) const {
        const int32_t length = this->length.load();
        KOLM_ASSERT(index < (uint32_t)length && "AtomicArray::operator[](): invalid index");
        return get()[index];
    }

private:
    static constexpr uint32_t OwnerBit = 0x80000000;

    uint32_t get_capacity() const { return uint32_t(capacity.load_relaxed()) & MaxCapacity; }
    bool is_swappable() const { return (uint32_t(capacity.load_relaxed()) & OwnerBit) || get() == nullptr; }

    template<class Atomic> static void swap_values(Atomic &a, Atomic &b) {
        const auto value = a.load_relaxed();
        a.store_relaxed(b.load_relaxed());
        b.store_relaxed(value);
    }

    // The element is in its slot before the length tells of it.
    Type &set_back(uint32_t count, const Type &value) {
        Type &slot = get()[count];
        slot = value;
        length.store_release(int32_t(count + 1));
        return slot;
    }

    __attribute__((noinline)) void grow(uint32_t new_capacity, bool discard) {
        Type *slots = Alloc::template allocate<Type>(new_capacity);
        const uint32_t count = discard ? 0 : size();
        for(uint32_t i = 0; i < count; i++) slots[i] = std::move(get()[i]);
        if(uint32_t(capacity.load_relaxed()) & OwnerBit) Alloc::freeArray(get(), get_capacity());
        data.store_relaxed(slots);
        capacity.store_relaxed(int32_t(new_capacity | OwnerBit));
    }

    Atomici32 capacity; // slots; OwnerBit: `data` is freed with the array
    Atomici32 length;
    AtomicPtr<Type> data;
};

} // namespace Kolm
