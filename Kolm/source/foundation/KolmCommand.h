// KolmCommand.h: the ordered list of operations that a draw recorder has, and the short forms that lean on them.
// Holds no data. The rules are in CommandRecorder, the translation in a backend's class.

#pragma once

#include "KolmColor.h"
#include "KolmSlots.h"

#define TWIN_NAMESPACE Kolm
#include "Viewport.inc"

namespace Kolm {

class Pipeline;

/// Records draws into an enabled target. Deleting the object ends the recording, before Target::end(). There are no
/// transfers and no barriers between draws.
///
/// Setters only change what is bound; draws flush it. Exhausted memory is logged, and the call is skipped. A recorder
/// belongs to the thread that uses it.
class Command : public Slots {
public:
    // Records of indirect draws.
    struct DrawArraysIndirect {
        uint32_t num_vertices;
        uint32_t num_instances;
        uint32_t base_vertex;
        uint32_t base_instance;
    };
    struct DrawElementsIndirect {
        uint32_t num_indices;
        uint32_t num_instances;
        uint32_t base_index;
        int32_t base_vertex;
        uint32_t base_instance;
    };
    struct DrawMeshIndirect {
        uint32_t width;
        uint32_t height;
        uint32_t depth;
    };

    explicit Command(uint32_t index) : Slots(index) {}

    /// Binds at once. The slots' contents stay; the same pipeline again changes nothing; null unbinds. Viewports that
    /// the pipeline has and that were not set cover the target, and so do scissors of a scissor test.
    virtual void setPipeline(Pipeline *pipeline) = 0;
    virtual Pipeline *getPipeline() const = 0;

    virtual void setViewport(uint32_t index, const Viewport &viewport) = 0;
    virtual void setViewports(const Viewport *viewports, uint32_t num) = 0;
    virtual void setScissor(uint32_t index, const Scissor &scissor) = 0;
    virtual void setScissors(const Scissor *scissors, uint32_t num) = 0;

    // streams of vertices
    virtual void *getVertexData(uint32_t index, size_t size) = 0;
    virtual void setVertexData(uint32_t index, const void *src, size_t size) = 0;
    virtual void setVertexBuffer(uint32_t index, Buffer *buffer, size_t offset = 0) = 0;
    virtual void setVertexBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets = nullptr) = 0;
    virtual void setVertexOffset(uint32_t index, size_t offset, bool relative = false) = 0;

    // indices of format Ru16 or Ru32
    virtual void *getIndexData(Format format, size_t size) = 0;
    virtual void setIndexData(Format format, const void *src, size_t size) = 0;
    virtual void setIndexBuffer(Format format, Buffer *buffer, size_t offset = 0) = 0;
    virtual void setIndexOffset(size_t offset, bool relative = false) = 0;

    virtual void setBlendColor(const Color &color) = 0;
    virtual void setStencilRef(uint32_t ref) = 0;

    // draws. Indirect forms read `num` records at `stride`, 0 for tight ones, from setIndirectBuffer() or from a buffer
    virtual void drawArrays(uint32_t num_vertices, uint32_t base_vertex = 0) = 0;
    virtual void drawArraysInstanced(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                                     uint32_t base_instance = 0) = 0;
    virtual void drawArraysIndirect(uint32_t num, size_t stride = 0) = 0;
    virtual void drawArraysIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride = 0) = 0;
    virtual void drawElements(uint32_t num_indices, uint32_t base_index = 0, int32_t base_vertex = 0) = 0;
    virtual void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, uint32_t num_instances) = 0;
    virtual void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                                       uint32_t num_instances, uint32_t base_instance) = 0;
    virtual void drawElementsIndirect(uint32_t num, size_t stride = 0) = 0;
    virtual void drawElementsIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride = 0) = 0;
    /// Numbers of groups of the task shader, or of the mesh shader without one.
    virtual void drawMesh(uint32_t width, uint32_t height = 1, uint32_t depth = 1) = 0;
    virtual void drawMeshIndirect(uint32_t num, size_t stride = 0) = 0;
    virtual void drawMeshIndirect(Buffer *buffer, size_t offset, uint32_t num, size_t stride = 0) = 0;

    // short forms
    void setVertexBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
        setVertexBuffers(index, get_list(buffers), uint32_t(buffers.size()));
    }
    void setVertexBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                          const std::initializer_list<size_t> &offsets) {
        KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setVertexBuffers(): invalid number of offsets");
        setVertexBuffers(index, get_list(buffers), uint32_t(buffers.size()), offsets.begin());
    }
    void setIndices(const std::initializer_list<uint16_t> &indices) {
        setIndexData(FormatRu16, indices.begin(), sizeof(uint16_t) * indices.size());
    }
    void setBlendColor(float32_t r, float32_t g, float32_t b, float32_t a) { setBlendColor(Color(r, g, b, a)); }
    template<class Type> void setVertices(uint32_t index, const std::initializer_list<Type> &vertices) {
        setVertexData(index, vertices.begin(), sizeof(Type) * vertices.size());
    }
};

static_assert(sizeof(Command::DrawArraysIndirect) == 16 && sizeof(Command::DrawElementsIndirect) == 20 &&
              sizeof(Command::DrawMeshIndirect) == 12);

} // namespace Kolm
