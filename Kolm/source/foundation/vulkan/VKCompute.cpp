#include "VKCompute.h"

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKKernel.h"

namespace Kolm {

VKCompute::VKCompute(VKContext *context, const Device::Features &features)
    : ComputeRecorder(context->getAdapter()->getIndex(), features), adapter(context->getAdapter()),
      context(context->retain()) {
    context->addListener(this);
}

VKCompute::~VKCompute() {
    end_conditional();
    context->removeListener(this);
    VKContext::release(context);
}

void VKCompute::bind_kernel(Kernel *new_kernel) {
    vk_kernel = cast<VKKernel>(new_kernel);
    buffer_descriptor = VK_NULL_HANDLE;
    texel_descriptor = VK_NULL_HANDLE;
    epoch = 0;
    if(vk_kernel) update_command();
}

bool VKCompute::allocate_memory(Transient type, size_t size, Memory &memory) {
    VKContext::Transient transient;
    switch(type) {
    case TransientUniform: transient = context->getUniformBuffer(adapter->uniform_alignment, size); break;
    case TransientStorage: transient = context->getUniformBuffer(adapter->storage_alignment, size); break;
    case TransientIndirect:
    case TransientVertex:
    case TransientIndex: transient = context->getUploadBuffer(16, size); break;
    case NumTransients: break;
    }
    if(!transient) return false;
    memory.data = transient.data;
    memory.handle = reinterpret_cast<uint64_t>(transient.buffer);
    memory.offset = transient.offset;
    return true;
}

// What a wait or a flip does to the recorder. Commands that are open are closed first.
void VKCompute::notify(VKContext::Event event) {
    switch(event) {
    case VKContext::EventCommand: end_conditional(); break;
    case VKContext::EventFinish: save_memory(); break;
    case VKContext::EventFlip:
        for(auto &data : saved_data) data.clear();
        has_saved = false;
        clear_memory();
        break;
    }
    if(event == VKContext::EventCommand) return;
    num_written = 0;
    buffer_descriptor = VK_NULL_HANDLE;
    texel_descriptor = VK_NULL_HANDLE;
    update_mask = UpdateAll;
}

ComputeRecorder::Slot &VKCompute::get_slot(uint32_t index) {
    if(index < Kernel::NumUniforms) return uniforms[index];
    index -= Kernel::NumUniforms;
    return (index < Kernel::NumStorages) ? storages[index] : indirect;
}

ComputeRecorder::Transient VKCompute::get_slot_type(uint32_t index) const {
    if(index < Kernel::NumUniforms) return TransientUniform;
    return (index < Kernel::NumUniforms + Kernel::NumStorages) ? TransientStorage : TransientIndirect;
}

// All work ran, and what it wrote to transient memory is there.
void VKCompute::save_memory() {
    for(uint32_t i = 0; i < NumSlots; i++) {
        Slot &slot = get_slot(i);
        if(slot.handle == 0 || slot.handle == saved_handle) continue;
        const uint8_t *data = context->getTransientData(reinterpret_cast<VkBuffer>(slot.handle), slot.base);
        if(data == nullptr) continue;
        saved_data[i].resize(uint32_t(slot.total));
        memcpy(saved_data[i].get(), data, slot.total);
        slot.handle = saved_handle;
        has_saved = true;
    }
}

bool VKCompute::restore_memory() {
    for(uint32_t i = 0; i < NumSlots; i++) {
        Slot &slot = get_slot(i);
        // A slot that was set since then has nothing to restore.
        if(slot.handle == saved_handle) {
            Memory memory;
            if(!allocate_memory(get_slot_type(i), slot.total, memory)) return false;
            memcpy(memory.data, saved_data[i].get(), slot.total);
            slot.handle = memory.handle;
            slot.offset = memory.offset + (slot.offset - slot.base);
            slot.base = memory.offset;
        }
        saved_data[i].clear();
    }
    has_saved = false;
    return true;
}

// The pipeline, in a command buffer that does not have it.
void VKCompute::update_command() {
    if(epoch != context->getEpoch() || bound_pipeline != vk_kernel->getPipeline()) {
        if(bound_pipeline != vk_kernel->getPipeline()) buffer_descriptor = texel_descriptor = VK_NULL_HANDLE;
        epoch = context->getEpoch();
        bound_pipeline = vk_kernel->getPipeline();
        update_mask = UpdateAll;
        adapter->vkCmdBindPipeline(context->getCommand(), VK_PIPELINE_BIND_POINT_COMPUTE, vk_kernel->getPipeline());
    }
    if(is_conditional && conditional_buffer && !conditional_recorded) begin_conditional();
}

// Whether all buffers still exist. Those that were created anew need a new set.
bool VKCompute::check_buffers(bool has_indirect) {
    const auto check = [this](const Slot &slot, VkBuffer &bound, uint32_t update) {
        const VkBuffer buffer = get_buffer(slot);
        if(buffer != bound) update_mask |= update;
        bound = buffer;
        return buffer != VK_NULL_HANDLE;
    };
    bool status = true;
    for(uint32_t i = 0; i < kernel->getNumUniforms(); i++)
        status &= check(uniforms[i], bound_buffers[i], UpdateUniform);
    for(uint32_t i = 0; i < kernel->getNumStorages(); i++)
        status &= check(storages[i], bound_buffers[Kernel::NumUniforms + i], UpdateStorage);
    for(uint32_t i = 0; i < kernel->getNumTexels(); i++) status &= texels[i]->isCreated();
    if(has_indirect) status &= (get_buffer(indirect) != VK_NULL_HANDLE);
    if(!status || !vk_kernel->isCreated()) {
        Log::printf(Log::Error, "VKCompute::update(): kernel or buffer is not created\n");
        return false;
    }
    return true;
}

void VKCompute::Uses::append(VKBuffer *buffer, VkAccessFlags flags) {
    // One buffer in several slots does all of their accesses at once.
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i] != buffer) continue;
        access[i] |= flags;
        return;
    }
    buffers[num] = buffer;
    access[num++] = flags;
}

