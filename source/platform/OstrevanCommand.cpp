#include "OstrevanCommandKolm.h"

#include "OstrevanBufferKolm.h"
#include "OstrevanBufferTableKolm.h"
#include "OstrevanPipelineKolm.h"
#include "OstrevanQueryKolm.h"
#include "OstrevanSamplerKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanTextureTableKolm.h"
#include "OstrevanTracingKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

constexpr uint32_t max_handles = 128; // of one call

} // namespace

OSTREVAN_HANDLE_SOURCE(Command, Noncopyable)

Command::Command() : Command(VoidImpl()) {}

Platform Command::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Command::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Command::getIndex() const { return impl().ref().getIndex(); }

void Command::setPipeline(const Pipeline &pipeline) { impl().ref().setPipeline(getCore<Kolm::Pipeline *>(pipeline)); }
Pipeline Command::getPipeline() const { return TS<Pipeline>(impl().ref().getPipeline()); }
void Command::setViewport(uint32_t index, const Viewport &viewport) {
    impl().ref().setViewport(index, reinterpret_cast<const Kolm::Viewport &>(viewport));
}
void Command::setViewports(const Viewport *viewports, uint32_t num) {
    impl().ref().setViewports(reinterpret_cast<const Kolm::Viewport *>(viewports), num);
}
void Command::setScissor(uint32_t index, const Scissor &scissor) {
    impl().ref().setScissor(index, reinterpret_cast<const Kolm::Scissor &>(scissor));
}
void Command::setScissors(const Scissor *scissors, uint32_t num) {
    impl().ref().setScissors(reinterpret_cast<const Kolm::Scissor *>(scissors), num);
}
void Command::setSampler(uint32_t index, const Sampler &sampler) {
    impl().ref().setSampler(index, getCore<Kolm::Sampler *>(sampler));
}
void Command::setSamplers(uint32_t index, const std::initializer_list<Sampler> &samplers) {
    Kolm::Sampler *list[max_handles];
    const uint32_t num = copyList(list, samplers);
    impl().ref().setSamplers(index, list, num);
}
void Command::setSamplers(uint32_t index, const Array<Sampler> &samplers) {
    Kolm::Sampler *list[max_handles];
    const uint32_t num = copyArray(list, samplers);
    impl().ref().setSamplers(index, list, num);
}
void Command::setTexture(uint32_t index, const Texture &texture) {
    impl().ref().setTexture(index, getCore<Kolm::Texture *>(texture));
}
void Command::setTextures(uint32_t index, const std::initializer_list<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyList(list, textures);
    impl().ref().setTextures(index, list, num);
}
void Command::setTextures(uint32_t index, const Array<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyArray(list, textures);
    impl().ref().setTextures(index, list, num);
}
void Command::setTexture(uint32_t index, const Texture &texture, const Slice &slice) {
    impl().ref().setTexture(index, getCore<Kolm::Texture *>(texture), getCore(slice));
}
void Command::setSurfaceTexture(uint32_t index, const Texture &texture) {
    impl().ref().setSurfaceTexture(index, getCore<Kolm::Texture *>(texture));
}
void Command::setSurfaceTextures(uint32_t index, const std::initializer_list<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyList(list, textures);
    impl().ref().setSurfaceTextures(index, list, num);
}
void Command::setSurfaceTextures(uint32_t index, const Array<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyArray(list, textures);
    impl().ref().setSurfaceTextures(index, list, num);
}
void Command::setSurfaceTexture(uint32_t index, const Texture &texture, const Slice &slice, Format format) {
    impl().ref().setSurfaceTexture(index, getCore<Kolm::Texture *>(texture), getCore(slice), getCore(format));
}
void Command::setTracing(uint32_t index, const Tracing &tracing) {
    impl().ref().setTracing(index, getCore<Kolm::Tracing *>(tracing));
}
void Command::setTracings(uint32_t index, const std::initializer_list<Tracing> &tracings) {
    Kolm::Tracing *list[max_handles];
    const uint32_t num = copyList(list, tracings);
    impl().ref().setTracings(index, list, num);
}
void Command::setTracings(uint32_t index, const Array<Tracing> &tracings) {
    Kolm::Tracing *list[max_handles];
    const uint32_t num = copyArray(list, tracings);
    impl().ref().setTracings(index, list, num);
}
void Command::setTextureTable(uint32_t index, const TextureTable &table) {
    impl().ref().setTextureTable(index, getCore<Kolm::TextureTable *>(table));
}
void Command::setTextureTables(uint32_t index, const std::initializer_list<TextureTable> &tables) {
    Kolm::TextureTable *list[max_handles];
    const uint32_t num = copyList(list, tables);
    impl().ref().setTextureTables(index, list, num);
}
void Command::setTextureTables(uint32_t index, const Array<TextureTable> &tables) {
    Kolm::TextureTable *list[max_handles];
    const uint32_t num = copyArray(list, tables);
    impl().ref().setTextureTables(index, list, num);
}
void Command::setStorageTable(uint32_t index, const BufferTable &table) {
    impl().ref().setStorageTable(index, getCore<Kolm::BufferTable *>(table));
}
void Command::setStorageTables(uint32_t index, const std::initializer_list<BufferTable> &tables) {
    Kolm::BufferTable *list[max_handles];
    const uint32_t num = copyList(list, tables);
    impl().ref().setStorageTables(index, list, num);
}
void Command::setStorageTables(uint32_t index, const Array<BufferTable> &tables) {
    Kolm::BufferTable *list[max_handles];
    const uint32_t num = copyArray(list, tables);
    impl().ref().setStorageTables(index, list, num);
}
bool Command::beginQuery(const Query &query) { return impl().ref().beginQuery(getCore<Kolm::Query *>(query)); }
void Command::endQuery(const Query &query) { impl().ref().endQuery(getCore<Kolm::Query *>(query)); }
void *Command::getUniformData(uint32_t index, size_t size) { return impl().ref().getUniformData(index, size); }
void Command::setUniformData(uint32_t index, const void *src, size_t size) {
    impl().ref().setUniformData(index, src, size);
}
void Command::setUniformBuffer(uint32_t index, const Buffer &buffer, size_t offset, size_t size) {
    impl().ref().setUniformBuffer(index, getCore<Kolm::Buffer *>(buffer), offset, size);
}
void Command::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setUniformBuffers(index, list, num);
}
void Command::setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setUniformBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setUniformBuffers(index, list, num, offsets.begin());
}
void Command::setUniformBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setUniformBuffers(index, list, num);
}
void Command::setUniformBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setUniformBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setUniformBuffers(index, list, num, offsets.get());
}
void Command::setUniformOffset(uint32_t index, size_t offset, bool relative) {
    impl().ref().setUniformOffset(index, offset, relative);
}
void *Command::getStorageData(uint32_t index, size_t size) { return impl().ref().getStorageData(index, size); }
void Command::setStorageData(uint32_t index, const void *src, size_t size) {
    impl().ref().setStorageData(index, src, size);
}
void Command::setStorageBuffer(uint32_t index, const Buffer &buffer, size_t offset, size_t size) {
    impl().ref().setStorageBuffer(index, getCore<Kolm::Buffer *>(buffer), offset, size);
}
void Command::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setStorageBuffers(index, list, num);
}
void Command::setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                                const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setStorageBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setStorageBuffers(index, list, num, offsets.begin());
}
void Command::setStorageBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setStorageBuffers(index, list, num);
}
void Command::setStorageBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setStorageBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setStorageBuffers(index, list, num, offsets.get());
}
void Command::setStorageOffset(uint32_t index, size_t offset, bool relative) {
    impl().ref().setStorageOffset(index, offset, relative);
}
void *Command::getVertexData(uint32_t index, size_t size) { return impl().ref().getVertexData(index, size); }
void Command::setVertexData(uint32_t index, const void *src, size_t size) {
    impl().ref().setVertexData(index, src, size);
}
void Command::setVertexBuffer(uint32_t index, const Buffer &buffer, size_t offset) {
    impl().ref().setVertexBuffer(index, getCore<Kolm::Buffer *>(buffer), offset);
}
void Command::setVertexBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setVertexBuffers(index, list, num);
}
void Command::setVertexBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                               const std::initializer_list<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setVertexBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyList(list, buffers);
    impl().ref().setVertexBuffers(index, list, num, offsets.begin());
}
void Command::setVertexBuffers(uint32_t index, const Array<Buffer> &buffers) {
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setVertexBuffers(index, list, num);
}
void Command::setVertexBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets) {
    KOLM_ASSERT(buffers.size() == offsets.size() && "Command::setVertexBuffers(): invalid number of offsets");
    Kolm::Buffer *list[max_handles];
    const uint32_t num = copyArray(list, buffers);
    impl().ref().setVertexBuffers(index, list, num, offsets.get());
}
void Command::setVertexOffset(uint32_t index, size_t offset, bool relative) {
    impl().ref().setVertexOffset(index, offset, relative);
}
void *Command::getIndexData(Format format, size_t size) { return impl().ref().getIndexData(getCore(format), size); }
void Command::setIndexData(Format format, const void *src, size_t size) {
    impl().ref().setIndexData(getCore(format), src, size);
}
void Command::setIndices(const std::initializer_list<uint16_t> &indices) { impl().ref().setIndices(indices); }
void Command::setIndexBuffer(Format format, const Buffer &buffer, size_t offset) {
    impl().ref().setIndexBuffer(getCore(format), getCore<Kolm::Buffer *>(buffer), offset);
}
void Command::setIndexOffset(size_t offset, bool relative) { impl().ref().setIndexOffset(offset, relative); }
void Command::setTexelBuffer(uint32_t index, const Buffer &buffer) {
    impl().ref().setTexelBuffer(index, getCore<Kolm::Buffer *>(buffer));
}
void *Command::getIndirectData(size_t size) { return impl().ref().getIndirectData(size); }
void Command::setIndirectData(const void *src, size_t size) { impl().ref().setIndirectData(src, size); }
void Command::setIndirectBuffer(const Buffer &buffer, size_t offset) {
    impl().ref().setIndirectBuffer(getCore<Kolm::Buffer *>(buffer), offset);
}
void Command::setIndirectOffset(size_t offset, bool relative) { impl().ref().setIndirectOffset(offset, relative); }
void Command::setBlendColor(const Color &color) { impl().ref().setBlendColor(getCore(color)); }
void Command::setBlendColor(float32_t r, float32_t g, float32_t b, float32_t a) {
    impl().ref().setBlendColor(r, g, b, a);
}
void Command::setStencilRef(uint32_t ref) { impl().ref().setStencilRef(ref); }
void Command::drawArrays(uint32_t num_vertices, uint32_t base_vertex) {
    impl().ref().drawArrays(num_vertices, base_vertex);
}
void Command::drawArraysInstanced(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                                  uint32_t base_instance) {
    impl().ref().drawArraysInstanced(num_vertices, base_vertex, num_instances, base_instance);
}
void Command::drawElements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex) {
    impl().ref().drawElements(num_indices, base_index, base_vertex);
}
void Command::drawElementsInstanced(uint32_t num_indices, uint32_t base_index, uint32_t num_instances) {
    impl().ref().drawElementsInstanced(num_indices, base_index, num_instances);
}
void Command::drawElementsInstanced(uint32_t num_indices, uint32_t base_index, int32_t base_vertex,
                                    uint32_t num_instances, uint32_t base_instance) {
    impl().ref().drawElementsInstanced(num_indices, base_index, base_vertex, num_instances, base_instance);
}
void Command::drawMesh(uint32_t width, uint32_t height, uint32_t depth) { impl().ref().drawMesh(width, height, depth); }
void Command::drawArraysIndirect(uint32_t num, size_t stride) { impl().ref().drawArraysIndirect(num, stride); }
void Command::drawArraysIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride) {
    impl().ref().drawArraysIndirect(getCore<Kolm::Buffer *>(buffer), offset, num, stride);
}
void Command::drawElementsIndirect(uint32_t num, size_t stride) { impl().ref().drawElementsIndirect(num, stride); }
void Command::drawElementsIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride) {
    impl().ref().drawElementsIndirect(getCore<Kolm::Buffer *>(buffer), offset, num, stride);
}
void Command::drawMeshIndirect(uint32_t num, size_t stride) { impl().ref().drawMeshIndirect(num, stride); }
void Command::drawMeshIndirect(const Buffer &buffer, size_t offset, uint32_t num, size_t stride) {
    impl().ref().drawMeshIndirect(getCore<Kolm::Buffer *>(buffer), offset, num, stride);
}
void Command::beginConditional(const Buffer &buffer, size_t offset) {
    impl().ref().beginConditional(getCore<Kolm::Buffer *>(buffer), offset);
}
void Command::endConditional() { impl().ref().endConditional(); }

} // namespace Ostrevan
