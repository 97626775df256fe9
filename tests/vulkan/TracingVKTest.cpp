// Acceleration structures on the device.

#include <string.h>

#include "KolmFloat.h"
#include "RayTest.h"
#include "VKBuffer.h"
#include "VKTracing.h"

using namespace Kolm;

class TracingVKTest : public RayTest {
protected:
    /// Traces by a ray query in a compute shader.
    std::vector<Hit> trace(Tracing *scene, const Rays &rays) {
        KernelPtr kernel(device->createKernel());
        kernel->setUniforms(1).setStorages(1).setStorageOffset(1).setTracings(1);
        const std::string src = "#version 460\n#extension GL_EXT_ray_query : require\n" + get_ray_text() + R"(
            layout(local_size_x = 8, local_size_y = 8) in;
            layout(std430, binding = 1) buffer Hits { Hit hits[]; };
            layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
            void main() {
                uvec2 id = gl_GlobalInvocationID.xy;
                rayQueryEXT query;
                rayQueryInitializeEXT(query, scene, ray_mode.x, ray_mode.y, ray_origin.xyz, ray_origin.w,
                    get_direction(id), ray_size.z);
                while(rayQueryProceedEXT(query)) {
                    if(rayQueryGetIntersectionTypeEXT(query, false) == gl_RayQueryCandidateIntersectionTriangleEXT)
                        rayQueryConfirmIntersectionEXT(query);
                }
                Hit hit = Hit(-1.0f, 0.0f, 0.0f, 0u, 0u, 0u, 0u, 0u);
                if(rayQueryGetIntersectionTypeEXT(query, true) != gl_RayQueryCommittedIntersectionNoneEXT) {
                    hit.distance = rayQueryGetIntersectionTEXT(query, true);
                    vec2 uv = rayQueryGetIntersectionBarycentricsEXT(query, true);
                    hit.u = uv.x;
                    hit.v = uv.y;
                    hit.instance = uint(rayQueryGetIntersectionInstanceIdEXT(query, true));
                    hit.data = uint(rayQueryGetIntersectionInstanceCustomIndexEXT(query, true));
                    hit.geometry = uint(rayQueryGetIntersectionGeometryIndexEXT(query, true));
                    hit.primitive = uint(rayQueryGetIntersectionPrimitiveIndexEXT(query, true));
                    hit.front = rayQueryGetIntersectionFrontFaceEXT(query, true) ? 1u : 0u;
                }
                hits[id.y * uint(ray_size.x) + id.x] = hit;
            })";
        if(!kernel->createShaderGLSL(src.c_str()) || !kernel->create()) {
            ADD_FAILURE() << "can't create kernel";
            return {};
        }
        std::vector<Hit> hits(rays.size * rays.size);
        BufferPtr buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, hits.size() * sizeof(Hit));
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setUniform(0, get_params(rays));
        compute->setStorageBuffer(0, buffer.get());
        compute->setTracing(0, scene);
        compute->dispatch(rays.size, rays.size, 1);
        compute.reset();
        EXPECT_TRUE(device->getBuffer(buffer.get(), hits.data()));
        return hits;
    }
    void check_trace(Tracing *scene, const std::vector<Triangle> &triangles, const char *name,
                     const Rays &rays = Rays()) {
        check(rays, triangles, trace(scene, rays), name);
    }
};

TEST_F(TracingVKTest, one_mesh) {
    const std::vector<float> vertices = get_grid(7, 0.3f);
    TracingPtr mesh = create_mesh(vertices);
    const Tracing::Instance instance = get_instance(mesh, 0xABCDEF);
    TracingPtr scene = create_scene({instance}, 3); // two that are nowhere
    std::vector<Triangle> triangles;
    append(triangles, vertices, instance);
    check_trace(scene.get(), triangles, "closest");
    Rays rays;
    rays.min_distance = 0.9f;
    rays.max_distance = 1.01f;
    check_trace(scene.get(), triangles, "part of the ray", rays);
}

