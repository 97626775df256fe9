// Radix sort: the kernels of RadixSort, picked by one macro that ends in _SHADER.
//
//     LOCAL      sorts one group of keys and values, in place
//     GLOBAL     the same by one digit, from source to destination
//     OFFSET     where each digit begins in a block of sorted keys, and how often it is there
//     REORDER    scatters the blocks by the scanned counts
//     CLEAR, CLEAR_COUNT, SINGLE, MULTIPLE, MULTIPLE_COUNT    arguments of the indirect forms
//
// A digit has four bits. Groups of the sort have four elements a thread, blocks of the reordering two. With KERNEL_ORDER
// the values are the numbers of the elements. MODE_SINGLE has one set of parameters in a uniform block, MODE_MULTIPLE
// one for each group or block in a buffer; those of a region follow each other from `group` on.

#version 450 core

struct SortParameters {
    uint src_keys_offset; // vectors
    uint src_data_offset;
    uint dest_keys_offset;
    uint dest_data_offset;
    uint group; // first group of the range
    uint size;  // elements
};

struct UpdateParameters {
    uint src_keys_offset; // words
    uint src_data_offset;
    uint dest_keys_offset;
    uint dest_data_offset;
    uint update_offset; // of the range's counts, in words
    uint groups;        // blocks of the range
    uint group;         // first block of the range
    uint size;          // elements
};

#if LOCAL_SHADER || GLOBAL_SHADER || OFFSET_SHADER || REORDER_SHADER

    #include "GroupId.glsl"

    layout(local_size_x = GROUP_SIZE) in;

    #if LOCAL_SHADER || GLOBAL_SHADER
        #define PARAMETERS SortParameters
    #else
        #define PARAMETERS UpdateParameters
    #endif

    layout(std140, binding = 0) uniform Radix {
        uint radix_offset; // first bit
        uint radix_count;  // bits
    };

    #if MODE_SINGLE
        layout(std140, binding = 1) uniform Parameters { PARAMETERS parameters; };
    #else
        layout(std430, binding = 1) readonly buffer ParametersBuffer { PARAMETERS parameters_buffer[]; };
        shared PARAMETERS parameters;
    #endif

    // Number of this group, or block, in its range.
    uint load_parameters(uint local_id) {
        uint group_id = gl_WorkGroupID.x;
        #if MODE_MULTIPLE
            [[branch]] if(local_id == 0u) parameters = parameters_buffer[group_id];
            barrier();
        #endif
        return group_id - parameters.group;
    }

#endif

