// Messages of function bodies: one wrong program for each, and the whole text that it gives.

#include "CompiledShader.h"

using Kolm::Shader;

namespace {

struct Row {
    const char *globals;
    const char *body;
    const char *message;
};

void check(const Row *rows, size_t count, Shader::Type type = Shader::TypeCompute) {
    for(size_t i = 0; i < count; i++) {
        const std::string head = (type == Shader::TypeCompute) ? "layout(local_size_x = 8) in;\n" : "";
        const std::string src = head + rows[i].globals + "\nvoid main() {\n" + rows[i].body + "\n}\n";
        const CompiledShader shader(type, src);
        EXPECT_FALSE(shader.ok) << src;
        EXPECT_EQ(shader.message, rows[i].message) << src;
    }
}

template<size_t Size> void check(const Row (&rows)[Size], Shader::Type type = Shader::TypeCompute) {
    check(rows, Size, type);
}

} // namespace

TEST(CompilerError, statements) {
    static const Row rows[] = {
        {"", "const ;", "unused constant qualifier\n"},
        {"", "highp ;", "unused precision qualifier\n"},
        {"", "const const int i = 1;", "too many constant qualifiers\n"},
        {"", "lowp highp int i;", "too many precision qualifiers\n"},
        {"", "const for(;;) {}", "expecting ';'\n"},
        {"", "int i = 1", "expecting ';'\n"},
        {"", "int i; i = 1 i = 2;", "expecting ';'\n"},
        {"", "const int i;", "constants must be initialized\n"},
        {"", "break;", "break not in the loop or switch\n"},
        {"", "if(true) break;", "break not in the loop or switch\n"},
        {"", "continue;", "continue not in the loop\n"},
        {"", "for(;;) { switch(1) { case 1: continue; } }", "continue not in the loop\n"},
        {"", "case 1:;", "case not in the switch\n"},
        {"", "default:;", "default not in the switch\n"},
        {"", "switch(1) { case 1: { case 2:; } }", "case not in the switch\n"},
        {"", "switch(1) { case 1: case 1:; }", "1 target is already declared\n"},
        {"", "switch(1) { case -1: break; case 0xffffffff:; }", "-1 target is already declared\n"},
        {"", "switch(1) { default: default:; }", "default target is already declared\n"},
        {"", "switch(1.0) { case 1:; }", "can't convert float to int\n"},
        {"", "discard;", "instruction is not valid\n"},
        {"int f() { return; }", "f();", "non-void function \"f\" must return value\n"},
        {"void f() { return 1; }", "f();", "void function \"f\" can't return value\n"},
        {"", "return 1;", "void function \"main\" can't return value\n"},
        {"struct S { int a; }; int f() { S s; return s; }", "f();", "can't convert S to int\n"},
        {"", "[[flatten]] for(;;) {}", "invalid flow \"flatten\" for \"for\"\n"},
        {"", "[[unroll]] if(true) {}", "invalid flow \"unroll\" for \"if\"\n"},
        {"", "[[never]] while(true) {}", "invalid flow \"never\" for \"while\"\n"},
        {"", "[[unroll] for(;;) {}", "expecting \"]]\"\n"},
        {"", ")", "can't parse statement\n"},
        {"", "] = 1;", "can't parse statement\n"},
        {"", "foo x;", "unexpected \"foo\"\n"},
        {"", "if(true x) {}", "unexpected \"x\"\n"},
        {"", "while(true, false) {}", "unexpected \",\"\n"},
        {"", "do {} while(true)", "expecting ';'\n"},
        {"", "do {} until(true);", "expecting \"while\"\n"},
        {"", "int i; int i;", "\"i\" name redefined\n"},
        {"", "int discard_ = 1; float class = 1.0;", "\"class\" name reserved\n"},
        {"", "vec2 v = 1.0;", "can't assign float to vec2\n"},
        {"", "const vec3 v = vec2(1.0);", "can't assign vec2 to vec3\n"},
        {"", "vec2 v; v = vec3(1.0);", "can't assign vec3 to vec2\n"},
        {"", "float a[2] = float[3](1, 2, 3);", "can't assign float[3] to float[2]\n"},
    };
    check(rows);
}