// Turned, scaled, mirrored, moved and hidden instances of two meshes.
TEST_F(TracingVKTest, instances) {
    const std::vector<float> grid = get_grid(5, 0.2f);
    const std::vector<float> square = get_grid(1);
    TracingPtr meshes[] = {create_mesh(grid), create_mesh(square, Tracing::FlagFastBuild | Tracing::FlagOpaque)};
    std::vector<Tracing::Instance> instances;
    for(uint32_t i = 0; i < 12; i++) {
        instances.push_back(get_instance(meshes[i % 2], 1000 + i));
        const double scale = 0.2 + 0.02 * i;
        set_transform(instances[i], 0.4 * i, {(i % 3) ? scale : -scale, scale, scale * 1.5},
                      {cos(i * 0.9) * 0.6, sin(i * 0.9) * 0.6, 0.05 * i - 0.3});
        instances[i].mask = 1u << (i % 4);
    }
    instances[5].tracing = nullptr;
    TracingPtr scene = create_scene(instances);
    std::vector<Triangle> triangles;
    for(uint32_t i = 0; i < 12; i++) {
        if(instances[i].tracing) append(triangles, (i % 2) ? square : grid, instances[i], i);
    }
    for(const uint32_t mask : {0xFFu, 0x1u, 0x6u, 0x8u}) {
        Rays rays;
        rays.mask = mask;
        check_trace(scene.get(), triangles, String::format("mask %u", mask).get(), rays);
    }
    Rays rays;
    rays.mask = 0xF0;
    for(const Hit &hit : trace(scene.get(), rays)) ASSERT_LT(hit.distance, 0.0f);
}

// Which sides are seen by rays that cull one, for each flag of an instance.
TEST_F(TracingVKTest, sides) {
    constexpr uint32_t cull_back = 16, cull_front = 32, cull_opaque = 64, cull_transparent = 128; // of rays in GLSL
    static const struct {
        uint32_t instance_flags;
        uint32_t ray_flags;
        bool seen;
        bool front;
    } rows[] = {
        {Tracing::InstanceNone, 0, true, true},
        {Tracing::InstanceNone, cull_back, true, true},
        {Tracing::InstanceNone, cull_front, false, false},
        {Tracing::InstanceFlip, 0, true, false},
        {Tracing::InstanceFlip, cull_back, false, false},
        {Tracing::InstanceFlip, cull_front, true, false},
        {Tracing::InstanceTwoSided, cull_front, true, true},
        {Tracing::InstanceOpaque, cull_opaque, false, false},
        {Tracing::InstanceOpaque, cull_transparent, true, true},
        {Tracing::InstanceTransparent, cull_transparent, false, false},
        {Tracing::InstanceTransparent, cull_opaque, true, true},
    };
    TracingPtr mesh = create_mesh(get_grid(1)); // counter-clockwise from above, where the rays are
    for(const auto &row : rows) {
        Tracing::Instance instance = get_instance(mesh);
        instance.flags = row.instance_flags;
        TracingPtr scene = create_scene({instance});
        Rays rays;
        rays.size = 8;
        rays.extent = 0.9f;
        rays.flags = row.ray_flags;
        const std::vector<Hit> hits = trace(scene.get(), rays);
        EXPECT_EQ(hits[9].distance >= 0.0f, row.seen) << row.instance_flags << " " << row.ray_flags;
        EXPECT_EQ(hits[9].front != 0, row.front) << row.instance_flags << " " << row.ray_flags;
    }
}

