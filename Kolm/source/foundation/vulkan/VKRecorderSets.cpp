// VKRecorderSets.cpp: descriptor sets from slots. A set is written once and lasts for the frame; offsets that are
// dynamic come with the call that binds it.

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKBufferTable.h"
#include "VKRecorder.h"
#include "VKTexture.h"
#include "VKTextureTable.h"

namespace Kolm {

namespace {

VkWriteDescriptorSet get_write(VkDescriptorSet set, uint32_t binding, uint32_t count, VkDescriptorType type) {
    auto write = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
    write.dstSet = set;
    write.dstBinding = binding;
    write.descriptorCount = count;
    write.descriptorType = type;
    return write;
}

} // namespace

VkDescriptorSet VKRecorder::allocate_set(VKBindings::SetType type, const char *kind) {
    const VkDescriptorSet set = context->allocateDescriptor(bindings->getSetLayout(type));
    if(set) {
        num_descriptors++;
    } else {
        Log::printf(Log::Error, "%s::update(): can't allocate %s descriptor\n", name, kind);
    }
    return sets[bindings->getSetIndex(type)] = set;
}

// An empty element of an array has the contents of the first one.
bool VKRecorder::update_samplers() {
    const VkDescriptorSet set = allocate_set(VKBindings::SetSampler, "sampler");
    if(set == VK_NULL_HANDLE) return false;
    const Parameters::SlotList list = parameters->getSlots(Parameters::KindSampler);
    VkWriteDescriptorSet writes[Parameters::NumSamplers];
    VkDescriptorImageInfo infos[Parameters::NumSamplers];
    uint32_t num = 0;
    for(uint32_t i = 0; i < list.num; i += list.getArray(i)) {
        writes[num] = get_write(set, list.offset + i, list.getArray(i), VK_DESCRIPTOR_TYPE_SAMPLER);
        writes[num++].pImageInfo = &infos[i];
        for(uint32_t j = i; j < i + list.getArray(i); j++) {
            const bool is_set = (j < list.num && slots.samplers[j]);
            infos[j] = {bound_samplers[is_set ? j : i], VK_NULL_HANDLE, VK_IMAGE_LAYOUT_UNDEFINED};
        }
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), num, writes, 0, nullptr);
    return true;
}

bool VKRecorder::get_image(VkDescriptorImageInfo &info, const RecorderSlots::TextureSlot &slot, bool is_surface) const {
    VKTexture *texture = static_cast<VKTexture *>(slot.texture);
    texture->setUsed(context);
    info = {};
    info.imageLayout = texture->getReadLayout();
    info.imageView =
        texture->getTextureView(slot.slice, slot.format, is_surface ? VKTexture::ViewSurface : VKTexture::ViewTexture);
    if(info.imageView == VK_NULL_HANDLE) return false;
    if(texture->getTextureLayout() == info.imageLayout) return true;
    // Only in a pass: everywhere else a barrier was recorded.
    const char *text = texture->getName() ? texture->getName().get() : "unnamed";
    Log::printf(Log::Error, "%s::update(): %s texture had no contents when the target was enabled\n", name, text);
    return false;
}

bool VKRecorder::update_images() {
    const VkDescriptorSet set = allocate_set(VKBindings::SetImage, "image");
    if(set == VK_NULL_HANDLE) return false;
    VkWriteDescriptorSet writes[Parameters::NumTextures + Parameters::NumSurfaces];
    VkDescriptorImageInfo infos[Parameters::NumTextures + Parameters::NumSurfaces];
    uint32_t num = 0;
    uint32_t num_infos = 0;
    for(const bool is_surface : {false, true}) {
        const Parameters::SlotList list =
            parameters->getSlots(is_surface ? Parameters::KindSurface : Parameters::KindTexture);
        const RecorderSlots::TextureSlot *textures = is_surface ? slots.surfaces : slots.textures;
        for(uint32_t i = 0; i < list.num; i += list.getArray(i)) {
            writes[num] = get_write(set, list.offset + i, list.getArray(i),
                                    is_surface ? VK_DESCRIPTOR_TYPE_STORAGE_IMAGE : VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE);
            writes[num++].pImageInfo = &infos[num_infos];
            for(uint32_t j = i; j < i + list.getArray(i); j++) {
                const bool is_set = (j < list.num && textures[j].texture);
                if(!get_image(infos[num_infos++], textures[is_set ? j : i], is_surface)) return false;
            }
        }
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), num, writes, 0, nullptr);
    return true;
}

