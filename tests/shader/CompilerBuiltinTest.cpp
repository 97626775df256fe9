// Built-in variables and constants: each in every stage that has it, and unknown in all others.

#include "CompiledShader.h"
#include "ShaderStages.h"

namespace {

const struct {
    uint32_t stages;
    const char *name;
    const char *use;
    uint32_t number; // of the BuiltIn decoration, ~0 for none
} builtins[] = {
    {StageVertex | StageEvaluate | StageGeometry, "gl_Position", "gl_Position = vec4(1.0);", 0},
    {StageVertex | StageEvaluate | StageGeometry, "gl_PointSize", "gl_PointSize = 1.0;", 1},
    {StageVertex | StageEvaluate | StageGeometry, "gl_ClipDistance", "gl_ClipDistance[1] = 1.0;", 3},
    {StageVertex | StageEvaluate | StageGeometry, "gl_CullDistance", "gl_CullDistance[0] = 1.0;", 4},
    {StageFragment, "gl_ClipDistance", "float v = gl_ClipDistance[1];", 3},
    {StageFragment, "gl_CullDistance", "float v = gl_CullDistance[0];", 4},
    {StageVertex, "gl_VertexIndex", "int v = gl_VertexIndex;", 42},
    {StageVertex, "gl_InstanceIndex", "int v = gl_InstanceIndex;", 43},
    {StageVertex, "gl_BaseVertex", "int v = gl_BaseVertex;", 4424},
    {StageVertex, "gl_BaseInstance", "int v = gl_BaseInstance;", 4425},
    {StageVertex | StageTask | StageMesh, "gl_DrawIndex", "int v = gl_DrawIndex;", 4426},
    {StageVertex | StageTask | StageMesh, "gl_DrawID", "int v = gl_DrawID;", 4426},
    {StageVertex | StageTask | StageMesh, "gl_DrawIDARB", "int v = gl_DrawIDARB;", 4426},
    {StageVertex, "gl_BaseVertexARB", "int v = gl_BaseVertexARB;", 4424},
    {StageVertex, "gl_BaseInstanceARB", "int v = gl_BaseInstanceARB;", 4425},
    {StageHit | StageVertex, "gl_InstanceID", "int v = gl_InstanceID;", 6},
    {StageVertex, "gl_VertexID", "int v = gl_VertexID;", 5},
    {StageControl | StageEvaluate | StageFragment | StageHit, "gl_PrimitiveID", "int v = gl_PrimitiveID;", 7},
    {StageGeometry, "gl_PrimitiveID", "gl_PrimitiveID = 1;", 7},
    {StageGeometry, "gl_PrimitiveIDIn", "int v = gl_PrimitiveIDIn;", 7},
    {StageControl | StageGeometry, "gl_InvocationID", "int v = gl_InvocationID;", 8},
    {StageVertex | StageEvaluate | StageGeometry, "gl_Layer", "gl_Layer = 1;", 9},
    {StageVertex | StageEvaluate | StageGeometry, "gl_ViewportIndex", "gl_ViewportIndex = 1;", 10},
    {StageFragment, "gl_Layer", "int v = gl_Layer;", 9},
    {StageFragment, "gl_ViewportIndex", "int v = gl_ViewportIndex;", 10},
    {StageControl, "gl_TessLevelOuter", "gl_TessLevelOuter[3] = 1.0;", 11},
    {StageControl, "gl_TessLevelInner", "gl_TessLevelInner[1] = 1.0;", 12},
    {StageEvaluate, "gl_TessLevelOuter", "float v = gl_TessLevelOuter[3];", 11},
    {StageEvaluate, "gl_TessLevelInner", "float v = gl_TessLevelInner[1];", 12},
    {StageEvaluate, "gl_TessCoord", "vec3 v = gl_TessCoord;", 13},
    {StageControl | StageEvaluate, "gl_PatchVerticesIn", "int v = gl_PatchVerticesIn;", 14},
    {StageFragment, "gl_FragCoord", "vec4 v = gl_FragCoord;", 15},
    {StageFragment, "gl_PointCoord", "vec2 v = gl_PointCoord;", 16},
    {StageFragment, "gl_FrontFacing", "bool v = gl_FrontFacing;", 17},
    {StageFragment, "gl_SampleID", "int v = gl_SampleID;", 18},
    {StageFragment, "gl_SamplePosition", "vec2 v = gl_SamplePosition;", 19},
    {StageFragment, "gl_SampleMask", "gl_SampleMask[0] = 1;", 20},
    {StageFragment, "gl_SampleMaskIn", "int v = gl_SampleMaskIn[0];", 20},
    {StageFragment, "gl_FragDepth", "gl_FragDepth = 0.5;", 22},
    {StageFragment, "gl_HelperInvocation", "bool v = gl_HelperInvocation;", 23},
    {StageFragment, "gl_FragStencilRefEXT", "gl_FragStencilRefEXT = 1;", 5014},
    {StageFragment, "gl_BaryCoordEXT", "vec3 v = gl_BaryCoordEXT;", 5286},
    {StageFragment, "gl_BaryCoordNoPerspEXT", "vec3 v = gl_BaryCoordNoPerspEXT;", 5287},
    {StageFragment, "gl_BaryCoordNoPerspAMD", "vec2 v = gl_BaryCoordNoPerspAMD;", 4992},
    {StageFragment, "gl_BaryCoordNoPerspCentroidAMD", "vec2 v = gl_BaryCoordNoPerspCentroidAMD;", 4993},
    {StageFragment, "gl_BaryCoordNoPerspSampleAMD", "vec2 v = gl_BaryCoordNoPerspSampleAMD;", 4994},
    {StageFragment, "gl_BaryCoordSmoothAMD", "vec2 v = gl_BaryCoordSmoothAMD;", 4995},
    {StageFragment, "gl_BaryCoordSmoothCentroidAMD", "vec2 v = gl_BaryCoordSmoothCentroidAMD;", 4996},
    {StageFragment, "gl_BaryCoordSmoothSampleAMD", "vec2 v = gl_BaryCoordSmoothSampleAMD;", 4997},
    {StageFragment, "gl_BaryCoordPullModelAMD", "vec3 v = gl_BaryCoordPullModelAMD;", 4998},
    {StageGroup, "gl_NumWorkGroups", "uvec3 v = gl_NumWorkGroups;", 24},
    {StageGroup, "gl_WorkGroupID", "uvec3 v = gl_WorkGroupID;", 26},
    {StageGroup, "gl_LocalInvocationID", "uvec3 v = gl_LocalInvocationID;", 27},
    {StageGroup, "gl_GlobalInvocationID", "uvec3 v = gl_GlobalInvocationID;", 28},
    {StageGroup, "gl_LocalInvocationIndex", "uint v = gl_LocalInvocationIndex;", 29},
    {StageGroup, "gl_WorkGroupSize", "uvec3 v = gl_WorkGroupSize;", ~0u},
    {StageGroup, "gl_SubgroupID", "uint v = gl_SubgroupID;", 40},
    {StageGroup, "gl_NumSubgroups", "uint v = gl_NumSubgroups;", 38},
    {StageAll, "gl_SubgroupSize", "uint v = gl_SubgroupSize;", 36},
    {StageAll, "gl_SubgroupInvocationID", "uint v = gl_SubgroupInvocationID;", 41},
    {StageAll, "gl_SubgroupEqMask", "uvec4 v = gl_SubgroupEqMask;", 4416},
    {StageAll, "gl_SubgroupGeMask", "uvec4 v = gl_SubgroupGeMask;", 4417},
    {StageAll, "gl_SubgroupGtMask", "uvec4 v = gl_SubgroupGtMask;", 4418},
    {StageAll, "gl_SubgroupLeMask", "uvec4 v = gl_SubgroupLeMask;", 4419},
    {StageAll, "gl_SubgroupLtMask", "uvec4 v = gl_SubgroupLtMask;", 4420},
    {StageGraphics, "gl_ViewIndex", "int v = gl_ViewIndex;", 4440},
    {StageAll, "gl_DeviceIndex", "int v = gl_DeviceIndex;", 4438},
    {StageVertex | StageEvaluate | StageGeometry, "gl_ViewportMaskNV", "gl_ViewportMaskNV[0] = 1;", 5253},
    {StageControl | StageEvaluate | StageGeometry, "gl_in",
     "vec4 v = gl_in[1].gl_Position; float p = gl_in[0].gl_PointSize;", 0},
    {StageControl, "gl_out", "gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position;", 0},
    {StageControl | StageEvaluate, "gl_MaxPatchVertices", "int v = gl_MaxPatchVertices;", ~0u},
    {StageMesh, "gl_MeshVerticesEXT", "gl_MeshVerticesEXT[2].gl_Position = vec4(1.0);", 0},
    {StageMesh, "gl_MeshPrimitivesEXT", "gl_MeshPrimitivesEXT[0].gl_PrimitiveID = 1;", 7},
    {StageMesh, "gl_CullPrimitiveEXT", "gl_MeshPrimitivesEXT[0].gl_CullPrimitiveEXT = true;", 5299},
    {StageMesh, "gl_PrimitiveTriangleIndicesEXT", "gl_PrimitiveTriangleIndicesEXT[0] = uvec3(0, 1, 2);", 5296},
    {StageRay, "gl_LaunchIDEXT", "uvec3 v = gl_LaunchIDEXT;", 5319},
    {StageRay, "gl_LaunchSizeEXT", "uvec3 v = gl_LaunchSizeEXT;", 5320},
    {StageHit | StageMiss, "gl_WorldRayOriginEXT", "vec3 v = gl_WorldRayOriginEXT;", 5321},
    {StageHit | StageMiss, "gl_WorldRayDirectionEXT", "vec3 v = gl_WorldRayDirectionEXT;", 5322},
    {StageHit, "gl_ObjectRayOriginEXT", "vec3 v = gl_ObjectRayOriginEXT;", 5323},
    {StageHit, "gl_ObjectRayDirectionEXT", "vec3 v = gl_ObjectRayDirectionEXT;", 5324},
    {StageHit | StageMiss, "gl_RayTminEXT", "float v = gl_RayTminEXT;", 5325},
    {StageHit | StageMiss, "gl_RayTmaxEXT", "float v = gl_RayTmaxEXT;", 5326},
    {StageAnyHit | StageClosest, "gl_HitTEXT", "float v = gl_HitTEXT;", 5326},
    {StageHit, "gl_InstanceCustomIndexEXT", "int v = gl_InstanceCustomIndexEXT;", 5327},
    {StageHit, "gl_ObjectToWorldEXT", "mat4x3 v = gl_ObjectToWorldEXT;", 5330},
    {StageHit, "gl_WorldToObjectEXT", "vec3 v = gl_WorldToObjectEXT * vec4(1.0);", 5331},
    {StageAnyHit | StageClosest, "gl_HitKindEXT", "uint v = gl_HitKindEXT;", 5333},
    {StageHit, "gl_GeometryIndexEXT", "int v = gl_GeometryIndexEXT;", 5352},
    {StageHit | StageMiss, "gl_IncomingRayFlagsEXT", "uint v = gl_IncomingRayFlagsEXT;", 5351},
};

// Stages in which a name stands in any row.
uint32_t get_stages(const char *name) {
    uint32_t ret = 0;
    for(const auto &row : builtins) {
        if(strcmp(row.name, name) == 0) ret |= row.stages;
    }
    return ret;
}

bool has_builtin(const SpirvModule &module, uint32_t number) {
    for(const auto &inst : module.instructions) {
        if(inst.opcode == 71 && inst.words[1] == 11 && inst.words[2] == number) return true;
        if(inst.opcode == 72 && inst.words[2] == 11 && inst.words[3] == number) return true;
    }
    return false;
}

} // namespace

