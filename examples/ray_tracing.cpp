// Rays through a ray tracing pipeline: spheres by an intersection shader above a chequered floor of triangles.

#include "Example.h"

using namespace Ostrevan;

// Sets are dense over the kinds that are used: buffers are set 0, acceleration structures set 1.
static const char *const raygen_source = R"(#version 460
    #extension GL_EXT_ray_tracing : require
    layout(std430, binding = 0) buffer Output { uint pixels[]; };
    layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
    layout(location = 0) rayPayloadEXT vec3 color;
    void main() {
        vec2 p = (vec2(gl_LaunchIDEXT.xy) + 0.5f) / vec2(gl_LaunchSizeEXT.xy) * 2.0f - 1.0f;
        vec3 direction = normalize(vec3(p.x, -p.y - 0.3f, -1.5f)); // the first row is the top
        traceRayEXT(scene, gl_RayFlagsOpaqueEXT, 0xFFu, 0u, 0u, 0u, vec3(0.0f, 1.5f, 4.0f), 0.001f, direction, 100.0f, 0);
        pixels[gl_LaunchIDEXT.y * gl_LaunchSizeEXT.x + gl_LaunchIDEXT.x] = packUnorm4x8(vec4(color, 1.0f));
    })";

static const char *const miss_source = R"(#version 460
    #extension GL_EXT_ray_tracing : require
    layout(location = 0) rayPayloadInEXT vec3 color;
    void main() { color = mix(vec3(0.9f), vec3(0.3f, 0.5f, 0.9f), clamp(gl_WorldRayDirectionEXT.y + 0.5f, 0.0f, 1.0f)); })";

static const char *const floor_source = R"(#version 460
    #extension GL_EXT_ray_tracing : require
    layout(location = 0) rayPayloadInEXT vec3 color;
    void main() {
        vec3 p = gl_WorldRayOriginEXT + gl_WorldRayDirectionEXT * gl_HitTEXT;
        ivec2 square = ivec2(floor(p.xz));
        color = vec3(((square.x + square.y) & 1) != 0 ? 0.25f : 0.75f);
    })";

static const char *const sphere_source = R"(#version 460
    #extension GL_EXT_ray_tracing : require
    layout(location = 0) rayPayloadInEXT vec3 color;
    hitAttributeEXT vec3 normal;
    void main() { color = normal * 0.5f + 0.5f; })";

// A unit sphere in the space of its instance. Distances are the same in both spaces.
static const char *const intersection_source = R"(#version 460
    #extension GL_EXT_ray_tracing : require
    hitAttributeEXT vec3 normal;
    void main() {
        vec3 o = gl_ObjectRayOriginEXT, d = gl_ObjectRayDirectionEXT;
        float a = dot(d, d), b = dot(o, d), c = dot(o, o) - 1.0f;
        float s = b * b - a * c;
        if(s < 0.0f) return;
        float t = (-b - sqrt(s)) / a;
        normal = o + d * t;
        reportIntersectionEXT(t, 0u);
    })";

static bool build(Device &device, const Tracing &tracing) {
    Buffer scratch = device.createBuffer(Buffer::FlagScratch, tracing.getBuildSize());
    return (scratch && device.buildTracing(tracing, scratch) && device.flushTracing(tracing));
}

int main(int argc, char **argv) {
    Example example("ray_tracing", "Shows spheres by rays through a ray tracing pipeline.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 512;
    if(!device.getFeatures().rayTracing) return example.fail("the device has no ray tracing pipelines");

    // Hit groups are numbered in the order in which they are opened: the floor is 0, spheres are 1.
    Traversal traversal = device.createTraversal();
    traversal.setStorageMask(0, Shader::MaskRayGen);
    traversal.setTracingMask(0, Shader::MaskRayGen);
    if(!traversal.createShaderGLSL(Shader::TypeRayGen, raygen_source)) return 1;
    if(!traversal.createShaderGLSL(Shader::TypeRayMiss, miss_source)) return 1;
    if(!traversal.createShaderGLSL(Shader::TypeClosest, floor_source)) return 1;
    if(!traversal.createShaderGLSL(Shader::TypeClosest, sphere_source)) return 1;
    if(!traversal.createShaderGLSL(Shader::TypeIntersection, intersection_source)) return 1;
    if(!traversal.create()) return 1;

    // Two bottom structures: a square of two triangles, and the box around a unit sphere.
    const float vertices[] = {-1, 0, 1, 1, 0, 1, -1, 0, -1, 1, 0, 1, 1, 0, -1, -1, 0, -1};
    const float box[] = {-1, -1, -1, 1, 1, 1};
    Buffer vertex_buffer = device.createBuffer(Buffer::FlagTracing, vertices, sizeof(vertices));
    Buffer box_buffer = device.createBuffer(Buffer::FlagTracing, box, sizeof(box));
    Tracing floor = device.createTracing(6, FormatRGBf32, 12, 0, FormatUnknown);
    Tracing sphere = device.createTracing(1, sizeof(box), box_buffer, 0);
    if(!vertex_buffer || !box_buffer || !floor || !sphere) return 1;
    floor.setVertexBuffer(0, vertex_buffer);
    if(!build(device, floor) || !build(device, sphere)) return 1;

    // The floor ten times as large, and nine spheres in rows that go away from the eye.
    constexpr uint32_t num_instances = 10;
    Tracing::Instance instances[num_instances];
    instances[0].tracing = &floor;
    instances[0].transform[0][0] = instances[0].transform[2][2] = 10.0f;
    for(uint32_t i = 1; i < num_instances; i++) {
        const uint32_t x = (i - 1) % 3, z = (i - 1) / 3;
        const float radius = 0.3f + 0.1f * float(z);
        const float position[3] = {(float(x) - 1.0f) * 1.4f, radius, 1.0f - float(z) * 1.5f};
        for(uint32_t j = 0; j < 3; j++) {
            instances[i].transform[j][j] = radius;
            instances[i].transform[j][3] = position[j];
        }
        instances[i].tracing = &sphere;
        instances[i].offset = 1;
    }
    Buffer instance_buffer = device.createBuffer(Buffer::FlagTracing, Tracing::InstanceSize * num_instances);
    Tracing scene = device.createTracing(num_instances, instance_buffer);
    if(!scene || !device.setTracing(scene, instances, num_instances) || !build(device, scene)) return 1;

    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size * size * 4);
    {
        Compute compute = device.createCompute();
        compute.setTraversal(traversal);
        compute.setStorageBuffer(0, pixels);
        compute.setTracing(0, scene);
        compute.dispatch(size, size);
    }
    Image image;
    image.create2D(FormatRGBAu8n, size, size);
    return device.getBuffer(pixels, image.getData()) ? example.save(image) : 1;
}
