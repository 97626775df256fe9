// Built-in functions: each name of the tables compiles in a stage that has it, and the module validates.
//
// A row that no line here uses makes the last test fail, which reads the table itself.

#include "CompiledShader.h"

#include <set>

using Kolm::Shader;

namespace {

std::set<std::string> used; // names that stand in a text

void compile(Shader::Type type, const std::string &globals, const char *body) {
    const char *head = "";
    switch(type) {
    case Shader::TypeCompute:
    case Shader::TypeTask: head = "layout(local_size_x = 32) in;\n"; break;
    case Shader::TypeMesh:
        head = "layout(local_size_x = 32) in;\nlayout(triangles, max_vertices = 3, max_primitives = 1) out;\n";
        break;
    case Shader::TypeGeometry: head = "layout(triangles) in;\nlayout(points, max_vertices = 3) out;\n"; break;
    default: break;
    }
    const std::string src = head + globals + "\nvoid main() {\n" + body + "\n}\n";
    const CompiledShader shader(type, src);
    EXPECT_TRUE(shader.ok) << body << ": " << shader.message;
    std::string name;
    for(const char *s = body;; s++) {
        if(isalnum(*s) || *s == '_') {
            name += *s;
            continue;
        }
        if(!name.empty()) used.insert(name);
        name.clear();
        if(*s == '\0') break;
    }
}

template<size_t Size>
void compile_all(Shader::Type type, const char *globals, const char *head, const char *const (&bodies)[Size]) {
    for(const char *body : bodies) compile(type, globals, (std::string(head) + body).c_str());
}

const char *const floats =
    "float f = 1.0; vec2 v2; vec3 v; vec4 v4; float16_t h = float16_t(1); f16vec3 hv; double d; dvec2 dv;";
const char *const integers =
    "int i = 1; uint u = 2u; ivec3 iv; uvec3 uv; int64_t l; uint64_t ul; int16_t s; bool b; bvec3 bv;";

} // namespace

TEST(CompilerFunction, numbers) {
    static const char *const one[] = {
        "round",   "roundEven", "trunc", "abs", "sign", "floor", "ceil", "fract",       "sqrt",      "radians",
        "degrees", "sin",       "cos",   "tan", "asin", "acos",  "atan", "sinh",        "cosh",      "tanh",
        "asinh",   "acosh",     "atanh", "exp", "log",  "exp2",  "log2", "inversesqrt", "normalize", "length"};
    for(const char *name : one) {
        const std::string n = name;
        const bool length = (n == "length");
        std::string body = std::string(floats) + "f = " + n + "(f); f = " + n + "(2); h = " + n + "(h);" +
                           (length ? "f = length(v); h = length(hv);" : "v = " + n + "(v); hv = " + n + "(hv);");
        const bool wide = n == "round" || n == "roundEven" || n == "trunc" || n == "abs" || n == "sign" ||
                          n == "floor" || n == "ceil" || n == "fract" || n == "sqrt" || n == "inversesqrt" ||
                          n == "normalize" || length;
        if(wide) body += "d = " + n + "(d);";
        compile(Shader::TypeCompute, "", body.c_str());
    }
    static const char *const bodies[] = {
        "v = pow(v, vec3(2)); f = atan(f, 2.0);",
        "f = min(f, 1); v = min(v, 1.0); v = max(v, v); f = max(1, f); v = clamp(v, 0.0, 1.0); v = clamp(v, v, v);",
        "d = min(d, d); d = clamp(d, 0.0, 1.0); h = max(h, h); dv = mix(dv, dv, d);",
        "v = mix(v, v, 0.5); v = mix(v, v, v); v = mix(v, v, bvec3(true)); f = mix(f, f, true);",
        "v = step(0.5, v); v = step(v, v); v = smoothstep(0.0, 1.0, v); f = smoothstep(f, f, f); v = fma(v, v, v);",
        "f = modf(f, f); v = modf(v, v); float w[2]; f = modf(f, w[1]); v.xy = modf(v.xy, v4.zw);",
        "int e; ivec3 ev; f = frexp(f, e); v = frexp(v, ev); f = ldexp(f, e); v = ldexp(v, ev); v.x = frexp(f, ev.y);",
        "f = distance(v, v); f = dot(v, v); f = dot(f, f); v = cross(v, v); v = faceforward(v, v, v);",
        "v = reflect(v, v); v = refract(v, v, 0.5); f = mod(f, 2.0); v = mod(v, 2.0); v = mod(v, v);",
        "uint p = packSnorm4x8(v4) + packUnorm4x8(v4) + packSnorm2x16(v2) + packUnorm2x16(v2) + packHalf2x16(v2);",
        "v2 = unpackSnorm2x16(1u) + unpackUnorm2x16(1u) + unpackHalf2x16(1u); v4 = unpackSnorm4x8(1u) + "
        "unpackUnorm4x8(1u);",
        "d = packDouble2x32(uvec2(1)); uvec2 p = unpackDouble2x32(d);",
        "mat3 m = outerProduct(v, v); m = transpose(m) * inverse(m); f = determinant(m); m = matrixCompMult(m, m); "
        "mat2x3 n = outerProduct(v, v2); mat3x2 t = transpose(n);",
        "bool b = isnan(f) || isinf(f) || any(isnan(v)) || all(isinf(v));",
        "int i = floatBitsToInt(f); uvec3 u = floatBitsToUint(v); f = intBitsToFloat(i); v = uintBitsToFloat(u);",
        "int64_t i = doubleBitsToInt64(d); uint64_t u = doubleBitsToUint64(d); d = int64BitsToDouble(i) + "
        "uint64BitsToDouble(u);",
    };
    compile_all(Shader::TypeCompute, "", floats, bodies);
}

