#include "VKCompute.h"

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKKernel.h"
#include "VKQuery.h"
#include "VKTexture.h"
#include "VKTraversal.h"

namespace Kolm {

VKCompute::VKCompute(VKContext *context, const Device::Features &features)
    : ComputeRecorder(context->getAdapter()->getIndex(), features), adapter(context->getAdapter()), context(context),
      recorder(context, *this, "VKCompute") {
    set_arena(context->getUniformArena());
}

void VKCompute::bind_kernel(Kernel *new_kernel) {
    vk_kernel = cast<VKKernel>(new_kernel);
    vk_traversal = nullptr;
    recorder.setObject(vk_kernel, vk_kernel ? &vk_kernel->getBindings() : nullptr, VK_PIPELINE_BIND_POINT_COMPUTE);
    if(vk_kernel) recorder.bind(vk_kernel->getPipeline());
}

void VKCompute::bind_traversal(Traversal *new_traversal) {
    vk_kernel = nullptr;
    vk_traversal = cast<VKTraversal>(new_traversal);
    recorder.setObject(vk_traversal, vk_traversal ? &vk_traversal->getBindings() : nullptr,
                       VK_PIPELINE_BIND_POINT_RAY_TRACING_KHR);
    if(vk_traversal == nullptr) return;
    check_target("setTraversal");
    if(!vk_traversal->createGroups(context))
        Log::printf(Log::Error, "VKCompute::setTraversal(): can't create shader group buffer\n");
    recorder.bind(vk_traversal->getPipeline());
}

bool VKCompute::allocate_memory(Transient type, size_t size, Memory &memory) {
    return recorder.allocate(type, size, memory);
}

// Nothing but drawing can be recorded while a target is enabled.
void VKCompute::check_target(const char *method) const {
    if(KOLM_UNLIKELY(context->getTarget() != nullptr)) get_caller(method).fail("target is enabled");
}

bool VKCompute::update(const Slot *source) {
    check_target("dispatch");
    if(!recorder.prepare(source)) return false;
    recorder.bind(vk_kernel ? vk_kernel->getPipeline() : vk_traversal->getPipeline());
    recorder.updateBarriers(source, vk_kernel ? VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT
                                              : VK_PIPELINE_STAGE_RAY_TRACING_SHADER_BIT_KHR);
    if(update_mask && !recorder.updateSets()) return false;
    recorder.settle(!recorder.hasTransients());
    return true;
}

bool VKCompute::record_dispatch(uint32_t width, uint32_t height, uint32_t depth) {
    if(KOLM_UNLIKELY(!update())) return false;
    adapter->vkCmdDispatch(recorder.getSettledCommand(), width, height, depth);
    return true;
}

bool VKCompute::record_dispatch_indirect() {
    if(!update(&indirect)) return false;
    adapter->vkCmdDispatchIndirect(context->getCommand(), recorder.getBuffer(indirect), indirect.offset);
    return true;
}

bool VKCompute::check_rays(uint32_t width, uint32_t height, uint32_t depth) const {
    const VkPhysicalDeviceLimits &limits = adapter->getLimits();
    const uint32_t counts[3] = {width, height, depth};
    bool status = true;
    for(uint32_t i = 0; i < 3; i++)
        status &= (counts[i] <= uint64_t(limits.maxComputeWorkGroupCount[i]) * limits.maxComputeWorkGroupSize[i]);
    const uint64_t max_rays = adapter->getRayTracingPipelineProperties().maxRayDispatchInvocationCount;
    const uint64_t rays = uint64_t(width) * height;
    status &= (rays <= max_rays && (rays == 0 || depth <= max_rays / rays));
    if(!status) {
        Log::printf(Log::Error, "VKCompute::dispatch(): %ux%ux%u rays are above the limit of the device\n", width,
                    height, depth);
    }
    return status;
}

bool VKCompute::record_trace(uint32_t width, uint32_t height, uint32_t depth) {
    if(!check_rays(width, height, depth)) return false;
    if(!update()) return false;
    VKBuffer *groups = vk_traversal->createGroups(context) ? vk_traversal->getGroupBuffer() : nullptr;
    if(groups == nullptr) {
        Log::printf(Log::Error, "VKCompute::dispatch(): can't create shader group buffer\n");
        return false;
    }
    groups->setBufferAccess(context, VK_ACCESS_SHADER_READ_BIT, false, VK_PIPELINE_STAGE_RAY_TRACING_SHADER_BIT_KHR);
    const uint32_t num_misses = vk_traversal->getNumRayMissShaders();
    const VkStridedDeviceAddressRegionKHR raygen = vk_traversal->getRegion(0, 1);
    const VkStridedDeviceAddressRegionKHR miss = vk_traversal->getRegion(1, num_misses);
    const VkStridedDeviceAddressRegionKHR hit =
        vk_traversal->getRegion(1 + num_misses, vk_traversal->getNumTraversalShaders());
    const VkStridedDeviceAddressRegionKHR callable = {};
    if(width && height && depth)
        adapter->vkCmdTraceRaysKHR(context->getCommand(), &raygen, &miss, &hit, &callable, width, height, depth);
    return true;
}

bool VKCompute::record_set(Buffer *buffer, size_t offset, const void *src, size_t size) {
    check_target("setBuffer");
    return cast<VKBuffer>(buffer)->set(context, offset, src, size);
}

bool VKCompute::record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    check_target("copyBuffer");
    return cast<VKBuffer>(dest)->copy(context, dest_offset, cast<VKBuffer>(src), src_offset, size);
}

