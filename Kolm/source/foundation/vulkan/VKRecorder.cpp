#include "VKRecorder.h"

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKSampler.h"
#include "VKTexture.h"
#include "VKTracing.h"

namespace Kolm {

VKRecorder::VKRecorder(VKContext *context, RecorderSlots &slots, const char *name)
    : adapter(context->getAdapter()), context(context->retain()), slots(slots), name(name) {
    context->addListener(this);
}

VKRecorder::~VKRecorder() {
    end_conditional();
    context->removeListener(this);
    VKContext::release(context);
}

void VKRecorder::setObject(const Parameters *new_parameters, const VKBindings *new_bindings,
                           VkPipelineBindPoint new_bind_point) {
    parameters = new_parameters;
    bindings = new_bindings;
    bind_point = new_bind_point;
    epoch = 0;
    settled_changes = 0;
    drop_sets();
    select_dynamic();
}

void VKRecorder::drop_sets() {
    for(VkDescriptorSet &set : sets) set = VK_NULL_HANDLE;
}

// What a wait or a flip does to the recorder. Commands that are open are closed first.
void VKRecorder::notify(VKContext::Event event) {
    switch(event) {
    case VKContext::EventCommand: end_conditional(); return;
    case VKContext::EventPass:
        if(bind_point == VK_PIPELINE_BIND_POINT_GRAPHICS) end_conditional();
        return;
    case VKContext::EventBegin: return;
    case VKContext::EventFinish: save_memory(); break;
    case VKContext::EventFlip:
        for(auto &data : saved_data) data.clear();
        has_saved = false;
        slots.clear_memory();
        break;
    }
    num_written = 0;
    drop_sets();
    slots.update_mask = slots.update_all;
}

// transient memory

bool VKRecorder::allocate(RecorderSlots::Transient type, size_t size, RecorderSlots::Memory &memory) {
    const auto set_memory = [&memory](const VKContext::Transient &transient) {
        memory.data = transient.data;
        memory.handle = reinterpret_cast<uint64_t>(transient.buffer);
        memory.offset = transient.offset;
        return bool(transient);
    };
    switch(type) {
    case RecorderSlots::TransientUniform:
        return set_memory(context->getUniformBuffer(adapter->uniform_alignment, size));
    case RecorderSlots::TransientStorage:
        return set_memory(context->getUniformBuffer(adapter->storage_alignment, size));
    case RecorderSlots::TransientIndirect:
    case RecorderSlots::TransientVertex:
    case RecorderSlots::TransientIndex: return set_memory(context->getUploadBuffer(16, size));
    case RecorderSlots::NumTransients: break;
    }
    return false;
}

// All work ran, and what it wrote to transient memory is there.
void VKRecorder::save_memory() {
    RecorderSlots::Transient type;
    for(uint32_t i = 0; Slot *slot = slots.get_memory_slot(i, type); i++) {
        if(slot->handle == 0 || slot->handle == saved_handle) continue;
        const uint8_t *data = context->getTransientData(reinterpret_cast<VkBuffer>(slot->handle), slot->base);
        if(data == nullptr) continue;
        saved_data[i].resize(uint32_t(slot->total));
        memcpy(saved_data[i].get(), data, slot->total);
        slot->handle = saved_handle;
        has_saved = true;
    }
}

bool VKRecorder::restore_memory() {
    RecorderSlots::Transient type;
    for(uint32_t i = 0; Slot *slot = slots.get_memory_slot(i, type); i++) {
        // A slot that was set since then has nothing to restore.
        if(slot->handle == saved_handle) {
            RecorderSlots::Memory memory;
            if(!allocate(type, slot->total, memory)) {
                Log::printf(Log::Error, "%s::update(): can't restore transient data\n", name);
                return false;
            }
            memcpy(memory.data, saved_data[i].get(), slot->total);
            slot->handle = memory.handle;
            slot->offset = memory.offset + (slot->offset - slot->base);
            slot->base = memory.offset;
        }
        saved_data[i].clear();
    }
    has_saved = false;
    return true;
}

// resources

VkBuffer VKRecorder::getBuffer(const Slot &slot) const {
    return slot.buffer ? static_cast<VKBuffer *>(slot.buffer)->getBuffer() : reinterpret_cast<VkBuffer>(slot.handle);
}

bool VKRecorder::prepare(const Slot *indirect) {
    if(has_saved && !restore_memory()) return false;
    if(check_resources(indirect)) return true;
    Log::printf(Log::Error, "%s::update(): %s or resource is not created\n", name, parameters->getKindName());
    return false;
}

// Whether all resources still exist. Those that were created anew need a new set.
bool VKRecorder::check_resources(const Slot *indirect) {
    if(KOLM_UNLIKELY(!parameters->isCreated())) return false;
    const auto check = [this](auto handle, auto &bound, uint32_t update) {
        if(handle != bound) slots.update_mask |= update;
        bound = handle;
        return handle != decltype(handle)(0);
    };
    bool status = true;
    // Elements of arrays may be empty.
    for(uint32_t i = 0; i < parameters->getNumSamplers(); i++) {
        if(slots.samplers[i])
            status &= check(static_cast<VKSampler *>(slots.samplers[i])->getSampler(), bound_samplers[i],
                            RecorderSlots::UpdateSampler);
    }
    const auto check_texture = [&](Texture *texture, uint64_t &bound, uint32_t update) {
        if(texture == nullptr) return;
        const VKTexture *vk_texture = static_cast<VKTexture *>(texture);
        status &= check(vk_texture->isCreated() ? vk_texture->getImageID() : 0, bound, update);
    };
    for(uint32_t i = 0; i < parameters->getNumTextures(); i++)
        check_texture(slots.textures[i].texture, bound_textures[i], RecorderSlots::UpdateTexture);
    for(uint32_t i = 0; i < parameters->getNumSurfaces(); i++)
        check_texture(slots.surfaces[i].texture, bound_surfaces[i], RecorderSlots::UpdateSurface);
    for(uint32_t i = 0; i < parameters->getNumUniforms(); i++)
        status &= check(getBuffer(slots.uniforms[i]), bound_uniforms[i], RecorderSlots::UpdateUniform);
    for(uint32_t i = 0; i < parameters->getNumStorages(); i++)
        status &= check(getBuffer(slots.storages[i]), bound_storages[i], RecorderSlots::UpdateStorage);
    for(uint32_t i = 0; i < parameters->getNumTexels(); i++)
        status &= check(static_cast<VKBuffer *>(slots.texels[i])->getBufferView(), bound_texels[i],
                        RecorderSlots::UpdateTexel);
    for(uint32_t i = 0; i < parameters->getNumTracings(); i++)
        status &= check(static_cast<VKTracing *>(slots.tracings[i])->getTracing(), bound_tracings[i],
                        RecorderSlots::UpdateTracing);
    return status && (indirect == nullptr || getBuffer(*indirect) != VK_NULL_HANDLE);
}

void VKRecorder::bind(VkPipeline pipeline) {
    if(epoch != context->getEpoch() || bound_pipeline != pipeline || !context->isRecorder(this)) {
        // The object may have been created anew; when its old pipeline is gone, the new one may have the same handle.
        if(bound_pipeline != pipeline) drop_sets();
        if(bound_pipeline != pipeline || epoch != context->getEpoch()) select_dynamic();
        epoch = context->getEpoch();
        context->setRecorder(this);
        bound_pipeline = pipeline;
        slots.update_mask = slots.update_all;
        adapter->vkCmdBindPipeline(context->getCommand(), bind_point, pipeline);
    }
    if(conditional_buffer && !conditional_recorded) begin_conditional();
}

// barriers

void VKRecorder::Uses::append(VKBuffer *buffer, VkAccessFlags flags) {
    if(buffer == nullptr) return;
    // One buffer in several slots does all of their accesses at once.
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i] != buffer) continue;
        access[i] |= flags;
        return;
    }
    buffers[num] = buffer;
    access[num++] = flags;
}