TEST(CompilerFunction, integers) {
    static const char *const bodies[] = {
        "i = abs(i) + sign(i) + min(i, 2) + max(i, 3) + clamp(i, 0, 3); iv = abs(iv); uv = min(uv, 3u);",
        "i = findLSB(i) + findMSB(i) + findLSB(u) + findMSB(u) + bitCount(i) + bitCount(u); iv = findMSB(uv);",
        "i = bitfieldExtract(i, 1, 2); uv = bitfieldExtract(uv, 1, 2); i = bitfieldInsert(i, i, 1, 2); u = "
        "bitfieldReverse(u);",
        "u = uaddCarry(u, u, u); uv = usubBorrow(uv, uv, uv); umulExtended(u, u, u, u); imulExtended(iv, iv, iv, iv);",
        "bv = lessThan(iv, iv); bv = lessThanEqual(uv, uv); bv = greaterThan(vec3(1), vec3(2)); bv = "
        "greaterThanEqual(iv, iv);",
        "bv = equal(iv, iv); bv = notEqual(bv, bv); bv = not(bv); b = any(bv) && all(bv);",
        "i = 7 % i; l = l % l; ul = ul + u; l = i; s = int16_t(i); i = s;",
    };
    compile_all(Shader::TypeCompute, "", integers, bodies);
}

TEST(CompilerFunction, memory) {
    const char *globals = "shared int si; shared uint su[4]; shared float sf;"
                          "layout(binding = 0) buffer B { int bi; uint bu[4]; float bf; int64_t bl; };";
    static const char *const names[] = {"Add", "Min", "Max", "And", "Or", "Xor", "Exchange", "Sub"};
    for(const char *name : names) {
        const std::string n = "atomic" + std::string(name);
        compile(
            Shader::TypeCompute, globals,
            ("int a = " + n + "(si, 1); a += " + n + "(bi, 2u); uint b = " + n + "(bu[a], 1u) + " + n + "(su[1], 2u);")
                .c_str());
    }
    static const char *const bodies[] = {
        "int a = atomicLoad(si) + atomicIncrement(bi) + atomicDecrement(si) + atomicCompSwap(bi, 1, 2); "
        "atomicStore(bi, a);",
        "int a = atomicLoad(bi, gl_ScopeDevice, 0, 0); atomicStore(bi, a, gl_ScopeDevice, 0, 0); a = atomicAdd(bi, 1, "
        "1, 0, 0);",
        "bf = atomicAdd(bf, 1.0); sf = atomicExchange(sf, 2.0); bl = atomicMax(bl, 3l);",
        "barrier(); memoryBarrier(); memoryBarrierBuffer(); memoryBarrierShared(); memoryBarrierImage(); "
        "groupMemoryBarrier();",
        "subgroupBarrier(); subgroupMemoryBarrier(); subgroupMemoryBarrierBuffer(); subgroupMemoryBarrierShared(); "
        "subgroupMemoryBarrierImage();",
    };
    compile_all(Shader::TypeCompute, globals, "", bodies);
}

