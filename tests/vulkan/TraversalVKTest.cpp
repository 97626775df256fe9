// Ray tracing pipelines on the device: each kind of shader against the same search here.

#include <array>
#include <stdlib.h>

#include "KolmShader.h"
#include "RayTest.h"
#include "VKBuffer.h"
#include "VKTraversal.h"

using namespace Kolm;

namespace {

const std::string head = "#version 460\n#extension GL_EXT_ray_tracing : require\n";

// Writes what the payload brings.
const std::string raygen_text = R"(
    layout(std430, binding = 1) buffer Hits { Hit hits[]; };
    layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
    layout(location = 0) rayPayloadEXT Hit payload;
    void main() {
        uvec2 id = gl_LaunchIDEXT.xy;
        payload = Hit(-2.0f, 0.0f, 0.0f, 0u, 0u, 0u, 0u, 0u);
        traceRayEXT(scene, ray_mode.x, ray_mode.y, ray_mode.z, 1u, ray_mode.w, ray_origin.xyz, ray_origin.w,
            get_direction(id), ray_size.z, 0);
        hits[id.y * gl_LaunchSizeEXT.x + id.x] = payload;
    })";
const std::string miss_text = R"(
    layout(location = 0) rayPayloadInEXT Hit payload;
    void main() { payload.distance = -1.0f; })";
const std::string other_miss_text = R"(
    layout(location = 0) rayPayloadInEXT Hit payload;
    void main() { payload.distance = -4.0f; payload.data = 7u; })";
const std::string closest_text = R"(
    layout(location = 0) rayPayloadInEXT Hit payload;
    hitAttributeEXT vec2 uv;
    void main() {
        payload = Hit(gl_HitTEXT, uv.x, uv.y, uint(gl_InstanceID), uint(gl_InstanceCustomIndexEXT),
            0u, uint(gl_PrimitiveID), gl_HitKindEXT == 0xFEu ? 1u : 0u);
    })";
// Writes another instance's number than there is.
const std::string other_closest_text = R"(
    layout(location = 0) rayPayloadInEXT Hit payload;
    void main() { payload = Hit(gl_HitTEXT, 0.0f, 0.0f, 555u, 0u, 0u, 0u, 0u); })";
// Leaves out the odd triangles.
const std::string first_hit_text = R"(
    layout(location = 0) rayPayloadInEXT Hit payload;
    hitAttributeEXT vec2 uv;
    void main() { if((gl_PrimitiveID & 1) != 0) ignoreIntersectionEXT; })";

} // namespace

class TraversalVKTest : public RayTest {
protected:
    using TraversalPtr = std::unique_ptr<Traversal>;

    void SetUp() override {
        RayTest::SetUp();
        if(!IsSkipped() && !getAdapter()->getRayTracingPipelineFeatures().rayTracingPipeline)
            GTEST_SKIP() << "the driver has no ray tracing pipelines";
    }

    /// Traversal with a uniform buffer, a storage buffer and a structure for all stages; not created.
    TraversalPtr describe() {
        TraversalPtr traversal(device->createTraversal());
        traversal->setUniformMask(0, Shader::MaskTracing);
        traversal->setStorageMask(0, Shader::MaskTracing).setStorageOffset(1);
        traversal->setTracingMask(0, Shader::MaskTracing);
        return traversal;
    }
    static bool add(const TraversalPtr &traversal, Shader::Type type, const std::string &text) {
        return traversal->createShaderGLSL(type, (head + get_ray_text() + text).c_str());
    }
    /// The usual shaders.
    TraversalPtr create_traversal() {
        TraversalPtr traversal = describe();
        EXPECT_TRUE(add(traversal, Shader::TypeRayGen, raygen_text));
        EXPECT_TRUE(add(traversal, Shader::TypeRayMiss, miss_text));
        EXPECT_TRUE(add(traversal, Shader::TypeClosest, closest_text));
        EXPECT_TRUE(traversal->create());
        return traversal;
    }
    std::vector<Hit> trace(Traversal *traversal, Tracing *scene, const Rays &rays, uint32_t hit_group = 0,
                           uint32_t miss = 0) {
        std::vector<Hit> hits(rays.size * rays.size);
        BufferPtr buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, hits.size() * sizeof(Hit));
        Params params = get_params(rays);
        params.mode[2] = hit_group;
        params.mode[3] = miss;
        ComputePtr compute = createCompute();
        compute->setTraversal(traversal);
        compute->setUniform(0, params);
        compute->setStorageBuffer(0, buffer.get());
        compute->setTracing(0, scene);
        compute->dispatch(rays.size, rays.size, 1);
        compute.reset();
        EXPECT_TRUE(device->getBuffer(buffer.get(), hits.data()));
        return hits;
    }
};

