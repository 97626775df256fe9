#include "VKBufferTable.h"

#include "KolmLog.h"
#include "VKBuffer.h"

namespace Kolm {

VKBufferTable::VKBufferTable(VKContext *context)
    : BufferTable(context->getAdapter()->getIndex()), table(context, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER) {}

VKBufferTable::~VKBufferTable() {}

void VKBufferTable::clear() {
    table.release();
    BufferTable::clear();
}

void VKBufferTable::setName(const char *name) {
    BufferTable::setName(name);
    table.setName(name);
}

bool VKBufferTable::create(uint32_t size) {
    if(!table.check("VKBufferTable", size) || !init(size)) return false;
    if(table.create("VKBufferTable", size)) {
        if(table_name) table.setName(table_name.get());
        return true;
    }
    clear();
    return false;
}

bool VKBufferTable::set(uint32_t index, Buffer **buffers, uint32_t num) {
    bool status = true;
    Array<VkDescriptorBufferInfo> infos(num);
    Array<VkWriteDescriptorSet> writes;
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i] == nullptr) continue;
        const VKBuffer *buffer = cast<VKBuffer>(buffers[i]);
        if(!buffer->hasFlag(Buffer::FlagStorage)) {
            status = false;
            continue;
        }
        infos[i] = {buffer->getBuffer(), 0, VK_WHOLE_SIZE};
        // Neighbours go in one write.
        if(writes.size() && writes.back().dstArrayElement + writes.back().descriptorCount == index + i) {
            writes.back().descriptorCount++;
            continue;
        }
        writes.append(table.getWrite(index + i, 1));
        writes.back().pBufferInfo = &infos[i];
    }
    VKContext *context = table.getContext();
    if(writes.size())
        context->getAdapter()->vkUpdateDescriptorSets(context->getDevice(), writes.size(), writes.get(), 0, nullptr);
    if(!status) {
        Log::print(Log::Error, (num == 1) ? "VKBufferTable::set(): can't set buffer\n"
                                          : "VKBufferTable::set(): can't set buffers\n");
    }
    return status;
}

} // namespace Kolm