// Barriers from the last use of each buffer. What two dispatches do to one buffer is ordered by barrier() alone.
void VKCompute::update_barriers(bool has_indirect) {
    Uses uses;
    for(uint32_t i = 0; i < kernel->getNumUniforms(); i++) {
        if(uniforms[i].buffer) uses.append(cast<VKBuffer>(uniforms[i].buffer), VK_ACCESS_UNIFORM_READ_BIT);
    }
    for(uint32_t i = 0; i < kernel->getNumStorages(); i++) {
        if(storages[i].buffer == nullptr) continue;
        VkAccessFlags access = VK_ACCESS_SHADER_READ_BIT;
        if((kernel->getStorageFlags(i) & Kernel::BindFlagRead) == 0) access |= VK_ACCESS_SHADER_WRITE_BIT;
        uses.append(cast<VKBuffer>(storages[i].buffer), access);
    }
    for(uint32_t i = 0; i < kernel->getNumTexels(); i++) {
        if(texels[i]) uses.append(cast<VKBuffer>(texels[i]), VK_ACCESS_SHADER_READ_BIT);
    }
    if(has_indirect && indirect.buffer)
        uses.append(cast<VKBuffer>(indirect.buffer), VK_ACCESS_INDIRECT_COMMAND_READ_BIT);

    bool changed = false;
    for(uint32_t i = 0; i < uses.num; i++) {
        uses.buffers[i]->setUsed(context);
        changed |= (uses.buffers[i]->getBufferAccess() != uses.access[i]);
    }
    if(!changed) return;
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < uses.num; i++) {
        VkPipelineStageFlags stages = VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT;
        if(uses.access[i] & VK_ACCESS_INDIRECT_COMMAND_READ_BIT) stages |= VK_PIPELINE_STAGE_DRAW_INDIRECT_BIT;
        uses.buffers[i]->setBufferAccess(barriers, context, uses.access[i], false, stages);
    }
    context->barrier(barriers);
}

// Transient storage that dispatches write: in the order of the calls, since no call names it.
void VKCompute::update_transients() {
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
        barriers.src_stages = barriers.dest_stages = VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT;
        context->barrier(barriers);
        num_written = 0;
    }
    for(uint32_t i = 0; i < kernel->getNumStorages(); i++) {
        if(storages[i].handle == 0 || (kernel->getStorageFlags(i) & Kernel::BindFlagRead)) continue;
        const VkBuffer buffer = reinterpret_cast<VkBuffer>(storages[i].handle);
        uint32_t j = 0;
        while(j < num_written && written[j] != buffer) j++;
        if(j == num_written) written[num_written++] = buffer;
    }
}

VkBuffer VKCompute::get_buffer(const Slot &slot) const {
    return slot.buffer ? static_cast<VKBuffer *>(slot.buffer)->getBuffer() : reinterpret_cast<VkBuffer>(slot.handle);
}

