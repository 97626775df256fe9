// Prefix scan: the kernels of PrefixScan, picked by one macro that ends in _SHADER.
//
//     LOCAL    exclusive prefix sums within a group, in place
//     GLOBAL   the same, and the group's total to update_buffer
//     UPDATE   adds one value per group to all elements of the group
//     CLEAR, CLEAR_COUNT, SINGLE, MULTIPLE, MULTIPLE_COUNT    arguments of the indirect forms
//
// A thread owns four elements. MODE_SINGLE has one set of parameters in a uniform block, MODE_MULTIPLE one for each
// group in a buffer; a region's groups follow each other from `group` on.

#version 450 core

struct ScanParameters {
    uint data_offset;   // of the range, in vectors
    uint update_offset; // of the range's totals, in words
    uint group;         // first group of the range
    uint size;          // elements
};

struct DispatchParameters {
    uint offset; // elements, a multiple of four
    uint size;
    uint padding_0;
    uint padding_1;
};

#if LOCAL_SHADER || GLOBAL_SHADER || UPDATE_SHADER

    #include "GroupId.glsl"

    layout(local_size_x = GROUP_SIZE) in;

    #if MODE_SINGLE
        layout(std140, binding = 0) uniform Parameters { ScanParameters parameters; };
    #else
        layout(std430, binding = 0) readonly buffer ParametersBuffer { ScanParameters parameters_buffer[]; };
        shared ScanParameters parameters;
    #endif

    layout(std430, binding = 1) buffer DataBuffer { uvec4 data_buffer[]; };

    // Elements at or beyond the size read as zero and are not written: what stands there belongs to others.
    uvec4 load_data(uint index, uint rest) {
        uvec4 data = uvec4(0u);
        [[branch]] if(rest >= 4u) {
            data = data_buffer[index];
        } else {
            if(rest > 0u) data.x = data_buffer[index].x;
            if(rest > 1u) data.y = data_buffer[index].y;
            if(rest > 2u) data.z = data_buffer[index].z;
        }
        return data;
    }

    void store_data(uint index, uint rest, uvec4 data) {
        [[branch]] if(rest >= 4u) {
            data_buffer[index] = data;
        } else {
            if(rest > 0u) data_buffer[index].x = data.x;
            if(rest > 1u) data_buffer[index].y = data.y;
            if(rest > 2u) data_buffer[index].z = data.z;
        }
    }

#endif

#if LOCAL_SHADER || GLOBAL_SHADER

    #include "GroupScan.glsl"

    #if GLOBAL_SHADER
        layout(std430, binding = 2) writeonly buffer UpdateBuffer { uint update_buffer[]; };
    #endif

    void main() {
        uint local_id = get_local_id();
        uint group_id = gl_WorkGroupID.x;

        #if MODE_MULTIPLE
            [[branch]] if(local_id == 0u) parameters = parameters_buffer[group_id];
            barrier();
        #endif
        group_id -= parameters.group;
        uint global_id = group_id * GROUP_SIZE + local_id;

        uint size = parameters.size;
        uint index = parameters.data_offset + global_id;
        uint rest = (global_id * 4u < size) ? size - global_id * 4u : 0u;
        uvec4 data = load_data(index, rest);

        uvec4 scan = data;
        scan.y += scan.x;
        scan.z += scan.y;
        scan.w += scan.z;

        uint total;
        uint prefix = scan_group(scan.w, local_id, total);
        store_data(index, rest, scan - data + prefix);

        #if GLOBAL_SHADER
            [[branch]] if(local_id == GROUP_SIZE - 1u) {
                update_buffer[parameters.update_offset + group_id] = prefix + scan.w;
            }
        #endif
    }

#elif UPDATE_SHADER

    layout(std430, binding = 2) readonly buffer UpdateBuffer { uint update_buffer[]; };

    shared uint group_prefix;

    void main() {
        uint local_id = get_local_id();
        uint group_id = gl_WorkGroupID.x;

        #if MODE_MULTIPLE
            [[branch]] if(local_id == 0u) {
                parameters = parameters_buffer[group_id];
                group_prefix = update_buffer[parameters.update_offset + group_id - parameters.group];
            }
        #else
            [[branch]] if(local_id == 0u) {
                group_prefix = update_buffer[parameters.update_offset + group_id - parameters.group];
            }
        #endif
        barrier();
        group_id -= parameters.group;
        uint global_id = group_id * GROUP_SIZE + local_id;

        uint size = parameters.size;
        uint index = parameters.data_offset + global_id;
        uint rest = (global_id * 4u < size) ? size - global_id * 4u : 0u;
        store_data(index, rest, load_data(index, rest) + group_prefix);
    }

