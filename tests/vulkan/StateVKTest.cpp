// Fixed state of pipelines, row by row: depth, stencil, blending, masks, faces, multisampling.

#include <cmath>

#include "DrawTest.h"

using namespace Kolm;

class StateVKTest : public DrawTest {
protected:
    struct Params {
        float color[4];
        float color_1[4];
        float depth = 0.0f;
        float padding[3] = {};
    };

    static constexpr const char *cover = R"(#version 450
        layout(std140, binding = 0) uniform Params { vec4 color; vec4 color_1; float depth; };
        void main() {
            vec2 p = vec2(float((gl_VertexIndex & 1) * 4), float((gl_VertexIndex >> 1) * 4));
            gl_Position = vec4(p - 1.0, depth, 1.0);
        })";
    static constexpr const char *color = R"(#version 450
        layout(std140, binding = 0) uniform Params { vec4 color; vec4 color_1; float depth; };
        layout(location = 0) out vec4 out_color;
        void main() { out_color = color; })";

    PipelinePtr create(const std::function<void(Pipeline &)> &describe, const char *fragment = color) {
        return createPipeline({{Shader::TypeVertex, cover}, {Shader::TypeFragment, fragment}}, [&](Pipeline &p) {
            p.addUniform(Shader::MaskVertex | Shader::MaskFragment);
            describe(p);
        });
    }
    static void cover_all(Command &command, const Params &params) {
        command.setUniform(0, params);
        command.drawArrays(3);
    }
};

TEST_F(StateVKTest, depth_functions) {
    const struct {
        Pipeline::DepthFunc func;
        bool less, equal, greater; // drawn in front of, at and behind what is there
    } rows[] = {
        {Pipeline::DepthFuncNone, true, true, true},          {Pipeline::DepthFuncNever, false, false, false},
        {Pipeline::DepthFuncAlways, true, true, true},        {Pipeline::DepthFuncEqual, false, true, false},
        {Pipeline::DepthFuncLess, true, false, false},        {Pipeline::DepthFuncGreater, false, false, true},
        {Pipeline::DepthFuncNotEqual, true, false, true},     {Pipeline::DepthFuncLessEqual, true, true, false},
        {Pipeline::DepthFuncGreaterEqual, false, true, true},
    };
    TexturePtr texture = createTexture(FormatRGBAu8n, 3, 1);
    TexturePtr depth = createTexture(FormatDf32, 3, 1);
    TargetPtr target = createTarget({depth.get(), texture.get()});
    target->setClearDepth(0.5f);
    for(const auto &row : rows) {
        for(const Pipeline::DepthMask mask : {Pipeline::DepthMaskRead, Pipeline::DepthMaskWrite}) {
            SCOPED_TRACE(testing::Message() << row.func << " " << mask);
            PipelinePtr pipeline = create([&](Pipeline &p) {
                p.setDepthFormat(FormatDf32).setDepthFunc(row.func).setDepthMask(mask).setScissorTest(true);
            });
            ASSERT_TRUE(pipeline);
            const bool drawn[] = {row.less, row.equal, row.greater};
            draw(target, [&](Command &command) {
                command.setPipeline(pipeline.get());
                for(int32_t i = 0; i < 3; i++) {
                    command.setScissor(0, Scissor(i, 0, 1, 1));
                    cover_all(command, {{1, 1, 1, 1}, {}, 0.25f * float(i + 1)});
                }
            });
            const std::vector<Pixel> pixels = getPixels(texture.get());
            const std::vector<float> depths = getPixels<float>(depth.get());
            const bool writes = (mask == Pipeline::DepthMaskWrite && row.func != Pipeline::DepthFuncNone);
            for(uint32_t i = 0; i < 3; i++) {
                EXPECT_EQ(pixels[i][0], drawn[i] ? 255 : 0) << i;
                EXPECT_EQ(depths[i], (drawn[i] && writes) ? 0.25f * float(i + 1) : 0.5f) << i;
            }
        }
    }
}

