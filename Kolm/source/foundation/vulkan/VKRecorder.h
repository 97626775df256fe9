// VKRecorder.h: what the recorders of dispatches and draws have in common on Vulkan.
// Rests on the slots that Recorder fills, VKBindings and the resource classes. Hides descriptor sets, dynamic offsets,
// conditions, and that a command buffer may end or transient memory go under an open recorder.
//
//     VKRecorder.cpp       command buffers, transient memory, conditions, barriers
//     VKRecorderSets.cpp   descriptor sets

#pragma once

#include "KolmRecorderSlots.h"

#include "VKBindings.h"
#include "VKContext.h"

namespace Kolm {

class VKBuffer;
class VKTexture;

/// Part of a recorder. Bindings are recorded again in a new command buffer; transient data is kept over a wait and
/// dropped by a flip.
class VKRecorder : private VKContext::Listener, private NoCopy {
public:
    using Slot = RecorderSlots::Slot;

    /// \p name is the recorder's class, for messages.
    VKRecorder(VKContext *context, RecorderSlots &slots, const char *name);
    ~VKRecorder();

    VKContext *getContext() const { return context; }
    VKAdapter *getAdapter() const { return adapter; }
    VkCommandBuffer getCommand() const { return context->getCommand(); }
    /// Descriptor sets written since construction: what changes of offsets alone do not add to.
    uint64_t getNumDescriptors() const { return num_descriptors; }

    /// The object whose slots are bound from now on. Both are null or none.
    void setObject(const Parameters *parameters, const VKBindings *bindings, VkPipelineBindPoint bind_point);
    bool allocate(RecorderSlots::Transient type, size_t size, RecorderSlots::Memory &memory);

    /// Whether nothing but offsets changed since the last call of settle(), so that prepare(), bind() and the steps behind
    /// them have nothing to do: the usual case of many dispatches or draws in a row.
    bool isSettled() const {
        return settled_changes == context->getChanges() && settled_objects == adapter->getChanges() &&
               (slots.update_mask & RecorderSlots::UpdateAll) == 0;
    }
    /// After the steps of a dispatch or draw. \p lasts unless each dispatch has to be ordered behind the one before.
    void settle(bool lasts = true) {
        settled_changes = (lasts) ? context->getChanges() : 0;
        settled_objects = adapter->getChanges();
        settled_command = context->getCommand();
    }
    /// Command buffer of a recorder that is settled.
    VkCommandBuffer getSettledCommand() const { return settled_command; }
    /// Whether dispatches write transient storage.
    bool hasTransients() const { return has_transients; }

    // The steps of a dispatch or draw, in this order. Each logs why and returns false.
    /// All that the slots hold still exists; kept transient data lies in memory again. \p indirect may be null.
    bool prepare(const Slot *indirect);
    /// Makes \p pipeline the bound one, and the condition the one under way, if the command buffer does not have them.
    void bind(VkPipeline pipeline);
    /// Barriers from the last use of each resource. What two dispatches do to one is ordered by barrier() alone.
    void updateBarriers(const Slot *indirect, VkPipelineStageFlags stages);
    /// Inside of a target, which orders all around it: remembers the uses alone.
    void updateUses();
    /// Writes the sets that changed and binds them with their offsets.
    bool updateSets();
    /// The same where only offsets changed, if the recorder is settled.
    bool updateOffsets() {
        const uint32_t update = slots.update_mask;
        if(KOLM_UNLIKELY(update & buffer_update)) return updateSets();
        return (update & offset_update) == 0 || bind_buffers();
    }

    VkBuffer getBuffer(const Slot &slot) const;

    void beginConditional(VKBuffer *buffer, size_t offset);
    void endConditional();

private:
    static constexpr uint32_t NumSlots = 72; // that can hold transient memory
    static constexpr uint32_t NumUses =
        Parameters::NumUniforms + Parameters::NumStorages + Parameters::NumTexels + Parameters::NumTracings + 1;
    static constexpr uint32_t MaxSets = VKBindings::NumSets + Parameters::NumTables;

    // Buffers of one dispatch and what it does with each.
    struct Uses {
        uint32_t num = 0;
        VKBuffer *buffers[NumUses];
        VkAccessFlags access[NumUses];
        void append(VKBuffer *buffer, VkAccessFlags flags);
    };

