// Pipelines and traversals: slots by stages, shaders by type, raster state, and the bytes that identify it all.

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

template<class Type> std::string get_state(const Type &object) {
    Blob blob;
    EXPECT_TRUE(object.saveState(blob));
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

constexpr Shader::Mask vertex = Shader::MaskVertex, fragment = Shader::MaskFragment;

// Every setter once, with a value that is not the default.
const struct {
    const char *name;
    void (*change)(Pipeline &pipeline);
} changes[] = {
    {"sampler", [](Pipeline &p) { p.addSampler(fragment); }},
    {"sampler mask", [](Pipeline &p) { p.setSamplerMask(0, vertex); }},
    {"sampler array", [](Pipeline &p) { p.setSamplerArray(2, 3); }},
    {"sampler offset", [](Pipeline &p) { p.setSamplerOffset(1); }},
    {"texture", [](Pipeline &p) { p.addTexture(fragment); }},
    {"texture masks", [](Pipeline &p) { p.setTextureMasks(0, 8, fragment, true); }},
    {"texture offset", [](Pipeline &p) { p.setTextureOffset(1); }},
    {"surface", [](Pipeline &p) { p.addSurface(fragment); }},
    {"surface offset", [](Pipeline &p) { p.setSurfaceOffset(1); }},
    {"uniform", [](Pipeline &p) { p.addUniform(vertex); }},
    {"uniform flags", [](Pipeline &p) { p.addUniform(vertex, Pipeline::BindFlagFixed); }},
    {"uniform offset", [](Pipeline &p) { p.setUniformOffset(1); }},
    {"storage", [](Pipeline &p) { p.addStorage(vertex, Pipeline::BindFlagRead); }},
    {"storage offset", [](Pipeline &p) { p.setStorageOffset(1); }},
    {"tracing", [](Pipeline &p) { p.addTracing(fragment); }},
    {"tracing offset", [](Pipeline &p) { p.setTracingOffset(1); }},
    {"texel", [](Pipeline &p) { p.addTexel(fragment); }},
    {"texel offset", [](Pipeline &p) { p.setTexelOffset(1); }},
    {"table", [](Pipeline &p) { p.addTable(Pipeline::TableTypeStorage, 16, fragment); }},
    {"table mask", [](Pipeline &p) { p.setTableMask(0, vertex); }},
    {"table offset", [](Pipeline &p) { p.setTableOffset(1); }},
    {"attribute", [](Pipeline &p) { p.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12); }},
    {"primitive", [](Pipeline &p) { p.setPrimitive(Pipeline::PrimitiveLine); }},
    {"fill mode", [](Pipeline &p) { p.setFillMode(Pipeline::FillModeLine); }},
    {"cull mode", [](Pipeline &p) { p.setCullMode(Pipeline::CullModeBack); }},
    {"front mode", [](Pipeline &p) { p.setFrontMode(Pipeline::FrontModeCW); }},
    {"depth bias", [](Pipeline &p) { p.setDepthBias(1.0f, 0.0f); }},
    {"depth slope", [](Pipeline &p) { p.setDepthBias(0.0f, 1.0f); }},
    {"depth clamp", [](Pipeline &p) { p.setDepthBias(0.0f, 0.0f, 1.0f); }},
    {"multisample", [](Pipeline &p) { p.setMultisample(4); }},
    {"sample mask", [](Pipeline &p) { p.setSampleMask(3); }},
    {"depth clip", [](Pipeline &p) { p.setDepthClip(false); }},
    {"depth replace", [](Pipeline &p) { p.setDepthReplace(true); }},
    {"scissor test", [](Pipeline &p) { p.setScissorTest(true); }},
    {"raster discard", [](Pipeline &p) { p.setRasterDiscard(true); }},
    {"sample shading", [](Pipeline &p) { p.setSampleShading(true); }},
    {"alpha to coverage", [](Pipeline &p) { p.setAlphaToCoverage(true); }},
    {"multisample raster", [](Pipeline &p) { p.setMultisampleRaster(false); }},
    {"conservative raster", [](Pipeline &p) { p.setConservativeRaster(true); }},
    {"color format", [](Pipeline &p) { p.setColorFormat(FormatRGBAu8n); }},
    {"color formats", [](Pipeline &p) { p.setColorFormat(FormatRGBAu8n, 2); }},
    {"blend",
     [](Pipeline &p) {
         p.setColorFormat(FormatRGBAu8n).setBlend(Pipeline::BlendOpAdd, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne);
     }},
    {"blend color",
     [](Pipeline &p) {
         p.setColorFormat(FormatRGBAu8n)
             .setBlendColor(0, Pipeline::BlendOpSub, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne);
     }},
    {"blend alpha",
     [](Pipeline &p) {
         p.setColorFormat(FormatRGBAu8n)
             .setBlendAlpha(0, Pipeline::BlendOpMax, Pipeline::BlendFuncOne, Pipeline::BlendFuncOne);
     }},
    {"color mask", [](Pipeline &p) { p.setColorFormat(FormatRGBAu8n).setColorMask(Pipeline::ColorMaskRGB); }},
    {"viewports", [](Pipeline &p) { p.setNumViewports(2); }},
    {"clip distances", [](Pipeline &p) { p.setNumClipDistances(2); }},
    {"depth mask", [](Pipeline &p) { p.setDepthMask(Pipeline::DepthMaskRead); }},
    {"depth func", [](Pipeline &p) { p.setDepthFunc(Pipeline::DepthFuncLess); }},
    {"depth format", [](Pipeline &p) { p.setDepthFormat(FormatDf32); }},
    {"stencil mask", [](Pipeline &p) { p.setStencilMask(255); }},
    {"stencil front mask", [](Pipeline &p) { p.setStencilFrontMask(255); }},
    {"stencil func", [](Pipeline &p) { p.setStencilFunc(Pipeline::StencilFuncEqual, Pipeline::StencilOpKeep); }},
    {"stencil pass", [](Pipeline &p) { p.setStencilFunc(Pipeline::StencilFuncEqual, Pipeline::StencilOpReplace); }},
    {"stencil ops",
     [](Pipeline &p) {
         p.setStencilBackFunc(Pipeline::StencilFuncEqual, Pipeline::StencilOpInvert, Pipeline::StencilOpIncrSat,
                              Pipeline::StencilOpDecrWrap);
     }},
};

} // namespace

