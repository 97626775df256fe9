// Ray queries in a compute shader: a ring of turned cubes with hard shadows, one ray to the eye and one to the light.

#include "Example.h"

#include <math.h>
#include <string.h>

using namespace Ostrevan;

static const char *const source = R"(#version 460
    #extension GL_EXT_ray_query : require
    layout(local_size_x = 8, local_size_y = 8) in;
    layout(std140, binding = 0) uniform Parameters { uvec2 size; };
    layout(std430, binding = 1) buffer Output { uint pixels[]; };
    layout(set = 1, binding = 0) uniform accelerationStructureEXT scene;
    void main() {
        uvec2 id = gl_GlobalInvocationID.xy;
        vec2 p = (vec2(id) + 0.5f) / vec2(size) * 2.0f - 1.0f;
        vec3 origin = vec3(0.0f, 3.0f, 4.5f);
        vec3 direction = normalize(vec3(p.x, -p.y - 0.9f, -1.5f)); // the first row is the top

        rayQueryEXT query;
        rayQueryInitializeEXT(query, scene, gl_RayFlagsOpaqueEXT, 0xFFu, origin, 0.001f, direction, 100.0f);
        rayQueryProceedEXT(query);
        vec3 color = vec3(0.1f, 0.12f, 0.15f);
        if(rayQueryGetIntersectionTypeEXT(query, true) == gl_RayQueryCommittedIntersectionTriangleEXT) {
            // Faces of the cube are pairs of triangles: -x, +x, -y, +y, -z, +z.
            int face = rayQueryGetIntersectionPrimitiveIndexEXT(query, true) / 2;
            vec3 normal = vec3(0.0f);
            normal[face / 2] = (face & 1) != 0 ? 1.0f : -1.0f;
            normal = normalize(mat3(rayQueryGetIntersectionObjectToWorldEXT(query, true)) * normal);
            vec3 point = origin + direction * rayQueryGetIntersectionTEXT(query, true);
            uint data = uint(rayQueryGetIntersectionInstanceCustomIndexEXT(query, true));
            vec3 base = vec3(data & 0xFFu, (data >> 8u) & 0xFFu, data >> 16u) / 255.0f;

            vec3 light = normalize(vec3(0.5f, 1.0f, 0.3f));
            float diffuse = max(dot(normal, light), 0.0f);
            rayQueryEXT shadow;
            rayQueryInitializeEXT(shadow, scene, gl_RayFlagsOpaqueEXT | gl_RayFlagsTerminateOnFirstHitEXT, 0xFFu,
                point + normal * 0.001f, 0.001f, light, 100.0f);
            rayQueryProceedEXT(shadow);
            if(rayQueryGetIntersectionTypeEXT(shadow, true) != gl_RayQueryCommittedIntersectionNoneEXT) diffuse = 0.0f;
            color = base * (0.2f + 0.8f * diffuse);
        }
        pixels[id.y * size.x + id.x] = packUnorm4x8(vec4(color, 1.0f));
    })";

static bool build(Device &device, const Tracing &tracing) {
    Buffer scratch = device.createBuffer(Buffer::FlagScratch, tracing.getBuildSize());
    return (scratch && device.buildTracing(tracing, scratch) && device.flushTracing(tracing));
}

// Scales, turns about the y axis, and moves.
static Tracing::Instance place(const Tracing &cube, float width, float height, float angle, float x, float y, float z,
                               uint32_t color) {
    Tracing::Instance instance;
    const float c = cosf(angle) * width, s = sinf(angle) * width;
    const float transform[3][4] = {{c, 0, s, x}, {0, height, 0, y}, {-s, 0, c, z}};
    memcpy(instance.transform, transform, sizeof(transform));
    instance.tracing = &cube;
    instance.data = color;
    return instance;
}

int main(int argc, char **argv) {
    Example example("ray_query", "Shows rays that a kernel sends into a scene.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    const uint32_t size[2] = {512, 512};
    if(!device.getFeatures().computeTracing) return example.fail("the device has no ray queries");
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1).setTracings(1);
    if(!kernel.createShaderGLSL(source) || !kernel.create()) return 1;

    // The corner i has its x, y and z in the bits of i.
    const uint16_t indices[] = {0, 2, 4, 2, 6, 4, 1, 5, 3, 3, 5, 7, 0, 4, 1, 1, 4, 5,
                                2, 3, 6, 3, 7, 6, 0, 1, 2, 1, 3, 2, 4, 6, 5, 5, 6, 7};
    float vertices[8][3];
    for(uint32_t i = 0; i < 8; i++) {
        for(uint32_t j = 0; j < 3; j++) vertices[i][j] = ((i >> j) & 1) ? 1.0f : -1.0f;
    }
    Buffer vertex_buffer = device.createBuffer(Buffer::FlagTracing, vertices, sizeof(vertices));
    Buffer index_buffer = device.createBuffer(Buffer::FlagTracing, indices, sizeof(indices));
    Tracing cube = device.createTracing(8, FormatRGBf32, 12, 36, FormatRu16);
    if(!vertex_buffer || !index_buffer || !cube) return 1;
    cube.setVertexBuffer(0, vertex_buffer).setIndexBuffer(0, index_buffer);
    if(!build(device, cube)) return 1;

    // A flat cube as the ground, and twelve on a circle.
    constexpr uint32_t num_instances = 13;
    Tracing::Instance instances[num_instances];
    instances[0] = place(cube, 4.0f, 0.1f, 0.0f, 0.0f, -0.1f, 0.0f, 0xC0C0C0);
    for(uint32_t i = 1; i < num_instances; i++) {
        const float angle = float(i) * 6.2831853f / 12.0f, height = 0.2f + 0.04f * float(i);
        const uint32_t color = (40u + i * 17u) | ((255u - i * 15u) << 8) | (((i * 67u) & 0xFFu) << 16);
        instances[i] = place(cube, 0.3f, height, angle * 1.7f, cosf(angle) * 1.9f, height, sinf(angle) * 1.9f, color);
    }
    Buffer instance_buffer = device.createBuffer(Buffer::FlagTracing, Tracing::InstanceSize * num_instances);
    Tracing scene = device.createTracing(num_instances, instance_buffer);
    if(!scene || !device.setTracing(scene, instances, num_instances) || !build(device, scene)) return 1;

    Buffer pixels = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, size[0] * size[1] * 4);
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        compute.setUniform(0, size);
        compute.setStorageBuffer(0, pixels);
        compute.setTracing(0, scene);
        compute.dispatch(size[0], size[1]);
    }
    Image image;
    image.create2D(FormatRGBAu8n, size[0], size[1]);
    return device.getBuffer(pixels, image.getData()) ? example.save(image) : 1;
}