bool VKCompute::record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    check_target("clearBuffer");
    return cast<VKBuffer>(buffer)->clear(context, format, offset, value, size);
}

bool VKCompute::record_set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                                   const Slice &image_slice) {
    check_target("setTexture");
    return cast<VKTexture>(texture)->set(context, origin, dest_slice, image, image_slice);
}

bool VKCompute::record_copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                                    const Region &region, const Slice &src_slice) {
    check_target("copyTexture");
    return cast<VKTexture>(dest)->copy(context, origin, dest_slice, cast<VKTexture>(src), region, src_slice);
}

bool VKCompute::record_clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value) {
    check_target("clearTexture");
    return cast<VKTexture>(texture)->clear(context, region, slice, value);
}

// All that the recorder dispatches.
VkPipelineStageFlags VKCompute::get_stages() const {
    const bool has_rays = adapter->getRayTracingPipelineFeatures().rayTracingPipeline;
    return VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | (has_rays ? VK_PIPELINE_STAGE_RAY_TRACING_SHADER_BIT_KHR : 0);
}

// Work behind the barrier reads and writes what work in front of it wrote. Other uses than shaders come with their own
// barrier, from the access that is remembered here.
void VKCompute::record_barrier(Buffer **buffers, uint32_t num) {
    check_target("barrier");
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        VKBuffer *buffer = cast<VKBuffer>(buffers[i]);
        if(buffer->getBufferAccess() == 0) continue;
        buffer->setBufferAccess(barriers, context, VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, true,
                                get_stages());
    }
    context->barrier(barriers);
}

void VKCompute::record_texture_barrier(Texture **list, uint32_t num) {
    check_target("barrier");
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        VKTexture *texture = cast<VKTexture>(list[i]);
        const VkAccessFlags write =
            texture->hasFlag(Texture::FlagSurface | Texture::FlagWrite) ? VK_ACCESS_SHADER_WRITE_BIT : 0;
        texture->setTextureLayout(barriers, context, texture->getReadLayout(), true, VK_ACCESS_SHADER_READ_BIT | write);
    }
    context->barrier(barriers);
}

void VKCompute::record_begin_conditional(Buffer *buffer, size_t offset) {
    recorder.beginConditional(cast<VKBuffer>(buffer), offset);
}

void VKCompute::record_end_conditional() { recorder.endConditional(); }

bool VKCompute::record_begin_query(Query *query) { return cast<VKQuery>(query)->begin(context); }

bool VKCompute::record_end_query(Query *query) { return cast<VKQuery>(query)->end(context); }

} // namespace Kolm
