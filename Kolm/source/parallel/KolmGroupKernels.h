// KolmGroupKernels.h: what the GPU algorithms have in common: kernels made from one embedded text, and the arithmetic
// of work groups. Rests on the abstract device.

#pragma once

#include "KolmCompute.h"
#include "KolmDevice.h"
#include "KolmKernel.h"

namespace Kolm {

class Async;

/// A list of kernels that are compiled from one embedded text, on an Async if there is one.
///
/// Kernels are described by add(); create() compiles all of them and waits. The stages of a text are told apart by
/// macros, "NAME=value" separated by ";".
class GroupKernels : public NoCopy {
public:
    /// \p name stands in messages, "PrefixScan" say. \p rows is the packed text, which may include "GroupId.glsl" and
    /// "GroupScan.glsl".
    GroupKernels(Device *device, const char *name, const uint8_t (*rows)[256]);

    /// New kernel with its bindings: uniform blocks from binding 0 on, storage buffers behind them. Bit i of \p read
    /// tells that the storage buffer i is only read.
    /// \p stage names it in messages and debug tools. The caller owns it, whether its creation works or not.
    Kernel *add(const char *stage, uint32_t uniforms, uint32_t storages, uint32_t read, const char *format, ...)
        KOLM_PRINTF(6, 7);
    /// Compiles what was added. False if one of them failed, which is logged.
    bool create(Async *async);

    /// "SUBGROUP_SIZE=8u", with "SUBGROUP_FIXED=1" on a device that has no other size, and with "NO_SUBGROUP=1" on one
    /// without subgroup arithmetic.
    static String getSubgroupMacros(const Device *device);

    /// Groups of one dispatch: every device runs that many, and records in front of them keep a buffer's alignment.
    static constexpr uint32_t MaxGroups = 65280;
    /// What the number of the first group of a range becomes in the dispatch that has the group \p group.
    static uint32_t getFirst(uint32_t first, uint32_t group) { return first - group / MaxGroups * MaxGroups; }

    /// Runs \p num groups of \p group_size threads, one record of \p size bytes in \p parameters for each, which is
    /// the storage slot 0 of the kernel that is set.
    static void dispatch(Compute *compute, uint32_t group_size, Buffer *parameters, uint32_t num, size_t size);

private:
    struct Entry {
        Kernel *kernel = nullptr;
        String stage;
        String macros;
    };

    static String get_text(const uint8_t (*rows)[256]);
    bool create_kernel(const Entry &entry) const;

    Device *device;
    const char *name;
    String source;
    String group_id; // texts that it includes
    String group_scan;
    Array<Entry> entries;
};

inline uint32_t align4(uint32_t value) { return (value + 3) & ~3u; }
/// Groups of a size, without overflow.
inline uint32_t get_num_groups(uint32_t size, uint32_t group) { return size / group + (size % group != 0); }

} // namespace Kolm
