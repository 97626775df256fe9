#include "VKContext.h"

#include "KolmLog.h"

namespace Kolm {

VKContext::VKContext(VKAdapter *adapter, uint32_t family, uint32_t index)
    : counter(1), adapter(adapter), queue_family(family), queue_index(index) {
    KOLM_ASSERT(adapter && adapter->isCreated() && "VKContext::VKContext(): adapter is not created");
    device = adapter->getDevice();
    for(uint32_t i = 0; i < adapter->queues.size(); i++) {
        if(adapter->queues[i].family != family) continue;
        queue_flags = adapter->queues[i].flags;
        timestamp_bits = adapter->queues[i].timestamp_bits;
    }
    if(queue_flags & VK_QUEUE_COMPUTE_BIT) shader_stages |= VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT;
    if(queue_flags & VK_QUEUE_GRAPHICS_BIT) {
        const VkPhysicalDeviceFeatures &features = adapter->getFeatures();
        shader_stages |= VK_PIPELINE_STAGE_VERTEX_SHADER_BIT | VK_PIPELINE_STAGE_FRAGMENT_SHADER_BIT;
        if(features.geometryShader) shader_stages |= VK_PIPELINE_STAGE_GEOMETRY_SHADER_BIT;
        if(features.tessellationShader)
            shader_stages |= VK_PIPELINE_STAGE_TESSELLATION_CONTROL_SHADER_BIT |
                             VK_PIPELINE_STAGE_TESSELLATION_EVALUATION_SHADER_BIT;
        if(adapter->getMeshShaderFeatures().taskShader) shader_stages |= VK_PIPELINE_STAGE_TASK_SHADER_BIT_EXT;
        if(adapter->getMeshShaderFeatures().meshShader) shader_stages |= VK_PIPELINE_STAGE_MESH_SHADER_BIT_EXT;
    }
    if((queue_flags & VK_QUEUE_COMPUTE_BIT) && adapter->getRayTracingPipelineFeatures().rayTracingPipeline)
        shader_stages |= VK_PIPELINE_STAGE_RAY_TRACING_SHADER_BIT_KHR;
    select_memory();
    VK::retain();
    adapter->retainContext();
}

VKContext::~VKContext() {
    destroy();
    adapter->releaseContext();
    VK::release();
}

// Memory types of the transient kinds, each the first that the device has of a list of wishes.
void VKContext::select_memory() {
    constexpr VkMemoryPropertyFlags local = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
    constexpr VkMemoryPropertyFlags visible = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT;
    constexpr VkMemoryPropertyFlags coherent = VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
    constexpr VkMemoryPropertyFlags cached = VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
    static constexpr struct {
        TransientType type;
        VkMemoryPropertyFlags flags;
        VkMemoryPropertyFlags avoid; // a preference: some devices have one type for everything
    } wishes[] = {
        {TransientUpload, visible | coherent, local},
        {TransientUpload, visible, 0},
        {TransientDownload, visible | coherent | cached, local},
        {TransientDownload, visible | coherent, local},
        {TransientDownload, visible, 0},
        {TransientUniform, local | visible | coherent, 0},
        {TransientUniform, visible | coherent, 0},
        {TransientUniform, visible, 0},
    };
    for(auto &ring : rings) ring.memory_type = VKAdapter::NotFound;
    for(const auto &wish : wishes) {
        uint32_t &type = rings[wish.type].memory_type;
        if(type == VKAdapter::NotFound) type = adapter->findMemoryIndex(~0u, wish.flags, wish.avoid);
    }
    rings[TransientUpload].flags = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT |
                                   VK_BUFFER_USAGE_STORAGE_BUFFER_BIT | VK_BUFFER_USAGE_INDEX_BUFFER_BIT |
                                   VK_BUFFER_USAGE_VERTEX_BUFFER_BIT | VK_BUFFER_USAGE_INDIRECT_BUFFER_BIT;
    rings[TransientDownload].flags = VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    rings[TransientUniform].flags = VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
    rings[TransientUpload].reserve_size = UploadSize;
    rings[TransientDownload].reserve_size = UploadSize;
    rings[TransientUniform].reserve_size = UniformSize;
}

bool VKContext::create(VkCommandBufferLevel level, uint32_t num) {
    KOLM_ASSERT(num >= MinFrames && "VKContext::create(): invalid number of frames");
    KOLM_ASSERT(!isCreated() && "VKContext::create(): is already created");
    primary = (level == VK_COMMAND_BUFFER_LEVEL_PRIMARY);
    vkGetDeviceQueue(device, queue_family, queue_index, &queue);
    queue_lock = &adapter->getQueueLock(queue_family, queue_index);
    for(uint32_t i = 0; i < num; i++) {
        frames.append(new Frame());
        if(!frames[i]->create(adapter, queue_family, level)) {
            Log::printf(Log::Error, "VKContext::create(): can't create frame\n");
            destroy();
            return false;
        }
    }
    index = 0;
    frame = frames[0];
    if(!frame->reset(true)) {
        Log::printf(Log::Error, "VKContext::create(): can't reset frame\n");
        destroy();
        return false;
    }
    // Secondary contexts and those on other queues mostly record a little: theirs come on first use.
    if(primary && queue_family == adapter->graphics_family && queue_index == adapter->graphics_index) {
        if(!reserveUploadBuffers(UploadSize)) {
            Log::printf(Log::Error, "VKContext::create(): can't reserve upload buffers\n");
            destroy();
            return false;
        }
        if(!reserveUniformBuffers(UniformSize)) {
            Log::printf(Log::Error, "VKContext::create(): can't reserve uniform buffers\n");
            destroy();
            return false;
        }
    }
    return true;
}

void VKContext::destroy() {
    if(frames.empty()) return;
    if(frame) notify(EventFlip);
    if(queue) {
        AtomicLock atomic(*queue_lock);
        adapter->error(adapter->vkQueueWaitIdle(queue));
    }
    for(uint32_t i = 0; i < frames.size(); i++) {
        for(uint32_t type = 0; type < NumTransientTypes; type++) {
            rings[type].buffers.append(frames[i]->transients[type]);
            frames[i]->transients[type].clear();
        }
        frames[i]->release();
        delete frames[i];
    }
    frames.release();
    frame = nullptr;
    releaseQueries();
    for(uint32_t type = 0; type < NumTransientTypes; type++) release_buffers(TransientType(type));
}

void VKContext::addListener(Listener *listener) {
    listener->prev_listener = nullptr;
    listener->next_listener = listeners;
    if(listeners) listeners->prev_listener = listener;
    listeners = listener;
}

void VKContext::removeListener(Listener *listener) {
    if(listener->next_listener) listener->next_listener->prev_listener = listener->prev_listener;
    if(listener->prev_listener) listener->prev_listener->next_listener = listener->next_listener;
    if(listeners == listener) listeners = listener->next_listener;
    if(recorder == listener) setRecorder(nullptr);
    listener->prev_listener = listener->next_listener = nullptr;
}

void VKContext::notify(Event event) {
    for(Listener *listener = listeners; listener; listener = listener->next_listener) listener->notify(event);
    if(event != EventCommand) return;
    // Read buffers are mapped after a wait and without any command of their own.
    if(primary && target == nullptr)
        barrier(VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_HOST_BIT, VK_ACCESS_MEMORY_WRITE_BIT,
                VK_ACCESS_HOST_READ_BIT);
    flush_transients();
    epoch++;
    setChanged();
}

uint8_t *VKContext::getTransientData(VkBuffer buffer, uint64_t offset) const {
    for(const Array<Buffer *> &buffers : frame->transients) {
        for(uint32_t i = 0; i < buffers.size(); i++) {
            if(buffers[i]->buffer == buffer) return buffers[i]->data + offset;
        }
    }
    return nullptr;
}

// The device is lost: nothing runs any more, and nothing of it is waited for. What the frame holds goes, and commands
// may be recorded that never run, so that an application that takes no notice does no harm.
bool VKContext::drop() {
    {
        AtomicLock atomic(*queue_lock);
        adapter->error(adapter->vkQueueWaitIdle(queue));
    }
    notify(EventFlip);
    idle_epoch = epoch;
    frame->submitted = false;
    frame->reset(true);
    recycle_buffers();
    recycle_queries();
    notify(EventBegin);
    return false;
}

bool VKContext::submit(VkQueue submit_queue, VkFence fence) {
    notify(EventCommand);
    return frame->submit(submit_queue ? submit_queue : queue, *queue_lock, fence ? fence : frame->fence);
}

bool VKContext::flip(bool submit, bool reset) {
    notify(EventCommand);
    if(adapter->isLost()) return drop();
    notify(EventFlip);
    if(submit && !frame->submit(queue, *queue_lock, frame->fence)) return drop();
    frame->epoch = epoch;
    index = (index + 1) % frames.size();
    frame = frames[index];
    if(frame->submitted) {
        if(!frame->wait()) return drop();
        idle_epoch = max(idle_epoch, frame->epoch);
    }
    if(!frame->reset(reset)) {
        Log::printf(Log::Error, "VKContext::flip(): can't reset frame\n");
        return false;
    }
    recycle_buffers();
    recycle_queries();
    if(reset) notify(EventBegin);
    return true;
}

bool VKContext::flush(bool wait, VkFence fence) {
    KOLM_ASSERT(frame->command_index < MaxFlushes && "VKContext::flush(): too many commands in the frame");
    KOLM_ASSERT(primary && "VKContext::flush(): context is not primary");
    notify(EventCommand);
    if(adapter->isLost()) return drop();
    const VkFence submit_fence = (wait && !fence) ? frame->fence : fence;
    if(!frame->submit(queue, *queue_lock, submit_fence)) return drop();
    frame->submitted = false; // the fence is for the last command buffer
    if(wait) {
        const bool own = (submit_fence == frame->fence);
        if(adapter->error(adapter->vkWaitForFences(device, 1, &submit_fence, VK_TRUE, ~0ull)) ||
           (own && adapter->error(adapter->vkResetFences(device, 1, &submit_fence)))) {
            adapter->setLost();
            return drop();
        }
    }
    frame->command_index++;
    if(!frame->begin_command()) {
        Log::printf(Log::Error, "VKContext::flush(): can't begin command buffer\n");
        return false;
    }
    notify(EventBegin);
    return true;
}

bool VKContext::finish(bool submit, bool reset) {
    (void)reset; // queries start anew with the frame
    if(submit) notify(EventCommand);
    if(adapter->isLost()) return submit ? drop() : false;
    if(frame->submitted && !frame->wait()) return drop();
    if(submit && primary && (!frame->submit(queue, *queue_lock, frame->fence) || !frame->wait())) return drop();
    VkResult result = VK_SUCCESS;
    {
        AtomicLock atomic(*queue_lock);
        result = adapter->vkQueueWaitIdle(queue);
    }
    if(adapter->error(result)) {
        adapter->setLost();
        return drop();
    }
    if(submit && primary) {
        idle_epoch = epoch;
        notify(EventFinish);
        if(!frame->reset(true)) {
            Log::printf(Log::Error, "VKContext::finish(): can't reset frame\n");
            return false;
        }
        recycle_buffers();
        recycle_queries();
        notify(EventBegin);
    }
    return true;
}

bool VKContext::inherit(VkRenderPass pass, VkFramebuffer framebuffer) {
    KOLM_ASSERT(!primary && "VKContext::inherit(): context is not secondary");
    if(frame->framebuffer == framebuffer && frame->pass == pass) return true;
    if(frame->recorded) {
        Log::printf(Log::Error, "VKContext::inherit(): other commands were recorded since the last flip\n");
        return false;
    }
    if(VK::error(adapter->vkResetCommandBuffer(frame->commands[frame->command_index], 0)) ||
       !frame->begin_command(pass, framebuffer)) {
        Log::printf(Log::Error, "VKContext::inherit(): can't begin command buffer\n");
        return false;
    }
    epoch++;
    setChanged();
    return true;
}

bool VKContext::execute(VKContext *child) {
    KOLM_ASSERT(child && !child->primary && "VKContext::execute(): context is not secondary");
    if(child->frame->command_index) {
        Log::printf(Log::Error, "VKContext::execute(): can't execute multiple commands\n");
        return false;
    }
    child->notify(EventCommand);
    const VkCommandBuffer command = child->getCommand();
    if(VK::error(adapter->vkEndCommandBuffer(command))) {
        Log::printf(Log::Error, "VKContext::execute(): can't end command buffer\n");
        return false;
    }
    // What a child binds is not what this context has bound, and open conditions and queries are not the child's.
    notify(EventCommand);
    adapter->vkCmdExecuteCommands(getCommand(), 1, &command);
    frame->children.append(child->retain());  // its device may go before this frame
    if(target == nullptr) notify(EventBegin); // nothing but children is recorded in a pass of children
    return true;
}

static VkSemaphore create_semaphore(VkDevice device) {
    const auto info = vk_record<VkSemaphoreCreateInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO);
    VkSemaphore semaphore = VK_NULL_HANDLE;
    return VK::error(vkCreateSemaphore(device, &info, nullptr, &semaphore)) ? VK_NULL_HANDLE : semaphore;
}

