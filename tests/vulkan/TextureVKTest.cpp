// Textures on the device: creation, views, layouts, transfers, copies, fills and mipmaps against the same work on images.

#include <random>
#include <string.h>

#include "GpuTest.h"
#include "VKFormat.h"
#include "VKSampler.h"
#include "VKTexture.h"

using namespace Kolm;

class TextureVKTest : public GpuTest {
protected:
    using TexturePtr = std::unique_ptr<Texture>;
    TexturePtr createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                             Texture::Flags flags) {
        return TexturePtr(device->createTexture(type, format, size, layers, flags));
    }
};

// Every part has a view of its own, and the same one again.
TEST_F(TextureVKTest, views) {
    const auto mipmaps = Texture::FlagMipmaps;
    const auto target = Texture::FlagTarget, surface = Texture::FlagSurface;
    const auto as_texture = VKTexture::ViewTexture;
    const auto as_surface = VKTexture::ViewSurface;
    const auto as_target = VKTexture::ViewTarget;
    const struct {
        const char *name;
        Texture::Type type;
        Format format;
        uint32_t depth, layers;
        Texture::Flags flags;
        Slice slice;
        Format view_format;
        VKTexture::ViewType view_type;
        bool result;
    } rows[] = {
        {"level", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(2, 3), FormatUnknown, as_texture, true},
        {"layers", Texture::Type2D, FormatRGBAu8n, 1, 4, mipmaps, Layer(1, 2), FormatUnknown, as_texture, true},
        {"face", Texture::TypeCube, FormatRGBAu8n, 1, 1, mipmaps, Face(5), FormatUnknown, as_texture, true},
        {"some faces", Texture::TypeCube, FormatRGBAu8n, 1, 1, mipmaps, Face(1, 3), FormatUnknown, as_texture, true},
        {"cube of an array", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 6), Layer(1)),
         FormatUnknown, as_texture, true},
        {"cubes", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 6), Layer(1, 2)), FormatUnknown,
         as_texture, true},
        {"faces as layers", Texture::TypeCube, FormatRGBAu8n, 1, 3, target, Slice(Face(0, 6), Layer(1, 2)),
         FormatUnknown, as_target, true},
        {"level of 3D", Texture::Type3D, FormatRGBAu8n, 8, 1, mipmaps, Mipmap(1), FormatUnknown, as_texture, true},
        {"3D target", Texture::Type3D, FormatRGBAu8n, 8, 1, target, Mipmap(0), FormatUnknown, as_target, true},
        {"surface", Texture::Type2D, FormatRGBAu8n, 1, 1, surface | mipmaps, Mipmap(1), FormatUnknown, as_surface,
         true},
        {"depth", Texture::Type2D, FormatDf32Su8, 1, 2, target, Layer(1), FormatUnknown, as_texture, true},
        {"depth target", Texture::Type2D, FormatDf32Su8, 1, 2, target, Layer(1), FormatUnknown, as_target, true},
        {"another format", Texture::Type2D, FormatRGBAu8n, 1, 1, Texture::FlagMutable, Slice(), FormatRu32, as_texture,
         true},
        {"another format, not mutable", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Slice(), FormatRu32, as_texture,
         false},
        {"layers of some faces", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 2), Layer(1, 2)),
         FormatUnknown, as_texture, false},
        {"surface without the flag", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(1), FormatUnknown,
         as_surface, false},
        {"target without the flag", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(1), FormatUnknown, as_target,
         false},
        {"past the levels", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(5, 5), FormatUnknown, as_texture,
         false},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TexturePtr texture = createTexture(row.type, row.format, Size(32, 32, row.depth), row.layers, row.flags);
        ASSERT_TRUE(texture);
        VKTexture *vk_texture = static_cast<VKTexture *>(texture.get());
        const VkImageView view = vk_texture->getTextureView(row.slice, row.view_format, row.view_type);
        EXPECT_EQ(view != VK_NULL_HANDLE, row.result);
        EXPECT_EQ(vk_texture->getTextureView(row.slice, row.view_format, row.view_type), view);
        EXPECT_EQ(vk_texture->getTextureView(texture->getFullSlice()), vk_texture->getTextureView());
    }
    expectLog("VKTexture::getTextureView(): can't create view of 2D RGBAu8n 32x32 m6 Mipmaps texture");
    expectLog("VKTexture::getTextureView(): can't create view of Cube RGBAu8n 32x32 l3 m6 Mipmaps texture");
    expectLog("Texture::check(): invalid mipmaps 5-10 for texture with 6 mipmaps");
}
