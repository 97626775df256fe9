// KolmRadixSort.cpp: kernels and buffers of the sort, and what its forms record.
//
// A range of up to sort_elements is one group's work. A larger one takes a round for each digit: groups sort their part
// by the digit into data_buffer, blocks of half a group count their digits, a scan of the counts, digit by digit, gives
// the places of each block's digits, and the blocks scatter their elements back to the caller's buffer.

#include "KolmRadixSort.h"

#include "KolmGroupKernels.h"
#include "KolmLog.h"

namespace Kolm {

#include "RadixSort_blob.inc"

static_assert(sizeof(RadixSort::DispatchParameters) == 16);

RadixSort::~RadixSort() { clear(); }

bool RadixSort::create(Device *device, Mode mode, PrefixScan *scan, uint32_t size, uint32_t groups, uint32_t regions,
                       Async *async) {
    KOLM_ASSERT(mode < NumModes && "RadixSort::create(): invalid mode");
    return create(device, (mode == ModeSingle) ? FlagSingle : FlagMultiple, scan, size, groups, regions, async);
}

bool RadixSort::create(Device *device, Flags flags, PrefixScan *scan, uint32_t size, uint32_t groups, uint32_t regions,
                       Async *async) {
    KOLM_ASSERT(device && "RadixSort::create(): device is null");
    KOLM_ASSERT(scan && "RadixSort::create(): prefix scan is null");
    KOLM_ASSERT(size > 0 && "RadixSort::create(): invalid size");
    KOLM_ASSERT(is_pow2(groups) && "RadixSort::create(): invalid group size");
    KOLM_ASSERT(regions > 0 && "RadixSort::create(): invalid number of regions");
    clear();

    // offsets into the object's buffer are words in 32 bits
    constexpr uint32_t max_size = 0x40000000;
    const Device::Features &features = device->getFeatures();
    if(groups > features.maxGroupSizeX || regions > GroupKernels::MaxGroups || size > max_size) {
        Log::printf(Log::Error,
                    "RadixSort::create(): can't use %u threads, %u regions and %u elements, at most %u, %u and %u\n",
                    groups, regions, size, features.maxGroupSizeX, GroupKernels::MaxGroups, max_size);
        return false;
    }
    if(features.maxStorageSize && uint64_t(align4(size)) * 8 > features.maxStorageSize) {
        Log::printf(Log::Error, "RadixSort::create(): can't use %u elements, the device binds %llu bytes\n", size,
                    static_cast<unsigned long long>(features.maxStorageSize));
        return false;
    }
    prefix_scan = scan;
    group_size = groups;
    sort_elements = groups * 4;
    update_elements = groups * 2;
    data_size = align4(size);
    max_regions = regions;
    max_groups = features.maxGroupCountX;
    if(!create_scan(device, flags, async)) {
        Log::print(Log::Error, "RadixSort::create(): can't create prefix scan\n");
        clear();
        return false;
    }
    max_elements = uint32_t(min(uint64_t(prefix_scan->getMaxElements()) * (groups >> 3), uint64_t(0xFFFFFFFC)));

    if(!create_kernels(device, flags, async)) {
        Log::print(Log::Error, "RadixSort::create(): can't create kernels\n");
        clear();
        return false;
    }
    if(!create_buffers(device, flags)) {
        Log::print(Log::Error, "RadixSort::create(): can't create buffers\n");
        clear();
        return false;
    }
    return true;
}

bool RadixSort::create_scan(Device *device, Flags flags, Async *async) {
    const PrefixScan::Flags scan_flags = PrefixScan::Flags(flags) & PrefixScan::FlagsAll;
    if(!prefix_scan->isCreated(scan_flags))
        return prefix_scan->create(device, scan_flags, group_size, max_regions, async);
    KOLM_ASSERT(prefix_scan->getMaxRegions() >= max_regions && "RadixSort::create(): invalid number of regions");
    return true;
}

bool RadixSort::create_kernels(Device *device, Flags flags, Async *async) {
    GroupKernels kernels(device, "RadixSort", RadixSort_blob_src);
    // keys and values of a group go through shared memory together where there is room, beside that of the group's scan
    const uint64_t pairs_size = uint64_t(sort_elements) * 8 + uint64_t(group_size) * 8 + 64;
    const char *pairs = (pairs_size <= device->getFeatures().groupMemory) ? "; GROUP_PAIRS=1" : "";
    const String macros = GroupKernels::getSubgroupMacros(device) + pairs;
    const uint32_t num_kernels = (flags & FlagOrder) ? NumKernelModes : 1;
    for(uint32_t i = 0; i < NumModes; i++) {
        if((flags & (FlagSingle << i)) == 0) continue;
        const char *mode = (i == ModeSingle) ? "MODE_SINGLE=1" : "MODE_MULTIPLE=1";
        // parameters are a uniform block or the first storage buffer
        const uint32_t uniforms = (i == ModeSingle) ? 2 : 1;
        const uint32_t first = 2 - uniforms;
        for(uint32_t j = 0; j < num_kernels; j++) {
            const char *kernel = (j == KernelSort) ? "KERNEL_SORT=1" : "KERNEL_ORDER=1";
            const char *order = (j == KernelSort) ? "" : " order";
            local_kernels[i][j] =
                kernels.add(String::format("local%s", order).get(), uniforms, first + 1, first,
                            "LOCAL_SHADER=1; GROUP_SIZE=%uu; %s; %s; %s", group_size, macros.get(), mode, kernel);
            global_kernels[i][j] =
                kernels.add(String::format("global%s", order).get(), uniforms, first + 2, first | (1u << first),
                            "GLOBAL_SHADER=1; GROUP_SIZE=%uu; %s; %s; %s", group_size, macros.get(), mode, kernel);
        }
        offset_kernels[i] = kernels.add("offset", uniforms, first + 3, first | (1u << first),
                                        "OFFSET_SHADER=1; GROUP_SIZE=%uu; %s; %s", group_size, macros.get(), mode);
        reorder_kernels[i] = kernels.add("reorder", uniforms, first + 4, first | (13u << first),
                                         "REORDER_SHADER=1; GROUP_SIZE=%uu; %s; %s", group_size, macros.get(), mode);
    }
    if(flags & FlagIndirect) {
        clear_kernel =
            kernels.add("clear", 1, 1, 0, "CLEAR_SHADER=1; GROUP_SIZE=4u; NUM_INDIRECTS=%uu", uint32_t(NumIndirects));
        clear_count_kernel = kernels.add(
            "clear count", 1, 3, 2, "CLEAR_COUNT_SHADER=1; GROUP_SIZE=4u; NUM_INDIRECTS=%uu", uint32_t(NumIndirects));
        if(flags & FlagSingle) single_kernel = kernels.add("single", 1, 6, 1, "SINGLE_SHADER=1; GROUP_SIZE=1u;");
        if(flags & FlagMultiple) {
            multiple_kernel = kernels.add("multiple", 1, 6, 1, "MULTIPLE_SHADER=1; GROUP_SIZE=%uu", group_size);
            multiple_count_kernel =
                kernels.add("multiple count", 1, 7, 65, "MULTIPLE_COUNT_SHADER=1; GROUP_SIZE=%uu", group_size);
        }
    }
    return kernels.create(async);
}

// A range that one group can't sort has more than sort_elements. So all of them together have no more than twice the
// groups and, as a block is half a group, three times the blocks that one range of their size has groups.
bool RadixSort::create_buffers(Device *device, Flags flags) {
    bool status = true;
    const auto create = [&](Buffer *&buffer, const char *name, Buffer::Flags buffer_flags, uint64_t num, size_t size) {
        buffer = status ? device->createBuffer(buffer_flags, num * size) : nullptr;
        if(buffer) buffer->setName(name);
        status &= (buffer != nullptr);
    };
    const uint64_t data_groups = get_num_groups(data_size, sort_elements);
    for(uint32_t i = 0; i < NumModes; i++) {
        if((flags & (FlagSingle << i)) == 0) continue;
        const bool single = (i == ModeSingle);
        const Buffer::Flags usage = single ? Buffer::FlagUniform | Buffer::FlagStorage : Buffer::FlagStorage;
        create(local_buffers[i], "RadixSort local", usage, single ? 1 : max_regions, sizeof(SortParameters));
        create(global_buffers[i], "RadixSort global", usage, single ? 1 : data_groups * 2, sizeof(SortParameters));
        create(update_buffers[i], "RadixSort update", usage, single ? 1 : data_groups * 3, sizeof(UpdateParameters));
    }
    if(flags & FlagIndirect) {
        const Buffer::Flags usage = Buffer::FlagStorage | Buffer::FlagIndirect;
        create(indirect_buffer, "RadixSort indirect", usage, NumIndirects, 16);
        create(multiple_buffer, "RadixSort multiple", usage, 1, 16);
        create(scan_buffer, "RadixSort scan", Buffer::FlagStorage, max_regions, sizeof(PrefixScan::DispatchParameters));
    }
    Buffer::Flags usage = Buffer::FlagStorage;
    if(flags & FlagTracing) usage |= Buffer::FlagTracing;
    if(flags & FlagScratch) usage |= Buffer::FlagScratch;
    create(data_buffer, "RadixSort data", usage, data_size, 8);
    create(offset_buffer, "RadixSort offset", Buffer::FlagStorage, data_groups * 3, RadixSize * 4);
    create(reorder_buffer, "RadixSort reorder", Buffer::FlagStorage, data_groups * 3, RadixSize * 4);
    return status;
}

void RadixSort::clear() {
    for(uint32_t i = 0; i < NumModes; i++) {
        for(uint32_t j = 0; j < NumKernelModes; j++) {
            delete std::exchange(local_kernels[i][j], nullptr);
            delete std::exchange(global_kernels[i][j], nullptr);
        }
        for(Kernel **kernel : {&offset_kernels[i], &reorder_kernels[i]}) delete std::exchange(*kernel, nullptr);
        for(Buffer **buffer : {&local_buffers[i], &global_buffers[i], &update_buffers[i]})
            delete std::exchange(*buffer, nullptr);
    }
    for(Kernel **kernel :
        {&clear_kernel, &clear_count_kernel, &single_kernel, &multiple_kernel, &multiple_count_kernel})
        delete std::exchange(*kernel, nullptr);
    for(Buffer **buffer :
        {&indirect_buffer, &multiple_buffer, &data_buffer, &scan_buffer, &offset_buffer, &reorder_buffer})
        delete std::exchange(*buffer, nullptr);
    data_size = group_size = sort_elements = update_elements = max_elements = max_regions = max_groups = 0;
    prefix_scan = nullptr;
}

bool RadixSort::isCreated(Flags flags) const {
    if(reorder_buffer == nullptr) return false;
    for(uint32_t i = 0; i < NumModes; i++) {
        const bool created = (local_kernels[i][KernelSort] != nullptr);
        if((flags & (FlagSingle << i)) && !created) return false;
        if((flags & FlagOrder) && created && local_kernels[i][KernelOrder] == nullptr) return false;
    }
    return (flags & FlagIndirect) == 0 || clear_kernel != nullptr;
}

// -- Recording --------------------------------------------------------------------------------------------------------

void RadixSort::check_data(Compute *compute, const Buffer *data, uint32_t bits) const {
    KOLM_ASSERT(compute && "RadixSort::dispatch(): compute is null");
    KOLM_ASSERT(data && data->isCreated() && "RadixSort::dispatch(): data buffer is not created");
    KOLM_ASSERT(bits > 0 && bits <= 32 && "RadixSort::dispatch(): invalid bits count");
}

void RadixSort::check_range(const Buffer *data, const Region &region) const {
    KOLM_ASSERT((region.keys_offset & 3) == 0 && "RadixSort::dispatch(): invalid keys offset");
    KOLM_ASSERT((region.data_offset & 3) == 0 && "RadixSort::dispatch(): invalid data offset");
    KOLM_ASSERT((uint64_t(region.keys_offset) + region.size) * 4 <= data->getSize() &&
                "RadixSort::dispatch(): invalid data buffer size");
    KOLM_ASSERT((uint64_t(region.data_offset) + region.size) * 4 <= data->getSize() &&
                "RadixSort::dispatch(): invalid data buffer size");
}

// What was recorded so far may still use the scratch buffers.
void RadixSort::begin(Compute *compute, Buffer *data) {
    compute->barrier({data, data_buffer, offset_buffer, reorder_buffer});
    if(indirect_buffer) compute->barrier({indirect_buffer, multiple_buffer, scan_buffer});
}

RadixSort::SortParameters RadixSort::get_sort(const Region &region, uint32_t offset, uint32_t group) const {
    return {
        region.keys_offset >> 2, region.data_offset >> 2, offset >> 2, (data_size + offset) >> 2, group, region.size};
}

RadixSort::UpdateParameters RadixSort::get_update(const Region &region, uint32_t offset, uint32_t group,
                                                  uint32_t groups) const {
    return {offset, data_size + offset, region.keys_offset, region.data_offset, RadixSize * group, groups,
            group,  region.size};
}

// All rounds of ranges that one group can't sort. run(update, kernel, radix, buffers) runs a kernel over the groups of
// the sort or the blocks of the reordering, scan(first) scans the counts.
template<class Run, class Scan>
bool RadixSort::sort_rounds(Compute *compute, Buffer *data, Mode mode, Flags flags, uint32_t bits, const Run &run,
                            const Scan &scan) {
    for(uint32_t offset = 0; offset < bits; offset += RadixBits) {
        const RadixParameters radix = {offset, RadixBits};
        // the order of the elements is read once; from then on it moves with the keys
        const KernelMode kernel = (offset == 0 && (flags & FlagOrder)) ? KernelOrder : KernelSort;
        run(false, global_kernels[mode][kernel], radix, {data, data_buffer});
        compute->barrier({data, data_buffer});
        run(true, offset_kernels[mode], radix, {data_buffer, offset_buffer, reorder_buffer});
        compute->barrier({offset_buffer, reorder_buffer});
        if(!scan(offset == 0)) {
            Log::print(Log::Error, "RadixSort::dispatch(): can't scan update buffer\n");
            return false;
        }
        run(true, reorder_kernels[mode], radix, {data_buffer, data, offset_buffer, reorder_buffer});
        compute->barrier({data, data_buffer, offset_buffer, reorder_buffer});
    }
    return true;
}

bool RadixSort::dispatch(Compute *compute, Buffer *data, uint32_t keys_offset, uint32_t data_offset, uint32_t size,
                         Flags flags, uint32_t bits) {
    KOLM_ASSERT(isCreated(FlagSingle | (flags & FlagOrder)) && "RadixSort::dispatch(): is not created");
    check_data(compute, data, bits);
    const Region region = {keys_offset, data_offset, size};
    check_range(data, region);
    if(size > sort_elements && (size > max_elements || size > data_size)) {
        Log::printf(Log::Error, "RadixSort::dispatch(): can't sort %u elements\n", size);
        return false;
    }
    if(size == 0) return true;

    begin(compute, data);
    if(size <= sort_elements) {
        compute->setKernel(local_kernels[ModeSingle][(flags & FlagOrder) ? KernelOrder : KernelSort]);
        compute->setUniform(0, RadixParameters{0, bits});
        compute->setUniform(1, get_sort(region, 0, 0));
        compute->setStorageBuffer(0, data);
        compute->dispatch((size + 3) / 4, 1, 1);
        compute->barrier(data);
        return true;
    }

    const uint32_t groups = get_num_groups(size, sort_elements);
    const uint32_t blocks = get_num_groups(size, update_elements);
    const auto run = [&](bool update, Kernel *kernel, const RadixParameters &radix,
                         std::initializer_list<Buffer *> buffers) {
        compute->setKernel(kernel);
        compute->setUniform(0, radix);
        compute->setStorageBuffers(0, buffers);
        const uint32_t num = update ? blocks : groups;
        for(uint32_t i = 0; i < num; i += GroupKernels::MaxGroups) {
            const uint32_t first = GroupKernels::getFirst(0, i);
            if(update) {
                UpdateParameters parameters = get_update(region, 0, 0, blocks);
                parameters.group = first;
                compute->setUniform(1, parameters);
            } else {
                compute->setUniform(1, get_sort(region, 0, first));
            }
            compute->dispatch(min(num - i, GroupKernels::MaxGroups) * group_size);
        }
    };
    return sort_rounds(compute, data, ModeSingle, flags, bits, run,
                       [&](bool) { return prefix_scan->dispatch(compute, reorder_buffer, 0, RadixSize * blocks); });
}

bool RadixSort::dispatch(Compute *compute, Buffer *data, uint32_t num_regions, const uint32_t *keys_offsets,
                         const uint32_t *data_offsets, const uint32_t *sizes, Flags flags, uint32_t bits) {
    KOLM_ASSERT(isCreated(FlagMultiple | (flags & FlagOrder)) && "RadixSort::dispatch(): is not created");
    KOLM_ASSERT(num_regions <= max_regions && "RadixSort::dispatch(): invalid number of regions");
    check_data(compute, data, bits);

    Array<SortParameters> local, global;
    Array<UpdateParameters> update;
    Array<uint32_t> scan_offsets, scan_sizes;
    uint64_t data_offset = 0;
    for(uint32_t i = 0; i < num_regions; i++) {
        const Region region = {keys_offsets[i], data_offsets[i], sizes[i]};
        check_range(data, region);
        if(region.size == 0 || region.size > max(max_elements, sort_elements)) continue;
        if(region.size <= sort_elements) {
            local.append(get_sort(region, 0, local.size()));
            continue;
        }
        const uint32_t offset = uint32_t(data_offset);
        data_offset += align4(region.size);
        if(data_offset > data_size) {
            Log::printf(Log::Error, "RadixSort::dispatch(): can't sort %llu elements\n",
                        static_cast<unsigned long long>(data_offset));
            return false;
        }
        const uint32_t groups = get_num_groups(region.size, sort_elements);
        for(uint32_t j = 0, first = global.size(); j < groups; j++)
            global.append(get_sort(region, offset, GroupKernels::getFirst(first, first + j)));
        const uint32_t blocks = get_num_groups(region.size, update_elements);
        const uint32_t first = update.size();
        for(uint32_t j = first; j < first + blocks; j++) {
            update.append(get_update(region, offset, first, blocks));
            update.back().group = GroupKernels::getFirst(first, j);
        }
        scan_offsets.append(RadixSize * first);
        scan_sizes.append(RadixSize * blocks);
    }

    const auto upload = [compute](Buffer *buffer, const void *parameters, size_t size) {
        return size == 0 || compute->setBuffer(buffer, parameters, size);
    };
    if(!upload(local_buffers[ModeMultiple], local.get(), local.bytes()) ||
       !upload(global_buffers[ModeMultiple], global.get(), global.bytes()) ||
       !upload(update_buffers[ModeMultiple], update.get(), update.bytes())) {
        Log::print(Log::Error, "RadixSort::dispatch(): can't set parameters\n");
        return false;
    }

    begin(compute, data);
    if(local.size()) {
        compute->setKernel(local_kernels[ModeMultiple][(flags & FlagOrder) ? KernelOrder : KernelSort]);
        compute->setUniform(0, RadixParameters{0, bits});
        compute->setStorageBuffer(1, data);
        GroupKernels::dispatch(compute, group_size, local_buffers[ModeMultiple], local.size(), sizeof(SortParameters));
        compute->barrier(data);
    }
    if(global.empty()) return true;
    const auto run = [&](bool is_update, Kernel *kernel, const RadixParameters &radix,
                         std::initializer_list<Buffer *> buffers) {
        compute->setKernel(kernel);
        compute->setUniform(0, radix);
        compute->setStorageBuffers(1, buffers);
        if(is_update)
            GroupKernels::dispatch(compute, group_size, update_buffers[ModeMultiple], update.size(),
                                   sizeof(UpdateParameters));
        else
            GroupKernels::dispatch(compute, group_size, global_buffers[ModeMultiple], global.size(),
                                   sizeof(SortParameters));
    };
    return sort_rounds(compute, data, ModeMultiple, flags, bits, run, [&](bool first) {
        return prefix_scan->dispatch(compute, reorder_buffer, scan_sizes.size(), scan_offsets.get(), scan_sizes.get(),
                                     first ? PrefixScan::FlagNone : PrefixScan::FlagRepeat);
    });
}

// -- Ranges that the GPU knows ----------------------------------------------------------------------------------------

RadixSort::IndirectParameters RadixSort::get_parameters(Mode mode, uint32_t dispatch_offset,
                                                        uint32_t count_offset) const {
    // blocks of one dispatch are limited; see create_buffers() for the ranges of several
    const uint64_t max_blocks = (mode == ModeSingle) ? max_groups : max_groups / 3 * 2;
    return {count_offset,    dispatch_offset >> 2,
            data_size,       uint32_t(min(uint64_t(data_size), max_blocks * update_elements)),
            max_regions,     sort_elements,
            update_elements, max(max_elements, sort_elements)};
}

bool RadixSort::dispatch_indirect(Compute *compute, Buffer *data, Mode mode, Flags flags, uint32_t bits,
                                  uint32_t max_size) {
    compute->barrier({indirect_buffer, local_buffers[mode], global_buffers[mode], update_buffers[mode], scan_buffer});
    const auto run_slot = [&](Kernel *kernel, const RadixParameters &radix, Buffer *parameters, Indirect slot,
                              std::initializer_list<Buffer *> buffers) {
        compute->setKernel(kernel);
        compute->setUniform(0, radix);
        if(mode == ModeSingle)
            compute->setUniformBuffer(1, parameters);
        else
            compute->setStorageBuffer(0, parameters);
        compute->setStorageBuffers((mode == ModeSingle) ? 0 : 1, buffers);
        compute->setIndirectBuffer(indirect_buffer, slot * 16);
        compute->dispatchIndirect();
    };
    run_slot(local_kernels[mode][(flags & FlagOrder) ? KernelOrder : KernelSort], RadixParameters{0, bits},
             local_buffers[mode], IndirectLocal, {data});
    compute->barrier(data);
    if(max_size <= sort_elements) return true;

    const auto run = [&](bool update, Kernel *kernel, const RadixParameters &radix,
                         std::initializer_list<Buffer *> buffers) {
        run_slot(kernel, radix, update ? update_buffers[mode] : global_buffers[mode],
                 update ? IndirectUpdate : IndirectGlobal, buffers);
    };
    return sort_rounds(compute, data, mode, flags, bits, run, [&](bool first) {
        const PrefixScan::Flags scan_flags = first ? PrefixScan::FlagNone : PrefixScan::FlagRepeat;
        if(mode == ModeSingle)
            return prefix_scan->dispatchIndirect(compute, reorder_buffer, scan_buffer, 0, scan_flags);
        return prefix_scan->dispatchIndirect(compute, reorder_buffer, scan_buffer, indirect_buffer, 0, IndirectScan * 4,
                                             scan_flags);
    });
}

static void check_dispatch(const Buffer *dispatch, uint64_t offset, uint64_t num) {
    KOLM_ASSERT(dispatch && dispatch->isCreated() && "RadixSort::dispatchIndirect(): dispatch buffer is not created");
    KOLM_ASSERT((offset & 3) == 0 && "RadixSort::dispatchIndirect(): invalid dispatch offset");
    KOLM_ASSERT((offset + num * 4) * 4 <= dispatch->getSize() &&
                "RadixSort::dispatchIndirect(): invalid dispatch buffer size");
}

bool RadixSort::dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, uint32_t dispatch_offset,
                                 Flags flags, uint32_t bits, uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagSingle | FlagIndirect | (flags & FlagOrder)) &&
                "RadixSort::dispatchIndirect(): is not created");
    check_data(compute, data, bits);
    check_dispatch(dispatch, dispatch_offset, 1);
    begin(compute, data);
    compute->setKernel(single_kernel);
    compute->setUniform(0, get_parameters(ModeSingle, dispatch_offset, 0));
    compute->setStorageBuffers(0, {dispatch, indirect_buffer, local_buffers[ModeSingle], global_buffers[ModeSingle],
                                   update_buffers[ModeSingle], scan_buffer});
    compute->dispatch(1);
    return dispatch_indirect(compute, data, ModeSingle, flags, bits, max_size);
}