// A bind is ordered by semaphores alone: one that the work before it signals, and one that the work behind waits for.
bool VKContext::bindSparse(VkBindSparseInfo &info, bool after) {
    if(!primary || !hasQueueFlags(VK_QUEUE_SPARSE_BINDING_BIT)) return false;
    VkSemaphore wait_semaphore = VK_NULL_HANDLE;
    if(after && frame->command_index >= MaxSparseFlushes) {
        if(!finish(true, false)) return false;
    } else if(after) {
        wait_semaphore = create_semaphore(device);
        if(wait_semaphore == VK_NULL_HANDLE) return false;
        releaseSemaphore(wait_semaphore);
        addSignalSemaphore(wait_semaphore);
        if(!flush(false)) return false;
        info.waitSemaphoreCount = 1;
        info.pWaitSemaphores = &wait_semaphore;
    }
    const VkSemaphore signal_semaphore = create_semaphore(device);
    if(signal_semaphore == VK_NULL_HANDLE) return false;
    releaseSemaphore(signal_semaphore);
    info.signalSemaphoreCount = 1;
    info.pSignalSemaphores = &signal_semaphore;
    VkResult result = VK_SUCCESS;
    {
        AtomicLock atomic(*queue_lock);
        result = adapter->vkQueueBindSparse(queue, 1, &info, VK_NULL_HANDLE);
    }
    if(adapter->error(result)) return false;
    addWaitSemaphore(signal_semaphore, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT);
    return true;
}

