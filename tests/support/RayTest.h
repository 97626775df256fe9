// Scenes for ray tracing, on the device and here: a bundle of rays from one point over a square, and the closest
// triangle of each by the edge test in double precision.

#pragma once

#include <math.h>

#include "GpuTest.h"
#include "KolmTracing.h"

class RayTest : public GpuTest {
protected:
    using TracingPtr = std::unique_ptr<Kolm::Tracing>;

    struct Vec {
        double x, y, z;
        Vec operator+(const Vec &v) const { return {x + v.x, y + v.y, z + v.z}; }
        Vec operator-(const Vec &v) const { return {x - v.x, y - v.y, z - v.z}; }
        Vec operator*(double s) const { return {x * s, y * s, z * s}; }
        friend double dot(const Vec &a, const Vec &b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
        friend Vec cross(const Vec &a, const Vec &b) {
            return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
        }
    };

    /// What a shader writes for a ray.
    struct Hit {
        float distance; // in lengths of the direction, below 0 for a miss
        float u, v;
        uint32_t instance;
        uint32_t data;
        uint32_t geometry;
        uint32_t primitive;
        uint32_t front; // the corners turn counter-clockwise
    };

    /// Triangle in the space of the rays.
    struct Triangle {
        Vec corners[3];
        uint32_t instance, data, geometry, primitive, mask;
        bool flip; // the transform mirrors: facing is that of the object
    };

    struct Rays {
        uint32_t size = 48;  // rays on each side
        float extent = 1.1f; // of the square at z = 0
        float origin[3] = {0.13f, -0.21f, 3.0f};
        float min_distance = 0.0f;
        float max_distance = 100.0f;
        uint32_t flags = 0; // of the ray in GLSL
        uint32_t mask = 0xFF;
    };
    /// The same for shaders, in std140.
    struct Params {
        float origin[4];  // and the least distance
        float size[4];    // rays, extent, the largest distance
        uint32_t mode[4]; // flags, mask
    };
    static Params get_params(const Rays &rays) {
        return {{rays.origin[0], rays.origin[1], rays.origin[2], rays.min_distance},
                {float(rays.size), rays.extent, rays.max_distance, 0.0f},
                {rays.flags, rays.mask, 0, 0}};
    }
    /// GLSL of Params as "Rays", and the ray of a pixel.
    static std::string get_ray_text() {
        return R"(
            layout(std140, binding = 0) uniform Rays { vec4 ray_origin; vec4 ray_size; uvec4 ray_mode; };
            vec3 get_direction(uvec2 id) {
                vec2 p = ((vec2(id) + 0.5f) / ray_size.x * 2.0f - 1.0f) * ray_size.y;
                return vec3(p, 0.0f) - ray_origin.xyz;
            }
            struct Hit { float distance; float u; float v; uint instance; uint data; uint geometry; uint primitive;
                uint front; };
        )";
    }
    static Vec get_direction(const Rays &rays, uint32_t x, uint32_t y) {
        const double px = ((x + 0.5) / rays.size * 2.0 - 1.0) * rays.extent;
        const double py = ((y + 0.5) / rays.size * 2.0 - 1.0) * rays.extent;
        return Vec{px, py, 0.0} - get_origin(rays);
    }
    static Vec get_origin(const Rays &rays) { return {rays.origin[0], rays.origin[1], rays.origin[2]}; }

    void SetUp() override {
        GpuTest::SetUp();
        if(!getAdapter()->getAccelerationStructureFeatures().accelerationStructure)
            GTEST_SKIP() << "the driver has no acceleration structures";
    }