bool RadixSort::dispatchIndirect(Compute *compute, Buffer *data, uint32_t count, Buffer *dispatch,
                                 uint32_t dispatch_offset, Flags flags, uint32_t bits, uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagMultiple | FlagIndirect | (flags & FlagOrder)) &&
                "RadixSort::dispatchIndirect(): is not created");
    KOLM_ASSERT(count <= max_regions && "RadixSort::dispatchIndirect(): invalid number of regions");
    check_data(compute, data, bits);
    check_dispatch(dispatch, dispatch_offset, count);
    if(count == 0) return true;
    begin(compute, data);
    const IndirectParameters parameters = get_parameters(ModeMultiple, dispatch_offset, 0);
    compute->setKernel(clear_kernel);
    compute->setUniform(0, parameters);
    compute->setStorageBuffer(0, indirect_buffer);
    compute->dispatch(NumIndirects);
    compute->barrier(indirect_buffer);

    compute->setKernel(multiple_kernel);
    compute->setUniform(0, parameters);
    compute->setStorageBuffers(0, {dispatch, indirect_buffer, local_buffers[ModeMultiple], global_buffers[ModeMultiple],
                                   update_buffers[ModeMultiple], scan_buffer});
    compute->dispatch(count * group_size);
    return dispatch_indirect(compute, data, ModeMultiple, flags, bits, max_size);
}