#if LOCAL_SHADER || GLOBAL_SHADER

    #include "GroupScan.glsl"

    #if LOCAL_SHADER
        layout(std430, binding = 2) buffer SourceBuffer { uvec4 src_buffer[]; };
        #define DEST_BUFFER src_buffer
        #define DEST(NAME) parameters.src_ ## NAME ## _offset
    #else
        layout(std430, binding = 2) readonly buffer SourceBuffer { uvec4 src_buffer[]; };
        layout(std430, binding = 3) writeonly buffer DestBuffer { uvec4 dest_buffer[]; };
        #define DEST_BUFFER dest_buffer
        #define DEST(NAME) parameters.dest_ ## NAME ## _offset
    #endif

    #if GROUP_PAIRS
        shared uvec2 group_data[GROUP_SIZE * 4u];
    #else
        shared uint group_data[GROUP_SIZE * 4u];
    #endif

    // Elements at or beyond the size are not touched: what stands there belongs to others.
    uvec4 load_data(uint index, uint rest, uint empty) {
        uvec4 data = uvec4(empty);
        [[branch]] if(rest >= 4u) {
            data = src_buffer[index];
        } else {
            if(rest > 0u) data.x = src_buffer[index].x;
            if(rest > 1u) data.y = src_buffer[index].y;
            if(rest > 2u) data.z = src_buffer[index].z;
        }
        return data;
    }

    void store_data(uint index, uint rest, uvec4 data) {
        [[branch]] if(rest >= 4u) {
            DEST_BUFFER[index] = data;
        } else {
            if(rest > 0u) DEST_BUFFER[index].x = data.x;
            if(rest > 1u) DEST_BUFFER[index].y = data.y;
            if(rest > 2u) DEST_BUFFER[index].z = data.z;
        }
    }

    // Brings the elements of the group to their new places. Places are stored transposed, so that threads beside each
    // other read words beside each other. Keys and values go together where the memory of a group holds both.
    #if GROUP_PAIRS

        void exchange_data(inout uvec4 keys, inout uvec4 values, uvec4 index, uint local_id) {
            group_data[index.x] = uvec2(keys.x, values.x);
            group_data[index.y] = uvec2(keys.y, values.y);
            group_data[index.z] = uvec2(keys.z, values.z);
            group_data[index.w] = uvec2(keys.w, values.w);
            barrier();
            uvec2 x = group_data[local_id];
            uvec2 y = group_data[GROUP_SIZE + local_id];
            uvec2 z = group_data[GROUP_SIZE * 2u + local_id];
            uvec2 w = group_data[GROUP_SIZE * 3u + local_id];
            keys = uvec4(x.x, y.x, z.x, w.x);
            values = uvec4(x.y, y.y, z.y, w.y);
        }

    #else

        uvec4 exchange_words(uvec4 data, uvec4 index, uint local_id) {
            group_data[index.x] = data.x;
            group_data[index.y] = data.y;
            group_data[index.z] = data.z;
            group_data[index.w] = data.w;
            barrier();
            return uvec4(group_data[local_id], group_data[GROUP_SIZE + local_id],
                         group_data[GROUP_SIZE * 2u + local_id], group_data[GROUP_SIZE * 3u + local_id]);
        }

        void exchange_data(inout uvec4 keys, inout uvec4 values, uvec4 index, uint local_id) {
            keys = exchange_words(keys, index, local_id);
            barrier();
            values = exchange_words(values, index, local_id);
        }

    #endif

    // One pass of the sort: a stable split by a bit of the keys.
    void split_data(inout uvec4 keys, inout uvec4 values, uint bit, uint local_id) {
        uvec4 bits = 1u - ((keys >> bit) & 1u);
        uvec4 scan = bits;
        scan.y += scan.x;
        scan.z += scan.y;
        scan.w += scan.z;
        uint total;
        uint value = scan_group(scan.w, local_id, total);
        uint flip = local_id * 4u + total;

        // Zeros go behind the zeros in front of them, ones behind all zeros and the ones in front of them.
        uvec4 index = value + uvec4(0u, scan.xyz);
        uvec4 ones = flip + uvec4(0u, 1u, 2u, 3u) - index;
        index = mix(ones, index, notEqual(bits, uvec4(0u)));
        exchange_data(keys, values, GROUP_SIZE * (index & 3u) + (index >> 2u), local_id);
    }

    void main() {
        uint local_id = get_local_id();
        uint group_id = load_parameters(local_id);
        uint global_id = group_id * GROUP_SIZE + local_id;

        // Missing keys are the largest ones and come last: they stay behind all that are there.
        uint size = parameters.size;
        uint rest = (global_id * 4u < size) ? size - global_id * 4u : 0u;
        uvec4 keys = load_data(parameters.src_keys_offset + global_id, rest, ~0u);
        #if KERNEL_ORDER
            uvec4 values = global_id * 4u + uvec4(0u, 1u, 2u, 3u);
        #else
            uvec4 values = load_data(parameters.src_data_offset + global_id, rest, 0u);
        #endif

        // The bits of a digit are a constant number. A loop with barriers costs software drivers all registers; without
        // subgroup operations the passes are too large to be unrolled.
        #if LOCAL_SHADER || NO_SUBGROUP
            [[loop]] for(uint i = 0u; i < radix_count; i++) split_data(keys, values, radix_offset + i, local_id);
        #else
            [[unroll]] for(uint i = 0u; i < 4u; i++) split_data(keys, values, radix_offset + i, local_id);
        #endif

        store_data(DEST(keys) + global_id, rest, keys);
        store_data(DEST(data) + global_id, rest, values);
    }