bool VKContext::reserve_buffers(TransientType type, uint64_t size) {
    Ring &ring = rings[type];
    ring.reserve_size = max(ring.reserve_size, size);
    uint32_t num = ring.buffers.size();
    for(uint32_t i = 0; i < frames.size(); i++) num += frames[i]->transients[type].size();
    for(; num < frames.size(); num++) {
        Buffer *buffer = new Buffer();
        if(!buffer->create(adapter, ring.flags, ring.memory_type, size)) {
            Log::printf(Log::Error, "VKContext::reserve_buffers(): can't create buffer\n");
            delete buffer;
            return false;
        }
        ring.usage += buffer->size;
        ring.buffers.append(buffer);
    }
    return true;
}

// Free ones only: those of frames are still read by the device.
void VKContext::release_buffers(TransientType type) {
    Ring &ring = rings[type];
    for(uint32_t i = 0; i < ring.buffers.size(); i++) {
        ring.usage -= ring.buffers[i]->size;
        ring.buffers[i]->release(adapter);
        delete ring.buffers[i];
    }
    ring.buffers.release();
    if(frame == nullptr) ring.arena = nullptr;
}

// The present buffer is full, or there is none.
VKContext::Transient VKContext::get_buffer(TransientType type, uint64_t alignment, uint64_t size) {
    Transient ret;
    if(size == 0) return ret;
    Ring &ring = rings[type];
    // The one that came back last may still be in the host's caches.
    for(uint32_t i = ring.buffers.size(); i-- > 0;) {
        if(!ring.buffers[i]->allocate(ret, alignment, size)) continue;
        ring.arena = ring.buffers[i];
        frame->transients[type].append(ring.buffers[i]);
        ring.buffers.removeFast(i);
        return ret;
    }
    const uint64_t buffer_size = max(ring.reserve_size, size);
    if(ring.usage && ring.usage + buffer_size > MaxTransientSize) return ret;
    Buffer *buffer = new Buffer();
    if(!buffer->create(adapter, ring.flags, ring.memory_type, buffer_size)) {
        Log::printf(Log::Error, "VKContext::get_buffer(): can't create buffer\n");
        delete buffer;
        return ret;
    }
    ring.usage += buffer->size;
    ring.arena = buffer;
    frame->transients[type].append(buffer);
    if(!buffer->allocate(ret, alignment, size))
        Log::printf(Log::Error, "VKContext::get_buffer(): can't allocate buffer\n");
    return ret;
}

