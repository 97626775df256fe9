// Declarations: what is accepted and the message of each kind of error.

#include "CompiledShader.h"
#include "ShaderStages.h"

using Kolm::Compiler;
using Kolm::Shader;

namespace {

struct Row {
    Shader::Type type;
    const char *src; // `void main() {}` follows
    const char *message;
};

void check_messages(const Row *rows, size_t size) {
    for(size_t i = 0; i < size; i++) {
        const CompiledShader shader(rows[i].type, std::string(rows[i].src) + "\nvoid main() {}");
        EXPECT_FALSE(shader.ok) << rows[i].src;
        EXPECT_EQ(rows[i].message, shader.message) << rows[i].src;
        EXPECT_EQ(std::string("Compiler::compileGLSL(): ") + rows[i].message, shader.log);
    }
}

} // namespace

TEST(CompilerDeclaration, messages_of_directives) {
    const Row rows[] = {
        {Shader::TypeVertex, "#version 450 compatibility", "unknown #version profile \"compatibility\"\n"},
        {Shader::TypeVertex, "#version 450\n#version 450", "too many #version directives\n"},
        {Shader::TypeVertex, "#extension GL_A : maybe", "unknown #extension qualifier \"maybe\"\n"},
        {Shader::TypeVertex, "#line 3", "unknown preprocessor directive line\n"},
        {Shader::TypeCompute, "", "work group size is not declared\n"},
        {Shader::TypeCompute, "layout(local_size_x = 0) in;", "invalid work group size\n"},
        {Shader::TypeCompute, "layout(local_size_x = 65536) in;", "invalid work group size\n"},
        {Shader::TypeCompute, "layout(local_size_x = 65535, local_size_y = 65535, local_size_z = 65535) in;",
         "invalid work group size\n"},
        {Shader::TypeCompute, "layout(local_size_x) in;", "invalid layout qualifiers\n"},
        {Shader::TypeCompute, "layout(local_size_x = 1,) in;", "invalid layout qualifiers\n"},
        {Shader::TypeCompute, "layout(vertices = 1) out;", "unknown execution qualifier \"vertices\"\n"},
        {Shader::TypeTask, "layout(local_size_y = 2) in;", "unknown execution qualifier \"local_size_y\"\n"},
        {Shader::TypeVertex, "layout(early_fragment_tests) in;",
         "unknown execution qualifier \"early_fragment_tests\"\n"},
        {Shader::TypeGeometry, "layout(points) in;\nlayout(points) in;", "too many points execution qualifiers\n"},
        {Shader::TypeGeometry, "layout(points, max_vertices) out;", "invalid layout qualifiers\n"},
    };
    check_messages(rows, std::size(rows));
}

