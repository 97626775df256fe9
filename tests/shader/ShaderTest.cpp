// Shader: what reaches a backend, the way through the compiler, and many threads at once.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "KolmFile.h"
#include "KolmShaderCompiler.h"

using namespace Kolm;

namespace {

const std::string folder = OSTREVAN_TEST_DATA "/shader/";

// Backend that keeps what it is given.
class TextShader : public Shader {
public:
    Platform getPlatform() const override { return PlatformVK; }
    void clear() override {}
    bool isCreated() const override { return true; }
    bool saveState(Stream &) const override { return true; }
    using Shader::set_vendor;

    std::string text;
    std::vector<uint32_t> words;
    std::string name;

protected:
    bool set_macros(State &state) const override {
        state.set_macro("BACKEND", "backend");
        return Shader::set_macros(state);
    }
    bool compile(Type, const String &src, State &state) override {
        text = src.get();
        name = state.get_name().get();
        return true;
    }
    bool compile(Type, const Array<uint32_t> &opcodes, State &state) override {
        words.assign(opcodes.get(), opcodes.get() + opcodes.size());
        name = state.get_name().get();
        return true;
    }
};

const char *fill_src = "layout(local_size_x = 64) in;\n"
                       "layout(binding = 0, std430) buffer Buffer { uint data[]; };\n"
                       "void main() { data[gl_GlobalInvocationID.x] = VALUE; }\n";

TEST(Shader, text_reaches_the_backend) {
    CapturedLog log;
    TextShader shader;
    const char *includes[] = {"a.h", "included", "odd"};
    EXPECT_TRUE(shader.create(Shader::TypeVertex,
                              "#include \"a.h\"\nCALLER BACKEND _LINUX __LINE__ KOLM_GLSL LINES_SHADER\n",
                              String("CALLER=caller; BACKEND=caller; LINES_SHADER=1; _LINUX=0"), includes, 3));
    // what the backend defines replaces what the caller defined
    EXPECT_EQ(shader.text, "included\ncaller backend 1 0 KOLM_GLSL 1\n");
    EXPECT_EQ(shader.name, "LINES_SHADER");
    EXPECT_TRUE(shader.create(Shader::TypeVertex, "VALUE %d", "VALUE=%d", 5));
    EXPECT_EQ(shader.text, "5 %d");
    EXPECT_EQ(shader.name, "memory");
    EXPECT_TRUE(shader.load(Shader::TypeVertex, (folder + "outer.h").c_str()));
    EXPECT_EQ(shader.text, "int inner;\nint outer;\n");
    EXPECT_EQ(shader.name, folder + "outer.h");
    EXPECT_EQ(log.text(), "");

    EXPECT_FALSE(shader.load(Shader::TypeVertex, "absent.vert"));
    EXPECT_EQ(log.take(), "Shader::load(): can't open \"absent.vert\" file\n");
    EXPECT_FALSE(shader.loadGLSL(Shader::TypeVertex, "absent.vert"));
    EXPECT_EQ(log.take(), "Shader::loadGLSL(): can't open \"absent.vert\" file\n");
    EXPECT_FALSE(shader.create(Shader::TypeVertex, "", "A B"));
    EXPECT_EQ(log.take(), "Shader::State::set_macros(): invalid delimiter\nA B\n");
    EXPECT_FALSE(shader.create(Shader::TypeVertex, "\n#fatal no\n"));
    EXPECT_EQ(log.take(), "Shader::preprocessor(): no\nmemory:2: #fatal no\n");

    Shader::State state;
    const struct {
        uint32_t id;
        const char *name;
    } vendors[] = {{4098, "_AMD"}, {4203, "_APPLE"},     {4318, "_NVIDIA"},
                   {5045, "_ARM"}, {20803, "_QUALCOMM"}, {32902, "_INTEL"}};
    for(const auto &vendor : vendors) {
        TextShader::set_vendor(state, vendor.id);
        EXPECT_EQ(state.get_macro(vendor.name).value, "1");
    }
    TextShader::set_vendor(state, 65541);
    EXPECT_EQ(state.getNumMacros(), 6u);
}

TEST(Shader, files_that_are_no_text) {
    CapturedLog log;
    TextShader shader;
    const std::string name = ::testing::TempDir() + "shader_text.comp";
    const auto write = [&](const std::string &text) {
        File file;
        ASSERT_TRUE(file.open(name.c_str(), "wb"));
        ASSERT_EQ(file.write(text.data(), text.size()), text.size());
    };
    write(std::string("a\0b", 3));
    EXPECT_FALSE(shader.load(Shader::TypeCompute, name.c_str()));
    EXPECT_EQ(log.take(), "Shader::load(): can't read \"" + name + "\" file\n");
    write("\xEF\xBB\xBF#define A 1\nA");
    EXPECT_TRUE(shader.load(Shader::TypeCompute, name.c_str()));
    EXPECT_EQ(shader.text, "1");
    write(std::string("\x01\0\0\0\x02\0\0\0\x03", 9));
    EXPECT_TRUE(shader.loadSPIRV(Shader::TypeCompute, name.c_str()));
    EXPECT_EQ(shader.words, (std::vector<uint32_t>{1, 2})); // the tail is no whole word
    EXPECT_EQ(shader.name, name);
    EXPECT_FALSE(shader.loadSPIRV(Shader::TypeCompute, "absent.spv"));
    EXPECT_EQ(log.take(), "Shader::loadSPIRV(): can't open \"absent.spv\" file\n");
    EXPECT_FALSE(shader.load(Shader::TypeCompute, folder.c_str()));
    EXPECT_TRUE(shader.createSPIRV(Shader::TypeCompute, {7, 8, 9}));
    EXPECT_EQ(shader.words.size(), 3u);
    remove(name.c_str());
}

TEST(Shader, types_and_parameters) {
    EXPECT_EQ(Shader::NumTypes, 15);
    EXPECT_STREQ(Shader::getTypeName(Shader::TypeUnknown), "Unknown");
    EXPECT_STREQ(Shader::getTypeName(Shader::TypeTask), "Task");
    EXPECT_STREQ(Shader::getTypeName(Shader::TypeCallable), "Callable");
    EXPECT_STREQ(Shader::getTypeName(Shader::Type(99)), "Unknown");
    EXPECT_EQ(Shader::MaskVertexFragment, 34);
    EXPECT_EQ(Shader::MaskGraphics, 62);
    EXPECT_EQ(Shader::MaskCallable, 16384);
    EXPECT_EQ(Shader::MaskTracing, 32256);
    EXPECT_EQ(Shader::MaskAll, 32766);

    TextShader a, b;
    a.setSamplerOffset(-1);
    a.setTableOffset(32767);
    a.setPatchSize(32);
    EXPECT_TRUE(a.set_parameters(&b));
    EXPECT_EQ(b.getSamplerOffset(), -1);
    EXPECT_EQ(b.getTableOffset(), 32767);
    EXPECT_EQ(b.getPatchSize(), 32u);
    EXPECT_FALSE(a.set_parameters(nullptr));
}

TEST(ShaderCompiler, words) {
    CapturedLog log;
    ShaderCompiler shader;
    EXPECT_FALSE(shader.isCreated());
    EXPECT_EQ(shader.getPlatform(), PlatformUnknown);
    ASSERT_TRUE(shader.createGLSL(Shader::TypeCompute, fill_src, "VALUE=%uu; FILL_SHADER=1", 7u)) << log.text();
    EXPECT_TRUE(shader.isCompute());
    EXPECT_EQ(shader.getName(), "FILL_SHADER");
    EXPECT_EQ(shader.getMacros(), "FILL_SHADER=1; KOLM_GLSL=1; VALUE=7u; _LINUX=1; __LINE__=0");
    ASSERT_GT(shader.getOpcodes().size(), 5u);
    EXPECT_EQ(shader.getOpcodes()[0], 0x07230203u);

    Blob blob, state;
    EXPECT_TRUE(shader.getBinary(blob));
    EXPECT_EQ(blob.getSize(), shader.getOpcodes().bytes());
    EXPECT_EQ(memcmp(blob.getData(), shader.getOpcodes().get(), blob.getSize()), 0);
    EXPECT_TRUE(shader.saveState(state));
    EXPECT_EQ(state.getSize(), 20u);
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(shader.getBinary(blob, "WORDS"));
    EXPECT_EQ(log.take(), "ShaderCompiler::getBinary(): unknown format \"WORDS\"\n");
    EXPECT_EQ(shader.getSource("WORDS"), "");
    EXPECT_EQ(log.take(), "ShaderCompiler::getSource(): can't load shader\nunknown format \"WORDS\"\n");
    EXPECT_FALSE(shader.create(Shader::TypeCompute, fill_src));
    EXPECT_EQ(log.take(), "ShaderCompiler::compile(): unknown platform\n");

    shader.clear();
    EXPECT_FALSE(shader.isCreated());
    EXPECT_ASSERTION(shader.getBinary(blob), "isCreated() && \"ShaderCompiler::getBinary(): shader is not created\"");
    EXPECT_ASSERTION(shader.createGLSL(Shader::TypeUnknown, ""),
                     "type > TypeUnknown && \"Shader::compile_glsl(): invalid shader type\"");
}

TEST(ShaderCompiler, errors_name_file_line_and_cause) {
    CapturedLog log;
    ShaderCompiler shader;
    const std::string name = folder + "error.comp";
    EXPECT_FALSE(shader.loadGLSL(Shader::TypeCompute, name.c_str()));
    const std::string text = log.take();
    EXPECT_NE(text.find("Shader::compile_glsl(): " + folder + "error.h:3: unknown_type getValue() { return 1u; }\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("unknown_type", text.find("return 1u; }\n")), std::string::npos) << text;

    // on every line of a text, and on the first and the last of an include
    const struct {
        const char *src;
        const char *place;
    } rows[] = {
        {"BAD a;\nlayout(local_size_x = 1) in;\nvoid main() { }\n", "memory:1: BAD a;"},
        {"layout(local_size_x = 1) in;\nBAD a;\nvoid main() { }\n", "memory:2: BAD a;"},
        {"layout(local_size_x = 1) in;\n// c\n/* d\n*/\nvoid main() { }\nBAD a;", "memory:6: BAD a;"},
        {"layout(local_size_x = 1) in;\n#include \"first.h\"\nvoid main() { }\n", "first.h:1: BAD a;"},
        {"layout(local_size_x = 1) in;\n#include \"last.h\"\nvoid main() { }\n", "last.h:2: BAD b;"},
        {"layout(local_size_x = 1) in;\n#define X(a) a\nX(\nBAD\n)c; void main() { }\n", "memory:3: BADc;"},
    };
    const char *includes[] = {"first.h", "BAD a;\nint b;\n", "last.h", "int a;\nBAD b;"};
    for(const auto &row : rows) {
        EXPECT_FALSE(shader.createGLSL(Shader::TypeCompute, row.src, String(), includes, 4)) << row.src;
        const std::string message = log.take();
        EXPECT_NE(message.find(std::string("Shader::compile_glsl(): ") + row.place), std::string::npos)
            << row.src << message;
    }
    EXPECT_FALSE(shader.isCreated());
}

// Eight threads, each with 200 shaders that share includes: equal words, and nothing stays behind.
TEST(ShaderCompiler, threads) {
    static constexpr uint32_t num_threads = 8, num_shaders = 200, num_kinds = 10;
    const std::string name = folder + "fill.comp";
    std::vector<std::vector<uint32_t>> expected(num_kinds);
    Shader::setInclude("shared.h", "uint shared_value() { return 1u; }\n");
    const auto compile = [&](uint32_t kind, std::vector<uint32_t> &words) {
        ShaderCompiler shader;
        bool ret;
        if(kind & 1)
            ret = shader.loadGLSL(Shader::TypeCompute, name.c_str(), "GROUP_SIZE=%u; SCALE=%uu", 32 + kind, kind);
        else
            ret = shader.createGLSL(Shader::TypeCompute,
                                    "#include \"shared.h\"\nlayout(local_size_x = 8) in;\n"
                                    "layout(binding = 0, std430) buffer Buffer { uint data[]; };\n"
                                    "void main() { data[gl_GlobalInvocationID.x] = shared_value() + KIND; }\n",
                                    "KIND=%uu", kind);
        words.assign(shader.getOpcodes().get(), shader.getOpcodes().get() + shader.getOpcodes().size());
        return ret;
    };

    const size_t memory = Allocator::getMemory();
    const size_t allocations = Allocator::getAllocations();
    for(uint32_t i = 0; i < num_kinds; i++) ASSERT_TRUE(compile(i, expected[i]));
    EXPECT_NE(expected[1], expected[3]);
    {
        std::vector<std::thread> threads;
        uint32_t errors[num_threads] = {};
        for(uint32_t i = 0; i < num_threads; i++) {
            threads.emplace_back([&, i] {
                std::vector<uint32_t> words;
                for(uint32_t j = 0; j < num_shaders; j++) {
                    if(!compile(j % num_kinds, words) || words != expected[j % num_kinds]) errors[i]++;
                }
            });
        }
        for(std::thread &thread : threads) thread.join();
        for(uint32_t i = 0; i < num_threads; i++) EXPECT_EQ(errors[i], 0u);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
    Shader::removeInclude("shared.h");
}

} // namespace