TEST(CompilerBuiltin, every_name_in_its_stages) {
    for(uint32_t i = 0; i < 14; i++) {
        const ShaderStage &stage = shader_stages[i];
        for(const auto &row : builtins) {
            if((row.stages & (1u << i)) == 0 && (get_stages(row.name) & (1u << i))) continue;
            SCOPED_TRACE(std::string(row.name) + " in " + stage.name);
            // kept: names of the desktop dialect, which Vulkan does not know
            const bool desktop = (row.number == 5 || row.number == 6) && stage.type == Kolm::Shader::TypeVertex;
            const CompiledShader shader(stage.type, std::string(stage.head) + "void main() { " + row.use + " }",
                                        Kolm::Compiler::DefaultOptions, nullptr, desktop);
            if(row.stages & (1u << i)) {
                ASSERT_TRUE(shader.ok) << shader.message;
                EXPECT_TRUE(row.number == ~0u || has_builtin(shader.module, row.number));
            } else {
                EXPECT_FALSE(shader.ok);
            }
        }
    }
}

TEST(CompilerBuiltin, primitives_of_a_mesh) {
    const struct {
        const char *primitive;
        const char *use;
    } rows[] = {
        {"points", "gl_PrimitivePointIndicesEXT[1] = 2u;"},
        {"lines", "gl_PrimitiveLineIndicesEXT[1] = uvec2(0, 1);"},
        {"triangles", "gl_PrimitiveTriangleIndicesEXT[1] = uvec3(0, 1, 2);"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.primitive);
        const CompiledShader shader(Kolm::Shader::TypeMesh, std::string("layout(local_size_x = 1) in;\nlayout(") +
                                                                row.primitive +
                                                                ", max_vertices = 3, max_primitives = 2) out;\n"
                                                                "void main() { SetMeshOutputsEXT(3, 2); " +
                                                                row.use + " }");
        // kept: there is no output of points
        if(strcmp(row.primitive, "points") == 0)
            EXPECT_EQ("unknown execution qualifier \"points\"\n", shader.message);
        else
            EXPECT_TRUE(shader.ok) << shader.message;
    }
}