TEST(Pipeline, saves_a_state_of_its_own_for_each_change) {
    StubPipeline fresh(PlatformVK, nullptr);
    const std::string state = get_state(static_cast<const Pipeline &>(fresh));
    EXPECT_EQ(state.size(), 955u);
    std::set<std::string> states = {state};
    for(const auto &row : changes) {
        SCOPED_TRACE(row.name);
        StubPipeline pipeline(PlatformVK, nullptr);
        row.change(pipeline);
        const std::string changed = get_state(pipeline);
        EXPECT_EQ(changed.size(), 955u + 6 * pipeline.getNumAttributes() + 8 * pipeline.getNumTargets());
        EXPECT_TRUE(states.insert(changed).second);
        StubPipeline copy(PlatformVK, &pipeline);
        EXPECT_EQ(get_state(copy), changed);
        pipeline.clear();
        EXPECT_EQ(get_state(pipeline), state);
    }
    // Places of a few bytes: masks behind the offset, then arrays.
    StubPipeline pipeline(PlatformVK, nullptr);
    pipeline.setSamplerMask(0, fragment).setSamplerArray(0, 5);
    const std::string bytes = get_state(pipeline);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[2], char(Shader::MaskFragment));
    EXPECT_EQ(bytes[2 + 64], 5);

    StubTraversal traversal(PlatformVK, nullptr);
    EXPECT_EQ(get_state(traversal).size(), 914u);
    traversal.setRecursionDepth(0x1234);
    EXPECT_EQ(get_state(traversal).substr(912), "\x34\x12");
}

