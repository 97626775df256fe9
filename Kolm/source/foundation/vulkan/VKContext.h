// VKContext.h: a queue with a ring of frames. Rests on VKAdapter. Hides command buffers, fences, transient memory,
// descriptor pools and the wait between the release of a Vulkan object and its destruction.
//
// One frame, from flip to flip:
//
//     reset     everything that was released in this frame's last round is destroyed, its transient memory is free
//     record    up to 17 command buffers, one more after each flush
//     submit    the last one goes with the frame's fence
//     flip      the next frame begins when its fence has passed: `frames` flips lie between release and destruction

#pragma once

#include "KolmRecorderSlots.h"

#include "VKAdapter.h"

namespace Kolm {

class VKTarget;

/// Belongs to one thread. Several contexts may share an adapter and even its queue.
class VKContext : public Allocated, private NoCopy {
public:
    static constexpr uint32_t MinFrames = 2;
    static constexpr uint32_t DefaultFrames = 3;
    static constexpr uint32_t MaxFlushes = 16;                 // in one frame
    static constexpr uint64_t UploadSize = 32ull << 20;        // bytes of one upload or download buffer
    static constexpr uint64_t UniformSize = 8ull << 20;        // bytes of one uniform buffer
    static constexpr uint64_t MaxTransientSize = 512ull << 20; // bytes of each kind before the caller has to wait
    static constexpr uint32_t MaxBarriers = 160;
    static constexpr uint32_t MaxSparseFlushes = MaxFlushes / 2; // of these for binds; the others are the caller's

    /// Kinds of transient memory.
    enum TransientType { TransientUpload = 0, TransientDownload, TransientUniform, NumTransientTypes };

    /// Piece of transient memory. It lasts until the frame's commands have run; null \p buffer means that none is left.
    struct Transient {
        VkBuffer buffer = VK_NULL_HANDLE;
        uint64_t offset = 0;     // bytes in the buffer
        uint64_t size = 0;       // bytes
        uint8_t *data = nullptr; // where the host reads and writes
        const VK::MemoryPtr *memory = nullptr;
        explicit operator bool() const { return buffer != VK_NULL_HANDLE; }
    };

    /// Host-visible buffer that is divided from its start to its end. The handle is the buffer's.
    struct Buffer : public Allocated, public RecorderSlots::Arena {
        VkDevice device = VK_NULL_HANDLE;
        VkBuffer buffer = VK_NULL_HANDLE;
        VK::MemoryPtr buffer_memory;

        bool create(VKAdapter *adapter, VkBufferUsageFlags usage, uint32_t memory_type, uint64_t bytes);
        void release(VKAdapter *adapter);
        bool allocate(Transient &transient, uint64_t alignment, uint64_t bytes) {
            // Units of three components have alignments that are no power of two.
            const uint64_t mask = alignment - 1;
            const uint64_t begin = KOLM_LIKELY((alignment & mask) == 0) ? (offset + mask) & ~mask
                                                                        : (offset + mask) / alignment * alignment;
            if(KOLM_UNLIKELY(begin > size || bytes > size - begin)) return false;
            transient.buffer = buffer;
            transient.offset = begin;
            transient.size = bytes;
            transient.data = data + begin;
            transient.memory = &buffer_memory;
            offset = begin + bytes;
            return true;
        }
    };

    /// Collects barriers for one vkCmdPipelineBarrier.
    struct Barriers {
        VkPipelineStageFlags src_stages = 0;
        VkPipelineStageFlags dest_stages = 0;
        uint32_t num_buffers = 0;
        uint32_t num_images = 0;
        VkBufferMemoryBarrier buffers[MaxBarriers];
        VkImageMemoryBarrier images[MaxBarriers];
        Barriers() {}
    };

    /// What happens to a frame under an open recorder.
    enum Event {
        EventCommand = 0, ///< the command buffer is about to be closed: state that was bound is gone
        EventFinish,      ///< all work ran: descriptor sets are gone and transient memory is about to be
        EventFlip,        ///< the next frame begins: both are gone
        EventPass,        ///< a render pass is about to begin or end: what is open may not cross it
        EventBegin,       ///< a command buffer was begun, or a pass was begun or ended
    };