TEST(CompilerBuiltin, constants) {
    const struct {
        const char *name;
        const char *value;
    } rows[] = {
        {"gl_ScopeDevice", "1"},
        {"gl_ScopeWorkgroup", "2"},
        {"gl_ScopeSubgroup", "3"},
        {"gl_ScopeInvocation", "4"},
        {"gl_MatrixUseA", "0"},
        {"gl_MatrixUseB", "1"},
        {"gl_MatrixUseAccumulator", "2"},
        {"gl_CooperativeMatrixLayoutRowMajor", "0"},
        {"gl_CooperativeMatrixLayoutColumnMajor", "1"},
        {"gl_MatrixOperandsSaturatingAccumulation", "16"},
        {"gl_RayFlagsNoneEXT", "0"},
        {"gl_RayFlagsOpaqueEXT", "1"},
        {"gl_RayFlagsNoOpaqueEXT", "2"},
        {"gl_RayFlagsTerminateOnFirstHitEXT", "4"},
        {"gl_RayFlagsSkipClosestHitShaderEXT", "8"},
        {"gl_RayFlagsCullBackFacingTrianglesEXT", "16"},
        {"gl_RayFlagsCullFrontFacingTrianglesEXT", "32"},
        {"gl_RayFlagsCullOpaqueEXT", "64"},
        {"gl_RayFlagsCullNoOpaqueEXT", "128"},
        {"gl_HitKindFrontFacingTriangleEXT", "254"},
        {"gl_HitKindBackFacingTriangleEXT", "255"},
        {"gl_RayQueryCommittedIntersectionNoneEXT", "0"},
        {"gl_RayQueryCommittedIntersectionTriangleEXT", "1"},
        {"gl_RayQueryCommittedIntersectionGeneratedEXT", "2"},
        {"gl_RayQueryCandidateIntersectionTriangleEXT", "0"},
        {"gl_RayQueryCandidateIntersectionAABBEXT", "1"},
    };
    for(const auto &row : rows) {
        // an array of a negative length would not compile
        const CompiledShader equal =
            compile_compute(std::string("shared int a[int(") + row.name + ") == " + row.value + " ? 1 : -1];");
        const CompiledShader length =
            compile_compute(std::string("shared int a[int(") + row.name + ") - " + row.value + " + 1];");
        EXPECT_TRUE(equal.ok || length.ok) << row.name << ": " << length.message;
        EXPECT_FALSE(compile_compute(std::string("shared int a[int(") + row.name + ") - " + row.value + "];").ok)
            << row.name;
    }
}