TEST(CompilerError, expressions) {
    static const Row rows[] = {
        {"", "int i = ;", "invalid expression\n"},
        {"", "int i = ();", "invalid expression\n"},
        {"", "int i = (1;", "invalid expression\n"},
        {"", "int i = 1 + ;", "stack underflow\n"},
        {"", "int i = -;", "stack underflow\n"},
        {"", "int i = true ? 1;", "invalid expression\n"},
        {"", "int i = 1 @ 2;", "unknown operator\n"},
        {"", "int i; i ~ 2;", "unknown operator\n"},
        {"", "int i = j;", "unexpected \"j\"\n"},
        {"", "int i = j(1);", "unexpected \"j\"\n"},
        {"", "float f = gl_FragCoord.x;", "unknown variable gl_FragCoord\n"},
        {"", "uint u = sizeof(vec3, vec2);", "too many arguments for sizeof\n"},
        {"", "uint u = sizeof(foo);", "unknown type \"foo\"\n"},
        {"", "vec4 v = vec4(1).xyzwx;", "invalid swizzle size 5\n"},
        {"", "vec2 v; v.z = 1.0;", "invalid swizzle \"z\" for vec2\n"},
        {"", "vec2 v; v.xm = v;", "invalid swizzle \"xm\" for vec2\n"},
        {"", "mat2 m; m.x = 1.0;", "invalid swizzle \"x\" for mat2\n"},
        {"struct S { int a; };", "S s; s.b = 1;", "can't find \"b\" member in \"S\" structure\n"},
        {"", "1 = 2;", "invalid target for Assign operator\n"},
        {"", "int i; i + 1 = 2;", "invalid target for Assign operator\n"},
        {"", "int i = 1++;", "invalid target for PostIncrement operator\n"},
        {"", "int i = --1;", "invalid target for PreDecrement operator\n"},
        {"", "bool b; b++;", "invalid operator PostIncrement for bool\n"},
        {"", "float f; f = ~f;", "invalid operator BitwiseNot for float\n"},
        {"", "int i; bool b = !i;", "invalid operator LogicalNot for int\n"},
        {"", "float f = ~1.0;", "unknown operator BitwiseNot for \"1.0\" constant\n"},
        {"", "vec2 v; vec3 w; v + w;", "invalid operator Add for vec2 and vec3\n"},
        {"", "float f; f & 1;", "invalid operator BitwiseAnd for float and int\n"},
        {"", "bool b; b + 1;", "invalid operator Add for bool and int\n"},
        {"", "int i; i && true;", "invalid operator LogicalAnd for int and bool\n"},
        {"", "mat2 m; vec3 v; m * v;", "invalid operator Mul for mat2 and vec3\n"},
        {"", "mat2x3 m; m * m;", "invalid operator Mul for mat2x3 and mat2x3\n"},
        {"struct S { int a; };", "S s; s + s;", "invalid operator Add for S and S\n"},
        {"", "int i; int j = i ? 1 : 2;", "invalid operator Select for int and int with int condition\n"},
        {"", "vec2 v; true ? v : 1.0;", "invalid operator Select for vec2 and float with bool condition\n"},
        {"", "bvec2 b; vec3 v; v = b ? v : v;", "invalid operator Select for vec3 and vec3 with bvec2 condition\n"},
        {"struct S { int a; };", "S s; bool b; b ? s : s;",
         "invalid operator Select for S and S with bool condition\n"},
        {"", "vec2 v; if(v) {}", "can't convert vec2 to bool\n"},
        {"", "int a[3]; a[3] = 1;", "invalid index 3 for int[3]\n"},
        {"", "vec2 v; v[-1] = 1.0;", "invalid index -1 for vec2\n"},
        {"", "vec2 v; v[1.0] = 1.0;", "invalid index float for vec2\n"},
        {"", "int i; i[0] = 1;", "invalid index int for int\n"},
        {"", "int i = 09;", "can't parse constant \"09\"\n"},
        {"", "int i = 1z;", "can't parse constant \"1z\"\n"},
    };
    check(rows);
}

