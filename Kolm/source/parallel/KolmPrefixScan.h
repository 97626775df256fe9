// KolmPrefixScan.h: exclusive prefix sums of 32-bit words on the GPU.
// Rests on the abstract device alone. The kernels are stages of blobs/PrefixScan.glsl.

#pragma once

#include "KolmArray.h"
#include "KolmBuffer.h"
#include "KolmPlatform.h"

namespace Kolm {

class Async;
class Compute;
class Device;
class Kernel;

/// Prefix scan: every element of a range becomes the sum of those in front of it, modulo 2^32, in place.
///
/// dispatch() only records. The buffers of the object are scratch memory of what was recorded: an object serves one
/// recording at a time. Ranges are in elements of 32 bits and begin at multiples of four; words outside of them are
/// not touched. A range has no more than getMaxElements() elements. Work in front of a dispatch and behind it sees the
/// buffer as before and after the scan without a barrier of the caller's.
class PrefixScan : public NoCopy {
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

    PrefixScan() = default;
    ~PrefixScan();

    /// Compiles the kernels, on \p async if it is given, and makes the buffers. \p groups threads form a group: a power
    /// of two. \p regions is the largest number of ranges of one call. False when the reason was logged.
    /// \p device has to outlive the object.
    bool create(Device *device, Mode mode, uint32_t groups = 256, uint32_t regions = 1, Async *async = nullptr);
    bool create(Device *device, Flags flags, uint32_t groups = 256, uint32_t regions = 1, Async *async = nullptr);
    void clear();
    /// Whether the forms of \p flags can be dispatched.
    bool isCreated(Flags flags = FlagNone) const;

    uint32_t getGroupSize() const { return group_size; }       ///< threads
    uint32_t getScanElements() const { return scan_elements; } ///< elements of one group
    uint32_t getMaxElements() const { return max_elements; }   ///< elements of one range
    uint32_t getMaxRegions() const { return max_regions; }

    /// Scans one range.
    bool dispatch(Compute *compute, Buffer *data, uint32_t offset, uint32_t size);
    /// Scans ranges that do not overlap. Sizes of 0 and above the maximum are passed over.
    bool dispatch(Compute *compute, Buffer *data, uint32_t num_regions, const uint32_t *offsets, const uint32_t *sizes,
                  Flags flags = FlagNone);

    /// Scans one range that stands in \p dispatch, at \p dispatch_offset in words, a multiple of 4. \p max_size is the
    /// largest size that may stand there: what only larger ones need is not recorded.
    bool dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t max_size = ~0u);
    /// Scans \p count ranges that stand there. Those of more than one group together may have as many groups as the
    /// device runs in one dispatch, and no more than scan elements times regions: what is beyond is passed over.
    bool dispatchIndirect(Compute *compute, Buffer *data, uint32_t count, Buffer *dispatch, uint32_t dispatch_offset,
                          Flags flags = FlagNone, uint32_t max_size = ~0u);
    /// The same for as many ranges as the word of \p count at \p count_offset, in words, says.
    bool dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, Buffer *count, uint32_t dispatch_offset,
                          uint32_t count_offset, Flags flags = FlagNone, uint32_t max_size = ~0u);

private:
    enum Indirect { IndirectLocal = 0, IndirectGlobal, IndirectUpdate, NumIndirects };

    struct ScanParameters {
        uint32_t data_offset;   // vectors
        uint32_t update_offset; // words
        uint32_t group;
        uint32_t size;
    };
    struct IndirectParameters {
        uint32_t count_offset;       // words
        uint32_t dispatch_offset;    // records
        uint32_t update_buffer_size; // words
        uint32_t scan_elements;
        uint32_t max_elements;
        uint32_t max_regions;
    };

    bool create_kernels(Device *device, Flags flags, Async *async);
    bool create_buffers(Device *device, Flags flags);
    void check_data(Compute *compute, const Buffer *data, uint64_t offset, uint64_t size) const;
    void begin(Compute *compute, Buffer *data);
    uint32_t get_indirect_groups() const;
    IndirectParameters get_parameters(uint32_t dispatch_offset, uint32_t count_offset) const;
    void set_lists(Compute *compute, Buffer *dispatch);
    void dispatch_indirect(Compute *compute, Buffer *data, Mode mode, uint32_t max_size);

    uint32_t group_size = 0;
    uint32_t scan_elements = 0;
    uint32_t max_elements = 0;
    uint32_t max_regions = 0;
    uint32_t max_groups = 0;   // of one dispatch
    uint32_t local_groups = 0; // of the last call with several ranges
    uint32_t global_groups = 0;
    uint32_t update_groups = 0;

    Kernel *local_kernels[NumModes] = {};
    Kernel *global_kernels[NumModes] = {};
    Kernel *update_kernels[NumModes] = {};
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
    Buffer *update_buffer = nullptr;   // totals of groups
};

inline PrefixScan::Flags operator|(PrefixScan::Flags a, PrefixScan::Flags b) {
    return PrefixScan::Flags(uint32_t(a) | uint32_t(b));
}
inline PrefixScan::Flags operator&(PrefixScan::Flags a, PrefixScan::Flags b) {
    return PrefixScan::Flags(uint32_t(a) & uint32_t(b));
}

} // namespace Kolm
