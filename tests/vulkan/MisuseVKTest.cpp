// No misuse of a recorder reaches the driver: the same table that the stub backend is tested with.

#include "DrawTest.h"
#include "RecorderMisuse.h"

using namespace Kolm;

class MisuseVKTest : public GpuTest {};

TEST_F(MisuseVKTest, stops_before_the_driver) {
    RecorderMisuse misuse(*device);
    EXPECT_GE(misuse.rows.size(), 112u);
    misuse.check();
}

// Pipelines that do not fit the target.
class PipelineMisuseVKTest : public DrawTest {};

TEST_F(PipelineMisuseVKTest, formats_and_samples) {
    TexturePtr color = createTexture(FormatRGBAu8n, 16, 16);
    TargetPtr target = createTarget({color.get()});
    constexpr const char *vertex = "#version 450\nvoid main() { gl_Position = vec4(0.0, 0.0, 0.0, 1.0); }";
    constexpr const char *two_colors = R"(#version 450
        layout(location = 0) out vec4 out_color;
        layout(location = 1) out vec4 out_value;
        void main() { out_color = out_value = vec4(1.0); })";
    const struct {
        std::function<void(Pipeline &)> describe;
        const char *fragment;
        const char *text;
    } rows[] = {
        {[](Pipeline &p) { p.setColorFormat(FormatRGBAf16); }, white_fragment,
         "color 0 of fit pipeline is RGBAf16, and RGBAu8n of the target"},
        {[](Pipeline &p) { p.setColorFormat(FormatRGBAu8n, 2); }, two_colors,
         "color 1 of fit pipeline is RGBAu8n, and Unknown of the target"},
        {[](Pipeline &p) { p.setDepthFormat(FormatDf32); }, white_fragment,
         "depth of fit pipeline is Df32, and Unknown of the target"},
        {[](Pipeline &p) { p.setMultisample(4); }, white_fragment, "fit pipeline has 4 samples, and the target 1"},
    };
    for(const auto &row : rows) {
        PipelinePtr pipeline =
            createPipeline({{Shader::TypeVertex, vertex}, {Shader::TypeFragment, row.fragment}}, row.describe);
        ASSERT_TRUE(pipeline) << row.text;
        pipeline->setName("fit");
        draw(target, [&](Command &command) {
            EXPECT_ASSERTION(command.setPipeline(pipeline.get()),
                             std::string("\"VKCommand::setPipeline(): invalid pipeline: ") + row.text + "\"");
        });
    }
    // Formats that nothing can be drawn to come to an end before there is a pass.
    for(const Format format : {FormatUnknown, FormatRGBi64}) {
        PipelinePtr pipeline(device->createPipeline());
        pipeline->setColorFormat(format);
        ASSERT_TRUE(pipeline->createShaderGLSL(Shader::TypeVertex, vertex));
        ASSERT_TRUE(pipeline->createShaderGLSL(Shader::TypeFragment, white_fragment));
        ASSERT_FALSE(device->hasTarget(format));
        expectLog(std::string("VKPipeline::create(): ") + getFormatName(format) + " targets are not supported");
        EXPECT_FALSE(pipeline->create());
    }
}