TEST_F(StateVKTest, stencil) {
    enum Case { Pass, Fail, DepthFail };
    const struct {
        Case what;
        Pipeline::StencilOp op;
        uint8_t value, result;
    } rows[] = {
        {Pass, Pipeline::StencilOpKeep, 200, 200},      {Pass, Pipeline::StencilOpInvert, 200, 55},
        {Pass, Pipeline::StencilOpReplace, 200, 90},    {Pass, Pipeline::StencilOpIncrWrap, 255, 0},
        {Pass, Pipeline::StencilOpDecrWrap, 0, 255},    {Pass, Pipeline::StencilOpIncrSat, 255, 255},
        {Pass, Pipeline::StencilOpDecrSat, 0, 0},       {Pass, Pipeline::StencilOpIncrSat, 7, 8},
        {Fail, Pipeline::StencilOpReplace, 1, 90},      {Fail, Pipeline::StencilOpInvert, 1, 254},
        {DepthFail, Pipeline::StencilOpReplace, 1, 90}, {DepthFail, Pipeline::StencilOpDecrWrap, 1, 0},
    };
    TexturePtr texture = createTexture(FormatRGBAu8n, 1, 1);
    TexturePtr depth = createTexture(FormatDf32Su8, 1, 1);
    for(const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.what << " " << row.op << " " << int(row.value));
        const Pipeline::StencilOp keep = Pipeline::StencilOpKeep;
        PipelinePtr pipeline = create([&](Pipeline &p) {
            p.setDepthFormat(FormatDf32Su8).setStencilMask(255);
            p.setDepthFunc(row.what == DepthFail ? Pipeline::DepthFuncNever : Pipeline::DepthFuncAlways);
            p.setStencilFunc(row.what == Fail ? Pipeline::StencilFuncNever : Pipeline::StencilFuncAlways,
                             row.what == Fail ? row.op : keep, row.what == DepthFail ? row.op : keep,
                             row.what == Pass ? row.op : keep);
        });
        // Where the stencil has the value that is expected.
        PipelinePtr probe = create([](Pipeline &p) {
            p.setDepthFormat(FormatDf32Su8).setStencilMask(255);
            p.setStencilFunc(Pipeline::StencilFuncEqual, Pipeline::StencilOpKeep);
        });
        ASSERT_TRUE(pipeline && probe);
        TargetPtr target = createTarget({depth.get(), texture.get()});
        target->setClearDepth(0.5f, row.value);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setStencilRef(90);
            cover_all(command, {{0, 1, 0, 1}, {}});
            command.setPipeline(probe.get());
            command.setStencilRef(row.result);
            cover_all(command, {{1, 0, 0, 1}, {}});
        });
        EXPECT_EQ(getPixels(texture.get())[0][0], 255);
    }
    // Functions, mask and the sides of faces.
    const struct {
        Pipeline::StencilFunc func;
        uint32_t ref, mask;
        bool drawn;
    } tests[] = {
        {Pipeline::StencilFuncLess, 5, 255, true},          {Pipeline::StencilFuncLess, 7, 255, false},
        {Pipeline::StencilFuncGreater, 8, 255, true},       {Pipeline::StencilFuncGreater, 7, 255, false},
        {Pipeline::StencilFuncNotEqual, 6, 255, true},      {Pipeline::StencilFuncLessEqual, 7, 255, true},
        {Pipeline::StencilFuncGreaterEqual, 6, 255, false}, {Pipeline::StencilFuncEqual, 0x17, 0x0F, true},
        {Pipeline::StencilFuncNever, 7, 255, false},
    };
    for(const auto &row : tests) {
        SCOPED_TRACE(testing::Message() << row.func << " " << row.ref);
        PipelinePtr pipeline = create([&](Pipeline &p) {
            p.setDepthFormat(FormatDf32Su8).setStencilBackMask(255).setStencilFrontMask(row.mask);
            p.setStencilFrontFunc(row.func, Pipeline::StencilOpKeep);
            p.setStencilBackFunc(Pipeline::StencilFuncNever, Pipeline::StencilOpKeep);
        });
        TargetPtr target = createTarget({depth.get(), texture.get()});
        target->setClearDepth(0.5f, 7);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setStencilRef(row.ref);
            cover_all(command, {{1, 0, 0, 1}, {}});
        });
        EXPECT_EQ(getPixels(texture.get())[0][0], row.drawn ? 255 : 0);
    }
}