TEST(CompilerBuiltin, what_they_require) {
    const struct {
        Kolm::Shader::Type type;
        const char *body;
        uint32_t capability;
        uint32_t version;
        const char *extension;
    } rows[] = {
        {Kolm::Shader::TypeFragment, "int v = gl_SampleID;", 35, 0x10000, nullptr},
        {Kolm::Shader::TypeFragment, "int v = gl_Layer;", 2, 0x10000, nullptr},
        {Kolm::Shader::TypeVertex, "gl_Layer = 1;", 5254, 0x10000, "SPV_EXT_shader_viewport_index_layer"},
        {Kolm::Shader::TypeVertex, "gl_ViewportIndex = 1;", 57, 0x10000, "SPV_EXT_shader_viewport_index_layer"},
        {Kolm::Shader::TypeVertex, "int v = gl_DrawIndex;", 4427, 0x10300, "SPV_KHR_shader_draw_parameters"},
        {Kolm::Shader::TypeVertex, "int v = gl_ViewIndex;", 4439, 0x10000, "SPV_KHR_multiview"},
        {Kolm::Shader::TypeVertex, "uint v = gl_SubgroupSize;", 61, 0x10300, nullptr},
        {Kolm::Shader::TypeVertex, "uvec4 v = gl_SubgroupLtMask;", 64, 0x10300, nullptr},
        {Kolm::Shader::TypeFragment, "gl_FragStencilRefEXT = 1;", 5013, 0x10000, "SPV_EXT_shader_stencil_export"},
        {Kolm::Shader::TypeFragment, "vec3 v = gl_BaryCoordEXT;", 5284, 0x10000, "SPV_KHR_fragment_shader_barycentric"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.body);
        const CompiledShader shader(row.type, std::string("void main() { ") + row.body + " }");
        ASSERT_TRUE(shader.ok) << shader.message;
        EXPECT_TRUE(shader.module.hasCapability(row.capability));
        EXPECT_EQ(row.version, shader.module.version());
        if(row.extension) {
            EXPECT_TRUE(shader.module.hasExtension(row.extension));
        }
    }
    const CompiledShader depth(Kolm::Shader::TypeFragment, "void main() { gl_FragDepth = 0.5; }");
    ASSERT_TRUE(depth.ok) << depth.message;
    EXPECT_EQ(2u, depth.module.count(16)); // the origin and DepthReplacing
}

