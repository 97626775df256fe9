// KolmRadixSort.h: stable sort of 32-bit keys with 32-bit values on the GPU.
// Rests on the abstract device and on PrefixScan. The kernels are stages of blobs/RadixSort.glsl.

#pragma once

#include "KolmPrefixScan.h"

namespace Kolm {

/// Radix sort: orders keys by their lowest bits and moves a value along with each key. Equal keys keep their order.
///
/// Keys and values lie in one buffer, at offsets in elements of 32 bits that are multiples of four. A range that one
/// group can't sort takes a round for each four bits: such a round looks at all four, so that bits of the keys at and
/// above `bits` should be zero unless `bits` is a multiple of four. dispatch() only records; the buffers of the object
/// are scratch memory of what was recorded, so an object, like its PrefixScan, serves one recording at a time. Work in
/// front of a dispatch and behind it sees the buffer as before and after the sort without a barrier of the caller's.
class RadixSort : public NoCopy {
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

    RadixSort() = default;
    ~RadixSort();

    /// Compiles the kernels, on \p async if it is given, and makes the buffers. \p prefix_scan has to outlive the
    /// object; it is created with the same groups and regions where it lacks what \p flags need. \p size is the largest
    /// number of elements of a range, and of all ranges of one call that a single group can't sort. \p groups threads
    /// form a group: a power of two. \p regions is the largest number of ranges of one call. False when the reason was
    /// logged. \p device has to outlive the object.
    bool create(Device *device, Mode mode, PrefixScan *prefix_scan, uint32_t size, uint32_t groups = 256,
                uint32_t regions = 1, Async *async = nullptr);
    bool create(Device *device, Flags flags, PrefixScan *prefix_scan, uint32_t size, uint32_t groups = 256,
                uint32_t regions = 1, Async *async = nullptr);
    void clear();
    /// Whether the forms of \p flags can be dispatched.
    bool isCreated(Flags flags = FlagNone) const;

    uint32_t getDataSize() const { return data_size; }             ///< elements, the size of create() rounded up
    uint32_t getGroupSize() const { return group_size; }           ///< threads
    uint32_t getSortElements() const { return sort_elements; }     ///< elements of one group
    uint32_t getUpdateElements() const { return update_elements; } ///< elements of one block of the reordering
    uint32_t getMaxElements() const { return max_elements; }       ///< elements that the scan's limits allow
    uint32_t getMaxRegions() const { return max_regions; }
    PrefixScan *getPrefixScan() const { return prefix_scan; }
    /// The partner of the caller's buffer: keys, then values, data size elements each.
    Buffer *getDataBuffer() const { return data_buffer; }

    /// Sorts one range by the lowest \p bits, 1 to 32. \p flags is FlagNone or FlagOrder.
    bool dispatch(Compute *compute, Buffer *data, uint32_t keys_offset, uint32_t data_offset, uint32_t size,
                  Flags flags = FlagNone, uint32_t bits = 32);
    /// Sorts ranges that do not overlap. Sizes of 0 and above the maximum are passed over.
    bool dispatch(Compute *compute, Buffer *data, uint32_t num_regions, const uint32_t *keys_offsets,
                  const uint32_t *data_offsets, const uint32_t *sizes, Flags flags = FlagNone, uint32_t bits = 32);

    /// Sorts one range that stands in \p dispatch, at \p dispatch_offset in words, a multiple of 4. \p max_size is the
    /// largest size that may stand there: what only larger ones need is not recorded.
    bool dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t bits = 32, uint32_t max_size = ~0u);
    /// Sorts \p count ranges that stand there. Those of more than one group together may have as many elements as the
    /// data size says, and two thirds as many blocks as the device runs in one dispatch: what is beyond is passed over.
    bool dispatchIndirect(Compute *compute, Buffer *data, uint32_t count, Buffer *dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t bits = 32, uint32_t max_size = ~0u);
    /// The same for as many ranges as the word of \p count at \p count_offset, in words, says.
    bool dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, Buffer *count, uint32_t dispatch_offset,
                          uint32_t count_offset, Flags flags = FlagNone, uint32_t bits = 32, uint32_t max_size = ~0u);

