// Stable sort of 32-bit keys with 32-bit values on the GPU.

#pragma once

#include <parallel/OstrevanPrefixScan.h>

namespace Ostrevan {

/// Radix sort: orders keys by their lowest bits and moves a value along with each key. Equal keys keep their order.
///
/// Keys and values lie in one buffer, at offsets in elements of 32 bits that are multiples of four. A range that one
/// group can't sort takes a round for each four bits: such a round looks at all four, so that bits of the keys at and
/// above `bits` should be zero unless `bits` is a multiple of four. dispatch() only records; the buffers of the object
/// are scratch memory of what was recorded, so an object, like its PrefixScan, serves one recording at a time. Work in
/// front of a dispatch and behind it sees the buffer as before and after the sort without a barrier of the caller's.
class OSTREVAN_API RadixSort {
    OSTREVAN_LEAF_HANDLE(RadixSort)
public:
    enum Flags : uint32_t {
        FlagNone = 0,
        FlagSingle = 1,   ///< one range
        FlagMultiple = 2, ///< several ranges in one call
        FlagIndirect = 4, ///< ranges that the GPU knows
        FlagOrder = 8,    ///< in create(): such dispatches are possible; in a dispatch: the values are not read but
                          ///< become the numbers of the elements in their range, the permutation
        FlagTracing = 16, ///< getDataBuffer() may hold geometry of acceleration structures too
        FlagScratch = 32, ///< getDataBuffer() may be scratch memory of their builds too
        FlagsAll = FlagSingle | FlagMultiple | FlagIndirect | FlagOrder,
    };
    enum Mode { ModeSingle = 0, ModeMultiple, NumModes };

    /// What the indirect forms read.
    struct DispatchParameters {
        uint32_t keys_offset = 0; // elements, multiples of 4
        uint32_t data_offset = 0;
        uint32_t size = 0; // elements; 0 and what is above the maximum is passed over
        uint32_t padding = 0;
    };

    RadixSort();

    /// Compiles the kernels, on \p async if it is given, and makes the buffers. \p prefix_scan has to outlive the
    /// object; it is created with the same groups and regions where it lacks what \p flags need. \p size is the largest
    /// number of elements of a range, and of all ranges of one call that a single group can't sort. \p groups threads
    /// form a group: a power of two. \p regions is the largest number of ranges of one call. False when the reason was
    /// logged. \p device has to outlive the object.
    bool create(const Device &device, Mode mode, PrefixScan &prefix_scan, uint32_t size, uint32_t groups = 256,
                uint32_t regions = 1, Async *async = nullptr);
    bool create(const Device &device, Flags flags, PrefixScan &prefix_scan, uint32_t size, uint32_t groups = 256,
                uint32_t regions = 1, Async *async = nullptr);
    void clear();
    /// Whether the forms of \p flags can be dispatched.
    bool isCreated(Flags flags = FlagNone) const;

    uint32_t getDataSize() const;       ///< elements, the size of create() rounded up
    uint32_t getGroupSize() const;      ///< threads
    uint32_t getSortElements() const;   ///< elements of one group
    uint32_t getUpdateElements() const; ///< elements of one block of the reordering
    uint32_t getMaxElements() const;    ///< elements that the scan's limits allow
    uint32_t getMaxRegions() const;
    PrefixScan getPrefixScan() const;
    /// The partner of the caller's buffer: keys, then values, data size elements each.
    Buffer getDataBuffer() const;

    /// Sorts one range by the lowest \p bits, 1 to 32. \p flags is FlagNone or FlagOrder.
    bool dispatch(Compute &compute, const Buffer &data, uint32_t keys_offset, uint32_t data_offset, uint32_t size,
                  Flags flags = FlagNone, uint32_t bits = 32);
    /// Sorts ranges that do not overlap. Sizes of 0 and above the maximum are passed over.
    bool dispatch(Compute &compute, const Buffer &data, uint32_t num_regions, const uint32_t *keys_offsets,
                  const uint32_t *data_offsets, const uint32_t *sizes, Flags flags = FlagNone, uint32_t bits = 32);

    /// Sorts one range that stands in \p dispatch, at \p dispatch_offset in words, a multiple of 4. \p max_size is the
    /// largest size that may stand there: what only larger ones need is not recorded.
    bool dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t bits = 32, uint32_t max_size = ~0u);
    /// Sorts \p count ranges that stand there. Those of more than one group together may have as many elements as the
    /// data size says, and two thirds as many blocks as the device runs in one dispatch: what is beyond is passed over.
    bool dispatchIndirect(Compute &compute, const Buffer &data, uint32_t count, const Buffer &dispatch,
                          uint32_t dispatch_offset, Flags flags = FlagNone, uint32_t bits = 32,
                          uint32_t max_size = ~0u);
    /// The same for as many ranges as the word of \p count at \p count_offset, in words, says.
    bool dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, const Buffer &count,
                          uint32_t dispatch_offset, uint32_t count_offset, Flags flags = FlagNone, uint32_t bits = 32,
                          uint32_t max_size = ~0u);
};

inline RadixSort::Flags operator|(RadixSort::Flags a, RadixSort::Flags b) {
    return RadixSort::Flags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
