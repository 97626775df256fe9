#version 450
#extension GL_EXT_nonuniform_qualifier : require

layout(location = 0) in vec2 uv;
layout(location = 1) in vec4 color;
layout(location = 2) in flat int index;
layout(location = 0) out vec4 target;
layout(set = 1, binding = 0) uniform texture2D textures[];
layout(set = 1, binding = 1) uniform sampler linear;

void main() {
    target = color * texture(sampler2D(textures[nonuniformEXT(index)], linear), uv);
    if(target.a == 0.0) discard;
}
