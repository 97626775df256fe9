// KolmTable.h: the slots that both kinds of tables have: pointers, and a bit for each that belongs to the table.

#pragma once

#include "KolmArray.h"

namespace Kolm {

/// Objects by slot. Owned ones are deleted when their slot is written or the table is cleared.
template<class Type> class TableSlots {
public:
    static constexpr uint32_t OwnerBits = 32;
    static constexpr uint32_t OwnerMask = 31;
    static constexpr uint32_t OwnerShift = 5;

    ~TableSlots() { clear(); }

    void init(uint32_t size) {
        clear();
        objects.resize(size, nullptr);
        owners.resize((size + OwnerMask) >> OwnerShift, 0u);
    }
    void clear() {
        for(uint32_t i = 0; i < objects.size(); i++) {
            if(isOwner(i)) delete objects[i];
        }
        objects.clear();
        owners.clear();
    }
    /// The object that stands in the slot already has to be another one if it is owned.
    void set(uint32_t index, Type *object, bool owner) {
        if(isOwner(index)) delete objects[index];
        objects[index] = object;
        const uint32_t bit = 1u << (index & OwnerMask);
        if(object && owner) {
            owners[index >> OwnerShift] |= bit;
        } else {
            owners[index >> OwnerShift] &= ~bit;
        }
    }

    bool isOwner(uint32_t index) const { return (owners[index >> OwnerShift] >> (index & OwnerMask)) & 1; }
    uint32_t size() const { return objects.size(); }
    Type *operator[](uint32_t index) const { return objects[index]; }
    Type *const *get() const { return objects.get(); }

private:
    Array<Type *> objects;
    Array<uint32_t> owners;
};

} // namespace Kolm