TEST_F(TraversalVKTest, closest_and_miss) {
    TraversalPtr traversal = create_traversal();
    const std::vector<float> vertices = get_grid(6, 0.25f);
    TracingPtr mesh = create_mesh(vertices);
    std::vector<Tracing::Instance> instances;
    std::vector<Triangle> triangles;
    for(uint32_t i = 0; i < 5; i++) {
        instances.push_back(get_instance(mesh, 100 + i));
        set_transform(instances[i], 0.7 * i, {0.4, 0.5, 0.6}, {0.3 * i - 0.6, 0.5 - 0.2 * i, 0.1 * i});
        instances[i].mask = 1u << i;
        append(triangles, vertices, instances[i], i);
    }
    TracingPtr scene = create_scene(instances);
    for(const uint32_t mask : {0xFFu, 0x5u}) {
        Rays rays;
        rays.mask = mask;
        check(rays, triangles, trace(traversal.get(), scene.get(), rays), "closest");
    }
    // Created anew under an open recorder's eyes: released groups wait for the device.
    device->releaseTraversal(traversal.get());
    EXPECT_FALSE(traversal->isCreated());
    ASSERT_TRUE(traversal->create());
    check(Rays(), triangles, trace(traversal.get(), scene.get(), Rays()), "again");
}

// The first-hit shader decides which triangles count, unless a flag leaves it out.
TEST_F(TraversalVKTest, first_hit) {
    TraversalPtr traversal = describe();
    ASSERT_TRUE(add(traversal, Shader::TypeRayGen, raygen_text) && add(traversal, Shader::TypeRayMiss, miss_text) &&
                add(traversal, Shader::TypeFirstHit, first_hit_text) &&
                add(traversal, Shader::TypeClosest, closest_text));
    EXPECT_EQ(traversal->getNumTraversalShaders(), 1u);
    ASSERT_TRUE(traversal->create());
    const std::vector<float> vertices = get_grid(5);
    for(const bool opaque : {false, true}) {
        TracingPtr mesh = create_mesh(vertices, opaque ? Tracing::FlagOpaque : Tracing::FlagSingleHit);
        std::vector<Tracing::Instance> instances(2, get_instance(mesh));
        set_transform(instances[1], 0.0, {-1.0, 1.0, 1.0}, {0.03, 0.02, -0.2}); // mirrored, below
        TracingPtr scene = create_scene(instances);
        std::vector<Triangle> triangles, counted;
        for(uint32_t i = 0; i < 2; i++) append(triangles, vertices, instances[i], i);
        for(const Triangle &triangle : triangles) {
            if(opaque || triangle.primitive % 2 == 0) counted.push_back(triangle);
        }
        check(Rays(), counted, trace(traversal.get(), scene.get(), Rays()), opaque ? "opaque" : "transparent");
    }
}