// Tables bring their sets along.
bool VKRecorder::update_tables() {
    const uint32_t first = bindings->getTableIndex();
    const bool changed =
        (slots.update_mask & (RecorderSlots::UpdateTextureTable | RecorderSlots::UpdateStorageTable)) != 0;
    for(uint32_t i = 0; i < parameters->getNumTables(); i++) {
        const bool is_texture = (parameters->getTableType(i) == Parameters::TableTypeTexture);
        const VkDescriptorSet set = is_texture
                                        ? static_cast<VKTextureTable *>(slots.texture_tables[i])->getDescriptorSet()
                                        : static_cast<VKBufferTable *>(slots.storage_tables[i])->getDescriptorSet();
        if(set == VK_NULL_HANDLE) {
            Log::printf(Log::Error, "%s::update(): table %u is not created\n", name, i);
            return false;
        }
        if(sets[first + i] == set && !changed) continue;
        sets[first + i] = set;
        first_set = min(first_set, first + i);
        end_set = max(end_set, first + i + 1);
    }
    return true;
}

// Dynamic slots leave their offsets to the bind.
bool VKRecorder::update_buffers() {
    const VkDescriptorSet set = allocate_set(VKBindings::SetBuffer, "buffer");
    if(set == VK_NULL_HANDLE) return false;
    VkWriteDescriptorSet writes[Parameters::NumUniforms + Parameters::NumStorages];
    VkDescriptorBufferInfo infos[Parameters::NumUniforms + Parameters::NumStorages];
    uint32_t num = 0;
    const auto append = [&](const Slot &slot, uint32_t binding, bool dynamic, VkDescriptorType type,
                            VkDescriptorType dynamic_type) {
        infos[num] = {getBuffer(slot), dynamic ? 0 : slot.offset, slot.size};
        writes[num] = get_write(set, binding, 1, dynamic ? dynamic_type : type);
        writes[num].pBufferInfo = &infos[num];
        num++;
    };
    for(uint32_t i = 0; i < parameters->getNumUniforms(); i++) {
        append(slots.uniforms[i], parameters->getUniformOffset() + i, (bindings->getDynamicUniforms() >> i) & 1,
               VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC);
    }
    for(uint32_t i = 0; i < parameters->getNumStorages(); i++) {
        append(slots.storages[i], parameters->getStorageOffset() + i, (bindings->getDynamicStorages() >> i) & 1,
               VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC);
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), num, writes, 0, nullptr);
    return true;
}

bool VKRecorder::update_tracings() {
    const VkDescriptorSet set = allocate_set(VKBindings::SetTracing, "tracing");
    if(set == VK_NULL_HANDLE) return false;
    VkWriteDescriptorSet writes[Parameters::NumTracings];
    VkWriteDescriptorSetAccelerationStructureKHR records[Parameters::NumTracings];
    for(uint32_t i = 0; i < parameters->getNumTracings(); i++) {
        records[i] = vk_record<VkWriteDescriptorSetAccelerationStructureKHR>(
            VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET_ACCELERATION_STRUCTURE_KHR);
        records[i].accelerationStructureCount = 1;
        records[i].pAccelerationStructures = &bound_tracings[i];
        writes[i] =
            get_write(set, parameters->getTracingOffset() + i, 1, VK_DESCRIPTOR_TYPE_ACCELERATION_STRUCTURE_KHR);
        writes[i].pNext = &records[i];
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), parameters->getNumTracings(), writes, 0, nullptr);
    return true;
}

bool VKRecorder::update_texels() {
    const VkDescriptorSet set = allocate_set(VKBindings::SetTexel, "texel");
    if(set == VK_NULL_HANDLE) return false;
    VkWriteDescriptorSet writes[Parameters::NumTexels];
    for(uint32_t i = 0; i < parameters->getNumTexels(); i++) {
        writes[i] = get_write(set, parameters->getTexelOffset() + i, 1, VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER);
        writes[i].pTexelBufferView = &bound_texels[i];
    }
    adapter->vkUpdateDescriptorSets(context->getDevice(), parameters->getNumTexels(), writes, 0, nullptr);
    return true;
}

