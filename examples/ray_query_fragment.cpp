// A ray query in a fragment shader: a drawn square receives the shadows of triangles that are not drawn at all.

#include "Example.h"

#include <math.h>
using namespace Ostrevan;

// A triangle over the whole target. `s_point` is -1 to 1, y upwards.
static const char *const vertex_source = R"(#version 460
    layout(location = 0) out vec2 s_point;
    void main() {
        s_point = vec2(float(gl_VertexIndex & 1), float(gl_VertexIndex >> 1)) * 4.0f - 1.0f;
        gl_Position = vec4(s_point, 0.0f, 1.0f);
    })";

// Sets are dense over the kinds that are used: the acceleration structure is in set 0.
static const char *const fragment_source = R"(#version 460
    #extension GL_EXT_ray_query : require
    layout(location = 0) in vec2 s_point;
    layout(location = 0) out vec4 out_color;
    layout(binding = 0) uniform accelerationStructureEXT scene;
    void main() {
        // Nine lights: each takes a part of the light away where its ray meets a triangle.
        float light = 1.0f;
        for(int i = 0; i < 9; i++) {
            vec3 point = vec3(s_point, 0.0f);
            vec3 direction = vec3(vec2(i % 3 - 1, i / 3 - 1) * 0.15f, 2.0f) - point * vec3(0.2f, 0.2f, 0.0f);
            rayQueryEXT query;
            rayQueryInitializeEXT(query, scene, gl_RayFlagsOpaqueEXT | gl_RayFlagsTerminateOnFirstHitEXT, 0xFFu, point,
                0.001f, direction, 1.0f);
            rayQueryProceedEXT(query);
            if(rayQueryGetIntersectionTypeEXT(query, true) != gl_RayQueryCommittedIntersectionNoneEXT)
                light -= 1.0f / 9.0f;
        }
        out_color = vec4(vec3(1.0f, 0.95f, 0.8f) * light, 1.0f);
    })";

static bool build(Device &device, const Tracing &tracing) {
    Buffer scratch = device.createBuffer(Buffer::FlagScratch, tracing.getBuildSize());
    return (scratch && device.buildTracing(tracing, scratch) && device.flushTracing(tracing));
}

int main(int argc, char **argv) {
    Example example("ray_query_fragment", "Shows shadows by rays of a fragment shader.", argc, argv);
    if(!example.create()) return example.getResult();
    Device &device = example.getDevice();
    constexpr uint32_t size = 512;
    if(!device.getFeatures().fragmentTracing) return example.fail("the device has no ray queries");
    Pipeline pipeline = device.createPipeline();
    pipeline.setTracingMask(0, Shader::MaskFragment).setColorFormat(FormatRGBAu8n);
    if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_source)) return 1;
    if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_source)) return 1;
    if(!pipeline.create()) return 1;

    // A star of five triangles at height 0.6.
    constexpr uint32_t num_corners = 15;
    float vertices[num_corners][3];
    for(uint32_t i = 0; i < num_corners; i++) {
        const float turn = float(i / 3) * 2.0f + (i % 3 == 0 ? 0.0f : i % 3 == 1 ? -0.6f : 0.6f);
        const float radius = (i % 3 == 0) ? 0.9f : 0.3f, angle = turn * 3.1415927f / 5.0f;
        vertices[i][0] = sinf(angle) * radius;
        vertices[i][1] = cosf(angle) * radius;
        vertices[i][2] = 0.6f;
    }
    Buffer vertex_buffer = device.createBuffer(Buffer::FlagTracing, vertices, sizeof(vertices));
    Tracing star = device.createTracing(num_corners, FormatRGBf32, 12, 0, FormatUnknown);
    if(!vertex_buffer || !star) return 1;
    star.setVertexBuffer(0, vertex_buffer);
    if(!build(device, star)) return 1;
    Tracing::Instance instance;
    instance.tracing = &star;
    Buffer instance_buffer = device.createBuffer(Buffer::FlagTracing, Tracing::InstanceSize);
    Tracing scene = device.createTracing(1, instance_buffer);
    if(!scene || !device.setTracing(scene, &instance, 1) || !build(device, scene)) return 1;

    Texture texture = device.createTexture2D(FormatRGBAu8n, size, Texture::FlagTarget | Texture::FlagSource);
    Target target = device.createTarget({texture});
    if(!texture || !target || !target.begin()) return 1;
    {
        Command command = device.createCommand(target);
        command.setPipeline(pipeline);
        command.setTracing(0, scene);
        command.drawArrays(3);
    }
    if(!target.end()) return 1;
    return example.save(texture);
}