bool RadixSort::dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, Buffer *count,
                                 uint32_t dispatch_offset, uint32_t count_offset, Flags flags, uint32_t bits,
                                 uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagMultiple | FlagIndirect | (flags & FlagOrder)) &&
                "RadixSort::dispatchIndirect(): is not created");
    KOLM_ASSERT(count && count->isCreated() && "RadixSort::dispatchIndirect(): count buffer is not created");
    KOLM_ASSERT((count_offset + uint64_t(1)) * 4 <= count->getSize() &&
                "RadixSort::dispatchIndirect(): invalid count offset");
    check_data(compute, data, bits);
    check_dispatch(dispatch, dispatch_offset, 0);
    begin(compute, data);
    const IndirectParameters parameters = get_parameters(ModeMultiple, dispatch_offset, count_offset);
    compute->setKernel(clear_count_kernel);
    compute->setUniform(0, parameters);
    compute->setStorageBuffers(0, {indirect_buffer, count, multiple_buffer});
    compute->dispatch(NumIndirects);
    compute->barrier({indirect_buffer, multiple_buffer});

    compute->setKernel(multiple_count_kernel);
    compute->setUniform(0, parameters);
    compute->setStorageBuffers(0, {dispatch, indirect_buffer, local_buffers[ModeMultiple], global_buffers[ModeMultiple],
                                   update_buffers[ModeMultiple], scan_buffer, count});
    compute->setIndirectBuffer(multiple_buffer);
    compute->dispatchIndirect();
    return dispatch_indirect(compute, data, ModeMultiple, flags, bits, max_size);
}

} // namespace Kolm
