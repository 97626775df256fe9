// In-place sort without recursion and without allocation.
//
// Hoare partition around the middle element, with the smaller part first, so that the explicit stack stays logarithmic.
// The sort is not stable and has no other method for short ranges: results of other algorithms rest on its exact order
// of equal elements. Its time is quadratic in the worst case, so it must not be fed millions of values whose order an
// attacker can choose.
//
// Numbers are partitioned without branches on their values (OstrevanSortMask.h): the same places are exchanged in the same
// order.

#pragma once

#include <core/OstrevanSortMask.h>

namespace Ostrevan {

namespace Sort {

constexpr uint32_t MaxStride = 256; // bytes

/// Partition of the range \p i to \p j by comparing one element after the other. On return \p j is the end of the left
/// part and \p i the beginning of the right one.
template<class Index, class Get, class Exchange, class Less>
inline void partition_plain(Index &i, Index &j, Get get, Exchange exchange, Less less) {
    const Index lo = i;
    const Index hi = j;
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
}

/// What is known of the keys: nothing, that they are numbers, or that equal ones are the same and carry nothing along.
enum Kind { KindAny, KindNumber, KindSame };

template<class Key, class Compare>
constexpr Kind key_kind = (std::is_integral_v<Key> && std::is_same_v<Compare, QuickCompare<Key>>) ? KindSame
                          : std::is_arithmetic_v<Key>                                             ? KindNumber
                                                                                                  : KindAny;
template<class Key> constexpr Kind pair_kind = std::is_arithmetic_v<Key> ? KindNumber : KindAny;

/// Whether the partition would leave the range as it is, and so at every level below: it exchanges nothing if the keys
/// ascend strictly, and nothing but equal ones if they ascend.
template<Kind KeyKind, class Index, class Get, class Less>
inline bool is_ascending(Index lo, Index hi, Get get, Less less) {
    for(Index i = lo; i < hi; i++) {
        if(KeyKind == KindSame ? less(get(Index(i + 1)), get(i)) : !less(get(i), get(Index(i + 1)))) return false;
    }
    return true;
}

/// The sort over any storage: \p get reads a key, \p exchange swaps two places, \p less compares.
template<Kind KeyKind, class Index, uint32_t StackSize, class Get, class Exchange, class Less>
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
        bool left, right;
        if constexpr(KeyKind != KindAny) {
            if(hi - lo >= 64 && is_ascending<KeyKind>(lo, hi, get, less)) {
                depth -= 2;
                continue;
            }
            partition_mask(i, j, get, exchange, less);
            // Pairs are done here, as the partition would do them.
            left = (j - lo > 1);
            right = (hi - i > 1);
            if(j - lo == 1 && !less(get(lo), get(j))) exchange(lo, j);
            if(hi - i == 1 && !less(get(i), get(hi))) exchange(i, hi);
        } else {
            partition_plain(i, j, get, exchange, less);
            left = (lo < j);
            right = (i < hi);
        }
        if(left && right) {
            OSTREVAN_ASSERT(depth + 4 < StackSize && "quickSort(): stack overflow");
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

/// Exists if Compare compares elements of Type, so that a stride is not taken for a comparison.
template<class Compare, class Type>
using IsCompare = std::enable_if_t<std::is_invocable_r_v<bool, const Compare &, const Type &, const Type &>>;

} // namespace Sort

/// Sorts \p size elements.
template<class Type, class Compare = QuickCompare<Type>, class Index = int32_t, uint32_t StackSize = 512,
         class = Sort::IsCompare<Compare, Type>>
void quickSort(Type *data, uint32_t size, const Compare &compare = Compare()) {
    Sort::quick_sort<Sort::key_kind<Type, Compare>, Index, StackSize>(
        size, Sort::GetPlain<Type>{data}, [data](Index i, Index j) { std::swap(data[i], data[j]); }, compare);
}

/// Sorts \p size keys and carries the values along.
template<class Key, class Value, class Compare = QuickCompare<Key>, class Index = int32_t, uint32_t StackSize = 512,
         class = Sort::IsCompare<Compare, Key>>
void quickSort(Key *keys, Value *values, uint32_t size, const Compare &compare = Compare()) {
    Sort::quick_sort<Sort::pair_kind<Key>, Index, StackSize>(
        size, Sort::GetPlain<Key>{keys},
        [keys, values](Index i, Index j) {
            std::swap(keys[i], keys[j]);
            std::swap(values[i], values[j]);
        },
        compare);
}

/// Sorts \p size records of \p stride bytes by the element that each begins with. A record is a run of such elements,
/// of 256 bytes at most.
template<class Type, class Compare = QuickCompare<Type>, class Index = int32_t, uint32_t StackSize = 512,
         class = Sort::IsCompare<Compare, Type>>
void quickSort(Type *data, uint32_t size, uint32_t stride, const Compare &compare = Compare()) {
    OSTREVAN_ASSERT(stride >= sizeof(Type) && stride <= Sort::MaxStride && "quickSort::unsupported stride");
    OSTREVAN_ASSERT(stride % sizeof(Type) == 0 && "quickSort(): unsupported stride");
    const size_t step = stride / sizeof(Type);
    Sort::quick_sort<Sort::pair_kind<Type>, Index, StackSize>(
        size, [data, step](Index i) -> const Type & { return data[step * size_t(i)]; },
        [data, step](Index i, Index j) {
            Type *a = data + step * size_t(i);
            Type *b = data + step * size_t(j);
            for(size_t k = 0; k < step; k++) std::swap(a[k], b[k]);
        },
        compare);
}

} // namespace Ostrevan
