#include "DeviceWork.h"

#include <memory>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "KolmImage.h"
#include "VKBuffer.h"
#include "VKBufferTable.h"
#include "VKCommand.h"
#include "VKCompute.h"
#include "VKFence.h"
#include "VKPipeline.h"
#include "VKQuery.h"
#include "VKSampler.h"
#include "VKTarget.h"
#include "VKTexture.h"
#include "VKTextureTable.h"
#include "VKTracing.h"
#include "VKTraversal.h"

using namespace Kolm;

namespace {

template<class Type> using Ptr = std::unique_ptr<Type>;
using Words = std::vector<uint32_t>;

const Buffer::Flags storage_flags = Buffer::FlagStorage | Buffer::FlagSource;
const Texture::Flags target_flags = Texture::FlagTarget | Texture::FlagSource;

Ptr<Buffer> create_buffer(Device &device, Buffer::Flags flags, const Words &words) {
    return Ptr<Buffer>(device.createBuffer(flags, words.data(), words.size() * 4));
}

/// Whether the buffer holds the words.
bool has_words(Device &device, Buffer *buffer, const Words &expected) {
    Words words(expected.size(), 0xDEADBEEF);
    return device.getBuffer(buffer, 0, words.data(), words.size() * 4) && words == expected;
}

/// Whether all pixels of the first level are \p value.
bool has_pixels(Device &device, Texture *texture, uint32_t value) {
    Image image;
    if(!image.create2D(texture->getFormat(), texture->getSize()) ||
       !device.getTexture(texture, Slice(), image, Slice()))
        return false;
    for(size_t i = 0; i < image.getDataSize(); i += 4) {
        uint32_t pixel = 0;
        memcpy(&pixel, image.getData() + i, 4);
        if(pixel != value) return false;
    }
    return true;
}

Ptr<Kernel> create_kernel(Device &device, const char *text, uint32_t num_storages) {
    Ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setStorages(num_storages);
    if(!kernel->createShaderGLSL(text) || !kernel->create()) kernel.reset();
    return kernel;
}

/// Runs a kernel of one storage buffer over \p input and compares what it left.
bool run_kernel(Device &device, const char *text, const Words &input, const Words &expected) {
    Ptr<Kernel> kernel = create_kernel(device, text, 1);
    Ptr<Buffer> buffer = create_buffer(device, storage_flags, input);
    if(!kernel || !buffer) return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->dispatch(1);
    compute.reset();
    return has_words(device, buffer.get(), expected);
}

// buffers and textures

bool copy_buffers(VKDevice &device) {
    Words words(1000);
    for(uint32_t i = 0; i < words.size(); i++) words[i] = i * 77;
    Ptr<Buffer> src = create_buffer(device, Buffer::FlagSource, words);
    Ptr<Buffer> dest(device.createBuffer(Buffer::FlagSource, words.size() * 4));
    if(!src || !dest || !device.clearBuffer(dest.get()) || !device.copyBuffer(dest.get(), src.get())) return false;
    words[3] = 5;
    return device.setBuffer(dest.get(), 12, &words[3], 4) && has_words(device, dest.get(), words);
}

bool map_buffers(VKDevice &device) {
    Ptr<Buffer> src(device.createBuffer(Buffer::FlagWrite | Buffer::FlagSource, 4096));
    Ptr<Buffer> dest(device.createBuffer(Buffer::FlagRead, 4096));
    if(!src || !dest) return false;
    void *data = device.mapBuffer(src.get());
    if(data == nullptr) return false;
    memset(data, 0x5A, 4096);
    if(!device.unmapBuffer(src.get()) || !device.copyBuffer(dest.get(), src.get()) || !device.finish()) return false;
    const uint8_t *bytes = static_cast<const uint8_t *>(device.mapBuffer(dest.get()));
    const bool status = (bytes && bytes[0] == 0x5A && bytes[4095] == 0x5A);
    return (bytes && device.unmapBuffer(dest.get())) && status;
}

bool share_buffer(VKDevice &device) {
    Ptr<Buffer> buffer(device.createBuffer(Buffer::FlagShared | Buffer::FlagSource, 4096));
    if(!buffer) return false;
    Ptr<Buffer> second(device.createBuffer(buffer.get()));
    const uint32_t value = 9;
    return second && device.clearBuffer(buffer.get(), FormatRu32, &value) && device.finish() &&
           has_words(device, second.get(), Words(1024, 9));
}

bool fill_textures(VKDevice &device) {
    Ptr<Texture> texture(device.createTexture2D(FormatRGBAu8n, 32, Texture::FlagMipmaps | Texture::FlagSource));
    Ptr<Texture> copy(device.createTexture2D(FormatRGBAu8n, 32, Texture::FlagSource));
    if(!texture || !copy) return false;
    const uint32_t value = 0x40302010;
    Image image;
    if(!image.create2D(FormatRGBAu8n, 32, 32)) return false;
    for(size_t i = 0; i < image.getDataSize(); i += 4) memcpy(image.getData() + i, &value, 4);
    if(!device.setTexture(texture.get(), Origin(), Slice(), image, Slice()) || !device.createMipmaps(texture.get()))
        return false;
    return device.copyTexture(copy.get(), Origin(), Slice(), texture.get(), Region(32, 32), Slice()) &&
           has_pixels(device, copy.get(), value) && device.clearTexture(copy.get(), &value);
}

// kernels

constexpr const char *add_text = R"(#version 450
    layout(local_size_x = 4) in;
    layout(std430, binding = 0) buffer Data { uint data[]; };
    void main() { data[gl_GlobalInvocationID.x] += 1u; })";

