// KolmCommandRecorder.h: what every backend's draw recorder has in common.
// Rests on Recorder. Holds the bound pipeline, vertices, indices and dynamic state, and tests every draw before anything
// reaches an API.

#pragma once

#include "KolmCommand.h"
#include "KolmPipeline.h"
#include "KolmSlotRecorder.h"

namespace Kolm {

/// Base of the backends' draw recorders.
class CommandRecorder : public SlotRecorder<Command> {
public:
    /// \p target is enabled. A secondary recorder that is not told its target has null, and no default viewports.
    CommandRecorder(uint32_t index, const Device::Features &features, const Target *target);

    void setPipeline(Pipeline *pipeline) override;
    Pipeline *getPipeline() const override { return pipeline; }

    void setViewport(uint32_t index, const Viewport &viewport) override;
    void setViewports(const Viewport *viewports, uint32_t num) override;
    void setScissor(uint32_t index, const Scissor &scissor) override;
    void setScissors(const Scissor *scissors, uint32_t num) override;

    void *getVertexData(uint32_t index, size_t size) override;
    void setVertexData(uint32_t index, const void *src, size_t size) override;
    void setVertexBuffer(uint32_t index, Buffer *buffer, size_t offset) override;
    void setVertexBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) override;
    void setVertexOffset(uint32_t index, size_t offset, bool relative) override;

    void *getIndexData(Format format, size_t size) override;
    void setIndexData(Format format, const void *src, size_t size) override;
    void setIndexBuffer(Format format, Buffer *buffer, size_t offset) override;
    void setIndexOffset(size_t offset, bool relative) override;

    void setBlendColor(const Color &color) override;
    void setStencilRef(uint32_t ref) override;

    void drawArrays(uint32_t num_vertices, uint32_t base_vertex) override;
    void drawArraysInstanced(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                             uint32_t base_instance) override;
    void drawArraysIndirect(uint32_t num, size_t stride) override;
    void drawArraysIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) override;
    void drawElements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex) override;
    void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, uint32_t num_instances) override;
    void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, int32_t base_vertex, uint32_t num_instances,
                               uint32_t base_instance) override;
    void drawElementsIndirect(uint32_t num, size_t stride) override;
    void drawElementsIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) override;
    void drawMesh(uint32_t width, uint32_t height, uint32_t depth) override;
    void drawMeshIndirect(uint32_t num, size_t stride) override;
    void drawMeshIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride) override;

    using Command::setBlendColor;
    using Command::setVertexBuffers;

protected:
    enum DrawType { DrawArrays = 0, DrawElements, DrawMesh, NumDrawTypes };

    // What a backend gives. All arguments were tested; slots and `update_mask` tell what to bind before a draw; the
    // recorder clears the mask when the result is true. False, with the reason logged, skips the call.
    /// The pipeline changed, possibly to null. update_mask holds all groups then.
    virtual void bind_pipeline(Pipeline *pipeline) = 0;
    virtual bool record_draw_arrays(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                                    uint32_t base_instance) = 0;
    virtual bool record_draw_elements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                                      uint32_t num_instances, uint32_t base_instance) = 0;
    virtual bool record_draw_mesh(uint32_t width, uint32_t height, uint32_t depth);
    /// \p num records at \p stride from source.offset on. One at a time where the device takes no more.
    virtual bool record_draw_indirect(DrawType type, const Slot &source, uint32_t num, size_t stride) = 0;

    /// Bytes of an index.
    uint32_t get_index_size() const { return (index_format == FormatRu32) ? 4 : 2; }
    Slot *get_memory_slot(uint32_t number, Transient &type) override;

    const Target *target;
    Pipeline *pipeline = nullptr;
    uint32_t num_viewports = 0; // that are set
    uint32_t num_scissors = 0;
    Viewport viewports[Pipeline::NumViewports];
    Scissor scissors[Pipeline::NumViewports];
    Slot vertices[Pipeline::NumVertices];
    Slot index;
    Format index_format = FormatUnknown;
    Color blend_color;
    uint32_t stencil_ref = 0;

private:
    uint32_t checked_types = 0; // bits of DrawType that check_new_draw() found good

    SlotKind get_vertex_kind();
    SlotKind get_index_kind(const Caller &caller, Format format);
    bool check_draw(const Caller &caller, DrawType type) {
        // Nothing but offsets changed since a draw of this type was found good.
        if(KOLM_UNLIKELY(update_mask & (UpdateAll | UpdateCommand))) checked_types = 0;
        return KOLM_LIKELY(checked_types & (1u << type)) || check_new_draw(caller, type);
    }
    bool check_new_draw(const Caller &caller, DrawType type);
    void set_viewports(const Caller &caller, uint32_t index, const Viewport *src, uint32_t num);
    void set_scissors(const Caller &caller, uint32_t index, const Scissor *src, uint32_t num);
    void draw_elements(const Caller &caller, uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                       uint32_t num_instances, uint32_t base_instance);
    void draw_indirect(const Caller &caller, DrawType type, const Slot &source, uint32_t num, size_t stride);
    void draw_indirect(const Caller &caller, DrawType type, Buffer *buffer, size_t offset, uint32_t num, size_t stride);
};

} // namespace Kolm
