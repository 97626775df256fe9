// Texts that mean harm: none may crash, hang or eat memory, and each ends in one line.

#include "CompiledShader.h"
#include "ShaderStages.h"

#include <chrono>
#include <random>

using Kolm::Compiler;
using Kolm::Shader;

namespace {

std::string repeat(const std::string &text, size_t count) {
    std::string ret;
    ret.reserve(text.size() * count);
    for(size_t i = 0; i < count; i++) ret += text;
    return ret;
}

// A shader that uses most of the language, as raw material for damage.
const char *sample = R"(#version 450 core
#extension GL_EXT_test : enable
layout(local_size_x = 8, local_size_y = 4) in;
struct S { vec3 a; float b[3]; mat2x3 c; };
layout(std140, binding = 0) uniform U { mat4 m; S s[2]; int count; } u;
layout(std430, binding = 1) buffer B { uint n; vec4 data[]; } b;
layout(binding = 2, rgba8) uniform image2D img;
layout(binding = 3) uniform sampler2D tex[2];
layout(push_constant) uniform P { vec4 color; } p;
const int N = 4, M[2] = int[](1, 2);
shared float tile[N * 16];
inline float sq(float x) { return x * x; }
float f(in vec2 a, out float b, inout vec3 c) { b = a.x; c.yz += a; return dot(c, c); }
void main() {
    vec3 v = vec3(1.0, 2.0, 3.0).zyx;
    float r = 0.0, q;
    for(int i = 0; i < N; i++) { if(i == 2) continue; r += f(v.xy, q, v) * sq(q); }
    switch(u.count) { case 0: r = 1.0; break; case 1: case 2: r *= 2.0; default: r += M[1]; }
    do { r -= 1.0; if(r < -4.0) break; } while(r > 0.0);
    while(r < 2.0) r++;
    tile[gl_LocalInvocationIndex] = r > 0.5 ? r : -r;
    barrier();
    S s = u.s[1]; s.b[0] = texture(tex[1], v.xy).x;
    b.data[b.n] = u.m * vec4(s.a * s.c[1], s.b[0]) + imageLoad(img, ivec2(gl_GlobalInvocationID.xy));
    atomicAdd(b.n, 1u);
    uvec4 w = uvec4(ivec4(v.xyzx)) << 2u | 0xFFu;
    imageStore(img, ivec2(w.xy & 7u), p.color * float(w.z % 3u));
}
)";

} // namespace

TEST(CompilerHostile, sample_compiles) {
    const CompiledShader shader(Shader::TypeCompute, sample);
    EXPECT_TRUE(shader.ok) << shader.message;
}

TEST(CompilerHostile, nesting) {
    const size_t depth = 100000;
    const std::string texts[] = {
        "float a = " + repeat("(", depth) + "1.0" + repeat(")", depth) + ";",
        "float a = " + repeat("-", depth) + "1.0;",
        "float a = " + repeat("abs(", depth) + "1.0" + repeat(")", depth) + ";",
        "vec2 a = " + repeat("vec2(", depth) + "1.0" + repeat(")", depth) + ";",
        "int a[4]; int i = " + repeat("a[", depth) + "0" + repeat("]", depth) + ";",
        repeat("{", depth) + repeat("}", depth),
        repeat("if(true) ", depth) + ";",
        repeat("for(;;) ", depth) + "break;",
        repeat("if(true) {} else ", depth) + ";",
        repeat("do ", depth) + ";",
        "bool a = " + repeat("true ? ", depth) + "true" + repeat(" : false", depth) + ";",
        "float a; " + repeat("a = ", depth) + "1.0;",
        "switch(1) { " + repeat("case 1: { switch(1) { ", depth),
        repeat("[[unroll]] ", depth) + ";",
    };
    for(const std::string &text : texts) {
        const auto start = std::chrono::steady_clock::now();
        compile_compute("", text);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        EXPECT_LT(time.count(), 20.0) << text.substr(0, 40);
    }
    const std::string globals[] = {
        "const float a = " + repeat("(", depth) + "1.0" + repeat(")", depth) + ";",
        "const float a = " + repeat("-", depth) + "1.0;",
        "const vec2 a = " + repeat("vec2(", depth) + "1.0" + repeat(")", depth) + ";",
        "float a" + repeat("[1]", depth) + ";",
        "layout(location = " + repeat("(", depth) + "1" + repeat(")", depth) + ") in float a;",
        "struct S " + repeat("{", depth),
        "float f(" + repeat("float, ", depth) + "float);",
        "coopmat<float16_t, 3, 16, 16, 0 a;",
        "coopmat<",
        "coopmat<float, 1, 2, 3> a;",
    };
    for(const std::string &text : globals) {
        const CompiledShader shader = compile_compute(text);
        EXPECT_FALSE(shader.ok) << text.substr(0, 40);
    }
}

