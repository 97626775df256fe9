#include "DrawTest.h"

#include "KolmShaderCompiler.h"
#include "SpirvModule.h"

using namespace Kolm;

const char *DrawTest::position_vertex = R"(#version 450
    layout(location = 0) in vec4 in_position;
    void main() { gl_Position = in_position; })";

const char *DrawTest::white_fragment = R"(#version 450
    layout(location = 0) out vec4 out_color;
    void main() { out_color = vec4(1.0); })";

const char *DrawTest::cover_vertex = R"(#version 450
    layout(location = 0) out vec2 s_texcoord;
    void main() {
        vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
        s_texcoord = vec2(p.x, p.y) * 0.5;
        gl_Position = vec4(p.x - 1.0, 1.0 - p.y, 0.0, 1.0);
    })";

DrawTest::PipelinePtr DrawTest::createPipeline(const std::vector<Stage> &stages,
                                               const std::function<void(Pipeline &)> &describe) {
    PipelinePtr pipeline(device->createPipeline());
    pipeline->setColorFormat(FormatRGBAu8n);
    if(describe) describe(*pipeline);
    for(const Stage &stage : stages) {
        ShaderCompiler compiler;
        if(!compiler.createGLSL(stage.type, stage.src.c_str()) ||
           !pipeline->createShaderGLSL(stage.type, stage.src.c_str())) {
            ADD_FAILURE() << "can't compile\n" << stage.src;
            return nullptr;
        }
        const Array<uint32_t> &opcodes = compiler.getOpcodes();
        EXPECT_TRUE(SpirvModule(opcodes.get(), opcodes.size()).validate()) << stage.src;
    }
    if(pipeline->create()) return pipeline;
    ADD_FAILURE() << "can't create pipeline of\n" << stages[0].src;
    return nullptr;
}

void DrawTest::draw(Target *target, const std::function<void(Command &)> &func) {
    ASSERT_TRUE(target->begin());
    CommandPtr command(device->createCommand(target));
    ASSERT_TRUE(command);
    func(*command);
    command.reset();
    ASSERT_TRUE(target->end());
}
