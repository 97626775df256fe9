// KolmPrefixScan.cpp: kernels and buffers of the scan, and what its forms record.
//
// A range of up to scan_elements is one group's work. A larger one takes two levels: all groups scan their part and
// leave their total, one group scans the totals, and all groups add what stands in front of them.

#include "KolmPrefixScan.h"

#include "KolmGroupKernels.h"
#include "KolmLog.h"

namespace Kolm {

#include "PrefixScan_blob.inc"

static_assert(sizeof(PrefixScan::DispatchParameters) == 16);

PrefixScan::~PrefixScan() { clear(); }

bool PrefixScan::create(Device *device, Mode mode, uint32_t groups, uint32_t regions, Async *async) {
    KOLM_ASSERT(mode < NumModes && "PrefixScan::create(): invalid mode");
    return create(device, (mode == ModeSingle) ? FlagSingle : FlagMultiple, groups, regions, async);
}

bool PrefixScan::create(Device *device, Flags flags, uint32_t groups, uint32_t regions, Async *async) {
    KOLM_ASSERT(device && "PrefixScan::create(): device is null");
    KOLM_ASSERT(is_pow2(groups) && "PrefixScan::create(): invalid group size");
    KOLM_ASSERT(regions > 0 && "PrefixScan::create(): invalid number of regions");
    clear();

    const Device::Features &features = device->getFeatures();
    if(groups > features.maxGroupSizeX || regions > GroupKernels::MaxGroups) {
        Log::printf(Log::Error, "PrefixScan::create(): can't use %u threads and %u regions, at most %u and %u\n",
                    groups, regions, features.maxGroupSizeX, GroupKernels::MaxGroups);
        return false;
    }
    group_size = groups;
    scan_elements = groups * 4;
    max_elements = scan_elements * scan_elements;
    max_regions = regions;
    max_groups = features.maxGroupCountX;

    if(!create_kernels(device, flags, async)) {
        Log::print(Log::Error, "PrefixScan::create(): can't create kernels\n");
        clear();
        return false;
    }
    if(!create_buffers(device, flags)) {
        Log::print(Log::Error, "PrefixScan::create(): can't create buffers\n");
        clear();
        return false;
    }
    return true;
}

bool PrefixScan::create_kernels(Device *device, Flags flags, Async *async) {
    GroupKernels kernels(device, "PrefixScan", PrefixScan_blob_src);
    const String subgroup = GroupKernels::getSubgroupMacros(device);
    for(uint32_t i = 0; i < NumModes; i++) {
        if((flags & (FlagSingle << i)) == 0) continue;
        const char *mode = (i == ModeSingle) ? "MODE_SINGLE=1" : "MODE_MULTIPLE=1";
        // parameters are a uniform block or the first storage buffer; data and totals stand behind
        const uint32_t uniforms = (i == ModeSingle);
        const uint32_t read = !uniforms;
        local_kernels[i] = kernels.add("local", uniforms, 2 - uniforms, read, "LOCAL_SHADER=1; GROUP_SIZE=%uu; %s; %s",
                                       group_size, subgroup.get(), mode);
        global_kernels[i] = kernels.add("global", uniforms, 3 - uniforms, read,
                                        "GLOBAL_SHADER=1; GROUP_SIZE=%uu; %s; %s", group_size, subgroup.get(), mode);
        update_kernels[i] = kernels.add("update", uniforms, 3 - uniforms, read | (4u >> uniforms),
                                        "UPDATE_SHADER=1; GROUP_SIZE=%uu; %s; %s", group_size, subgroup.get(), mode);
    }
    if(flags & FlagIndirect) {
        clear_kernel =
            kernels.add("clear", 1, 1, 0, "CLEAR_SHADER=1; GROUP_SIZE=4u; NUM_INDIRECTS=%uu", uint32_t(NumIndirects));
        clear_count_kernel = kernels.add(
            "clear count", 1, 3, 2, "CLEAR_COUNT_SHADER=1; GROUP_SIZE=4u; NUM_INDIRECTS=%uu", uint32_t(NumIndirects));
        if(flags & FlagSingle) single_kernel = kernels.add("single", 1, 5, 1, "SINGLE_SHADER=1; GROUP_SIZE=1u");
        if(flags & FlagMultiple) {
            multiple_kernel = kernels.add("multiple", 1, 5, 1, "MULTIPLE_SHADER=1; GROUP_SIZE=%uu", group_size);
            multiple_count_kernel =
                kernels.add("multiple count", 1, 6, 33, "MULTIPLE_COUNT_SHADER=1; GROUP_SIZE=%uu", group_size);
        }
    }
    return kernels.create(async);
}

bool PrefixScan::create_buffers(Device *device, Flags flags) {
    bool status = true;
    const auto create = [&](Buffer *&buffer, const char *name, Buffer::Flags buffer_flags, uint64_t num, size_t size) {
        buffer = status ? device->createBuffer(buffer_flags, num * size) : nullptr;
        if(buffer) buffer->setName(name);
        status &= (buffer != nullptr);
    };
    for(uint32_t i = 0; i < NumModes; i++) {
        if((flags & (FlagSingle << i)) == 0) continue;
        const Buffer::Flags usage = (i == ModeSingle) ? Buffer::FlagUniform | Buffer::FlagStorage : Buffer::FlagStorage;
        // a range is one group of the first and of the last list, and of the other as many as it has
        const uint32_t num = (i == ModeSingle) ? 1 : max_regions;
        const uint64_t num_groups = (i == ModeSingle) ? 1 : uint64_t(max_regions) * scan_elements;
        create(local_buffers[i], "PrefixScan local", usage, num, sizeof(ScanParameters));
        create(global_buffers[i], "PrefixScan global", usage, num_groups, sizeof(ScanParameters));
        create(update_buffers[i], "PrefixScan update", usage, num, sizeof(ScanParameters));
    }
    if(flags & FlagIndirect) {
        const Buffer::Flags usage = Buffer::FlagStorage | Buffer::FlagIndirect;
        create(indirect_buffer, "PrefixScan indirect", usage, NumIndirects, 16);
        create(multiple_buffer, "PrefixScan multiple", usage, 1, 16);
    }
    create(update_buffer, "PrefixScan totals", Buffer::FlagStorage, uint64_t(scan_elements) * max_regions, 4);
    return status;
}

void PrefixScan::clear() {
    Kernel **kernels[] = {&local_kernels[0],  &local_kernels[1],  &global_kernels[0],    &global_kernels[1],
                          &update_kernels[0], &update_kernels[1], &clear_kernel,         &clear_count_kernel,
                          &single_kernel,     &multiple_kernel,   &multiple_count_kernel};
    Buffer **buffers[] = {&local_buffers[0],  &local_buffers[1],  &global_buffers[0],
                          &global_buffers[1], &update_buffers[0], &update_buffers[1],
                          &indirect_buffer,   &multiple_buffer,   &update_buffer};
    for(Kernel **kernel : kernels) delete std::exchange(*kernel, nullptr);
    for(Buffer **buffer : buffers) delete std::exchange(*buffer, nullptr);
    group_size = scan_elements = max_elements = max_regions = max_groups = 0;
    local_groups = global_groups = update_groups = 0;
}

bool PrefixScan::isCreated(Flags flags) const {
    if(update_buffer == nullptr) return false;
    if((flags & FlagSingle) && local_kernels[ModeSingle] == nullptr) return false;
    if((flags & FlagMultiple) && local_kernels[ModeMultiple] == nullptr) return false;
    if((flags & FlagIndirect) && clear_kernel == nullptr) return false;
    return true;
}

// -- Recording --------------------------------------------------------------------------------------------------------

void PrefixScan::check_data(Compute *compute, const Buffer *data, uint64_t offset, uint64_t size) const {
    KOLM_ASSERT(compute && "PrefixScan::dispatch(): compute is null");
    KOLM_ASSERT(data && data->isCreated() && "PrefixScan::dispatch(): data buffer is not created");
    KOLM_ASSERT((offset & 3) == 0 && "PrefixScan::dispatch(): invalid offset");
    KOLM_ASSERT((offset + size) * 4 <= data->getSize() && "PrefixScan::dispatch(): invalid data buffer size");
}

// What was recorded so far may still use the scratch buffers.
void PrefixScan::begin(Compute *compute, Buffer *data) {
    compute->barrier({data, update_buffer});
    if(indirect_buffer) compute->barrier({indirect_buffer, multiple_buffer});
}

bool PrefixScan::dispatch(Compute *compute, Buffer *data, uint32_t offset, uint32_t size) {
    KOLM_ASSERT(isCreated(FlagSingle) && "PrefixScan::dispatch(): is not created");
    check_data(compute, data, offset, size);
    if(size > max_elements) {
        Log::printf(Log::Error, "PrefixScan::dispatch(): can't scan %u elements\n", size);
        return false;
    }
    if(size == 0) return true;

    begin(compute, data);
    const ScanParameters parameters = {offset >> 2, 0, 0, size};
    if(size <= scan_elements) {
        compute->setKernel(local_kernels[ModeSingle]);
        compute->setUniform(0, parameters);
        compute->setStorageBuffer(0, data);
        compute->dispatch((size + 3) / 4, 1, 1);
        compute->barrier(data);
        return true;
    }

    const uint32_t groups = get_num_groups(size, scan_elements);
    compute->setKernel(global_kernels[ModeSingle]);
    compute->setUniform(0, parameters);
    compute->setStorageBuffers(0, {data, update_buffer});
    compute->dispatch(groups * group_size);
    compute->barrier({data, update_buffer});

    compute->setKernel(local_kernels[ModeSingle]);
    compute->setUniform(0, ScanParameters{0, 0, 0, groups});
    compute->setStorageBuffer(0, update_buffer);
    compute->dispatch((groups + 3) / 4, 1, 1);
    compute->barrier(update_buffer);

    compute->setKernel(update_kernels[ModeSingle]);
    compute->setUniform(0, parameters);
    compute->setStorageBuffers(0, {data, update_buffer});
    compute->dispatch(groups * group_size);
    compute->barrier(data);
    return true;
}

bool PrefixScan::dispatch(Compute *compute, Buffer *data, uint32_t num_regions, const uint32_t *offsets,
                          const uint32_t *sizes, Flags flags) {
    KOLM_ASSERT(isCreated(FlagMultiple) && "PrefixScan::dispatch(): is not created");
    KOLM_ASSERT(num_regions <= max_regions && "PrefixScan::dispatch(): invalid number of regions");
    check_data(compute, data, 0, 0);
    for(uint32_t i = 0; i < num_regions; i++) check_data(compute, data, offsets[i], sizes[i]);

    if((flags & FlagRepeat) == 0) {
        Array<ScanParameters> local, global, update;
        for(uint32_t i = 0, update_offset = 0; i < num_regions; i++) {
            if(sizes[i] == 0 || sizes[i] > max_elements) continue;
            if(sizes[i] <= scan_elements) {
                local.append({offsets[i] >> 2, 0, local.size(), sizes[i]});
                continue;
            }
            const uint32_t groups = get_num_groups(sizes[i], scan_elements);
            const uint32_t first = global.size();
            for(uint32_t j = first; j < first + groups; j++)
                global.append({offsets[i] >> 2, update_offset, GroupKernels::getFirst(first, j), sizes[i]});
            update.append({update_offset >> 2, 0, update.size(), groups});
            update_offset += align4(groups);
        }
        const auto upload = [compute](Buffer *buffer, const Array<ScanParameters> &parameters, uint32_t &num) {
            num = parameters.size();
            return num == 0 || compute->setBuffer(buffer, parameters.get(), parameters.bytes());
        };
        if(!upload(local_buffers[ModeMultiple], local, local_groups) ||
           !upload(global_buffers[ModeMultiple], global, global_groups) ||
           !upload(update_buffers[ModeMultiple], update, update_groups)) {
            Log::print(Log::Error, "PrefixScan::dispatch(): can't set parameters\n");
            return false;
        }
    }

    begin(compute, data);
    const auto run = [&](Kernel *kernel, Buffer *parameters, uint32_t num, std::initializer_list<Buffer *> buffers) {
        compute->setKernel(kernel);
        compute->setStorageBuffers(1, buffers);
        GroupKernels::dispatch(compute, group_size, parameters, num, sizeof(ScanParameters));
    };
    if(local_groups) run(local_kernels[ModeMultiple], local_buffers[ModeMultiple], local_groups, {data});
    if(global_groups) {
        run(global_kernels[ModeMultiple], global_buffers[ModeMultiple], global_groups, {data, update_buffer});
        compute->barrier({data, update_buffer});
        run(local_kernels[ModeMultiple], update_buffers[ModeMultiple], update_groups, {update_buffer});
        compute->barrier(update_buffer);
        run(update_kernels[ModeMultiple], global_buffers[ModeMultiple], global_groups, {data, update_buffer});
    }
    compute->barrier(data);
    return true;
}

// -- Ranges that the GPU knows ----------------------------------------------------------------------------------------

// Groups of all ranges that take more than one. A group takes a word of totals at least, so that the room for totals
// limits the groups of the dispatch too.
uint32_t PrefixScan::get_indirect_groups() const {
    return uint32_t(min(uint64_t(scan_elements) * max_regions, uint64_t(max_groups)));
}

PrefixScan::IndirectParameters PrefixScan::get_parameters(uint32_t dispatch_offset, uint32_t count_offset) const {
    return {count_offset, dispatch_offset >> 2, get_indirect_groups(), scan_elements, max_elements, max_regions};
}

// The slots have been filled: the stages of both kinds of ranges, of which the GPU skips those without groups.
void PrefixScan::dispatch_indirect(Compute *compute, Buffer *data, Mode mode, uint32_t max_size) {
    compute->barrier({indirect_buffer, local_buffers[mode], global_buffers[mode], update_buffers[mode]});
    // of the list of groups only what the GPU fills: the whole of it may be more than a device binds
    const auto get_size = [&](const Buffer *parameters) {
        return min(parameters->getSize(), size_t(get_indirect_groups()) * sizeof(ScanParameters));
    };
    const auto run = [&](Kernel *kernel, Buffer *parameters, Indirect slot, std::initializer_list<Buffer *> buffers) {
        compute->setKernel(kernel);
        if(mode == ModeSingle)
            compute->setUniformBuffer(0, parameters);
        else
            compute->setStorageBuffer(0, parameters, 0, get_size(parameters));
        compute->setStorageBuffers((mode == ModeSingle) ? 0 : 1, buffers);
        compute->setIndirectBuffer(indirect_buffer, slot * 16);
        compute->dispatchIndirect();
    };
    run(local_kernels[mode], local_buffers[mode], IndirectLocal, {data});
    if(max_size > scan_elements) {
        run(global_kernels[mode], global_buffers[mode], IndirectGlobal, {data, update_buffer});
        compute->barrier({data, update_buffer});
        run(local_kernels[mode], update_buffers[mode], IndirectUpdate, {update_buffer});
        compute->barrier(update_buffer);
        run(update_kernels[mode], global_buffers[mode], IndirectGlobal, {data, update_buffer});
    }
    compute->barrier(data);
}

// What the kernels that fill the slots of several ranges bind.
void PrefixScan::set_lists(Compute *compute, Buffer *dispatch) {
    compute->setStorageBuffers(0, {dispatch, indirect_buffer, local_buffers[ModeMultiple]});
    compute->setStorageBuffer(3, global_buffers[ModeMultiple], 0, get_indirect_groups() * sizeof(ScanParameters));
    compute->setStorageBuffer(4, update_buffers[ModeMultiple]);
}

static void check_dispatch(const Buffer *dispatch, uint64_t offset, uint64_t num) {
    KOLM_ASSERT(dispatch && dispatch->isCreated() && "PrefixScan::dispatchIndirect(): dispatch buffer is not created");
    KOLM_ASSERT((offset & 3) == 0 && "PrefixScan::dispatchIndirect(): invalid dispatch offset");
    KOLM_ASSERT((offset + num * 4) * 4 <= dispatch->getSize() &&
                "PrefixScan::dispatchIndirect(): invalid dispatch buffer size");
}

bool PrefixScan::dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, uint32_t dispatch_offset,
                                  Flags flags, uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagSingle | FlagIndirect) && "PrefixScan::dispatchIndirect(): is not created");
    check_data(compute, data, 0, 0);
    check_dispatch(dispatch, dispatch_offset, 1);
    begin(compute, data);
    if((flags & FlagRepeat) == 0) {
        compute->setKernel(single_kernel);
        compute->setUniform(0, get_parameters(dispatch_offset, 0));
        compute->setStorageBuffers(0, {dispatch, indirect_buffer, local_buffers[ModeSingle], global_buffers[ModeSingle],
                                       update_buffers[ModeSingle]});
        compute->dispatch(1);
    }
    dispatch_indirect(compute, data, ModeSingle, max_size);
    return true;
}