#else

    layout(local_size_x = GROUP_SIZE) in;

    layout(std140, binding = 0) uniform Parameters {
        uint count_offset;       // of the number of regions, in words
        uint dispatch_offset;    // of the first DispatchParameters, in records
        uint update_buffer_size; // words, no more than groups in one dispatch
        uint scan_elements;
        uint max_elements;
        uint max_regions;
    };

    #if CLEAR_SHADER || CLEAR_COUNT_SHADER

        layout(std430, binding = 1) writeonly buffer IndirectBuffer { uvec4 indirect_buffer[]; };

        #if CLEAR_COUNT_SHADER
            layout(std430, binding = 2) readonly buffer CountBuffer { uint count_buffer[]; };
            layout(std430, binding = 3) writeonly buffer MultipleBuffer { uvec4 multiple_buffer[]; };
        #endif

        void main() {
            uint id = gl_GlobalInvocationID.x;
            [[branch]] if(id < NUM_INDIRECTS) indirect_buffer[id] = uvec4(0u, 1u, 1u, 0u);
            #if CLEAR_COUNT_SHADER
                [[branch]] if(id == 0u) {
                    multiple_buffer[0] = uvec4(min(count_buffer[count_offset], max_regions), 1u, 1u, 0u);
                }
            #endif
        }

    #elif SINGLE_SHADER

        layout(std430, binding = 1) readonly buffer DispatchBuffer { DispatchParameters dispatch_buffer[]; };
        layout(std430, binding = 2) writeonly buffer IndirectBuffer { uvec4 indirect_buffer[]; };
        layout(std430, binding = 3) writeonly buffer LocalBuffer { ScanParameters local_buffer[]; };
        layout(std430, binding = 4) writeonly buffer GlobalBuffer { ScanParameters global_buffer[]; };
        layout(std430, binding = 5) writeonly buffer UpdateBuffer { ScanParameters update_buffer[]; };

        void main() {
            uint offset = dispatch_buffer[dispatch_offset].offset >> 2u;
            uint size = dispatch_buffer[dispatch_offset].size;
            uvec4 empty = uvec4(0u, 1u, 1u, 0u);
            uvec4 local_slot = empty;
            uvec4 global_slot = empty;
            uvec4 update_slot = empty;
            if(size <= scan_elements) {
                local_slot = uvec4(1u, 1u, 1u, 1u);
                local_buffer[0] = ScanParameters(offset, 0u, 0u, size);
            } else if(size <= max_elements) {
                uint groups = (size + scan_elements - 1u) / scan_elements;
                global_slot = uvec4(groups, 1u, 1u, 0u);
                update_slot = uvec4(1u, 1u, 1u, 1u);
                global_buffer[0] = ScanParameters(offset, 0u, 0u, size);
                update_buffer[0] = ScanParameters(0u, 0u, 0u, groups);
            }
            indirect_buffer[0] = local_slot;
            indirect_buffer[1] = global_slot;
            indirect_buffer[2] = update_slot;
        }

    #else

        layout(std430, binding = 1) readonly buffer DispatchBuffer { DispatchParameters dispatch_buffer[]; };
        layout(std430, binding = 2) buffer IndirectBuffer { uint indirect_buffer[]; };
        layout(std430, binding = 3) writeonly buffer LocalBuffer { ScanParameters local_buffer[]; };
        layout(std430, binding = 4) writeonly buffer GlobalBuffer { ScanParameters global_buffer[]; };
        layout(std430, binding = 5) writeonly buffer UpdateBuffer { ScanParameters update_buffer[]; };
        #if MULTIPLE_COUNT_SHADER
            layout(std430, binding = 6) readonly buffer CountBuffer { uint count_buffer[]; };
        #endif

        shared ScanParameters global_parameters;
        shared uint global_groups;

        // Words of the slots: the counters of the work groups in x, and in the spare word of the first slot the size
        // that is taken of the update area.
        void process_region(uint offset, uint size) {
            global_groups = 0u;
            if(size == 0u || size > max_elements) return;
            if(size <= scan_elements) {
                uint index = atomicIncrement(indirect_buffer[0]);
                local_buffer[index] = ScanParameters(offset, 0u, index, size);
                return;
            }
            // Room for the totals comes first. Who gets none backs out before it has taken a group or an index, which
            // would leave a hole in front of those of others.
            uint groups = (size + scan_elements - 1u) / scan_elements;
            uint update_size = (groups + 3u) & ~3u;
            uint update_offset = atomicAdd(indirect_buffer[3], update_size);
            if(update_offset + update_size > update_buffer_size) {
                atomicSub(indirect_buffer[3], update_size);
                return;
            }
            uint group = atomicAdd(indirect_buffer[4], groups);
            uint index = atomicIncrement(indirect_buffer[8]);
            update_buffer[index] = ScanParameters(update_offset >> 2u, 0u, index, groups);
            global_parameters = ScanParameters(offset, update_offset, group, size);
            global_groups = groups;
        }

        void main() {
            uint local_id = gl_LocalInvocationID.x;
            uint region = gl_WorkGroupID.x;
            #if MULTIPLE_COUNT_SHADER
                if(region >= count_buffer[count_offset]) return;
            #endif
            [[branch]] if(local_id == 0u) {
                process_region(dispatch_buffer[dispatch_offset + region].offset >> 2u,
                               dispatch_buffer[dispatch_offset + region].size);
            }
            barrier();
            [[loop]] for(uint i = local_id; i < global_groups; i += GROUP_SIZE) {
                global_buffer[global_parameters.group + i] = global_parameters;
            }
        }

    #endif

#endif