TEST(CompilerFunction, subgroups) {
    static const char *const prefixes[] = {"subgroup", "subgroupInclusive", "subgroupExclusive", "subgroupClustered"};
    static const char *const math[] = {"Add", "Mul", "Min", "Max", "And", "Or", "Xor"};
    for(const char *prefix : prefixes) {
        for(uint32_t k = 0; k < 7; k++) {
            const std::string n = std::string(prefix) + math[k];
            const std::string end = !strcmp(prefix, "subgroupClustered") ? ", 4)" : ")";
            std::string body = std::string(integers) + "i = " + n + "(i" + end + "; uv = " + n + "(uv" + end + ";";
            if(k < 4) body += "float f = " + n + "(1.0" + end + "; vec3 v = " + n + "(vec3(1)" + end + ";";
            if(k >= 4) body += "b = " + n + "(b" + end + ";";
            compile(Shader::TypeCompute, "", body.c_str());
        }
    }
    for(const char *prefix : {"subgroupPartitioned", "subgroupPartitionedInclusive", "subgroupPartitionedExclusive"}) {
        for(uint32_t k = 0; k < 7; k++) {
            const std::string n = std::string(prefix) + math[k];
            std::string body =
                std::string(integers) + "uvec4 p = uvec4(1, 2, 4, 8); i = " + n + "(i, p); uv = " + n + "(uv, p);";
            if(k < 4) body += "float f = " + n + "(1.0, p); vec3 v = " + n + "(vec3(1), p);";
            if(k >= 4) body += "b = " + n + "(b, p);";
            compile(Shader::TypeCompute, "", body.c_str());
        }
    }
    static const char *const bodies[] = {
        "b = subgroupElect() || subgroupAll(b) || subgroupAny(b) || subgroupAllEqual(iv) || subgroupAllEqual(b);",
        "i = subgroupBroadcast(i, 1); i = subgroupBroadcast(i, u); bv = subgroupBroadcastFirst(bv);",
        "uvec4 m = subgroupBallot(b); b = subgroupInverseBallot(m) || subgroupBallotBitExtract(m, u);",
        "uvec4 m; u = subgroupBallotBitCount(m) + subgroupBallotInclusiveBitCount(m);",
        "uvec4 m; u = subgroupBallotExclusiveBitCount(m) + subgroupBallotFindLSB(m) + subgroupBallotFindMSB(m);",
        "i = subgroupShuffle(i, u) + subgroupShuffleXor(i, 1u) + subgroupShuffleUp(i, 1) + subgroupShuffleDown(i, u);",
        "i = subgroupQuadBroadcast(i, 1u) + subgroupQuadSwapHorizontal(i);",
        "i = subgroupQuadSwapVertical(i) + subgroupQuadSwapDiagonal(i);",
    };
    compile_all(Shader::TypeCompute, "", integers, bodies);
    static const char *const legacy[] = {
        "uvec4 m = ballot(b); i = readInvocation(i, u) + readFirstInvocation(i);",
        "b = anyInvocation(b) || allInvocations(b) || allInvocationsEqual(b);",
    };
    compile_all(Shader::TypeCompute, "", integers, legacy);
}