bool PrefixScan::dispatchIndirect(Compute *compute, Buffer *data, uint32_t count, Buffer *dispatch,
                                  uint32_t dispatch_offset, Flags flags, uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagMultiple | FlagIndirect) && "PrefixScan::dispatchIndirect(): is not created");
    KOLM_ASSERT(count <= max_regions && "PrefixScan::dispatchIndirect(): invalid number of regions");
    check_data(compute, data, 0, 0);
    check_dispatch(dispatch, dispatch_offset, count);
    if(count == 0) return true;
    begin(compute, data);
    if((flags & FlagRepeat) == 0) {
        const IndirectParameters parameters = get_parameters(dispatch_offset, 0);
        compute->setKernel(clear_kernel);
        compute->setUniform(0, parameters);
        compute->setStorageBuffer(0, indirect_buffer);
        compute->dispatch(NumIndirects);
        compute->barrier(indirect_buffer);

        compute->setKernel(multiple_kernel);
        compute->setUniform(0, parameters);
        set_lists(compute, dispatch);
        compute->dispatch(count * group_size);
    }
    dispatch_indirect(compute, data, ModeMultiple, max_size);
    return true;
}

bool PrefixScan::dispatchIndirect(Compute *compute, Buffer *data, Buffer *dispatch, Buffer *count,
                                  uint32_t dispatch_offset, uint32_t count_offset, Flags flags, uint32_t max_size) {
    KOLM_ASSERT(isCreated(FlagMultiple | FlagIndirect) && "PrefixScan::dispatchIndirect(): is not created");
    KOLM_ASSERT(count && count->isCreated() && "PrefixScan::dispatchIndirect(): count buffer is not created");
    KOLM_ASSERT((count_offset + uint64_t(1)) * 4 <= count->getSize() &&
                "PrefixScan::dispatchIndirect(): invalid count offset");
    check_data(compute, data, 0, 0);
    check_dispatch(dispatch, dispatch_offset, 0);
    begin(compute, data);
    if((flags & FlagRepeat) == 0) {
        const IndirectParameters parameters = get_parameters(dispatch_offset, count_offset);
        compute->setKernel(clear_count_kernel);
        compute->setUniform(0, parameters);
        compute->setStorageBuffers(0, {indirect_buffer, count, multiple_buffer});
        compute->dispatch(NumIndirects);
        compute->barrier({indirect_buffer, multiple_buffer});

        compute->setKernel(multiple_count_kernel);
        compute->setUniform(0, parameters);
        set_lists(compute, dispatch);
        compute->setStorageBuffer(5, count);
        compute->setIndirectBuffer(multiple_buffer);
        compute->dispatchIndirect();
    }
    dispatch_indirect(compute, data, ModeMultiple, max_size);
    return true;
}

} // namespace Kolm
