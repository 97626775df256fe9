#version 450
layout(constant_id = 0) const bool VERTICAL = false;
layout(constant_id = 1) const int RADIUS = 6;
layout(constant_id = 2) const float SIGMA = 3.0;
layout(binding = 0) uniform sampler2D image;
layout(location = 0) in vec2 at;
layout(location = 0) out vec4 blurred;

const vec2 along = VERTICAL ? vec2(0.0, 1.0) : vec2(1.0, 0.0);

void main()
{
    vec2 texel = along / textureSize(image, 0);
    float weights = 1.0;
    blurred = texture(image, at);
    for(int i = 1; i <= RADIUS; ++i)
    {
        float w = exp(-0.5 * float(i * i) / (SIGMA * SIGMA));
        blurred += w * (texture(image, at + texel * i) + texture(image, at - texel * i));
        weights += 2.0 * w;
    }
    blurred /= weights;
}