TEST(CompilerDeclaration, messages_of_qualifiers) {
    const Row rows[] = {
        {Shader::TypeFragment, "uniform;", "unused storage qualifier\n"},
        {Shader::TypeFragment, "layout(location = 0);", "unused layout qualifier\n"},
        {Shader::TypeFragment, "highp;", "unused precision qualifier\n"},
        {Shader::TypeFragment, "flat;", "unused decoration qualifier\n"},
        {Shader::TypeFragment, "inline;", "unused function control qualifier\n"},
        {Shader::TypeFragment, "uniform in float a;", "too many storage qualifiers\n"},
        {Shader::TypeFragment, "lowp highp float a;", "too many precision qualifiers\n"},
        {Shader::TypeFragment, "flat flat in float a;", "too many flat qualifiers\n"},
        {Shader::TypeFragment, "inline inline void f() {}", "too many function control qualifiers\n"},
        {Shader::TypeFragment, "void f(in out float a) {}", "too many inout qualifiers\n"},
        {Shader::TypeFragment, "layout(location = 0, location = 1) in float a;", "too many location qualifiers\n"},
        {Shader::TypeFragment, "layout(row_major, column_major, binding = 0) uniform B { mat4 m; };",
         "too many column_major qualifiers\n"},
        {Shader::TypeFragment, "layout(rgba8, r32f, binding = 0) uniform image2D i;", "too many format qualifiers\n"},
        {Shader::TypeFragment, "layout(std140, std140, binding = 0) uniform B { float a; };",
         "too many std140 qualifiers\n"},
        {Shader::TypeFragment, "layout(place = 0) in float a;", "unknown layout qualifier \"place\"\n"},
        {Shader::TypeFragment, "layout(location) in float a;", "invalid layout qualifiers\n"},
        {Shader::TypeFragment, "layout(location = 4294967295) in float a;", "invalid layout qualifiers\n"},
        {Shader::TypeFragment, "layout(location = -1) in float a;", "invalid layout qualifiers\n"},
        {Shader::TypeFragment, "layout(location = 0,) in float a;", "invalid layout qualifiers\n"},
        {Shader::TypeFragment, "layout(rgba8) in float a;", "unused format qualifier\n"},
        {Shader::TypeFragment, "layout(location = 0) vec4 a;", "unused layout qualifier\n"},
        {Shader::TypeGeometry, "layout(points) in; layout(max_vertices = 3) out;", "invalid output primitive\n"},
        {Shader::TypeGeometry, "layout(points, max_vertices = 3) out;", "invalid input primitive\n"},
        {Shader::TypeGeometry, "layout(points, lines) in; layout(points, max_vertices = 3) out;",
         "invalid input primitive\n"},
        {Shader::TypeGeometry, "layout(points) in; layout(points) out;", "output vertices are not declared\n"},
        {Shader::TypeControl, "", "output vertices are not declared\n"},
        {Shader::TypeMesh, "layout(local_size_x = 1) in; layout(triangles, max_vertices = 3) out;",
         "output vertices are not declared\n"},
        {Shader::TypeVertex, "out gl_PerVertex { vec4 gl_Position; vec4 other; };",
         "invalid \"other\" member of gl_PerVertex type\n"},
        {Shader::TypeFragment, "shared float a;", "invalid storage class\n"},
        {Shader::TypeFragment, "rayPayloadEXT vec4 a;", "invalid storage class\n"},
        {Shader::TypeFragment, "layout(constant_id = 1) float a;", "constants must be initialized\n"},
    };
    check_messages(rows, std::size(rows));
}

TEST(CompilerDeclaration, messages_of_variables) {
    const Row rows[] = {
        {Shader::TypeFragment, "in vec2 uv;", "uv has no location\n"},
        {Shader::TypeFragment, "out vec4 color;", "color has no location\n"},
        {Shader::TypeFragment, "uniform sampler2D tex;", "tex has no binding\n"},
        {Shader::TypeFragment, "uniform Block { float a; };", "Block has no binding\n"},
        {Shader::TypeFragment, "buffer Block { float a; } b;", "b has no binding\n"},
        {Shader::TypeFragment, "in Block { float a; };", "Block has no location\n"},
        {Shader::TypeFragment, "layout(location = 0) in vec4 a; layout(location = 0) in vec4 b;",
         "b has invalid location\n"},
        {Shader::TypeFragment, "layout(location = 0) in mat4 a; layout(location = 3) in vec4 b;",
         "b has invalid location\n"},
        {Shader::TypeFragment, "layout(binding = 0) uniform float a;", "\"a\" variable must be in a block\n"},
        {Shader::TypeFragment, "layout(binding = 0) uniform B { bool a; };", "invalid \"a\" member of bool type\n"},
        {Shader::TypeFragment, "layout(location = 0) flat in bool a;", "invalid \"a\" variable of bool type\n"},
        {Shader::TypeFragment, "const float a;", "constants must be initialized\n"},
        {Shader::TypeFragment, "float a; float a;", "\"a\" name redefined\n"},
        {Shader::TypeFragment, "struct S { float a; float a; };", "\"a\" name redefined\n"},
        {Shader::TypeFragment, "struct S { float a; }; struct S { float b; };", "\"S\" name redefined\n"},
        {Shader::TypeFragment, "float class;", "\"class\" name reserved\n"},
        {Shader::TypeFragment, "float vec3;", "\"vec3\" name reserved\n"},
        {Shader::TypeFragment, "float a", "expecting ';'\n"},
        {Shader::TypeFragment, "float;", "unexpected ';'\n"},
        {Shader::TypeFragment, "float 5a;", "unexpected \"5a\"\n"},
        {Shader::TypeFragment, "Unknown a;", "unexpected \"Unknown\"\n"},
        {Shader::TypeFragment, "struct S { S a; };", "unknown type \"S\"\n"},
        {Shader::TypeFragment, "struct S { };", "unfinished structure declaration\n"},
        {Shader::TypeFragment, "struct S { sampler2D a; };", "invalid \"a\" member of sampler2D type\n"},
        {Shader::TypeFragment, "float a[0];", "invalid array length\n"},
        {Shader::TypeFragment, "float a[-1];", "invalid array length\n"},
        {Shader::TypeFragment, "float a[];", "invalid array length\n"},
        {Shader::TypeFragment, "layout(std430, binding = 0) uniform B { float a; };", "invalid layout qualifiers\n"},
        {Shader::TypeFragment, "layout(binding = 0) uniform B { layout(offset = 8) vec4 a; };",
         "invalid \"a\" member offset\n"},
    };
    check_messages(rows, std::size(rows));
    EXPECT_EQ("can't find entry function\n", CompiledShader(Shader::TypeVertex, "void mian() {}").message);
    EXPECT_EQ("can't find entry function\n", CompiledShader(Shader::TypeVertex, "int main() { return 1; }").message);
    EXPECT_EQ("unfinished structure declaration\n", CompiledShader(Shader::TypeVertex, "struct S { float a;").message);
    EXPECT_TRUE(
        CompiledShader(Shader::TypeVertex, "float class;\nvoid main() { class = 1.0; }", Compiler::OptionNone).ok);
}

