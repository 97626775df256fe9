// The kinds of buffer data that a kernel takes, each checked against the same work done here: uniform data, storage
// buffers, transient storage data, and an indirect dispatch whose size is written by another dispatch.

#include <Ostrevan.h>

using namespace Ostrevan;

// Counts the values above a threshold and writes how many groups the second kernel needs for them.
static const char *const count_source = R"(
    layout(local_size_x = 64) in;
    layout(std140, binding = 0) uniform Parameters { uint size; uint threshold; };
    layout(std430, binding = 1) readonly buffer Values { uint values[]; };
    layout(std430, binding = 2) buffer Found { uint found[]; };
    layout(std430, binding = 3) buffer Dispatch { uint groups[4]; };
    void main() {
        uint id = gl_GlobalInvocationID.x;
        if(id >= size || values[id] <= threshold) return;
        uint index = atomicAdd(groups[3], 1u);
        found[index] = values[id];
        atomicMax(groups[0], index / 64u + 1u);
    })";

// Sums what was found, each value multiplied by a weight of a small table.
static const char *const sum_source = R"(
    layout(local_size_x = 64) in;
    layout(std430, binding = 0) readonly buffer Found { uint found[]; };
    layout(std430, binding = 1) readonly buffer Weights { uint weights[4]; };
    layout(std430, binding = 2) readonly buffer Dispatch { uint groups[4]; };
    layout(std430, binding = 3) buffer Sum { uint sum; };
    void main() {
        uint id = gl_GlobalInvocationID.x;
        if(id < groups[3]) atomicAdd(sum, found[id] * weights[found[id] & 3u]);
    })";

int main() {
    Context context(PlatformAny);
    if(!context.create()) return 1;
    Device device(context);

    Kernel count = device.createKernel();
    count.setUniforms(1).setStorages(3).setStorageOffset(1);
    Kernel sum = device.createKernel();
    sum.setStorages(4);
    if(!count.createShaderGLSL(count_source) || !count.create()) return 1;
    if(!sum.createShaderGLSL(sum_source) || !sum.create()) return 1;

    const uint32_t size = 10000, threshold = 0xA0000000;
    const uint32_t weights[4] = {1, 3, 5, 7};
    Array<uint32_t> values(size);
    uint32_t expected_count = 0, expected_sum = 0, state = 1;
    for(uint32_t i = 0; i < size; i++) {
        values[i] = state = state * 1664525 + 1013904223;
        if(state <= threshold) continue;
        expected_count++;
        expected_sum += state * weights[state & 3];
    }

    const Buffer::Flags flags = Buffer::FlagStorage | Buffer::FlagSource;
    Buffer value_buffer = device.createBuffer(Buffer::FlagStorage, values.get(), values.bytes());
    Buffer found_buffer = device.createBuffer(flags, values.bytes());
    Buffer sum_buffer = device.createBuffer(flags, sizeof(uint32_t));
    const uint32_t no_groups[4] = {0, 1, 1, 0}; // groups in x, y and z, then the number of values
    Buffer group_buffer = device.createBuffer(flags | Buffer::FlagIndirect, no_groups, sizeof(no_groups));
    if(!value_buffer || !found_buffer || !sum_buffer || !group_buffer || !device.clearBuffer(sum_buffer)) return 1;

    {
        Compute compute = device.createCompute();
        const uint32_t parameters[4] = {size, threshold, 0, 0};
        compute.setKernel(count);
        compute.setUniform(0, parameters); // lives in transient memory until this work ran
        compute.setStorageBuffers(0, {value_buffer, found_buffer, group_buffer});
        compute.dispatch(size);
        compute.barrier({found_buffer, group_buffer});

        compute.setKernel(sum);
        compute.setStorageBuffer(0, found_buffer);
        compute.setStorage(1, weights); // so does this
        compute.setStorageBuffers(2, {group_buffer, sum_buffer});
        compute.setIndirectBuffer(group_buffer);
        compute.dispatchIndirect();
    }
    uint32_t groups[4] = {}, result = 0;
    if(!device.getBuffer(group_buffer, groups) || !device.getBuffer(sum_buffer, &result)) return 1;
    Log::printf("%u of %u values, expected %u\nsum %u, expected %u\n", groups[3], size, expected_count, result,
                expected_sum);
    return (groups[3] == expected_count && result == expected_sum) ? 0 : 1;
}