// One kind's set: written if its slots changed, and part of the range that has to be bound then.
bool VKRecorder::update_set(VKBindings::SetType type, bool changed, bool (VKRecorder::*update)()) {
    const uint32_t index = bindings->getSetIndex(type);
    if(index == VKBindings::NoSet || (!changed && sets[index])) return true;
    first_set = min(first_set, index);
    end_set = max(end_set, index + 1);
    return (this->*update)();
}

// What the buffer set of another object depends on. Dynamic offsets go in the order of their binding numbers.
void VKRecorder::select_dynamic() {
    num_dynamic = 0;
    buffer_update = 0;
    offset_update = 0;
    buffer_set = (bindings) ? bindings->getSetIndex(VKBindings::SetBuffer) : VKBindings::NoSet;
    pipeline_layout = (bindings) ? bindings->getPipelineLayout() : VK_NULL_HANDLE;
    if(buffer_set == VKBindings::NoSet) return;
    buffer_update = RecorderSlots::UpdateUniform | RecorderSlots::UpdateStorage;
    offset_update = RecorderSlots::UpdateUniformOffset | RecorderSlots::UpdateStorageOffset;
    for(const bool is_first : {true, false}) {
        const bool is_uniform = (bindings->isUniformFirst() == is_first);
        const Slot *list = is_uniform ? slots.uniforms : slots.storages;
        const uint32_t num = is_uniform ? parameters->getNumUniforms() : parameters->getNumStorages();
        const uint32_t mask = is_uniform ? bindings->getDynamicUniforms() : bindings->getDynamicStorages();
        for(uint32_t i = 0; i < num; i++) {
            if((mask >> i) & 1) dynamic_slots[num_dynamic++] = &list[i];
        }
        // Offsets of slots that are not dynamic are part of the descriptor.
        if(mask != uint32_t((1ull << num) - 1))
            buffer_update |= is_uniform ? RecorderSlots::UpdateUniformOffset : RecorderSlots::UpdateStorageOffset;
    }
}

// Offsets are 32-bit for the API. Transient memory and ranges of smaller buffers always fit.
bool VKRecorder::refuse_offsets() const {
    for(uint32_t i = 0; i < num_dynamic; i++) {
        const Slot *slot = dynamic_slots[i];
        if(slot->offset <= ~0u) continue;
        const bool is_uniform = (slot >= slots.uniforms && slot < slots.uniforms + Parameters::NumUniforms);
        Log::printf(Log::Error, "%s::update(): dynamic %u %s offset\n", name,
                    uint32_t(slot - (is_uniform ? slots.uniforms : slots.storages)),
                    is_uniform ? "uniform" : "storage");
        break;
    }
    return false;
}

bool VKRecorder::updateSets() {
    const uint32_t update = slots.update_mask;
    if(bindings->getNumSets() == 0) return true;
    first_set = bindings->getNumSets();
    end_set = 0;
    if(!update_set(VKBindings::SetSampler, (update & RecorderSlots::UpdateSampler) != 0,
                   &VKRecorder::update_samplers) ||
       !update_set(VKBindings::SetImage, (update & (RecorderSlots::UpdateTexture | RecorderSlots::UpdateSurface)) != 0,
                   &VKRecorder::update_images) ||
       !update_set(VKBindings::SetBuffer, (update & buffer_update) != 0, &VKRecorder::update_buffers) ||
       !update_set(VKBindings::SetTracing, (update & RecorderSlots::UpdateTracing) != 0,
                   &VKRecorder::update_tracings) ||
       !update_set(VKBindings::SetTexel, (update & RecorderSlots::UpdateTexel) != 0, &VKRecorder::update_texels) ||
       !update_tables())
        return false;
    if(update & offset_update) {
        first_set = min(first_set, buffer_set);
        end_set = max(end_set, buffer_set + 1);
    }
    if(first_set >= end_set) return true;

    uint32_t offsets[MaxDynamic];
    const bool has_buffers = (buffer_set >= first_set && buffer_set < end_set);
    if(has_buffers && !get_offsets(offsets)) return false;
    adapter->vkCmdBindDescriptorSets(context->getCommand(), bind_point, pipeline_layout, first_set, end_set - first_set,
                                     sets + first_set, has_buffers ? num_dynamic : 0, offsets);
    return true;
}

} // namespace Kolm
