// Calls of the shader's own functions: overloads, written parameters, inlining, warnings; views over buffers.

#include "CompiledShader.h"

using Kolm::Compiler;
using Kolm::Shader;

namespace {

const char *const functions =
    "int f(int a) { return 1; } int f(uint a) { return 2; } int f(float a) { return 3; }"
    "int fu(uint a) { return 4; } int ff(float a) { return 5; } int fh(float16_t a) { return 6; }"
    "int fi(int a) { return 7; } int g(float a) { return 8; } int g(float a, int b) { return 9; }"
    "int v(vec2 a) { return 10; } int d(double a) { return 11; } int a(int b[2]) { return 12; }"
    "int a(int b[3]) { return 13; } int i(int a, uint b) { return 14; } int i(float a, float b) { return 15; }";

// The constant that the function returns which the last call names.
uint32_t get_callee_value(const SpirvModule &module) {
    uint32_t callee = 0;
    for(const auto &inst : module.instructions) {
        if(inst.opcode == 57) callee = inst.words[2];
    }
    bool inside = false;
    for(const auto &inst : module.instructions) {
        if(inst.opcode == 54) inside = (inst.words[1] == callee);
        if(inst.opcode != 254 || !inside) continue;
        const SpirvModule::Instruction *constant = module.find(inst.words[0]);
        return constant ? constant->words[2] : 0;
    }
    return 0;
}

} // namespace

TEST(CompilerCall, overloads) {
    const struct {
        const char *call;
        uint32_t value;
        const char *signature; // of a warning with OptionConvert; null for none
    } rows[] = {
        {"f(n)", 1, nullptr},
        {"f(u)", 2, nullptr},
        {"f(x)", 3, nullptr},
        {"fu(n)", 4, "fu(u32;) function used with (i32;"},
        {"fu(x)", 4, "fu(u32;) function used with (f32;"},
        {"ff(n)", 5, "ff(f32;) function used with (i32;"},
        {"ff(u)", 5, "ff(f32;) function used with (u32;"},
        {"ff(h)", 5, "ff(f32;) function used with (f16;"},
        {"fh(x)", 6, "fh(f16;) function used with (f32;"},
        {"fi(u)", 7, "fi(i32;) function used with (u32;"},
        {"fi(x)", 7, "fi(i32;) function used with (f32;"},
        {"fi(1u)", 7, nullptr}, // a constant is converted without a word
        {"f(h)", 3, "f(f32;) function used with (f16;"},
        {"g(x)", 8, nullptr},
        {"g(n, n)", 9, "g(f32;i32;) function used with (i32;i32;"},
        {"v(w)", 10, "v(f32v2;) function used with (i32v2;"},
        {"d(x)", 11, "d(f64;) function used with (f32;"},
        {"a(int[2](1, 2))", 12, nullptr},
        {"a(int[3](1, 2, 3))", 13, nullptr},
        {"i(n, x)", 14, "i(i32;u32;) function used with (i32;f32;"},
    };
    for(const auto &row : rows) {
        const std::string src = "layout(local_size_x = 1) in;\n" + std::string(functions) +
                                "void main() { int n; uint u; float x; float16_t h; ivec2 w; int r = " + row.call +
                                "; }";
        const CompiledShader quiet(Shader::TypeCompute, src);
        ASSERT_TRUE(quiet.ok) << row.call << ": " << quiet.message;
        EXPECT_EQ(get_callee_value(quiet.module), row.value) << row.call;
        EXPECT_EQ(quiet.log, "") << row.call;
        const CompiledShader loud(Shader::TypeCompute, src, Compiler::OptionConvert);
        if(row.signature)
            EXPECT_NE(
                loud.log.find("Compiler::parse_shader_function(): " + std::string(row.signature) + ") arguments\n"),
                std::string::npos)
                << row.call << ": " << loud.log;
        else
            EXPECT_EQ(loud.log, "") << row.call;
    }
}

