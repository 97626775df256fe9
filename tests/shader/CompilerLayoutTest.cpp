// Offsets and strides of blocks, beside those of the reference compiler.

#include "CompiledShader.h"
#include "ReferenceCompiler.h"

namespace {

// Members of a block; `S` and `T` are structures that stand before it.
const struct {
    const char *name;
    const char *structs;
    const char *members;
} blocks[] = {
    {"scalars", "", "float a; int b; uint c; float d;"},
    {"float behind vec3", "", "vec3 a; float b; vec3 c; vec2 d;"},
    {"vectors", "", "float a; vec2 b; float c; vec3 d; vec4 e; ivec3 f; uvec2 g;"},
    {"decided members", "struct S { vec3 x; float y; };",
     "vec3 a; float b; float c[4]; vec2 d[3]; mat2 e; mat3 f; S g[2]; float h;"},
    {"float array", "", "float a[4]; float b;"},
    {"vec2 array", "", "vec2 a[3]; float b;"},
    {"vec3 array", "", "vec3 a[2]; float b;"},
    {"vec4 array", "", "vec4 a[2]; float b;"},
    {"array of arrays", "", "float a[2][3]; float b;"},
    {"array of arrays of vectors", "", "vec3 a[2][3][4]; float b;"},
    {"mat2", "", "float p; mat2 a; float b;"},
    {"mat3", "", "float p; mat3 a; float b;"},
    {"mat4", "", "float p; mat4 a; float b;"},
    {"mat2x3", "", "float p; mat2x3 a; float b;"},
    {"mat2x4", "", "float p; mat2x4 a; float b;"},
    {"mat3x2", "", "float p; mat3x2 a; float b;"},
    {"mat3x4", "", "float p; mat3x4 a; float b;"},
    {"mat4x2", "", "float p; mat4x2 a; float b;"},
    {"mat4x3", "", "float p; mat4x3 a; float b;"},
    {"matrix arrays", "", "mat2 a[2]; mat3 b[3]; mat4x2 c[2]; float d;"},
    {"rows and columns", "", "layout(row_major) mat4x3 a; layout(column_major) mat4x3 b; layout(row_major) mat2 c[2];"},
    {"structure", "struct S { float x; };", "S a; float b;"},
    {"structure array", "struct S { float x; };", "S a[3]; float b;"},
    {"structure of vec3", "struct S { vec3 x; };", "S a; float b; S c[2];"},
    {"structure with arrays", "struct S { float x[3]; vec2 y; };", "float p; S a; float b; S c[2];"},
    {"structure with matrices", "struct S { mat2 x; mat3x2 y; };", "float p; S a; float b; S c[2];"},
    {"nested structures", "struct S { vec2 x; float y; }; struct T { S s[2]; float z; S t; };",
     "float p; T a; float b; T c[2];"},
    {"explicit offsets", "", "layout(offset = 16) float a; layout(offset = 64) vec4 b; float c;"},
    {"explicit alignment", "", "float a; layout(align = 32) float b; float c;"},
    {"doubles", "", "float p; double a; dvec3 b; double c; dvec2 d; dmat2 e;"},
    {"integers", "", "ivec4 a; uvec3 b; int c; ivec2 d[2]; uint e;"},
    {"structure twice", "struct S { vec3 x; float y[2]; };", "S a; mat3 m; S b[2]; float c[3];"},
    {"rows in structures", "struct S { mat2x3 x; mat4 y[2]; }; struct T { S s; float z; };", "T a; T b[2];"},
};

const struct {
    const char *name;
    const char *layout;
    const char *storage;
    uint32_t binding;
} storages[] = {
    {"std140 uniform", "layout(std140, binding = 1)", "uniform", 1},
    {"std140 buffer", "layout(std140, binding = 1)", "buffer", 1},
    {"std430 buffer", "layout(std430, binding = 1)", "buffer", 1},
    {"default uniform", "layout(binding = 1)", "uniform", 1},
    {"default buffer", "layout(binding = 1)", "buffer", 1},
    {"rows uniform", "layout(std140, row_major, binding = 1)", "uniform", 1},
    {"rows buffer", "layout(std430, row_major, binding = 1)", "buffer", 1},
    {"push constant", "layout(push_constant)", "uniform", ~0u},
};

} // namespace

#ifdef OSTREVAN_GLSLANG

TEST(CompilerLayout, agrees_with_the_reference) {
    ReferenceCompiler reference;
    for(const auto &block : blocks) {
        for(const auto &storage : storages) {
            // without a stated layout the reference ignores the alignment
            if(strstr(block.members, "align") && !strstr(storage.layout, "std")) continue;
            SCOPED_TRACE(std::string(block.name) + ", " + storage.name);
            const std::string src = std::string("#version 450\nlayout(local_size_x = 1) in;\n") + block.structs + "\n" +
                                    storage.layout + " " + storage.storage + " Block { " + block.members +
                                    " } block;\nvoid main() {}\n";
            const std::vector<uint32_t> words = reference.compile(Kolm::Shader::TypeCompute, src.c_str());
            ASSERT_FALSE(words.empty()) << reference.message << src;
            const SpirvModule expected(words.data(), words.size());
            const CompiledShader shader(Kolm::Shader::TypeCompute, src);
            ASSERT_TRUE(shader.ok) << shader.message << src;
            const auto get_layout = [&](const SpirvModule &module) {
                const bool push = (storage.binding == ~0u);
                return module.layout(push ? module.pushConstantType() : module.blockType(storage.binding));
            };
            EXPECT_EQ(get_layout(expected), get_layout(shader.module)) << src;
        }
    }
}

#endif

// The same structure lies differently in two blocks, and each keeps its own type.
TEST(CompilerLayout, one_structure_in_two_layouts) {
    const CompiledShader shader = compile_compute("struct S { float x[3]; mat2 m; };\n"
                                                  "layout(std140, binding = 0) uniform A { S s; float t; } a;\n"
                                                  "layout(std430, binding = 1) buffer B { S s; float t; } b;\n",
                                                  "S s = a.s; b.s = s; b.t = a.s.x[1] + s.m[1].y;");
    ASSERT_TRUE(shader.ok) << shader.message;
    EXPECT_EQ("{0:{0:[3/16]f32 48:col16 m2v2f32 } 80:f32 }", shader.module.layout(shader.module.blockType(0)));
    EXPECT_EQ("{0:{0:[3/4]f32 16:col8 m2v2f32 } 32:f32 }", shader.module.layout(shader.module.blockType(1)));
}

// A runtime array ends a buffer and nothing else.
TEST(CompilerLayout, open_arrays) {
    EXPECT_TRUE(compile_compute("layout(binding = 0) buffer A { uint n; vec3 a[]; } a;", "a.a[a.n].y = 1.0;").ok);
    EXPECT_EQ("invalid array length\n",
              compile_compute("layout(binding = 0) buffer A { vec3 a[]; uint n; } a;").message);
    EXPECT_EQ("invalid array length\n", compile_compute("layout(binding = 0) uniform A { vec3 a[]; } a;").message);
    EXPECT_EQ("invalid array length\n", compile_compute("struct S { vec3 a[]; };").message);
}