#elif OFFSET_SHADER

    layout(std430, binding = 2) readonly buffer SourceBuffer { uvec2 src_buffer[]; };
    layout(std430, binding = 3) writeonly buffer OffsetBuffer { uint offset_buffer[]; };
    layout(std430, binding = 4) writeonly buffer ReorderBuffer { uint reorder_buffer[]; };

    // Where each digit begins and ends, with one place more for what is behind the last key.
    shared uint group_keys[GROUP_SIZE];
    shared uint group_reorder[17];
    shared uint group_end[17];

    void main() {
        uint local_id = get_local_id();
        uint group_id = load_parameters(local_id);
        uint place = local_id * 2u;
        uint rest = parameters.size - group_id * GROUP_SIZE * 2u;

        // Two digits beside each other, and none behind the end of the block.
        uint index = (parameters.src_keys_offset >> 1u) + group_id * GROUP_SIZE + local_id;
        uvec2 digits = uvec2(16u);
        [[branch]] if(place + 1u < rest) {
            digits = (src_buffer[index] >> radix_offset) & 15u;
        } else {
            [[branch]] if(place < rest) digits.x = (src_buffer[index].x >> radix_offset) & 15u;
        }
        group_keys[local_id] = digits.x;
        [[unroll]] for(uint i = 0u; i < 16u; i += GROUP_SIZE) {
            [[branch]] if(i + local_id < 16u) {
                group_reorder[i + local_id] = 0u;
                group_end[i + local_id] = 0u;
            }
        }
        barrier();

        // The first digit begins at 0, each other one where the one in front of it ends.
        uint next = group_keys[min(local_id + 1u, GROUP_SIZE - 1u)];
        next = (local_id + 1u < GROUP_SIZE) ? next : 16u;
        if(digits.x != digits.y) {
            group_end[digits.x] = place + 1u;
            group_reorder[digits.y] = place + 1u;
        }
        if(digits.y != next) {
            group_end[digits.y] = place + 2u;
            group_reorder[next] = place + 2u;
        }
        barrier();

        // Counts lie by digits, so that one scan gives each digit of each block its place.
        [[unroll]] for(uint i = 0u; i < 16u; i += GROUP_SIZE) {
            uint digit = i + local_id;
            [[branch]] if(digit < 16u) {
                offset_buffer[parameters.update_offset + 16u * group_id + digit] = group_reorder[digit];
                reorder_buffer[parameters.update_offset + parameters.groups * digit + group_id] =
                    group_end[digit] - group_reorder[digit];
            }
        }
    }

#elif REORDER_SHADER

    layout(std430, binding = 2) readonly buffer SourceBuffer { uint src_buffer[]; };
    layout(std430, binding = 3) writeonly buffer DestBuffer { uint dest_buffer[]; };
    layout(std430, binding = 4) readonly buffer OffsetBuffer { uint offset_buffer[]; };
    layout(std430, binding = 5) readonly buffer ReorderBuffer { uint reorder_buffer[]; };

    // What leads from an element's place in the block to its place in the range, for each digit.
    shared uint group_reorder[16];

    void move_element(uint block, uint place, uint rest) {
        // behind the end the last element is read, and not written
        uint src = block + min(place, rest - 1u);
        uint key = src_buffer[parameters.src_keys_offset + src];
        uint data = src_buffer[parameters.src_data_offset + src];
        uint index = group_reorder[(key >> radix_offset) & 15u] + place;
        [[branch]] if(place < rest && index < parameters.size) {
            dest_buffer[parameters.dest_keys_offset + index] = key;
            dest_buffer[parameters.dest_data_offset + index] = data;
        }
    }

    void main() {
        uint local_id = get_local_id();
        uint group_id = load_parameters(local_id);
        uint block = group_id * GROUP_SIZE * 2u;
        uint rest = parameters.size - block;

        [[unroll]] for(uint i = 0u; i < 16u; i += GROUP_SIZE) {
            uint digit = i + local_id;
            [[branch]] if(digit < 16u) {
                uint begin = offset_buffer[parameters.update_offset + 16u * group_id + digit];
                uint count = reorder_buffer[parameters.update_offset + parameters.groups * digit + group_id];
                group_reorder[digit] = count - begin;
            }
        }
        barrier();

        move_element(block, local_id, rest);
        move_element(block, local_id + GROUP_SIZE, rest);
    }

