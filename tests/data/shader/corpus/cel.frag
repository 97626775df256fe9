#version 450
layout(location = 0) in vec3 normal;
layout(location = 1) in vec3 toLight;
layout(location = 2) in vec3 toEye;
layout(location = 3) in flat uint palette;
layout(location = 0) out vec4 color;

const float steps[4] = { 0.15, 0.4, 0.75, 0.95 };
const vec3[4] inks = vec3[](vec3(0.1, 0.1, 0.3), vec3(0.7, 0.2, 0.2), vec3(0.2, 0.6, 0.3), vec3(0.9, 0.8, 0.3));

float shade(float x)
{
    if(x > steps[3])
        return 1.4;
    else if(x > steps[2])
        return 1.0;
    else if(x > steps[1])
        return 0.7;
    else if(x > steps[0])
        return 0.45;
    return 0.2;
}

void main()
{
    vec3 n = normalize(normal), e = normalize(toEye);
    float light = dot(n, normalize(toLight));
    vec3 ink = inks[palette & 3u] * shade(light);
    bool edge = (dot(n, e) < 0.3) && !(light > 0.5) || dot(n, e) < 0.1;
    color.rgb = edge ? vec3(0.0) : ink;
    color.a = 1.0;
}
