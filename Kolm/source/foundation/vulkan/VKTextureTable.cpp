#include "VKTextureTable.h"

#include "KolmLog.h"
#include "VKTexture.h"

namespace Kolm {

VKTextureTable::VKTextureTable(VKContext *context)
    : TextureTable(context->getAdapter()->getIndex()), table(context, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE) {}

VKTextureTable::~VKTextureTable() {}

void VKTextureTable::clear() {
    table.release();
    TextureTable::clear();
}

void VKTextureTable::setName(const char *name) {
    TextureTable::setName(name);
    table.setName(name);
}

bool VKTextureTable::create(Texture::Type type, uint32_t size) {
    if(!table.check("VKTextureTable", size) || !init(type, size)) return false;
    if(table.create("VKTextureTable", size)) {
        if(table_name) table.setName(table_name.get());
        return true;
    }
    clear();
    return false;
}

bool VKTextureTable::set(uint32_t index, Texture **textures, uint32_t num) {
    bool status = true;
    Array<VkDescriptorImageInfo> infos(num);
    Array<VkWriteDescriptorSet> writes;
    for(uint32_t i = 0; i < num; i++) {
        if(textures[i] == nullptr) continue;
        VKTexture *texture = cast<VKTexture>(textures[i]);
        texture->setUsed(nullptr); // nobody tells when shaders take it from here
        if(texture->getTextureView() == VK_NULL_HANDLE) {
            status = false;
            continue;
        }
        infos[i] = {VK_NULL_HANDLE, texture->getTextureView(), texture->getReadLayout()};
        // Neighbours go in one write.
        if(writes.size() && writes.back().dstArrayElement + writes.back().descriptorCount == index + i) {
            writes.back().descriptorCount++;
            continue;
        }
        writes.append(table.getWrite(index + i, 1));
        writes.back().pImageInfo = &infos[i];
    }
    VKContext *context = table.getContext();
    if(writes.size())
        context->getAdapter()->vkUpdateDescriptorSets(context->getDevice(), writes.size(), writes.get(), 0, nullptr);
    if(!status) {
        Log::print(Log::Error, (num == 1) ? "VKTextureTable::set(): can't set texture\n"
                                          : "VKTextureTable::set(): can't set textures\n");
    }
    return status;
}

} // namespace Kolm