TEST(Pipeline, counts_slots_up_to_the_first_gap) {
    StubPipeline p(PlatformVK, nullptr);
    p.setSamplerMask(1, fragment);
    EXPECT_EQ(p.getNumSamplers(), 0u);
    EXPECT_EQ(p.addSampler(vertex), 0u);
    EXPECT_EQ(p.getNumSamplers(), 2u);
    EXPECT_EQ(p.getSamplerMasks(0, 2), vertex | fragment);
    p.setTextureMasks(2, 4, fragment, true);
    EXPECT_EQ(p.getNumTextures(), 0u);
    EXPECT_EQ(p.getTextureArray(2), 4u);
    EXPECT_EQ(p.addUniform(vertex, Pipeline::BindFlagFixed), 0u);
    EXPECT_EQ(p.getUniformFlags(0), Pipeline::BindFlagFixed);
    EXPECT_EQ(p.addTable(Pipeline::TableTypeTexture, 8, fragment), 0u);
    EXPECT_EQ(p.getTableMasks(0, 8), fragment);

    // attributes
    EXPECT_EQ(p.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 16), 0u);
    EXPECT_EQ(p.addAttribute(Pipeline::AttributeColor, FormatRGBAu8n, 0, 12, 16), 1u);
    EXPECT_EQ(p.addAttribute(Pipeline::AttributeBasis, FormatRGBAf32, 2, 0, 16, 1), 2u);
    EXPECT_EQ(p.getNumVertices(), 3u);
    EXPECT_EQ(p.getVertexRate(2), 1u);
    p.setAttributeFormat(1, FormatUnknown);
    EXPECT_EQ(p.getNumAttributes(), 1u);
    EXPECT_EQ(p.getNumVertices(), 1u);

    // targets
    EXPECT_FALSE(p.isBlendIndependent());
    p.setBlend(Pipeline::BlendOpAdd, Pipeline::BlendFuncSrcAlpha, Pipeline::BlendFuncInvSrc1Alpha);
    EXPECT_TRUE(p.isBlendEnabled(7));
    EXPECT_FALSE(p.hasBlendDualSource()) << "no target counts";
    p.setColorFormat(FormatRGBAu8n, 2);
    EXPECT_TRUE(p.hasBlendDualSource());
    EXPECT_FALSE(p.hasBlendFactor());
    EXPECT_FALSE(p.isBlendIndependent());
    p.setBlendColor(1, Pipeline::BlendOpAdd, Pipeline::BlendFuncFactorColor, Pipeline::BlendFuncOne);
    EXPECT_TRUE(p.isBlendIndependent() && p.hasBlendFactor());
    p.setColorFormat(2, FormatRf32).setColorFormat(1, FormatUnknown);
    EXPECT_EQ(p.getNumTargets(), 1u);
    p.setColorFormat(FormatUnknown, 0);
    EXPECT_EQ(p.getNumTargets(), 0u);
    EXPECT_FALSE(p.isBlendIndependent());

    static const uint32_t sizes[] = {0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 4};
    for(uint32_t i = 0; i < Pipeline::NumPrimitiveTypes; i++) {
        EXPECT_EQ(p.setPrimitive(Pipeline::Primitive(i)).getPatchSize(), sizes[i]);
    }
    EXPECT_EQ(p.setMultisample(0).getMultisample(), 1u);
    EXPECT_FALSE(p.isStencilEnabled() || p.isStencilIndependent());
    p.setStencilFrontFunc(Pipeline::StencilFuncAlways, Pipeline::StencilOpReplace);
    EXPECT_TRUE(p.isStencilEnabled() && p.isStencilIndependent());
}

TEST(Pipeline, places_shaders_by_their_type) {
    CapturedLog log;
    const int count = StubShader::count;
    {
        StubPipeline p(PlatformVK, nullptr);
        EXPECT_TRUE(p.createShader(Shader::TypeVertex, "text"));
        EXPECT_TRUE(p.createShader(Shader::TypeFragment, "text"));
        Shader *first = p.getVertexShader();
        EXPECT_FALSE(p.createShader(Shader::TypeVertex, "bad"));
        EXPECT_EQ(p.getVertexShader(), first);
        EXPECT_TRUE(p.createShader(Shader::TypeVertex, "other"));
        EXPECT_EQ(p.getNumShaders(), 2u);
        EXPECT_EQ(StubShader::count, count + 2);
        StubPipeline copy(PlatformVK, &p);
        EXPECT_EQ(copy.getFragmentShader(), p.getFragmentShader());
    }
    EXPECT_EQ(StubShader::count, count);

    {
        StubTraversal t(PlatformVK, nullptr);
        for(const Shader::Type type :
            {Shader::TypeRayGen, Shader::TypeClosest, Shader::TypeFirstHit, Shader::TypeClosest,
             Shader::TypeIntersection, Shader::TypeRayMiss, Shader::TypeRayMiss, Shader::TypeRayGen}) {
            EXPECT_TRUE(t.createShader(type, "text"));
        }
        EXPECT_EQ(t.getNumTraversalShaders(), 2u);
        EXPECT_EQ(t.getTraversalShader(0).intersection_shader, nullptr);
        EXPECT_NE(t.getTraversalShader(1).intersection_shader, nullptr);
        EXPECT_EQ(t.getNumRayMissShaders(), 2u);
        EXPECT_EQ(t.getNumShaders(), 7u);
        EXPECT_EQ(StubShader::count, count + 7);
        StubTraversal copy(PlatformVK, &t);
        EXPECT_EQ(copy.getNumShaders(), 7u);
    }
    EXPECT_EQ(StubShader::count, count);
}

