#pragma once

#include <platform/OstrevanPipeline.h>

#include "KolmPipeline.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Pipeline::PipelineImpl : HandleImpl<Pipeline, Kolm::Pipeline> {};

static_assert(uint32_t(Pipeline::NumSamplers) == uint32_t(Kolm::Pipeline::NumSamplers));
static_assert(uint32_t(Pipeline::NumTextures) == uint32_t(Kolm::Pipeline::NumTextures));
static_assert(uint32_t(Pipeline::NumSurfaces) == uint32_t(Kolm::Pipeline::NumSurfaces));
static_assert(uint32_t(Pipeline::NumUniforms) == uint32_t(Kolm::Pipeline::NumUniforms));
static_assert(uint32_t(Pipeline::NumStorages) == uint32_t(Kolm::Pipeline::NumStorages));
static_assert(uint32_t(Pipeline::NumTracings) == uint32_t(Kolm::Pipeline::NumTracings));
static_assert(uint32_t(Pipeline::NumTexels) == uint32_t(Kolm::Pipeline::NumTexels));
static_assert(uint32_t(Pipeline::NumTables) == uint32_t(Kolm::Pipeline::NumTables));
static_assert(uint32_t(Pipeline::TableTypeStorage) == uint32_t(Kolm::Pipeline::TableTypeStorage));
static_assert(uint32_t(Pipeline::NumTableTypes) == uint32_t(Kolm::Pipeline::NumTableTypes));
static_assert(uint32_t(Pipeline::BindFlagFixed) == uint32_t(Kolm::Pipeline::BindFlagFixed));
static_assert(uint32_t(Pipeline::BindFlagRead) == uint32_t(Kolm::Pipeline::BindFlagRead));
static_assert(uint32_t(Pipeline::NumBindFlags) == uint32_t(Kolm::Pipeline::NumBindFlags));
static_assert(uint32_t(Pipeline::NumVertices) == uint32_t(Kolm::Pipeline::NumVertices));
static_assert(uint32_t(Pipeline::NumAttributes) == uint32_t(Kolm::Pipeline::NumAttributes));
static_assert(uint32_t(Pipeline::NumTargets) == uint32_t(Kolm::Pipeline::NumTargets));
static_assert(uint32_t(Pipeline::NumViewports) == uint32_t(Kolm::Pipeline::NumViewports));
static_assert(uint32_t(Pipeline::AttributePosition) == uint32_t(Kolm::Pipeline::AttributePosition));
static_assert(uint32_t(Pipeline::AttributeBasis) == uint32_t(Kolm::Pipeline::AttributeBasis));
static_assert(uint32_t(Pipeline::AttributeNormal) == uint32_t(Kolm::Pipeline::AttributeNormal));
static_assert(uint32_t(Pipeline::AttributeTangent) == uint32_t(Kolm::Pipeline::AttributeTangent));
static_assert(uint32_t(Pipeline::AttributeBinormal) == uint32_t(Kolm::Pipeline::AttributeBinormal));
static_assert(uint32_t(Pipeline::AttributeTexCoord) == uint32_t(Kolm::Pipeline::AttributeTexCoord));
static_assert(uint32_t(Pipeline::AttributeWeights) == uint32_t(Kolm::Pipeline::AttributeWeights));
static_assert(uint32_t(Pipeline::AttributeJoints) == uint32_t(Kolm::Pipeline::AttributeJoints));
static_assert(uint32_t(Pipeline::AttributeColor) == uint32_t(Kolm::Pipeline::AttributeColor));
static_assert(uint32_t(Pipeline::AttributeIndex) == uint32_t(Kolm::Pipeline::AttributeIndex));
static_assert(uint32_t(Pipeline::NumAttributeTypes) == uint32_t(Kolm::Pipeline::NumAttributeTypes));
static_assert(uint32_t(Pipeline::PrimitivePoint) == uint32_t(Kolm::Pipeline::PrimitivePoint));
static_assert(uint32_t(Pipeline::PrimitivePointPatch) == uint32_t(Kolm::Pipeline::PrimitivePointPatch));
static_assert(uint32_t(Pipeline::PrimitiveLine) == uint32_t(Kolm::Pipeline::PrimitiveLine));
static_assert(uint32_t(Pipeline::PrimitiveLineAdj) == uint32_t(Kolm::Pipeline::PrimitiveLineAdj));
static_assert(uint32_t(Pipeline::PrimitiveLineStrip) == uint32_t(Kolm::Pipeline::PrimitiveLineStrip));
static_assert(uint32_t(Pipeline::PrimitiveLinePatch) == uint32_t(Kolm::Pipeline::PrimitiveLinePatch));
static_assert(uint32_t(Pipeline::PrimitiveTriangle) == uint32_t(Kolm::Pipeline::PrimitiveTriangle));
static_assert(uint32_t(Pipeline::PrimitiveTriangleAdj) == uint32_t(Kolm::Pipeline::PrimitiveTriangleAdj));
static_assert(uint32_t(Pipeline::PrimitiveTriangleStrip) == uint32_t(Kolm::Pipeline::PrimitiveTriangleStrip));
static_assert(uint32_t(Pipeline::PrimitiveTrianglePatch) == uint32_t(Kolm::Pipeline::PrimitiveTrianglePatch));
static_assert(uint32_t(Pipeline::PrimitiveQuadrilateralPatch) == uint32_t(Kolm::Pipeline::PrimitiveQuadrilateralPatch));
static_assert(uint32_t(Pipeline::NumPrimitiveTypes) == uint32_t(Kolm::Pipeline::NumPrimitiveTypes));
static_assert(uint32_t(Pipeline::FillModeLine) == uint32_t(Kolm::Pipeline::FillModeLine));
static_assert(uint32_t(Pipeline::FillModeSolid) == uint32_t(Kolm::Pipeline::FillModeSolid));
static_assert(uint32_t(Pipeline::NumFillModes) == uint32_t(Kolm::Pipeline::NumFillModes));
static_assert(uint32_t(Pipeline::CullModeNone) == uint32_t(Kolm::Pipeline::CullModeNone));
static_assert(uint32_t(Pipeline::CullModeBack) == uint32_t(Kolm::Pipeline::CullModeBack));
static_assert(uint32_t(Pipeline::CullModeFront) == uint32_t(Kolm::Pipeline::CullModeFront));
static_assert(uint32_t(Pipeline::NumCullModes) == uint32_t(Kolm::Pipeline::NumCullModes));
static_assert(uint32_t(Pipeline::FrontModeCCW) == uint32_t(Kolm::Pipeline::FrontModeCCW));
static_assert(uint32_t(Pipeline::FrontModeCW) == uint32_t(Kolm::Pipeline::FrontModeCW));
static_assert(uint32_t(Pipeline::NumFrontModes) == uint32_t(Kolm::Pipeline::NumFrontModes));
static_assert(uint32_t(Pipeline::BlendOpAdd) == uint32_t(Kolm::Pipeline::BlendOpAdd));
static_assert(uint32_t(Pipeline::BlendOpSub) == uint32_t(Kolm::Pipeline::BlendOpSub));
static_assert(uint32_t(Pipeline::BlendOpMin) == uint32_t(Kolm::Pipeline::BlendOpMin));
static_assert(uint32_t(Pipeline::BlendOpMax) == uint32_t(Kolm::Pipeline::BlendOpMax));
static_assert(uint32_t(Pipeline::NumBlendOperations) == uint32_t(Kolm::Pipeline::NumBlendOperations));
static_assert(uint32_t(Pipeline::BlendFuncNone) == uint32_t(Kolm::Pipeline::BlendFuncNone));
static_assert(uint32_t(Pipeline::BlendFuncZero) == uint32_t(Kolm::Pipeline::BlendFuncZero));
static_assert(uint32_t(Pipeline::BlendFuncOne) == uint32_t(Kolm::Pipeline::BlendFuncOne));
static_assert(uint32_t(Pipeline::BlendFuncSrcColor) == uint32_t(Kolm::Pipeline::BlendFuncSrcColor));
static_assert(uint32_t(Pipeline::BlendFuncSrcAlpha) == uint32_t(Kolm::Pipeline::BlendFuncSrcAlpha));
static_assert(uint32_t(Pipeline::BlendFuncSrc1Color) == uint32_t(Kolm::Pipeline::BlendFuncSrc1Color));
static_assert(uint32_t(Pipeline::BlendFuncSrc1Alpha) == uint32_t(Kolm::Pipeline::BlendFuncSrc1Alpha));
static_assert(uint32_t(Pipeline::BlendFuncDestColor) == uint32_t(Kolm::Pipeline::BlendFuncDestColor));
static_assert(uint32_t(Pipeline::BlendFuncDestAlpha) == uint32_t(Kolm::Pipeline::BlendFuncDestAlpha));
static_assert(uint32_t(Pipeline::BlendFuncFactorColor) == uint32_t(Kolm::Pipeline::BlendFuncFactorColor));
static_assert(uint32_t(Pipeline::BlendFuncFactorAlpha) == uint32_t(Kolm::Pipeline::BlendFuncFactorAlpha));
static_assert(uint32_t(Pipeline::BlendFuncInvSrcColor) == uint32_t(Kolm::Pipeline::BlendFuncInvSrcColor));
static_assert(uint32_t(Pipeline::BlendFuncInvSrcAlpha) == uint32_t(Kolm::Pipeline::BlendFuncInvSrcAlpha));
static_assert(uint32_t(Pipeline::BlendFuncInvSrc1Color) == uint32_t(Kolm::Pipeline::BlendFuncInvSrc1Color));
static_assert(uint32_t(Pipeline::BlendFuncInvSrc1Alpha) == uint32_t(Kolm::Pipeline::BlendFuncInvSrc1Alpha));
static_assert(uint32_t(Pipeline::BlendFuncInvDestColor) == uint32_t(Kolm::Pipeline::BlendFuncInvDestColor));
static_assert(uint32_t(Pipeline::BlendFuncInvDestAlpha) == uint32_t(Kolm::Pipeline::BlendFuncInvDestAlpha));
static_assert(uint32_t(Pipeline::BlendFuncInvFactorColor) == uint32_t(Kolm::Pipeline::BlendFuncInvFactorColor));
static_assert(uint32_t(Pipeline::BlendFuncInvFactorAlpha) == uint32_t(Kolm::Pipeline::BlendFuncInvFactorAlpha));
static_assert(uint32_t(Pipeline::NumBlendFunctions) == uint32_t(Kolm::Pipeline::NumBlendFunctions));
static_assert(uint32_t(Pipeline::ColorMaskNone) == uint32_t(Kolm::Pipeline::ColorMaskNone));
static_assert(uint32_t(Pipeline::ColorMaskR) == uint32_t(Kolm::Pipeline::ColorMaskR));
static_assert(uint32_t(Pipeline::ColorMaskG) == uint32_t(Kolm::Pipeline::ColorMaskG));
static_assert(uint32_t(Pipeline::ColorMaskB) == uint32_t(Kolm::Pipeline::ColorMaskB));
static_assert(uint32_t(Pipeline::ColorMaskA) == uint32_t(Kolm::Pipeline::ColorMaskA));
static_assert(uint32_t(Pipeline::ColorMaskUnknown) == uint32_t(Kolm::Pipeline::ColorMaskUnknown));
static_assert(uint32_t(Pipeline::ColorMaskRGB) == uint32_t(Kolm::Pipeline::ColorMaskRGB));
static_assert(uint32_t(Pipeline::ColorMaskAll) == uint32_t(Kolm::Pipeline::ColorMaskAll));
static_assert(uint32_t(Pipeline::DepthMaskNone) == uint32_t(Kolm::Pipeline::DepthMaskNone));
static_assert(uint32_t(Pipeline::DepthMaskRead) == uint32_t(Kolm::Pipeline::DepthMaskRead));
static_assert(uint32_t(Pipeline::DepthMaskWrite) == uint32_t(Kolm::Pipeline::DepthMaskWrite));
static_assert(uint32_t(Pipeline::NumDepthMasks) == uint32_t(Kolm::Pipeline::NumDepthMasks));
static_assert(uint32_t(Pipeline::DepthFuncNone) == uint32_t(Kolm::Pipeline::DepthFuncNone));
static_assert(uint32_t(Pipeline::DepthFuncNever) == uint32_t(Kolm::Pipeline::DepthFuncNever));
static_assert(uint32_t(Pipeline::DepthFuncAlways) == uint32_t(Kolm::Pipeline::DepthFuncAlways));
static_assert(uint32_t(Pipeline::DepthFuncEqual) == uint32_t(Kolm::Pipeline::DepthFuncEqual));
static_assert(uint32_t(Pipeline::DepthFuncLess) == uint32_t(Kolm::Pipeline::DepthFuncLess));
static_assert(uint32_t(Pipeline::DepthFuncGreater) == uint32_t(Kolm::Pipeline::DepthFuncGreater));
static_assert(uint32_t(Pipeline::DepthFuncNotEqual) == uint32_t(Kolm::Pipeline::DepthFuncNotEqual));
static_assert(uint32_t(Pipeline::DepthFuncLessEqual) == uint32_t(Kolm::Pipeline::DepthFuncLessEqual));
static_assert(uint32_t(Pipeline::DepthFuncGreaterEqual) == uint32_t(Kolm::Pipeline::DepthFuncGreaterEqual));
static_assert(uint32_t(Pipeline::NumDepthFunctions) == uint32_t(Kolm::Pipeline::NumDepthFunctions));
static_assert(uint32_t(Pipeline::StencilFuncNone) == uint32_t(Kolm::Pipeline::StencilFuncNone));
static_assert(uint32_t(Pipeline::StencilFuncNever) == uint32_t(Kolm::Pipeline::StencilFuncNever));
static_assert(uint32_t(Pipeline::StencilFuncAlways) == uint32_t(Kolm::Pipeline::StencilFuncAlways));
static_assert(uint32_t(Pipeline::StencilFuncEqual) == uint32_t(Kolm::Pipeline::StencilFuncEqual));
static_assert(uint32_t(Pipeline::StencilFuncLess) == uint32_t(Kolm::Pipeline::StencilFuncLess));
static_assert(uint32_t(Pipeline::StencilFuncGreater) == uint32_t(Kolm::Pipeline::StencilFuncGreater));
static_assert(uint32_t(Pipeline::StencilFuncNotEqual) == uint32_t(Kolm::Pipeline::StencilFuncNotEqual));
static_assert(uint32_t(Pipeline::StencilFuncLessEqual) == uint32_t(Kolm::Pipeline::StencilFuncLessEqual));
static_assert(uint32_t(Pipeline::StencilFuncGreaterEqual) == uint32_t(Kolm::Pipeline::StencilFuncGreaterEqual));
static_assert(uint32_t(Pipeline::NumStencilFunctions) == uint32_t(Kolm::Pipeline::NumStencilFunctions));
static_assert(uint32_t(Pipeline::StencilOpKeep) == uint32_t(Kolm::Pipeline::StencilOpKeep));
static_assert(uint32_t(Pipeline::StencilOpInvert) == uint32_t(Kolm::Pipeline::StencilOpInvert));
static_assert(uint32_t(Pipeline::StencilOpReplace) == uint32_t(Kolm::Pipeline::StencilOpReplace));
static_assert(uint32_t(Pipeline::StencilOpIncrWrap) == uint32_t(Kolm::Pipeline::StencilOpIncrWrap));
static_assert(uint32_t(Pipeline::StencilOpDecrWrap) == uint32_t(Kolm::Pipeline::StencilOpDecrWrap));
static_assert(uint32_t(Pipeline::StencilOpIncrSat) == uint32_t(Kolm::Pipeline::StencilOpIncrSat));
static_assert(uint32_t(Pipeline::StencilOpDecrSat) == uint32_t(Kolm::Pipeline::StencilOpDecrSat));
static_assert(uint32_t(Pipeline::NumStencilOperations) == uint32_t(Kolm::Pipeline::NumStencilOperations));

} // namespace Ostrevan