// Every vertex and index format, strides and offsets, a transform, and several geometries in one structure.
TEST_F(TracingVKTest, formats) {
    const std::vector<float> vertices = get_grid(4); // in a plane, so that two components are enough
    static const struct {
        Format format;
        uint32_t components;
        uint32_t component_size;
    } rows[] = {
        {FormatRGBf32, 3, 4}, {FormatRGBAf32, 4, 4}, {FormatRGf32, 2, 4}, {FormatRGBAf16, 4, 2}, {FormatRGf16, 2, 2},
    };
    constexpr uint32_t num_vertices = 96;
    for(const auto &row : rows) {
        for(const Format index_format : {FormatUnknown, FormatRu16, FormatRu32}) {
            const size_t vertex_stride = row.components * row.component_size + 8;
            const size_t vertex_offset = 16;
            std::vector<uint8_t> bytes(vertex_offset + vertex_stride * num_vertices, 0xFF);
            for(uint32_t i = 0; i < num_vertices; i++) {
                // With indices the vertices stand in reverse order.
                const float *src = &vertices[(index_format ? num_vertices - 1 - i : i) * 3];
                for(uint32_t j = 0; j < row.components; j++) {
                    const float value = (j < 3) ? src[j] : 1.0f;
                    const uint16_t half = float16_t(value).bits;
                    uint8_t *dest = &bytes[vertex_offset + vertex_stride * i + row.component_size * j];
                    memcpy(dest, (row.component_size == 4) ? static_cast<const void *>(&value) : &half,
                           row.component_size);
                }
            }
            std::vector<uint16_t> indices_16(3, 0xFFFF); // 6 bytes in front
            std::vector<uint32_t> indices_32(1, ~0u);
            for(uint32_t i = 0; i < num_vertices; i++) {
                indices_16.push_back(uint16_t(num_vertices - 1 - i));
                indices_32.push_back(num_vertices - 1 - i);
            }
            const std::vector<float> transform = {0.5f, 0.0f, 0.0f, 0.2f, 0.0f, 0.5f,
                                                  0.0f, 0.1f, 0.0f, 0.0f, 1.0f, 0.4f};
            BufferPtr buffer = create_buffer(bytes);
            BufferPtr index_buffer =
                (index_format == FormatRu16) ? create_buffer(indices_16) : create_buffer(indices_32);
            BufferPtr transform_buffer = create_buffer(transform);
            TracingPtr mesh(device->createTracing());
            for(uint32_t i = 0; i < 2; i++) {
                mesh->addGeometry(num_vertices, row.format, vertex_stride, index_format ? num_vertices : 0,
                                  index_format);
                mesh->setVertexBuffer(i, buffer.get(), vertex_offset);
                if(index_format) mesh->setIndexBuffer(i, index_buffer.get(), (index_format == FormatRu16) ? 6 : 4);
            }
            ASSERT_TRUE(mesh->create());
            mesh->setTransformBuffer(1, transform_buffer.get()); // known after create() alone
            ASSERT_TRUE(build(mesh.get()));

            const Tracing::Instance instance = get_instance(mesh);
            TracingPtr scene = create_scene({instance});
            std::vector<Triangle> triangles;
            append(triangles, vertices, instance, 0, 0);
            Tracing::Instance moved;
            memcpy(moved.transform, transform.data(), sizeof(moved.transform));
            append(triangles, vertices, moved, 0, 1);
            const String name =
                String::format("%s vertices, %s indices", getFormatName(row.format), getFormatName(index_format));
            check_trace(scene.get(), triangles, name.get());
        }
    }
}

