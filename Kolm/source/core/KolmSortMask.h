// The Hoare partition of quickSort for numbers, without branches on their values.
//
// The plain partition looks for the first element from the left that does not stand before the pivot and for the first
// from the right that does not stand behind it, exchanges the two and goes on: a branch for each element, mispredicted
// half of the time. Here the elements of up to 64 places are compared at once into the bits of a word, and the set bits
// are taken in pairs. Those are the pairs that the plain partition exchanges, in its order.

#pragma once

#include "KolmBase.h"

namespace Kolm {

template<class Type> struct QuickCompare {
    bool operator()(const Type &a, const Type &b) const { return a < b; }
};

namespace Sort {

/// Keys that lie one behind the other.
template<class Key> struct GetPlain {
    template<class Index> const Key &operator()(Index i) const { return data[i]; }
    const Key *data;
};

/// Four keys in a register, for the types that have it.
template<class Key> struct Lanes { using Type = void; };
template<> struct Lanes<int32_t> { using Type = int32_t __attribute__((vector_size(16))); };
template<> struct Lanes<uint32_t> { using Type = uint32_t __attribute__((vector_size(16))); };
template<> struct Lanes<float> { using Type = float __attribute__((vector_size(16))); };

template<class Key, class Get, class Less>
constexpr bool has_lanes = !std::is_void_v<typename Lanes<Key>::Type> && std::is_same_v<Get, GetPlain<Key>> &&
                           std::is_same_v<Less, QuickCompare<Key>>;

/// Whether an element belongs to what the search from the left, or from the right, stops at.
template<bool IsLeft, class Key, class Less> inline bool is_stop(const Key &key, const Key &pivot, Less less) {
    return IsLeft ? !less(key, pivot) : !less(pivot, key);
}

/// Bits of the eight elements from \p begin on.
template<bool IsLeft, class Index, class Key, class Get, class Less, size_t... K>
inline uint32_t get_eight(Index begin, const Key &pivot, Get get, Less less, std::index_sequence<K...>) {
    if constexpr(has_lanes<Key, Get, Less>) {
        typename Lanes<Key>::Type a, b;
        memcpy(&a, get.data + begin, sizeof(a));
        memcpy(&b, get.data + begin + 4, sizeof(b));
        const auto c = IsLeft ? (a < pivot) : (a > pivot);
        const auto d = IsLeft ? (b < pivot) : (b > pivot);
#if defined(__x86_64__)
        using Bits = Lanes<float>::Type;
        return uint32_t(__builtin_ia32_movmskps(Bits(c)) | __builtin_ia32_movmskps(Bits(d)) << 4) ^ 0xFF;
#else
        const auto e = (c & decltype(c){1, 2, 4, 8}) | (d & decltype(d){16, 32, 64, 128});
        return uint32_t(e[0] + e[1] + e[2] + e[3]) ^ 0xFF;
#endif
    } else {
        return ((uint32_t(is_stop<IsLeft>(get(Index(begin + Index(K))), pivot, less)) << K) | ...);
    }
}

/// Bits of \p size elements, 64 at most, from \p begin on; bit 0 is the first.
template<bool IsLeft, class Index, class Key, class Get, class Less>
inline uint64_t get_mask(Index begin, uint32_t size, const Key &pivot, Get get, Less less) {
    uint64_t mask = 0;
    if(size < 8) {
        for(uint32_t k = 0; k < size; k++)
            mask |= uint64_t(is_stop<IsLeft>(get(Index(begin + Index(k))), pivot, less)) << k;
        return mask;
    }
    const auto eight = [&](uint32_t k) {
        return uint64_t(get_eight<IsLeft>(Index(begin + Index(k)), pivot, get, less, std::make_index_sequence<8>()))
               << k;
    };
    for(uint32_t k = 0; k + 8 < size; k += 8) mask |= eight(k);
    return mask | eight(size - 8); // some of them twice
}

/// Partition of the range \p i to \p j. On return \p j is the end of the left part and \p i the beginning of the right
/// one.
template<class Index, class Get, class Exchange, class Less>
inline void partition_mask(Index &i, Index &j, Get get, Exchange exchange, Less less) {
    constexpr Index Short = 62; // elements that fit into one word with a place on either side
    constexpr uint64_t Top = uint64_t(1) << 63;
    const Index lo = i;
    const Index hi = j;
    const auto pivot = get(Index(lo + ((hi - lo) >> 1)));

    // Blocks from both ends, while they don't meet. A block whose places were not all used up begins with the first
    // that was not in the next round.
    while(j - i >= Short) {
        const uint32_t size = uint32_t(min<Index>(64, (j - i + 1) / 2));
        uint64_t left = get_mask<true>(i, size, pivot, get, less);
        uint64_t right = get_mask<false>(Index(j - Index(size) + 1), size, pivot, get, less) << (64 - size);
        for(int32_t num = min(__builtin_popcountll(left), __builtin_popcountll(right)); num > 0; num--) {
            const int32_t a = __builtin_ctzll(left);
            const int32_t b = __builtin_clzll(right);
            exchange(Index(i + a), Index(j - b));
            left &= left - 1;
            right ^= Top >> b;
        }
        i += left ? Index(__builtin_ctzll(left)) : Index(size);
        j -= right ? Index(__builtin_clzll(right)) : Index(size);
    }

    // The rest in one word for each side; bit 0 is the place in front of it. What was exchanged holds the search on the
    // other side, and so do the ends of the range, where a comparison that is not strict would walk out.
    const Index base = i - 1;
    const uint32_t size = uint32_t(j - i + 1);
    uint64_t left = get_mask<true>(i, size, pivot, get, less) << 1;
    uint64_t right = get_mask<false>(i, size, pivot, get, less) << 1;
    left |= uint64_t(1) << (min<Index>(j + 1, hi) - base);
    right |= uint64_t(1) << (max<Index>(base, lo) - base);
    int32_t a = __builtin_ctzll(left);
    int32_t b = 63 - __builtin_clzll(right);
    while(a < b) {
        exchange(Index(base + a), Index(base + b));
        left = (left & (left - 1)) | uint64_t(1) << b;
        right = (right ^ (uint64_t(1) << b)) | uint64_t(1) << a;
        a = __builtin_ctzll(left);
        b = 63 - __builtin_clzll(right);
    }
    i = base + Index(a) + Index(a == b);
    j = base + Index(b) - Index(a == b);
}

} // namespace Sort

} // namespace Kolm