bool add_numbers(VKDevice &device) { return run_kernel(device, add_text, {1, 2, 3, 4}, {2, 3, 4, 5}); }

// Every kind of slot but tracings and tables.
bool read_slots(VKDevice &device) {
    Ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setSamplers(1).setTextures(1).setSurfaces(1).setSurfaceOffset(1);
    kernel->setUniforms(1).setStorages(1).setStorageOffset(1);
    kernel->addTexel();
    if(!kernel->createShaderGLSL(R"(#version 450
        layout(local_size_x = 8, local_size_y = 8) in;
        layout(set = 0, binding = 0) uniform sampler s_sampler;
        layout(set = 1, binding = 0) uniform texture2D s_texture;
        layout(set = 1, binding = 1, rgba8) uniform writeonly image2D s_surface;
        layout(std140, set = 2, binding = 0) uniform Params { vec4 color; };
        layout(std430, set = 2, binding = 1) buffer Data { uint data[]; };
        layout(set = 3, binding = 0) uniform utextureBuffer s_texels;
        void main() {
            uvec2 id = gl_GlobalInvocationID.xy;
            vec4 value = textureLod(sampler2D(s_texture, s_sampler), (vec2(id) + 0.5) / 8.0, 0.0);
            imageStore(s_surface, ivec2(id), value + color);
            if(id.x + id.y == 0u) data[0] = texelFetch(s_texels, 1).x;
        })") ||
       !kernel->create())
        return false;
    Ptr<Sampler> sampler(device.createSampler(Sampler::FilterLinear));
    Ptr<Texture> texture(device.createTexture2D(FormatRGBAu8n, 8, Texture::FlagNone));
    Ptr<Texture> surface(device.createTexture2D(FormatRGBAu8n, 8, Texture::FlagSurface | Texture::FlagSource));
    const uint32_t texel_words[] = {3, 44};
    Ptr<Buffer> texels(device.createBuffer(Buffer::FlagTexel, texel_words, sizeof(texel_words), FormatRu32));
    Ptr<Buffer> data = create_buffer(device, storage_flags, {0});
    const uint32_t value = 0x20202020;
    if(!sampler || !texture || !surface || !texels || !data || !device.clearTexture(texture.get(), &value))
        return false;
    const float color[] = {32.0f / 255.0f, 0.0f, 0.0f, 0.0f};
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setSampler(0, sampler.get());
    compute->setTexture(0, texture.get());
    compute->setSurfaceTexture(0, surface.get());
    compute->setUniform(0, color);
    compute->setStorageBuffer(0, data.get());
    compute->setTexelBuffer(0, texels.get());
    compute->dispatch(8, 8);
    compute.reset();
    return has_words(device, data.get(), {44}) && has_pixels(device, surface.get(), 0x20202040);
}

