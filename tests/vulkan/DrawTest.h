// Drawing on the device: pipelines of GLSL text, targets of textures, and the pixels that came out.

#pragma once

#include <array>
#include <functional>
#include <string.h>

#include "GpuTest.h"
#include "VKCommand.h"
#include "VKPipeline.h"
#include "VKTarget.h"
#include "VKTexture.h"

class DrawTest : public GpuTest {
protected:
    using PipelinePtr = std::unique_ptr<Kolm::Pipeline>;
    using TargetPtr = std::unique_ptr<Kolm::Target>;
    using TexturePtr = std::unique_ptr<Kolm::Texture>;
    using SamplerPtr = std::unique_ptr<Kolm::Sampler>;
    using CommandPtr = std::unique_ptr<Kolm::Command>;
    using Pixel = std::array<uint8_t, 4>;
    struct Stage {
        Kolm::Shader::Type type;
        std::string src;
    };

    static constexpr Kolm::Texture::Flags target_flags =
        Kolm::Texture::Flags(uint32_t(Kolm::Texture::FlagTarget) | Kolm::Texture::FlagSource);

    TexturePtr createTexture(Kolm::Format format, uint32_t width, uint32_t height,
                             Kolm::Texture::Flags flags = target_flags) {
        return TexturePtr(device->createTexture2D(format, width, height, flags));
    }
    /// Pipeline of the stages, whose modules are validated; null after a failure of the test. \p describe sets what
    /// differs from one RGBAu8n target.
    PipelinePtr createPipeline(const std::vector<Stage> &stages,
                               const std::function<void(Kolm::Pipeline &)> &describe = nullptr);
    TargetPtr createTarget(const std::initializer_list<Kolm::Texture *> &textures,
                           Kolm::Target::Operation op = Kolm::Target::OpDefault) {
        return TargetPtr(device->createTarget(textures, op));
    }
    /// Draws into the target from begin to end.
    void draw(Kolm::Target *target, const std::function<void(Kolm::Command &)> &func);
    void draw(const TargetPtr &target, const std::function<void(Kolm::Command &)> &func) { draw(target.get(), func); }

    /// Pixels of a level row by row, the top first.
    template<class Type = Pixel> std::vector<Type> getPixels(Kolm::Texture *texture, const Kolm::Slice &slice = {}) {
        Kolm::Image image;
        EXPECT_TRUE(image.create2D(texture->getFormat(), texture->getSize(slice.mipmap)));
        EXPECT_EQ(texture->getPixelSize(), sizeof(Type));
        EXPECT_TRUE(device->getTexture(texture, slice, image, Kolm::Slice()));
        std::vector<Type> pixels(size_t(image.getWidth()) * image.getHeight());
        memcpy(pixels.data(), image.getData(), pixels.size() * sizeof(Type));
        return pixels;
    }

    /// Positions from the attribute 0, and one colour for all.
    static const char *position_vertex;
    static const char *white_fragment;
    /// A triangle over all of the target without vertices; `texcoord` is 0, 0 at the top left.
    static const char *cover_vertex;
};
