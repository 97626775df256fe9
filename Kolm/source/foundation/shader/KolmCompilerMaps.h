// Containers of the compiler's tables.
//
// A compile fills thousands of small entries and throws all of them away, so these keep their memory from one compile
// to the next and allocate nothing for a single entry. Each offers the part of Map's interface that the tables use.

#pragma once

#include "KolmArray.h"
#include "KolmString.h"

namespace Kolm {

/// Map from a name to a value. Names are copied into one text. Entries keep the order in which they were added and
/// are found by hash, or by a plain scan while there are few. No entry is ever removed, except all by clear().
template<class Value> class NameMap {
public:
    NameMap() = default;

    void clear() {
        if(slots.size()) memset(slots.get(), 0, slots.bytes());
        slots_used = false;
        entries.clear();
        text.clear();
    }

    bool empty() const { return entries.size() == 0; }
    uint32_t size() const { return entries.size(); }
    size_t memory() const { return entries.memory() + text.memory() + slots.memory(); }

    /// Name and value by position, in the order in which they were added. A name stands until the next append.
    const char *getName(uint32_t index) const { return text.get() + entries[index].offset; }
    Value &getValue(uint32_t index) { return entries[index].value; }
    const Value &getValue(uint32_t index) const { return entries[index].value; }

    /// Value of a name, or null. It stands until the next append.
    Value *get(const char *name, uint32_t length) {
        const uint32_t index = find(name, length);
        return (index != ~0u) ? &entries.get()[index].value : nullptr;
    }
    const Value *get(const char *name, uint32_t length) const { return const_cast<NameMap *>(this)->get(name, length); }
    Value *get(const char *name) { return get(name, uint32_t(strlen(name))); }
    const Value *get(const char *name) const { return get(name, uint32_t(strlen(name))); }
    Value *get(const String &name) { return get(name.get(), name.size()); }
    const Value *get(const String &name) const { return get(name.get(), name.size()); }

    /// Position of a name, or ~0.
    uint32_t find(const char *name, uint32_t length) const {
        const uint32_t count = entries.size();
        if(count == 0) return ~0u;
        const uint32_t hash = get_hash(name, length);
        const Entry *data = entries.get();
        if(!slots_used) {
            for(uint32_t i = 0; i < count; i++) {
                if(data[i].hash == hash && is_equal(data[i], name, length)) return i;
            }
            return ~0u;
        }
        const uint32_t mask = slots.size() - 1;
        const uint32_t *slot = slots.get();
        for(uint32_t i = hash & mask; slot[i]; i = (i + 1) & mask) {
            const Entry &entry = data[slot[i] - 1];
            if(entry.hash == hash && is_equal(entry, name, length)) return slot[i] - 1;
        }
        return ~0u;
    }
    uint32_t find(const String &name) const { return find(name.get(), name.size()); }

    /// Adds a name, or sets its value if it is there. Returns its position.
    uint32_t append(const char *name, uint32_t length, const Value &value) {
        const uint32_t index = find(name, length);
        if(index != ~0u) {
            entries[index].value = value;
            return index;
        }
        Entry &entry = entries.append();
        entry.hash = get_hash(name, length);
        entry.offset = text.size();
        entry.length = length;
        entry.value = value;
        text.append(name, length);
        text.append('\0');
        if(slots_used) {
            if(entries.size() * 2 > slots.size())
                build_slots();
            else
                add_slot(entries.size() - 1);
        } else if(entries.size() > NumScanned) {
            build_slots();
        }
        return entries.size() - 1;
    }
    uint32_t append(const char *name, const Value &value) { return append(name, uint32_t(strlen(name)), value); }
    uint32_t append(const String &name, const Value &value) { return append(name.get(), name.size(), value); }

private:
    static constexpr uint32_t NumScanned = 8; // up to here a scan is as fast as a hash

    struct Entry {
        uint32_t hash = 0;
        uint32_t offset = 0;
        uint32_t length = 0;
        Value value = {};
    };

    static uint32_t get_hash(const char *name, uint32_t length) {
        uint32_t hash = length;
        for(uint32_t i = 0; i < length; i++) hash = (hash ^ uint8_t(name[i])) * 0x01000193u;
        return hash ^ (hash >> 15);
    }
    bool is_equal(const Entry &entry, const char *name, uint32_t length) const {
        return entry.length == length && memcmp(text.get() + entry.offset, name, length) == 0;
    }
    void add_slot(uint32_t index) {
        const uint32_t mask = slots.size() - 1;
        uint32_t i = entries[index].hash & mask;
        while(slots[i]) i = (i + 1) & mask;
        slots[i] = index + 1;
    }
    void build_slots() {
        uint32_t size = max(slots.size(), 32u);
        while(size < entries.size() * 2) size *= 2;
        slots.resize(size, false, true);
        memset(slots.get(), 0, slots.bytes());
        slots_used = true;
        for(uint32_t i = 0; i < entries.size(); i++) add_slot(i);
    }

    Array<Entry> entries;
    Array<char> text;      // all names, each with a zero byte behind it
    Array<uint32_t> slots; // position + 1 of the entry, 0 for a free slot; a power of two of them
    bool slots_used = false;
};

/// Map from ids, which count up from 1, to small values: an array with a mark for what is unset.
template<class Value> class TargetMap {
public:
    void clear() { items.clear(); }
    size_t memory() const { return items.memory(); }

    /// Value of an id, or null. It stands until the next append.
    Value *get(uint32_t target) {
        return (target < items.size() && items.get()[target].used) ? &items.get()[target].value : nullptr;
    }
    const Value *get(uint32_t target) const { return const_cast<TargetMap *>(this)->get(target); }

    Value &append(uint32_t target, const Value &value) {
        if(target >= items.size()) items.resize(target + 1, Item(), true);
        Item &item = items.get()[target];
        item.value = value;
        item.used = true;
        return item.value;
    }
    /// One above the largest id that may be set.
    uint32_t size() const { return items.size(); }

private:
    struct Item {
        Value value = {};
        bool used = false;
    };
    Array<Item> items;
};

/// Map from numbers to numbers for a handful of entries, in ascending order of the keys.
class SmallMap {
public:
    struct Item {
        uint32_t key;
        uint32_t data;
    };