// A set of all buffers. Dynamic slots leave their offsets to the bind.
bool VKCompute::update_buffers() {
    const VkDescriptorSetLayout layout = vk_kernel->getSetLayout(VKKernel::SetBuffer);
    if(layout == VK_NULL_HANDLE) return true;
    buffer_descriptor = context->allocateDescriptor(layout);
    if(buffer_descriptor == VK_NULL_HANDLE) {
        Log::printf(Log::Error, "VKCompute::update(): can't allocate buffer descriptor\n");
        return false;
    }
    num_descriptors++;

    VkWriteDescriptorSet writes[Kernel::NumUniforms + Kernel::NumStorages];
    VkDescriptorBufferInfo infos[Kernel::NumUniforms + Kernel::NumStorages];
    uint32_t num = 0;
    const auto append = [&](const Slot &slot, uint32_t binding, bool dynamic, VkDescriptorType type,
                            VkDescriptorType dynamic_type) {
        infos[num] = {get_buffer(slot), dynamic ? 0 : slot.offset, slot.size};
        writes[num] = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
        writes[num].dstSet = buffer_descriptor;
        writes[num].dstBinding = binding;
        writes[num].descriptorCount = 1;
        writes[num].descriptorType = dynamic ? dynamic_type : type;
        writes[num].pBufferInfo = &infos[num];
        num++;
    };
    for(uint32_t i = 0; i < kernel->getNumUniforms(); i++) {
        append(uniforms[i], kernel->getUniformOffset() + i, (vk_kernel->getDynamicUniforms() >> i) & 1,
               VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC);
    }
    for(uint32_t i = 0; i < kernel->getNumStorages(); i++) {
        append(storages[i], kernel->getStorageOffset() + i, (vk_kernel->getDynamicStorages() >> i) & 1,
               VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC);
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), num, writes, 0, nullptr);
    return true;
}

bool VKCompute::update_texels() {
    const VkDescriptorSetLayout layout = vk_kernel->getSetLayout(VKKernel::SetTexel);
    if(layout == VK_NULL_HANDLE) return true;
    texel_descriptor = context->allocateDescriptor(layout);
    if(texel_descriptor == VK_NULL_HANDLE) {
        Log::printf(Log::Error, "VKCompute::update(): can't allocate texel descriptor\n");
        return false;
    }
    num_descriptors++;

    VkWriteDescriptorSet writes[Kernel::NumTexels];
    VkBufferView views[Kernel::NumTexels];
    for(uint32_t i = 0; i < kernel->getNumTexels(); i++) {
        views[i] = static_cast<VKBuffer *>(texels[i])->getBufferView();
        writes[i] = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
        writes[i].dstSet = texel_descriptor;
        writes[i].dstBinding = kernel->getTexelOffset() + i;
        writes[i].descriptorCount = 1;
        writes[i].descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER;
        writes[i].pTexelBufferView = &views[i];
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), kernel->getNumTexels(), writes, 0, nullptr);
    return true;
}

// All sets with the dynamic offsets in the order of their binding numbers.
bool VKCompute::bind_descriptors() {
    VkDescriptorSet sets[VKKernel::NumSets];
    uint32_t num_sets = 0;
    if(buffer_descriptor) sets[num_sets++] = buffer_descriptor;
    if(texel_descriptor) sets[num_sets++] = texel_descriptor;
    if(num_sets != vk_kernel->getNumSetLayouts()) {
        Log::printf(Log::Error, "VKCompute::update(): %u of %u descriptor sets are bound\n", num_sets,
                    vk_kernel->getNumSetLayouts());
        return false;
    }
    if(num_sets == 0) return true;

    uint32_t offsets[Kernel::NumUniforms + Kernel::NumStorages];
    uint32_t num_offsets = 0;
    const auto append_uniforms = [&]() {
        for(uint32_t i = 0; i < kernel->getNumUniforms(); i++) {
            if((vk_kernel->getDynamicUniforms() >> i & 1) == 0) continue;
            if(uniforms[i].offset > ~0u) {
                Log::printf(Log::Error, "VKCompute::update(): dynamic %u uniform offset\n", i);
                return false;
            }
            offsets[num_offsets++] = uint32_t(uniforms[i].offset);
        }
        return true;
    };
    const auto append_storages = [&]() {
        for(uint32_t i = 0; i < kernel->getNumStorages(); i++) {
            if((vk_kernel->getDynamicStorages() >> i & 1) == 0) continue;
            if(storages[i].offset > ~0u) {
                Log::printf(Log::Error, "VKCompute::update(): dynamic %u storage offset\n", i);
                return false;
            }
            offsets[num_offsets++] = uint32_t(storages[i].offset);
        }
        return true;
    };
    const bool uniforms_first = (kernel->getUniformOffset() < kernel->getStorageOffset() || !kernel->getNumStorages());
    const bool status =
        uniforms_first ? append_uniforms() && append_storages() : append_storages() && append_uniforms();
    if(!status) return false;
    adapter->vkCmdBindDescriptorSets(context->getCommand(), VK_PIPELINE_BIND_POINT_COMPUTE,
                                     vk_kernel->getPipelineLayout(), 0, num_sets, sets, num_offsets, offsets);
    return true;
}