TEST(CompilerDeclaration, messages_of_functions) {
    const Row rows[] = {
        {Shader::TypeVertex, "float f() { return 1.0; } float f() { return 2.0; }",
         "body of f() function is already declared\n"},
        {Shader::TypeVertex, "float f(float a); int f(float a) { return 1; }", "invalid f(f32;) function type\n"},
        {Shader::TypeVertex, "sampler2D f() { }", "invalid f() function type\n"},
        {Shader::TypeVertex, "void f(float a[]) { }", "invalid f(f32[0];) function type\n"},
        {Shader::TypeVertex, "void f(float a", "unfinished function declaration\n"},
        {Shader::TypeVertex, "void f(float a) float b;", "expecting ';' or '{'\n"},
        {Shader::TypeVertex, "void f(float a, float a) { }", "\"a\" name redefined\n"},
        {Shader::TypeVertex, "void f(Unknown a) { }", "unexpected \"Unknown\"\n"},
    };
    for(const Row &row : rows) {
        const CompiledShader shader(row.type, std::string("void main() {}\n") + row.src);
        EXPECT_EQ(row.message, shader.message) << row.src;
    }
    EXPECT_EQ("function f(f32;) is recursive\n",
              CompiledShader(Shader::TypeVertex, "float f(float a) { return f(a); }\nvoid main() { float a = f(1.0); }")
                  .message);
    EXPECT_EQ("function a() is recursive\n",
              CompiledShader(Shader::TypeVertex, "void b(); void a() { b(); } void b() { a(); }\nvoid main() { a(); }")
                  .message);
    EXPECT_EQ("unknown function f(f32;)\n",
              CompiledShader(Shader::TypeVertex, "float f(float a);\nvoid main() { float a = f(1.0); }").message);
}