TEST(CompilerFunction, textures) {
    const char *globals =
        "layout(location = 0) in vec2 p; layout(location = 1) in vec3 q; layout(location = 0) out vec4 c;"
        "layout(binding = 0) uniform sampler2D t; layout(binding = 1) uniform sampler2DShadow s;"
        "layout(binding = 2) uniform sampler2DArray a; layout(binding = 3) uniform samplerCube k;"
        "layout(binding = 4) uniform sampler3D v; layout(binding = 5) uniform sampler2DMS m;"
        "layout(binding = 6) uniform samplerBuffer b; layout(binding = 7) uniform usampler2D u;"
        "layout(binding = 8) uniform samplerCubeArrayShadow ks; layout(binding = 9) uniform samplerCubeArray ka;"
        "layout(binding = 10) uniform texture2D x; layout(binding = 11) uniform texture3D xv;"
        "layout(binding = 12) uniform textureCube xk; layout(binding = 13) uniform texture2DArray xa;"
        "layout(binding = 14) uniform texture2DMS xm; layout(binding = 15) uniform textureCubeArray xka;"
        "layout(binding = 16) uniform sampler smp; layout(binding = 17) uniform samplerShadow cmp;"
        "layout(binding = 18) uniform sampler2DArrayShadow as; layout(binding = 19) uniform samplerCubeShadow kk;"
        "layout(binding = 20) uniform sampler2D list[4]; layout(binding = 21) uniform texture2DMSArray xma;"
        "layout(binding = 22) uniform itexture2D xi; layout(binding = 23) uniform itexture3D yi;"
        "layout(binding = 24) uniform itextureCube zi; layout(binding = 25) uniform itexture2DArray ai;"
        "layout(binding = 26) uniform itextureCubeArray ki; layout(binding = 27) uniform itexture2DMS mi;"
        "layout(binding = 28) uniform itexture2DIMSArray ni; layout(binding = 29) uniform utexture2D xu;"
        "layout(binding = 30) uniform utexture3D yu; layout(binding = 31) uniform utextureCube zu;"
        "layout(binding = 32) uniform utexture2DArray au; layout(binding = 33) uniform utextureCubeArray ku;"
        "layout(binding = 34) uniform utexture2DMS mu; layout(binding = 35) uniform utexture2DUMSArray nu;";
    static const char *const bodies[] = {
        "c = texture(t, p) + texture(t, p, 1.0) + texture(a, q) + texture(k, q) + texture(v, q) + texture(ka, q.xyzx);",
        "c.x = texture(s, q) + texture(as, q.xyzx) + texture(kk, q.xyzx) + texture(ks, q.xyzx, 0.5);",
        "c = textureOffset(t, p, ivec2(1)) + textureOffset(v, q, ivec3(1), 0.5) + textureOffset(a, q, ivec2(1, 0));",
        "c = textureLod(t, p, 1.0) + textureLodOffset(t, p, 1, ivec2(1)); c.x += textureLod(s, q, 0.0);",
        "c = textureGrad(t, p, p, p) + textureGradOffset(t, p, p, p, ivec2(1)) + textureGrad(k, q, q, q);",
        "c = textureProj(t, q) + textureProj(t, q.xyzx, 0.5) + textureProjOffset(t, q, ivec2(1)); c.x += "
        "textureProj(s, q.xyzx);",
        "c = textureProjLod(t, q, 1.0) + textureProjLodOffset(t, q, 1.0, ivec2(1));",
        "c = textureProjGrad(t, q, p, p) + textureProjGradOffset(t, q, p, p, ivec2(1));",
        "c = textureGather(t, p) + textureGather(t, p, 2) + textureGather(s, p, 0.5) + textureGather(ka, q.xyzx, 1);",
        "ivec2 o = ivec2(p); c = textureGatherOffset(t, p, ivec2(1), 1) + textureGatherOffset(t, p, o) + "
        "textureGatherOffset(s, p, 0.5, o);",
        "const ivec2 o[4] = ivec2[4](ivec2(0), ivec2(1), ivec2(2), ivec2(3)); c = textureGatherOffsets(t, p, o, 2);",
        "c = texelFetch(t, ivec2(p), 0) + texelFetch(m, ivec2(p), 1) + texelFetch(b, 3) + texelFetch(a, ivec3(q), 0) + "
        "texelFetch(x, ivec2(1), 0);",
        "c = texelFetchOffset(t, ivec2(p), 0, ivec2(1)); uvec4 w = texture(u, p) + texelFetch(u, ivec2(p), 1);",
        "ivec2 z = textureSize(t, 0) + textureSize(m) + textureSize(k, 1) + textureSize(a, 0).xy; int n = "
        "textureSize(b) + textureSize(v, 0).z;",
        "int n = textureSamples(m) + textureQueryLevels(t); vec2 l = textureQueryLod(t, p);",
        "c = texture(sampler2D(x, smp), p) + texture(sampler3D(xv, smp), q) + texture(samplerCube(xk, smp), q);",
        "c = texture(sampler2DArray(xa, smp), q) + texture(samplerCubeArray(xka, smp), q.xyzx) + "
        "texelFetch(sampler2DMS(xm, smp), ivec2(p), 0);",
        "c = texelFetch(sampler2DMSArray(xma, smp), ivec3(q), 1);",
        "c = vec4(texture(isampler2D(xi, smp), p) + texture(isampler3D(yi, smp), q) + texture(isamplerCube(zi, smp), "
        "q) + "
        "texture(isampler2DArray(ai, smp), q) + texture(isamplerCubeArray(ki, smp), q.xyzx) + "
        "texelFetch(isampler2DMS(mi, smp), ivec2(p), 1) + texelFetch(isampler2DMSArray(ni, smp), ivec3(q), 1));",
        "c = vec4(texture(usampler2D(xu, smp), p) + texture(usampler3D(yu, smp), q) + texture(usamplerCube(zu, smp), "
        "q) + "
        "texture(usampler2DArray(au, smp), q) + texture(usamplerCubeArray(ku, smp), q.xyzx) + "
        "texelFetch(usampler2DMS(mu, smp), ivec2(p), 1) + texelFetch(usampler2DMSArray(nu, smp), ivec3(q), 1));",
        "c.x = texture(sampler2DShadow(x, cmp), q) + texture(samplerCubeShadow(xk, cmp), q.xyzx);",
        "c.x = texture(sampler2DArrayShadow(xa, cmp), q.xyzx) + texture(samplerCubeArrayShadow(xka, cmp), q.xyzx, "
        "0.5);",
        "int i = int(p.x); c = texture(list[1], p) + texture(list[i], p) + texture(list[nonuniformEXT(i)], p);",
        "vec4 e; int r = sparseTexture(t, p, e) | sparseTexture(t, p, e, 1.0) | sparseTextureOffset(t, p, ivec2(1), e) "
        "| sparseTextureLod(t, p, 1.0, c);",
        "vec4 e; int r = sparseTextureLodOffset(t, p, 1.0, ivec2(1), e) | sparseTextureGrad(t, p, p, p, e) | "
        "sparseTextureGradOffset(t, p, p, p, ivec2(1), e);",
        "vec4 e; int r = sparseTextureProj(t, q, e) | sparseTextureProjOffset(t, q, ivec2(1), e) | "
        "sparseTextureProjLod(t, q, 1.0, e) | sparseTextureProjLodOffset(t, q, 1.0, ivec2(1), e);",
        "vec4 e; int r = sparseTextureGradProj(t, q, p, p, e) | sparseTextureProjGradOffset(t, q, p, p, ivec2(1), e) | "
        "sparseTextureGather(t, p, e, 1) | sparseTextureGatherOffset(t, p, ivec2(1), e);",
        "const ivec2 o[4] = ivec2[4](ivec2(0), ivec2(1), ivec2(2), ivec2(3)); vec4 e; int r = "
        "sparseTextureGatherOffsets(t, p, o, e);",
        "vec4 e; int r = sparseTexelFetch(t, ivec2(p), 0, e) | sparseTexelFetchOffset(t, ivec2(p), 0, ivec2(1), e); "
        "if(sparseTexelsResident(r)) c = e; float d; r = sparseTexture(s, q, d);",
        "c.x = dFdx(p.x) + dFdy(p.x) + fwidth(p.x) + dFdxFine(p.x) + dFdyFine(p.x) + fwidthFine(p.x);",
        "c.xy = dFdxCoarse(p) + dFdyCoarse(p) + fwidthCoarse(p) + dFdx(p); float16_t h = dFdx(float16_t(p.x));",
        "c.xy = interpolateAtCentroid(p) + interpolateAtSample(p, 1) + interpolateAtOffset(p, vec2(0.5)); c.x = "
        "interpolateAtCentroid(q.x);",
    };
    compile_all(Shader::TypeFragment, globals, "", bodies);
    // Without derivatives there is no implicit level.
    compile(Shader::TypeCompute,
            "layout(binding = 0) uniform sampler2D t; layout(binding = 1) uniform sampler2DShadow s;",
            "vec4 c = texture(t, vec2(0)) + textureProj(t, vec3(1)); float f = texture(s, vec3(1));");
    // A texture as a parameter.
    compile(Shader::TypeFragment,
            std::string(globals) + "vec4 get(sampler2D x, texture2D y, sampler z) { return texture(x, p) + "
                                   "texture(sampler2D(y, z), p); }",
            "c = get(t, x, smp) + get(list[1], x, smp);");
}