    /// Kinds of queries. Each has pools of its own.
    enum QueryType { QueryTime = 0, QuerySamples, QueryStatistics, QueryCompactSize, NumQueryTypes };

    /// Place of one result, reset and not in use by the device; null \p pool means that there is none.
    struct QueryResult {
        VkQueryPool pool = VK_NULL_HANDLE;
        uint32_t index = 0;
        QueryType type = QueryTime;
        explicit operator bool() const { return pool != VK_NULL_HANDLE; }
    };

    /// What a submission signals. It lives as long as a fence or a frame uses it.
    struct Signal : public Allocated, private NoCopy {
        explicit Signal(VkDevice device) : counter(1), device(device) {}
        Signal *retain() {
            counter++;
            return this;
        }
        static void release(Signal *signal) {
            if(signal && --signal->counter == 0) delete signal;
        }

        Atomici32 counter;
        VkDevice device;
        VkSemaphore semaphore = VK_NULL_HANDLE; // a timeline
        VkFence fence = VK_NULL_HANDLE;         // for one signal, where the device has no timelines

    private:
        ~Signal();
    };

    /// Whoever records on a context over several calls.
    class Listener {
    public:
        virtual void notify(Event event) = 0;

    protected:
        ~Listener() = default;

    private:
        friend class VKContext;
        Listener *prev_listener = nullptr;
        Listener *next_listener = nullptr;
    };

    /// What waits for the fence of its frame, in order of destruction; the memory under it goes last.
    ///   X(handle type, name in release##NAME, list, function)
#define VK_RELEASE_LIST(X)                                                                            \
    X(VkImage, Image, images, vkDestroyImage)                                                         \
    X(VkBuffer, Buffer, buffers, vkDestroyBuffer)                                                     \
    X(VkSampler, Sampler, samplers, vkDestroySampler)                                                 \
    X(VkImageView, ImageView, image_views, vkDestroyImageView)                                        \
    X(VkBufferView, BufferView, buffer_views, vkDestroyBufferView)                                    \
    X(VkAccelerationStructureKHR, AccelerationStructure, tracings, vkDestroyAccelerationStructureKHR) \
    X(VkDescriptorPool, DescriptorPool, descriptors, vkDestroyDescriptorPool)                         \
    X(VkFramebuffer, Framebuffer, framebuffers, vkDestroyFramebuffer)                                 \
    X(VkRenderPass, RenderPass, render_passes, vkDestroyRenderPass)                                   \
    X(VkPipeline, Pipeline, pipelines, vkDestroyPipeline)                                             \
    X(VkPipelineLayout, PipelineLayout, pipeline_layouts, vkDestroyPipelineLayout)                    \
    X(VkDescriptorSetLayout, DescriptorLayout, descriptor_layouts, vkDestroyDescriptorSetLayout)      \
    X(VkSemaphore, Semaphore, semaphores, vkDestroySemaphore)

    struct Frame : public Allocated {
        VKAdapter *adapter = nullptr;
        VkDevice device = VK_NULL_HANDLE;
        bool primary = true;    // command buffers are submitted, not executed by a parent
        bool submitted = false; // the fence is on its way
        uint64_t epoch = 0;     // the context's when the fence was submitted: all before it is done when it passes
        VkFence fence = VK_NULL_HANDLE;
        VkCommandPool pool = VK_NULL_HANDLE;
        uint32_t command_index = 0;
        mutable bool recorded = false;      // the open command buffer was asked for
        VkRenderPass pass = VK_NULL_HANDLE; // that a secondary command buffer draws in
        VkFramebuffer framebuffer = VK_NULL_HANDLE;
        VkCommandBuffer commands[MaxFlushes + 1] = {};
        Array<Buffer *> transients[NumTransientTypes]; // used by this frame

#define VK_RELEASE_FIELD(TYPE, NAME, LIST, FUNCTION) Array<TYPE> LIST;
        VK_RELEASE_LIST(VK_RELEASE_FIELD)
#undef VK_RELEASE_FIELD
        Array<VK::MemoryPtr> pointers;