// The buffers of all slots, gathered anew if a slot changed.
const VKRecorder::Uses &VKRecorder::get_uses() {
    if((slots.update_mask & RecorderSlots::UpdateAll) == 0) return uses;
    uses.num = 0;
    has_transients = false;
    for(uint32_t i = 0; i < parameters->getNumUniforms(); i++)
        uses.append(static_cast<VKBuffer *>(slots.uniforms[i].buffer), VK_ACCESS_UNIFORM_READ_BIT);
    const Parameters::BindFlags *flags = parameters->getSlots(Parameters::KindStorage).flags;
    for(uint32_t i = 0; i < parameters->getNumStorages(); i++) {
        const bool is_read = (flags[i] & Parameters::BindFlagRead) != 0;
        has_transients |= (slots.storages[i].handle && !is_read);
        uses.append(static_cast<VKBuffer *>(slots.storages[i].buffer),
                    VK_ACCESS_SHADER_READ_BIT | (is_read ? 0 : VK_ACCESS_SHADER_WRITE_BIT));
    }
    for(uint32_t i = 0; i < parameters->getNumTexels(); i++)
        uses.append(static_cast<VKBuffer *>(slots.texels[i]), VK_ACCESS_SHADER_READ_BIT);
    for(uint32_t i = 0; i < parameters->getNumTracings(); i++)
        uses.append(static_cast<VKTracing *>(slots.tracings[i])->getTracingBuffer(),
                    VK_ACCESS_ACCELERATION_STRUCTURE_READ_BIT_KHR);
    return uses;
}

void VKRecorder::updateUses() {
    get_uses();
    for(uint32_t i = 0; i < uses.num; i++) uses.buffers[i]->setUsed(context);
}

void VKRecorder::updateBarriers(const Slot *indirect, VkPipelineStageFlags stages) {
    get_uses();
    // The source of an indirect dispatch may be in a slot too, and is not one of the next dispatch.
    if(indirect && indirect->buffer) {
        Uses all = uses;
        all.append(static_cast<VKBuffer *>(indirect->buffer), VK_ACCESS_INDIRECT_COMMAND_READ_BIT);
        update_barriers(all, stages);
    } else {
        update_barriers(uses, stages);
    }
    if(num_written || has_transients) update_transients(stages);
}

