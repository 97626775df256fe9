#assign SCALE 3u

uint getValue(uint index) {
	return index * SCALE + 1u;
}
