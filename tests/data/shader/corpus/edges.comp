#version 450
layout (local_size_x = 16, local_size_y = 16) in;
layout (set = 0, binding = 0, rgba8) uniform restrict readonly image2D source;
layout (set = 0, binding = 1, r16f) uniform restrict writeonly image2D strength;

struct Window
{
	float[9] grey;
	int count;
} window;

// Sum of a window under a mask of the same size.
float under(in float[9] mask, const in float[9] values)
{
	float sum = 0.0;
	for (int i = 0; i < mask.length(); ++i) sum += mask[i] * values[i];
	return sum;
}

void main()
{
	const float[9] across = float[](-1.0, 0.0, 1.0, -2.0, 0.0, 2.0, -1.0, 0.0, 1.0);
	const float[] down = { -1.0, -2.0, -1.0, 0.0, 0.0, 0.0, 1.0, 2.0, 1.0 };
	const ivec2 size = imageSize(source);
	const ivec2 here = ivec2(gl_GlobalInvocationID.xy);
	window.count = 0;
	for (int y = -1; y <= 1; ++y)
		for (int x = -1; x <= 1; ++x)
		{
			const ivec2 at = clamp(here + ivec2(x, y), ivec2(0), size - 1);
			window.grey[window.count++] = dot(imageLoad(source, at).rgb, vec3(1.0 / 3.0));
		}
	vec2 gradient = vec2(under(across, window.grey), under(down, window.grey));
	if (here.x < size.x && here.y < size.y)
		imageStore(strength, here, vec4(length(gradient)));
}