TEST(CompilerFunction, images) {
    const char *globals =
        "layout(binding = 0, rgba8) uniform image2D f; layout(binding = 1, r32ui) uniform uimage2D u;"
        "layout(binding = 2, r32i) uniform iimage3D i; layout(binding = 3) writeonly uniform image2D w;"
        "layout(binding = 4, rgba16f) uniform imageCube k; layout(binding = 5, rgba32f) uniform image2DArray a;"
        "layout(binding = 6, r32f) uniform image2DMS m; layout(binding = 7, rgba32i) uniform iimage2D n;"
        "layout(binding = 8, r32f) uniform image2D e; layout(binding = 9, rgba8) uniform image2D l[3];";
    static const char *const bodies[] = {
        "vec4 c = imageLoad(f, ivec2(0)) + imageLoad(k, ivec3(0)) + imageLoad(a, ivec3(0)) + imageLoad(m, ivec2(0), "
        "1); uvec4 d = imageLoad(u, ivec2(1));",
        "imageStore(f, ivec2(0), vec4(1)); imageStore(w, ivec2(0), vec4(1)); imageStore(u, ivec2(0), uvec4(1)); "
        "imageStore(n, ivec2(0), ivec4(1));",
        "ivec2 s = imageSize(f) + imageSize(k) + imageSize(a).xy + imageSize(m); ivec3 t = imageSize(i); int c = "
        "imageSamples(m);",
        "uint x = imageAtomicAdd(u, ivec2(0), 1u) + imageAtomicMin(u, ivec2(0), 1u) + imageAtomicMax(u, ivec2(0), 1) + "
        "imageAtomicAnd(u, ivec2(0), 1u);",
        "uint x = imageAtomicOr(u, ivec2(0), 1u) + imageAtomicXor(u, ivec2(0), 1u) + imageAtomicExchange(u, ivec2(0), "
        "1u) + imageAtomicCompSwap(u, ivec2(0), 1u, 2u);",
        "int x = imageAtomicAdd(i, ivec3(0), 1) + imageAtomicLoad(i, ivec3(0)); imageAtomicStore(i, ivec3(0), x); "
        "float y = imageAtomicExchange(e, ivec2(0), 1.0);",
        "vec4 c; int r = sparseImageLoad(f, ivec2(0), c); imageStore(l[1], ivec2(0), imageLoad(l[r], ivec2(0)));",
    };
    compile_all(Shader::TypeCompute, globals, "", bodies);
}

