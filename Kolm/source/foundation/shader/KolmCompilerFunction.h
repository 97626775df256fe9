// Rows of the tables of built-in functions and what a call of one has at hand. For the sources that write such calls.

#pragma once

#include "KolmCompiler.h"

namespace Kolm {

/// Which code writes the call of a row.
enum Family : uint32_t {
    FamilyOp,     // arguments and result by the rules of the row
    FamilyMatrix, // external functions of a square matrix
    FamilyMix,
    FamilyModf,
    FamilyFrexp,
    FamilyInterpolate,
    FamilyOuterProduct,
    FamilyTranspose,
    FamilyMatrixMul,
    FamilyDot,
    FamilyReduce,
    FamilyCarry,
    FamilyMulExtended,
    FamilyDerivative,
    FamilyTexture,
    FamilyImageLoad,
    FamilyImageStore,
    FamilyImageSize,
    FamilyImageSamples,
    FamilyTextureSize,
    FamilyTextureLevels,
    FamilyTextureQuery,
    FamilyImageAtomic,
    FamilySampler,
    FamilyStream,
    FamilyBarrier,
    FamilyAtomic,
    FamilySubgroup,
    FamilySubgroupCount,
    FamilySubgroupMath,
    FamilySubgroupSwap,
    FamilyTraceRay,
    FamilyReport,
    FamilyRayEnd,
    FamilyCallable,
    FamilyAcceleration,
    FamilyMeshTasks,
    FamilyMeshOutputs,
    FamilyRayQueryInit,
    FamilyRayQuery,
    FamilyCoopLoad,
    FamilyCoopStore,
    FamilyCoopMulAdd,
    FamilyNonUniform,
};

/// Forms of sampling functions.
enum TextureForm : uint32_t {
    TextureOffset = 1,
    TextureLod = 2,
    TextureGrad = 4,
    TextureProj = 8,
    TextureGather = 16,
    TextureFetch = 32,
    TextureSparse = 64,
    TextureOffsets = 128,
};

/// Scope in the top byte and memory semantics below it.
enum BarrierForm : uint32_t {
    ScopeDevice = SpvScopeDevice << 24,
    ScopeWorkgroup = SpvScopeWorkgroup << 24,
    ScopeSubgroup = SpvScopeSubgroup << 24,
    SemanticsBuffer = SpvMemorySemanticsAcquireRelease | SpvMemorySemanticsUniformMemory,
    SemanticsShared = SpvMemorySemanticsAcquireRelease | SpvMemorySemanticsWorkgroupMemory,
    SemanticsImage = SpvMemorySemanticsAcquireRelease | SpvMemorySemanticsImageMemory,
    SemanticsAll = SemanticsBuffer | SemanticsShared | SemanticsImage,
};

struct Compiler::InternalFunction {
    const char *name;
    Family family;
    const char *result; // rules, see KolmCompilerFunctions.inc
    const char *args;
    SpvOp f, s, u, b;
    uint32_t param;
};

struct Compiler::ExternalFunction {
    const char *name;
    Family family;
    const char *result;
    const char *args;
    uint32_t f, s, u; // 0 for none
};

struct Compiler::Call {
    Call(const InternalFunction &row, Function &func, Scope *scope) : row(row), func(func), scope(scope) {}

    const char *name() const { return row.name; }
    [[noreturn]] void invalid() const { Parser::error("invalid arguments for %s\n", row.name); }
    [[noreturn]] void unknown() const {
        Parser::error("unknown internal function %s with %u arguments\n", row.name, args.size());
    }
    void check_count(uint32_t count) const {
        if(args.size() > count) Parser::error("too many arguments for %s\n", row.name);
        if(args.size() < count) unknown();
    }
    void check_count(uint32_t least, uint32_t most) const {
        if(args.size() > most) Parser::error("too many arguments for %s\n", row.name);
        if(args.size() < least) unknown();
    }

    const InternalFunction &row;
    Function &func;
    Scope *scope;
    ArrayStack<Operand, 4> args;
};

/// What a row wants of its arguments, and what they come to.
struct Compiler::Match {
    const char *name = nullptr;
    const char *rules = nullptr;
    bool formats[4] = {};    // float, signed, unsigned, bool: which have an instruction
    Flags format = FlagNone; // common format and bits; of the first argument where there is no common type
    uint32_t width = 1;      // common width
    ArrayStack<uint32_t, 8> values;
};

} // namespace Kolm