TEST(Pipeline, asserts_its_limits) {
    StubPipeline p(PlatformVK, nullptr);
    StubTraversal t(PlatformVK, nullptr);
    p.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12);
    const struct {
        std::function<void()> run;
        const char *text;
    } rows[] = {
        {[&] { p.setSamplerMask(16, vertex); }, "Pipeline::setSamplerMask(): invalid sampler index"},
        {[&] { p.setSamplerMasks(8, 9, vertex); }, "Pipeline::setSamplerMasks(): invalid samplers range"},
        {[&] { t.setTextureMasks(~0u, 2, vertex); }, "Traversal::setTextureMasks(): invalid textures range"},
        {[&] { p.setSurfaceArray(0, 17); }, "Pipeline::setSurfaceArray(): invalid surfaces range"},
        {[&] { p.setUniformFlags(0, Pipeline::BindFlagRead); }, "Pipeline::setUniformFlags(): invalid uniform index"},
        {[&] { t.setStorageFlags(0, Pipeline::BindFlagRead); }, "Traversal::setStorageFlags(): invalid storage index"},
        {[&] { p.setTracingMasks(0, 9, vertex); }, "Pipeline::setTracingMasks(): invalid tracings range"},
        {[&] { p.setTexelMasks(0, 8, vertex).addTexel(vertex); }, "Pipeline::addTexel(): invalid number of texels"},
        {[&] { p.setTexelOffset(256); }, "Pipeline::setTexelOffset(): invalid texel offset"},
        {[&] { p.setTableType(8, Pipeline::TableTypeTexture, 1, vertex); },
         "Pipeline::setTableType(): invalid table index"},
        {[&] { p.getTableMasks(0, 9); }, "Pipeline::getTableMasks(): invalid texels range"},
        {[&] { p.setAttribute(16, Pipeline::AttributeColor, FormatRu8, 0, 0, 1); },
         "Pipeline::setAttribute(): invalid attribute index"},
        {[&] { p.addAttribute(Pipeline::AttributeColor, FormatRu8, 16, 0, 1); },
         "Pipeline::setAttribute(): invalid attribute vertex"},
        {[&] { p.addAttribute(Pipeline::AttributeColor, FormatRu8, 0, 256, 12); },
         "Pipeline::setAttribute(): invalid attribute offset"},
        {[&] { p.addAttribute(Pipeline::AttributeColor, FormatRu8, 0, 0, 16); },
         "Pipeline::setAttribute(): invalid attribute stride"},
        {[&] {
             p.addAttribute(Pipeline::AttributeColor, FormatRu8, 1, 0, 12, 1);
             p.addAttribute(Pipeline::AttributeColor, FormatRu8, 1, 0, 12, 2);
         },
         "Pipeline::setAttribute(): invalid attribute rate"},
        {[&] { p.setMultisample(17); }, "Pipeline::setMultisample(): unsupported multisample"},
        {[&] { p.setSampleMask(256); }, "Pipeline::setSampleMask(): unsupported sample mask"},
        {[&] { p.setNumClipDistances(256); }, "Pipeline::setNumClipDistances(): unsupported number of clip distances"},
        {[&] { p.isBlendEnabled(8); }, "Pipeline::isBlendEnabled(): invalid target index"},
        {[&] { p.setColorFormat(FormatDf32); }, "Pipeline::setColorFormat(): invalid color format"},
        {[&] { p.setColorFormat(FormatBC1RGBu8n); }, "Pipeline::setColorFormat(): invalid color format"},
        {[&] { p.setDepthFormat(FormatRGBAu8n); }, "Pipeline::setDepthFormat(): invalid depth format"},
        {[&] { p.createShader(Shader::TypeCompute, "text"); }, "Pipeline::createShader(): unknown shader type"},
        {[&] {
             StubShader shader(PlatformVK);
             p.addShader(&shader);
         },
         "Pipeline::addShader(): unknown shader type"},
        {[&] {
             StubShader shader(PlatformVK);
             t.addShader(&shader);
         },
         "Traversal::addShader(): unknown shader type"},
    };
    for(const auto &row : rows) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}
