// The module as a whole: header, versions, capabilities, names, execution modes, stubs.

#include "CompiledShader.h"
#include "ShaderStages.h"

using Kolm::Compiler;
using Kolm::Shader;

TEST(CompilerModule, header) {
    const CompiledShader shader = compile_compute("");
    ASSERT_TRUE(shader.ok) << shader.message;
    EXPECT_EQ(0x07230203u, shader.module.words[0]);
    EXPECT_EQ(0x00010000u, shader.module.words[1]);
    EXPECT_EQ(0x00130014u, shader.module.words[2]);
    EXPECT_TRUE(shader.module.has(16, {shader.module.first(15)[1], 17, 64, 1, 1}));
}

TEST(CompilerModule, empty_shaders_of_all_stages) {
    for(const ShaderStage &stage : shader_stages) {
        const CompiledShader shader(stage.type, std::string(stage.head) + "void main() {}");
        ASSERT_TRUE(shader.ok) << stage.name << ": " << shader.message;
        EXPECT_EQ(stage.model, shader.module.first(15)[0]) << stage.name;
        const bool recent = (stage.model > 5);
        EXPECT_EQ(recent ? 0x10400u : 0x10000u, shader.module.version()) << stage.name;
    }
}

// A plain storage buffer is a uniform block of the old kind; what needs a newer version brings the storage class.
TEST(CompilerModule, storage_buffers_by_version) {
    const std::string block = "layout(binding = 0) buffer B { uint data[]; } b;";
    const CompiledShader old = compile_compute(block, "b.data[0] = 1u;");
    ASSERT_TRUE(old.ok) << old.message;
    EXPECT_EQ(0x10000u, old.module.version());
    EXPECT_NE(~0u, old.module.decoration(old.module.blockType(0), 3));
    EXPECT_EQ(~0u, old.module.decoration(old.module.blockType(0), 2));
    for(const auto &inst : old.module.instructions) {
        if(inst.opcode == 32) {
            EXPECT_NE(12u, inst.words[1]);
        }
    }
    const CompiledShader recent = compile_compute(block, "b.data[0] = gl_SubgroupSize;");
    ASSERT_TRUE(recent.ok) << recent.message;
    EXPECT_EQ(0x10300u, recent.module.version());
    EXPECT_NE(~0u, recent.module.decoration(recent.module.blockType(0), 2));
    EXPECT_EQ(~0u, recent.module.decoration(recent.module.blockType(0), 3));
}

TEST(CompilerModule, names) {
    const char *src = "layout(location = 0) in vec2 uv;\nlayout(location = 0) out vec4 color;\n"
                      "layout(binding = 0) uniform Block { float scale; float bias; } block;\n"
                      "float hidden(float a) { return a; }\nconst float named = 1.0;\n"
                      "void main() { color = vec4(uv, hidden(block.scale), named); }";
    const CompiledShader plain(Shader::TypeFragment, src);
    ASSERT_TRUE(plain.ok) << plain.message;
    std::set<std::string> names;
    for(const auto &name : plain.module.names()) names.insert(name.second);
    EXPECT_TRUE(names.count("main") && names.count("uv") && names.count("color"));
    EXPECT_FALSE(names.count("hidden") || names.count("block") || names.count("named") || names.count("Block"));
    const uint32_t type = plain.module.blockType(0);
    char text[32];
    snprintf(text, sizeof(text), "_f%x", type);
    EXPECT_EQ(text, plain.module.names()[type]);
    bool member = false;
    for(const auto &inst : plain.module.instructions) {
        if(inst.opcode == 6 && inst.words[1] == 1) member |= (SpirvModule::text(inst, 2) == std::string(text) + "_1");
    }
    EXPECT_TRUE(member);

    const CompiledShader debug(Shader::TypeFragment, src, Compiler::OptionDebug);
    ASSERT_TRUE(debug.ok) << debug.message;
    names.clear();
    for(const auto &name : debug.module.names()) names.insert(name.second);
    EXPECT_TRUE(names.count("hidden") && names.count("block") && names.count("Block"));
    EXPECT_FALSE(names.count("named"));
}

