// Targets: what their parameters give, and what has to hold when drawing begins.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

struct StubSurface : StubObject<Surface> {
    StubSurface() : StubObject(PlatformVK, 0u) {}
};

struct TargetTest : testing::Test {
    std::unique_ptr<Texture> create(Format format, uint32_t size, Texture::Flags flags = Texture::FlagTarget) {
        std::unique_ptr<Texture> texture(device.createTexture2D(format, size, flags));
        texture->setName("paint");
        device.calls.take();
        return texture;
    }
    CapturedLog log;
    StubDevice device;
    std::unique_ptr<Target> target{device.createTarget()};
    StubTarget *stub = static_cast<StubTarget *>(target.get());
};

} // namespace

TEST_F(TargetTest, answers_from_its_textures) {
    EXPECT_EQ(target->getWidth() + target->getHeight() + target->getDepth() + target->getFaces() + target->getLayers() +
                  target->getMipmaps(),
              0u);
    EXPECT_EQ(target->getMultisample(), 1u);
    EXPECT_EQ(target->getColorOp(), Target::OpNone);
    EXPECT_EQ(target->getClearDepth(), 1.0f);

    auto large = create(FormatRGBAu8n, 64, Texture::FlagTarget | Texture::FlagMipmaps);
    auto small = create(FormatRf32, 24);
    auto depth = create(FormatDf32, 20);
    target->setColorTexture(1, small.get());
    EXPECT_EQ(target->getNumTargets(), 0u) << "a gap hides what follows it";
    EXPECT_EQ(target->getWidth(), 24u);
    target->setColorTexture(large.get(), Target::OpClearStore, Slice(Mipmap(1)));
    EXPECT_EQ(target->getNumTargets(), 2u);
    EXPECT_EQ(target->getColorFormat(1), FormatRf32);
    EXPECT_EQ(target->getMipmaps(), 1u);
    target->setDepthTexture(depth.get(), Target::OpClearDiscard);
    EXPECT_EQ(target->getHeight(), 20u);
    EXPECT_EQ(target->getDepthFormat(), FormatDf32);
    EXPECT_EQ(target->getDepthOp(), Target::OpClearDiscard);
    target->setColorTexture(1, nullptr);
    target->setDepthTexture(nullptr);
    EXPECT_EQ(target->getWidth(), 32u);

    StubSurface surface;
    surface.setSize(100, 50);
    surface.setMultisample(4);
    surface.setColorFormat(FormatBGRAu8n);
    surface.setDepthFormat(FormatDu24Su8);
    std::unique_ptr<Target> screen(device.createTarget(&surface));
    EXPECT_EQ(screen->getColorFormat(0), FormatBGRAu8n);
    EXPECT_EQ(screen->getColorFormat(1), FormatUnknown);
    EXPECT_EQ(screen->getDepthFormat(), FormatDu24Su8);
    EXPECT_EQ(screen->getWidth(), 100u);
    EXPECT_EQ(screen->getLayers(), 1u);
    EXPECT_TRUE(screen->hasMultisample());
    StubSurface other;
    EXPECT_TRUE(screen->swap(&other));
    EXPECT_EQ(screen->getMultisample(), 1u);
    EXPECT_FALSE(target->swap(&other));
    EXPECT_EQ(log.take(), "VKTarget::swap(): target has no surface\n");
}

TEST_F(TargetTest, drops_what_it_made_when_something_changed) {
    auto texture = create(FormatRGBAu8n, 16);
    auto depth = create(FormatDf32, 16);
    const struct {
        std::function<void()> run;
        int clears;
    } rows[] = {
        {[&] { target->setColorTexture(texture.get()); }, 1},
        {[&] { target->setColorTexture(texture.get()); }, 0},
        {[&] { target->setColorTexture(texture.get(), Target::OpLoadStore); }, 1},
        {[&] { target->setColorTexture(texture.get(), Target::OpLoadStore, Slice(Layer(1))); }, 1},
        {[&] { target->setColorResolve(texture.get()); }, 1},
        {[&] { target->setColorResolve(texture.get()); }, 0},
        {[&] { target->setDepthTexture(depth.get()); }, 1},
        {[&] { target->setDepthResolve(depth.get()); }, 1},
        {[&] { target->setClearColor(1.0f, 0.5f, 0.0f, 1.0f); }, 0},
        {[&] { target->setClearDepth(1.0f, 7); }, 0},
        {[&] { target->setClearDepth(0.5f, 7); }, 1},
    };
    for(const auto &row : rows) {
        stub->clears = 0;
        row.run();
        EXPECT_EQ(stub->clears, row.clears) << &row - rows;
    }
    EXPECT_EQ(target->getClearStencil(), 7u);
    EXPECT_EQ(target->getClearColor().g, 0.5f);

    Target *fresh = device.createTarget();
    fresh->setClearDepth(1.0f, 7);
    EXPECT_EQ(fresh->getClearStencil(), 0u);
    delete fresh;
}

TEST_F(TargetTest, is_filled_from_a_list) {
    auto a = create(FormatRGBAu8n, 16), b = create(FormatRGBAf16, 16), depth = create(FormatDf32, 16);
    std::unique_ptr<Target> list(device.createTarget({depth.get(), a.get(), b.get()}, Target::OpLoadStore));
    EXPECT_EQ(list->getNumTargets(), 2u);
    EXPECT_EQ(list->getColorTexture(0), a.get());
    EXPECT_EQ(list->getColorTexture(1), b.get());
    EXPECT_EQ(list->getColorOp(1), Target::OpLoadStore);
    EXPECT_EQ(list->getDepthTexture(), depth.get());
}

