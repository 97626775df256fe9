#include "RecorderMisuse.h"

using namespace Kolm;

namespace {

constexpr const char *vertex_shader =
    "layout(location = 0) in vec3 position; void main() { gl_Position = vec4(position, 1.0); }";
constexpr const char *fragment_shader = "layout(location = 0) out vec4 color; void main() { color = vec4(1.0); }";
constexpr const char *mesh_shader =
    "layout(local_size_x = 1) in; layout(triangles, max_vertices = 3, max_primitives = 1) out;"
    "void main() { SetMeshOutputsEXT(0, 0); }";
constexpr const char *compute_shader = "layout(local_size_x = 64) in; void main() {}";

} // namespace

RecorderMisuse::RecorderMisuse(Device &device)
    : device(device), uniform_alignment(device.getFeatures().uniformAlignment),
      storage_alignment(device.getFeatures().storageAlignment),
      max_uniform(uint32_t(device.getFeatures().maxUniformSize)) {
    vertices = create(Buffer::FlagVertex, 120, "points");
    indices = create(Buffer::FlagIndex, 24, "triangles");
    indirect = create(Buffer::FlagIndirect, 64, "records");
    uniform = create(Buffer::FlagUniform, 1024, "params");
    texels = create(Buffer::FlagTexel, 64, "texels", FormatRu32);
    condition = create(Buffer::FlagConditional, 16, "condition");
    records = create(Buffer::FlagTracing, 64, "instances");
    block = create(Buffer::FlagUniform, 1024, "block");
    data = create(Buffer::FlagStorage | Buffer::FlagSource, 1024, "data");
    groups = create(Buffer::FlagIndirect, 24, "groups");
    fresh_buffer.reset(device.createBuffer());
    foreign_buffer.reset(other.createBuffer(Buffer::FlagStorage, 16));
    for(Buffer *&buffer : blocks) buffer = block.get();

    color.reset(device.createTexture2D(FormatRGBAu8n, 64, Texture::FlagTarget | Texture::FlagMipmaps));
    texture.reset(device.createTexture2D(FormatRGBAu8n, 16, Texture::FlagMipmaps));
    image.reset(device.createTexture2D(FormatRGBAu8n, 8, Texture::FlagSurface | Texture::FlagMipmaps));
    bytes.reset(device.createTexture2D(FormatRu8n, 8));
    fresh.reset(device.createTexture());
    foreign.reset(other.createTexture2D(FormatRu8n, 4));
    color->setName("paint");
    texture->setName("stars");
    image->setName("image");
    bytes->setName("bytes");
    sampler.reset(device.createSampler(Sampler::FilterLinear));
    pending.reset(device.createSampler());

    geometry.reset(device.createTracing(3, FormatRGBf32, 12, 0, FormatUnknown));
    scene.reset(device.createTracing(1, records.get()));
    geometry->setName("rock");
    buffers.reset(device.createBufferTable(4));
    images.reset(device.createTextureTable(Texture::Type2D, 8));
    query.reset(device.createQuery(Query::TypeSamples));
    query->setName("visible");

    create_pipelines();
    create_kernels();
    target.reset(device.createTarget({color.get()}));
    idle.reset(device.createTarget());
    target->begin();
    command.reset(device.createCommand(target.get()));
    empty.reset(device.createCommand(target.get()));
    compute.reset(device.createCompute());
    filter.reset(device.createCompute());
    empty_filter.reset(device.createCompute());
    bind();
    add_command_rows();
    add_compute_rows();
}

RecorderMisuse::~RecorderMisuse() {
    command.reset();
    empty.reset();
    target->end();
}

std::unique_ptr<Buffer> RecorderMisuse::create(Buffer::Flags flags, size_t size, const char *name, Format format) {
    std::unique_ptr<Buffer> buffer(device.createBuffer(flags, size, format));
    buffer->setName(name);
    return buffer;
}

