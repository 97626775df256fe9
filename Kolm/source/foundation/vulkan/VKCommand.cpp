#include "VKCommand.h"

#include "VKBuffer.h"
#include "VKPipeline.h"
#include "VKQuery.h"
#include "VKTarget.h"

namespace Kolm {

VKCommand::VKCommand(VKContext *context, const Device::Features &features, VKTarget *target)
    : CommandRecorder(context->getAdapter()->getIndex(), features, target), adapter(context->getAdapter()),
      context(context), vk_target(target), recorder(context, *this, "VKCommand") {
    set_arena(context->getUniformArena());
}

void VKCommand::bind_pipeline(Pipeline *new_pipeline) {
    vk_pipeline = cast<VKPipeline>(new_pipeline);
    recorder.setObject(vk_pipeline, vk_pipeline ? &vk_pipeline->getBindings() : nullptr,
                       VK_PIPELINE_BIND_POINT_GRAPHICS);
    if(vk_pipeline == nullptr) return;
    // A pipeline fits the passes of its own formats and samples.
    const Caller caller = get_caller("setPipeline");
    for(uint32_t i = 0; i < Pipeline::NumTargets; i++) {
        const Format format = (i < vk_pipeline->getNumTargets()) ? vk_pipeline->getColorFormat(i) : FormatUnknown;
        const Format target_format = (i < target->getNumTargets()) ? target->getColorFormat(i) : FormatUnknown;
        if(format == target_format) continue;
        caller.fail("invalid pipeline: color %u of %s pipeline is %s, and %s of the target", i,
                    Caller::getText(vk_pipeline), getFormatName(format), getFormatName(target_format));
    }
    if(vk_pipeline->getDepthFormat() != target->getDepthFormat()) {
        caller.fail("invalid pipeline: depth of %s pipeline is %s, and %s of the target", Caller::getText(vk_pipeline),
                    getFormatName(vk_pipeline->getDepthFormat()), getFormatName(target->getDepthFormat()));
    }
    if(vk_pipeline->getMultisample() != target->getMultisample()) {
        caller.fail("invalid pipeline: %s pipeline has %u samples, and the target %u", Caller::getText(vk_pipeline),
                    vk_pipeline->getMultisample(), target->getMultisample());
    }
    // Bound by the draw: what may be recorded before depends on the pass.
}

bool VKCommand::allocate_memory(Transient type, size_t size, Memory &memory) {
    return recorder.allocate(type, size, memory);
}

// The pass of own draws. A secondary command buffer lies in the pass of its parent.
inline bool VKCommand::begin_pass() {
    if(KOLM_UNLIKELY(!vk_target->isEnabled())) get_caller("draw").fail("target is not enabled");
    if(context == vk_target->getContext()) return vk_target->beginPass(VK_SUBPASS_CONTENTS_INLINE);
    if(context->getInherited() == vk_target->getFramebuffer()) return true;
    return get_caller("draw").error("the frame of the target is over");
}

// What is drawn to can't be sampled at the same time, and layouts don't change in a pass.
bool VKCommand::check_attachments() const {
    for(uint32_t i = 0; i < vk_pipeline->getNumTextures(); i++) {
        const TextureSlot &slot = textures[i];
        if(slot.texture == nullptr || !vk_target->isAttached(slot.texture, slot.slice)) continue;
        return get_caller("update").error("%s texture is drawn to", Caller::getText(slot.texture));
    }
    return true;
}

bool VKCommand::update_vertices() {
    for(uint32_t i = 0; i < vk_pipeline->getNumVertices(); i++) {
        if(!vertices[i].isSet()) continue;
        const VkBuffer buffer = recorder.getBuffer(vertices[i]);
        if(buffer == VK_NULL_HANDLE) return get_caller("update").error("vertex buffer %u is not created", i);
        if(vertices[i].buffer) static_cast<VKBuffer *>(vertices[i].buffer)->setUsed(context);
        if(buffer == bound_vertices[i] && (update_mask & UpdateVertex) == 0) continue;
        const VkDeviceSize offset = vertices[i].offset;
        adapter->vkCmdBindVertexBuffers(context->getCommand(), i, 1, &buffer, &offset);
        bound_vertices[i] = buffer;
    }
    return true;
}

bool VKCommand::update_index() {
    const VkBuffer buffer = recorder.getBuffer(index);
    if(buffer == VK_NULL_HANDLE) return get_caller("update").error("index buffer is not created");
    if(index.buffer) static_cast<VKBuffer *>(index.buffer)->setUsed(context);
    if(buffer == bound_index && (update_mask & UpdateIndex) == 0) return true;
    adapter->vkCmdBindIndexBuffer(context->getCommand(), buffer, index.offset,
                                  (index_format == FormatRu32) ? VK_INDEX_TYPE_UINT32 : VK_INDEX_TYPE_UINT16);
    bound_index = buffer;
    return true;
}

// Clip +1 is the top of the picture: heights are negative.
void VKCommand::update_viewports() {
    VkViewport records[Pipeline::NumViewports];
    const uint32_t num = vk_pipeline->getNumViewports();
    for(uint32_t i = 0; i < num; i++) {
        const Viewport &v = viewports[i];
        records[i] = {v.x, v.y + v.height, v.width, -v.height, v.znear, v.zfar};
    }
    adapter->vkCmdSetViewport(context->getCommand(), 0, num, records);
}

void VKCommand::update_scissors() {
    VkRect2D records[Pipeline::NumViewports];
    const uint32_t num = vk_pipeline->getNumViewports();
    for(uint32_t i = 0; i < num; i++) {
        records[i] = {{0, 0}, {target->getWidth(), target->getHeight()}};
        if(!vk_pipeline->getScissorTest()) continue;
        const Scissor &s = scissors[i];
        records[i] = {{s.x, s.y}, {uint32_t(s.width), uint32_t(s.height)}};
    }
    adapter->vkCmdSetScissor(context->getCommand(), 0, num, records);
}

bool VKCommand::update_state(bool has_index, const Slot *source) {
    const bool settled = (source == nullptr && recorder.isSettled());
    if(!settled) {
        if(!recorder.prepare(source)) return false;
        recorder.bind(vk_pipeline->getPipeline());
    }
    if(source && source->buffer) static_cast<VKBuffer *>(source->buffer)->setUsed(context);
    if(!update_vertices() || (has_index && !update_index())) return false;
    if(update_mask == 0) {
        recorder.settle();
        return true;
    }
    if(!settled) recorder.updateUses();
    if((update_mask & UpdateTexture) && !check_attachments()) return false;
    const VkCommandBuffer command = context->getCommand();
    if(update_mask & UpdateViewport) update_viewports();
    if(update_mask & UpdateScissor) update_scissors();
    if(update_mask & UpdateBlendColor) {
        const float values[] = {blend_color.r, blend_color.g, blend_color.b, blend_color.a};
        adapter->vkCmdSetBlendConstants(command, values);
    }
    if(update_mask & UpdateStencilRef)
        adapter->vkCmdSetStencilReference(command, VK_STENCIL_FACE_FRONT_AND_BACK, stencil_ref);
    if(!(settled ? recorder.updateOffsets() : recorder.updateSets())) return false;
    recorder.settle();
    // A draw without indices leaves them to be bound by the next one with them.
    if(!has_index && (update_mask & UpdateIndex)) bound_index = VK_NULL_HANDLE;
    return true;
}

// In the usual case of many draws in a row nothing but offsets changed.
inline bool VKCommand::update(bool has_index, const Slot *source) {
    if(KOLM_UNLIKELY(!begin_pass())) return false;
    if(KOLM_UNLIKELY(source || !recorder.isSettled() || (update_mask & UpdateCommand) || (has_index && !bound_index)))
        return update_state(has_index, source);
    return recorder.updateOffsets();
}

bool VKCommand::record_draw_arrays(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                                   uint32_t base_instance) {
    if(!update(false)) return false;
    adapter->vkCmdDraw(recorder.getSettledCommand(), num_vertices, num_instances, base_vertex, base_instance);
    return true;
}

bool VKCommand::record_draw_elements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                                     uint32_t num_instances, uint32_t base_instance) {
    if(!update(true)) return false;
    adapter->vkCmdDrawIndexed(recorder.getSettledCommand(), num_indices, num_instances, base_index, base_vertex,
                              base_instance);
    return true;
}