// Instances and calls choose among groups and misses.
TEST_F(TraversalVKTest, groups) {
    TraversalPtr traversal = describe();
    ASSERT_TRUE(
        add(traversal, Shader::TypeClosest, closest_text) && add(traversal, Shader::TypeClosest, other_closest_text) &&
        add(traversal, Shader::TypeRayMiss, miss_text) && add(traversal, Shader::TypeRayGen, raygen_text) &&
        add(traversal, Shader::TypeRayMiss, other_miss_text) && add(traversal, Shader::TypeFirstHit, first_hit_text));
    EXPECT_EQ(traversal->getNumTraversalShaders(), 2u);
    ASSERT_TRUE(traversal->create());
    TracingPtr mesh = create_mesh(get_grid(1));
    std::vector<Tracing::Instance> instances(2, get_instance(mesh));
    for(uint32_t i = 0; i < 2; i++) {
        set_transform(instances[i], 0.0, {0.2, 0.2, 1.0}, {i ? 0.5 : -0.5, 0.0, 0.0});
        instances[i].offset = i;
    }
    TracingPtr scene = create_scene(instances);
    Rays rays;
    rays.size = 40;
    rays.extent = 1.0f;
    const auto at = [&](const std::vector<Hit> &hits, uint32_t x, uint32_t y) { return hits[y * rays.size + x]; };
    std::vector<Hit> hits = trace(traversal.get(), scene.get(), rays);
    EXPECT_EQ(at(hits, 8, 18).instance, 0u);
    EXPECT_GT(at(hits, 8, 18).distance, 0.0f);
    EXPECT_EQ(at(hits, 28, 18).instance, 555u) << "the second group";
    EXPECT_EQ(at(hits, 20, 2).distance, -1.0f);
    EXPECT_EQ(at(hits, 32, 22).distance, -1.0f) << "the odd triangle is left out by the second group";
    EXPECT_GT(at(hits, 12, 22).distance, 0.0f) << "and counts in the first one";
    hits = trace(traversal.get(), scene.get(), rays, 0, 1);
    EXPECT_EQ(at(hits, 20, 2).distance, -4.0f);
    EXPECT_EQ(at(hits, 20, 2).data, 7u);
    instances[0].offset = 0;
    instances[1].offset = 0;
    scene = create_scene(instances);
    hits = trace(traversal.get(), scene.get(), rays, 1, 0);
    EXPECT_EQ(at(hits, 8, 18).instance, 555u) << "offset of the call";
}