// A module without the extension line is another one: each of these needs what its name tells.
template<uint32_t index> bool run_types(VKDevice &device) {
    static constexpr const char *texts[] = {
        R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { float16_t x = float16_t(float(data)); x *= float16_t(2.0); data = uint(float(x)) - 4u; })",
        R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { uint16_t x = uint16_t(data); x += uint16_t(65535u); data = uint(x); })",
        R"(#version 450
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { double x = double(data); data = uint(x * 2.0lf) - 4u; })",
        R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { uint64_t x = uint64_t(data) << 40; data = uint(x >> 40) - 1u; })",
        R"(#version 450
        #extension GL_EXT_shader_16bit_storage : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint16_t data[2]; };
        void main() { data[0] = data[1]; data[0] = uint16_t(uint(data[1]) + 2u); })",
        R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types : require
        #extension GL_EXT_shader_atomic_int64 : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint64_t data; };
        void main() { atomicAdd(data, uint64_t(0) - uint64_t(1)); })",
        R"(#version 450
        #extension GL_EXT_shader_atomic_float : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; float value; };
        void main() { atomicAdd(value, 1.0); data -= 1u; })",
        R"(#version 450
        #extension GL_KHR_shader_subgroup_arithmetic : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { data = subgroupAdd(data) - 1u; })",
        R"(#version 450
        #extension GL_KHR_shader_subgroup_vote : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { if(subgroupAll(data == 3u)) data = 2u; })",
        R"(#version 450
        #extension GL_KHR_shader_subgroup_shuffle : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        void main() { data = subgroupShuffle(data, 0u) - 1u; })",
        R"(#version 450
        #extension GL_EXT_shader_explicit_arithmetic_types : require
        #extension GL_EXT_shader_atomic_int64 : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        shared uint64_t sum;
        void main() { sum = uint64_t(data); atomicAdd(sum, uint64_t(0) - uint64_t(1)); data = uint(sum); })",
        R"(#version 450
        #extension GL_EXT_shader_atomic_float : require
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data; };
        shared float sum;
        void main() { sum = float(data); atomicAdd(sum, -1.0); data = uint(sum); })",
    };
    // Two words: 3 becomes 2, and the second is 0 or what the text makes of it.
    return run_kernel(device, texts[index], {3, 0}, {2, index == 6 ? 0x3F800000u : 0});
}

bool run_condition(VKDevice &device) {
    Ptr<Kernel> kernel = create_kernel(device, add_text, 1);
    Ptr<Buffer> data = create_buffer(device, storage_flags, {1, 2, 3, 4});
    Ptr<Buffer> condition = create_buffer(device, Buffer::FlagConditional, {0, 1});
    if(!kernel || !data || !condition) return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    for(uint32_t i = 0; i < 2; i++) {
        compute->beginConditional(condition.get(), i * 4);
        compute->dispatch(4);
        compute->endConditional();
    }
    compute.reset();
    return has_words(device, data.get(), {2, 3, 4, 5});
}

// drawing

struct Stage {
    Shader::Type type;
    const char *text;
};

constexpr const char *cover_vertex = R"(#version 450
    void main() {
        vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
        gl_Position = vec4(p.x - 1.0, 1.0 - p.y, 0.25, 1.0);
    })";
constexpr const char *white_fragment = R"(#version 450
    layout(location = 0) out vec4 out_color;
    void main() { out_color = vec4(1.0); })";

void describe_nothing(Pipeline &) {}
bool draw_arrays(Command &command) {
    command.drawArrays(3);
    return true;
}

/// Draws over a black picture with \p draw, and tells whether all of it is white.
bool draw_white(VKDevice &device, const std::vector<Stage> &stages, void (*describe)(Pipeline &) = describe_nothing,
                bool (*draw)(Command &) = draw_arrays) {
    Ptr<Pipeline> pipeline(device.createPipeline());
    pipeline->setColorFormat(FormatRGBAu8n);
    describe(*pipeline);
    for(const Stage &stage : stages) {
        if(!pipeline->createShaderGLSL(stage.type, stage.text)) return false;
    }
    if(!pipeline->create()) return false;
    Ptr<Texture> color(device.createTexture2D(FormatRGBAu8n, 16, target_flags));
    if(!color) return false;
    Ptr<Target> target(device.createTarget({color.get()}));
    if(!target || !target->begin()) return false;
    Ptr<Command> command(device.createCommand(target.get()));
    bool status = false;
    if(command) {
        command->setPipeline(pipeline.get());
        status = draw(*command);
    }
    command.reset();
    return target->end() && status && has_pixels(device, color.get(), ~0u);
}

bool draw_triangle(VKDevice &device) {
    return draw_white(device, {{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, white_fragment}});
}

// Vertices, indices, uniform data, a texture and records of draws from transient memory.
bool draw_vertices(VKDevice &device) {
    return draw_white(
        device,
        {{Shader::TypeVertex, R"(#version 450
            layout(location = 0) in vec2 in_position;
            layout(std140, binding = 0) uniform Params { vec4 offset; };
            void main() { gl_Position = vec4(in_position, 0.0, 1.0) + offset; })"},
         {Shader::TypeFragment, white_fragment}},
        [](Pipeline &p) {
            p.addAttribute(Pipeline::AttributePosition, FormatRGf32, 0, 0, 8);
            p.addUniform(Shader::MaskVertex);
        },
        [](Command &command) {
            const float offset[4] = {-1.0f, 0.0f, 0.0f, 0.0f};
            const float positions[] = {0.0f, 1.0f, 4.0f, 1.0f, 0.0f, -3.0f};
            command.setUniform(0, offset);
            command.setVertexData(0, positions, sizeof(positions));
            command.setIndices({0, 1, 2});
            const Command::DrawElementsIndirect records[] = {{3, 1, 0, 0, 0}, {0, 0, 0, 0, 0}};
            command.setIndirectData(records, sizeof(records));
            command.drawElementsIndirect(2);
            return true;
        });
}