void RecorderMisuse::create_pipelines() {
    pipeline.reset(device.createPipeline());
    pipeline->setName("sky");
    pipeline->addSampler(Shader::MaskFragment);
    pipeline->addTexture(Shader::MaskFragment);
    pipeline->addUniform(Shader::MaskVertex);
    pipeline->addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12);
    pipeline->setColorFormat(FormatRGBAu8n);
    EXPECT_TRUE(pipeline->createShaderGLSL(Shader::TypeVertex, vertex_shader));
    EXPECT_TRUE(pipeline->createShaderGLSL(Shader::TypeFragment, fragment_shader));
    EXPECT_TRUE(pipeline->create());
    mesh.reset(device.createPipeline());
    mesh->setName("grass");
    mesh->setColorFormat(FormatRGBAu8n);
    EXPECT_TRUE(mesh->createShaderGLSL(Shader::TypeMesh, mesh_shader));
    EXPECT_TRUE(mesh->createShaderGLSL(Shader::TypeFragment, fragment_shader));
    EXPECT_TRUE(mesh->create());
    undone.reset(device.createPipeline());
}

std::unique_ptr<Kernel> RecorderMisuse::create_kernel(const char *name) {
    std::unique_ptr<Kernel> ret(device.createKernel(nullptr));
    ret->setName(name);
    EXPECT_TRUE(ret->createShaderGLSL(compute_shader));
    return ret;
}

void RecorderMisuse::create_kernels() {
    kernel = create_kernel("mix");
    kernel->setSurfaces(2).setSamplers(1).setTextures(1).setTextureOffset(2);
    kernel->addTracing();
    kernel->addTexel();
    kernel->addTable(Kernel::TableTypeTexture, 4);
    kernel->addTable(Kernel::TableTypeStorage, 4);
    EXPECT_TRUE(kernel->create());
    buffer_kernel = create_kernel("blur");
    buffer_kernel->setUniforms(2).setStorages(2).setStorageOffset(2);
    EXPECT_TRUE(buffer_kernel->create());
    pending_kernel.reset(device.createKernel(nullptr));
}

void RecorderMisuse::bind() {
    command->setPipeline(pipeline.get());
    command->setSampler(0, sampler.get());
    command->setTexture(0, texture.get());
    command->setUniformBuffer(0, uniform.get());
    command->setVertexBuffer(0, vertices.get());
    command->setIndexBuffer(FormatRu16, indices.get());
    command->setIndirectBuffer(indirect.get());
    compute->setKernel(kernel.get());
    filter->setKernel(buffer_kernel.get());
    filter->setUniformBuffers(0, {block.get(), block.get()});
    filter->setStorageBuffers(0, {data.get(), data.get()}, {0, 512});
}