// All operations and functions on one pixel, against the equations.
TEST_F(StateVKTest, blending) {
    const float src[] = {0.8f, 0.4f, 0.2f, 0.6f}, src_1[] = {0.3f, 0.5f, 0.9f, 0.7f};
    const float dest[] = {51 / 255.0f, 153 / 255.0f, 1.0f, 102 / 255.0f}, factor[] = {0.25f, 0.5f, 0.75f, 0.35f};
    const auto get_factor = [&](uint32_t func, uint32_t i) {
        switch(func) {
        case Pipeline::BlendFuncOne: return 1.0f;
        case Pipeline::BlendFuncSrcColor: return src[i];
        case Pipeline::BlendFuncSrcAlpha: return src[3];
        case Pipeline::BlendFuncSrc1Color: return src_1[i];
        case Pipeline::BlendFuncSrc1Alpha: return src_1[3];
        case Pipeline::BlendFuncDestColor: return dest[i];
        case Pipeline::BlendFuncDestAlpha: return dest[3];
        case Pipeline::BlendFuncFactorColor: return factor[i];
        case Pipeline::BlendFuncFactorAlpha: return factor[3];
        case Pipeline::BlendFuncInvSrcColor: return 1.0f - src[i];
        case Pipeline::BlendFuncInvSrcAlpha: return 1.0f - src[3];
        case Pipeline::BlendFuncInvSrc1Color: return 1.0f - src_1[i];
        case Pipeline::BlendFuncInvSrc1Alpha: return 1.0f - src_1[3];
        case Pipeline::BlendFuncInvDestColor: return 1.0f - dest[i];
        case Pipeline::BlendFuncInvDestAlpha: return 1.0f - dest[3];
        case Pipeline::BlendFuncInvFactorColor: return 1.0f - factor[i];
        case Pipeline::BlendFuncInvFactorAlpha: return 1.0f - factor[3];
        default: return 0.0f;
        }
    };
    struct Row {
        Pipeline::BlendOp op;
        Pipeline::BlendFunc src, dest;
    };
    std::vector<Row> rows = {
        {Pipeline::BlendOpAdd, Pipeline::BlendFuncSrcAlpha, Pipeline::BlendFuncInvSrcAlpha},
        {Pipeline::BlendOpSub, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne},
        {Pipeline::BlendOpMin, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne},
        {Pipeline::BlendOpMax, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne},
    };
    for(uint32_t i = Pipeline::BlendFuncZero; i < Pipeline::NumBlendFunctions; i++) {
        rows.push_back({Pipeline::BlendOpAdd, Pipeline::BlendFunc(i), Pipeline::BlendFuncZero});
        rows.push_back({Pipeline::BlendOpAdd, Pipeline::BlendFuncZero, Pipeline::BlendFunc(i)});
    }
    TexturePtr texture = createTexture(FormatRGBAu8n, 1, 1);
    TargetPtr target = createTarget({texture.get()});
    target->setClearColor(Color(dest[0], dest[1], dest[2], dest[3]));
    for(const Row &row : rows) {
        PipelinePtr pipeline = create([&](Pipeline &p) { p.setBlend(row.op, row.src, row.dest); }, R"(#version 450
            layout(std140, binding = 0) uniform Params { vec4 color; vec4 color_1; float depth; };
            layout(location = 0, index = 0) out vec4 out_color;
            layout(location = 0, index = 1) out vec4 out_color_1;
            void main() { out_color = color; out_color_1 = color_1; })");
        ASSERT_TRUE(pipeline);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setBlendColor(factor[0], factor[1], factor[2], factor[3]);
            Params params;
            memcpy(params.color, src, sizeof(src));
            memcpy(params.color_1, src_1, sizeof(src_1));
            cover_all(command, params);
        });
        const Pixel pixel = getPixels(texture.get())[0];
        for(uint32_t i = 0; i < 4; i++) {
            const float s = src[i] * get_factor(row.src, i), d = dest[i] * get_factor(row.dest, i);
            float value = s + d;
            if(row.op == Pipeline::BlendOpSub) value = s - d;
            if(row.op == Pipeline::BlendOpMin) value = std::min(src[i], dest[i]);
            if(row.op == Pipeline::BlendOpMax) value = std::max(src[i], dest[i]);
            EXPECT_NEAR(pixel[i], std::min(std::max(value, 0.0f), 1.0f) * 255.0f, 1.01f)
                << row.op << " " << row.src << " " << row.dest << " component " << i;
        }
    }
}