bool VKCompute::update(bool has_indirect) {
    if(has_saved && !restore_memory()) {
        Log::printf(Log::Error, "VKCompute::update(): can't restore transient data\n");
        return false;
    }
    if(!check_buffers(has_indirect)) return false;
    update_command();
    update_barriers(has_indirect);
    update_transients();
    if(update_mask == 0) return true;

    // Offsets of slots that are not dynamic are part of the descriptor.
    const uint32_t all_uniforms = (1u << kernel->getNumUniforms()) - 1;
    const uint32_t all_storages = uint32_t((1ull << kernel->getNumStorages()) - 1);
    uint32_t mask = UpdateUniform | UpdateStorage;
    if(vk_kernel->getDynamicUniforms() != all_uniforms) mask |= UpdateUniformOffset;
    if(vk_kernel->getDynamicStorages() != all_storages) mask |= UpdateStorageOffset;
    if((update_mask & mask) || buffer_descriptor == VK_NULL_HANDLE) {
        if(!update_buffers()) return false;
    }
    if((update_mask & UpdateTexel) || texel_descriptor == VK_NULL_HANDLE) {
        if(!update_texels()) return false;
    }
    return bind_descriptors();
}

bool VKCompute::record_dispatch(uint32_t width, uint32_t height, uint32_t depth) {
    if(!update(false)) return false;
    adapter->vkCmdDispatch(context->getCommand(), width, height, depth);
    return true;
}

bool VKCompute::record_dispatch_indirect() {
    if(!update(true)) return false;
    adapter->vkCmdDispatchIndirect(context->getCommand(), get_buffer(indirect), indirect.offset);
    return true;
}

bool VKCompute::record_set(Buffer *buffer, size_t offset, const void *src, size_t size) {
    return cast<VKBuffer>(buffer)->set(context, offset, src, size);
}

bool VKCompute::record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    return cast<VKBuffer>(dest)->copy(context, dest_offset, cast<VKBuffer>(src), src_offset, size);
}

bool VKCompute::record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    return cast<VKBuffer>(buffer)->clear(context, format, offset, value, size);
}

// Work behind the barrier reads and writes what work in front of it wrote. Other uses than shaders come with their own
// barrier, from the access that is remembered here.
void VKCompute::record_barrier(Buffer **buffers, uint32_t num) {
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        VKBuffer *buffer = cast<VKBuffer>(buffers[i]);
        if(buffer->getBufferAccess() == 0) continue;
        buffer->setBufferAccess(barriers, context, VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, true,
                                VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT);
    }
    context->barrier(barriers);
}

void VKCompute::record_begin_conditional(Buffer *buffer, size_t offset) {
    conditional_buffer = cast<VKBuffer>(buffer);
    conditional_offset = offset;
    begin_conditional();
}

void VKCompute::record_end_conditional() {
    end_conditional();
    conditional_buffer = nullptr;
}

void VKCompute::begin_conditional() {
    conditional_buffer->setBufferAccess(context, VK_ACCESS_CONDITIONAL_RENDERING_READ_BIT_EXT);
    auto info = vk_record<VkConditionalRenderingBeginInfoEXT>(VK_STRUCTURE_TYPE_CONDITIONAL_RENDERING_BEGIN_INFO_EXT);
    info.buffer = conditional_buffer->getBuffer();
    info.offset = conditional_offset;
    adapter->vkCmdBeginConditionalRenderingEXT(context->getCommand(), &info);
    conditional_recorded = true;
}

void VKCompute::end_conditional() {
    if(conditional_recorded) adapter->vkCmdEndConditionalRenderingEXT(context->getCommand());
    conditional_recorded = false;
}

} // namespace Kolm