void RecorderMisuse::add_command_rows() {
    const Row list[] = {
        // nothing is bound
        {[&] { empty->setSampler(0, sampler.get()); }, "Command::setSampler(): pipeline is null"},
        {[&] { empty->setTexture(0, texture.get()); }, "Command::setTexture(): pipeline is null"},
        {[&] { empty->setSurfaceTexture(0, image.get()); }, "Command::setSurfaceTexture(): pipeline is null"},
        {[&] { empty->setUniformData(0, "1", 1); }, "Command::setUniformData(): pipeline is null"},
        {[&] { empty->setStorageBuffer(0, uniform.get()); }, "Command::setStorageBuffer(): pipeline is null"},
        {[&] { empty->setTracing(0, scene.get()); }, "Command::setTracing(): pipeline is null"},
        {[&] { empty->setTexelBuffer(0, texels.get()); }, "Command::setTexelBuffer(): pipeline is null"},
        {[&] { empty->setTextureTable(0, images.get()); }, "Command::setTextureTable(): pipeline is null"},
        {[&] { empty->setStorageTable(0, buffers.get()); }, "Command::setStorageTable(): pipeline is null"},
        {[&] { empty->setVertexBuffer(0, vertices.get()); }, "Command::setVertexBuffer(): pipeline is null"},
        {[&] { empty->setIndexBuffer(FormatRu16, indices.get()); }, "Command::setIndexBuffer(): pipeline is null"},
        {[&] { empty->setIndirectBuffer(indirect.get()); }, "Command::setIndirectBuffer(): pipeline is null"},
        {[&] { empty->setViewport(0, viewport); }, "Command::setViewport(): pipeline is null"},
        {[&] { empty->setScissor(0, Scissor(1, 1)); }, "Command::setScissor(): pipeline is null"},
        {[&] { empty->drawArrays(3); }, "Command::drawArrays(): pipeline is null"},
        {[&] { empty->drawElements(3); }, "Command::drawElements(): pipeline is null"},
        {[&] { empty->drawMesh(1); }, "Command::drawMesh(): pipeline is null"},
        {[&] { empty->drawArraysIndirect(indirect.get(), 0, 1); }, "Command::drawArraysIndirect(): pipeline is null"},
        {[&] { command->setPipeline(undone.get()); }, "Command::setPipeline(): unnamed pipeline is not created"},
        {[&] { compute->setKernel(nullptr), compute->dispatch(1); }, "Compute::dispatch(): kernel is null"},
        // index
        {[&] { command->setSampler(1, sampler.get()); },
         "Command::setSampler(): invalid sampler index 1: sky pipeline has 1"},
        {[&] { command->setTexture(~0u, texture.get()); },
         "Command::setTexture(): invalid texture index 4294967295: sky pipeline has 1"},
        {[&] {
             command->setTextures(0, {texture.get(), texture.get()});
         },
         "Command::setTextures(): invalid texture range 0-2: sky pipeline has 1"},
        {[&] { command->setSurfaceTexture(0, image.get()); },
         "Command::setSurfaceTexture(): invalid surface index 0: sky pipeline has 0"},
        {[&] { command->setUniformBuffer(1, uniform.get()); },
         "Command::setUniformBuffer(): invalid uniform index 1: sky pipeline has 1"},
        {[&] { command->setTracing(0, scene.get()); },
         "Command::setTracing(): invalid tracing index 0: sky pipeline has 0"},
        {[&] { command->setTexelBuffer(0, texels.get()); },
         "Command::setTexelBuffer(): invalid texel index 0: sky pipeline has 0"},
        {[&] { command->setTextureTable(0, images.get()); },
         "Command::setTextureTable(): invalid table index 0: sky pipeline has 0"},
        {[&] { command->setVertexBuffer(1, vertices.get()); },
         "Command::setVertexBuffer(): invalid vertex index 1: sky pipeline has 1"},
        {[&] { command->setViewports(viewports, 2); },
         "Command::setViewports(): invalid viewport range 0-2: sky pipeline has 1"},
        {[&] { command->setScissor(1, Scissor(1, 1)); },
         "Command::setScissor(): invalid scissor range 1-2: sky pipeline has 1"},
        // objects
        {[&] { command->setTexture(0, foreign.get()); },
         "Command::setTexture(): invalid platform: unnamed texture is of Cuda"},
        {[&] { command->setTexture(0, fresh.get()); }, "Command::setTexture(): unnamed texture is not created"},
        {[&] { command->setTextures(0, nullptr, 1); }, "Command::setTextures(): textures are null"},
        {[&] { command->setSampler(0, pending.get()); }, "Command::setSampler(): this sampler is not created"},
        {[&] { command->setTexture(0, texture.get(), Slice(Mipmap(5))); },
         "Command::setTexture(): invalid slice of stars texture"},
        {[&] { command->setVertexBuffer(0, indices.get()); },
         "Command::setVertexBuffer(): invalid buffer: triangles buffer (24 B Index) needs the flag Vertex"},
        {[&] { command->setIndexBuffer(FormatRu16, vertices.get()); },
         "Command::setIndexBuffer(): invalid buffer: points buffer (120 B Vertex) needs the flag Index"},
        {[&] { command->setIndexBuffer(FormatRu8, indices.get()); },
         "Command::setIndexBuffer(): unknown buffer format Ru8: Ru16 and Ru32 are known"},
        {[&] { command->setIndirectBuffer(vertices.get()); },
         "Command::setIndirectBuffer(): invalid buffer: points buffer (120 B Vertex) needs the flag Indirect"},
        {[&] { command->drawArraysIndirect(vertices.get(), 0, 1); },
         "Command::drawArraysIndirect(): invalid buffer: points buffer (120 B Vertex) needs the flag Indirect"},
        // surfaces, tracings, texels, tables
        {[&] { compute->setSurfaceTexture(0, texture.get()); },
         "Compute::setSurfaceTexture(): invalid texture: stars texture (2D RGBAu8n 16x16 m5 Mipmaps) needs the flag "
         "Surface"},
        {[&] { compute->setSurfaceTexture(0, image.get(), Slice(Mipmap(0, 2))); },
         "Compute::setSurfaceTexture(): invalid slice of image texture: 2 mipmaps, 1 is written"},
        {[&] { compute->setSurfaceTexture(0, image.get(), Slice(), FormatRGBAf32); },
         "Compute::setSurfaceTexture(): invalid format RGBAf32: image texture is of RGBAu8n"},
        {[&] { compute->setTracing(0, geometry.get()); },
         "Compute::setTracing(): invalid tracing: rock tracing (Geometry 1) has no instances"},
        {[&] { compute->setTexelBuffer(0, uniform.get()); },
         "Compute::setTexelBuffer(): invalid buffer: params buffer (1.0 KB Uniform) needs the flag Texel"},
        {[&] { compute->setTextureTable(1, images.get()); },
         "Compute::setTextureTable(): invalid table type: table 1 of mix kernel is of storage buffers"},
        {[&] { compute->setStorageTable(0, buffers.get()); },
         "Compute::setStorageTable(): invalid table type: table 0 of mix kernel is of textures"},
        {[&] { compute->setTextureTable(0, images.get()); },
         "Compute::setTextureTable(): invalid table size 8: table 0 of mix kernel has 4"},
        // values
        {[&] { command->setViewport(0, Viewport(0.0f, 8.0f)); },
         "Command::setViewport(): invalid viewport 0x8 0-1: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setViewport(0, Viewport(0.0f, 0.0f, 8.0f, 8.0f, 0.0f, 2.0f)); },
         "Command::setViewport(): invalid viewport 8x8 0-2: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setViewport(0, Viewport(std::nanf(""), 8.0f)); },
         "Command::setViewport(): invalid viewport nanx8 0-1: sizes above 0 and depths in 0-1 are needed"},
        {[&] { command->setScissor(0, Scissor(-1, 0, 4, 4)); },
         "Command::setScissor(): invalid scissor -1,0 4x4: no negative values are allowed"},
        {[&] { command->setScissor(0, Scissor(INT32_MAX, 0, 4, 4)); },
         "Command::setScissor(): invalid scissor 2147483647,0 4x4: no negative values are allowed"},
        {[&] { command->setStencilRef(256); },
         "Command::setStencilRef(): invalid stencil reference 256: the limit is 255"},
        {[&] { command->setVertexBuffer(0, vertices.get(), 2); },
         "Command::setVertexBuffer(): invalid vertex offset 2: a multiple of 4 is needed for points buffer"},
        {[&] { command->setVertexBuffer(0, vertices.get(), 120); },
         "Command::setVertexBuffer(): invalid vertex range 120-120: points buffer has 120 bytes"},
        {[&] { command->setVertexOffset(0, SIZE_MAX, true); },
         "Command::setVertexOffset(): invalid vertex range 18446744073709551615-18446744073709551615: points buffer "
         "has 120 bytes"},
        {[&] { command->setIndexBuffer(FormatRu16, nullptr), command->setIndexOffset(2); },
         "Command::setIndexOffset(): index buffer is null"},
        {[&] { command->setIndexOffset(1); },
         "Command::setIndexOffset(): invalid index offset 1: a multiple of 2 is needed for triangles buffer"},
        {[&] { command->setVertexData(0, nullptr, 4); }, "Command::setVertexData(): data is null"},
        {[&] { command->getIndexData(FormatRu32, 0); }, "Command::getIndexData(): invalid index size 0"},
        {[&] { command->drawArraysIndirect(2, 8); },
         "Command::drawArraysIndirect(): invalid stride 8: a multiple of 4 is needed, and 16 at least"},
        {[&] { command->drawArraysIndirect(indirect.get(), 2, 1); },
         "Command::drawArraysIndirect(): invalid indirect offset 2: a multiple of 4 is needed"},
        {[&] { command->drawArraysIndirect(indirect.get(), 64, 1); },
         "Command::drawArraysIndirect(): invalid indirect offset 64: records buffer has 64 bytes"},
        {[&] { command->setIndirectBuffer(nullptr), command->drawArraysIndirect(1); },
         "Command::drawArraysIndirect(): indirect buffer is null"},
        {[&] { command->drawMesh(1); }, "Command::drawMesh(): invalid pipeline: sky pipeline has no mesh shader"},
        {[&] { command->setPipeline(mesh.get()), command->drawArrays(3); },
         "Command::drawArrays(): invalid pipeline: grass pipeline has a mesh shader"},
        // conditions, queries, targets, barriers
        {[&] { command->beginConditional(vertices.get(), 0); },
         "Command::beginConditional(): invalid buffer: points buffer (120 B Vertex) needs the flag Conditional"},
        {[&] { command->beginConditional(condition.get(), 16); },
         "Command::beginConditional(): invalid offset 16: condition buffer has 16 bytes"},
        {[&] { command->endConditional(); }, "Command::endConditional(): is not conditional"},
        {[&] { command->endQuery(query.get()); }, "Command::endQuery(): visible query is not begun"},
        {[&] { command->beginQuery(query.get()), compute->beginQuery(query.get()); },
         "Compute::beginQuery(): visible query is already begun"},
        {[&] { device.createCommand(idle.get()); }, "Device::createCommand(): target is not enabled"},
        {[&] { device.createCommand(nullptr); }, "Device::createCommand(): target is null"},
        {[&] { compute->barrier(none, 1); }, "Compute::barrier(): texture is null"},
        {[&] { compute->copyTexture(image.get(), texture.get()); },
         "Compute::copyTexture(): invalid src texture: stars texture (2D RGBAu8n 16x16 m5 Mipmaps) needs the flag "
         "Source"},
        {[&] { device.setTexture(texture.get(), Image()); }, "Device::setTexture(): target is enabled"},
        {[&] { device.setBuffer(data.get(), 0, "1234", 4); }, "Device::setBuffer(): target is enabled"},
        {[&] { device.getBuffer(data.get(), 0, data.get(), 4); }, "Device::getBuffer(): target is enabled"},
        {[&] { device.copyBuffer(data.get(), 0, data.get(), 64, 64); }, "Device::copyBuffer(): target is enabled"},
        {[&] { device.clearBuffer(data.get()); }, "Device::clearBuffer(): target is enabled"},
        {[&] { device.createMipmaps(texture.get()); }, "Device::createMipmaps(): target is enabled"},
    };
    rows.insert(rows.end(), std::begin(list), std::end(list));
}