TEST(CompilerModule, prefixes_of_names) {
    const char *prefixes[] = {"_v", "_tc", "_te", "_g",   "_f",   "_c",  "_t",
                              "_m", "_rg", "_ri", "_rah", "_rch", "_rm", "_rc"};
    for(uint32_t i = 0; i < 14; i++) {
        const CompiledShader shader(shader_stages[i].type, std::string(shader_stages[i].head) +
                                                               "float hidden;\nvoid main() { hidden = 1.0; }");
        ASSERT_TRUE(shader.ok) << shader.message;
        bool found = false;
        for(const auto &name : shader.module.names()) {
            char text[32];
            snprintf(text, sizeof(text), "%s%x", prefixes[i], name.first);
            found |= (name.second == text);
        }
        EXPECT_TRUE(found) << shader_stages[i].name;
    }
}

// An unused function stays as a stub that returns zero.
TEST(CompilerModule, unused_functions) {
    const CompiledShader shader =
        compile_compute("struct S { float a; };\n"
                        "float unused(float a) { for(int i = 0; i < 4; i++) a *= 2.0; return a; }\n"
                        "void nothing(int a) { a = a + 1; }\n"
                        "mat3 matrix(vec3 a) { return mat3(a, a, a); }\n"
                        "S structure() { S s; s.a = 1.0; return s; }\n");
    ASSERT_TRUE(shader.ok) << shader.message;
    EXPECT_EQ(5u, shader.module.count(54));
    EXPECT_EQ(0u, shader.module.count(246)); // no loop is left
    EXPECT_EQ(3u, shader.module.count(254));
    EXPECT_EQ(1u, shader.module.count(62)); // the structure keeps its body
}

TEST(CompilerModule, callees_stand_before_callers) {
    const CompiledShader shader = compile_compute("float a(float x);\nfloat c(float x) { return a(x) + 1.0; }\n"
                                                  "float b(float x) { return c(x) * a(x); }\n"
                                                  "float a(float x) { return x; }\n",
                                                  "float v = b(2.0);");
    ASSERT_TRUE(shader.ok) << shader.message;
    std::set<uint32_t> known;
    uint32_t current = 0;
    for(const auto &inst : shader.module.instructions) {
        if(inst.opcode == 54) current = inst.words[1];
        if(inst.opcode == 57) {
            EXPECT_TRUE(known.count(inst.words[2]));
        }
        if(inst.opcode == 56) known.insert(current);
    }
    EXPECT_EQ(4u, known.size());
}

TEST(CompilerModule, execution_modes) {
    const struct {
        Shader::Type type;
        const char *head;
        std::vector<uint32_t> mode;
    } rows[] = {
        {Shader::TypeFragment, "", {7}},
        {Shader::TypeFragment, "layout(early_fragment_tests) in;", {9}},
        {Shader::TypeGeometry, "layout(points) in; layout(points, max_vertices = 5) out;", {0, 1}},
        {Shader::TypeGeometry, "layout(points, invocations = 4) in; layout(line_strip, max_vertices = 5) out;", {0, 4}},
        {Shader::TypeGeometry, "layout(lines_adjacency) in; layout(triangle_strip, max_vertices = 5) out;", {26, 5}},
        {Shader::TypeControl, "layout(vertices = 4) out;", {26, 4}},
        {Shader::TypeEvaluate, "layout(quads, fractional_odd_spacing, ccw) in;", {3}},
        {Shader::TypeEvaluate, "layout(isolines) in;", {25}},
        {Shader::TypeCompute, "layout(local_size_x = 4, local_size_y = 3, local_size_z = 2) in;", {17, 4, 3, 2}},
        {Shader::TypeCompute, "layout(local_size_y = 3) in; layout(local_size_x = 4) in;", {17, 4, 3, 1}},
        {Shader::TypeTask, "layout(local_size_x = 32) in;", {17, 32, 1, 1}},
        {Shader::TypeMesh,
         "layout(local_size_x = 1) in; layout(lines, max_vertices = 64, max_primitives = 32) out;",
         {5270, 32}},
    };
    for(const auto &row : rows) {
        const CompiledShader shader(row.type, std::string(row.head) + "\nvoid main() {}");
        ASSERT_TRUE(shader.ok) << row.head << shader.message;
        std::vector<uint32_t> words = row.mode;
        words.insert(words.begin(), shader.module.first(15)[1]);
        EXPECT_TRUE(shader.module.has(16, words)) << row.head;
    }
    // the declaration may stand behind what needs it
    EXPECT_TRUE(
        CompiledShader(Shader::TypeCompute, "void main() { uvec3 s = gl_WorkGroupSize; }\nlayout(local_size_x = 8) in;")
            .ok);
}

