// Exclusive prefix sum of one value per thread over a work group.
//
// Expects "GroupId.glsl" and what that expects. Where the subgroups have the size at run time that is compiled for, they
// add up in two levels, otherwise a scan in shared memory does. The second is compiled beside the first, since the size
// is known for sure only at run time, unless SUBGROUP_FIXED says that the device has no other. NO_SUBGROUP leaves the
// first one out.
//
// Threads pass a barrier before they return: what the caller wrote to shared memory in front of the call can be read
// behind it. Between two calls the caller has to have one as well.

// Totals of the subgroups, or two halves for the scan in memory, zeros and values.
#if SUBGROUP_FIXED
    shared uint scan_data[GROUP_SIZE];
#else
    shared uint scan_data[GROUP_SIZE * 2u];

uint scan_memory(uint value, uint local_id, out uint total) {
    uint scan = value;
    scan_data[local_id] = 0u;
    scan_data[GROUP_SIZE + local_id] = scan;
    [[unroll]] for(uint offset = 1u; offset < GROUP_SIZE; offset <<= 1u) {
        barrier();
        uint sum = scan_data[GROUP_SIZE + local_id - offset];
        barrier();
        scan += sum;
        scan_data[GROUP_SIZE + local_id] = scan;
    }
    barrier();
    total = scan_data[GROUP_SIZE * 2u - 1u];
    return scan - value;
}

#endif

#ifndef NO_SUBGROUP

// One barrier: every subgroup adds the totals of those in front of it for itself.
uint scan_subgroups(uint value, uint local_id, out uint total) {
    const uint num_subgroups = (GROUP_SIZE + SUBGROUP_SIZE - 1u) / SUBGROUP_SIZE;
    uint subgroup = local_id / SUBGROUP_SIZE;
    uint lane = local_id % SUBGROUP_SIZE;
    uint scan = subgroupExclusiveAdd(value);
    if(lane == min(SUBGROUP_SIZE, GROUP_SIZE) - 1u) scan_data[subgroup] = scan + value;
    barrier();
    uint prefix = 0u;
    uint sum = 0u;
    [[unroll]] for(uint i = 0u; i < num_subgroups; i += SUBGROUP_SIZE) {
        uint index = i + lane;
        uint data = scan_data[min(index, num_subgroups - 1u)];
        prefix += (index < subgroup) ? data : 0u;
        sum += (index < num_subgroups) ? data : 0u;
    }
    total = subgroupAdd(sum);
    return scan + subgroupAdd(prefix);
}

#endif

uint scan_group(uint value, uint local_id, out uint total) {
#if SUBGROUP_FIXED
    return scan_subgroups(value, local_id, total);
#else
    #ifndef NO_SUBGROUP
        if(gl_SubgroupSize == SUBGROUP_SIZE) return scan_subgroups(value, local_id, total);
    #endif
    return scan_memory(value, local_id, total);
#endif
}
