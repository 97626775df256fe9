// What is drawn to.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSlice.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Up to eight colour textures and a depth texture, or a surface, made by Device::createTarget(). The textures and the
/// surface have to outlive the target's use. Drawing happens between begin() and end(), through Device::createCommand();
/// nothing of the target is changed in between.
///
///     Target target = device.createTarget({color, depth});
///     target.setClearColor(0.0f, 0.0f, 0.0f, 1.0f);
///     target.begin();
///     {
///         Command command = device.createCommand(target);
///         command.setPipeline(pipeline);
///         command.drawArrays(3);
///     }
///     target.end();
///     device.flush();
class OSTREVAN_API Target {
    OSTREVAN_HANDLE(Target)
public:
    static constexpr uint32_t NumTargets = 8;

    /// What happens to a texture at begin() and at end(). Nothing at the begin leaves undefined pixels, nothing at the
    /// end stores.
    enum Operation : uint32_t {
        BeginLoad = 1 << 0,
        BeginClear = 1 << 1,
        BeginDiscard = 1 << 2,
        BeginMask = BeginLoad | BeginClear | BeginDiscard,
        EndStore = 1 << 3,
        EndResolve = 1 << 4,
        EndDiscard = 1 << 5,
        EndMask = EndStore | EndResolve | EndDiscard,
        OpNone = 0,
        OpLoad = BeginLoad,
        OpLoadStore = BeginLoad | EndStore,
        OpClearStore = BeginClear | EndStore,
        OpClearDiscard = BeginClear | EndDiscard,
        OpDefault = OpClearStore
    };

    Target();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the target belongs to.
    uint32_t getIndex() const;

    /// Begins drawing, after the last signal of a fence if it is given. False, with the reason logged, for a target
    /// that has nothing to draw to or whose textures do not go together.
    bool begin();
    bool begin(const Fence &fence);
    /// Ends drawing, and signals the fence if it is given.
    bool end();
    bool end(const Fence &fence);
    /// Draws to another surface from the next begin() on.
    bool swap(const Surface &surface);
    /// Between begin() and end().
    bool isEnabled() const;

    Format getColorFormat(uint32_t index) const;
    Format getDepthFormat() const;
    uint32_t getMultisample() const;
    bool hasMultisample() const;
    /// Whether row 0 is at the bottom, and whether shaders order their accesses by themselves.
    bool isFlipped() const;
    bool isAtomic() const;
    /// The smallest of all textures, 0 if there are none.
    uint32_t getWidth() const;
    uint32_t getHeight() const;
    uint32_t getDepth() const;
    uint32_t getFaces() const;
    uint32_t getLayers() const;
    uint32_t getMipmaps() const;
    /// Colour textures in use: those from slot 0 to the first empty one.
    uint32_t getNumTargets() const;

    // colour; forms without an index are for slot 0, which is below NumTargets
    void setClearColor(const Color &color);
    void setClearColor(float32_t r, float32_t g, float32_t b, float32_t a);
    void setClearColor(uint32_t index, const Color &color);
    void setClearColor(uint32_t index, float32_t r, float32_t g, float32_t b, float32_t a);
    Color getClearColor(uint32_t index = 0) const;
    void setColorTexture(const Texture &texture, Operation op = OpDefault, const Slice &slice = Slice());
    void setColorTexture(uint32_t index, const Texture &texture, Operation op = OpDefault,
                         const Slice &slice = Slice());
    Operation getColorOp(uint32_t index = 0) const;
    Texture getColorTexture(uint32_t index = 0) const;
    Slice getColorTextureSlice(uint32_t index = 0) const;
    /// Texture of one sample that takes the resolved pixels of a multisample texture with EndResolve.
    void setColorResolve(const Texture &texture, const Slice &slice = Slice());
    void setColorResolve(uint32_t index, const Texture &texture, const Slice &slice = Slice());
    Texture getColorResolve(uint32_t index = 0) const;
    Slice getColorResolveSlice(uint32_t index = 0) const;

    // depth and stencil
    /// A new stencil value alone, with the depth that is already set, changes nothing.
    void setClearDepth(float32_t depth, uint32_t stencil = 0);
    float32_t getClearDepth() const;
    uint32_t getClearStencil() const;
    void setDepthTexture(const Texture &texture, Operation op = OpDefault, const Slice &slice = Slice());
    void setDepthResolve(const Texture &texture, const Slice &slice = Slice());
    Operation getDepthOp() const;
    Texture getDepthTexture() const;
    Slice getDepthTextureSlice() const;
    Texture getDepthResolve() const;
    Slice getDepthResolveSlice() const;
};

constexpr Target::Operation operator|(Target::Operation a, Target::Operation b) {
    return Target::Operation(uint32_t(a) | uint32_t(b));
}
constexpr Target::Operation operator&(Target::Operation a, Target::Operation b) {
    return Target::Operation(uint32_t(a) & uint32_t(b));
}

} // namespace Ostrevan