// Spheres in boxes by an intersection shader, beside triangles of the same scene.
TEST_F(TraversalVKTest, intersections) {
    TraversalPtr traversal = describe();
    ASSERT_TRUE(add(traversal, Shader::TypeRayGen, raygen_text) && add(traversal, Shader::TypeRayMiss, miss_text) &&
                add(traversal, Shader::TypeClosest, closest_text) && add(traversal, Shader::TypeClosest, R"(
        layout(location = 0) rayPayloadInEXT Hit payload;
        hitAttributeEXT vec3 normal;
        void main() {
            payload = Hit(gl_HitTEXT, normal.x, normal.y, uint(gl_InstanceID), gl_HitKindEXT, 0u, uint(gl_PrimitiveID), 0u);
        })") &&
                add(traversal, Shader::TypeIntersection,
                    R"(
        hitAttributeEXT vec3 normal;
        void main() {
            vec3 origin = gl_ObjectRayOriginEXT;
            vec3 direction = gl_ObjectRayDirectionEXT;
            float a = dot(direction, direction), b = dot(origin, direction), c = dot(origin, origin) - 1.0f;
            float d = b * b - a * c;
            if(d < 0.0f) return;
            float t = (-b - sqrt(d)) / a;
            normal = origin + direction * t;
            reportIntersectionEXT(t, 42u);
        })"));
    EXPECT_EQ(traversal->getNumTraversalShaders(), 2u);
    ASSERT_TRUE(traversal->create());
    BufferPtr box = create_buffer(std::vector<float>{-1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f});
    TracingPtr sphere(device->createTracing(1, 24, box.get(), 0));
    ASSERT_TRUE(sphere && build(sphere.get()));
    const std::vector<float> vertices = get_grid(2);
    TracingPtr mesh = create_mesh(vertices);
    std::vector<Tracing::Instance> instances = {get_instance(mesh), get_instance(sphere), get_instance(sphere)};
    const Vec centers[3] = {{}, {0.3, 0.2, 0.1}, {-0.4, -0.3, 0.5}};
    const double radius = 0.35;
    for(uint32_t i = 1; i < 3; i++) {
        set_transform(instances[i], 0.0, {radius, radius, radius}, centers[i]);
        instances[i].offset = 1;
    }
    TracingPtr scene = create_scene(instances);
    Rays rays;
    const std::vector<Hit> hits = trace(traversal.get(), scene.get(), rays);
    uint32_t counts[3] = {};
    for(uint32_t i = 0; i < hits.size(); i++) {
        const Vec direction = get_direction(rays, i % rays.size, i / rays.size);
        const Vec point = get_origin(rays) + direction; // on the plane of the mesh
        double distance = (fabs(point.x) < 1.0 && fabs(point.y) < 1.0) ? 1.0 : 1e30;
        double margin = std::min(fabs(fabs(point.x) - 1.0), fabs(fabs(point.y) - 1.0));
        uint32_t instance = 0;
        for(uint32_t j = 1; j < 3; j++) {
            const Vec offset = get_origin(rays) - centers[j];
            const double a = dot(direction, direction), b = dot(offset, direction);
            const double d = b * b - a * (dot(offset, offset) - radius * radius);
            margin = std::min(margin, fabs(d));
            if(d < 0.0) continue;
            const double t = (-b - sqrt(d)) / a;
            margin = std::min(margin, fabs(t - distance));
            if(t > distance) continue;
            distance = t;
            instance = j;
        }
        if(margin < 2e-3) continue;
        ASSERT_EQ(hits[i].distance >= 0.0f, distance < 1e30) << i;
        if(distance == 1e30) continue;
        counts[instance]++;
        ASSERT_EQ(hits[i].instance, instance) << i;
        ASSERT_NEAR(hits[i].distance, distance, 1e-4) << i;
        if(instance == 0) continue;
        const Vec normal = (get_origin(rays) + direction * distance - centers[instance]) * (1.0 / radius);
        ASSERT_NEAR(hits[i].u, normal.x, 1e-3) << i;
        ASSERT_NEAR(hits[i].v, normal.y, 1e-3) << i;
        ASSERT_EQ(hits[i].data, 42u) << i;
    }
    for(const uint32_t count : counts) EXPECT_GT(count, 50u);
}

// Rays between two mirrors, each traced by the closest shader of the one before.
TEST_F(TraversalVKTest, recursion) {
    const uint32_t limit = device->getFeatures().recursionDepth;
    ASSERT_GE(limit, 1u);
    const uint32_t depth = std::min(limit, 8u);
    TraversalPtr traversal = describe();
    const std::string closest = R"(
        layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
        layout(location = 0) rayPayloadInEXT Hit payload;
        void main() {
            payload.primitive++;
            payload.distance += gl_HitTEXT;
            if(payload.primitive >= ray_mode.w) return;
            traceRayEXT(scene, 0u, 255u, 0u, 0u, 0u, gl_WorldRayOriginEXT + gl_WorldRayDirectionEXT * gl_HitTEXT, 0.01f,
                gl_WorldRayDirectionEXT * vec3(1.0f, 1.0f, -1.0f), 100.0f, 0);
        })";
    const std::string raygen = R"(
        layout(std430, binding = 1) buffer Hits { Hit hits[]; };
        layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
        layout(location = 0) rayPayloadEXT Hit payload;
        void main() {
            payload = Hit(0.0f, 0.0f, 0.0f, 0u, 0u, 0u, 0u, 0u);
            traceRayEXT(scene, 0u, 255u, 0u, 0u, 0u, vec3(0.1f, 0.2f, 1.0f), 0.01f, vec3(0.0f, 0.0f, -1.0f), 100.0f, 0);
            hits[gl_LaunchIDEXT.x] = payload;
        })";
    ASSERT_TRUE(add(traversal, Shader::TypeRayGen, raygen) && add(traversal, Shader::TypeRayMiss, miss_text) &&
                add(traversal, Shader::TypeClosest, closest));
    ASSERT_TRUE(traversal->setRecursionDepth(depth).create());
    TracingPtr mesh = create_mesh(get_grid(1));
    std::vector<Tracing::Instance> instances(2, get_instance(mesh));
    instances[1].transform[2][3] = 2.0f;
    TracingPtr scene = create_scene(instances);
    for(uint32_t levels = 1; levels <= depth; levels++) {
        Rays rays;
        rays.size = 1;
        const Hit hit = trace(traversal.get(), scene.get(), rays, 0, levels)[0];
        EXPECT_EQ(hit.primitive, levels);
        EXPECT_NEAR(hit.distance, 1.0 + 2.0 * (levels - 1), 1e-3);
    }
    expectLog("VKTraversal::create(): recursion depth " + std::to_string(limit + 1) + " is above the limit of " +
              std::to_string(limit));
    EXPECT_FALSE(traversal->setRecursionDepth(limit + 1).create());
    EXPECT_TRUE(traversal->setRecursionDepth(0).create());
}