// The frame's transient buffers are free again. Those that are far larger than usual go away.
void VKContext::recycle_buffers() {
    for(uint32_t type = 0; type < NumTransientTypes; type++) {
        Ring &ring = rings[type];
        Array<Buffer *> &buffers = frame->transients[type];
        for(uint32_t i = 0; i < buffers.size(); i++) {
            Buffer *buffer = buffers[i];
            buffer->offset = 0;
            if(buffer->size <= ring.reserve_size * 2 && ring.buffers.size() < frames.size() * 4) {
                ring.buffers.append(buffer);
            } else {
                ring.usage -= buffer->size;
                buffer->release(adapter);
                delete buffer;
            }
        }
        buffers.clear();
        ring.arena = nullptr;
    }
}

// What the host wrote to transient memory, for the device. Nothing has to be done for coherent memory.
void VKContext::flush_transients() {
    for(const TransientType type : {TransientUpload, TransientUniform}) {
        const Array<Buffer *> &buffers = frame->transients[type];
        for(uint32_t i = 0; i < buffers.size(); i++)
            adapter->flushMemory(buffers[i]->buffer_memory, 0, buffers[i]->offset);
    }
}

bool VKContext::invalidateTransient(const Transient &transient) {
    return adapter->invalidateMemory(*transient.memory, transient.offset, transient.size);
}

