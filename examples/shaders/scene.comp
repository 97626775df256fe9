// A scene of signed distances, found by sphere tracing: soft shadows, ambient occlusion, fog, two samples a side.

layout(local_size_x = 8, local_size_y = 8) in;

layout(std140, binding = 0) uniform Parameters { uint width; uint height; uint frame; float time; };
layout(std430, binding = 1) buffer Output { uint pixels[]; };

struct Hit {
    float distance;
    uint material;
};

const uint MaterialFloor = 0u;
const uint MaterialMetal = 1u;
const uint MaterialClay = 2u;
const vec3 light_direction = vec3(0.5547, 0.7396, -0.3814);

float sphere(vec3 p, float radius) { return length(p) - radius; }

float rounded_box(vec3 p, vec3 size, float radius) {
    vec3 d = abs(p) - size + radius;
    return length(max(d, vec3(0.0))) + min(max(d.x, max(d.y, d.z)), 0.0) - radius;
}

float torus(vec3 p, vec2 radii) {
    vec2 q = vec2(length(p.xz) - radii.x, p.y);
    return length(q) - radii.y;
}

// Union with a fillet of size k.
float smooth_min(float a, float b, float k) {
    float h = clamp(0.5 + 0.5 * (b - a) / k, 0.0, 1.0);
    return mix(b, a, h) - k * h * (1.0 - h);
}

void join(inout Hit hit, float distance, uint material) {
    if(distance < hit.distance) {
        hit.distance = distance;
        hit.material = material;
    }
}

Hit scene(vec3 p) {
    Hit hit = Hit(p.y + 1.0, MaterialFloor);
    join(hit, torus(p - vec3(0.0, -0.25, 0.0), vec2(1.6, 0.28)), MaterialMetal);
    float body = smooth_min(sphere(p - vec3(0.0, 0.15, 0.0), 0.75), rounded_box(p - vec3(0.0, -0.6, 0.0), vec3(0.6, 0.4, 0.6), 0.1), 0.3);
    body = max(body, -sphere(p - vec3(0.35, 0.45, -0.6), 0.45));
    join(hit, body, MaterialClay);
    for(int i = 0; i < 5; i++) {
        float a = float(i) * 1.2566371 + 0.4;
        join(hit, sphere(p - vec3(cos(a) * 2.6, -0.7, sin(a) * 2.6), 0.3), (i & 1) == 0 ? MaterialMetal : MaterialClay);
    }
    return hit;
}

vec3 normal(vec3 p) {
    vec2 e = vec2(0.0008, -0.0008);
    return normalize(e.xyy * scene(p + e.xyy).distance + e.yyx * scene(p + e.yyx).distance +
                     e.yxy * scene(p + e.yxy).distance + e.xxx * scene(p + e.xxx).distance);
}

bool trace(vec3 origin, vec3 direction, out float t, out uint material) {
    t = 0.02;
    material = MaterialFloor;
    for(int i = 0; i < 128; i++) {
        Hit hit = scene(origin + direction * t);
        if(hit.distance < 0.0005 * t) {
            material = hit.material;
            return true;
        }
        t += hit.distance;
        if(t > 30.0) break;
    }
    return false;
}

float shadow(vec3 origin, vec3 direction) {
    float light = 1.0;
    float t = 0.03;
    for(int i = 0; i < 40; i++) {
        float d = scene(origin + direction * t).distance;
        light = min(light, 12.0 * d / t);
        t += clamp(d, 0.02, 0.4);
        if(light < 0.005 || t > 8.0) break;
    }
    return clamp(light, 0.0, 1.0);
}

float occlusion(vec3 p, vec3 n) {
    float dark = 0.0;
    float scale = 1.0;
    for(int i = 1; i <= 5; i++) {
        float h = 0.06 * float(i);
        dark += (h - scene(p + n * h).distance) * scale;
        scale *= 0.75;
    }
    return clamp(1.0 - 1.6 * dark, 0.0, 1.0);
}

vec3 sky(vec3 direction) { return mix(vec3(0.80, 0.86, 0.92), vec3(0.25, 0.42, 0.68), clamp(direction.y * 1.4, 0.0, 1.0)); }

vec3 albedo(uint material, vec3 p) {
    if(material == MaterialMetal) return vec3(0.72, 0.42, 0.12);
    if(material == MaterialClay) return vec3(0.55, 0.11, 0.07);
    ivec2 tile = ivec2(floor(p.xz * 1.25));
    return ((tile.x + tile.y) & 1) == 0 ? vec3(0.12, 0.13, 0.15) : vec3(0.38);
}

vec3 shade(vec3 origin, vec3 direction) {
    vec3 color = vec3(0.0);
    vec3 weight = vec3(1.0);
    for(int bounce = 0; bounce < 3; bounce++) {
        float t;
        uint material;
        if(!trace(origin, direction, t, material)) {
            color += weight * sky(direction);
            break;
        }
        vec3 p = origin + direction * t;
        vec3 n = normal(p);
        vec3 base = albedo(material, p);
        float diffuse = max(dot(n, light_direction), 0.0);
        if(diffuse > 0.0) diffuse *= shadow(p, light_direction);
        vec3 light = vec3(1.0, 0.93, 0.8) * diffuse * 1.5 + sky(n) * occlusion(p, n) * 0.55;
        float fog = 1.0 - exp(-t * t * 0.004);
        float mirror = (material == MaterialMetal) ? 0.55 : (material == MaterialFloor) ? 0.08 : 0.0;
        color += weight * mix(base * light, sky(direction), fog) * (1.0 - mirror);
        if(mirror == 0.0) break;
        weight *= mix(vec3(1.0), base, 0.7) * mirror * (1.0 - fog);
        direction = reflect(direction, n);
        origin = p + n * 0.002;
    }
    return color;
}

void main() {
    uvec2 id = gl_GlobalInvocationID.xy;
    if(id.x >= width || id.y >= height) return;
    vec3 eye = vec3(3.2, 2.1, -4.6);
    vec3 forward = normalize(vec3(0.0, -0.35, 0.0) - eye);
    vec3 right = normalize(cross(vec3(0.0, 1.0, 0.0), forward));
    mat3 camera = mat3(right, cross(forward, right), forward);
    vec3 color = vec3(0.0);
    for(uint s = 0u; s < 4u; s++) {
        vec2 offset = vec2(float(s & 1u), float(s >> 1)) * 0.5 + 0.25;
        vec2 p = (vec2(id) + offset) / float(height) * 2.0 - vec2(float(width) / float(height), 1.0);
        color += shade(eye, camera * normalize(vec3(p.x, -p.y, 2.2)));
    }
    color *= 0.25;
    // Highlights roll off instead of clipping.
    color = color * (color * 0.25 + 0.8) / (color * (color * 0.25 + 0.55) + 0.5);
    pixels[id.y * width + id.x] = packUnorm4x8(vec4(pow(clamp(color, vec3(0.0), vec3(1.0)), vec3(1.0 / 1.8)), 1.0));
}
