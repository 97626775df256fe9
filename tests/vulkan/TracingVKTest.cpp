// Acceleration structures on the device.

#include <string.h>

#include "GpuTest.h"
#include "VKBuffer.h"
#include "VKTracing.h"

using namespace Kolm;

class TracingVKTest : public GpuTest {
protected:
    using TracingPtr = std::unique_ptr<Tracing>;

    void SetUp() override {
        GpuTest::SetUp();
        if(!getAdapter()->getAccelerationStructureFeatures().accelerationStructure)
            GTEST_SKIP() << "the driver has no acceleration structures";
    }

    BufferPtr create_floats(const std::vector<float> &values) {
        return BufferPtr(device->createBuffer(Buffer::FlagTracing, values.data(), values.size() * sizeof(float)));
    }
    BufferPtr create_scratch(size_t size) { return createBuffer(Buffer::FlagScratch, size); }
    /// `num` x `num` squares of two triangles over x and y from -1 to 1, at height \p z.
    static std::vector<float> get_grid(uint32_t num, float z) {
        std::vector<float> values;
        for(uint32_t y = 0; y < num; y++) {
            for(uint32_t x = 0; x < num; x++) {
                static constexpr uint32_t corners[6][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
                for(const auto &corner : corners) {
                    values.push_back(float(x + corner[0]) / float(num) * 2.0f - 1.0f);
                    values.push_back(float(y + corner[1]) / float(num) * 2.0f - 1.0f);
                    values.push_back(z);
                }
            }
        }
        return values;
    }
    /// Structure of the triangles, built.
    TracingPtr create_mesh(const std::vector<float> &vertices, Tracing::Flags flags = Tracing::DefaultFlags) {
        BufferPtr buffer = create_floats(vertices);
        TracingPtr tracing(
            device->createTracing(uint32_t(vertices.size() / 3), FormatRGBf32, 12, 0, FormatUnknown, flags));
        EXPECT_TRUE(tracing && buffer);
        tracing->setVertexBuffer(0, buffer.get());
        EXPECT_TRUE(device->buildTracing(tracing.get(), create_scratch(tracing->getBuildSize()).get()));
        return tracing; // the buffers wait for the build
    }
};

TEST_F(TracingVKTest, sizes_and_compaction) {
    const std::vector<float> vertices = get_grid(20, 0.0f);
    TracingPtr empty(device->createTracing());
    EXPECT_EQ(empty->getMemory(), 0u);
    expectLog("Tracing::create(): tracing is empty");
    EXPECT_FALSE(empty->create());

    TracingPtr tracing = create_mesh(vertices, Tracing::FlagCompact | Tracing::FlagFastTrace);
    tracing->setName("grid");
    EXPECT_GT(tracing->getMemory(), 800u * 36) << "less than the vertices take";
    EXPECT_GT(tracing->getBuildSize(), 0u);
    EXPECT_NE(static_cast<VKTracing *>(tracing.get())->getDeviceAddress(), 0u);

    BufferPtr sizes = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(16, 0));
    Tracing *list[] = {tracing.get(), tracing.get()};
    ASSERT_TRUE(device->copyTracings(list, 2, sizes.get(), 8, 16));
    const size_t memory = tracing->getMemory();
    ASSERT_TRUE(device->compactTracing(tracing.get()));
    EXPECT_LE(tracing->getMemory(), memory);
    const std::vector<uint32_t> words = getWords(sizes.get());
    EXPECT_EQ(words[2], tracing->getMemory());
    EXPECT_EQ(words[3], 0u);
    EXPECT_EQ(words[6], tracing->getMemory());
    ASSERT_TRUE(device->compactTracing(tracing.get())) << "again";
    // A new build takes the whole memory back.
    BufferPtr buffer = create_floats(vertices);
    tracing->setVertexBuffer(0, buffer.get());
    ASSERT_TRUE(device->buildTracing(tracing.get(), create_scratch(tracing->getBuildSize()).get()));
    EXPECT_EQ(tracing->getMemory(), memory);

    device->releaseTracing(tracing.get());
    EXPECT_FALSE(tracing->isCreated());
    EXPECT_EQ(tracing->getNumGeometries(), 1u) << "the description stays";
    EXPECT_TRUE(tracing->create());
    ASSERT_TRUE(device->finish());
}

// Destroyed right behind the build, with the device's work still to come.
TEST_F(TracingVKTest, delayed_release) {
    const std::vector<float> vertices = get_grid(4, 0.5f);
    for(uint32_t frame = 0; frame < 20; frame++) {
        TracingPtr mesh = create_mesh(vertices);
        BufferPtr instances = createBuffer(Buffer::FlagTracing, Tracing::InstanceSize * 3);
        TracingPtr scene(device->createTracing(3, instances.get()));
        Tracing::Instance instance;
        instance.tracing = mesh.get();
        ASSERT_TRUE(device->setTracing(scene.get(), &instance, 1));
        ASSERT_TRUE(device->buildTracing(scene.get(), create_scratch(scene->getBuildSize()).get()));
        ASSERT_TRUE(device->flushTracings({mesh.get(), scene.get()}));
        ASSERT_TRUE(device->flip());
    }
}

TEST_F(TracingVKTest, refusals) {
    TracingPtr huge(device->createTracing());
    huge->addGeometry(0xFFFFFFFF, FormatRGBf32, 12);
    huge->addGeometry(0xFFFFFFFF, FormatRGBf32, 12);
    expectLog("VKTracing::create(): can't create Geometry 2863311530 tracing: is above the limits of the device");
    EXPECT_FALSE(huge->create());
    BufferPtr instances = createBuffer(Buffer::FlagTracing, Tracing::InstanceSize);
    device.reset();
    offscreen.reset();
    huge.reset();
    instances.reset();

    VK::hideAdapterExtension("KHR_acceleration_structure");
    offscreen.reset(new VKOffscreen());
    ASSERT_TRUE(offscreen->create());
    device.reset(new VKDevice(offscreen.get()));
    expectLog("VKTracing::create(): can't create Geometry 1 tracing: tracings are not supported");
    EXPECT_FALSE(TracingPtr(device->createTracing(3, FormatRGBf32, 12, 0, FormatUnknown)));
    VK::hideAdapterExtension(nullptr);
}