void VKRecorder::update_barriers(const Uses &uses, VkPipelineStageFlags stages) {
    bool changed = (parameters->getNumTextures() + parameters->getNumSurfaces() != 0);
    for(uint32_t i = 0; i < uses.num; i++) {
        uses.buffers[i]->setUsed(context);
        changed |= uses.buffers[i]->isAccessNeeded(uses.access[i], stages);
    }
    if(changed) {
        VKContext::Barriers barriers;
        update_images(barriers, stages);
        for(uint32_t i = 0; i < uses.num; i++) {
            VkPipelineStageFlags use_stages = stages;
            if(uses.access[i] & VK_ACCESS_INDIRECT_COMMAND_READ_BIT) use_stages |= VK_PIPELINE_STAGE_DRAW_INDIRECT_BIT;
            uses.buffers[i]->setBufferAccess(barriers, context, uses.access[i], false, use_stages);
        }
        context->barrier(barriers);
    }
}

// Textures are read in the layout that they always have, unless the same dispatch writes them.
void VKRecorder::update_images(VKContext::Barriers &barriers, VkPipelineStageFlags stages) const {
    for(uint32_t i = 0; i < parameters->getNumSurfaces(); i++) {
        VKTexture *texture = static_cast<VKTexture *>(slots.surfaces[i].texture);
        if(texture)
            texture->setTextureLayout(barriers, context, VK_IMAGE_LAYOUT_GENERAL, false,
                                      VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, stages);
    }
    for(uint32_t i = 0; i < parameters->getNumTextures(); i++) {
        VKTexture *texture = static_cast<VKTexture *>(slots.textures[i].texture);
        bool is_surface = (texture == nullptr);
        for(uint32_t j = 0; j < parameters->getNumSurfaces(); j++) is_surface |= (slots.surfaces[j].texture == texture);
        if(!is_surface)
            texture->setTextureLayout(barriers, context, texture->getReadLayout(), false, VK_ACCESS_SHADER_READ_BIT,
                                      stages);
    }
}

// Transient storage that dispatches write: in the order of the calls, since no call names it.
void VKRecorder::update_transients(VkPipelineStageFlags stages) {
    if(num_written) {
        VKContext::Barriers barriers;
        for(uint32_t i = 0; i < num_written; i++) {
            VkBufferMemoryBarrier &barrier = barriers.buffers[barriers.num_buffers++];
            barrier = vk_record<VkBufferMemoryBarrier>(VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER);
            barrier.srcAccessMask = VK_ACCESS_SHADER_WRITE_BIT;
            barrier.dstAccessMask = VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_UNIFORM_READ_BIT;
            barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
            barrier.buffer = written[i];
            barrier.size = VK_WHOLE_SIZE;
        }
        // Written by a dispatch or by rays: the stages of both.
        barriers.src_stages = context->getStages(VK_ACCESS_SHADER_WRITE_BIT);
        barriers.dest_stages = stages;
        context->barrier(barriers);
        num_written = 0;
    }
    const Parameters::BindFlags *flags = parameters->getSlots(Parameters::KindStorage).flags;
    for(uint32_t i = 0; i < parameters->getNumStorages(); i++) {
        if(slots.storages[i].handle == 0 || (flags[i] & Parameters::BindFlagRead)) continue;
        const VkBuffer buffer = reinterpret_cast<VkBuffer>(slots.storages[i].handle);
        uint32_t j = 0;
        while(j < num_written && written[j] != buffer) j++;
        if(j == num_written) written[num_written++] = buffer;
    }
}

// conditions

void VKRecorder::beginConditional(VKBuffer *buffer, size_t offset) {
    conditional_buffer = buffer;
    conditional_offset = offset;
    settled_changes = 0;
    begin_conditional();
}

void VKRecorder::endConditional() {
    end_conditional();
    conditional_buffer = nullptr;
}

void VKRecorder::begin_conditional() {
    // A target that is enabled orders all before it.
    if(bind_point != VK_PIPELINE_BIND_POINT_GRAPHICS) {
        conditional_buffer->setBufferAccess(context, VK_ACCESS_CONDITIONAL_RENDERING_READ_BIT_EXT);
    } else {
        conditional_buffer->setUsed(context);
    }
    auto info = vk_record<VkConditionalRenderingBeginInfoEXT>(VK_STRUCTURE_TYPE_CONDITIONAL_RENDERING_BEGIN_INFO_EXT);
    info.buffer = conditional_buffer->getBuffer();
    info.offset = conditional_offset;
    adapter->vkCmdBeginConditionalRenderingEXT(context->getCommand(), &info);
    conditional_recorded = true;
}

void VKRecorder::end_conditional() {
    if(conditional_recorded) adapter->vkCmdEndConditionalRenderingEXT(context->getCommand());
    conditional_recorded = false;
    settled_changes = 0;
}

} // namespace Kolm
