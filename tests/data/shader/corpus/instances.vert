#version 450
layout(location = 0) in vec3 inPos;
layout (binding = 0, set = 0) uniform UBO
{
	mat4 projection;
	mat4 model;
	vec4 instance[8];
} ubo;
layout (location = 0) out vec2 outUV;
out gl_PerVertex
{
	vec4 gl_Position;
};
vec4 deep(vec4 a) { return a; }
void main()
{
	gl_Position = ubo.projection * ubo.model * vec4(inPos.xyz + ubo.instance[gl_InstanceIndex].xyz, 1.0);
	gl_Position = deep(gl_Position);
	outUV = inPos.xy;
}
