// Misuse of recorders and of the device while a target is enabled: a table of calls, each of which ends the process by one
// line with class, method, object, what was given and what is allowed. For any device of the abstract layer.

#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "StubDevice.h"

class RecorderMisuse {
public:
    struct Row {
        std::function<void()> run;
        std::string text; // behind "VK"
    };
    std::vector<Row> rows;

    explicit RecorderMisuse(Kolm::Device &device);
    ~RecorderMisuse();

    void check() const {
        for(const Row &row : rows) EXPECT_ASSERTION(row.run(), "\"VK" + row.text + "\"");
    }

private:
    template<class Type> using Ptr = std::unique_ptr<Type>;

    Ptr<Kolm::Buffer> create(Kolm::Buffer::Flags flags, size_t size, const char *name,
                             Kolm::Format format = Kolm::FormatUnknown);
    Ptr<Kolm::Kernel> create_kernel(const char *name);
    void create_pipelines();
    void create_kernels();
    void bind();
    void add_command_rows();
    void add_compute_rows();

    Kolm::Device &device;
    StubDevice other{Kolm::PlatformCU}; // of another platform
    uint32_t uniform_alignment, storage_alignment, max_uniform;
    Ptr<Kolm::Buffer> vertices, indices, indirect, uniform, texels, condition, records, block, data, groups;
    Ptr<Kolm::Buffer> fresh_buffer, foreign_buffer;
    Ptr<Kolm::Texture> color, texture, image, bytes, fresh, foreign;
    Ptr<Kolm::Sampler> sampler, pending;
    Ptr<Kolm::Pipeline> pipeline, mesh, undone;
    Ptr<Kolm::Kernel> kernel, buffer_kernel, pending_kernel;
    Ptr<Kolm::Tracing> geometry, scene;
    Ptr<Kolm::BufferTable> buffers;
    Ptr<Kolm::TextureTable> images;
    Ptr<Kolm::Query> query;
    Ptr<Kolm::Target> target, idle;
    Ptr<Kolm::Command> command, empty;
    Ptr<Kolm::Compute> compute, filter, empty_filter;
    const Kolm::Viewport viewport{8.0f, 8.0f};
    const Kolm::Viewport viewports[2] = {viewport, viewport};
    Kolm::Texture *none[1] = {nullptr};
    Kolm::Buffer *blocks[3] = {};
};