TEST(CompilerError, memory) {
    static const Row rows[] = {
        {"layout(binding = 0) uniform B { int n; };", "n = 1;", "can't write to global variable\n"},
        {"layout(push_constant) uniform B { int n; };", "n++;", "can't write to global variable\n"},
        {"", "gl_LocalInvocationIndex = 1u;", "can't write to global variable\n"},
        {"", "const int i = int(gl_LocalInvocationIndex); i = 1;", "can't write to global variable\n"},
        {"layout(binding = 0) readonly buffer B { int n; };", "n = 1;", "can't write to readonly buffer\n"},
        {"layout(binding = 0) readonly buffer B { int n; };", "atomicAdd(n, 1);", "can't write to readonly buffer\n"},
        {"layout(binding = 0) buffer B { readonly int n; } b;", "b.n = 1;", "can't write to readonly buffer\n"},
        {"layout(binding = 0) writeonly buffer B { int n; };", "int i = n;", "can't read from writeonly buffer\n"},
        {"layout(binding = 0) writeonly buffer B { int n; };", "n += 1;", "can't read from writeonly buffer\n"},
        {"void f(out int a) { a = 1; } layout(binding = 0) readonly buffer B { int n; };", "f(n);",
         "can't write to readonly buffer\n"},
    };
    check(rows);
}

TEST(CompilerError, references) {
    static const char *buffer = "struct S { int a; float b; }; layout(binding = 0) buffer B { uint d[]; };"
                                "layout(binding = 1) uniform U { uint e[4]; }; layout(binding = 2) buffer C { uint c; "
                                "vec4 v[]; } bc; layout(binding = 3) readonly buffer R { uint r[]; };"
                                "layout(binding = 4) writeonly buffer W { uint w[]; }; struct D { float16_t h; };";
    static const Row rows[] = {
        {buffer, "vec4 &r = vec4(d, 0);", "invalid reference type \"vec4\"\n"},
        {buffer, "S &r;", "references must be initialized\n"},
        {buffer, "S &r = T(d, 0);", "invalid reference constructor \"T\"\n"},
        {buffer, "S &r = S(x, 0);", "unknown variable \"x\"\n"},
        {buffer, "S &r = S(e, 0);", "invalid buffer \"e\"\n"},
        {buffer, "S &r = S(bc.c, 0);", "invalid buffer \"bc\"\n"},
        {buffer, "S &r = S(d);", "expecting ',' after \"d\"\n"},
        {buffer, "S &r = S(bc.x, 0);", "can't find \"x\" member in \"C\" structure\n"},
        {buffer, "S &r = S(bc.v, 0);", "unknown buffer stride 16\n"},
        {buffer, "S &s = S(r, 0); s.a = 1;", "can't write to readonly buffer\n"},
        {buffer, "S &s = S(w, 0); int i = s.a;", "can't read from writeonly buffer\n"},
        {buffer, "S &s = S(d, 0); s.c = 1;", "can't find \"c\" member in \"S\" structure\n"},
        {buffer, "S &s = S(d, 0); atomicAdd(s.a, 1);", "can't address reference\n"},
        {buffer, "D &s = D(d, 0); float f = float(s.h);", "can't get float16_t from uint\n"},
    };
    check(rows);
}

TEST(CompilerError, constants) {
    static const Row rows[] = {
        {"const int a = ;", "", "invalid expression\n"},
        {"const int a = $;", "", "can't parse constant \"$\"\n"},
        {"const int a = b;", "", "can't parse constant \"b\"\n"},
        {"const vec2 a = vec2(1, 2, 3);", "", "can't parse constant \"vec2(1, 2, 3)\"\n"},
        {"const float a = foo(1.0);", "", "unknown function \"foo(1.0)\"\n"},
        {"const float a = sin(1.0, 2.0);", "", "unknown function \"sin(1.0, 2.0)\"\n"},
        {"int a; const int b = a;", "", "\"a\" is not a constant variable\n"},
        {"shared int a[3]; const int b = a.size();", "", "unknown array function size()\n"},
        {"const int a = 1 @ 2;", "", "unknown constant operator\n"},
        {"const float a = ~1.0;", "", "unknown operator BitwiseNot for \"1.0\"\n"},
        {"const int a = 1 << 1.0;", "", "unknown operator ShiftLeft for \"1\" and \"1.0\"\n"},
        {"const float a = 1.0 | 2.0;", "", "unknown operator BitwiseOr for \"1.0\" and \"2.0\"\n"},
        {"const int a = (1;", "", "invalid expression\n"},
        {"const int a = 1 2;", "", "invalid expression\n"},
    };
    check(rows);
}