void RecorderMisuse::add_compute_rows() {
    const Row list[] = {
        // no kernel
        {[&] { empty_filter->dispatch(1, 1, 1); }, "Compute::dispatch(): kernel is null"},
        {[&] { empty_filter->dispatchIndirect(); }, "Compute::dispatchIndirect(): kernel is null"},
        {[&] { empty_filter->setUniformBuffer(0, block.get()); }, "Compute::setUniformBuffer(): kernel is null"},
        {[&] { empty_filter->getStorageData(0, 4); }, "Compute::getStorageData(): kernel is null"},
        {[&] { empty_filter->setIndirectBuffer(groups.get()); }, "Compute::setIndirectBuffer(): kernel is null"},
        {[&] { empty_filter->setTexelBuffer(0, block.get()); }, "Compute::setTexelBuffer(): kernel is null"},
        {[&] { filter->setKernel(pending_kernel.get()); }, "Compute::setKernel(): unnamed kernel is not created"},
        // index
        {[&] { filter->setUniformBuffer(2, block.get()); },
         "Compute::setUniformBuffer(): invalid uniform index 2: blur kernel has 2"},
        {[&] { filter->setStorageData(~0u, "1", 1); },
         "Compute::setStorageData(): invalid storage index 4294967295: blur kernel has 2"},
        {[&] { filter->setUniformBuffers(0, blocks, 3); },
         "Compute::setUniformBuffers(): invalid uniform range 0-3: blur kernel has 2"},
        {[&] { filter->setUniformBuffers(~0u, blocks, 3); },
         "Compute::setUniformBuffers(): invalid uniform range 4294967295-4294967298: blur kernel has 2"},
        {[&] { filter->setTexelBuffer(0, block.get()); },
         "Compute::setTexelBuffer(): invalid texel index 0: blur kernel has 0"},
        // buffer
        {[&] { filter->setUniformBuffer(0, data.get()); },
         "Compute::setUniformBuffer(): invalid buffer: data buffer (1.0 KB Source Storage) needs the flag Uniform"},
        {[&] { filter->setStorageBuffer(0, block.get()); },
         "Compute::setStorageBuffer(): invalid buffer: block buffer (1.0 KB Uniform) needs the flag Storage"},
        {[&] { filter->setIndirectBuffer(data.get()); },
         "Compute::setIndirectBuffer(): invalid buffer: data buffer (1.0 KB Source Storage) needs the flag Indirect"},
        {[&] { filter->setStorageBuffer(0, fresh_buffer.get()); },
         "Compute::setStorageBuffer(): unnamed buffer is not created"},
        {[&] { filter->setStorageBuffer(0, foreign_buffer.get()); },
         "Compute::setStorageBuffer(): invalid platform: unnamed buffer is of Cuda"},
        {[&] { filter->barrier(static_cast<Buffer *>(nullptr)); }, "Compute::barrier(): buffer is null"},
        {[&] { filter->copyBuffer(data.get(), 0, nullptr, 0, 4); }, "Compute::copyBuffer(): buffer is null"},
        // data
        {[&] { filter->setUniformData(0, nullptr, 4); }, "Compute::setUniformData(): data is null"},
        {[&] { filter->getUniformData(0, 0); }, "Compute::getUniformData(): invalid uniform size 0"},
        {[&] { filter->getUniformData(0, max_uniform + 1); }, "Compute::getUniformData(): invalid uniform size " +
                                                                  std::to_string(max_uniform + 1) + ": the limit is " +
                                                                  std::to_string(max_uniform)},
        {[&] { filter->setBuffer(data.get(), 0, nullptr, 4); }, "Compute::setBuffer(): data is null"},
        // range
        {[&] { filter->setUniformBuffer(0, block.get(), uniform_alignment / 2, 64); },
         "Compute::setUniformBuffer(): invalid uniform offset " + std::to_string(uniform_alignment / 2) +
             ": a multiple of " + std::to_string(uniform_alignment) + " is needed for block buffer"},
        {[&] { filter->setStorageBuffer(0, data.get(), storage_alignment / 2); },
         "Compute::setStorageBuffer(): invalid storage offset " + std::to_string(storage_alignment / 2) +
             ": a multiple of " + std::to_string(storage_alignment) + " is needed for data buffer"},
        {[&] { filter->setUniformBuffer(0, block.get(), 64, 1024); },
         "Compute::setUniformBuffer(): invalid uniform range 64-1088: block buffer has 1024 bytes"},
        {[&] { filter->setStorageBuffer(0, data.get(), 1024); },
         "Compute::setStorageBuffer(): invalid storage range 1024-1024: data buffer has 1024 bytes"},
        {[&] { filter->setStorageOffset(0, SIZE_MAX, true); },
         "Compute::setStorageOffset(): invalid storage range 18446744073709551615-18446744073709551615: data buffer "
         "has 1024 "
         "bytes"},
        {[&] { filter->setIndirectOffset(0); }, "Compute::setIndirectOffset(): indirect buffer 0 is null"},
        {[&] { filter->setIndirectBuffer(groups.get(), 2); },
         "Compute::setIndirectBuffer(): invalid indirect offset 2: a multiple of 4 is needed for groups buffer"},
        {[&] {
             filter->setIndirectBuffer(groups.get(), 12);
             filter->dispatchIndirect();
         },
         "Compute::dispatchIndirect(): invalid indirect size 12: 16 bytes are read"},
        {[&] { filter->dispatchIndirect(); }, "Compute::dispatchIndirect(): indirect buffer is null"},
        // conditions
        {[&] { filter->beginConditional(data.get(), 0); },
         "Compute::beginConditional(): invalid buffer: data buffer (1.0 KB Source Storage) needs the flag Conditional"},
        {[&] { filter->beginConditional(condition.get(), 2); },
         "Compute::beginConditional(): invalid offset 2: a multiple of 4 is needed"},
        {[&] { filter->beginConditional(condition.get(), 16); },
         "Compute::beginConditional(): invalid offset 16: condition buffer has 16 bytes"},
        {[&] {
             filter->beginConditional(condition.get(), 0);
             filter->beginConditional(condition.get(), 0);
         },
         "Compute::beginConditional(): is already conditional"},
        {[&] { filter->endConditional(); }, "Compute::endConditional(): is not conditional"},
    };
    rows.insert(rows.end(), std::begin(list), std::end(list));
}