TEST(CompilerFunction, stages) {
    compile(Shader::TypeGeometry, "", "EmitVertex(); EndPrimitive(); if(true) EmitVertex();");
    compile(Shader::TypeGeometry, "", "EmitStreamVertex(0); EndStreamPrimitive(0);");
    compile(Shader::TypeTask, "struct P { uint a; }; taskPayloadSharedEXT P p;",
            "p.a = 1u; if(p.a > 0u) EmitMeshTasksEXT(1, 2u, 3); EmitMeshTasksEXT(1, 1, 1);");
    compile(Shader::TypeMesh, "", "SetMeshOutputsEXT(3, 1);");
    compile(
        Shader::TypeRayGen,
        "layout(binding = 0) uniform accelerationStructureEXT s; layout(location = 0) rayPayloadEXT vec4 p;"
        "layout(location = 2) callableDataEXT vec4 d; layout(binding = 1) buffer B { uvec2 at; };",
        "traceRayEXT(s, gl_RayFlagsOpaqueEXT, 255, 0, 0, 0, vec3(0), 0.1, vec3(1), 10, 0); executeCallableEXT(1, 2); "
        "traceRayEXT(accelerationStructureEXT(at), 0u, 255u, 0u, 0u, 0u, vec3(0), 0.1, vec3(1), 10.0, 0);");
    compile(Shader::TypeFirstHit, "", "if(gl_HitTEXT > 1.0) ignoreIntersectionEXT; else terminateRayEXT;");
    compile(Shader::TypeFirstHit, "", "if(gl_HitTEXT > 1.0) ignoreIntersectionEXT(); terminateRayEXT(); return;");
    compile(Shader::TypeIntersection, "hitAttributeEXT vec2 a;",
            "a = vec2(1); bool b = reportIntersectionEXT(1.0, 2u);");
}