    void notify(VKContext::Event event) override;
    void drop_sets();
    void select_dynamic();
    void save_memory();
    bool restore_memory();
    bool check_resources(const Slot *indirect);
    const Uses &get_uses();
    void update_barriers(const Uses &uses, VkPipelineStageFlags stages);
    void update_transients(VkPipelineStageFlags stages);
    void begin_conditional();
    void end_conditional();

    void update_images(VKContext::Barriers &barriers, VkPipelineStageFlags stages) const;

    VkDescriptorSet allocate_set(VKBindings::SetType type, const char *kind);
    bool get_image(VkDescriptorImageInfo &info, const RecorderSlots::TextureSlot &slot, bool is_surface) const;
    bool update_samplers();
    bool update_images();
    bool update_tables();
    bool update_buffers();
    bool update_texels();
    bool update_tracings();
    bool update_set(VKBindings::SetType type, bool changed, bool (VKRecorder::*update)());
    /// Dynamic offsets of the buffer set. False and one line for one that the API can't take.
    bool get_offsets(uint32_t *offsets) const {
        uint64_t bits = 0;
        for(uint32_t i = 0; i < num_dynamic; i++) {
            const size_t offset = dynamic_slots[i]->offset;
            offsets[i] = uint32_t(offset);
            bits |= offset;
        }
        return KOLM_LIKELY((bits >> 32) == 0) || refuse_offsets();
    }
    bool refuse_offsets() const;
    bool bind_buffers() const {
        uint32_t offsets[MaxDynamic];
        if(!get_offsets(offsets)) return false;
        adapter->vkCmdBindDescriptorSets(settled_command, bind_point, pipeline_layout, buffer_set, 1, sets + buffer_set,
                                         num_dynamic, offsets);
        return true;
    }

    VKAdapter *adapter;
    VKContext *context;
    RecorderSlots &slots;
    const char *name;
    const Parameters *parameters = nullptr;
    const VKBindings *bindings = nullptr;
    VkPipelineBindPoint bind_point = VK_PIPELINE_BIND_POINT_COMPUTE;
    uint64_t epoch = 0; // of the context when the pipeline was bound
    VkPipeline bound_pipeline = VK_NULL_HANDLE;
    uint64_t num_descriptors = 0;
    uint64_t settled_changes = 0; // of the context, and of the adapter; see isSettled()
    uint32_t settled_objects = 0;
    VkCommandBuffer settled_command = VK_NULL_HANDLE;

    // Of the bound object: what its buffer set needs anew, or its offsets alone, and where these are by binding number.
    static constexpr uint32_t MaxDynamic = Parameters::NumUniforms + Parameters::NumStorages;
    uint32_t buffer_update = 0;
    uint32_t offset_update = 0;
    uint32_t num_dynamic = 0;
    uint32_t buffer_set = VKBindings::NoSet;
    VkPipelineLayout pipeline_layout = VK_NULL_HANDLE;
    const Slot *dynamic_slots[MaxDynamic] = {};

    // Sets by their numbers, null for those that have to be written, and the range that is not bound as it is here.
    VkDescriptorSet sets[MaxSets] = {};
    uint32_t first_set = 0;
    uint32_t end_set = 0;
    // Handles in the present sets: an object may have been created anew under the same address.
    VkSampler bound_samplers[Parameters::NumSamplers] = {};
    uint64_t bound_textures[Parameters::NumTextures] = {};
    uint64_t bound_surfaces[Parameters::NumSurfaces] = {};
    VkBuffer bound_uniforms[Parameters::NumUniforms] = {};
    VkBuffer bound_storages[Parameters::NumStorages] = {};
    VkBufferView bound_texels[Parameters::NumTexels] = {};
    VkAccelerationStructureKHR bound_tracings[Parameters::NumTracings] = {};

    Uses uses;                   // of the slots as they were last
    bool has_transients = false; // a slot has transient storage that is written

    // Transient buffers that a dispatch wrote since the last barrier over them. Nobody else can ask for one.
    uint32_t num_written = 0;
    VkBuffer written[Parameters::NumStorages] = {};

    // The condition under way, recorded anew in each command buffer.
    VKBuffer *conditional_buffer = nullptr;
    size_t conditional_offset = 0;
    bool conditional_recorded = false;

    // Transient data whose memory was given away by a wait, by the number of the slot.
    static constexpr uint64_t saved_handle = ~0ull; // of a slot until its data is in new memory
    bool has_saved = false;
    Array<uint8_t> saved_data[NumSlots];
};

} // namespace Kolm
