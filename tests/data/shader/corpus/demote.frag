#version 450
#extension GL_EXT_demote_to_helper_invocation : require
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;
layout(binding = 0) uniform sampler2D leaf;

void main() {
    vec4 c = texture(leaf, uv);
    if(c.a < 0.5) demote;
    vec2 slope = vec2(dFdx(c.a), dFdy(c.a)); // the neighbours still run
    color = gl_HelperInvocation ? vec4(0.0) : vec4(c.rgb, length(slope));
}
