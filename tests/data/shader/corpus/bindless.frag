#version 450
#extension GL_EXT_nonuniform_qualifier : require
layout(set = 1, binding = 0) uniform sampler2D textures[];
layout(set = 1, binding = 1) uniform texture2D images[8];
layout(set = 1, binding = 2) uniform sampler samp;
layout(location = 0) in vec2 inUV;
layout(location = 1) flat in int inTexIndex;
layout(location = 0) out vec4 outFragColor;
void main() {
    outFragColor = texture(textures[nonuniformEXT(inTexIndex)], inUV);
    outFragColor += texture(sampler2D(images[3], samp), inUV);
}
