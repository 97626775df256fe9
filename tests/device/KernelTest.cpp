// The slots of a kernel, its shader, and the bytes that identify its state.

#include <gtest/gtest.h>

#include <functional>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

std::string get_state(const Kernel &kernel) {
    Blob blob;
    EXPECT_TRUE(kernel.saveState(blob));
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

// One change of each parameter; the bytes that differ from those of a fresh kernel begin at `offset`.
const struct {
    const char *name;
    void (*change)(StubKernel &kernel);
    size_t offset;
} changes[] = {
    {"samplers", [](StubKernel &k) { k.setSamplers(3); }, 0},
    {"sampler offset", [](StubKernel &k) { k.setSamplerOffset(9); }, 1},
    {"sampler array", [](StubKernel &k) { k.setSamplerArray(15, 1); }, 17},
    {"textures", [](StubKernel &k) { k.setTextures(32); }, 18},
    {"texture offset", [](StubKernel &k) { k.setTextureOffset(255); }, 19},
    {"texture array", [](StubKernel &k) { k.setTextureArray(4, 8); }, 24},
    {"surfaces", [](StubKernel &k) { k.addSurface(); }, 52},
    {"surface offset", [](StubKernel &k) { k.setSurfaceOffset(1); }, 53},
    {"surface array", [](StubKernel &k) { k.setSurfaceArray(0, 2); }, 54},
    {"uniforms", [](StubKernel &k) { k.setUniforms(1); }, 70},
    {"uniform offset", [](StubKernel &k) { k.setUniformOffset(1); }, 71},
    {"uniform flags", [](StubKernel &k) { k.setUniforms(2).setUniformFlags(1, Kernel::BindFlagFixed).setUniforms(0); },
     0},
    {"storages", [](StubKernel &k) { k.addStorage(); }, 136},
    {"storage offset", [](StubKernel &k) { k.setStorageOffset(1); }, 137},
    {"tracings", [](StubKernel &k) { k.setTracings(8); }, 266},
    {"tracing offset", [](StubKernel &k) { k.setTracingOffset(8); }, 267},
    {"texels", [](StubKernel &k) { k.addTexel(); }, 268},
    {"texel offset", [](StubKernel &k) { k.setTexelOffset(8); }, 269},
    {"tables", [](StubKernel &k) { k.addTable(Kernel::TableTypeTexture, 1); }, 270},
    {"table offset", [](StubKernel &k) { k.setTableOffset(2); }, 271},
    {"group width", [](StubKernel &k) { k.setGroupSize(64, 0, 0); }, 368},
    {"group depth", [](StubKernel &k) { k.setGroupSize(0, 0, 256); }, 373},
};

} // namespace

TEST(Kernel, saves_its_state_in_fixed_places) {
    StubKernel fresh(PlatformVK, nullptr);
    const std::string state = get_state(fresh);
    EXPECT_EQ(state, std::string(374, '\0'));
    for(const auto &row : changes) {
        SCOPED_TRACE(row.name);
        StubKernel kernel(PlatformVK, nullptr);
        row.change(kernel);
        const std::string changed = get_state(kernel);
        ASSERT_EQ(changed.size(), state.size());
        if(row.offset == 0 && kernel.getNumSamplers() == 0) {
            // Flags of slots that are not counted are part of the state all the same.
            EXPECT_EQ(changed[72 + 4], char(Kernel::BindFlagFixed));
            continue;
        }
        size_t first = 0;
        while(first < state.size() && state[first] == changed[first]) first++;
        EXPECT_EQ(first, row.offset);

        // A kernel from its parameters is equal to it, and clear() brings the defaults back.
        StubKernel copy(PlatformVK, &kernel);
        EXPECT_EQ(get_state(copy), changed);
        kernel.clear();
        EXPECT_EQ(get_state(kernel), state);
    }
}