bool draw_indices_of_draws(VKDevice &device) {
    return draw_white(device, {{Shader::TypeVertex, R"(#version 460
            void main() {
                vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
                gl_Position = vec4(p.x - 1.0, 1.0 - p.y, float(gl_DrawID + gl_BaseInstance), 1.0);
            })"},
                               {Shader::TypeFragment, white_fragment}});
}

bool draw_geometry(VKDevice &device) {
    return draw_white(device,
                      {{Shader::TypeVertex, "#version 450\nvoid main() { gl_Position = vec4(0.0, 0.0, 0.0, 1.0); }"},
                       {Shader::TypeGeometry, R"(#version 450
            layout(points) in;
            layout(triangle_strip, max_vertices = 3) out;
            void main() {
                for(int i = 0; i < 3; i++) {
                    gl_Position = vec4(float((i & 1) * 4) - 1.0, 1.0 - float((i >> 1) * 4), 0.0, 1.0);
                    EmitVertex();
                }
                EndPrimitive();
            })"},
                       {Shader::TypeFragment, white_fragment}},
                      [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitivePoint); });
}

bool draw_patches(VKDevice &device) {
    return draw_white(device,
                      {{Shader::TypeVertex, cover_vertex},
                       {Shader::TypeControl, R"(#version 450
            layout(vertices = 3) out;
            void main() {
                gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;
                gl_TessLevelOuter[0] = 1.0;
                gl_TessLevelOuter[1] = 1.0;
                gl_TessLevelOuter[2] = 1.0;
                gl_TessLevelInner[0] = 1.0;
            })"},
                       {Shader::TypeEvaluate, R"(#version 450
            layout(triangles, equal_spacing, ccw) in;
            void main() {
                gl_Position = gl_in[0].gl_Position * gl_TessCoord.x + gl_in[1].gl_Position * gl_TessCoord.y +
                              gl_in[2].gl_Position * gl_TessCoord.z;
            })"},
                       {Shader::TypeFragment, white_fragment}},
                      [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitiveTrianglePatch); });
}

bool draw_mesh(VKDevice &device) {
    return draw_white(device,
                      {{Shader::TypeMesh, R"(#version 450
            #extension GL_EXT_mesh_shader : require
            layout(local_size_x = 3) in;
            layout(triangles, max_vertices = 3, max_primitives = 1) out;
            void main() {
                uint i = gl_LocalInvocationIndex;
                SetMeshOutputsEXT(3u, 1u);
                vec2 p = vec2(float((i & 1u) * 4u), float((i >> 1u) * 4u));
                gl_MeshVerticesEXT[i].gl_Position = vec4(p.x - 1.0, 1.0 - p.y, 0.0, 1.0);
                if(i == 0u) gl_PrimitiveTriangleIndicesEXT[0] = uvec3(0u, 1u, 2u);
            })"},
                       {Shader::TypeFragment, white_fragment}},
                      describe_nothing, [](Command &command) {
                          command.drawMesh(1);
                          return true;
                      });
}

