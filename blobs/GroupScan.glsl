// Exclusive prefix sum of one value per thread over a work group.
//
// Expects GROUP_SIZE and SUBGROUP_SIZE. Where a group has no more than SUBGROUP_SIZE subgroups and the size at run time
// is the one compiled for, two levels of subgroup operations do it, otherwise a scan in shared memory. The second is
// compiled beside the first, since the size is known for sure only at run time. NO_SUBGROUP leaves the first one out.
//
// Between two calls, and after one before the group's end, all threads have to pass two barriers.

#pragma subgroup_size(SUBGROUP_SIZE)

// Two halves: zeros and values for the scan in memory, sums and totals of the subgroups for the other.
shared uint scan_data[max(GROUP_SIZE, SUBGROUP_SIZE) * 2u];

uint scan_memory(uint value, uint local_id, out uint total) {
    scan_data[local_id] = 0u;
    scan_data[GROUP_SIZE + local_id] = value;
    [[loop]] for(uint offset = 1u; offset < GROUP_SIZE; offset <<= 1u) {
        barrier();
        uint sum = scan_data[GROUP_SIZE + local_id - offset];
        barrier();
        scan_data[GROUP_SIZE + local_id] += sum;
    }
    barrier();
    total = scan_data[GROUP_SIZE * 2u - 1u];
    return scan_data[GROUP_SIZE + local_id] - value;
}

#ifndef NO_SUBGROUP
uint scan_subgroups(uint value, uint local_id, out uint total) {
    const uint num_subgroups = (GROUP_SIZE + SUBGROUP_SIZE - 1u) / SUBGROUP_SIZE;
    uint subgroup = local_id / SUBGROUP_SIZE;
    uint scan = subgroupExclusiveAdd(value);
    [[branch]] if(local_id % SUBGROUP_SIZE == SUBGROUP_SIZE - 1u || local_id == GROUP_SIZE - 1u) {
        scan_data[SUBGROUP_SIZE + subgroup] = scan + value;
    }
    barrier();
    [[branch]] if(subgroup == 0u) {
        uint sum = 0u;
        if(local_id < num_subgroups) sum = scan_data[SUBGROUP_SIZE + local_id];
        scan_data[local_id] = subgroupExclusiveAdd(sum);
    }
    barrier();
    total = scan_data[num_subgroups - 1u] + scan_data[SUBGROUP_SIZE + num_subgroups - 1u];
    return scan + scan_data[subgroup];
}
#endif

uint scan_group(uint value, uint local_id, out uint total) {
#ifndef NO_SUBGROUP
    // Both sides are constants of the text but for the size at run time: a device drops what it does not need.
    if(SUBGROUP_SIZE * SUBGROUP_SIZE >= GROUP_SIZE && gl_SubgroupSize == SUBGROUP_SIZE) {
        return scan_subgroups(value, local_id, total);
    }
#endif
    return scan_memory(value, local_id, total);
}