TEST(Kernel, counts_its_slots) {
    StubKernel kernel(PlatformVK, nullptr);
    EXPECT_EQ(kernel.addSampler(), 0u);
    EXPECT_EQ(kernel.addSampler(), 1u);
    EXPECT_EQ(kernel.addUniform(Kernel::BindFlagRead), 0u);
    EXPECT_EQ(kernel.addUniform(), 1u);
    EXPECT_EQ(kernel.getUniformFlags(0), Kernel::BindFlagRead);
    EXPECT_EQ(kernel.getUniformFlags(1), Kernel::BindFlagNone);
    kernel.setStorages(32, Kernel::BindFlagFixed | Kernel::BindFlagRead).setStorageOffset(2);
    EXPECT_EQ(kernel.getStorageFlags(31), Kernel::BindFlagFixed | Kernel::BindFlagRead);
    EXPECT_EQ(kernel.getStorageOffset(), 2u);
    kernel.setTextures(8).setTextureArray(2, 4).setTextureArray(6, 2).setTextureArray(6, 2, false);
    EXPECT_EQ(kernel.getTextureArray(2), 4u);
    EXPECT_EQ(kernel.getTextureArray(6), 0u);
    EXPECT_EQ(kernel.getTextureArrays()[3], 0u);

    // A gap among the tables hides what follows it.
    kernel.setTableType(1, Kernel::TableTypeStorage, 64);
    EXPECT_EQ(kernel.getNumTables(), 0u);
    EXPECT_EQ(kernel.addTable(Kernel::TableTypeTexture, 16, Kernel::BindFlagFixed), 0u);
    EXPECT_EQ(kernel.getNumTables(), 2u);
    EXPECT_EQ(kernel.getTableType(1), Kernel::TableTypeStorage);
    EXPECT_EQ(kernel.getTableSize(1), 64u);
    EXPECT_EQ(kernel.setTableFlags(1, Kernel::BindFlagRead).getTableFlags(1), Kernel::BindFlagRead);
    kernel.setTableType(0, Kernel::TableTypeTexture, 0, Kernel::BindFlagNone, false);
    EXPECT_EQ(kernel.getNumTables(), 0u);
}

TEST(Kernel, asserts_its_limits) {
    StubKernel kernel(PlatformVK, nullptr);
    kernel.setUniforms(2);
    const struct {
        std::function<void()> run;
        const char *text;
    } rows[] = {
        {[&] { kernel.setSamplers(17); }, "Kernel::setSamplers(): invalid number of samplers"},
        {[&] { kernel.setStorages(33); }, "Kernel::setStorages(): invalid number of storages"},
        {[&] { kernel.setTexels(9); }, "Kernel::setTexels(): invalid number of texels"},
        {[&] { kernel.setSamplers(16).addSampler(); }, "Kernel::addSampler(): invalid number of samplers"},
        {[&] { kernel.setUniforms(16).addUniform(); }, "Kernel::addUniform(): invalid number of uniforms"},
        {[&] { kernel.setSamplerArray(8, 9); }, "Kernel::setSamplerArray(): invalid samplers range"},
        {[&] { kernel.setTextureArray(~0u, 2); }, "Kernel::setTextureArray(): invalid textures range"},
        {[&] { kernel.setUniformFlags(2, Kernel::BindFlagNone); }, "Kernel::setUniformFlags(): invalid uniform index"},
        {[&] { kernel.getStorageFlags(0); }, "Kernel::getStorageFlags(): invalid storage index"},
        {[&] { kernel.setSurfaceOffset(256); }, "Kernel::setSurfaceOffset(): invalid surface offset"},
        {[&] { kernel.setTableType(8, Kernel::TableTypeTexture, 1); }, "Kernel::setTableType(): invalid table index"},
        {[&] { kernel.setTableType(0, Kernel::NumTableTypes, 1); }, "Kernel::setTableType(): invalid table type"},
        {[&] { kernel.setParameters(nullptr); }, "Kernel::setParameters(): kernel is null"},
    };
    for(const auto &row : rows) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}

TEST(Kernel, keeps_and_drops_shaders) {
    CapturedLog log;
    const int count = StubShader::count;
    {
        StubKernel kernel(PlatformVK, nullptr);
        EXPECT_EQ(kernel.getNumShaders(), 0u);
        EXPECT_TRUE(kernel.createShader("text", "SIZE=%uu; B", 64u));
        Shader *first = kernel.getComputeShader();
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->getType(), Shader::TypeCompute);
        EXPECT_TRUE(kernel.isShaderOwner());

        // A shader that fails leaves the present one alone.
        EXPECT_FALSE(kernel.createShader("bad"));
        EXPECT_FALSE(kernel.createShaderSPIRV(Array<uint32_t>()));
        EXPECT_FALSE(kernel.loadShader("/nowhere/shader.comp"));
        EXPECT_EQ(kernel.getComputeShader(), first);
        EXPECT_EQ(StubShader::count, count + 1);

        // A second kernel shares it without owning it.
        StubKernel second(PlatformVK, &kernel);
        EXPECT_EQ(second.getComputeShader(), first);
        EXPECT_FALSE(second.isShaderOwner());
        EXPECT_TRUE(second.createShaderSPIRV(Array<uint32_t>{1, 2, 3}));
        EXPECT_EQ(StubShader::count, count + 2);
        second.setShader(first);
        EXPECT_EQ(StubShader::count, count + 1);

        Array<Shader *> shaders;
        second.getShaders(shaders);
        EXPECT_EQ(shaders.size(), 1u);
        kernel.setShader(first, true);
        EXPECT_EQ(StubShader::count, count + 1);
    }
    EXPECT_EQ(StubShader::count, count);
}