TEST_F(StateVKTest, color_masks_and_targets) {
    TexturePtr a = createTexture(FormatRGBAu8n, 1, 1), b = createTexture(FormatRGBAu8n, 1, 1);
    TexturePtr c = createTexture(FormatRu32, 1, 1);
    TargetPtr target = createTarget({a.get(), b.get(), c.get()});
    target->setClearColor(0, 1.0f, 1.0f, 1.0f, 1.0f);
    target->setClearColor(1, 0.2f, 0.4f, 0.6f, 0.8f);
    target->setClearColor(2, 5.0f, 0.0f, 0.0f, 0.0f);
    PipelinePtr pipeline = create(
        [](Pipeline &p) {
            p.setColorFormat(0, FormatRGBAu8n).setColorFormat(1, FormatRGBAu8n).setColorFormat(2, FormatRu32);
            p.setColorMask(0, Pipeline::ColorMaskR | Pipeline::ColorMaskA);
            p.setBlend(1, Pipeline::BlendOpAdd, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne);
        },
        R"(#version 450
        layout(location = 0) out vec4 out_0;
        layout(location = 1) out vec4 out_1;
        layout(location = 2) out uint out_2;
        void main() { out_0 = vec4(0.0); out_1 = vec4(0.2); out_2 = 0xDEADBEEFu; })");
    ASSERT_TRUE(pipeline);
    draw(target, [&](Command &command) {
        command.setPipeline(pipeline.get());
        cover_all(command, {});
    });
    EXPECT_EQ(getPixels(a.get())[0], (Pixel{0, 255, 255, 0}));
    EXPECT_EQ(getPixels(b.get())[0], (Pixel{102, 153, 204, 255}));
    EXPECT_EQ(getPixels<uint32_t>(c.get())[0], 0xDEADBEEFu);
}

// Counter-clockwise is as drawn on the screen.
TEST_F(StateVKTest, faces) {
    TexturePtr texture = createTexture(FormatRGBAu8n, 1, 1);
    TargetPtr target = createTarget({texture.get()});
    const struct {
        bool ccw; // of the triangle that is drawn
        Pipeline::FrontMode front;
        Pipeline::CullMode cull;
        bool drawn, is_front;
    } rows[] = {
        {true, Pipeline::FrontModeCCW, Pipeline::CullModeNone, true, true},
        {false, Pipeline::FrontModeCCW, Pipeline::CullModeNone, true, false},
        {true, Pipeline::FrontModeCW, Pipeline::CullModeNone, true, false},
        {true, Pipeline::FrontModeCCW, Pipeline::CullModeBack, true, true},
        {false, Pipeline::FrontModeCCW, Pipeline::CullModeBack, false, false},
        {true, Pipeline::FrontModeCCW, Pipeline::CullModeFront, false, false},
        {false, Pipeline::FrontModeCW, Pipeline::CullModeBack, true, true},
    };
    for(const auto &row : rows) {
        PipelinePtr pipeline =
            createPipeline({{Shader::TypeVertex, position_vertex}, {Shader::TypeFragment, R"(#version 450
            layout(location = 0) out vec4 out_color;
            void main() { out_color = vec4(1.0, gl_FrontFacing ? 1.0 : 0.0, 0.0, 1.0); })"}},
                           [&](Pipeline &p) {
                               p.addAttribute(Pipeline::AttributePosition, FormatRGf32, 0, 0, 8);
                               p.setFrontMode(row.front).setCullMode(row.cull);
                           });
        ASSERT_TRUE(pipeline);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            // Bottom left, bottom right, top left goes round against the clock.
            const float ccw[] = {-1, -1, 3, -1, -1, 3}, cw[] = {-1, -1, -1, 3, 3, -1};
            command.setVertexData(0, row.ccw ? ccw : cw, sizeof(ccw));
            command.drawArrays(3);
        });
        const Pixel pixel = getPixels(texture.get())[0];
        EXPECT_EQ(pixel[0], row.drawn ? 255 : 0);
        EXPECT_EQ(pixel[1], row.is_front ? 255 : 0);
    }
}

