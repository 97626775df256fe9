// Raster programs of tests/data/pictures by the library's compiler and by the reference compiler: the same picture.

#ifdef OSTREVAN_GLSLANG

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "DrawTest.h"
#include "KolmShaderCompiler.h"
#include "ReferenceCompiler.h"
#include "SpirvModule.h"

using namespace Kolm;

class PicturesVKTest : public DrawTest {
protected:
    using Color = std::array<float, 4>;

    void TearDown() override {
        texture.reset();
        sampler.reset();
        DrawTest::TearDown();
    }

    struct Parameters {
        float values[4][4];
        float transform[4][4];
        int32_t numbers[4];
    };

    PicturesVKTest() {
        for(uint32_t i = 0; i < 16; i++) {
            parameters.values[i / 4][i % 4] = float(i * 7 % 16) / 16.0f;
            parameters.transform[i / 4][i % 4] = float(i * 5 % 16) / 8.0f - (i % 5 ? 1.0f : 0.0f);
        }
    }

    // Levels of random pixels.
    void create_texture() {
        texture.reset(device->createTexture2D(FormatRGBAu8n, 16, Texture::FlagMipmaps));
        uint32_t word = 1;
        for(uint32_t mipmap = 0; mipmap < texture->getMipmaps(); mipmap++) {
            Image image;
            ASSERT_TRUE(image.create2D(FormatRGBAu8n, texture->getSize(mipmap)));
            for(size_t i = 0; i < image.getDataSize(); i++)
                image.getData()[i] = uint8_t((word = word * 1664525u + 1013904223u) >> 24);
            ASSERT_TRUE(device->setTexture(texture.get(), Origin(), Slice(Mipmap(mipmap)), image, Slice()));
        }
        sampler.reset(device->createSampler(Sampler::FilterTrilinear, Sampler::WrapModeRepeat));
        ASSERT_TRUE(sampler);
    }

    static std::string load(const std::filesystem::path &path) {
        std::ifstream file(path);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// The stages of a program; without a vertex shader a triangle covers the target.
    static std::vector<Stage> load_stages(std::filesystem::path path) {
        static constexpr struct {
            const char *extension;
            Shader::Type type;
        } rows[] = {
            {".vert", Shader::TypeVertex},   {".tesc", Shader::TypeControl},  {".tese", Shader::TypeEvaluate},
            {".geom", Shader::TypeGeometry}, {".frag", Shader::TypeFragment},
        };
        std::vector<Stage> stages;
        for(const auto &row : rows) {
            std::string src = load(path.replace_extension(row.extension));
            if(src.empty() && row.type == Shader::TypeVertex) src = cover_vertex;
            if(!src.empty()) stages.push_back({row.type, src});
        }
        return stages;
    }

    /// Words by one of the compilers; empty after a failure of the test.
    static std::vector<uint32_t> compile_stage(const Stage &stage, bool reference) {
        if(reference) {
            ReferenceCompiler compiler;
            std::vector<uint32_t> words = compiler.compile(stage.type, stage.src.c_str());
            EXPECT_FALSE(words.empty()) << compiler.message;
            return words;
        }
        ShaderCompiler compiler;
        EXPECT_TRUE(compiler.createGLSL(stage.type, stage.src.c_str())) << stage.src;
        const Array<uint32_t> &opcodes = compiler.getOpcodes();
        EXPECT_TRUE(SpirvModule(opcodes.get(), opcodes.size()).validate()) << stage.src;
        return std::vector<uint32_t>(opcodes.get(), opcodes.get() + opcodes.size());
    }

    std::vector<Color> draw_picture(const std::vector<Stage> &stages, bool reference) {
        PipelinePtr pipeline(device->createPipeline());
        pipeline->setColorFormat(FormatRGBAf32).setDepthFormat(FormatDf32);
        pipeline->setDepthFunc(Pipeline::DepthFuncLess);
        pipeline->addSampler(Shader::MaskGraphics);
        pipeline->addTexture(Shader::MaskGraphics);
        pipeline->addUniform(Shader::MaskGraphics);
        for(const Stage &stage : stages) {
            if(stage.type == Shader::TypeControl) pipeline->setPrimitive(Pipeline::PrimitiveTrianglePatch);
            const std::vector<uint32_t> words = compile_stage(stage, reference);
            if(words.empty() ||
               !pipeline->createShaderSPIRV(stage.type, Array<uint32_t>(uint32_t(words.size()), words.data())))
                return {};
        }
        if(!pipeline->create()) return {};
        TexturePtr color = createTexture(FormatRGBAf32, 64, 64);
        TexturePtr depth(device->createTexture2D(FormatDf32, 64, Texture::FlagTarget));
        TargetPtr target = createTarget({color.get(), depth.get()});
        target->setClearColor(-1.0f, -1.0f, -1.0f, -1.0f);
        target->setClearDepth(1.0f);
        draw(target, [&](Command &command) {
            command.setPipeline(pipeline.get());
            command.setSampler(0, sampler.get());
            command.setTexture(0, texture.get());
            command.setUniformData(0, &parameters, sizeof(parameters));
            command.drawArraysInstanced(3, 0, 2, 0);
        });
        return getPixels<Color>(color.get());
    }

    Parameters parameters = {{}, {}, {2, 3, 0, 0}};
    TexturePtr texture;
    SamplerPtr sampler;
};

TEST_F(PicturesVKTest, are_those_of_the_reference_compiler) {
    create_texture();
    std::vector<std::filesystem::path> paths;
    for(const auto &entry : std::filesystem::directory_iterator(OSTREVAN_TEST_DATA "/pictures")) {
        if(entry.path().extension() == ".frag") paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    EXPECT_GE(paths.size(), 20u);
    for(const auto &path : paths) {
        SCOPED_TRACE(path.stem().string());
        const std::vector<Stage> stages = load_stages(path);
        const std::vector<Color> ours = draw_picture(stages, false), theirs = draw_picture(stages, true);
        ASSERT_EQ(ours.size(), 64u * 64u);
        ASSERT_EQ(theirs.size(), ours.size());
        uint32_t num_drawn = 0;
        for(uint32_t i = 0; i < ours.size(); i++) {
            num_drawn += (ours[i] != Color{-1.0f, -1.0f, -1.0f, -1.0f});
            for(uint32_t j = 0; j < 4; j++) {
                const float a = ours[i][j], b = theirs[i][j];
                ASSERT_LE(std::abs(a - b), 2e-6f * std::max(1.0f, std::abs(b))) << i % 64 << " " << i / 64 << " " << j;
            }
        }
        EXPECT_GT(num_drawn, 64u) << "hardly anything is drawn";
        ASSERT_TRUE(device->flip());
    }
}

#endif