TEST_F(TracingVKTest, updates_and_compaction) {
    const Tracing::Flags flags = Tracing::FlagUpdate | Tracing::FlagCompact;
    std::vector<float> vertices = get_grid(6);
    BufferPtr buffer(device->createBuffer(Buffer::FlagTracing, vertices.data(), vertices.size() * sizeof(float)));
    TracingPtr mesh(device->createTracing(uint32_t(vertices.size() / 3), FormatRGBf32, 12, 0, FormatUnknown, flags));
    mesh->setVertexBuffer(0, buffer.get());
    ASSERT_TRUE(build(mesh.get(), Tracing::FlagUpdate)) << "the first one is a whole build";
    Tracing::Instance instance = get_instance(mesh);
    instance_buffer = createBuffer(Buffer::FlagTracing, Tracing::InstanceSize);
    TracingPtr scene(device->createTracing(1, instance_buffer.get(), 0, flags));
    ASSERT_TRUE(device->setTracing(scene.get(), &instance, 1));
    const auto check_mesh = [&](const char *name) {
        std::vector<Triangle> triangles;
        append(triangles, vertices, instance);
        check_trace(scene.get(), triangles, name);
    };
    // Both at once, the top structure first: it is built behind the other one.
    Tracing *list[] = {scene.get(), mesh.get()};
    BufferPtr scratch = create_scratch(scene->getBuildSize() + mesh->getBuildSize() + 1024);
    ASSERT_TRUE(device->buildTracings(list, 2, scratch.get()));
    check_mesh("build");

    vertices = get_grid(6, 0.4f);
    ASSERT_TRUE(device->setBuffer(buffer.get(), vertices.data()));
    ASSERT_TRUE(device->buildTracings(list, 2, scratch.get(), 0, Tracing::FlagUpdate));
    check_mesh("update");

    const size_t memory = mesh->getMemory();
    ASSERT_TRUE(device->compactTracing(mesh.get()));
    EXPECT_LE(mesh->getMemory(), memory);
    ASSERT_TRUE(device->setTracing(scene.get(), &instance, 1));
    ASSERT_TRUE(build(scene.get()));
    check_mesh("compact");
    ASSERT_TRUE(device->compactTracing(scene.get()));
    check_mesh("compact scene");

    // The instance moves.
    set_transform(instance, 0.5, {0.7, 0.8, 0.9}, {0.1, -0.2, 0.3});
    ASSERT_TRUE(device->setTracing(scene.get(), &instance, 1));
    ASSERT_TRUE(build(scene.get(), Tracing::FlagUpdate));
    check_mesh("moved");
}

// Boxes are candidates; the shader finds the spheres in them.
TEST_F(TracingVKTest, bounds) {
    std::vector<float> boxes;
    std::vector<Vec> centers;
    constexpr double radius = 0.2;
    for(uint32_t i = 0; i < 9; i++) {
        const Vec c = {(i % 3) * 0.6 - 0.6, double(i / 3) * 0.6 - 0.6, 0.1 * i};
        centers.push_back(c);
        for(const double r : {-radius, radius})
            boxes.insert(boxes.end(), {float(c.x + r), float(c.y + r), float(c.z + r)});
        boxes.insert(boxes.end(), {0.0f, 0.0f}); // a stride of 32
    }
    BufferPtr buffer = create_buffer(boxes);
    TracingPtr mesh(device->createTracing(9, 32, buffer.get(), 0));
    ASSERT_TRUE(mesh && build(mesh.get()));
    TracingPtr scene = create_scene({get_instance(mesh)});

    Rays rays;
    const std::string src = "#version 460\n#extension GL_EXT_ray_query : require\n" + get_ray_text() + R"(
        layout(local_size_x = 8, local_size_y = 8) in;
        layout(std430, binding = 1) buffer Hits { vec2 hits[]; };
        layout(std430, binding = 2) readonly buffer Boxes { float boxes[]; };
        layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
        void main() {
            uvec2 id = gl_GlobalInvocationID.xy;
            vec3 direction = get_direction(id);
            rayQueryEXT query;
            rayQueryInitializeEXT(query, scene, 0u, 0xFFu, ray_origin.xyz, 0.0f, direction, 100.0f);
            while(rayQueryProceedEXT(query)) {
                int index = rayQueryGetIntersectionPrimitiveIndexEXT(query, false);
                vec3 center = vec3(boxes[index * 8] + boxes[index * 8 + 3], boxes[index * 8 + 1] + boxes[index * 8 + 4],
                    boxes[index * 8 + 2] + boxes[index * 8 + 5]) * 0.5f;
                vec3 offset = ray_origin.xyz - center;
                float a = dot(direction, direction), b = dot(offset, direction), c = dot(offset, offset) - 0.04f;
                float d = b * b - a * c;
                if(d > 0.0f) rayQueryGenerateIntersectionEXT(query, (-b - sqrt(d)) / a);
            }
            vec2 hit = vec2(-1.0f);
            if(rayQueryGetIntersectionTypeEXT(query, true) == gl_RayQueryCommittedIntersectionGeneratedEXT)
                hit = vec2(rayQueryGetIntersectionTEXT(query, true),
                    float(rayQueryGetIntersectionPrimitiveIndexEXT(query, true)));
            hits[id.y * uint(ray_size.x) + id.x] = hit;
        })";
    KernelPtr kernel(device->createKernel());
    kernel->setUniforms(1).setStorages(2).setStorageOffset(1).setTracings(1);
    ASSERT_TRUE(kernel->createShaderGLSL(src.c_str()) && kernel->create());
    BufferPtr storage(device->createBuffer(Buffer::FlagStorage, boxes.data(), boxes.size() * sizeof(float)));
    std::vector<float> hits(rays.size * rays.size * 2);
    BufferPtr output = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, hits.size() * sizeof(float));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setUniform(0, get_params(rays));
    compute->setStorageBuffers(0, {output.get(), storage.get()});
    compute->setTracing(0, scene.get());
    compute->dispatch(rays.size, rays.size, 1);
    compute.reset();
    ASSERT_TRUE(device->getBuffer(output.get(), hits.data()));
    uint32_t num_hits = 0;
    for(uint32_t i = 0; i < rays.size * rays.size; i++) {
        const Vec direction = get_direction(rays, i % rays.size, i / rays.size);
        double distance = 1e30, margin = 1e30;
        uint32_t index = 0;
        for(uint32_t j = 0; j < centers.size(); j++) {
            const Vec offset = get_origin(rays) - centers[j];
            const double a = dot(direction, direction), b = dot(offset, direction);
            const double d = b * b - a * (dot(offset, offset) - radius * radius);
            margin = std::min(margin, fabs(d));
            if(d <= 0.0 || (-b - sqrt(d)) / a >= distance) continue;
            distance = (-b - sqrt(d)) / a;
            index = j;
        }
        if(margin < 1e-3) continue;
        ASSERT_EQ(hits[i * 2] >= 0.0f, distance < 1e30) << i;
        if(distance == 1e30) continue;
        num_hits++;
        ASSERT_NEAR(hits[i * 2], distance, 1e-4) << i;
        ASSERT_EQ(hits[i * 2 + 1], float(index)) << i;
    }
    EXPECT_GT(num_hits, 200u);
}

