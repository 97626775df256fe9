#include "VKCompute.h"

#include "VKBuffer.h"
#include "VKKernel.h"
#include "VKQuery.h"
#include "VKTexture.h"

namespace Kolm {

VKCompute::VKCompute(VKContext *context, const Device::Features &features)
    : ComputeRecorder(context->getAdapter()->getIndex(), features), adapter(context->getAdapter()), context(context),
      recorder(context, *this, "VKCompute") {}

void VKCompute::bind_kernel(Kernel *new_kernel) {
    vk_kernel = cast<VKKernel>(new_kernel);
    recorder.setObject(vk_kernel, vk_kernel ? &vk_kernel->getBindings() : nullptr, VK_PIPELINE_BIND_POINT_COMPUTE);
    if(vk_kernel) recorder.bind(vk_kernel->getPipeline());
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
    recorder.bind(vk_kernel->getPipeline());
    recorder.updateBarriers(source, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT);
    return (update_mask == 0 || recorder.updateSets());
}

bool VKCompute::record_dispatch(uint32_t width, uint32_t height, uint32_t depth) {
    if(!update(nullptr)) return false;
    adapter->vkCmdDispatch(context->getCommand(), width, height, depth);
    return true;
}

bool VKCompute::record_dispatch_indirect() {
    if(!update(&indirect)) return false;
    adapter->vkCmdDispatchIndirect(context->getCommand(), recorder.getBuffer(indirect), indirect.offset);
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

// Work behind the barrier reads and writes what work in front of it wrote. Other uses than shaders come with their own
// barrier, from the access that is remembered here.
void VKCompute::record_barrier(Buffer **buffers, uint32_t num) {
    check_target("barrier");
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        VKBuffer *buffer = cast<VKBuffer>(buffers[i]);
        if(buffer->getBufferAccess() == 0) continue;
        buffer->setBufferAccess(barriers, context, VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, true,
                                VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT);
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