// Sizes of a launch pass unchanged; kernels and traversals take turns on one recorder, over the end of its commands.
TEST_F(TraversalVKTest, launches) {
    TraversalPtr traversal(device->createTraversal());
    traversal->setUniformMask(0, Shader::MaskRayGen);
    traversal->setStorageMask(0, Shader::MaskRayGen).setStorageOffset(1);
    ASSERT_TRUE(traversal->createShaderGLSL(Shader::TypeRayGen, (head + R"(
        layout(std140, binding = 0) uniform Params { uvec4 value; };
        layout(std430, binding = 1) buffer Data { uint data[]; };
        void main() {
            atomicAdd(data[0], value.x);
            if(gl_LaunchIDEXT == gl_LaunchSizeEXT - 1u) {
                data[1] = gl_LaunchSizeEXT.x; data[2] = gl_LaunchSizeEXT.y; data[3] = gl_LaunchSizeEXT.z; }
        })")
                                                                    .c_str()));
    ASSERT_TRUE(traversal->create()) << "no miss and no hit shader";
    KernelPtr kernel = createKernel(R"(#version 450
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        void main() { data[0] *= 2u; })",
                                    0, 1);
    BufferPtr buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, std::vector<uint32_t>(4, 0));
    ComputePtr compute = createCompute();
    compute->setTraversal(traversal.get());
    compute->setUniform(0, std::array<uint32_t, 4>{3, 0, 0, 0});
    compute->setStorageBuffer(0, buffer.get());
    compute->dispatch(70, 3, 2);
    compute->dispatch(0, 1, 1);
    compute->barrier(buffer.get());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->dispatch(1, 1, 1);
    compute->barrier(buffer.get());
    EXPECT_EQ(getWords(buffer.get()), (std::vector<uint32_t>{2520, 70, 3, 2}));
    compute->setTraversal(traversal.get());
    compute->dispatch(1, 1, 5); // slots keep what they hold
    compute->barrier(buffer.get());
    EXPECT_EQ(getWords(buffer.get()), (std::vector<uint32_t>{2535, 1, 1, 5}));
    expectLog("VKCompute::dispatch(): 4294967295x4294967295x4294967295 rays are above the limit of the device");
    compute->dispatch(~0u, ~0u, ~0u);
    compute.reset();
    EXPECT_EQ(getWords(buffer.get())[0], 2535u);
}

TEST_F(TraversalVKTest, kept_programs) {
    char folder[] = "/tmp/ostrevan_traversals_XXXXXX";
    ASSERT_TRUE(mkdtemp(folder) && Shader::setCache(folder));
    uint64_t hits = Shader::getNumCacheHits();
    create_traversal();
    EXPECT_EQ(Shader::getNumCacheHits(), hits);
    create_traversal();
    EXPECT_EQ(Shader::getNumCacheHits(), hits + 1);
    TraversalPtr traversal = describe(); // the same shaders in other groups
    ASSERT_TRUE(add(traversal, Shader::TypeRayGen, raygen_text) && add(traversal, Shader::TypeRayMiss, miss_text) &&
                add(traversal, Shader::TypeRayMiss, miss_text) && add(traversal, Shader::TypeClosest, closest_text));
    ASSERT_TRUE(traversal->create());
    EXPECT_EQ(Shader::getNumCacheHits(), hits + 1);
    Shader::setCache(nullptr);
    EXPECT_EQ(system((std::string("rm -rf ") + folder).c_str()), 0);
}

TEST_F(TraversalVKTest, refusals) {
    TraversalPtr traversal = describe();
    expectLog("VKTraversal::create(): raygen shader is null");
    EXPECT_FALSE(traversal->create());
    ASSERT_TRUE(add(traversal, Shader::TypeRayGen, raygen_text));
    traversal->setTracingMask(0, Shader::MaskClosest);
    expectLog("VKTraversal::create(): binding 0 of set 1 is hidden from the RayGen shader by its mask");
    EXPECT_FALSE(traversal->create());
    traversal->setTracingMask(0, Shader::MaskRayGen).setStorageOffset(0);
    expectLog("VKTraversal::create(): uniform and storage resources overlap");
    EXPECT_FALSE(traversal->create());
    traversal->setStorageOffset(1);
    EXPECT_TRUE(traversal->create());
    traversal.reset();
    device.reset();
    offscreen.reset();

    VK::hideAdapterExtension("KHR_ray_tracing_pipeline");
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create());
    device.reset(new VKDevice(offscreen.get()));
    TraversalPtr other = describe();
    EXPECT_FALSE(add(other, Shader::TypeRayGen, "void main() { }"));
    expectLog("VKShader::compile(): \"memory\" shader needs RayTracingKHR, which the device does not have");
    EXPECT_FALSE(other->create());
    expectLog("VKTraversal::create(): raygen shader is null");
    VK::hideAdapterExtension(nullptr);
}
