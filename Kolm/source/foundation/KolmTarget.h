// KolmTarget.h: what is drawn to, and what happens to it before and after.
// Rests on textures and surfaces. The textures and the surface are someone else's and have to outlive the target's use.

#pragma once

#include "KolmColor.h"
#include "KolmFormat.h"
#include "KolmPlatform.h"
#include "KolmSlice.h"
#include "KolmSurface.h"
#include "KolmTexture.h"

namespace Kolm {

class Fence;
struct Caller;

/// Up to eight colour textures and a depth texture, or a surface. Drawing happens between begin() and end(); nothing is
/// changed in between. Levels, faces and layers are those of the slices.
class Target : public PlatformBase {
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

    struct ColorTarget {
        Color clear_color;
        Operation operation = OpNone;
        Texture *texture = nullptr;
        Texture *resolve = nullptr;
        Slice texture_slice;
        Slice resolve_slice;
    };

    explicit Target(uint32_t index, const Surface *surface = nullptr);
    ~Target() override;

    /// Begins drawing, after \p fence if it is given. False, with the reason logged, for a target that has nothing to
    /// draw to.
    virtual bool begin(Fence *fence = nullptr);
    /// Ends drawing, and signals \p fence if it is given.
    virtual bool end(Fence *fence = nullptr);
    /// Draws to another surface from the next begin() on.
    virtual bool swap(Surface *surface);
    /// Between begin() and end().
    virtual bool isEnabled() const { return is_enabled; }

    virtual Format getColorFormat(uint32_t index) const;
    virtual Format getDepthFormat() const;
    virtual uint32_t getMultisample() const;
    virtual bool hasMultisample() const;
    /// Whether row 0 is at the bottom, and whether shaders order their accesses by themselves.
    virtual bool isFlipped() const { return false; }
    virtual bool isAtomic() const { return false; }
    /// The smallest of all textures, 0 if there are none.
    virtual uint32_t getWidth() const;
    virtual uint32_t getHeight() const;
    virtual uint32_t getDepth() const;
    virtual uint32_t getFaces() const;
    virtual uint32_t getLayers() const;
    virtual uint32_t getMipmaps() const;

    const Surface *getSurface() const { return surface; }
    /// Colour textures in use: those from slot 0 to the first empty one. 1 on a surface that has a colour format.
    uint32_t getNumTargets() const { return num_targets; }

    // colour; forms without an index are for slot 0
    void setClearColor(const Color &color) { setClearColor(0, color); }
    void setClearColor(float32_t r, float32_t g, float32_t b, float32_t a) { setClearColor(0, Color(r, g, b, a)); }
    void setClearColor(uint32_t index, float32_t r, float32_t g, float32_t b, float32_t a) {
        setClearColor(index, Color(r, g, b, a));
    }
    void setClearColor(uint32_t index, const Color &color);
    const Color &getClearColor(uint32_t index = 0) const { return get_target("getClearColor", index).clear_color; }

    void setColorTexture(Texture *texture, Operation op = OpDefault, const Slice &slice = Slice()) {
        setColorTexture(0, texture, op, slice);
    }
    void setColorTexture(uint32_t index, Texture *texture, Operation op = OpDefault, const Slice &slice = Slice());
    Operation getColorOp(uint32_t index = 0) const { return get_target("getColorOp", index).operation; }
    Texture *getColorTexture(uint32_t index = 0) const { return get_target("getColorTexture", index).texture; }
    const Slice &getColorTextureSlice(uint32_t index = 0) const {
        return get_target("getColorTextureSlice", index).texture_slice;
    }

    /// Texture of one sample that takes the resolved pixels of a multisample texture with EndResolve.
    void setColorResolve(Texture *texture, const Slice &slice = Slice()) { setColorResolve(0, texture, slice); }
    void setColorResolve(uint32_t index, Texture *texture, const Slice &slice = Slice());
    Texture *getColorResolve(uint32_t index = 0) const { return get_target("getColorResolve", index).resolve; }
    const Slice &getColorResolveSlice(uint32_t index = 0) const {
        return get_target("getColorResolveSlice", index).resolve_slice;
    }

    // depth and stencil
    /// Kept: a new stencil value alone, with the depth that is already set, changes nothing.
    void setClearDepth(float32_t depth, uint32_t stencil = 0);
    float32_t getClearDepth() const { return clear_depth; }
    uint32_t getClearStencil() const { return clear_stencil; }
    void setDepthTexture(Texture *texture, Operation op = OpDefault, const Slice &slice = Slice());
    void setDepthResolve(Texture *texture, const Slice &slice = Slice());
    Operation getDepthOp() const { return depth_operation; }
    Texture *getDepthTexture() const { return depth_texture; }
    const Slice &getDepthTextureSlice() const { return depth_texture_slice; }
    Texture *getDepthResolve() const { return depth_resolve; }
    const Slice &getDepthResolveSlice() const { return depth_resolve_slice; }

protected:
    // What a backend gives. Textures, slices and sizes were tested.
    virtual bool begin_target(Fence *fence) = 0;
    virtual bool end_target(Fence *fence) = 0;
    virtual bool swap_surface(Surface *surface);
    /// Drops what was made of the present parameters.
    virtual void clear_target() {}

    const Surface *surface;
    uint32_t num_targets = 0;
    ColorTarget targets[NumTargets];
    float32_t clear_depth = 1.0f;
    uint8_t clear_stencil = 0;
    Operation depth_operation = OpNone;
    Texture *depth_texture = nullptr;
    Texture *depth_resolve = nullptr;
    Slice depth_texture_slice;
    Slice depth_resolve_slice;
    bool is_enabled = false;

private:
    const ColorTarget &get_target(const char *method, uint32_t index) const;
    ColorTarget &set_target(const char *method, uint32_t index);
    void check_change(const char *method) const;
    template<class Func> uint32_t get_minimum(Func func) const;
    bool check_texture(const Caller &caller, const char *kind, Texture *texture, const Slice &slice, bool depth) const;
    bool check_resolve(const Caller &caller, const char *kind, Texture *texture, Texture *resolve,
                       const Slice &slice) const;
    bool check_textures(const Caller &caller) const;
};

constexpr Target::Operation operator|(Target::Operation a, Target::Operation b) {
    return Target::Operation(uint32_t(a) | uint32_t(b));
}
constexpr Target::Operation operator&(Target::Operation a, Target::Operation b) {
    return Target::Operation(uint32_t(a) & uint32_t(b));
}

} // namespace Kolm