TEST(CompilerDeclaration, accepted_forms) {
    const Row rows[] = {
        {Shader::TypeFragment, "precision highp float;\nhighp float a; lowp vec2 b; mediump int c;", ""},
        {Shader::TypeFragment,
         "layout(location = 0) in vec4 a; in layout(location = 1) vec4 b; smooth layout(location = 2) in vec4 c;", ""},
        {Shader::TypeFragment, "layout(binding = 0) layout(set = 1) uniform sampler2D t;", ""},
        {Shader::TypeFragment, "layout(LOCATION = 0) in vec4 a;", ""},
        {Shader::TypeFragment, "layout(location = 1 + 2 * 2) in vec4 a;", ""},
        {Shader::TypeFragment, "layout(location = 0, component = 2) in vec2 a; layout(location = 0) in vec2 b;", ""},
        {Shader::TypeFragment,
         "layout(location = 0, index = 0) out vec4 a; layout(location = 0, index = 1) out vec4 b;", ""},
        {Shader::TypeFragment, "layout(location = 0) in ivec2 a; layout(location = 1) in uint b[2];", ""},
        {Shader::TypeFragment,
         "layout(location = 0) centroid in vec4 a; layout(location = 1) noperspective in vec4 b; layout(location = 2) "
         "sample in vec4 c;",
         ""},
        {Shader::TypeFragment, "layout(location = 0) in B { flat int a; vec4 b; } block;", ""},
        {Shader::TypeFragment, "in B { layout(location = 3) vec4 a; layout(location = 5) vec4 b; } block;", ""},
        {Shader::TypeFragment, "layout(location = 2) in B { vec4 a; layout(location = 7) vec4 b; vec4 c; } block;", ""},
        {Shader::TypeFragment, "layout(location = 0) in struct S { vec4 a; vec2 b; } s;", ""},
        {Shader::TypeVertex,
         "layout(location = 0) in mat4 a; layout(location = 4) in dvec3 b; layout(location = 6) in vec4 c;", ""},
        {Shader::TypeVertex, "layout(location = 0) out B { vec4 a; } block[2];", ""},
        {Shader::TypeFragment,
         "layout(binding = 0) uniform B { vec4 a; mat4 b; }; layout(binding = 1) uniform C { vec4 c; } c[3];", ""},
        {Shader::TypeFragment,
         "layout(binding = 0) readonly buffer B { vec4 a; }; layout(binding = 1) writeonly coherent restrict volatile "
         "buffer C { vec4 c; } c;",
         ""},
        {Shader::TypeFragment, "layout(push_constant) uniform P { mat4 m; vec2 v; } p;", ""},
        {Shader::TypeFragment,
         "layout(binding = 0) uniform sampler2D a[4]; layout(binding = 4) uniform texture2D b[]; layout(binding = 8) "
         "uniform sampler c;",
         ""},
        {Shader::TypeFragment,
         "layout(binding = 0, rgba8) uniform readonly image2D a; layout(binding = 1) uniform writeonly uimage3D b;",
         ""},
        {Shader::TypeFragment,
         "layout(std140) uniform; layout(std430, column_major) buffer B { layout(align = 32) vec4 a; } ;", nullptr},
        {Shader::TypeFragment,
         "float a = 1.0, b[2], c; const float d = 2.0, e = d * 2.0; float[2] f; float g[2][3]; float[3] h[2];", ""},
        {Shader::TypeFragment,
         "const float a[3] = float[](1.0, 2.0, 3.0); const float b[] = float[2](1.0, a[1]); float c[b.length() + "
         "a.length()];",
         ""},
        {Shader::TypeFragment,
         "const mat2 a = mat2(1.0); const vec3 b = vec3(1.0, vec2(2.0)); const bool c = true && false; const int d = c "
         "? 1 : 2;",
         nullptr},
        {Shader::TypeFragment, "struct S { vec2 a, b[2]; float c; }; struct T { S s[2]; } t, u[3]; S s;", ""},
        {Shader::TypeFragment, ";;; float a;;", ""},
        {Shader::TypeFragment, "/* a */ float /* b */ a // c\n; // d", ""},
        {Shader::TypeFragment,
         "void f(); void f(void); void f() {} void f(const in vec2 a, inout float b[2], out mat3 c) { c = mat3(1.0); }",
         ""},
        {Shader::TypeFragment, "float[2] f(float[2] a) { return a; } void g(sampler2D s, layout(rgba8) image2D i) {}",
         ""},
        {Shader::TypeCompute, "layout(local_size_x = 1) in; shared float a[4][4]; shared struct { int b; } s;", ""},
        {Shader::TypeGeometry,
         "layout(points) in; layout(points, max_vertices = 1) out; layout(stream = 1, location = 0) out vec4 a; in D { "
         "layout(location = 0) vec4 c; } d[]; out D { layout(location = 2) vec4 c; } o;",
         ""},
        {Shader::TypeControl,
         "layout(vertices = 3) out; layout(location = 0) in vec4 a[]; layout(location = 0) out vec4 b[]; "
         "layout(location = 1) patch out vec4 c;",
         ""},
        {Shader::TypeEvaluate,
         "layout(triangles) in; layout(location = 0) in vec4 a[]; layout(location = 1) patch in vec4 c; "
         "layout(location = 0) out vec4 b;",
         ""},
        {Shader::TypeMesh,
         "layout(local_size_x = 1) in; layout(triangles, max_vertices = 3, max_primitives = 1) out; layout(location = "
         "0) out vec4 a[]; layout(location = 1) perprimitiveEXT out vec4 b[]; taskPayloadSharedEXT struct P { uint "
         "a[4]; } p;",
         ""},
        {Shader::TypeTask, "layout(local_size_x = 1) in; struct P { uint a[4]; vec3 b; }; taskPayloadSharedEXT P p;",
         ""},
        {Shader::TypeRayGen,
         "layout(location = 0) rayPayloadEXT vec4 a; layout(location = 1) callableDataEXT vec2 b; layout(binding = 0) "
         "uniform accelerationStructureEXT s;",
         ""},
        {Shader::TypeClosest, "layout(location = 0) rayPayloadInEXT vec4 a; hitAttributeEXT vec2 b;", ""},
        {Shader::TypeCallable, "layout(location = 0) callableDataInEXT vec4 a;", ""},
    };
    for(const Row &row : rows) {
        const CompiledShader shader(row.type, std::string(row.src) + "\nvoid main() {}");
        if(row.message) {
            EXPECT_TRUE(shader.ok) << shader.message << row.src;
        }
    }
}