// Whatever is written comes back, through a local variable unless it is one.
TEST(CompilerCall, written_parameters) {
    const char *globals =
        "void f(out int a, inout vec2 b) { a = 1; b += 1.0; } shared int s; shared vec4 t[3]; int p; vec2 q;"
        "struct S { int a; vec2 b[2]; }; layout(binding = 0) buffer B { int m; vec4 n; S list[]; };"
        "void g(inout S s) { s.a = 2; f(s.a, s.b[1]); }";
    const char *const bodies[] = {
        "int a; vec2 b; f(a, b);",
        "f(s, t[1].xy);",
        "f(p, q);",
        "f(m, n.zx);",
        "S x; f(x.a, x.b[1]); g(x);",
        "int i; g(list[i]); f(list[i].a, list[i + 1].b[i]);",
        "ivec3 v; vec4 w; f(v.y, w.wy);",
        "mat2 k; int a[2]; f(a[1], k[1]);",
        "uint u; vec2 b; f(u, b);",
        "vec2 a; int i; f(i, a); f(i, a);",
        "int a[4]; int i; vec2 b[3]; f(a[i++], b[i++]);",
    };
    for(const char *body : bodies) {
        const CompiledShader shader = compile_compute(globals, body);
        EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
    }
    const CompiledShader direct = compile_compute(globals, "int a; vec2 b; f(a, b);");
    EXPECT_EQ(direct.module.count(61), 1u); // the load of "b += 1.0" alone
}

TEST(CompilerCall, inlining) {
    const struct {
        const char *function;
        const char *call;
        size_t calls;
        const char *warning;
    } rows[] = {
        {"inline float f(float x) { return x * x; }", "f(a)", 0, nullptr},
        {"inline float f(float x) { float y = x + 1.0; y = y * x; return y; }", "f(f(a))", 0, nullptr},
        {"inline float f(vec3 x, float y) { vec2 z = x.zy; return z.x + y; }", "f(vec3(a), 2)", 0, nullptr},
        {"inline float f(float x) { return 2.0; }", "f(a)", 0, nullptr},
        {"float f(float x) { return x; }", "f(a)", 1, nullptr},
        {"inline float f(float x) { if(x > 1.0) return 2.0; return x; }", "f(a)", 1, nullptr},
        {"inline float f(inout float x) { return x; }", "f(a)", 1, nullptr},
        {"inline float f(float x) { return sin(x); }", "f(a)", 1, "can't inline f(f32;) function opcode 12"},
        {"inline float f(float x) { float y[2]; y[0] = x; return y[0]; }", "f(a)", 1,
         "can't inline f(f32;) function opcode 65"},
        {"float f(float x); float g(float x) { return f(x); } inline float f(float x) { return x; }", "g(a)", 1,
         nullptr},
        {"inline vec2 f(vec2 v) { v.x = 1.0; return v; }", "f(vec2(a)).y", 1,
         "can't inline f(f32v2;) function opcode 65"},
    };
    for(const auto &row : rows) {
        const std::string src = "layout(local_size_x = 1) in;\n" + std::string(row.function) +
                                "void main() { float a = 1.0; float r = " + row.call + "; }";
        const CompiledShader shader(Shader::TypeCompute, src, Compiler::OptionInline);
        ASSERT_TRUE(shader.ok) << src << shader.message;
        EXPECT_EQ(shader.module.count(57), row.calls) << src;
        if(row.warning)
            EXPECT_NE(shader.log.find(row.warning), std::string::npos) << shader.log;
        else
            EXPECT_EQ(shader.log, "") << src;
    }
}

TEST(CompilerCall, views) {
    const char *globals =
        "struct I { int q; vec2 z; }; struct V { vec3 p; float w; mat2 m; int a[3]; I in0[2]; double d; uint64_t l; };"
        "layout(binding = 0) buffer B { uint words[]; }; layout(binding = 1) buffer C { uint c; float f[64]; } b[2];"
        "layout(binding = 3) buffer D { int n[2][32]; } dd;";
    const char *const bodies[] = {
        "V &v = V(words, 3); v.p = vec3(1); v.p.y += 1.0; v.p.zx = v.p.xz; v.m[1].x = v.w;",
        "int i; V &v = V(words, i * 4), &w = V(words, 8); v = w; V c = v; w = c; v.in0[i].z[i & 1] = 1.0;",
        "V &v = V(b[1].f, 2); v.w++; float x = v.in0[1].z.y; v.a[2] -= 1;",
        "int i; I &v = I(dd.n[i], i); v.q = i; v = I(1, vec2(2));",
        "V &v = V(words, 0); v.d = v.d * 2.0lf; v.l += 1ul; for(int i = 0; i < 3; i++) { v.a[i] = i; }",
        "V &v = V(words, 0); { I &v = I(words, 1); v.q = 1; } v.w = 2.0; v.in0[0] = v.in0[1];",
    };
    for(const char *body : bodies) {
        const CompiledShader shader = compile_compute(globals, body);
        EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
    }
}
