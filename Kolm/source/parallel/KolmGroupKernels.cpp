#include "KolmGroupKernels.h"

#include <stdarg.h>

#include "KolmAsync.h"
#include "KolmBlob.h"
#include "KolmLog.h"

namespace Kolm {

#include "GroupId_blob.inc"
#include "GroupScan_blob.inc"

GroupKernels::GroupKernels(Device *device, const char *name, const uint8_t (*rows)[256])
    : device(device), name(name), source(get_text(rows)), group_id(get_text(GroupId_blob_src)),
      group_scan(get_text(GroupScan_blob_src)) {}

String GroupKernels::get_text(const uint8_t (*rows)[256]) {
    Blob blob(rows);
    return String(reinterpret_cast<const char *>(blob.getData()), uint32_t(blob.getSize()));
}

Kernel *GroupKernels::add(const char *stage, uint32_t uniforms, uint32_t storages, uint32_t read, const char *format,
                          ...) {
    Entry &entry = entries.append();
    entry.stage = stage;
    va_list args;
    va_start(args, format);
    entry.macros = String::vformat(format, args);
    va_end(args);
    entry.kernel = device->createKernel();
    if(entry.kernel) {
        entry.kernel->setUniforms(uniforms).setStorages(storages).setStorageOffset(uniforms);
        for(uint32_t i = 0; i < storages; i++)
            if((read >> i) & 1) entry.kernel->setStorageFlags(i, Kernel::BindFlagRead);
        entry.kernel->setName(String::format("%s %s", name, stage).get());
    }
    return entry.kernel;
}

bool GroupKernels::create_kernel(const Entry &entry) const {
    const char *includes[] = {"GroupId.glsl", group_id.get(), "GroupScan.glsl", group_scan.get()};
    if(entry.kernel && entry.kernel->createShaderGLSL(source.get(), entry.macros, includes, array_size(includes)) &&
       entry.kernel->create())
        return true;
    Log::printf(Log::Error, "%s::create_kernel(): can't create \"%s\" kernel\n", name, entry.stage.get());
    return false;
}

bool GroupKernels::create(Async *async) {
    bool status = true;
    if(async && async->isInitialized()) {
        Array<Async::Task> tasks;
        for(const Entry &entry : entries) tasks.append(async->run([this, &entry]() { return create_kernel(entry); }));
        for(const Async::Task &task : tasks) status &= task && task.wait() && task.getBool();
    } else {
        for(uint32_t i = 0; i < entries.size() && status; i++) status = create_kernel(entries[i]);
    }
    return status;
}

void GroupKernels::dispatch(Compute *compute, uint32_t group_size, Buffer *parameters, uint32_t num, size_t size) {
    for(uint32_t i = 0; i < num; i += MaxGroups) {
        const uint32_t groups = min(num - i, MaxGroups);
        compute->setStorageBuffer(0, parameters, i * size, groups * size);
        compute->dispatch(groups * group_size);
    }
}

String GroupKernels::getSubgroupMacros(const Device *device) {
    const Device::Features &features = device->getFeatures();
    if(features.subgroupMath && is_pow2(features.subgroupSize)) {
        const bool fixed = features.minSubgroupSize == features.maxSubgroupSize;
        return String::format("SUBGROUP_SIZE=%uu%s", features.subgroupSize, fixed ? "; SUBGROUP_FIXED=1" : "");
    }
    return String("SUBGROUP_SIZE=1u; NO_SUBGROUP=1");
}

} // namespace Kolm