bool VKContext::Buffer::create(VKAdapter *adapter, VkBufferUsageFlags usage, uint32_t memory_type, uint64_t bytes) {
    device = adapter->getDevice();
    const uint64_t alignment =
        max(max(adapter->texel_alignment, adapter->uniform_alignment), adapter->storage_alignment);
    bytes = (bytes + alignment - 1) / alignment * alignment;

    auto info = vk_record<VkBufferCreateInfo>(VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO);
    info.size = bytes;
    info.usage = usage;
    if(VK::error(vkCreateBuffer(device, &info, nullptr, &buffer))) {
        Log::printf(Log::Error, "VKContext::Buffer::create(): can't create buffer\n");
        buffer = VK_NULL_HANDLE;
        return false;
    }
    VkMemoryRequirements requirements = {};
    vkGetBufferMemoryRequirements(device, buffer, &requirements);
    if(memory_type == VKAdapter::NotFound || (requirements.memoryTypeBits & (1u << memory_type)) == 0) {
        memory_type = adapter->findMemoryIndex(requirements.memoryTypeBits, VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT);
        if(memory_type == VKAdapter::NotFound) {
            Log::printf(Log::Error, "VKContext::Buffer::create(): can't get memory index\n");
            release(adapter);
            return false;
        }
    }
    // An object of its own, whatever its size.
    buffer_memory.index = adapter->getIndex();
    buffer_memory.type = memory_type;
    buffer_memory.pool = true;
    buffer_memory.size = requirements.size;
    VkResult result = adapter->allocateDeviceMemory(memory_type, requirements.size, nullptr, buffer_memory.memory);
    if(result != VK_SUCCESS && (adapter->getMemoryFlags(memory_type) & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT)) {
        const VkMemoryPropertyFlags flags = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
        const uint32_t type =
            adapter->findMemoryIndex(requirements.memoryTypeBits, flags, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
        if(type != VKAdapter::NotFound && type != memory_type) {
            Log::printf(Log::Warning, "VKContext::Buffer::create(): using system memory\n");
            buffer_memory.type = type;
            result = adapter->allocateDeviceMemory(type, requirements.size, nullptr, buffer_memory.memory);
        }
    }
    if(VK::error(result)) {
        Log::printf(Log::Error, "VKContext::Buffer::create(): can't allocate buffer memory\n");
        release(adapter);
        return false;
    }
    if(VK::error(vkBindBufferMemory(device, buffer, buffer_memory.memory, 0))) {
        Log::printf(Log::Error, "VKContext::Buffer::create(): can't bind buffer memory\n");
        release(adapter);
        return false;
    }
    void *pointer = nullptr;
    if(VK::error(vkMapMemory(device, buffer_memory.memory, 0, VK_WHOLE_SIZE, 0, &pointer))) {
        Log::printf(Log::Error, "VKContext::Buffer::create(): can't map buffer memory\n");
        release(adapter);
        return false;
    }
    data = static_cast<uint8_t *>(pointer);
    handle = reinterpret_cast<uint64_t>(buffer);
    offset = 0;
    size = bytes;
    return true;
}

void VKContext::Buffer::release(VKAdapter *adapter) {
    if(buffer) vkDestroyBuffer(device, buffer, nullptr);
    adapter->freeDeviceMemory(buffer_memory.memory);
    buffer = VK_NULL_HANDLE;
    buffer_memory = VK::MemoryPtr();
    static_cast<Arena &>(*this) = Arena();
}

bool VKContext::Frame::create(VKAdapter *a, uint32_t family, VkCommandBufferLevel level) {
    adapter = a;
    device = adapter->getDevice();
    primary = (level == VK_COMMAND_BUFFER_LEVEL_PRIMARY);

    const auto fence_info = vk_record<VkFenceCreateInfo>(VK_STRUCTURE_TYPE_FENCE_CREATE_INFO);
    if(VK::error(vkCreateFence(device, &fence_info, nullptr, &fence))) {
        Log::printf(Log::Error, "VKContext::Frame::create(): can't create command fence\n");
        fence = VK_NULL_HANDLE;
        return false;
    }
    auto pool_info = vk_record<VkCommandPoolCreateInfo>(VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO);
    pool_info.flags = VK_COMMAND_POOL_CREATE_RESET_COMMAND_BUFFER_BIT;
    pool_info.queueFamilyIndex = family;
    if(VK::error(vkCreateCommandPool(device, &pool_info, nullptr, &pool))) {
        Log::printf(Log::Error, "VKContext::Frame::create(): can't create command pool\n");
        pool = VK_NULL_HANDLE;
        return false;
    }
    auto info = vk_record<VkCommandBufferAllocateInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO);
    info.commandPool = pool;
    info.level = level;
    info.commandBufferCount = array_size(commands);
    if(VK::error(vkAllocateCommandBuffers(device, &info, commands))) {
        Log::printf(Log::Error, "VKContext::Frame::create(): can't create command buffer\n");
        return false;
    }
    return true;
}