TEST_F(TargetTest, begins_only_what_can_be_drawn_to) {
    auto color = create(FormatRGBAu8n, 16), other = create(FormatRGBAf16, 16);
    auto samples = create(FormatRGBAu8n, 16, Texture::FlagTarget | Texture::FlagMultisample4);
    auto depth = create(FormatDf32, 16), plain = create(FormatRGBAu8n, 16, Texture::FlagNone);
    std::unique_ptr<Fence> fence(device.createFence(Fence::FlagNone));

    EXPECT_FALSE(target->begin());
    EXPECT_EQ(log.take(), "VKTarget::begin(): target is empty\n");
    const struct {
        std::function<void()> set;
        const char *message;
    } rows[] = {
        {[&] { target->setColorTexture(1, color.get()); }, "VKTarget::begin(): target is empty\n"},
        {[&] {
             target->setColorTexture(0, color.get());
             target->setColorTexture(2, color.get());
         },
         "VKTarget::begin(): color texture 2 is not used: 1 is null\n"},
        {[&] { target->setColorTexture(0, color.get(), Target::OpDefault, Slice(Mipmap(1))); },
         "VKTarget::begin(): invalid slice of paint color texture\n"},
        {[&] {
             target->setColorTexture(0, color.get());
             target->setColorTexture(1, samples.get());
         },
         "VKTarget::begin(): paint color texture has 4 samples, others have 1\n"},
        {[&] {
             target->setColorTexture(0, samples.get());
             target->setDepthTexture(depth.get());
         },
         "VKTarget::begin(): paint depth texture has 1 samples, others have 4\n"},
        {[&] {
             target->setColorTexture(0, samples.get(), Target::BeginClear | Target::EndResolve);
             target->setColorResolve(other.get());
         },
         "VKTarget::begin(): invalid color resolve: paint is of RGBAf16, RGBAu8n is needed\n"},
        {[&] {
             target->setColorTexture(0, color.get(), Target::BeginClear | Target::EndResolve);
             target->setColorResolve(color.get());
         },
         "VKTarget::begin(): invalid color resolve: 1 samples of paint become 1\n"},
    };
    for(const auto &row : rows) {
        for(uint32_t i = 0; i < Target::NumTargets; i++) target->setColorTexture(i, nullptr, Target::OpNone);
        target->setDepthTexture(nullptr, Target::OpNone);
        row.set();
        EXPECT_FALSE(target->begin());
        ASSERT_FALSE(log.lines.empty());
        EXPECT_EQ(log.lines.back(), row.message);
        EXPECT_FALSE(target->isEnabled());
        log.clear();
    }
    EXPECT_EQ(device.calls.take(), "");

    target->setColorTexture(0, samples.get(), Target::BeginClear | Target::EndResolve);
    target->setColorResolve(color.get());
    EXPECT_TRUE(target->begin(fence.get())) << "a fence without a signal is not waited for";
    EXPECT_TRUE(target->isEnabled());
    EXPECT_TRUE(target->end(fence.get()));
    EXPECT_TRUE(target->begin(fence.get()));
    EXPECT_TRUE(target->end());
    EXPECT_EQ(device.calls.take(), "beginTarget 16x16\nendTarget fence\nbeginTarget 16x16 fence\nendTarget\n");
    EXPECT_EQ(fence->getValue(), 1u);
    EXPECT_EQ(log.take(), "");

    const struct {
        std::function<void()> run;
        const char *text;
    } mistakes[] = {
        {[&] { target->end(); }, "VKTarget::end(): is not enabled"},
        {[&] { target->begin(), target->begin(); }, "VKTarget::begin(): is already enabled"},
        {[&] { target->begin(), target->setClearColor(Color()); }, "Target::setClearColor(): target is enabled"},
        {[&] { target->begin(), target->setColorTexture(nullptr); }, "Target::setColorTexture(): target is enabled"},
        {[&] { target->begin(), target->setClearDepth(0.5f); }, "Target::setClearDepth(): target is enabled"},
        {[&] { target->setColorTexture(8, nullptr); }, "Target::setColorTexture(): invalid target index"},
        {[&] { target->getColorFormat(8); }, "Target::getColorFormat(): invalid target index"},
        {[&] { target->setColorTexture(plain.get()), target->begin(); },
         "VKTarget::begin(): invalid color texture: paint texture (2D RGBAu8n 16x16) needs the flag Target"},
        {[&] { target->setColorTexture(depth.get()), target->begin(); },
         "VKTarget::begin(): invalid color texture: paint texture has the format Df32"},
        {[&] { target->begin(), device.clearTexture(color.get()); }, "VKDevice::clearTexture(): target is enabled"},
        {[&] { target->begin(), device.bindTexture(color.get(), color->getRegion(), Slice(), true); },
         "VKDevice::bindTexture(): target is enabled"},
        {[&] { target->begin(), device.flip(); }, "VKDevice::flip(): target is enabled"},
    };
    for(const auto &row : mistakes) EXPECT_ASSERTION(row.run(), std::string("\"") + row.text + "\"");
    const ChildProcess child = runChild([&] {
        target->begin();
        target.reset();
    });
    EXPECT_NE(child.err.find("Target::~Target(): is enabled"), std::string::npos);
}
