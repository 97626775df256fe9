#version 460
#extension GL_EXT_ray_tracing : enable
layout(location = 0) rayPayloadInEXT vec3 hitValue;
void main() { const vec3 a = vec3(1.0), b = vec3(0.5, 0.7, 1.0); float t = 0.5 * (normalize(gl_WorldRayDirectionEXT).y + 1.0); hitValue = mix(a, b, t); }
