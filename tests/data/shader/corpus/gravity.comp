#version 450
layout (local_size_x = 128) in;

// Stars that pull each other, a tile of them at a time.
struct Star
{
	vec3 place;
	float mass;
	vec3 speed;
	float age;
};
layout(std430, binding = 0) buffer Galaxy
{
	Star stars[ ];
} galaxy;
layout (constant_id = 3) const int TILE = 128;
layout (push_constant) uniform Step { float dt; float epsilon; int total; } step_;
shared vec4 tile[TILE];

void main()
{
	int self = int(gl_GlobalInvocationID.x);
	bool alive = self < step_.total;
	vec3 here = alive ? galaxy.stars[self].place : vec3(0.0);
	vec3 pull = vec3(0.0);
	for (int first = 0; first < step_.total; first += TILE)
	{
		int other = first + int(gl_LocalInvocationID.x);
		tile[gl_LocalInvocationID.x] = (other < step_.total)
			? vec4(galaxy.stars[min(other, step_.total - 1)].place, galaxy.stars[min(other, step_.total - 1)].mass)
			: vec4(0.0);
		memoryBarrierShared();
		barrier();
		for (int k = 0; k < gl_WorkGroupSize.x; k++)
		{
			vec3 way = tile[k].xyz - here;
			float r2 = dot(way, way) + step_.epsilon;
			pull += way * tile[k].w * inversesqrt(r2 * r2 * r2);
		}
		memoryBarrierShared();
		barrier();
	}
	if (!alive)
		return;
	galaxy.stars[self].speed += pull * step_.dt;
	galaxy.stars[self].place = here + galaxy.stars[self].speed * step_.dt;
	galaxy.stars[self].age -= 0.25 * step_.dt;
	if (galaxy.stars[self].age < 0.0)
		galaxy.stars[self].age += 1.0;
}