TEST(CompilerModule, source_lines) {
    const struct {
        const char *head;
        uint32_t profile, version;
    } rows[] = {
        {"", 0, 0},
        {"#version 450\n", 0, 450},
        {"#version 460 core\n", 2, 460},
        {"#version 320 es\n", 1, 320},
    };
    for(const auto &row : rows) {
        const CompiledShader shader(Shader::TypeVertex, std::string(row.head) +
                                                            "#extension GL_A : require\n#extension GL_B : warn\n"
                                                            "void main() {}");
        ASSERT_TRUE(shader.ok) << shader.message;
        EXPECT_TRUE(shader.module.has(3, {row.profile, row.version})) << row.head;
        EXPECT_EQ(1u, shader.module.count(4));
    }
}

TEST(CompilerModule, warnings_of_unused_names) {
    const std::string src = "layout(local_size_x = 1) in;\nfloat idle;\nfloat f(float a) { return a; }\nvoid main() {}";
    EXPECT_EQ("", CompiledShader(Shader::TypeCompute, src).log);
    const std::string log = CompiledShader(Shader::TypeCompute, src, Compiler::OptionUnused).log;
    EXPECT_NE(std::string::npos, log.find("Compiler::create_opcodes(): unused variable float idle\n"));
    EXPECT_NE(std::string::npos, log.find("Compiler::create_opcodes(): unused function f(f32;)\n"));
    const std::string macros = CompiledShader(Shader::TypeCompute, src, Compiler::OptionUnused, "A=1").log;
    EXPECT_NE(std::string::npos, macros.find("unused variable float idle\nA=1\n"));
}

// A failed compile leaves nothing behind for the next one.
TEST(CompilerModule, objects_are_reused) {
    Compiler compiler;
    CapturedLog log;
    uint32_t offset = 0;
    const char *src = "layout(local_size_x = 1) in;\nlayout(binding = 0) buffer B { vec4 a[]; } b;\n"
                      "struct S { vec3 a; float b; };\nvoid main() { S s; s.a = b.a[0].xyz; b.a[1] = vec4(s.a, 2.0); }";
    const char *broken =
        "layout(local_size_x = 8, local_size_y = 8) in;\nstruct S { mat4 m; };\nbuffer B { int c; } b;\n"
        "void main() { S s = 1; }";
    ASSERT_TRUE(compiler.compileGLSL(Shader::TypeCompute, src, nullptr, offset));
    const std::vector<uint32_t> first(compiler.getOpcodes().begin().get(),
                                      compiler.getOpcodes().begin().get() + compiler.getOpcodes().size());
    EXPECT_FALSE(compiler.compileGLSL(Shader::TypeFragment, broken, nullptr, offset));
    EXPECT_EQ(0u, compiler.getOpcodes().size());
    ASSERT_TRUE(compiler.compileGLSL(Shader::TypeCompute, src, nullptr, offset));
    const std::vector<uint32_t> second(compiler.getOpcodes().begin().get(),
                                       compiler.getOpcodes().begin().get() + compiler.getOpcodes().size());
    EXPECT_EQ(first, second);
}