// The reported place is the item, or the statement inside of a body.
TEST(CompilerDeclaration, offsets_of_errors) {
    const struct {
        const char *src;
        const char *place;
    } rows[] = {
        {"float a;\nfloat b = Unknown;\nvoid main() {}", "float b"},
        {"float a;\nstruct S { float x; Unknown y; };\nvoid main() {}", "struct"},
        {"#version 450\n#pragma x\nvoid main() {}", "#pragma"},
        {"void main() {}\nlayout(location = 0) in vec4 a;\nin vec4 b;\nfloat c;", "in vec4 b"},
        {"float c;\nlayout(location = 0) in vec4 a;\nlayout(location = 0) in vec4 b;\nvoid main() {}",
         "layout(location = 0) in vec4 b"},
    };
    for(const auto &row : rows) {
        const CompiledShader shader(Shader::TypeVertex, row.src);
        EXPECT_FALSE(shader.ok);
        EXPECT_EQ(size_t(strstr(row.src, row.place) - row.src), shader.offset) << row.src;
    }
}

// What stands in the module though nobody wrote it.
TEST(CompilerDeclaration, implied_decorations) {
    const CompiledShader shader(Shader::TypeFragment,
                                "layout(binding = 3) uniform sampler2D t;\nlayout(location = 0) in ivec2 a;\n"
                                "layout(location = 0) out vec4 c;\nvoid main() { c = vec4(a, 0, 1); }");
    ASSERT_TRUE(shader.ok) << shader.message;
    const auto names = shader.module.names();
    bool set = false, flat = false;
    for(const auto &inst : shader.module.instructions) {
        if(inst.opcode != 59) continue;
        const uint32_t id = inst.words[1];
        if(shader.module.decoration(id, 33) == 3) set = (shader.module.decoration(id, 34) == 0);
        if(names.count(id) && names.at(id) == "a") flat = (shader.module.decoration(id, 14) != ~0u);
    }
    EXPECT_TRUE(set);
    EXPECT_TRUE(flat);
}
