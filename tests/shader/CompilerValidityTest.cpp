// Forms of which a careless translation makes modules that do not validate. The fixture validates each.

#include "CompiledShader.h"
#include "ShaderStages.h"

using Kolm::Shader;

namespace {

struct Row {
    const char *name;
    Shader::Type type;
    const char *src;
    uint32_t capability; // one that the module has to have; 0 for none
};

const Row rows[] = {
    {"pointer types of locals in several functions", Shader::TypeFragment,
     "float f(vec3 a) { mat3 m = mat3(a, a, a); return m[0].x; } float g() { ivec4 v = ivec4(1); return "
     "f(vec3(v.xyz)); }\n"
     "void main() { uvec2 u = uvec2(g()); dvec2 d; }",
     10},
    {"constant local of a value", Shader::TypeFragment,
     "layout(location = 0) in vec2 uv; void main() { const vec2 a = uv * 2.0; const mat2 m = mat2(a, a); vec2 b = m * "
     "a; }",
     0},
    {"stubs of types that nothing else has", Shader::TypeFragment,
     "dmat2 f() { return dmat2(1.0lf); } u64vec3 g() { return u64vec3(1); } void main() {}", 10},
    {"discard at the end", Shader::TypeFragment, "void main() { discard; }", 0},
    {"discard in a function with a value", Shader::TypeFragment,
     "float f(float a) { if(a > 0.0) return 1.0; discard; } void main() { float a = f(1.0); }", 0},
    {"statements behind a discard", Shader::TypeFragment,
     "void main() { if(gl_FragCoord.x > 0.5) { discard; float a = 1.0; a += 2.0; } gl_FragDepth = 1.0; }", 0},
    {"break at the end of a loop", Shader::TypeFragment,
     "void main() { for(int i = 0; i < 4; i++) { break; } while(true) { break; } do { break; } while(true); }", 0},
    {"continue at the end of a loop", Shader::TypeFragment,
     "void main() { for(int i = 0; i < 4; i++) { continue; } int j = 0; while(j < 4) { j++; continue; } do { j--; "
     "continue; } while(j > 0); }",
     0},
    {"return at the end of a loop", Shader::TypeFragment, "void main() { for(int i = 0; i < 4; i++) { return; } }", 0},
    {"return in a loop of a function", Shader::TypeFragment,
     "float f(float a) { while(true) { a += 1.0; if(a > 4.0) return a; } } float g(int n) { for(;;) { return 1.0; } } "
     "void main() { float a = f(1.0) + g(2); }",
     0},
    {"discard at the end of a loop", Shader::TypeFragment, "void main() { for(int i = 0; i < 4; i++) { discard; } }",
     0},
    {"loops four deep", Shader::TypeFragment,
     "void main() { int n = 0; for(int a = 0; a < 2; a++) { while(n < 9) { do { for(int d = 0; d < 3; d++) { if(d == "
     "1) continue; if(n > 5) break; n++; } if(n > 7) break; } while(n < 8); if(n == 8) { n++; continue; } break; } "
     "if(n > 20) return; } }",
     0},
    {"all ways out of a switch", Shader::TypeFragment,
     "layout(location = 0) flat in int i; int f() { switch(i) { case 1: return 1; case 2: { break; } case 3: case 4: "
     "discard; default: return 2; } return 3; }\n"
     "void main() { int n = f(); for(int j = 0; j < 4; j++) { switch(n) { default: n++; case 1: n += 2; break; case 2: "
     "return; } } switch(n) { } switch(n) { default: } }",
     0},
    {"parameters in and out of one type", Shader::TypeFragment,
     "void a(float x) { } void b(out float x) { x = 1.0; } void c(inout float x) { x += 1.0; } void main() { float f; "
     "a(f); b(f); c(f); }",
     0},
    {"results into other places", Shader::TypeFragment,
     "layout(location = 0) out vec4 color; float global; struct S { float a; vec3 b; }; void set(out float a, inout "
     "vec2 b) { a = 1.0; b += a; }\n"
     "void main() { vec4 v = vec4(0.0); float r[3]; S s; mat2 m = mat2(1.0); set(global, v.xy); set(v.w, v.zx); "
     "set(r[1], s.b.yz); set(s.a, m[1]); set(color.x, color.yz); set(m[0][1], v.xy); }",
     0},
    {"results of other types", Shader::TypeFragment,
     "void set(out int a) { a = 3; } void main() { float f; uint u; set(u); int i; set(i); }", 0},
    {"opaque parameters", Shader::TypeFragment,
     "layout(binding = 0) uniform sampler2D t; layout(binding = 1) uniform sampler2D ts[4]; layout(binding = 5) "
     "uniform texture2D x; layout(binding = 6) uniform sampler s;\n"
     "vec4 f(sampler2D a, vec2 uv) { return texture(a, uv); } vec4 g(texture2D a, sampler b, vec2 uv) { return "
     "texture(sampler2D(a, b), uv); }\n"
     "vec4 h(sampler2D a, vec2 uv) { return f(a, uv); } void main() { vec4 c = f(t, vec2(0.5)) + f(ts[2], vec2(0.5)) + "
     "g(x, s, vec2(0.5)) + h(t, vec2(0.0)); }",
     0},
    {"image parameters", Shader::TypeCompute,
     "layout(local_size_x = 1) in; layout(binding = 0, rgba8) uniform image2D i; void f(layout(rgba8) image2D a, ivec2 "
     "p) { imageStore(a, p, imageLoad(a, p)); } void main() { f(i, ivec2(1)); }",
     0},
    {"ray queries", Shader::TypeCompute,
     "layout(local_size_x = 1) in; layout(binding = 0) uniform accelerationStructureEXT s; void main() { rayQueryEXT "
     "q, r; rayQueryInitializeEXT(q, s, 0u, 0xFFu, vec3(0.0), 0.0, vec3(1.0), 1.0); while(rayQueryProceedEXT(q)) "
     "rayQueryConfirmIntersectionEXT(q); float t = rayQueryGetIntersectionTEXT(q, true); }",
     4472},
    {"interface of new versions", Shader::TypeMesh,
     "layout(local_size_x = 1) in; layout(triangles, max_vertices = 3, max_primitives = 1) out; float priv; "
     "layout(push_constant) uniform P { vec4 a; } p; shared uint s; layout(binding = 0) uniform U { vec4 a; } u; "
     "layout(binding = 1) buffer B { vec4 a[]; } b;\n"
     "void main() { priv = p.a.x + u.a.x + b.a[0].x; s = 1u; SetMeshOutputsEXT(3, 1); }",
     5283},
    {"mesh tasks in a branch", Shader::TypeTask,
     "layout(local_size_x = 1) in; layout(binding = 0) uniform U { uint n; } u; void main() { if(u.n > 4u) { "
     "EmitMeshTasksEXT(u.n, 1, 1); } else { EmitMeshTasksEXT(1, 1, 1); } }",
     5283},
    {"ray statements", Shader::TypeFirstHit,
     "layout(location = 0) rayPayloadInEXT vec4 p; void main() { if(p.x > 0.0) { ignoreIntersectionEXT; } if(p.y > "
     "0.0) { terminateRayEXT; } p.z = 1.0; }",
     4479},
    {"ray calls", Shader::TypeFirstHit,
     "layout(location = 0) rayPayloadInEXT vec4 p; void main() { if(p.x > 0.0) ignoreIntersectionEXT(); "
     "terminateRayEXT(); }",
     4479},
    {"report of an intersection", Shader::TypeIntersection,
     "hitAttributeEXT vec3 h; void main() { h = gl_ObjectRayOriginEXT; if(reportIntersectionEXT(1.0, 0u)) h.x = 1.0; }",
     4479},
    {"callables", Shader::TypeRayGen,
     "layout(location = 3) callableDataEXT vec4 d; void main() { d = vec4(1.0); executeCallableEXT(0u, 3); }", 4479},
    {"multisampled storage arrays", Shader::TypeCompute,
     "layout(local_size_x = 1) in; layout(binding = 0, rgba8) uniform image2DMSArray i; void main() { vec4 v = "
     "imageLoad(i, ivec3(0), 1); }",
     27},
    {"cube arrays", Shader::TypeFragment,
     "layout(binding = 0) uniform samplerCubeArray t; layout(binding = 1, rgba8) uniform imageCubeArray i; void main() "
     "{ vec4 v = texture(t, vec4(1.0)) + imageLoad(i, ivec3(1)); }",
     34},
    {"buffer images", Shader::TypeCompute,
     "layout(local_size_x = 1) in; layout(binding = 0) uniform samplerBuffer t; layout(binding = 1, r32f) uniform "
     "imageBuffer i; void main() { imageStore(i, 1, texelFetch(t, 2)); }",
     47},
    {"images without format", Shader::TypeCompute,
     "layout(local_size_x = 1) in; layout(binding = 0) uniform readonly image2D a; layout(binding = 1) uniform "
     "writeonly image2D b; void main() { imageStore(b, ivec2(0), imageLoad(a, ivec2(1))); }",
     55},
    {"image sizes", Shader::TypeFragment,
     "layout(binding = 0) uniform sampler2D t; layout(binding = 1, rgba8) uniform image3D i; layout(binding = 2) "
     "uniform sampler2DMS m; void main() { ivec2 a = textureSize(t, 1); ivec3 b = imageSize(i); int c = "
     "textureSamples(m); }",
     50},
    {"gather with an offset", Shader::TypeFragment,
     "layout(binding = 0) uniform sampler2D t; layout(location = 0) flat in ivec2 o; void main() { vec4 a = "
     "textureGatherOffset(t, vec2(0.5), o, 1) + textureGather(t, vec2(0.5)); }",
     25},
    {"fine derivatives", Shader::TypeFragment,
     "layout(location = 0) in vec2 uv; void main() { vec2 a = dFdxFine(uv) + dFdyCoarse(uv) + fwidth(uv) + "
     "fwidthFine(uv); }",
     51},
    {"interpolation", Shader::TypeFragment,
     "layout(location = 0) in vec2 uv; void main() { vec2 a = interpolateAtCentroid(uv) + interpolateAtSample(uv, 1) + "
     "interpolateAtOffset(uv, vec2(0.1)); }",
     52},
    {"samples of an input", Shader::TypeFragment, "layout(location = 0) sample in vec2 uv; void main() { }", 35},
    {"streams", Shader::TypeGeometry,
     "layout(points) in; layout(points, max_vertices = 2) out; layout(stream = 1, location = 0) out vec4 a; void "
     "main() { a = vec4(1.0); EmitStreamVertex(1); EndStreamPrimitive(1); }",
     54},
    {"built-ins of geometry in a fragment", Shader::TypeFragment, "void main() { int a = gl_PrimitiveID + gl_Layer; }",
     2},
    {"alignment", Shader::TypeFragment,
     "layout(binding = 0, align = 16) uniform B { float a; layout(align = 64) vec2 b; } u; void main() {}", 0},
    {"columns on a block", Shader::TypeFragment,
     "layout(binding = 0, column_major) uniform B { mat4 a; layout(row_major) mat3 b; } u; void main() { vec4 v = "
     "u.a[1]; vec3 w = u.b * v.xyz; }",
     0},
    {"numbered constants", Shader::TypeFragment,
     "layout(constant_id = 3) const int N = 4; layout(constant_id = 4) const bool B = true; float a[N]; void main() { "
     "if(B) a[N - 1] = 1.0; }",
     0},
    {"sampling outside of fragments", Shader::TypeVertex,
     "layout(binding = 0) uniform sampler2D t; layout(binding = 1) uniform sampler2DShadow s; void main() { "
     "gl_Position = texture(t, vec2(0.5)) + textureOffset(t, vec2(0.5), ivec2(1)) + textureProj(t, vec3(1.0)) + "
     "vec4(texture(s, vec3(0.5))); }",
     0},
    {"selects", Shader::TypeFragment,
     "layout(location = 0) in vec4 v; void main() { bool c = v.x > 0.0; vec4 a = c ? v : -v; vec2 b = lessThan(v.xy, "
     "v.zw).x ? v.xy : v.zw; mat3 m = c ? mat3(1.0) : mat3(2.0); float f = c ? 1 : 2.0; }",
     0},
    {"integer inputs of a fragment", Shader::TypeFragment,
     "layout(location = 0) in ivec2 a; layout(location = 1) in B { uint b; float c; } d; void main() { int e = a.x + "
     "int(d.b); }",
     0},
    {"runtime arrays of resources", Shader::TypeFragment,
     "layout(binding = 0) uniform sampler2D t[]; layout(location = 0) flat in int i; void main() { vec4 c = "
     "texture(t[nonuniformEXT(i)], vec2(0.5)) + texture(t[1], vec2(0.0)); }",
     5302},
    {"buffers at an index", Shader::TypeFragment,
     "layout(binding = 0) buffer B { vec4 a[]; } b[4]; layout(location = 0) flat in int i; void main() { "
     "b[nonuniformEXT(i)].a[1] = vec4(b[2].a.length()); }",
     5301},
    {"subgroup arithmetic", Shader::TypeCompute,
     "layout(local_size_x = 64) in; void main() { float a = subgroupAdd(1.0); uint b = subgroupInclusiveMul(2u); ivec2 "
     "c = subgroupExclusiveMin(ivec2(3)); }",
     63},
    {"subgroup votes and ballots", Shader::TypeCompute,
     "layout(local_size_x = 64) in; void main() { bool a = subgroupAll(true) || subgroupAny(false) || subgroupElect(); "
     "uvec4 b = subgroupBallot(a); uint c = subgroupBallotBitCount(b); }",
     64},
    {"subgroup shuffles and quads", Shader::TypeCompute,
     "layout(local_size_x = 64) in; void main() { vec4 a = subgroupShuffle(vec4(1.0), 2u) + "
     "subgroupShuffleDown(vec4(1.0), 1u) + subgroupQuadSwapHorizontal(vec4(1.0)) + subgroupClusteredAdd(vec4(1.0), "
     "4u); }",
     68},
    {"float atomics", Shader::TypeCompute,
     "layout(local_size_x = 64) in; layout(binding = 0) buffer B { float a; } b; void main() { float c = "
     "atomicAdd(b.a, 1.0); }",
     6033},
    {"atomics of 64 bits", Shader::TypeCompute,
     "layout(local_size_x = 64) in; layout(binding = 0) buffer B { uint64_t a; } b; void main() { uint64_t c = "
     "atomicAdd(b.a, uint64_t(1)); }",
     12},
    {"members of 16 bits", Shader::TypeCompute,
     "layout(local_size_x = 64) in; layout(binding = 0) buffer B { float16_t a; i16vec2 c; } b; layout(binding = 1) "
     "uniform U { f16vec4 a; } u; void main() { b.a = u.a.x * b.a; b.c += i16vec2(1); }",
     4434},
    {"shared structures", Shader::TypeCompute,
     "layout(local_size_x = 64) in; struct S { vec3 a; float b[2]; }; shared S s[4]; layout(binding = 0) buffer B { S "
     "s[]; } b; void main() { s[1] = b.s[0]; barrier(); b.s[2] = s[3]; S t = s[0]; s[2] = t; }",
     0},
    {"16-bit inputs", Shader::TypeVertex,
     "layout(location = 0) in f16vec2 a; layout(location = 0) out f16vec2 b; void main() { b = a; }", 4436},
    {"transform feedback", Shader::TypeVertex,
     "layout(location = 0, xfb_buffer = 0, xfb_stride = 16, offset = 0) out vec4 a; void main() { a = vec4(1.0); "
     "gl_Position = a; }",
     53},
    {"two blocks of one name", Shader::TypeGeometry,
     "layout(lines) in; layout(points, max_vertices = 1) out; layout(location = 0) in D { vec4 c; flat int i; } a[]; "
     "layout(location = 0) out D { vec4 c; flat int i; } b; void main() { b.c = a[1].c; b.i = a[0].i; EmitVertex(); }",
     0},
    {"initial values", Shader::TypeFragment,
     "float a = 1.0; vec3 b[2] = vec3[](vec3(1.0), vec3(2.0)); struct S { float x; ivec2 y; }; const mat2 m = "
     "mat2(1.0, 2.0, 3.0, 4.0); void main() { float c = a + b[1].x + m[1].x; }",
     0},
    {"dynamic indices of constants", Shader::TypeFragment,
     "layout(location = 0) flat in int i; const vec4 t[3] = vec4[](vec4(1.0), vec4(2.0), vec4(3.0)); void main() { "
     "vec4 v = t[i]; float f = v[i] + vec3(1.0, 2.0, 3.0)[i] + mat3(1.0)[i][i]; }",
     0},
    {"barycentrics", Shader::TypeFragment, "void main() { vec3 v = gl_BaryCoordEXT; }", 5284},
};

} // namespace

TEST(CompilerValidity, every_form) {
    for(const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const CompiledShader shader(row.type, row.src);
        EXPECT_TRUE(shader.ok) << shader.message;
        if(shader.ok && row.capability) {
            EXPECT_TRUE(shader.module.hasCapability(row.capability));
        }
    }
}