void VKContext::Frame::release() {
    releaseResources();
    for(uint32_t i = 0; i < descriptor_pools.size(); i++) vkDestroyDescriptorPool(device, descriptor_pools[i], nullptr);
    descriptor_pools.release();
    if(pool) vkDestroyCommandPool(device, pool, nullptr);
    if(fence) vkDestroyFence(device, fence, nullptr);
    pool = VK_NULL_HANDLE;
    fence = VK_NULL_HANDLE;
}

bool VKContext::Frame::begin_command(VkRenderPass new_pass, VkFramebuffer new_framebuffer) {
    recorded = false;
    pass = new_pass;
    framebuffer = new_framebuffer;
    auto inheritance = vk_record<VkCommandBufferInheritanceInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_INHERITANCE_INFO);
    inheritance.renderPass = pass;
    inheritance.framebuffer = framebuffer;
    auto info = vk_record<VkCommandBufferBeginInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO);
    info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    if(pass) info.flags |= VK_COMMAND_BUFFER_USAGE_RENDER_PASS_CONTINUE_BIT;
    if(!primary) info.pInheritanceInfo = &inheritance;
    return !VK::error(adapter->vkBeginCommandBuffer(commands[command_index], &info));
}

bool VKContext::Frame::submit_command(VkQueue queue, SpinLock &lock, VkFence submit_fence) {
    auto info = vk_record<VkSubmitInfo>(VK_STRUCTURE_TYPE_SUBMIT_INFO);
    if(primary) {
        info.commandBufferCount = 1;
        info.pCommandBuffers = &commands[command_index];
    }
    info.waitSemaphoreCount = wait_semaphores.size();
    info.pWaitSemaphores = wait_semaphores.get();
    info.pWaitDstStageMask = wait_stage_masks.get();
    info.signalSemaphoreCount = signal_semaphores.size();
    info.pSignalSemaphores = signal_semaphores.get();
    auto timeline = vk_record<VkTimelineSemaphoreSubmitInfo>(VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO);
    timeline.waitSemaphoreValueCount = wait_values.size();
    timeline.pWaitSemaphoreValues = wait_values.get();
    timeline.signalSemaphoreValueCount = signal_values.size();
    timeline.pSignalSemaphoreValues = signal_values.get();
    if(adapter->has_timeline_semaphore && (wait_values.size() || signal_values.size())) info.pNext = &timeline;
    VkResult result = VK_SUCCESS;
    {
        AtomicLock atomic(lock);
        result = adapter->vkQueueSubmit(queue, 1, &info, submit_fence);
    }
    if(adapter->error(result)) return false;
    clearSemaphores();
    return true;
}

// Whatever the reason, what was recorded is gone, and the layouts and accesses that it would have left are unknown: a
// device that can't submit counts as lost.
bool VKContext::Frame::submit(VkQueue queue, SpinLock &lock, VkFence submit_fence) {
    const bool is_ended = !primary || !adapter->error(adapter->vkEndCommandBuffer(commands[command_index]));
    if(!is_ended || !submit_command(queue, lock, submit_fence)) {
        if(!adapter->isLost()) {
            Log::printf(Log::Error, "VKContext::Frame::submit(): can't %s command buffer\n",
                        is_ended ? "submit" : "end");
        }
        adapter->setLost();
        return false;
    }
    submitted = (submit_fence == fence);
    return true;
}

bool VKContext::Frame::wait() {
    submitted = false;
    if(!adapter->error(adapter->vkWaitForFences(device, 1, &fence, VK_TRUE, ~0ull)) &&
       !adapter->error(adapter->vkResetFences(device, 1, &fence)))
        return true;
    if(!adapter->isLost()) Log::printf(Log::Error, "VKContext::Frame::wait(): can't wait for fence\n");
    adapter->setLost();
    return false;
}

bool VKContext::Frame::reset(bool begin) {
    for(uint32_t i = 0; i <= command_index; i++) {
        if(VK::error(adapter->vkResetCommandBuffer(commands[i], 0))) {
            Log::printf(Log::Error, "VKContext::Frame::reset(): can't reset command buffer\n");
            return false;
        }
    }
    command_index = 0;
    releaseResources();
    descriptor_index = 0;
    for(uint32_t i = 0; i < descriptor_pools.size(); i++)
        VK::error(adapter->vkResetDescriptorPool(device, descriptor_pools[i], 0));
    clearSemaphores();
    if(begin && !begin_command()) {
        Log::printf(Log::Error, "VKContext::Frame::reset(): can't begin command buffer\n");
        return false;
    }
    return true;
}