        uint32_t descriptor_index = 0;
        Array<VkDescriptorPool> descriptor_pools;
        Array<QueryResult> queries;  // to be used again
        Array<VKContext *> children; // whose commands it runs
        Array<Signal *> signals;     // that this frame waits for or gives
        // Of the next submission. Values belong to timelines and are 0 for other semaphores.
        Array<VkSemaphore> wait_semaphores;
        Array<uint64_t> wait_values;
        Array<VkPipelineStageFlags> wait_stage_masks;
        Array<VkSemaphore> signal_semaphores;
        Array<uint64_t> signal_values;

        bool create(VKAdapter *adapter, uint32_t family, VkCommandBufferLevel level);
        void release();
        bool begin_command(VkRenderPass pass = VK_NULL_HANDLE, VkFramebuffer framebuffer = VK_NULL_HANDLE);
        /// Ends and submits the open command buffer with the semaphores; submit_command() takes an ended one.
        bool submit(VkQueue queue, SpinLock &lock, VkFence fence);
        bool submit_command(VkQueue queue, SpinLock &lock, VkFence fence);
        void clearSemaphores();
        bool wait();
        bool reset(bool begin);
        void releaseResources();
        VkDescriptorPool getDescriptorPool(bool next);
        VkDescriptorSet allocateDescriptor(VkDescriptorSetLayout layout);
    };

    /// Context on a queue of a created adapter.
    VKContext(VKAdapter *adapter, uint32_t family, uint32_t index);

    /// Shared by devices, their objects and offscreen contexts, which may go in any order: the last one destroys it.
    VKContext *retain() {
        counter++;
        return this;
    }
    static void release(VKContext *context) {
        if(context && --context->counter == 0) delete context;
    }

    /// Expects at least MinFrames frames. False and one line on failure.
    bool create(VkCommandBufferLevel level, uint32_t frames = DefaultFrames);
    bool isCreated() const { return frame != nullptr; }

    VKAdapter *getAdapter() const { return adapter; }
    VkDevice getDevice() const { return device; }
    VkQueue getQueue() const { return queue; }
    uint32_t getFamily() const { return queue_family; }
    VkQueueFlags getQueueFlags() const { return queue_flags; }
    /// Bits of a time stamp that count, 0 for a queue without them.
    uint32_t getTimestampBits() const { return timestamp_bits; }
    /// Whether the queue does all of that work.
    bool hasQueueFlags(VkQueueFlags flags) const { return (queue_flags & flags) == flags; }
    bool isPrimary() const { return primary; }
    uint32_t getNumFrames() const { return frames.size(); }

    /// Command buffer to record on. Not kept over flip, flush and finish. \p check asserts that one is open.
    VkCommandBuffer getCommand(bool check = true) const {
        if(check) KOLM_ASSERT(frame && "VKContext::getCommand(): context is not created");
        if(frame == nullptr) return VK_NULL_HANDLE;
        frame->recorded = true;
        return frame->commands[frame->command_index];
    }
    /// Host address of transient memory of this frame, null for a buffer that is none.
    uint8_t *getTransientData(VkBuffer buffer, uint64_t offset) const;
    uint32_t getNumCommands() const { return frame->command_index + 1; }
    VkFence getFence() const { return frame->fence; }
    VkCommandPool getPool() const { return frame->pool; }
    /// Grows whenever the command buffer changes: state that was bound before is gone.
    uint64_t getEpoch() const { return epoch; }
    /// Grows with the epoch, the recorder and the target, and whenever commands of this context gave a resource another
    /// access or layout.
    uint64_t getChanges() const { return changes; }
    void setChanged() { changes++; }
    /// Whether all that was recorded in an epoch has run.
    bool isIdle(uint64_t used_epoch) const { return used_epoch < idle_epoch; }

    /// Whether all that was ever recorded has run.
    bool isIdle() const { return primary && idle_epoch == epoch && !frame->recorded; }

    void addListener(Listener *listener);
    void removeListener(Listener *listener);

    /// Submits the frame's open command buffer with an outside fence or, for none, the frame's.
    bool submit(VkQueue queue, VkFence fence);
    /// Goes to the next frame, after \p submit of this one. \p reset begins its first command buffer.
    bool flip(bool submit, bool reset);
    /// Submits what was recorded and goes on in the next command buffer. \p wait waits until it ran. At most MaxFlushes
    /// times in a frame without waiting.
    bool flush(bool wait, VkFence fence = VK_NULL_HANDLE);
    /// Waits until the queue is idle, after \p submit of what was recorded, and begins the frame anew.
    bool finish(bool submit, bool reset);
    /// Runs the one command buffer of a secondary context within this one.
    bool execute(VKContext *child);

