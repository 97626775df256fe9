// Statements: every form of control flow and of declarations gives a module that validates, whatever stands where.

#include "CompiledShader.h"
#include "RandomProgram.h"

using Kolm::Shader;

namespace {

const char *const jumps[] = {"",
                             "i++;",
                             "break;",
                             "continue;",
                             "return;",
                             "{ i++; break; }",
                             "if(i > 2) break;",
                             "if(i > 2) continue; else return;",
                             "break; i++;",
                             "continue; for(;;) {} "};

std::string loop(uint32_t kind, const std::string &body) {
    switch(kind) {
    case 0: return "for(int k = 0; k < 4; k++) { " + body + " }";
    case 1: return "for(;;) { " + body + " }";
    case 2: return "while(i < 3) { " + body + " }";
    case 3: return "while(true) " + ((body.empty()) ? std::string(";") : "{ " + body + " }");
    case 4: return "do { " + body + " } while(i < 3);";
    default: return "for(int k = 0, n = 4; k < n; k += 2, n--) { " + body + " }";
    }
}

} // namespace

// Each jump as the end of each loop, and behind it again; four deep.
TEST(CompilerStatement, jumps_in_loops) {
    for(uint32_t kind = 0; kind < 6; kind++) {
        for(const char *jump : jumps) {
            const std::string inner = loop(kind, jump);
            for(const char *outer : jumps) {
                const std::string body = "int i = 0; " + loop((kind + 1) % 6, inner + outer) + " i = 1;";
                const CompiledShader shader = compile_compute("", body);
                EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
            }
            std::string deep = inner;
            for(uint32_t k = 1; k < 4; k++)
                deep = loop((kind + k) % 6, "if(i == 1) { " + deep + " } else i++; " + jump);
            const CompiledShader shader = compile_compute("", "int i = 0; " + deep);
            EXPECT_TRUE(shader.ok) << deep << ": " << shader.message;
        }
    }
}

TEST(CompilerStatement, switches) {
    const char *const bodies[] = {
        "",
        "default: i = 1;",
        "case 1: i = 1;",
        "case 1: i = 1; break; case 2: i = 2; break; default: i = 3;",
        "default: i = 3; break; case 1: i = 1; case 2: i = 2;",
        "case 1: i = 1; default: i = 3; case 2: i = 2;",
        "case 1: case 2: default: i = 1; break; case 3: return;",
        "case 1: return; default: return;",
        "case 1: if(i > 1) break; i = 2; case 5: { int k = 1; i = k; break; }",
        "case 1: for(;;) { break; } break; case 2: while(i < 3) { if(i == 2) continue; i++; }",
        "case 1: switch(i) { case 7: break; default: i = 2; } case 2: i = 4;",
        "case 1:",
        "case 0x7fffffff: case -1: i = 2;",
        "int k = 1; case 1: i = 2;",
    };
    for(const char *body : bodies) {
        for(const char *selector : {"i", "u", "l", "i + 1"}) {
            for(const char *around : {"", "for(int n = 0; n < 3; n++) ", "if(i > 1) ", "do "}) {
                const std::string text = std::string("int i; uint u; int64_t l; ") + around + "{ switch(" + selector +
                                         ") { " + body + " } i++; }" + (around[0] == 'd' ? " while(i < 3);" : "");
                const CompiledShader shader = compile_compute("", text);
                EXPECT_TRUE(shader.ok) << text << ": " << shader.message;
            }
        }
    }
}

TEST(CompilerStatement, conditions_and_declarations) {
    const char *const bodies[] = {
        "if(true) return; else return; int i = 1;",
        "int i; if(i) i = 1; else if(1.5) i = 2; else { i = 3; }",
        "bool b = 2; b = 0.5;",
        "int a = 1.5; uint u = 2; float f = a; double d = f;",
        "float x = 1.0, y = x, z[2], w[] = { x, y, 3 };",
        "vec2 a[2] = vec2[2](vec2(1), vec2(2)), b[2]; b = a; bool e = a == b;",
        "float m[2][3]; m[1][2] = 1.0; m[0] = m[1]; int n = m.length() + m[0].length();",
        "const float k = 2.0; const vec3 c = vec3(k, 1, 2) * 2.0; float d[int(k)]; d[1] = c.y;",
        "int i = 3; const int j = i * 2; int k = j;",
        "const float t[] = float[](1.0, 2.0, 3.0); int i = 1; float f = t[i] + t[2];",
        "{ int i = 1; { float i = 2.0; i++; } i++; }",
        "for(int i = 0; i < 2; i++) { int i = 3; i++; }",
        "struct S { int a; vec2 b[2]; }; S s; s.b[1].y = 1.0; S t = S(1, vec2[2](vec2(1), vec2(2))); t = s;",
        "struct S { int a; float b; } s = { 1, 2.0 }, t[2] = { { 1, 2 }, s }; bool b = s == t[1];",
        "highp float f = 1.0; precise vec2 v; precision highp float;\nint i;",
        "[[unroll]] for(int i = 0; i < 2; i++) {} [[loop]] while(false) {} [[loop]] do {} while(false);",
        "[[branch]] if(true) {} [[flatten]] if(false) {} else {} [[branch]] switch(1) { default: }",
        "int i; i += 1; i -= 1; i *= 2; i /= 3; i %= 2; i <<= 1; i >>= 1; i &= 3; i |= 1; i ^= 2;",
        "int i = 0, j; i++; ++i; i--; --i; j = i++ + ++i; i = j = 3;",
        "int i, j; (i) = 2, j = 3; (i > 1 ? i : j);",
        "vec3 v; v.x++; v.zy = v.xy; v.yx += 1.0; v.r *= 2.0; v[1] = 2.0; int i; v[i] = v.zyx[i] + v.xxy[1];",
        "mat3 m; m[1] = vec3(1); m[1].yz = vec2(2); m[2][0]++; int i; m[i][i] = m[i].x; vec3 c = m[i];",
        "bool b = !!true, c = - -1 == 1, d = -~1 == 2;",
        "; ;; {} {;}",
    };
    for(const char *body : bodies) {
        const CompiledShader shader = compile_compute("", body);
        EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
    }
}

// kept: four letters are compared
TEST(CompilerStatement, else_by_four_letters) {
    const CompiledShader shader = compile_compute("int x; void where() { x = 2; }", "if(x == 1) x = 3; elsewhere();");
    EXPECT_TRUE(shader.ok) << shader.message;
    EXPECT_EQ(shader.module.count(57), 1u);
}

TEST(CompilerStatement, discard_ends_a_block) {
    const char *const bodies[] = {"discard;",
                                  "if(c.x < 0.5) discard; c.x = 1.0;",
                                  "for(;;) { discard; }",
                                  "while(c.x < 1.0) { if(c.y > 0.0) discard; else break; }",
                                  "discard; c.x = 1.0; return;",
                                  "switch(1) { case 1: discard; default: c.x = 1.0; }"};
    for(const char *body : bodies) {
        const CompiledShader shader(Shader::TypeFragment,
                                    "layout(location = 0) out vec4 c;\nvoid main() {\n" + std::string(body) + "\n}\n");
        EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
    }
}

// Words of whole programs are compared where there is a device; here they only have to validate.
TEST(CompilerStatement, random_programs) {
    for(uint32_t seed = 1; seed <= 8; seed++) {
        const RandomModule module = create_random_module(seed, 10);
        const CompiledShader shader(Shader::TypeCompute, module.source);
        EXPECT_TRUE(shader.ok) << shader.message;
        EXPECT_EQ(module.expected.size(), 10u);
    }
}
