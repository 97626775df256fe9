// The stages of shaders, each with the declarations without which none compiles.

#pragma once

#include "KolmShader.h"

struct ShaderStage {
    Kolm::Shader::Type type;
    const char *name;
    uint32_t model;
    const char *head;
};

inline constexpr ShaderStage shader_stages[] = {
    {Kolm::Shader::TypeVertex, "vertex", 0, ""},
    {Kolm::Shader::TypeControl, "control", 1, "layout(vertices = 3) out;\n"},
    {Kolm::Shader::TypeEvaluate, "evaluate", 2, "layout(triangles, equal_spacing, cw) in;\n"},
    {Kolm::Shader::TypeGeometry, "geometry", 3,
     "layout(triangles) in;\nlayout(triangle_strip, max_vertices = 3) out;\n"},
    {Kolm::Shader::TypeFragment, "fragment", 4, ""},
    {Kolm::Shader::TypeCompute, "compute", 5, "layout(local_size_x = 8, local_size_y = 4) in;\n"},
    {Kolm::Shader::TypeTask, "task", 5364, "layout(local_size_x = 32) in;\n"},
    {Kolm::Shader::TypeMesh, "mesh", 5365,
     "layout(local_size_x = 32) in;\nlayout(triangles, max_vertices = 3, max_primitives = 1) out;\n"},
    {Kolm::Shader::TypeRayGen, "ray generation", 5313, ""},
    {Kolm::Shader::TypeIntersection, "intersection", 5314, ""},
    {Kolm::Shader::TypeFirstHit, "any hit", 5315, ""},
    {Kolm::Shader::TypeClosest, "closest hit", 5316, ""},
    {Kolm::Shader::TypeRayMiss, "miss", 5317, ""},
    {Kolm::Shader::TypeCallable, "callable", 5318, ""},
};

// Sets of stages, one bit for each row above.
enum StageBits : uint32_t {
    StageVertex = 1 << 0,
    StageControl = 1 << 1,
    StageEvaluate = 1 << 2,
    StageGeometry = 1 << 3,
    StageFragment = 1 << 4,
    StageCompute = 1 << 5,
    StageTask = 1 << 6,
    StageMesh = 1 << 7,
    StageRayGen = 1 << 8,
    StageIntersection = 1 << 9,
    StageAnyHit = 1 << 10,
    StageClosest = 1 << 11,
    StageMiss = 1 << 12,
    StageCallable = 1 << 13,
    StageGraphics = 0x1F | StageMesh,
    StageGroup = StageCompute | StageTask | StageMesh,
    StageHit = StageIntersection | StageAnyHit | StageClosest,
    StageRay = StageRayGen | StageHit | StageMiss | StageCallable,
    StageAll = (1 << 14) - 1,
};