private:
    enum KernelMode { KernelSort = 0, KernelOrder, NumKernelModes };
    enum Indirect { IndirectLocal = 0, IndirectGlobal, IndirectUpdate, IndirectScan, NumIndirects };
    static constexpr uint32_t RadixBits = 4;
    static constexpr uint32_t RadixSize = 1 << RadixBits;

    struct RadixParameters {
        uint32_t radix_offset;
        uint32_t radix_count;
    };
    struct SortParameters {
        uint32_t src_keys_offset; // vectors
        uint32_t src_data_offset;
        uint32_t dest_keys_offset;
        uint32_t dest_data_offset;
        uint32_t group;
        uint32_t size;
    };
    struct UpdateParameters {
        uint32_t src_keys_offset; // words
        uint32_t src_data_offset;
        uint32_t dest_keys_offset;
        uint32_t dest_data_offset;
        uint32_t update_offset;
        uint32_t groups;
        uint32_t group;
        uint32_t size;
    };
    struct IndirectParameters {
        uint32_t count_offset;    // words
        uint32_t dispatch_offset; // records
        uint32_t data_size;
        uint32_t max_data;
        uint32_t max_regions;
        uint32_t sort_elements;
        uint32_t update_elements;
        uint32_t max_elements;
    };
    struct Region {
        uint32_t keys_offset;
        uint32_t data_offset;
        uint32_t size;
    };

    bool create_scan(Device *device, Flags flags, Async *async);
    bool create_kernels(Device *device, Flags flags, Async *async);
    bool create_buffers(Device *device, Flags flags);
    void check_data(Compute *compute, const Buffer *data, uint32_t bits) const;
    void check_range(const Buffer *data, const Region &region) const;
    void begin(Compute *compute, Buffer *data);
    SortParameters get_sort(const Region &region, uint32_t offset, uint32_t group) const;
    UpdateParameters get_update(const Region &region, uint32_t offset, uint32_t group, uint32_t groups) const;
    template<class Run, class Scan>
    bool sort_rounds(Compute *compute, Buffer *data, Mode mode, Flags flags, uint32_t bits, const Run &run,
                     const Scan &scan);
    IndirectParameters get_parameters(Mode mode, uint32_t dispatch_offset, uint32_t count_offset) const;
    bool dispatch_indirect(Compute *compute, Buffer *data, Mode mode, Flags flags, uint32_t bits, uint32_t max_size);

    uint32_t data_size = 0;
    uint32_t group_size = 0;
    uint32_t sort_elements = 0;
    uint32_t update_elements = 0;
    uint32_t max_elements = 0;
    uint32_t max_regions = 0;
    uint32_t max_groups = 0; // of one dispatch
    PrefixScan *prefix_scan = nullptr;

    Kernel *local_kernels[NumModes][NumKernelModes] = {};
    Kernel *global_kernels[NumModes][NumKernelModes] = {};
    Kernel *offset_kernels[NumModes] = {};
    Kernel *reorder_kernels[NumModes] = {};
    Kernel *clear_kernel = nullptr;
    Kernel *clear_count_kernel = nullptr;
    Kernel *single_kernel = nullptr;
    Kernel *multiple_kernel = nullptr;
    Kernel *multiple_count_kernel = nullptr;

    Buffer *local_buffers[NumModes] = {};
    Buffer *global_buffers[NumModes] = {};
    Buffer *update_buffers[NumModes] = {};
    Buffer *indirect_buffer = nullptr; // slots of work groups
    Buffer *multiple_buffer = nullptr; // work groups of the kernel that fills the slots
    Buffer *data_buffer = nullptr;     // keys and values sorted by groups
    Buffer *scan_buffer = nullptr;     // ranges of the scan for the indirect forms
    Buffer *offset_buffer = nullptr;   // where digits begin in their block
    Buffer *reorder_buffer = nullptr;  // counts of digits, then their places
};

inline RadixSort::Flags operator|(RadixSort::Flags a, RadixSort::Flags b) {
    return RadixSort::Flags(uint32_t(a) | uint32_t(b));
}
inline RadixSort::Flags operator&(RadixSort::Flags a, RadixSort::Flags b) {
    return RadixSort::Flags(uint32_t(a) & uint32_t(b));
}

} // namespace Kolm