// An unused built-in costs nothing.
TEST(CompilerBuiltin, declared_on_first_use) {
    const CompiledShader shader(Kolm::Shader::TypeVertex, "void main() {}");
    ASSERT_TRUE(shader.ok) << shader.message;
    EXPECT_EQ(0u, shader.module.count(59));
}

// Shaders that spell gl_PerVertex out name the members they use.
TEST(CompilerBuiltin, redeclared_blocks) {
    const struct {
        Kolm::Shader::Type type;
        const char *src;
    } rows[] = {
        {Kolm::Shader::TypeVertex, "out gl_PerVertex { vec4 gl_Position; };\nvoid main() { gl_Position = vec4(1.0); }"},
        {Kolm::Shader::TypeVertex,
         "out gl_PerVertex { vec4 gl_Position; float gl_PointSize; float gl_ClipDistance[2]; };\n"
         "void main() { gl_Position = vec4(1.0); gl_ClipDistance[1] = 1.0; }"},
        {Kolm::Shader::TypeGeometry,
         "layout(points) in;\nlayout(points, max_vertices = 1) out;\n"
         "in gl_PerVertex { vec4 gl_Position; } gl_in[];\nout gl_PerVertex { vec4 gl_Position; };\n"
         "void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); }"},
        {Kolm::Shader::TypeControl,
         "layout(vertices = 3) out;\nin gl_PerVertex { vec4 gl_Position; } gl_in[gl_MaxPatchVertices];\n"
         "out gl_PerVertex { vec4 gl_Position; } gl_out[];\n"
         "void main() { gl_out[gl_InvocationID].gl_Position = gl_in[gl_InvocationID].gl_Position; }"},
        {Kolm::Shader::TypeFragment,
         "layout(origin_upper_left) in vec4 gl_FragCoord;\nlayout(depth_less) out float gl_FragDepth;\n"
         "void main() { gl_FragDepth = gl_FragCoord.z; }"},
        {Kolm::Shader::TypeVertex,
         "out gl_PerVertex { vec4 gl_Position; float gl_ClipDistance[]; };\nvoid main() { gl_ClipDistance[1] = 1.0; }"},
        {Kolm::Shader::TypeVertex, "invariant gl_Position;\nvoid main() { gl_Position = vec4(1.0); }"},
        {Kolm::Shader::TypeVertex, "out float gl_ClipDistance[3];\nvoid main() { gl_ClipDistance[2] = 1.0; }"},
    };
    for(const auto &row : rows) {
        const CompiledShader shader(row.type, row.src);
        EXPECT_TRUE(shader.ok) << shader.message << row.src;
    }
}
