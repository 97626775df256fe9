// KolmTarget.cpp: parameters of targets, and what has to hold when drawing begins.

#include "KolmTarget.h"

#include <stdio.h>

#include "KolmCaller.h"
#include "KolmFence.h"

namespace Kolm {

Target::Target(uint32_t index, const Surface *surface) : PlatformBase(index), surface(surface) {
    if(surface && surface->getColorFormat() != FormatUnknown) num_targets = 1;
}

Target::~Target() { KOLM_ASSERT(!is_enabled && "Target::~Target(): is enabled"); }

// parameters

namespace {

[[noreturn]] void fail(const char *method, const char *text) {
    char line[128];
    snprintf(line, sizeof(line), "\"Target::%s(): %s\"", method, text);
    assertion(line, __FILE__, __LINE__);
}

} // namespace

void Target::check_change(const char *method) const {
    if(KOLM_UNLIKELY(isEnabled())) fail(method, "target is enabled");
}

const Target::ColorTarget &Target::get_target(const char *method, uint32_t index) const {
    if(KOLM_UNLIKELY(index >= NumTargets)) fail(method, "invalid target index");
    return targets[index];
}

Target::ColorTarget &Target::set_target(const char *method, uint32_t index) {
    check_change(method);
    return const_cast<ColorTarget &>(get_target(method, index));
}

void Target::setClearColor(uint32_t index, const Color &color) {
    set_target("setClearColor", index).clear_color = color;
}

void Target::setColorTexture(uint32_t index, Texture *texture, Operation op, const Slice &slice) {
    ColorTarget &target = set_target("setColorTexture", index);
    if(target.operation == op && target.texture == texture && target.texture_slice == slice) return;
    target.operation = op;
    target.texture = texture;
    target.texture_slice = slice;
    // A surface has the one target of its format; only the operation counts then.
    if(surface == nullptr) {
        for(num_targets = 0; num_targets < NumTargets && targets[num_targets].texture; num_targets++) {}
    }
    clear_target();
}

void Target::setColorResolve(uint32_t index, Texture *texture, const Slice &slice) {
    ColorTarget &target = set_target("setColorResolve", index);
    if(target.resolve == texture && target.resolve_slice == slice) return;
    target.resolve = texture;
    target.resolve_slice = slice;
    clear_target();
}

void Target::setClearDepth(float32_t depth, uint32_t stencil) {
    check_change("setClearDepth");
    if(clear_depth == depth) return;
    clear_depth = depth;
    clear_stencil = uint8_t(stencil);
    clear_target();
}

void Target::setDepthTexture(Texture *texture, Operation op, const Slice &slice) {
    check_change("setDepthTexture");
    if(depth_operation == op && depth_texture == texture && depth_texture_slice == slice) return;
    depth_operation = op;
    depth_texture = texture;
    depth_texture_slice = slice;
    clear_target();
}

void Target::setDepthResolve(Texture *texture, const Slice &slice) {
    check_change("setDepthResolve");
    if(depth_resolve == texture && depth_resolve_slice == slice) return;
    depth_resolve = texture;
    depth_resolve_slice = slice;
    clear_target();
}

// what the parameters give

Format Target::getColorFormat(uint32_t index) const {
    const ColorTarget &target = get_target("getColorFormat", index);
    if(surface) return (index == 0) ? surface->getColorFormat() : FormatUnknown;
    return (target.texture) ? target.texture->getFormat() : FormatUnknown;
}

Format Target::getDepthFormat() const {
    if(surface) return surface->getDepthFormat();
    return (depth_texture) ? depth_texture->getFormat() : FormatUnknown;
}

uint32_t Target::getMultisample() const {
    if(surface) return surface->getMultisample();
    for(const ColorTarget &target : targets) {
        if(target.texture) return target.texture->getMultisample();
    }
    return (depth_texture) ? depth_texture->getMultisample() : 1;
}

bool Target::hasMultisample() const { return (surface) ? surface->hasMultisample() : (getMultisample() > 1); }

// Minimum over all textures. A slice outside of its texture counts as the last level: begin() reports it.
template<class Func> uint32_t Target::get_minimum(Func func) const {
    uint32_t value = ~0u;
    const auto add = [&](const Texture *texture, const Slice &slice) {
        if(texture) value = min(value, func(*texture, min(slice.mipmap, max(texture->getMipmaps(), 1u) - 1)));
    };
    for(const ColorTarget &target : targets) add(target.texture, target.texture_slice);
    add(depth_texture, depth_texture_slice);
    return (value == ~0u) ? 0 : value;
}

uint32_t Target::getWidth() const {
    if(surface) return surface->getWidth();
    return get_minimum([](const Texture &texture, uint32_t mipmap) { return texture.getWidth(mipmap); });
}

uint32_t Target::getHeight() const {
    if(surface) return surface->getHeight();
    return get_minimum([](const Texture &texture, uint32_t mipmap) { return texture.getHeight(mipmap); });
}

uint32_t Target::getDepth() const {
    if(surface) return 1;
    return get_minimum([](const Texture &texture, uint32_t mipmap) { return texture.getDepth(mipmap); });
}

uint32_t Target::getFaces() const {
    if(surface) return 1;
    return get_minimum([](const Texture &texture, uint32_t) { return texture.getFaces(); });
}

uint32_t Target::getLayers() const {
    if(surface) return 1;
    return get_minimum([](const Texture &texture, uint32_t) { return texture.getLayers(); });
}

uint32_t Target::getMipmaps() const {
    if(surface) return 1;
    return get_minimum([](const Texture &texture, uint32_t) { return texture.getMipmaps(); });
}

// drawing

bool Target::check_texture(const Caller &caller, const char *kind, Texture *texture, const Slice &slice,
                           bool depth) const {
    caller.checkFlag(kind, texture, Texture::FlagTarget);
    const char *text = Caller::getText(texture);
    if((depth) ? !texture->isDepthFormat() : (!texture->isColorFormat() || texture->isBlockFormat())) {
        caller.fail("invalid %s: %s texture has the format %s", kind, text, texture->getFormatName());
    }
    if(!texture->check(slice)) return caller.error("invalid slice of %s %s", text, kind);
    if(slice.mipmaps != 1) {
        return caller.error("invalid slice of %s %s: %u mipmaps, 1 is drawn to", text, kind, slice.mipmaps);
    }
    return true;
}

bool Target::check_resolve(const Caller &caller, const char *kind, Texture *texture, Texture *resolve,
                           const Slice &slice) const {
    if(!check_texture(caller, kind, resolve, slice, texture->isDepthFormat())) return false;
    if(resolve->getFormat() != texture->getFormat()) {
        return caller.error("invalid %s: %s is of %s, %s is needed", kind, Caller::getText(resolve),
                            resolve->getFormatName(), texture->getFormatName());
    }
    if(resolve->hasMultisample() || !texture->hasMultisample()) {
        return caller.error("invalid %s: %u samples of %s become %u", kind, texture->getMultisample(),
                            Caller::getText(texture), resolve->getMultisample());
    }
    return true;
}

bool Target::check_textures(const Caller &caller) const {
    const auto is_resolved = [](Operation op) { return (op & EndResolve) != 0; };
    const uint32_t samples = getMultisample();
    for(uint32_t i = 0; i < NumTargets; i++) {
        const ColorTarget &target = targets[i];
        if(target.texture == nullptr) continue;
        if(i >= num_targets) return caller.error("color texture %u is not used: %u is null", i, num_targets);
        if(!check_texture(caller, "color texture", target.texture, target.texture_slice, false)) return false;
        if(target.texture->getMultisample() != samples) {
            return caller.error("%s color texture has %u samples, others have %u", Caller::getText(target.texture),
                                target.texture->getMultisample(), samples);
        }
        if(is_resolved(target.operation) &&
           !check_resolve(caller, "color resolve", target.texture, target.resolve, target.resolve_slice))
            return false;
    }
    if(depth_texture == nullptr) return true;
    if(!check_texture(caller, "depth texture", depth_texture, depth_texture_slice, true)) return false;
    if(depth_texture->getMultisample() != samples) {
        return caller.error("%s depth texture has %u samples, others have %u", Caller::getText(depth_texture),
                            depth_texture->getMultisample(), samples);
    }
    return (!is_resolved(depth_operation) ||
            check_resolve(caller, "depth resolve", depth_texture, depth_resolve, depth_resolve_slice));
}

bool Target::begin(Fence *fence) {
    const Caller caller = {*this, "Target", "begin"};
    if(isEnabled()) caller.fail("is already enabled");
    if(surface) {
        if(getWidth() == 0 || getHeight() == 0)
            return caller.error("invalid surface size %ux%u", getWidth(), getHeight());
    } else {
        if(num_targets == 0 && depth_texture == nullptr) return caller.error("target is empty");
        if(!check_textures(caller)) return false;
    }
    if(fence) caller.checkCreated("fence", fence);
    return is_enabled = begin_target((fence && fence->getValue()) ? fence : nullptr);
}

bool Target::end(Fence *fence) {
    const Caller caller = {*this, "Target", "end"};
    if(!isEnabled()) caller.fail("is not enabled");
    if(fence) caller.checkCreated("fence", fence);
    is_enabled = false;
    if(fence) fence->fence_value++;
    if(end_target(fence)) return true;
    if(fence) fence->fence_value--;
    return false;
}

bool Target::swap(Surface *new_surface) {
    const Caller caller = {*this, "Target", "swap"};
    if(isEnabled()) caller.fail("target is enabled");
    caller.checkPlatform("surface", new_surface);
    if(surface == nullptr) return caller.error("target has no surface");
    if(!swap_surface(new_surface)) return false;
    surface = new_surface;
    num_targets = (surface->getColorFormat() != FormatUnknown) ? 1 : 0;
    return true;
}

bool Target::swap_surface(Surface *) {
    clear_target();
    return true;
}

} // namespace Kolm
