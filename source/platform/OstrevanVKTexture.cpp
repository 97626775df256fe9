#include "OstrevanVKTextureKolm.h"

#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKTexture, Noncopyable, Texture)

VKTexture::VKTexture() : VKTexture(VoidImpl()) {}
VKTexture::VKTexture(const Texture &texture) : VKTexture(VoidImpl()) {
    impl().narrow(
        texture.impl(), [](const Kolm::Texture &core) { return core.isPlatformVK(); },
        "VKTexture::VKTexture(): invalid type\n");
}

bool VKTexture::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags, VkImage image,
                       uint32_t layout) {
    return impl().ref().create(getCoreType(type), getCore(format), getCore(size), layers, getCoreFlags(flags), image,
                               VkImageLayout(layout));
}

VkImage VKTexture::getVKTexture() const { return impl().ref().getImage(); }
VkImageView VKTexture::getVKTextureView() const { return impl().ref().getTextureView(); }
VkImageView VKTexture::getVKTextureView(const Slice &slice) { return impl().ref().getTextureView(getCore(slice)); }
uint32_t VKTexture::getPixelFormat() const { return impl().ref().getPixelFormat(); }
uint32_t VKTexture::getTextureLayout() const { return impl().ref().getTextureLayout(); }

} // namespace Ostrevan
