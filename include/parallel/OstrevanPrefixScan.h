// Exclusive prefix sums of 32-bit words on the GPU.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>

namespace Ostrevan {

/// Prefix scan: every element of a range becomes the sum of those in front of it, modulo 2^32, in place.
///
/// dispatch() only records. The buffers of the object are scratch memory of what was recorded: an object serves one
/// recording at a time. Ranges are in elements of 32 bits and begin at multiples of four; words outside of them are
/// not touched. A range has no more than getMaxElements() elements. Work in front of a dispatch and behind it sees the
/// buffer as before and after the scan without a barrier of the caller's.
class OSTREVAN_API PrefixScan {
    OSTREVAN_LEAF_HANDLE(PrefixScan)
public:
    enum Flags : uint32_t {
        FlagNone = 0,
        FlagSingle = 1,   ///< one range
        FlagMultiple = 2, ///< several ranges in one call
        FlagIndirect = 4, ///< ranges that the GPU knows
        /// The ranges are those of the previous call of the same form: their parameters are not made again.
        FlagRepeat = 8,
        FlagsAll = FlagSingle | FlagMultiple | FlagIndirect,
    };
    enum Mode { ModeSingle = 0, ModeMultiple, NumModes };

    /// What the indirect forms read.
    struct DispatchParameters {
        uint32_t offset = 0; // elements, a multiple of 4
        uint32_t size = 0;   // elements; 0 and what is above the maximum is passed over
        uint32_t padding_0 = 0;
        uint32_t padding_1 = 0;
    };

    PrefixScan();

    /// Compiles the kernels, on \p async if it is given, and makes the buffers. \p groups threads form a group: a power
    /// of two. \p regions is the largest number of ranges of one call. False when the reason was logged.
    /// \p device has to outlive the object.
    bool create(const Device &device, Mode mode, uint32_t groups = 256, uint32_t regions = 1, Async *async = nullptr);
    bool create(const Device &device, Flags flags, uint32_t groups = 256, uint32_t regions = 1, Async *async = nullptr);
    void clear();
    /// Whether the forms of \p flags can be dispatched.
    bool isCreated(Flags flags = FlagNone) const;

    uint32_t getGroupSize() const;    ///< threads
    uint32_t getScanElements() const; ///< elements of one group
    uint32_t getMaxElements() const;  ///< elements of one range
    uint32_t getMaxRegions() const;

    /// Scans one range.
    bool dispatch(Compute &compute, const Buffer &data, uint32_t offset, uint32_t size);
    /// Scans ranges that do not overlap. Sizes of 0 and above the maximum are passed over.
    bool dispatch(Compute &compute, const Buffer &data, uint32_t num_regions, const uint32_t *offsets,
                  const uint32_t *sizes, Flags flags = FlagNone);

    /// Scans one range that stands in \p dispatch, at \p dispatch_offset in words, a multiple of 4. \p max_size is the
    /// largest size that may stand there: what only larger ones need is not recorded.
    bool dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t max_size = ~0u);
    /// Scans \p count ranges that stand there. Those of more than one group together may have as many groups as the
    /// device runs in one dispatch, and no more than scan elements times regions: what is beyond is passed over.
    bool dispatchIndirect(Compute &compute, const Buffer &data, uint32_t count, const Buffer &dispatch,
                          uint32_t dispatch_offset, Flags flags = FlagNone, uint32_t max_size = ~0u);
    /// The same for as many ranges as the word of \p count at \p count_offset, in words, says.
    bool dispatchIndirect(Compute &compute, const Buffer &data, const Buffer &dispatch, const Buffer &count,
                          uint32_t dispatch_offset, uint32_t count_offset, Flags flags = FlagNone,
                          uint32_t max_size = ~0u);
};

inline PrefixScan::Flags operator|(PrefixScan::Flags a, PrefixScan::Flags b) {
    return PrefixScan::Flags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