bool VKCommand::record_draw_mesh(uint32_t width, uint32_t height, uint32_t depth) {
    if(!update(false)) return false;
    adapter->vkCmdDrawMeshTasksEXT(recorder.getSettledCommand(), width, height, depth);
    return true;
}

bool VKCommand::record_draw_indirect(DrawType type, const Slot &source, uint32_t num, size_t stride) {
    if(!update(type == DrawElements, &source)) return false;
    const VkCommandBuffer command = context->getCommand();
    const VkBuffer buffer = recorder.getBuffer(source);
    switch(type) {
    case DrawArrays: adapter->vkCmdDrawIndirect(command, buffer, source.offset, num, uint32_t(stride)); break;
    case DrawElements: adapter->vkCmdDrawIndexedIndirect(command, buffer, source.offset, num, uint32_t(stride)); break;
    case DrawMesh: adapter->vkCmdDrawMeshTasksIndirectEXT(command, buffer, source.offset, num, uint32_t(stride)); break;
    case NumDrawTypes: break;
    }
    return true;
}

void VKCommand::record_begin_conditional(Buffer *buffer, size_t offset) {
    if(begin_pass()) recorder.beginConditional(cast<VKBuffer>(buffer), offset);
}

void VKCommand::record_end_conditional() { recorder.endConditional(); }

bool VKCommand::record_begin_query(Query *query) { return begin_pass() && cast<VKQuery>(query)->begin(context); }

bool VKCommand::record_end_query(Query *query) { return cast<VKQuery>(query)->end(context); }

} // namespace Kolm