    /// Who recorded last: what others bound before is not bound any more. Null is nobody.
    void setRecorder(const Listener *new_recorder) {
        recorder = new_recorder;
        setChanged();
    }
    bool isRecorder(const Listener *other) const { return (recorder == other); }
    /// Target that is enabled on this context, or null. Nothing but drawing is recorded then.
    void setTarget(VKTarget *new_target) {
        target = new_target;
        setChanged();
    }
    VKTarget *getTarget() const { return target; }
    /// Makes the open command buffer of a secondary context one that draws in a pass. Nothing else may have been
    /// recorded since the last flip. One line and false otherwise.
    bool inherit(VkRenderPass pass, VkFramebuffer framebuffer);
    /// Framebuffer of inherit(), null if there is none.
    VkFramebuffer getInherited() const { return frame->framebuffer; }

    /// Binds memory of sparse objects; what is submitted from now on sees it. With \p after the bind waits for all that
    /// was recorded, as it has to where memory is taken away. False without a line if this queue can't.
    bool bindSparse(VkBindSparseInfo &info, bool after);

    bool reserveUploadBuffers(uint64_t size) { return reserve_buffers(TransientUpload, size); }
    bool reserveDownloadBuffers(uint64_t size) { return reserve_buffers(TransientDownload, size); }
    bool reserveUniformBuffers(uint64_t size) { return reserve_buffers(TransientUniform, size); }
    void releaseUploadBuffers() { release_buffers(TransientUpload); }
    void releaseDownloadBuffers() { release_buffers(TransientDownload); }
    void releaseUniformBuffers() { release_buffers(TransientUniform); }
    /// Transient memory of this frame; empty if the kind's limit is reached or memory ran out.
    Transient getUploadBuffer(uint64_t alignment, uint64_t size) {
        return get_transient(TransientUpload, alignment, size);
    }
    Transient getDownloadBuffer(uint64_t alignment, uint64_t size) {
        return get_transient(TransientDownload, alignment, size);
    }
    Transient getUniformBuffer(uint64_t alignment, uint64_t size) {
        return get_transient(TransientUniform, alignment, size);
    }
    /// The buffer that getUniformBuffer() divides, if there is one. The pointer to it stays.
    RecorderSlots::Arena *const *getUniformArena() const { return &rings[TransientUniform].arena; }
    /// Makes the device's writes to transient memory visible to the host, after a wait.
    bool invalidateTransient(const Transient &transient);

    /// Makes sure that \p num results are free; one line if the driver refuses.
    bool reserveQueries(QueryType type, uint32_t num);
    /// Place of a result; empty after one line.
    QueryResult getQuery(QueryType type);
    /// Gives it back when the frame's fence has passed. \p result is empty afterwards.
    void releaseQuery(QueryResult &result) {
        if(result) frame->queries.append(result);
        result = QueryResult();
    }
    /// A command buffer takes one open count of each kind. False if there is one.
    bool beginQuery(QueryType type) { return !query_active[type] && (query_active[type] = true); }
    void endQuery(QueryType type) { query_active[type] = false; }
    /// Destroys all pools, which nothing uses any more.
    void releaseQueries();
    /// Values of a result are there. \p values holds getNumQueryValues().
    bool getQueryValues(const QueryResult &result, uint64_t *values) const;
    /// What this queue counts: a compute queue counts only the last of the statistics.
    uint32_t getNumQueryValues(QueryType type) const;
    bool hasHostQueries() const { return adapter->getHostQueryResetFeatures().hostQueryReset; }

    /// Destruction when the frame's fence has passed. Null handles are fine.
#define VK_RELEASE_METHOD(TYPE, NAME, LIST, FUNCTION) \
    void release##NAME(TYPE handle) {                 \
        if(handle == VK_NULL_HANDLE) return;          \
        frame->LIST.append(handle);                   \
        adapter->setChanged();                        \
    }
    VK_RELEASE_LIST(VK_RELEASE_METHOD)
#undef VK_RELEASE_METHOD
    /// The same for memory; \p memory is empty afterwards.
    void releaseMemory(VK::MemoryPtr &memory) {
        if(memory) frame->pointers.append(memory);
        memory = VK::MemoryPtr();
    }