// An edge through a pixel covers some of its samples: the resolved value is a multiple of a quarter.
TEST_F(StateVKTest, multisample) {
    constexpr uint32_t size = 32;
    TexturePtr texture = createTexture(FormatRGBAu8n, size, size, target_flags | Texture::FlagMultisample4);
    TexturePtr depth = createTexture(FormatDf32, size, size, target_flags | Texture::FlagMultisample4);
    TexturePtr resolve = createTexture(FormatRGBAu8n, size, size);
    TexturePtr depth_resolve = createTexture(FormatDf32, size, size);
    ASSERT_TRUE(texture && depth && resolve && depth_resolve);
    TargetPtr target(device->createTarget());
    target->setColorTexture(texture.get(), Target::BeginClear | Target::EndResolve);
    target->setColorResolve(resolve.get());
    target->setDepthTexture(depth.get(), Target::BeginClear | Target::EndResolve | Target::EndDiscard);
    target->setDepthResolve(depth_resolve.get());
    const auto draw_triangle = [&](const std::function<void(Pipeline &)> &describe, float alpha) {
        PipelinePtr pipeline =
            createPipeline({{Shader::TypeVertex, position_vertex}, {Shader::TypeFragment, R"(#version 450
            layout(std140, binding = 0) uniform Params { vec4 color; };
            layout(location = 0) out vec4 out_color;
            void main() { out_color = color; })"}},
                           [&](Pipeline &p) {
                               p.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12);
                               p.addUniform(Shader::MaskFragment);
                               p.setMultisample(4).setDepthFormat(FormatDf32);
                               p.setDepthFunc(Pipeline::DepthFuncAlways);
                               describe(p);
                           });
        ASSERT_TRUE(pipeline);
        draw(target, [&](Command &command) {
            const float vertices[] = {-0.9f, -0.8f, 0.25f, 0.95f, -0.3f, 0.25f, -0.2f, 0.9f, 0.25f};
            const float color[] = {1.0f, 1.0f, 1.0f, alpha};
            command.setPipeline(pipeline.get());
            command.setVertexData(0, vertices, sizeof(vertices));
            command.setUniformData(0, color, sizeof(color));
            command.drawArrays(3);
        });
    };
    const auto get_steps = [&]() {
        std::array<uint32_t, 5> steps = {};
        for(const Pixel &pixel : getPixels(resolve.get())) {
            uint32_t step = uint32_t(std::lround(pixel[0] * 4 / 255.0f));
            EXPECT_NEAR(pixel[0], step * 255 / 4.0f, 0.51f);
            steps[step]++;
        }
        return steps;
    };
    draw_triangle([](Pipeline &) {}, 1.0f);
    std::array<uint32_t, 5> steps = get_steps();
    for(uint32_t i = 0; i < 5; i++) EXPECT_GT(steps[i], 0u) << i;
    // Depth takes one sample: where all samples are covered it is the triangle's, where none is the cleared one.
    const std::vector<float> depths = getPixels<float>(depth_resolve.get());
    const std::vector<Pixel> pixels = getPixels(resolve.get());
    for(uint32_t i = 0; i < depths.size(); i++) {
        if(pixels[i][0] == 255) {
            ASSERT_EQ(depths[i], 0.25f) << i;
        }
        if(pixels[i][0] == 0) {
            ASSERT_EQ(depths[i], 1.0f) << i;
        }
    }
    // One sample is left.
    draw_triangle([](Pipeline &p) { p.setSampleMask(4); }, 1.0f);
    steps = get_steps();
    EXPECT_EQ(steps[2] + steps[3] + steps[4], 0u);
    EXPECT_GT(steps[1], 100u);
    // Half of the samples by alpha.
    draw_triangle([](Pipeline &p) { p.setAlphaToCoverage(true); }, 0.5f);
    steps = get_steps();
    EXPECT_GT(steps[2], steps[4] + 50);
}

TEST_F(StateVKTest, raster_switches) {
    TexturePtr texture = createTexture(FormatRGBAu8n, 8, 8);
    TexturePtr depth = createTexture(FormatDf32, 8, 8);
    TargetPtr target = createTarget({texture.get(), depth.get()});
    const auto count = [&](const std::function<void(Pipeline &)> &describe, float z) {
        PipelinePtr pipeline = create([&](Pipeline &p) {
            p.setDepthFormat(FormatDf32).setDepthFunc(Pipeline::DepthFuncAlways);
            describe(p);
        });
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            cover_all(command, {{1, 1, 1, 1}, {}, z});
        });
        uint32_t num = 0;
        for(const Pixel &pixel : getPixels(texture.get())) num += (pixel[0] == 255);
        return num;
    };
    const auto get_depth = [&]() { return getPixels<float>(depth.get())[0]; };
    EXPECT_EQ(count([](Pipeline &) {}, 0.5f), 64u);
    EXPECT_EQ(count([](Pipeline &p) { p.setRasterDiscard(true); }, 0.5f), 0u);
    // Behind the far plane: cut off, or drawn at its depth.
    EXPECT_EQ(count([](Pipeline &) {}, 1.5f), 0u);
    EXPECT_EQ(count([](Pipeline &p) { p.setDepthClip(false); }, 1.5f), 64u);
    EXPECT_EQ(get_depth(), 1.0f);
    // The edges of the triangle over all of it lie at two of its sides.
    const uint32_t num = count([](Pipeline &p) { p.setFillMode(Pipeline::FillModeLine); }, 0.5f);
    EXPECT_GT(num, 0u);
    EXPECT_LT(num, 32u);
    count([](Pipeline &p) { p.setDepthBias(65536.0f, 0.0f); }, 0.5f);
    EXPECT_GT(get_depth(), 0.5f);
}