// Structures that contain each other over many levels have sizes beyond all bounds, but short texts.
TEST(CompilerHostile, sizes) {
    std::string structures = "struct S0 { mat4 a[100]; };\n";
    for(uint32_t i = 1; i < 40; i++) {
        structures += "struct S" + std::to_string(i) + " { S" + std::to_string(i - 1) + " a[100]; };\n";
    }
    const std::string texts[] = {
        structures + "layout(binding = 0) buffer B { S39 s; } b;",
        "layout(binding = 0) buffer B { float a[2147483647]; } b;",
        "layout(binding = 0) buffer B { float a[4294967295]; } b;",
        "layout(binding = 0) buffer B { float a[65536][65536]; } b;",
        "float a[1000000000][1000000000];",
        "float a[0xFFFFFFFF];",
        "float a[0x7FFFFFFF];",
        "const int a[2] = int[2](1);",
        "const int a[1000000000] = int[1000000000](1);",
        "struct A { B b; }; struct B { A a; };",
    };
    for(const std::string &text : texts) {
        const CompiledShader shader = compile_compute(text);
        EXPECT_FALSE(shader.ok) << text.substr(0, 60);
        EXPECT_EQ('\n', shader.message.back());
    }
}

TEST(CompilerHostile, constants) {
    const char *rows[] = {
        "1 / 0",
        "1 % 0",
        "(-2147483647 - 1) / -1",
        "(-2147483647 - 1) % -1",
        "1 << 32",
        "1 << -1",
        "1 >> 64",
        "1u << 1000u",
        "int(1e30)",
        "int(-1e300)",
        "int(0.0 / 0.0)",
        "uint(-1.0)",
        "0u - 1u",
        "2147483647 + 1",
        "~0",
        "int(sqrt(-1.0))",
        "int(99999999999999999999.0)",
        "0x7FFFFFFF * 0x7FFFFFFF",
    };
    for(const char *row : rows) {
        const CompiledShader global = compile_compute(std::string("const int a = int(") + row + ");", "int b = a;");
        const CompiledShader local = compile_compute("", std::string("int b = int(") + row + ");");
        EXPECT_TRUE(global.ok || global.message.size()) << row;
        EXPECT_TRUE(local.ok) << row << ": " << local.message;
    }
    EXPECT_TRUE(compile_compute("", "int64_t a = (-9223372036854775807l - 1l) / -1l;").ok ||
                compile_compute("", "int64_t a = int64_t(-9223372036854775807) / int64_t(-1);").ok);
}

TEST(CompilerHostile, long_texts) {
    const std::string name = repeat("a", 1000000);
    EXPECT_TRUE(compile_compute("float " + name + ";", name + " = 1.0;").ok);
    EXPECT_TRUE(compile_compute("/*" + repeat("*", 1000000) + "*/ // " + repeat("x", 100000)).ok);
    EXPECT_FALSE(compile_compute("", name + "();").ok);
    EXPECT_FALSE(compile_compute("#extension " + name).ok);
    EXPECT_FALSE(compile_compute("#" + name).ok);
    std::string functions;
    for(uint32_t i = 0; i < 3000; i++) {
        functions += "float f" + std::to_string(i) + "(float x) { return x + " + std::to_string(i) + ".0; }\n";
    }
    EXPECT_TRUE(compile_compute(functions, "float a = f2999(1.0);").ok);
    // callees one below the other, deeper than any stack of calls
    functions = "float g0(float x) { return x; }\n";
    for(uint32_t i = 1; i < 3000; i++) {
        functions += "float g" + std::to_string(i) + "(float x) { return g" + std::to_string(i - 1) + "(x); }\n";
    }
    EXPECT_TRUE(compile_compute(functions, "float a = g2999(1.0);").ok ||
                !compile_compute(functions, "float a = g2999(1.0);").message.empty());
}

TEST(CompilerHostile, every_truncated_length) {
    const std::string text = sample;
    for(size_t length = 0; length + 1 < text.size(); length++) {
        const CompiledShader shader(Shader::TypeCompute, text.substr(0, length));
        EXPECT_FALSE(shader.ok) << length;
        EXPECT_FALSE(shader.message.empty()) << length;
        EXPECT_EQ('\n', shader.message.back()) << length;
    }
}

// Damage by chance: what still compiles has to validate, which the fixture sees to.
TEST(CompilerHostile, random_damage) {
    std::mt19937 random(7);
    const std::string text = sample;
    const char *words[] = {"(",      ")",      "[",      "]", "{",   "}",   ";",   ",",    "=",   "-",     "*",
                           "vec3",   "float",  "return", "0", "1.5", "int", "for", "if",   "gl_", "const", "out",
                           "layout", "struct", ".",      "&", "<<",  "?",   ":",   "uint", "bool"};
    for(uint32_t i = 0; i < 3000; i++) {
        std::string damaged = text;
        const uint32_t count = 1 + random() % 3;
        for(uint32_t j = 0; j < count; j++) {
            const size_t pos = random() % damaged.size();
            switch(random() % 4) {
            case 0: damaged.erase(pos, 1 + random() % 8); break;
            case 1: damaged.insert(pos, words[random() % std::size(words)]); break;
            case 2: damaged[pos] = char(32 + random() % 95); break;
            case 3: {
                const size_t from = random() % damaged.size();
                damaged.insert(pos, damaged.substr(from, random() % 20));
                break;
            }
            }
        }
        const CompiledShader shader(Shader::TypeCompute, damaged);
        EXPECT_TRUE(shader.ok || shader.message.size()) << damaged;
        if(testing::Test::HasFailure()) {
            ADD_FAILURE() << damaged;
            break;
        }
    }
}