    void clear() { items.clear(); }
    bool empty() const { return items.size() == 0; }
    explicit operator bool() const { return items.size() != 0; }
    uint32_t size() const { return items.size(); }

    uint32_t *get(uint32_t key) {
        for(uint32_t i = 0; i < items.size(); i++) {
            if(items.get()[i].key == key) return &items.get()[i].data;
        }
        return nullptr;
    }
    const uint32_t *get(uint32_t key) const { return const_cast<SmallMap *>(this)->get(key); }
    bool has(uint32_t key) const { return get(key) != nullptr; }

    /// Adds a key, or sets its value if it is there.
    void append(uint32_t key, uint32_t data) {
        uint32_t pos = 0;
        while(pos < items.size() && items.get()[pos].key < key) pos++;
        if(pos < items.size() && items.get()[pos].key == key)
            items.get()[pos].data = data;
        else
            items.insert(pos, Item{key, data});
    }
    bool remove(uint32_t key) {
        for(uint32_t i = 0; i < items.size(); i++) {
            if(items.get()[i].key != key) continue;
            items.remove(i);
            return true;
        }
        return false;
    }

    const Item *begin() const { return items.get(); }
    const Item *end() const { return items.get() + items.size(); }

private:
    ArrayStack<Item, 4> items;
};

/// Growable list whose elements never move, so that references into it last until clear(). Elements outlive clear()
/// and are handed out again: their reset() brings a used one back to its first state.
template<class Type, uint32_t Size = 64> class StableArray : public NoCopy {
public:
    StableArray() = default;
    ~StableArray() {
        for(uint32_t i = 0; i < blocks.size(); i++) Allocator::freeArray(blocks[i], Size);
    }

    void clear() { length = 0; }
    void reserve(uint32_t size) {
        while(blocks.size() * Size < size) blocks.append(Allocator::allocate<Type>(Size));
    }
    bool empty() const { return length == 0; }
    uint32_t size() const { return length; }

    Type &append() {
        reserve(length + 1);
        Type &item = blocks.get()[length / Size][length % Size];
        length += 1;
        item.reset();
        return item;
    }
    Type &operator[](uint32_t index) {
        KOLM_ASSERT(index < length && "StableArray::operator[](): invalid index");
        return blocks.get()[index / Size][index % Size];
    }
    const Type &operator[](uint32_t index) const {
        KOLM_ASSERT(index < length && "StableArray::operator[](): invalid index");
        return blocks.get()[index / Size][index % Size];
    }
    Type &back() { return (*this)[length - 1]; }

private:
    Array<Type *> blocks;
    uint32_t length = 0;
};

} // namespace Kolm
