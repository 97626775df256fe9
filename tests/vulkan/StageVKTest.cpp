// The stages beside vertices and fragments: geometry, tessellation, task and mesh shaders.

#include "DrawTest.h"

using namespace Kolm;

class StageVKTest : public DrawTest {
protected:
    // Pixels of a 16 x 16 target that are set, as rows of text.
    std::string draw_text(const PipelinePtr &pipeline, const std::function<void(Command &)> &func) {
        TexturePtr texture = createTexture(FormatRGBAu8n, 16, 16);
        TargetPtr target = createTarget({texture.get()});
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            func(command);
        });
        std::string text;
        const std::vector<Pixel> pixels = getPixels(texture.get());
        for(uint32_t i = 0; i < 256; i++) text += (i % 16 == 0 ? "\n" : ""), text += (pixels[i][0] ? '#' : '.');
        return text;
    }
    // Rectangles in pixels, the end not included.
    static std::string get_text(const std::vector<std::array<uint32_t, 4>> &rects) {
        std::string text;
        for(uint32_t y = 0; y < 16; y++) {
            text += '\n';
            for(uint32_t x = 0; x < 16; x++) {
                bool inside = false;
                for(const auto &r : rects) inside |= (x >= r[0] && y >= r[1] && x < r[2] && y < r[3]);
                text += inside ? '#' : '.';
            }
        }
        return text;
    }
};

TEST_F(StageVKTest, geometry) {
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
        layout(location = 0) out float s_size;
        void main() {
            s_size = float(gl_VertexIndex + 1) / 8.0;
            gl_Position = vec4(-0.5 + float(gl_VertexIndex), 0.5, 0.0, 1.0);
        })"},
                                           {Shader::TypeGeometry, R"(#version 450
        layout(points) in;
        layout(triangle_strip, max_vertices = 4) out;
        layout(location = 0) in float s_size[];
        void main() {
            for(int i = 0; i < 4; i++) {
                vec2 corner = vec2(float(i & 1), float(i >> 1)) * 2.0 - 1.0;
                gl_Position = gl_in[0].gl_Position + vec4(corner * s_size[0] * 2.0, 0.0, 0.0);
                EmitVertex();
            }
            EndPrimitive();
        })"},
                                           {Shader::TypeFragment, white_fragment}},
                                          [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitivePoint); });
    ASSERT_TRUE(pipeline);
    EXPECT_EQ(draw_text(pipeline, [](Command &command) { command.drawArrays(2); }),
              get_text({{2, 2, 6, 6}, {8, 0, 16, 8}}));
}

// A quad patch in two by two parts, of which the shader keeps the corner at 0, 0: the lower left.
TEST_F(StageVKTest, tessellation) {
    PipelinePtr pipeline = createPipeline({{Shader::TypeVertex, R"(#version 450
        void main() {
            gl_Position = vec4(float(gl_VertexIndex & 1) - 0.5, float(gl_VertexIndex >> 1) - 0.5, 0.0, 1.0);
        })"},
                                           {Shader::TypeControl, R"(#version 450
        layout(vertices = 4) out;
        void main() {
            gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;
            if(gl_InvocationID == 0) {
                gl_TessLevelOuter[0] = 2.0;
                gl_TessLevelOuter[1] = 2.0;
                gl_TessLevelOuter[2] = 2.0;
                gl_TessLevelOuter[3] = 2.0;
                gl_TessLevelInner[0] = 2.0;
                gl_TessLevelInner[1] = 2.0;
            }
        })"},
                                           {Shader::TypeEvaluate, R"(#version 450
        layout(quads, equal_spacing, ccw) in;
        layout(location = 0) out vec2 s_coord;
        void main() {
            vec4 lower = mix(gl_in[0].gl_Position, gl_in[1].gl_Position, gl_TessCoord.x);
            vec4 upper = mix(gl_in[2].gl_Position, gl_in[3].gl_Position, gl_TessCoord.x);
            gl_Position = mix(lower, upper, gl_TessCoord.y);
            s_coord = gl_TessCoord.xy;
        })"},
                                           {Shader::TypeFragment, R"(#version 450
        layout(location = 0) in vec2 s_coord;
        layout(location = 0) out vec4 out_color;
        void main() {
            if(s_coord.x > 0.5 || s_coord.y > 0.5) discard;
            out_color = vec4(1.0);
        })"}},
                                          [](Pipeline &p) {
                                              p.setPrimitive(Pipeline::PrimitiveQuadrilateralPatch);
                                              p.setCullMode(Pipeline::CullModeBack);
                                          });
    ASSERT_TRUE(pipeline);
    EXPECT_EQ(draw_text(pipeline, [](Command &command) { command.drawArrays(4); }), get_text({{4, 8, 8, 12}}));
}

TEST_F(StageVKTest, mesh_and_task) {
    const char *mesh = R"(#version 450
        #extension GL_EXT_mesh_shader : require
        layout(local_size_x = 4) in;
        layout(triangles, max_vertices = 4, max_primitives = 2) out;
        void main() {
            uint i = gl_LocalInvocationIndex;
            SetMeshOutputsEXT(4u, 2u);
            vec2 corner = vec2(float(i & 1u), float(i >> 1u)) * 0.5 + vec2(gl_WorkGroupID.xy) - 1.0;
            gl_MeshVerticesEXT[i].gl_Position = vec4(corner, 0.0, 1.0);
            if(i == 0u) {
                gl_PrimitiveTriangleIndicesEXT[0] = uvec3(0u, 1u, 2u);
                gl_PrimitiveTriangleIndicesEXT[1] = uvec3(2u, 1u, 3u);
            }
        })";
    PipelinePtr pipeline = createPipeline({{Shader::TypeMesh, mesh}, {Shader::TypeFragment, white_fragment}});
    ASSERT_TRUE(pipeline);
    EXPECT_EQ(draw_text(pipeline, [](Command &command) { command.drawMesh(2, 1, 1); }),
              get_text({{0, 12, 4, 16}, {8, 12, 12, 16}}));
    EXPECT_EQ(draw_text(pipeline,
                        [](Command &command) {
                            command.setIndirect(Command::DrawMeshIndirect{1, 2, 1});
                            command.drawMeshIndirect(1);
                        }),
              get_text({{0, 12, 4, 16}, {0, 4, 4, 8}}));
    EXPECT_EQ(draw_text(pipeline,
                        [](Command &command) {
                            const Command::DrawMeshIndirect records[] = {{1, 2, 1}, {2, 1, 1}};
                            command.setIndirectData(records, sizeof(records));
                            command.drawMeshIndirect(2);
                        }),
              get_text({{0, 12, 4, 16}, {0, 4, 4, 8}, {8, 12, 12, 16}}));

    PipelinePtr tasks = createPipeline({{Shader::TypeTask, R"(#version 450
        #extension GL_EXT_mesh_shader : require
        layout(local_size_x = 1) in;
        void main() { EmitMeshTasksEXT(gl_WorkGroupID.x + 1u, 2u, 1u); })"},
                                        {Shader::TypeMesh, mesh},
                                        {Shader::TypeFragment, white_fragment}});
    ASSERT_TRUE(tasks);
    EXPECT_EQ(draw_text(tasks, [](Command &command) { command.drawMesh(2, 1, 1); }),
              get_text({{0, 12, 4, 16}, {0, 4, 4, 8}, {8, 12, 12, 16}, {8, 4, 12, 8}}));
}