    BufferPtr create_buffer(const void *data, size_t size) {
        return BufferPtr(device->createBuffer(Kolm::Buffer::FlagTracing, data, size));
    }
    template<class Type> BufferPtr create_buffer(const std::vector<Type> &values) {
        return create_buffer(values.data(), values.size() * sizeof(Type));
    }
    BufferPtr create_scratch(size_t size) { return createBuffer(Kolm::Buffer::FlagScratch, size); }
    bool build(Kolm::Tracing *tracing, Kolm::Tracing::Flags flags = Kolm::Tracing::FlagNone) {
        const bool update = (flags & Kolm::Tracing::FlagUpdate) && tracing->isBuilt();
        BufferPtr scratch = create_scratch(update ? tracing->getUpdateSize() : tracing->getBuildSize());
        return device->buildTracing(tracing, scratch.get(), 0, flags);
    }

    /// `num` x `num` squares of two triangles over x and y from -1 to 1, at a height that waves by \p wave.
    static std::vector<float> get_grid(uint32_t num, float wave = 0.0f) {
        std::vector<float> values;
        for(uint32_t i = 0; i < num * num; i++) {
            static constexpr uint32_t corners[6][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
            for(const auto &corner : corners) {
                const float x = float(i % num + corner[0]) / float(num) * 2.0f - 1.0f;
                const float y = float(i / num + corner[1]) / float(num) * 2.0f - 1.0f;
                values.insert(values.end(), {x, y, wave * sinf(x * 5.0f + y * 3.0f)});
            }
        }
        return values;
    }
    /// Built structure of triangles without indices.
    TracingPtr create_mesh(const std::vector<float> &vertices,
                           Kolm::Tracing::Flags flags = Kolm::Tracing::DefaultFlags) {
        BufferPtr buffer = create_buffer(vertices);
        TracingPtr tracing(device->createTracing(uint32_t(vertices.size() / 3), Kolm::FormatRGBf32, 12, 0,
                                                 Kolm::FormatUnknown, flags));
        EXPECT_TRUE(tracing && buffer);
        tracing->setVertexBuffer(0, buffer.get());
        EXPECT_TRUE(build(tracing.get()));
        return tracing; // the buffers wait for the build
    }
    /// Built structure of instances.
    TracingPtr create_scene(const std::vector<Kolm::Tracing::Instance> &instances, uint32_t capacity = 0) {
        const uint32_t num = std::max(capacity, uint32_t(instances.size()));
        instance_buffer = createBuffer(Kolm::Buffer::FlagTracing, num * Kolm::Tracing::InstanceSize);
        TracingPtr scene(device->createTracing(num, instance_buffer.get(), 0));
        EXPECT_TRUE(device->setTracing(scene.get(), instances.data(), uint32_t(instances.size())));
        EXPECT_TRUE(build(scene.get()));
        return scene;
    }
    void TearDown() override {
        instance_buffer.reset();
        GpuTest::TearDown();
    }
    static Kolm::Tracing::Instance get_instance(const TracingPtr &tracing, uint32_t data = 0) {
        Kolm::Tracing::Instance instance;
        instance.tracing = tracing.get();
        instance.data = data;
        return instance;
    }
    /// Turns by \p angle about the axis (1, 1, 1), scales, and moves.
    static void set_transform(Kolm::Tracing::Instance &instance, double angle, Vec scale, Vec move) {
        const double c = cos(angle), s = sin(angle), a = (1.0 - c) / 3.0, b = s / sqrt(3.0);
        const double rows[3][3] = {{c + a, a - b, a + b}, {a + b, c + a, a - b}, {a - b, a + b, c + a}};
        const double scales[3] = {scale.x, scale.y, scale.z};
        const double moves[3] = {move.x, move.y, move.z};
        for(uint32_t i = 0; i < 3; i++) {
            for(uint32_t j = 0; j < 3; j++) instance.transform[i][j] = float(rows[i][j] * scales[j]);
            instance.transform[i][3] = float(moves[i]);
        }
    }

    /// Appends a mesh as the device sees it through \p instance, which is the scene's instance number \p index.
    static void append(std::vector<Triangle> &triangles, const std::vector<float> &vertices,
                       const Kolm::Tracing::Instance &instance, uint32_t index = 0, uint32_t geometry = 0) {
        const auto &m = instance.transform;
        const Vec columns[3] = {{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}};
        const bool flip = dot(cross(columns[0], columns[1]), columns[2]) < 0.0;
        for(size_t i = 0; i + 8 < vertices.size(); i += 9) {
            Triangle triangle;
            for(uint32_t j = 0; j < 3; j++) {
                const double v[3] = {vertices[i + j * 3], vertices[i + j * 3 + 1], vertices[i + j * 3 + 2]};
                triangle.corners[j] =
                    columns[0] * v[0] + columns[1] * v[1] + columns[2] * v[2] + Vec{m[0][3], m[1][3], m[2][3]};
            }
            triangle.instance = index;
            triangle.data = instance.data;
            triangle.geometry = geometry;
            triangle.primitive = uint32_t(i / 9);
            triangle.mask = instance.mask;
            triangle.flip = flip;
            triangles.push_back(triangle);
        }
    }

    /// Compares what the device found with the closest triangles. Rays that pass an edge too closely are left out.
    static void check(const Rays &rays, const std::vector<Triangle> &triangles, const std::vector<Hit> &hits,
                      const char *name) {
        constexpr double epsilon = 1e-4;
        ASSERT_EQ(hits.size(), size_t(rays.size) * rays.size);
        uint32_t num_sure = 0, num_hits = 0;
        const Vec origin = get_origin(rays);
        for(uint32_t i = 0; i < hits.size(); i++) {
            const Vec direction = get_direction(rays, i % rays.size, i / rays.size);
            const Triangle *closest = nullptr;
            double distance = 1e30, unsure = 1e30, closest_u = 0.0, closest_v = 0.0, det = 0.0;
            for(const Triangle &triangle : triangles) {
                if((triangle.mask & rays.mask) == 0) continue;
                const Vec edges[2] = {triangle.corners[1] - triangle.corners[0],
                                      triangle.corners[2] - triangle.corners[0]};
                const Vec p = cross(direction, edges[1]);
                const double d = dot(edges[0], p);
                if(fabs(d) < 1e-12) continue;
                const Vec s = origin - triangle.corners[0];
                const Vec q = cross(s, edges[0]);
                const double u = dot(s, p) / d, v = dot(direction, q) / d, t = dot(edges[1], q) / d;
                const double inside = std::min(std::min(u, v), 1.0 - u - v);
                if(t < rays.min_distance || t > rays.max_distance || inside < -epsilon) continue;
                if(inside < epsilon) {
                    unsure = std::min(unsure, t);
                } else if(t < distance) {
                    if(closest && distance - t < epsilon) unsure = std::min(unsure, t);
                    closest = &triangle;
                    distance = t;
                    closest_u = u;
                    closest_v = v;
                    det = d;
                } else if(t - distance < epsilon) {
                    unsure = std::min(unsure, t);
                }
            }
            if(unsure < distance + epsilon) continue;
            num_sure++;
            const Hit &hit = hits[i];
            const std::string text = std::string(name) + ", ray " + std::to_string(i);
            ASSERT_EQ(hit.distance >= 0.0f, closest != nullptr) << text;
            if(closest == nullptr) continue;
            num_hits++;
            ASSERT_NEAR(hit.distance, distance, 1e-4) << text;
            ASSERT_NEAR(hit.u, closest_u, 2e-3) << text;
            ASSERT_NEAR(hit.v, closest_v, 2e-3) << text;
            ASSERT_EQ(hit.instance, closest->instance) << text;
            ASSERT_EQ(hit.data, closest->data) << text;
            ASSERT_EQ(hit.geometry, closest->geometry) << text;
            ASSERT_EQ(hit.primitive, closest->primitive) << text;
            // The normal of a counter-clockwise triangle looks against the ray.
            ASSERT_EQ(hit.front != 0, (det > 0.0) != closest->flip) << text;
        }
        EXPECT_GT(num_sure, hits.size() * 9 / 10) << name;
        EXPECT_GT(num_hits, 0u) << name;
    }

    BufferPtr instance_buffer; // of the last scene
};