TEST_F(TracingVKTest, sizes_and_compaction) {
    const std::vector<float> vertices = get_grid(20);
    TracingPtr empty(device->createTracing());
    EXPECT_EQ(empty->getMemory(), 0u);
    expectLog("Tracing::create(): tracing is empty");
    EXPECT_FALSE(empty->create());

    TracingPtr tracing = create_mesh(vertices, Tracing::FlagCompact | Tracing::FlagFastTrace);
    tracing->setName("grid");
    EXPECT_GT(tracing->getMemory(), 800u * 36) << "less than the vertices take";
    EXPECT_GT(tracing->getBuildSize(), 0u);
    EXPECT_NE(static_cast<VKTracing *>(tracing.get())->getDeviceAddress(), 0u);

    BufferPtr sizes = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(16, 0));
    Tracing *list[] = {tracing.get(), tracing.get()};
    ASSERT_TRUE(device->copyTracings(list, 2, sizes.get(), 8, 16));
    const size_t memory = tracing->getMemory();
    const uint64_t address = static_cast<VKTracing *>(tracing.get())->getDeviceAddress();
    ASSERT_TRUE(device->compactTracing(tracing.get()));
    EXPECT_LE(tracing->getMemory(), memory); // the software driver's structures don't get smaller, but move
    EXPECT_NE(static_cast<VKTracing *>(tracing.get())->getDeviceAddress(), address);
    const std::vector<uint32_t> words = getWords(sizes.get());
    EXPECT_EQ(words[2], tracing->getMemory());
    EXPECT_EQ(words[3], 0u);
    EXPECT_EQ(words[6], tracing->getMemory());
    ASSERT_TRUE(device->compactTracing(tracing.get())) << "again";
    // A new build takes the whole memory back.
    BufferPtr buffer = create_buffer(vertices);
    tracing->setVertexBuffer(0, buffer.get());
    ASSERT_TRUE(device->buildTracing(tracing.get(), create_scratch(tracing->getBuildSize()).get()));
    EXPECT_EQ(tracing->getMemory(), memory);

    device->releaseTracing(tracing.get());
    EXPECT_FALSE(tracing->isCreated());
    EXPECT_EQ(tracing->getNumGeometries(), 1u) << "the description stays";
    EXPECT_TRUE(tracing->create());
    ASSERT_TRUE(device->finish());
}