bool draw_blended(VKDevice &device) {
    return draw_white(
        device, {{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, R"(#version 450
            layout(location = 0, index = 0) out vec4 out_color;
            layout(location = 0, index = 1) out vec4 out_factor;
            void main() { out_color = vec4(1.0); out_factor = vec4(1.0); })"}},
        [](Pipeline &p) { p.setBlend(Pipeline::BlendOpAdd, Pipeline::BlendFuncSrc1Color, Pipeline::BlendFuncZero); });
}

/// Whether a pipeline with something beyond the usual state can be created.
bool create_pipeline(VKDevice &device, void (*describe)(Pipeline &)) {
    Ptr<Pipeline> pipeline(device.createPipeline());
    pipeline->setColorFormat(FormatRGBAu8n);
    describe(*pipeline);
    return pipeline->createShaderGLSL(Shader::TypeVertex, cover_vertex) &&
           pipeline->createShaderGLSL(Shader::TypeFragment, white_fragment) && pipeline->create();
}
bool fill_lines(VKDevice &device) {
    return create_pipeline(device, [](Pipeline &p) { p.setFillMode(Pipeline::FillModeLine); });
}
bool clamp_depth(VKDevice &device) {
    return create_pipeline(device, [](Pipeline &p) { p.setDepthClip(false); });
}

bool clear_cubes(VKDevice &device) {
    Ptr<Texture> texture(device.createTextureCube(FormatRGBAu8n, 8, 3, Texture::FlagSource));
    const uint32_t value = 0x11223344;
    return texture && device.clearTexture(texture.get(), &value) && has_pixels(device, texture.get(), value);
}

// Colour and depth of four samples, both resolved.
bool resolve_samples(VKDevice &device) {
    const Texture::Flags flags = target_flags | Texture::FlagMultisample4;
    Ptr<Texture> color(device.createTexture2D(FormatRGBAu8n, 16, flags));
    Ptr<Texture> depth(device.createTexture2D(FormatDf32, 16, flags));
    Ptr<Texture> color_resolve(device.createTexture2D(FormatRGBAu8n, 16, target_flags));
    Ptr<Texture> depth_resolve(device.createTexture2D(FormatDf32, 16, target_flags));
    if(!color || !depth || !color_resolve || !depth_resolve) return false;
    Ptr<Target> target(device.createTarget());
    target->setColorTexture(color.get(), Target::BeginClear | Target::EndResolve);
    target->setColorResolve(color_resolve.get());
    target->setDepthTexture(depth.get(), Target::BeginClear | Target::EndResolve | Target::EndDiscard);
    target->setDepthResolve(depth_resolve.get());
    target->setClearColor(Color(1.0f, 1.0f, 1.0f, 1.0f));
    target->setClearDepth(0.5f);
    return target->begin() && target->end() && has_pixels(device, color_resolve.get(), ~0u) &&
           has_pixels(device, depth_resolve.get(), 0x3F000000);
}

// Draws of a command device within a target, and a copy of another.
bool execute_commands(VKDevice &device) {
    Ptr<Device> child(device.createCommandDevice(2));
    Ptr<Device> copies(device.createCommandDevice(2));
    Ptr<Pipeline> pipeline(device.createPipeline());
    pipeline->setColorFormat(FormatRGBAu8n);
    Ptr<Buffer> buffer(device.createBuffer(Buffer::FlagSource, 64));
    Ptr<Texture> color(device.createTexture2D(FormatRGBAu8n, 16, target_flags));
    if(!child || !copies || !color || !buffer || !pipeline->createShaderGLSL(Shader::TypeVertex, cover_vertex) ||
       !pipeline->createShaderGLSL(Shader::TypeFragment, white_fragment) || !pipeline->create())
        return false;
    const uint32_t value = 6;
    if(!copies->clearBuffer(buffer.get(), FormatRu32, &value) || !device.execute(copies.get())) return false;
    Ptr<Target> target(device.createTarget({color.get()}));
    if(!target->begin()) return false;
    bool status = false;
    if(Ptr<Command> command{child->createCommand(target.get())}) {
        command->setPipeline(pipeline.get());
        command->drawArrays(3);
        status = true;
    }
    status = status && device.execute(child.get());
    return target->end() && status && device.flip() && child->flip() && copies->flip() &&
           has_pixels(device, color.get(), ~0u) && has_words(device, buffer.get(), Words(16, 6));
}

bool use_sub_devices(VKDevice &device) {
    for(const bool is_copy : {false, true}) {
        Ptr<Device> child(is_copy ? device.createCopyDevice(2) : device.createComputeDevice(2));
        if(!child) return false;
        Ptr<Buffer> buffer(child->createBuffer(Buffer::FlagSource, 64));
        const uint32_t value = 7;
        if(!buffer || !child->clearBuffer(buffer.get(), FormatRu32, &value) || !child->flip() ||
           !has_words(*child, buffer.get(), Words(16, 7)))
            return false;
    }
    return true;
}

// rays

/// One triangle over the whole square from -1 to 1 as a scene of one instance.
struct Scene {
    Ptr<Buffer> vertices, instances, scratch;
    Ptr<Tracing> mesh, scene;

    bool create(VKDevice &device) {
        const float positions[] = {-1.0f, -1.0f, 0.0f, 3.0f, -1.0f, 0.0f, -1.0f, 3.0f, 0.0f};
        mesh.reset(
            device.createTracing(3, FormatRGBf32, 12, 0, FormatUnknown, Tracing::DefaultFlags | Tracing::FlagCompact));
        if(!mesh) return false;
        vertices.reset(device.createBuffer(Buffer::FlagTracing, positions, sizeof(positions)));
        instances.reset(device.createBuffer(Buffer::FlagTracing, Tracing::InstanceSize));
        if(!vertices || !instances) return false;
        mesh->setVertexBuffer(0, vertices.get());
        scene.reset(device.createTracing(1, instances.get(), 0));
        if(!scene) return false;
        scratch.reset(device.createBuffer(Buffer::FlagScratch, mesh->getBuildSize() + scene->getBuildSize()));
        if(!scratch || !device.buildTracing(mesh.get(), scratch.get(), 0) || !device.compactTracing(mesh.get()))
            return false;
        Tracing::Instance instance;
        instance.tracing = mesh.get();
        return device.setTracing(scene.get(), &instance, 1) && device.buildTracing(scene.get(), scratch.get(), 0);
    }
};

bool query_rays(VKDevice &device) {
    Scene scene;
    Ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setStorages(1);
    kernel->addTracing();
    Ptr<Buffer> data = create_buffer(device, storage_flags, {0, 0, 0, 0});
    if(!data || !kernel->createShaderGLSL(R"(#version 460
        #extension GL_EXT_ray_query : require
        layout(local_size_x = 4) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
        void main() {
            rayQueryEXT query;
            float x = float(gl_GlobalInvocationID.x) - 0.5;
            rayQueryInitializeEXT(query, scene, gl_RayFlagsOpaqueEXT, 0xFFu, vec3(x, 0.1, 1.0), 0.0,
                vec3(0.0, 0.0, -1.0), 10.0);
            while(rayQueryProceedEXT(query)) {}
            data[gl_GlobalInvocationID.x] = rayQueryGetIntersectionTypeEXT(query, true);
        })") ||
       !kernel->create() || !scene.create(device))
        return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->setTracing(0, scene.scene.get());
    compute->dispatch(4);
    compute.reset();
    return has_words(device, data.get(), {1, 1, 1, 0});
}

bool trace_rays(VKDevice &device) {
    static constexpr const char *head = "#version 460\n#extension GL_EXT_ray_tracing : require\n";
    static constexpr struct {
        Shader::Type type;
        const char *text;
    } stages[] = {
        {Shader::TypeRayGen, R"(
            layout(std430, binding = 0) buffer Data { uint data[]; };
            layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
            layout(location = 0) rayPayloadEXT uint payload;
            void main() {
                payload = 7u;
                traceRayEXT(scene, gl_RayFlagsOpaqueEXT, 0xFFu, 0u, 1u, 0u,
                    vec3(float(gl_LaunchIDEXT.x) - 0.5, 0.1, 1.0), 0.0, vec3(0.0, 0.0, -1.0), 10.0, 0);
                data[gl_LaunchIDEXT.x] = payload;
            })"},
        {Shader::TypeRayMiss, "layout(location = 0) rayPayloadInEXT uint payload; void main() { payload = 0u; }"},
        {Shader::TypeClosest, "layout(location = 0) rayPayloadInEXT uint payload; void main() { payload = 1u; }"},
    };
    Scene scene;
    Ptr<Traversal> traversal(device.createTraversal());
    traversal->setStorageMask(0, Shader::MaskTracing);
    traversal->setTracingMask(0, Shader::MaskTracing);
    for(const auto &stage : stages) {
        if(!traversal->createShaderGLSL(stage.type, (std::string(head) + stage.text).c_str())) return false;
    }
    Ptr<Buffer> data = create_buffer(device, storage_flags, {9, 9, 9, 9});
    if(!data || !traversal->create() || !scene.create(device)) return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setTraversal(traversal.get());
    compute->setStorageBuffer(0, data.get());
    compute->setTracing(0, scene.scene.get());
    compute->dispatch(4);
    compute.reset();
    return has_words(device, data.get(), {1, 1, 1, 0});
}

// tables and sparse memory

bool read_buffer_table(VKDevice &device) {
    Ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setStorages(1);
    kernel->addTable(Kernel::TableTypeStorage, 4);
    Ptr<BufferTable> table(device.createBufferTable(4));
    Ptr<Buffer> data = create_buffer(device, storage_flags, {0, 0, 0, 0});
    Ptr<Buffer> entry = create_buffer(device, storage_flags, {5, 6, 7, 8});
    if(!table || !data || !entry || !kernel->createShaderGLSL(R"(#version 450
        #extension GL_EXT_nonuniform_qualifier : require
        layout(local_size_x = 4) in;
        layout(std430, set = 0, binding = 0) buffer Data { uint data[]; };
        layout(std430, set = 1, binding = 0) readonly buffer Entry { uint values[]; } entries[4];
        void main() {
            uint id = gl_GlobalInvocationID.x;
            data[id] = entries[nonuniformEXT(data[id] + 2u)].values[id];
        })") ||
       !kernel->create() || !device.setBufferTable(table.get(), 2, entry.get()))
        return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->setStorageTable(0, table.get());
    compute->dispatch(4);
    compute.reset();
    return has_words(device, data.get(), {5, 6, 7, 8}) && device.finish();
}

bool read_texture_table(VKDevice &device) {
    Ptr<Kernel> kernel(device.createKernel(nullptr));
    kernel->setStorages(1);
    kernel->addTable(Kernel::TableTypeTexture, 4);
    Ptr<TextureTable> table(device.createTextureTable(Texture::Type2D, 4));
    Ptr<Buffer> data = create_buffer(device, storage_flags, {0, 0, 0, 0});
    Ptr<Texture> entry(device.createTexture2D(FormatRu32, 4, Texture::FlagNone));
    const uint32_t value = 12;
    if(!table || !data || !entry || !device.clearTexture(entry.get(), &value) ||
       !kernel->createShaderGLSL(R"(#version 450
        #extension GL_EXT_nonuniform_qualifier : require
        layout(local_size_x = 4) in;
        layout(std430, set = 0, binding = 0) buffer Data { uint data[]; };
        layout(set = 1, binding = 0) uniform utexture2D entries[4];
        void main() {
            uint id = gl_GlobalInvocationID.x;
            data[id] = texelFetch(entries[nonuniformEXT(data[id] + 2u)], ivec2(id, 1), 0).x;
        })") ||
       !kernel->create() || !device.setTextureTable(table.get(), 2, entry.get()))
        return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->setTextureTable(0, table.get());
    compute->dispatch(4);
    compute.reset();
    return has_words(device, data.get(), {12, 12, 12, 12}) && device.finish();
}

bool bind_sparse_buffer(VKDevice &device) {
    Ptr<Buffer> buffer(device.createBuffer(Buffer::FlagSparse | Buffer::FlagSource, 16 << 20));
    if(!buffer) return false;
    const size_t page = buffer->getPageSize();
    const Words words(16, 3);
    return device.bindBuffer(buffer.get(), page * 2, page, true) &&
           device.setBuffer(buffer.get(), page * 2, words.data(), 64) &&
           [&] {
               Words result(16);
               return device.getBuffer(buffer.get(), page * 2, result.data(), 64) && result == words;
           }() &&
           device.bindBuffer(buffer.get(), page * 2, page, false) && device.finish();
}

bool bind_sparse_texture(VKDevice &device) {
    Ptr<Texture> texture(device.createTexture2D(FormatRGBAu8n, 512, Texture::FlagSparse | Texture::FlagSource));
    if(!texture) return false;
    const uint32_t value = 0x04030201;
    return device.bindTexture(texture.get(), Slice(), true) && device.clearTexture(texture.get(), &value) &&
           has_pixels(device, texture.get(), value) && device.bindTexture(texture.get(), Slice(), false) &&
           device.finish();
}

// queries and fences

template<Query::Type type> bool run_query(VKDevice &device) {
    Ptr<Query> query(device.createQuery(type));
    Ptr<Kernel> kernel = create_kernel(device, add_text, 1);
    Ptr<Buffer> data = create_buffer(device, storage_flags, {1, 2, 3, 4});
    if(!query || !kernel || !data || !device.beginQuery(query.get())) return false;
    Ptr<Compute> compute(device.createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->dispatch(4);
    compute.reset();
    return device.endQuery(query.get()) && device.finish() && query->isAvailable() &&
           has_words(device, data.get(), {2, 3, 4, 5});
}

template<uint32_t flags> bool run_fence(VKDevice &device) {
    Ptr<Fence> fence(device.createFence(Fence::Flags(flags)));
    Ptr<Buffer> buffer(device.createBuffer(Buffer::FlagSource, 64));
    if(!fence || !buffer || !device.clearBuffer(buffer.get()) || !device.signalFence(fence.get())) return false;
    return fence->wait() && device.waitFence(fence.get()) && device.flip(fence.get()) && fence->wait() &&
           fence->isSignaled() && device.finish();
}

bool filter_minimum(VKDevice &device) {
    Ptr<Sampler> sampler(device.createSampler());
    sampler->setFilter(Sampler::FilterLinear);
    sampler->setReductionMode(Sampler::ReductionModeMin);
    return sampler->create();
}

} // namespace

const std::vector<DeviceWork> &DeviceWork::getList() {
    static const std::vector<DeviceWork> list = {
        {"buffers", copy_buffers, {}},
        {"mapped buffers", map_buffers, {}},
        {"shared buffer", share_buffer, {"EXT_external_memory_host"}},
        {"textures", fill_textures, {}},
        {"kernel", add_numbers, {}},
        {"slots", read_slots, {}},
        {"16-bit floats", run_types<0>, {"KHR_shader_float16_int8", "ShaderFloat16Int8Features.0"}},
        {"16-bit arithmetic", run_types<1>, {"shaderInt16"}},
        {"64-bit floats", run_types<2>, {"shaderFloat64"}},
        {"64-bit arithmetic", run_types<3>, {"shaderInt64"}},
        {"16-bit storage", run_types<4>, {"KHR_16bit_storage", "16BitStorageFeatures.0"}},
        {"64-bit atomics", run_types<5>, {"KHR_shader_atomic_int64", "ShaderAtomicInt64Features.0", "shaderInt64"}},
        {"float atomics", run_types<6>, {"EXT_shader_atomic_float", "ShaderAtomicFloatFeatures.1"}},
        {"subgroups", run_types<7>, {}},
        {"votes", run_types<8>, {}},
        {"shuffles", run_types<9>, {}},
        {"64-bit atomics of a group",
         run_types<10>,
         {"KHR_shader_atomic_int64", "ShaderAtomicInt64Features.0", "shaderInt64"}},
        {"float atomics of a group", run_types<11>, {"EXT_shader_atomic_float", "ShaderAtomicFloatFeatures.1"}},
        {"condition", run_condition, {"EXT_conditional_rendering", "ConditionalRenderingFeatures.0"}},
        {"triangle", draw_triangle, {}},
        {"vertices", draw_vertices, {}},
        {"indices of draws", draw_indices_of_draws, {"KHR_shader_draw_parameters", "ShaderDrawFeatures.0"}},
        {"geometry shader", draw_geometry, {"geometryShader"}},
        {"tessellation", draw_patches, {"tessellationShader"}},
        {"mesh shader",
         draw_mesh,
         {"EXT_mesh_shader", "KHR_spirv_1_4", "KHR_shader_float_controls", "MeshShaderFeatures.1"}},
        {"two sources of blending", draw_blended, {"dualSrcBlend"}},
        {"lines", fill_lines, {"fillModeNonSolid"}},
        {"no depth clip", clamp_depth, {"depthClamp"}},
        {"cube array", clear_cubes, {"imageCubeArray"}},
        {"resolve", resolve_samples, {"KHR_create_renderpass2", "KHR_depth_stencil_resolve"}},
        {"command devices", execute_commands, {}},
        {"sub-devices", use_sub_devices, {}},
        {"ray queries",
         query_rays,
         {"KHR_ray_query", "KHR_acceleration_structure", "KHR_spirv_1_4", "KHR_shader_float_controls",
          "KHR_deferred_host_operations", "KHR_buffer_device_address", "EXT_descriptor_indexing",
          "EXT_host_query_reset", "AccelerationStructureFeatures.0", "RayQueryFeatures.0",
          "BufferDeviceAddressFeatures.0", "HostQueryResetFeatures.0"}},
        {"rays",
         trace_rays,
         {"KHR_ray_tracing_pipeline", "KHR_acceleration_structure", "KHR_spirv_1_4", "KHR_shader_float_controls",
          "KHR_deferred_host_operations", "KHR_buffer_device_address", "EXT_descriptor_indexing",
          "EXT_host_query_reset", "AccelerationStructureFeatures.0", "RayTracingPipelineFeatures.0",
          "BufferDeviceAddressFeatures.0", "HostQueryResetFeatures.0"}},
        {"buffer table",
         read_buffer_table,
         {"EXT_descriptor_indexing", "DescriptorIndexingFeatures.5", "DescriptorIndexingFeatures.13",
          "DescriptorIndexingFeatures.17", "shaderStorageBufferArrayDynamicIndexing"}},
        {"texture table",
         read_texture_table,
         {"EXT_descriptor_indexing", "DescriptorIndexingFeatures.4", "DescriptorIndexingFeatures.11",
          "DescriptorIndexingFeatures.17", "shaderSampledImageArrayDynamicIndexing"}},
        {"sparse buffer", bind_sparse_buffer, {"sparseBinding", "sparseResidencyBuffer"}},
        {"sparse texture", bind_sparse_texture, {"sparseBinding", "sparseResidencyImage2D"}},
        {"times", run_query<Query::TypeTime>, {"EXT_host_query_reset", "HostQueryResetFeatures.0"}},
        {"samples", run_query<Query::TypeSamples>, {"EXT_host_query_reset", "HostQueryResetFeatures.0"}},
        {"statistics",
         run_query<Query::TypeStatistics>,
         {"EXT_host_query_reset", "HostQueryResetFeatures.0", "pipelineStatisticsQuery"}},
        {"fence", run_fence<Fence::FlagNone>, {}},
        {"timeline", run_fence<Fence::FlagTimeline>, {"KHR_timeline_semaphore", "TimelineSemaphoreFeatures.0"}},
        {"minimum filter", filter_minimum, {"EXT_sampler_filter_minmax"}},
    };
    return list;
}

const DeviceWork &DeviceWork::get(const std::string &name) {
    for(const DeviceWork &work : getList()) {
        if(name == work.name) return work;
    }
    fprintf(stderr, "no work \"%s\"\n", name.c_str());
    abort();
}
