// Textures, tables and ray tracing of the public compute recorder.

#include "OstrevanBufferKolm.h"
#include "OstrevanBufferTableKolm.h"
#include "OstrevanComputeKolm.h"
#include "OstrevanImageKolm.h"
#include "OstrevanKernelKolm.h"
#include "OstrevanQueryKolm.h"
#include "OstrevanSamplerKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanTextureTableKolm.h"
#include "OstrevanTracingKolm.h"
#include "OstrevanTraversalKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

constexpr uint32_t max_handles = 128; // of one call

} // namespace
void Compute::setSampler(uint32_t index, const Sampler &sampler) {
    impl().ref().setSampler(index, getCore<Kolm::Sampler *>(sampler));
}
void Compute::setSamplers(uint32_t index, const std::initializer_list<Sampler> &samplers) {
    Kolm::Sampler *list[max_handles];
    const uint32_t num = copyList(list, samplers);
    impl().ref().setSamplers(index, list, num);
}
void Compute::setSamplers(uint32_t index, const Array<Sampler> &samplers) {
    Kolm::Sampler *list[max_handles];
    const uint32_t num = copyArray(list, samplers);
    impl().ref().setSamplers(index, list, num);
}
void Compute::setTexture(uint32_t index, const Texture &texture) {
    impl().ref().setTexture(index, getCore<Kolm::Texture *>(texture));
}
void Compute::setTextures(uint32_t index, const std::initializer_list<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyList(list, textures);
    impl().ref().setTextures(index, list, num);
}
void Compute::setTextures(uint32_t index, const Array<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyArray(list, textures);
    impl().ref().setTextures(index, list, num);
}
void Compute::setTexture(uint32_t index, const Texture &texture, const Slice &slice) {
    impl().ref().setTexture(index, getCore<Kolm::Texture *>(texture), getCore(slice));
}
void Compute::setSurfaceTexture(uint32_t index, const Texture &texture) {
    impl().ref().setSurfaceTexture(index, getCore<Kolm::Texture *>(texture));
}
void Compute::setSurfaceTextures(uint32_t index, const std::initializer_list<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyList(list, textures);
    impl().ref().setSurfaceTextures(index, list, num);
}
void Compute::setSurfaceTextures(uint32_t index, const Array<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyArray(list, textures);
    impl().ref().setSurfaceTextures(index, list, num);
}
void Compute::setSurfaceTexture(uint32_t index, const Texture &texture, const Slice &slice, Format format) {
    impl().ref().setSurfaceTexture(index, getCore<Kolm::Texture *>(texture), getCore(slice), getCore(format));
}
void Compute::setTracing(uint32_t index, const Tracing &tracing) {
    impl().ref().setTracing(index, getCore<Kolm::Tracing *>(tracing));
}
void Compute::setTracings(uint32_t index, const std::initializer_list<Tracing> &tracings) {
    Kolm::Tracing *list[max_handles];
    const uint32_t num = copyList(list, tracings);
    impl().ref().setTracings(index, list, num);
}
void Compute::setTracings(uint32_t index, const Array<Tracing> &tracings) {
    Kolm::Tracing *list[max_handles];
    const uint32_t num = copyArray(list, tracings);
    impl().ref().setTracings(index, list, num);
}
void Compute::setTextureTable(uint32_t index, const TextureTable &table) {
    impl().ref().setTextureTable(index, getCore<Kolm::TextureTable *>(table));
}
void Compute::setTextureTables(uint32_t index, const std::initializer_list<TextureTable> &tables) {
    Kolm::TextureTable *list[max_handles];
    const uint32_t num = copyList(list, tables);
    impl().ref().setTextureTables(index, list, num);
}
void Compute::setTextureTables(uint32_t index, const Array<TextureTable> &tables) {
    Kolm::TextureTable *list[max_handles];
    const uint32_t num = copyArray(list, tables);
    impl().ref().setTextureTables(index, list, num);
}
void Compute::setStorageTable(uint32_t index, const BufferTable &table) {
    impl().ref().setStorageTable(index, getCore<Kolm::BufferTable *>(table));
}
void Compute::setStorageTables(uint32_t index, const std::initializer_list<BufferTable> &tables) {
    Kolm::BufferTable *list[max_handles];
    const uint32_t num = copyList(list, tables);
    impl().ref().setStorageTables(index, list, num);
}
void Compute::setStorageTables(uint32_t index, const Array<BufferTable> &tables) {
    Kolm::BufferTable *list[max_handles];
    const uint32_t num = copyArray(list, tables);
    impl().ref().setStorageTables(index, list, num);
}
bool Compute::beginQuery(const Query &query) { return impl().ref().beginQuery(getCore<Kolm::Query *>(query)); }
void Compute::endQuery(const Query &query) { impl().ref().endQuery(getCore<Kolm::Query *>(query)); }
void Compute::setTraversal(const Traversal &traversal) {
    impl().ref().setTraversal(getCore<Kolm::Traversal *>(traversal));
}
Traversal Compute::getTraversal() const { return TS<Traversal>(impl().ref().getTraversal()); }
void Compute::dispatch(const Texture &texture) { impl().ref().dispatch(getCore<const Kolm::Texture *>(texture)); }
bool Compute::setTexture(const Texture &texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                         const Slice &image_slice) {
    return impl().ref().setTexture(getCore<Kolm::Texture *>(texture), getCore(origin), getCore(dest_slice),
                                   image.impl().ref(), getCore(image_slice));
}
bool Compute::setTexture(const Texture &texture, const Origin &origin, const Image &image) {
    return impl().ref().setTexture(getCore<Kolm::Texture *>(texture), getCore(origin), image.impl().ref());
}
bool Compute::setTexture(const Texture &texture, const Image &image) {
    return impl().ref().setTexture(getCore<Kolm::Texture *>(texture), image.impl().ref());
}
bool Compute::copyTexture(const Texture &dest, const Origin &origin, const Slice &dest_slice, const Texture &src,
                          const Region &region, const Slice &src_slice) {
    return impl().ref().copyTexture(getCore<Kolm::Texture *>(dest), getCore(origin), getCore(dest_slice),
                                    getCore<Kolm::Texture *>(src), getCore(region), getCore(src_slice));
}
bool Compute::copyTexture(const Texture &dest, const Origin &origin, const Texture &src, const Region &region) {
    return impl().ref().copyTexture(getCore<Kolm::Texture *>(dest), getCore(origin), getCore<Kolm::Texture *>(src),
                                    getCore(region));
}
bool Compute::copyTexture(const Texture &dest, const Slice &dest_slice, const Texture &src, const Slice &src_slice) {
    return impl().ref().copyTexture(getCore<Kolm::Texture *>(dest), getCore(dest_slice), getCore<Kolm::Texture *>(src),
                                    getCore(src_slice));
}
bool Compute::copyTexture(const Texture &dest, const Texture &src) {
    return impl().ref().copyTexture(getCore<Kolm::Texture *>(dest), getCore<Kolm::Texture *>(src));
}
bool Compute::clearTexture(const Texture &texture, const Region &region, const Slice &slice, const void *value) {
    return impl().ref().clearTexture(getCore<Kolm::Texture *>(texture), getCore(region), getCore(slice), value);
}
bool Compute::clearTexture(const Texture &texture, const Region &region, const void *value) {
    return impl().ref().clearTexture(getCore<Kolm::Texture *>(texture), getCore(region), value);
}
bool Compute::clearTexture(const Texture &texture, const Slice &slice, const void *value) {
    return impl().ref().clearTexture(getCore<Kolm::Texture *>(texture), getCore(slice), value);
}
bool Compute::clearTexture(const Texture &texture, const void *value) {
    return impl().ref().clearTexture(getCore<Kolm::Texture *>(texture), value);
}
void Compute::barrier(const Texture &texture) { impl().ref().barrier(getCore<Kolm::Texture *>(texture)); }
void Compute::barrier(const std::initializer_list<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyList(list, textures);
    impl().ref().barrier(list, num);
}
void Compute::barrier(const Array<Texture> &textures) {
    Kolm::Texture *list[max_handles];
    const uint32_t num = copyArray(list, textures);
    impl().ref().barrier(list, num);
}

} // namespace Ostrevan