TEST(CompilerError, calls) {
    static const Row rows[] = {
        {"", "vec2 v = vec2();", "not enough arguments for vec2\n"},
        {"", "vec4 v = vec4(vec2(1), 1);", "not enough arguments for vec4\n"},
        {"", "vec2 v = vec2(1, 2, 3);", "too many arguments for vec2\n"},
        {"struct S { int a; };", "S s; vec2 v = vec2(s, 1);", "invalid arguments for vec2\n"},
        {"", "mat2 m = mat2(1, 2, 3);", "not enough arguments for mat2\n"},
        {"", "float a[2] = float[2](1.0);", "not enough arguments for float[2]\n"},
        {"", "float a[] = float[](1.0, vec2(1.0));", "can't convert vec2 to float\n"},
        {"struct S { int a; float b; };", "S s = S(1);", "not enough arguments for S\n"},
        {"struct S { int a; float b; };", "S s = S(1, 2, 3);", "too many arguments for S\n"},
        {"struct S { int a; float b; };", "S s = S(vec2(1), 2);", "invalid structure argument vec2 for int type\n"},
        {"struct S { int a; float b; };", "S s = { 1 };", "not enough arguments for S\n"},
        {"void f(int a) {}", "f();", "unknown function f()\n"},
        {"void f(int a) {}", "f(vec2(1));", "unknown function f(f32v2;)\n"},
        {"void f(vec2 a, int b[2]) {}", "f(1, 2);", "unknown function f(i32;i32;)\n"},
        {"void f(out int a) {}", "f(1);", "invalid target for f operator\n"},
        {"", "float f = sin();", "unknown external function sin with 0 arguments\n"},
        {"", "float f = sin(1.0, 2.0);", "unknown external function sin with 2 arguments\n"},
        {"", "float f = sin(true);", "invalid arguments for sin\n"},
        {"", "vec2 v = cross(vec2(1), vec2(1));", "invalid arguments for cross\n"},
        {"", "float f = mod(1.0);", "unknown internal function mod with 1 arguments\n"},
        {"", "int i = bitCount(1.0);", "invalid arguments for bitCount\n"},
        {"", "int i; atomicAdd(i, 1);", "invalid arguments for atomicAdd\n"},
        {"shared int i;", "atomicAdd(i);", "unknown internal function atomicAdd with 1 arguments\n"},
        {"shared int i;", "atomicAdd(i, 1, 2, 3, 4, 5, 6);", "too many arguments for atomicAdd\n"},
        {"layout(binding = 0) uniform sampler2D t;", "texture(t);",
         "unknown internal function texture with 1 arguments\n"},
        {"layout(binding = 0) uniform sampler2D t;", "textureLod(t, vec2(0), 1, 2, 3);",
         "too many arguments for textureLod\n"},
        {"layout(binding = 0) uniform sampler2D t;", "texture(t, 1.0);", "invalid arguments for texture\n"},
        {"", "texture(1, vec2(0));", "unknown image type int\n"},
        {"layout(binding = 0) uniform sampler2D t;", "textureSamples(t);", "sampler2D is not a multisample texture\n"},
        {"layout(binding = 0) uniform texture3D t; layout(binding = 1) uniform sampler s;", "sampler2D(t, s);",
         "invalid texture3D for sampler2D\n"},
        {"", "float f = dFdx(1.0);", "instruction is not valid\n"},
        {"", "EmitVertex();", "instruction is not valid\n"},
        {"", "executeCallableEXT(0, 3);", "unknown reference for executeCallableEXT\n"},
        {"", "rayQueryEXT q; bool b; rayQueryGetIntersectionTypeEXT(q, b);",
         "invalid committed argument of rayQueryGetIntersectionTypeEXT function\n"},
        {"",
         "coopmat<float, 3, 8, 16, 0> a; coopmat<float, 3, 16, 8, 1> b; coopmat<float, 3, 16, 8, 2> c; "
         "coopMatMulAdd(a, b, c);",
         "invalid ac size 8 16\n"},
        {"",
         "coopmat<float, 3, 16, 8, 0> a; coopmat<float, 3, 16, 8, 1> b; coopmat<float, 3, 16, 8, 2> c; "
         "coopMatMulAdd(a, b, c);",
         "invalid ab size 8 16\n"},
        {"",
         "coopmat<float, 3, 16, 16, 0> a; coopmat<float, 3, 16, 8, 1> b; coopmat<float, 3, 16, 16, 2> c; "
         "coopMatMulAdd(a, b, c);",
         "invalid bc size 8 16\n"},
    };
    check(rows);
}
