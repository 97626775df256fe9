// In-place sort without recursion and without allocation.
//
// Hoare partition around the middle element, with the smaller part first, so that the explicit stack stays logarithmic.
// The sort is not stable and has no other method for short ranges: results of other algorithms rest on its exact order
// of equal elements. Its time is quadratic in the worst case, so it must not be fed millions of values whose order an
// attacker can choose.

#pragma once

#include "KolmBase.h"

namespace Kolm {

template<class Type> struct QuickCompare {
    bool operator()(const Type &a, const Type &b) const { return a < b; }
};

namespace Sort {

/// The sort over any storage: \p get reads a key, \p exchange swaps two places, \p less compares.
template<class Index, uint32_t StackSize, class Get, class Exchange, class Less>
void quick_sort(uint32_t size, Get get, Exchange exchange, Less less) {
    if(size < 2) return;
    Index stack[StackSize];
    uint32_t depth = 2;
    stack[0] = 0;
    stack[1] = Index(size - 1);
    while(depth) {
        const Index lo = stack[depth - 2];
        const Index hi = stack[depth - 1];
        Index i = lo;
        Index j = hi;
        const auto pivot = get(Index(lo + ((hi - lo) >> 1)));
        do {
            // A comparison that is not strict must not walk out of the range.
            while(j > lo && less(pivot, get(j))) j--;
            while(i < hi && less(get(i), pivot)) i++;
            if(i < j) {
                exchange(i, j);
                i++;
                j--;
            } else if(i == j) {
                i++;
                j--;
                break;
            } else {
                break;
            }
        } while(i <= j);
        const bool left = (lo < j);
        const bool right = (i < hi);
        if(left && right) {
            KOLM_ASSERT(depth + 4 < StackSize && "quickSort(): stack overflow");
            if(j - lo > hi - i) {
                stack[depth - 1] = j;
                stack[depth + 0] = i;
                stack[depth + 1] = hi;
            } else {
                stack[depth - 2] = i;
                stack[depth + 0] = lo;
                stack[depth + 1] = j;
            }
            depth += 2;
        } else if(left) {
            stack[depth - 1] = j;
        } else if(right) {
            stack[depth - 2] = i;
        } else {
            depth -= 2;
        }
    }
}

} // namespace Sort

/// Sorts \p size elements.
template<class Type, class Compare = QuickCompare<Type>, class Index = int32_t, uint32_t StackSize = 512>
void quickSort(Type *data, uint32_t size, const Compare &compare = Compare()) {
    Sort::quick_sort<Index, StackSize>(
        size, [data](Index i) -> const Type & { return data[i]; }, [data](Index i, Index j) { swap(data[i], data[j]); },
        compare);
}

/// Sorts \p size keys and carries the values along.
template<class Key, class Value, class Compare = QuickCompare<Key>, class Index = int32_t, uint32_t StackSize = 512>
void quickSort(Key *keys, Value *values, uint32_t size, const Compare &compare = Compare()) {
    Sort::quick_sort<Index, StackSize>(
        size, [keys](Index i) -> const Key & { return keys[i]; },
        [keys, values](Index i, Index j) {
            swap(keys[i], keys[j]);
            swap(values[i], values[j]);
        },
        compare);
}

} // namespace Kolm