    VkDescriptorPool getDescriptorPool(bool next) { return frame->getDescriptorPool(next); }
    /// Set that lasts until the frame is reset.
    VkDescriptorSet allocateDescriptor(VkDescriptorSetLayout layout) { return frame->allocateDescriptor(layout); }

    void addWaitSemaphore(VkSemaphore semaphore, VkPipelineStageFlags stage_mask);
    void addSignalSemaphore(VkSemaphore semaphore);
    /// The same for a value of a timeline, which stays alive.
    void addWaitSignal(Signal *signal, uint64_t value);
    void addSignal(Signal *signal, uint64_t value);
    /// Keeps it alive until this frame has passed.
    void keepSignal(Signal *signal) { frame->signals.append(signal->retain()); }
    void clearSemaphores() { frame->clearSemaphores(); }

    /// All memory, or one buffer or image, from one access to another.
    void barrier(VkPipelineStageFlags src_stages, VkPipelineStageFlags dest_stages, VkAccessFlags src_access,
                 VkAccessFlags dest_access);
    void barrier(VkBuffer buffer, uint64_t offset, uint64_t size, VkAccessFlags src_access, VkAccessFlags dest_access);
    void barrier(VkImage image, const VkImageSubresourceRange &range, VkImageLayout old_layout,
                 VkImageLayout new_layout, VkAccessFlags src_access, VkAccessFlags dest_access,
                 VkPipelineStageFlags src_stages, VkPipelineStageFlags dest_stages);
    /// Records what was collected, if anything, and empties \p barriers.
    void barrier(Barriers &barriers);
    /// Stages that can do \p access on this context's queue.
    VkPipelineStageFlags getStages(VkAccessFlags access) const;

    /// A target tells of its passes.
    void notifyPass(Event event) { notify(event); }

private:
    struct Ring {
        Array<Buffer *> buffers;               // free ones
        RecorderSlots::Arena *arena = nullptr; // the buffer under way
        uint64_t usage = 0;                    // bytes of all buffers of this kind
        uint64_t reserve_size = 0;             // bytes of a new buffer, at least
        VkBufferUsageFlags flags = 0;
        uint32_t memory_type = 0;
    };

    void destroy();
    bool drop();
    bool reserve_buffers(TransientType type, uint64_t size);
    void release_buffers(TransientType type);
    Transient get_transient(TransientType type, uint64_t alignment, uint64_t size) {
        Transient ret;
        Buffer *buffer = static_cast<Buffer *>(rings[type].arena);
        if(KOLM_LIKELY(size && buffer && buffer->allocate(ret, alignment, size))) return ret;
        return get_buffer(type, alignment, size);
    }
    Transient get_buffer(TransientType type, uint64_t alignment, uint64_t size);
    void recycle_buffers();
    void recycle_queries();
    void flush_transients();
    void select_memory();
    void notify(Event event);

    ~VKContext();

    Atomici32 counter;
    VKAdapter *adapter = nullptr;
    VkDevice device = VK_NULL_HANDLE;
    uint32_t queue_family = 0;
    uint32_t queue_index = 0;
    VkQueueFlags queue_flags = 0;
    uint32_t timestamp_bits = 0;
    VkQueue queue = VK_NULL_HANDLE;
    SpinLock *queue_lock = nullptr;
    VkPipelineStageFlags shader_stages = 0; // all stages of this queue that run shaders
    bool primary = true;
    Array<Frame *> frames;
    Frame *frame = nullptr;
    uint32_t index = 0;
    uint64_t epoch = 1;
    uint64_t changes = 1;
    uint64_t idle_epoch = 1; // the least epoch that may be running still
    Ring rings[NumTransientTypes];
    Array<VkQueryPool> query_pools;
    bool query_active[NumQueryTypes] = {};
    Array<QueryResult> queries[NumQueryTypes]; // free ones
    Listener *listeners = nullptr;
    VKTarget *target = nullptr;
    const Listener *recorder = nullptr;
};

} // namespace Kolm
