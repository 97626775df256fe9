// Enumerators of the SPIR-V module format, derived from KolmSpirvOps.inc.

#pragma once

#include "KolmBase.h"

namespace Kolm {

enum SpvOp : uint32_t {
#define SPV_OP(NUM, NAME, KIND) SpvOp##NAME = NUM,
#include "KolmSpirvOps.inc"
};

enum SpvStorageClass : uint32_t {
#define SPV_STORAGE(NUM, NAME) SpvStorageClass##NAME = NUM,
#include "KolmSpirvOps.inc"
};

enum SpvDecoration : uint32_t {
#define SPV_DECORATION(NUM, NAME) SpvDecoration##NAME = NUM,
#include "KolmSpirvOps.inc"
};

enum SpvCapability : uint32_t {
#define SPV_CAPABILITY(NUM, NAME) SpvCapability##NAME = NUM,
#include "KolmSpirvOps.inc"
};

// Instructions of the set "GLSL.std.450".
enum SpvExt : uint32_t {
#define SPV_EXT(NUM, NAME) SpvExt##NAME = NUM,
#include "KolmSpirvOps.inc"
};

enum SpvSelectionControlMask : uint32_t {
    SpvSelectionControlNone = 0,
    SpvSelectionControlFlatten = 1,
    SpvSelectionControlDontFlatten = 2,
};
enum SpvLoopControlMask : uint32_t {
    SpvLoopControlNone = 0,
    SpvLoopControlUnroll = 1,
    SpvLoopControlDontUnroll = 2,
};
enum SpvFunctionControlMask : uint32_t {
    SpvFunctionControlNone = 0,
    SpvFunctionControlInline = 1,
};

enum SpvDim : uint32_t {
    SpvDim1D = 0,
    SpvDim2D = 1,
    SpvDim3D = 2,
    SpvDimCube = 3,
    SpvDimBuffer = 5,
};

enum SpvImageOperandsMask : uint32_t {
    SpvImageOperandsNone = 0x0,
    SpvImageOperandsBias = 0x1,
    SpvImageOperandsLod = 0x2,
    SpvImageOperandsGrad = 0x4,
    SpvImageOperandsConstOffset = 0x8,
    SpvImageOperandsOffset = 0x10,
    SpvImageOperandsConstOffsets = 0x20,
    SpvImageOperandsSample = 0x40,
    SpvImageOperandsMinLod = 0x80,
};

enum SpvScope : uint32_t {
    SpvScopeCrossDevice = 0,
    SpvScopeDevice = 1,
    SpvScopeWorkgroup = 2,
    SpvScopeSubgroup = 3,
    SpvScopeInvocation = 4,
};

enum SpvMemorySemanticsMask : uint32_t {
    SpvMemorySemanticsNone = 0x0,
    SpvMemorySemanticsAcquire = 0x2,
    SpvMemorySemanticsRelease = 0x4,
    SpvMemorySemanticsAcquireRelease = 0x8,
    SpvMemorySemanticsUniformMemory = 0x40,
    SpvMemorySemanticsSubgroupMemory = 0x80,
    SpvMemorySemanticsWorkgroupMemory = 0x100,
    SpvMemorySemanticsImageMemory = 0x800,
};

enum SpvGroupOperation : uint32_t {
    SpvGroupOperationReduce = 0,
    SpvGroupOperationInclusiveScan = 1,
    SpvGroupOperationExclusiveScan = 2,
    SpvGroupOperationClusteredReduce = 3,
    SpvGroupOperationPartitionedReduceNV = 6,
    SpvGroupOperationPartitionedInclusiveScanNV = 7,
    SpvGroupOperationPartitionedExclusiveScanNV = 8,
};

enum SpvExecutionMode : uint32_t {
    SpvExecutionModeInvocations = 0,
    SpvExecutionModeOriginUpperLeft = 7,
    SpvExecutionModeOriginLowerLeft = 8,
    SpvExecutionModeXfb = 11,
    SpvExecutionModeDepthReplacing = 12,
    SpvExecutionModeLocalSize = 17,
    SpvExecutionModeInputPoints = 19,
    SpvExecutionModeInputLines = 20,
    SpvExecutionModeInputLinesAdjacency = 21,
    SpvExecutionModeTriangles = 22,
    SpvExecutionModeInputTrianglesAdjacency = 23,
    SpvExecutionModeOutputVertices = 26,
    SpvExecutionModeStencilRefReplacingEXT = 5027,
    SpvExecutionModeOutputLinesEXT = 5269,
    SpvExecutionModeOutputPrimitivesEXT = 5270,
    SpvExecutionModeOutputTrianglesEXT = 5298,
};

enum SpvExecutionModel : uint32_t {
    SpvExecutionModelVertex = 0,
    SpvExecutionModelTessellationControl = 1,
    SpvExecutionModelTessellationEvaluation = 2,
    SpvExecutionModelGeometry = 3,
    SpvExecutionModelFragment = 4,
    SpvExecutionModelGLCompute = 5,
    SpvExecutionModelRayGenerationKHR = 5313,
    SpvExecutionModelIntersectionKHR = 5314,
    SpvExecutionModelAnyHitKHR = 5315,
    SpvExecutionModelClosestHitKHR = 5316,
    SpvExecutionModelMissKHR = 5317,
    SpvExecutionModelCallableKHR = 5318,
    SpvExecutionModelTaskEXT = 5364,
    SpvExecutionModelMeshEXT = 5365,
};

} // namespace Kolm
