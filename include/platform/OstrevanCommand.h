// Recorder of draws.

#pragma once

#include <initializer_list>

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSlice.h>
#include <platform/OstrevanPlatform.h>

#define TWIN_NAMESPACE Ostrevan
#include <foundation/Viewport.inc>

namespace Ostrevan {

/// Records draws into an enabled target, made by Device::createCommand(). The last handle ends the recording, before
/// Target::end(). There are no transfers and no barriers between draws.
///
/// Setters only change what is bound; draws flush it. An index that the pipeline does not have, a resource without the
/// flag that its slot needs and anything without a pipeline end the process with one line. A draw with an empty slot
/// and exhausted memory are logged, and the call is skipped. A recorder belongs to the thread that uses it.
class OSTREVAN_API Command {
    OSTREVAN_HANDLE(Command)
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

    Command();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    /// Binds at once. The slots' contents stay; the same pipeline again changes nothing; an empty handle unbinds.
    /// Viewports that the pipeline has and that were not set cover the target, and so do scissors of a scissor test.
    void setPipeline(const Pipeline &pipeline);
    Pipeline getPipeline() const;

    // Rectangles of pixels; row 0 is at the top, which clip +1 meets. Sizes of viewports are above 0, depths in 0 to 1.
    void setViewport(uint32_t index, const Viewport &viewport);
    void setViewports(const Viewport *viewports, uint32_t num);
    void setScissor(uint32_t index, const Scissor &scissor);
    void setScissors(const Scissor *scissors, uint32_t num);

    // samplers and textures; without a slice it is all of the texture. An empty handle empties the slot
    void setSampler(uint32_t index, const Sampler &sampler);
    void setSamplers(uint32_t index, const std::initializer_list<Sampler> &samplers);
    void setSamplers(uint32_t index, const Array<Sampler> &samplers);
    void setTexture(uint32_t index, const Texture &texture);
    void setTextures(uint32_t index, const std::initializer_list<Texture> &textures);
    void setTextures(uint32_t index, const Array<Texture> &textures);
    void setTexture(uint32_t index, const Texture &texture, const Slice &slice);
    // storage images: one level of a texture with FlagSurface, the first without a slice. The shader may see another
    // format of the same pixel size
    void setSurfaceTexture(uint32_t index, const Texture &texture);
    void setSurfaceTextures(uint32_t index, const std::initializer_list<Texture> &textures);
    void setSurfaceTextures(uint32_t index, const Array<Texture> &textures);
    void setSurfaceTexture(uint32_t index, const Texture &texture, const Slice &slice, Format format = FormatUnknown);
    // acceleration structures of instances, and tables of the size that their slot has
    void setTracing(uint32_t index, const Tracing &tracing);
    void setTracings(uint32_t index, const std::initializer_list<Tracing> &tracings);
    void setTracings(uint32_t index, const Array<Tracing> &tracings);
    void setTextureTable(uint32_t index, const TextureTable &table);
    void setTextureTables(uint32_t index, const std::initializer_list<TextureTable> &tables);
    void setTextureTables(uint32_t index, const Array<TextureTable> &tables);
    void setStorageTable(uint32_t index, const BufferTable &table);
    void setStorageTables(uint32_t index, const std::initializer_list<BufferTable> &tables);
    void setStorageTables(uint32_t index, const Array<BufferTable> &tables);
    /// Measures the work in between. False if the reason was logged.
    bool beginQuery(const Query &query);
    void endQuery(const Query &query);

    // uniform slots. Data lives until the frame's work ran; a pointer is to be filled before the next call, and may be
    // null. Size 0 is the rest of the buffer
    void *getUniformData(uint32_t index, size_t size);
    void setUniformData(uint32_t index, const void *src, size_t size);
    void setUniformBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0, size_t size = 0);
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setUniformBuffers(uint32_t index, const Array<Buffer> &buffers);
    void setUniformBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets);
    void setUniformOffset(uint32_t index, size_t offset, bool relative = false);

    // storage slots, likewise
    void *getStorageData(uint32_t index, size_t size);
    void setStorageData(uint32_t index, const void *src, size_t size);
    void setStorageBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0, size_t size = 0);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setStorageBuffers(uint32_t index, const Array<Buffer> &buffers);
    void setStorageBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets);
    void setStorageOffset(uint32_t index, size_t offset, bool relative = false);

    // streams of vertices
    void *getVertexData(uint32_t index, size_t size);
    void setVertexData(uint32_t index, const void *src, size_t size);
    void setVertexBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0);
    void setVertexBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setVertexBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                          const std::initializer_list<size_t> &offsets);
    void setVertexBuffers(uint32_t index, const Array<Buffer> &buffers);
    void setVertexBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets);
    void setVertexOffset(uint32_t index, size_t offset, bool relative = false);

    // indices of FormatRu16 or FormatRu32
    void *getIndexData(Format format, size_t size);
    void setIndexData(Format format, const void *src, size_t size);
    void setIndices(const std::initializer_list<uint16_t> &indices);
    void setIndexBuffer(Format format, const Buffer &buffer, size_t offset = 0);
    void setIndexOffset(size_t offset, bool relative = false);

    // texel slots, and the source of indirect draws
    void setTexelBuffer(uint32_t index, const Buffer &buffer);
    void *getIndirectData(size_t size);
    void setIndirectData(const void *src, size_t size);
    void setIndirectBuffer(const Buffer &buffer, size_t offset = 0);
    void setIndirectOffset(size_t offset, bool relative = false);

    void setBlendColor(const Color &color);
    void setBlendColor(float32_t r, float32_t g, float32_t b, float32_t a);
    void setStencilRef(uint32_t ref);

    // draws. Indirect forms read records at a stride in bytes, 0 for tight ones, from setIndirectBuffer() or a buffer
    void drawArrays(uint32_t num_vertices, uint32_t base_vertex = 0);
    void drawArraysInstanced(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                             uint32_t base_instance = 0);
    void drawElements(uint32_t num_indices, uint32_t base_index = 0, int32_t base_vertex = 0);
    void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, uint32_t num_instances);
    void drawElementsInstanced(uint32_t num_indices, uint32_t base_index, int32_t base_vertex, uint32_t num_instances,
                               uint32_t base_instance);
    /// Numbers of groups of the task shader, or of the mesh shader without one.
    void drawMesh(uint32_t width, uint32_t height = 1, uint32_t depth = 1);
    void drawArraysIndirect(uint32_t num, size_t stride = 0);
    void drawArraysIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride = 0);
    void drawElementsIndirect(uint32_t num, size_t stride = 0);
    void drawElementsIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride = 0);
    void drawMeshIndirect(uint32_t num, size_t stride = 0);
    void drawMeshIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride = 0);

    /// Draws until endConditional() are skipped if the 32-bit word at \p offset is zero.
    void beginConditional(const Buffer &buffer, size_t offset);
    void endConditional();

    /// Plain data by value.
    template<class Type> void setUniform(uint32_t index, const Type &data) {
        setUniformData(index, &data, sizeof(Type));
    }
    template<class Type> void setStorage(uint32_t index, const Type &data) {
        setStorageData(index, &data, sizeof(Type));
    }
    template<class Type> void setVertices(uint32_t index, const std::initializer_list<Type> &vertices) {
        setVertexData(index, vertices.begin(), sizeof(Type) * vertices.size());
    }
    template<class Type> void setIndirect(const Type &data) { setIndirectData(&data, sizeof(Type)); }
};

} // namespace Ostrevan