TEST(CompilerFunction, ray_queries) {
    const char *globals =
        "layout(binding = 0) uniform accelerationStructureEXT s; layout(binding = 1) buffer B { float f; };";
    const char *head = "rayQueryEXT q; rayQueryInitializeEXT(q, s, 0, 255, vec3(0), 0.1, vec3(1), 10.0);";
    static const char *const bodies[] = {
        "while(rayQueryProceedEXT(q)) { if(f > 1.0) rayQueryTerminateEXT(q); else if(f > 0.5) "
        "rayQueryConfirmIntersectionEXT(q); "
        "else rayQueryGenerateIntersectionEXT(q, 1); }",
        "uint u = rayQueryGetIntersectionTypeEXT(q, true) + rayQueryGetRayFlagsEXT(q) + "
        "rayQueryGetIntersectionInstanceShaderBindingTableRecordOffsetEXT(q, false);",
        "f = rayQueryGetRayTMinEXT(q) + rayQueryGetIntersectionTEXT(q, true) + "
        "rayQueryGetIntersectionBarycentricsEXT(q, true).x;",
        "int i = rayQueryGetIntersectionInstanceCustomIndexEXT(q, true) + rayQueryGetIntersectionInstanceIdEXT(q, "
        "false) + "
        "rayQueryGetIntersectionGeometryIndexEXT(q, true) + rayQueryGetIntersectionPrimitiveIndexEXT(q, true);",
        "bool b = rayQueryGetIntersectionFrontFaceEXT(q, true) || rayQueryGetIntersectionCandidateAABBOpaqueEXT(q);",
        "vec3 v = rayQueryGetIntersectionObjectRayDirectionEXT(q, true) + rayQueryGetIntersectionObjectRayOriginEXT(q, "
        "true) + "
        "rayQueryGetWorldRayDirectionEXT(q) + rayQueryGetWorldRayOriginEXT(q);",
        "mat4x3 m = rayQueryGetIntersectionObjectToWorldEXT(q, true) + rayQueryGetIntersectionWorldToObjectEXT(q, "
        "true);",
    };
    compile_all(Shader::TypeCompute, globals, head, bodies);
}

TEST(CompilerFunction, no_name_is_left_out) {
    // these have a test of their own
    const std::set<std::string> expected = {"coopMatLoad", "coopMatStore", "coopMatMulAdd"};
    for(const char *name : {
#define EXTERNAL(NAME, ...) NAME,
#define INTERNAL(NAME, ...) NAME,
#include "KolmCompilerFunctions.inc"
        }) {
        if(!expected.count(name)) {
            EXPECT_TRUE(used.count(name)) << name;
        }
    }
    if(used.empty()) GTEST_SKIP() << "the tests that use the names did not run";
}
