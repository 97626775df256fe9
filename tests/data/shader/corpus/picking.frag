#version 450
layout(early_fragment_tests) in;
layout(location = 0) in flat uvec2 id;
layout(location = 0) out uvec2 target;
layout(location = 1) out int depth;
layout(std430, binding = 0) buffer Picked { ivec2 mouse; uint nearest; uint object; } picked;

void main() {
    if(ivec2(gl_FragCoord.xy) == picked.mouse) {
        uint z = floatBitsToUint(gl_FragCoord.z);
        if(z < atomicMin(picked.nearest, z)) atomicExchange(picked.object, id.x);
    }
    target = id;
    depth = int(gl_FragCoord.z * 16777215.0);
}