// Destroyed right behind the build, with the device's work still to come.
TEST_F(TracingVKTest, delayed_release) {
    const std::vector<float> vertices = get_grid(4);
    for(uint32_t frame = 0; frame < 20; frame++) {
        TracingPtr mesh = create_mesh(vertices);
        BufferPtr instances = createBuffer(Buffer::FlagTracing, Tracing::InstanceSize * 3);
        TracingPtr scene(device->createTracing(3, instances.get()));
        Tracing::Instance instance;
        instance.tracing = mesh.get();
        ASSERT_TRUE(device->setTracing(scene.get(), &instance, 1));
        ASSERT_TRUE(device->buildTracing(scene.get(), create_scratch(scene->getBuildSize()).get()));
        ASSERT_TRUE(device->flushTracings({mesh.get(), scene.get()}));
        ASSERT_TRUE(device->flip());
    }
}

// Without memory a structure is not made, and compaction leaves the one there is.
TEST_F(TracingVKTest, out_of_memory) {
    const std::vector<float> vertices = get_grid(4, 0.1f);
    TracingPtr mesh = create_mesh(vertices, Tracing::FlagCompact);
    const Tracing::Instance instance = get_instance(mesh);
    TracingPtr scene = create_scene({instance});
    const auto check_mesh = [&]() {
        std::vector<Triangle> triangles;
        append(triangles, vertices, instance);
        check_trace(scene.get(), triangles, "kept");
    };
    check_mesh();
    // The heaps that exist are full of what the test holds.
    std::vector<BufferPtr> fill;
    getAdapter()->setMemoryLimit(0);
    for(const char *text : {"VKAdapter::", "VKBuffer::create(): can't allocate", "VK::error()"}) expectLog(text);
    for(const size_t size : {size_t(1) << 20, size_t(1) << 16, size_t(1) << 12, size_t(256)}) {
        while(BufferPtr buffer = createBuffer(Buffer::FlagTracing, size)) fill.push_back(std::move(buffer));
    }
    expectLog("VKTracing::create(): can't allocate Geometry 32 tracing memory");
    EXPECT_FALSE(TracingPtr(device->createTracing(96, FormatRGBf32, 12, 0, FormatUnknown)));
    const size_t memory = mesh->getMemory();
    EXPECT_FALSE(device->compactTracing(mesh.get()));
    EXPECT_EQ(mesh->getMemory(), memory);
    getAdapter()->setMemoryLimit(~0ull);
    fill.clear();
    check_mesh();
    ASSERT_TRUE(device->compactTracing(mesh.get()));
}

TEST_F(TracingVKTest, refusals) {
    TracingPtr huge(device->createTracing());
    huge->addGeometry(0xFFFFFFFF, FormatRGBf32, 12);
    huge->addGeometry(0xFFFFFFFF, FormatRGBf32, 12);
    expectLog("VKTracing::create(): can't create Geometry 2863311530 tracing: is above the limits of the device");
    EXPECT_FALSE(huge->create());
    BufferPtr instances = createBuffer(Buffer::FlagTracing, Tracing::InstanceSize);
    device.reset();
    offscreen.reset();
    huge.reset();
    instances.reset();

    VK::hideAdapterExtension("KHR_acceleration_structure");
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create());
    device.reset(new VKDevice(offscreen.get()));
    expectLog("VKTracing::create(): can't create Geometry 1 tracing: tracings are not supported");
    EXPECT_FALSE(TracingPtr(device->createTracing(3, FormatRGBf32, 12, 0, FormatUnknown)));
    VK::hideAdapterExtension(nullptr);
}