void VKContext::Frame::releaseResources() {
#define VK_RELEASE_LOOP(TYPE, NAME, LIST, FUNCTION)                               \
    for(uint32_t i = 0; i < LIST.size(); i++) FUNCTION(device, LIST[i], nullptr); \
    LIST.clear();
    VK_RELEASE_LIST(VK_RELEASE_LOOP)
#undef VK_RELEASE_LOOP
    for(uint32_t i = 0; i < pointers.size(); i++) adapter->freeMemory(pointers[i]);
    pointers.clear();
    for(uint32_t i = 0; i < signals.size(); i++) Signal::release(signals[i]);
    signals.clear();
    for(uint32_t i = 0; i < children.size(); i++) VKContext::release(children[i]);
    children.clear();
}

VkDescriptorPool VKContext::Frame::getDescriptorPool(bool next) {
    if(next && descriptor_index < descriptor_pools.size()) descriptor_index++;
    if(descriptor_index < descriptor_pools.size()) return descriptor_pools[descriptor_index];
    static constexpr VkDescriptorPoolSize sizes[] = {
        {VK_DESCRIPTOR_TYPE_SAMPLER, 32768},
        {VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, 32768},
        {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, 16384},
        {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 16384},
        {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 16384},
        {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 16384},
        {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC, 16384},
        {VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER, 2048},
        {VK_DESCRIPTOR_TYPE_ACCELERATION_STRUCTURE_KHR, 2048}, // last: left out where there is none
    };
    const bool has_tracing = adapter->getAccelerationStructureFeatures().accelerationStructure;
    auto info = vk_record<VkDescriptorPoolCreateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO);
    info.maxSets = 131072;
    info.poolSizeCount = array_size(sizes) - (has_tracing ? 0 : 1);
    info.pPoolSizes = sizes;
    VkDescriptorPool descriptor_pool = VK_NULL_HANDLE;
    if(VK::error(vkCreateDescriptorPool(device, &info, nullptr, &descriptor_pool))) return VK_NULL_HANDLE;
    descriptor_pools.append(descriptor_pool);
    return descriptor_pool;
}

VkDescriptorSet VKContext::Frame::allocateDescriptor(VkDescriptorSetLayout layout) {
    VkDescriptorSet descriptor = VK_NULL_HANDLE;
    auto info = vk_record<VkDescriptorSetAllocateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO);
    info.descriptorSetCount = 1;
    info.pSetLayouts = &layout;
    for(const bool next : {false, true}) {
        info.descriptorPool = getDescriptorPool(next);
        // A full pool is expected, so its result isn't reported.
        if(info.descriptorPool && adapter->vkAllocateDescriptorSets(device, &info, &descriptor) == VK_SUCCESS)
            return descriptor;
    }
    Log::printf(Log::Error, "VKContext::Frame::allocateDescriptor(): can't allocate descriptor set\n");
    return VK_NULL_HANDLE;
}

VKContext::Signal::~Signal() {
    if(semaphore) vkDestroySemaphore(device, semaphore, nullptr);
    if(fence) vkDestroyFence(device, fence, nullptr);
}

void VKContext::addWaitSemaphore(VkSemaphore semaphore, VkPipelineStageFlags stage_mask) {
    frame->wait_semaphores.append(semaphore);
    frame->wait_values.append(0);
    frame->wait_stage_masks.append(stage_mask);
}

void VKContext::addSignalSemaphore(VkSemaphore semaphore) {
    frame->signal_semaphores.append(semaphore);
    frame->signal_values.append(0);
}

void VKContext::addWaitSignal(Signal *signal, uint64_t value) {
    keepSignal(signal);
    frame->wait_semaphores.append(signal->semaphore);
    frame->wait_values.append(value);
    frame->wait_stage_masks.append(VK_PIPELINE_STAGE_ALL_COMMANDS_BIT);
}

void VKContext::addSignal(Signal *signal, uint64_t value) {
    keepSignal(signal);
    frame->signal_semaphores.append(signal->semaphore);
    frame->signal_values.append(value);
}

void VKContext::Frame::clearSemaphores() {
    wait_semaphores.clear();
    wait_values.clear();
    wait_stage_masks.clear();
    signal_semaphores.clear();
    signal_values.clear();
}

