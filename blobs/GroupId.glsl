// Number of a thread in its work group, 0 to GROUP_SIZE - 1.
//
// Expects GROUP_SIZE and SUBGROUP_SIZE. With SUBGROUP_FIXED, on devices that have one size of subgroups, it is made of
// the subgroup's number: software drivers divide for gl_LocalInvocationID, and again behind each barrier.
// SUBGROUP_CHECKED takes it back, and the size is compared at run time.

#if NO_SUBGROUP || SUBGROUP_CHECKED
    #undef SUBGROUP_FIXED
#endif

#pragma subgroup_size(SUBGROUP_SIZE)

uint get_local_id() {
#if SUBGROUP_FIXED
    if(GROUP_SIZE % SUBGROUP_SIZE == 0u) return gl_SubgroupID * SUBGROUP_SIZE + gl_SubgroupInvocationID;
#endif
    return gl_LocalInvocationID.x;
}