#else

    layout(local_size_x = GROUP_SIZE) in;

    struct DispatchParameters {
        uint keys_offset; // elements, a multiple of four
        uint data_offset;
        uint size;
        uint padding;
    };

    struct ScanParameters {
        uint offset;
        uint size;
        uint padding_0;
        uint padding_1;
    };

    layout(std140, binding = 0) uniform Parameters {
        uint count_offset;    // of the number of regions, in words
        uint dispatch_offset; // of the first DispatchParameters, in records
        uint data_size;       // where values begin in the object's buffer, in words
        uint max_data;        // elements of all regions that one group can't sort
        uint max_regions;
        uint sort_elements;
        uint update_elements;
        uint max_elements;
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

    #else

        layout(std430, binding = 1) readonly buffer DispatchBuffer { DispatchParameters dispatch_buffer[]; };
        layout(std430, binding = 2) buffer IndirectBuffer { uint indirect_buffer[]; };
        layout(std430, binding = 3) writeonly buffer LocalBuffer { SortParameters local_buffer[]; };
        layout(std430, binding = 4) writeonly buffer GlobalBuffer { SortParameters global_buffer[]; };
        layout(std430, binding = 5) writeonly buffer UpdateBuffer { UpdateParameters update_buffer[]; };
        layout(std430, binding = 6) writeonly buffer ScanBuffer { ScanParameters scan_buffer[]; };
        #if MULTIPLE_COUNT_SHADER
            layout(std430, binding = 7) readonly buffer CountBuffer { uint count_buffer[]; };
        #endif

        // From the caller's buffer to the object's, where keys and values of the region lie from `offset` on.
        SortParameters get_sort(DispatchParameters region, uint offset, uint group) {
            return SortParameters(region.keys_offset >> 2u, region.data_offset >> 2u, offset >> 2u,
                                  (data_size + offset) >> 2u, group, region.size);
        }

        // And back.
        UpdateParameters get_update(DispatchParameters region, uint offset, uint group, uint groups) {
            return UpdateParameters(offset, data_size + offset, region.keys_offset, region.data_offset, 16u * group,
                                    groups, group, region.size);
        }

        #if SINGLE_SHADER

            void set_slot(uint slot, uint groups) {
                indirect_buffer[slot * 4u] = groups;
                indirect_buffer[slot * 4u + 1u] = 1u;
                indirect_buffer[slot * 4u + 2u] = 1u;
                indirect_buffer[slot * 4u + 3u] = 0u;
            }

            void main() {
                DispatchParameters region = dispatch_buffer[dispatch_offset];
                uint local_groups = 0u;
                uint groups = 0u;
                uint blocks = 0u;
                if(region.size <= sort_elements) {
                    local_groups = 1u;
                    local_buffer[0] = get_sort(region, 0u, 0u);
                } else if(region.size <= max_elements && region.size <= max_data) {
                    groups = (region.size + sort_elements - 1u) / sort_elements;
                    blocks = (region.size + update_elements - 1u) / update_elements;
                    global_buffer[0] = get_sort(region, 0u, 0u);
                    update_buffer[0] = get_update(region, 0u, 0u, blocks);
                }
                scan_buffer[0] = ScanParameters(0u, 16u * blocks, 0u, 0u);
                set_slot(0u, local_groups);
                set_slot(1u, groups);
                set_slot(2u, blocks);
                set_slot(3u, 1u);
            }

        #else

            shared DispatchParameters region;
            shared uint data_offset;
            shared uint global_group;
            shared uint global_groups;
            shared uint update_group;
            shared uint update_groups;

            // Words of the slots: the counters of groups and blocks in x, and in the spare word of the first slot the
            // size that is taken of the object's buffer.
            void process_region() {
                global_groups = 0u;
                update_groups = 0u;
                uint size = region.size;
                if(size == 0u || size > max_elements) return;
                if(size <= sort_elements) {
                    uint index = atomicIncrement(indirect_buffer[0]);
                    local_buffer[index] = get_sort(region, 0u, index);
                    return;
                }
                // Room comes first. Who gets none backs out before it has taken a group, which would leave a hole in
                // front of those of others; those who have room find enough groups.
                uint data_elements = (size + 3u) & ~3u;
                data_offset = atomicAdd(indirect_buffer[3], data_elements);
                if(data_offset > max_data || data_elements > max_data - data_offset) {
                    atomicSub(indirect_buffer[3], data_elements);
                    return;
                }
                uint groups = (size + sort_elements - 1u) / sort_elements;
                uint blocks = (size + update_elements - 1u) / update_elements;
                global_group = atomicAdd(indirect_buffer[4], groups);
                update_group = atomicAdd(indirect_buffer[8], blocks);
                uint index = atomicIncrement(indirect_buffer[12]);
                scan_buffer[index] = ScanParameters(16u * update_group, 16u * blocks, 0u, 0u);
                global_groups = groups;
                update_groups = blocks;
            }

            void main() {
                uint local_id = gl_LocalInvocationID.x;
                uint group_id = gl_WorkGroupID.x;
                #if MULTIPLE_COUNT_SHADER
                    if(group_id >= count_buffer[count_offset]) return;
                #endif
                [[branch]] if(local_id == 0u) {
                    region = dispatch_buffer[dispatch_offset + group_id];
                    process_region();
                }
                barrier();
                [[loop]] for(uint i = local_id; i < global_groups; i += GROUP_SIZE) {
                    global_buffer[global_group + i] = get_sort(region, data_offset, global_group);
                }
                [[loop]] for(uint i = local_id; i < update_groups; i += GROUP_SIZE) {
                    update_buffer[update_group + i] = get_update(region, data_offset, update_group, update_groups);
                }
            }

        #endif

    #endif

#endif