VkPipelineStageFlags VKContext::getStages(VkAccessFlags access) const {
    // What does an access, for the queue's kinds of work. Shader stages come from the queue itself.
    static constexpr struct {
        VkAccessFlags access;
        VkPipelineStageFlags stages;
        bool shaders;
    } uses[] = {
        {VK_ACCESS_INDIRECT_COMMAND_READ_BIT, VK_PIPELINE_STAGE_DRAW_INDIRECT_BIT, false},
        {VK_ACCESS_INDEX_READ_BIT | VK_ACCESS_VERTEX_ATTRIBUTE_READ_BIT, VK_PIPELINE_STAGE_VERTEX_INPUT_BIT, false},
        {VK_ACCESS_UNIFORM_READ_BIT | VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, 0, true},
        {VK_ACCESS_COLOR_ATTACHMENT_READ_BIT | VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT,
         VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT, false},
        {VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_READ_BIT | VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_WRITE_BIT,
         VK_PIPELINE_STAGE_EARLY_FRAGMENT_TESTS_BIT | VK_PIPELINE_STAGE_LATE_FRAGMENT_TESTS_BIT, false},
        {VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, false},
        {VK_ACCESS_HOST_READ_BIT | VK_ACCESS_HOST_WRITE_BIT, VK_PIPELINE_STAGE_HOST_BIT, false},
        {VK_ACCESS_CONDITIONAL_RENDERING_READ_BIT_EXT, VK_PIPELINE_STAGE_CONDITIONAL_RENDERING_BIT_EXT, false},
        {VK_ACCESS_ACCELERATION_STRUCTURE_READ_BIT_KHR | VK_ACCESS_ACCELERATION_STRUCTURE_WRITE_BIT_KHR,
         VK_PIPELINE_STAGE_ACCELERATION_STRUCTURE_BUILD_BIT_KHR, true},
        {VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, false},
    };
    VkPipelineStageFlags stages = 0;
    for(const auto &use : uses) {
        if((access & use.access) == 0) continue;
        stages |= use.stages;
        if(use.shaders) stages |= shader_stages;
    }
    return stages;
}

void VKContext::barrier(VkPipelineStageFlags src_stages, VkPipelineStageFlags dest_stages, VkAccessFlags src_access,
                        VkAccessFlags dest_access) {
    auto barrier = vk_record<VkMemoryBarrier>(VK_STRUCTURE_TYPE_MEMORY_BARRIER);
    barrier.srcAccessMask = src_access;
    barrier.dstAccessMask = dest_access;
    adapter->vkCmdPipelineBarrier(getCommand(), src_stages, dest_stages, 0, 1, &barrier, 0, nullptr, 0, nullptr);
}

void VKContext::barrier(VkBuffer buffer, uint64_t offset, uint64_t size, VkAccessFlags src_access,
                        VkAccessFlags dest_access) {
    auto barrier = vk_record<VkBufferMemoryBarrier>(VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER);
    barrier.srcAccessMask = src_access;
    barrier.dstAccessMask = dest_access;
    barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.buffer = buffer;
    barrier.offset = offset;
    barrier.size = size;
    const VkPipelineStageFlags src_stages =
        src_access ? getStages(src_access) : VkPipelineStageFlags(VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT);
    adapter->vkCmdPipelineBarrier(getCommand(), src_stages, getStages(dest_access), 0, 0, nullptr, 1, &barrier, 0,
                                  nullptr);
}

void VKContext::barrier(VkImage image, const VkImageSubresourceRange &range, VkImageLayout old_layout,
                        VkImageLayout new_layout, VkAccessFlags src_access, VkAccessFlags dest_access,
                        VkPipelineStageFlags src_stages, VkPipelineStageFlags dest_stages) {
    auto barrier = vk_record<VkImageMemoryBarrier>(VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER);
    barrier.srcAccessMask = src_access;
    barrier.dstAccessMask = dest_access;
    barrier.oldLayout = old_layout;
    barrier.newLayout = new_layout;
    barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = image;
    barrier.subresourceRange = range;
    adapter->vkCmdPipelineBarrier(getCommand(), src_stages, dest_stages, 0, 0, nullptr, 0, nullptr, 1, &barrier);
}

void VKContext::barrier(Barriers &barriers) {
    if(barriers.num_buffers == 0 && barriers.num_images == 0) return;
    const VkPipelineStageFlags src_stages =
        barriers.src_stages ? barriers.src_stages : VkPipelineStageFlags(VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT);
    adapter->vkCmdPipelineBarrier(getCommand(), src_stages, barriers.dest_stages, 0, 0, nullptr, barriers.num_buffers,
                                  barriers.buffers, barriers.num_images, barriers.images);
    barriers.src_stages = 0;
    barriers.dest_stages = 0;
    barriers.num_buffers = 0;
    barriers.num_images = 0;
}

} // namespace Kolm
