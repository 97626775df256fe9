#!/usr/bin/env python3
"""examples.py FOLDER [--update]: runs the examples of that folder under the validation layer and judges their pictures,
by values computed here where that is possible, and else by small ones in tests/data/examples. --update writes these.

An example whose device lacks what it shows tells so with one line; that is the only way to be passed over. With
OSTREVAN_GPU in the environment the device is the loader's choice, otherwise the software driver.
"""

import math
import os
import pathlib
import platform
import subprocess
import sys
import tempfile

from pictures import read_png, write_png

FOLDER = pathlib.Path(sys.argv[1]).resolve()
DATA = pathlib.Path(__file__).resolve().parent.parent / "data" / "examples"
UPDATE = "--update" in sys.argv
SIZE = 512
faults = []


def unorm(color):
    return tuple(int(min(max(c, 0.0), 1.0) * 255.0 + 0.5) for c in color)


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def normalize(v):
    length = math.sqrt(dot(v, v))
    return [x / length for x in v]


def add(a, b, s=1.0):
    return [x + y * s for x, y in zip(a, b)]


def mix(a, b, s):
    return [x + (y - x) * s for x, y in zip(a, b)]


def compare(name, pixels, expected, xs, ys, tolerance=2, share=0.995, width=SIZE):
    """expected(x, y) is None where an edge is too close to tell."""
    num, bad = 0, []
    for y in ys:
        for x in xs:
            color = expected(x, y)
            if color is None:
                continue
            num += 1
            offset = (y * width + x) * 4
            if any(abs(a - b) > tolerance for a, b in zip(unorm(color), pixels[offset:offset + 3])):
                bad.append((x, y, unorm(color), tuple(pixels[offset:offset + 3])))
    if num < 1000 or len(bad) > num * (1.0 - share):
        faults.append(name)
        print(f"FAILED: {name}: {len(bad)} of {num} pixels differ, such as {bad[:3]}")


def ray_tracing(pixels):
    spheres = [(((i % 3) - 1.0) * 1.4, 0.3 + 0.1 * (i // 3), 1.0 - (i // 3) * 1.5) for i in range(9)]
    origin = [0.0, 1.5, 4.0]

    def expected(x, y):
        p = [(x + 0.5) / SIZE * 2 - 1, (y + 0.5) / SIZE * 2 - 1]
        direction = normalize([p[0], -p[1] - 0.3, -1.5])
        distance, color = 1e30, None
        if direction[1] < -1e-6:
            t = -origin[1] / direction[1]
            point = add(origin, direction, t)
            if abs(point[0]) < 10 and abs(point[2]) < 10:
                squares = [math.floor(point[0]), math.floor(point[2])]
                distance, color = t, [0.25 if sum(squares) & 1 else 0.75] * 3
        for center in spheres:
            radius = center[1]
            offset = add(origin, center, -1.0)
            b, c = dot(offset, direction), dot(offset, offset) - radius * radius
            if b * b - c >= 0 and -b - math.sqrt(b * b - c) < distance:
                distance = -b - math.sqrt(b * b - c)
                color = [n / radius * 0.5 + 0.5 for n in add(add(origin, direction, distance), center, -1.0)]
        if color is None:
            s = min(max(direction[1] + 0.5, 0.0), 1.0)
            color = [0.9 + (c - 0.9) * s for c in (0.3, 0.5, 0.9)]
        return color

    compare("ray_tracing", pixels, expected, range(0, SIZE, 7), range(0, SIZE, 5))


def get_cubes():
    """Width, height, angle, position and colour of each."""
    cubes = [(4.0, 0.1, 0.0, (0.0, -0.1, 0.0), 0xC0C0C0)]
    for i in range(1, 13):
        angle, height = i * 6.2831853 / 12.0, 0.2 + 0.04 * i
        color = (40 + i * 17) | (255 - i * 15) << 8 | (i * 67 & 0xFF) << 16
        cubes.append((0.3, height, angle * 1.7, (math.cos(angle) * 1.9, height, math.sin(angle) * 1.9), color))
    return cubes


def ray_query(pixels):
    cubes = get_cubes()
    light = normalize([0.5, 1.0, 0.3])

    def trace(origin, direction):
        """Distance, normal and colour of the closest cube."""
        closest = (1e30, None, 0)
        for width, height, angle, position, color in cubes:
            c, s = math.cos(angle), math.sin(angle)
            turn = lambda v: [c * v[0] - s * v[2], v[1], s * v[0] + c * v[2]]
            o, d = turn(add(origin, position, -1.0)), turn(direction)
            near, far, axis = -1e30, 1e30, 0
            for i, half in enumerate((width, height, width)):
                if abs(d[i]) < 1e-12:
                    near = 1e30 if abs(o[i]) > half else near
                    continue
                a, b = sorted(((-half - o[i]) / d[i], (half - o[i]) / d[i]))
                if a > near:
                    near, axis = a, i
                far = min(far, b)
            if 0.001 < near < far and near < closest[0]:
                normal = [0.0, 0.0, 0.0]
                normal[axis] = -1.0 if d[axis] > 0 else 1.0
                normal = [c * normal[0] + s * normal[2], normal[1], -s * normal[0] + c * normal[2]]
                closest = (near, normal, color)
        return closest

    def expected(x, y):
        p = [(x + 0.5) / SIZE * 2 - 1, (y + 0.5) / SIZE * 2 - 1]
        origin, direction = [0.0, 3.0, 4.5], normalize([p[0], -p[1] - 0.9, -1.5])
        distance, normal, color = trace(origin, direction)
        if normal is None:
            return [0.1, 0.12, 0.15]
        point = add(add(origin, direction, distance), normal, 0.001)
        diffuse = max(dot(normal, light), 0.0)
        if trace(point, light)[1] is not None:
            diffuse = 0.0
        return [(color >> shift & 0xFF) / 255.0 * (0.2 + 0.8 * diffuse) for shift in (0, 8, 16)]

    compare("ray_query", pixels, expected, range(0, SIZE, 9), range(0, SIZE, 7), share=0.99)


def ray_query_fragment(pixels):
    triangles = []
    for i in range(5):
        corners = []
        for turn, radius in ((i * 2.0, 0.9), (i * 2.0 - 0.6, 0.3), (i * 2.0 + 0.6, 0.3)):
            angle = turn * 3.1415927 / 5.0
            corners.append((math.sin(angle) * radius, math.cos(angle) * radius))
        triangles.append(corners)

    def is_inside(x, y):
        for a, b, c in triangles:
            edge = lambda p, q: (q[0] - p[0]) * (y - p[1]) - (q[1] - p[1]) * (x - p[0])
            signs = [edge(a, b), edge(b, c), edge(c, a)]
            if min(signs) >= 0 or max(signs) <= 0:
                return True
        return False

    def expected(x, y):
        p = [(x + 0.5) / SIZE * 2 - 1, 1 - (y + 0.5) / SIZE * 2]
        light = 1.0
        for i in range(9):
            # The ray meets the plane of the star at 0.3 of its way.
            at = [p[0] + ((i % 3 - 1) * 0.15 - p[0] * 0.2) * 0.3, p[1] + ((i // 3 - 1) * 0.15 - p[1] * 0.2) * 0.3]
            light -= is_inside(*at) / 9.0
        return [light, 0.95 * light, 0.8 * light]

    compare("ray_query_fragment", pixels, expected, range(0, SIZE, 5), range(0, SIZE, 5), share=0.98)


def conditional(pixels):
    def expected(x, y):
        tile = [abs(v // 32 + 0.5 - 8) for v in (x, y)]
        near = math.hypot(*(max(t - 0.5, 0.0) for t in tile))
        if not near < 6.0 < math.hypot(*(t + 0.5 for t in tile)):
            return [32 / 255.0] * 3
        s = min(abs(math.hypot(x + 0.5 - 256, y + 0.5 - 256) / 32 - 6.0) * 2.0, 1.0)
        return [a + (b - a) * s for a, b in ((1.0, 0.2), (0.8, 0.3), (0.2, 0.6))]

    compare("conditional", pixels, expected, range(0, SIZE, 3), range(0, SIZE, 3), share=1.0)


def scan_and_sort(pixels):
    num, seed, keys = SIZE * 128, 1, []
    for _ in range(num):
        seed = (seed * 1664525 + 1013904223) & 0xFFFFFFFF
        keys.append(((seed >> 24) + (seed >> 16 & 0xFF)) // 2)
    bands = bytearray()
    for key in keys:
        bands += bytes((key, key, key, 255))
    for index in sorted(range(num), key=lambda i: keys[i]):
        key = keys[index]
        bands += bytes((key, key, key // 2 + index * 127 // num, 255))
    total, count = sum(key > 127 for key in keys[:-1]), 0
    for key in keys:
        level = count * 255 // total
        bands += bytes((255 - level, level, 64, 255))
        count += key > 127
    if bytes(bands) != pixels:
        faults.append("scan_and_sort")
        print("FAILED: scan_and_sort: the picture differs")


def triangle(pixels):
    corners = [(256.0, 64.0), (64.0, 416.0), (448.0, 416.0)]
    colors = [(1.0, 0.3, 0.2), (0.2, 0.9, 0.4), (0.25, 0.4, 1.0)]

    def expected(x, y):
        weights = []
        for i in range(3):
            (ax, ay), (bx, by), (cx, cy) = (corners[(i + j) % 3] for j in (1, 2, 0))
            area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax)
            edge = (bx - ax) * (y + 0.5 - ay) - (by - ay) * (x + 0.5 - ax)
            if abs(edge) < 2.0:
                return None
            weights.append(edge / area)
        if min(weights) < 0.0:
            return [0.08, 0.09, 0.12]
        return [sum(w * c[i] for w, c in zip(weights, colors)) for i in range(3)]

    compare("triangle", pixels, expected, range(SIZE), range(0, SIZE, 3), tolerance=1, share=1.0)


def multisample(pixels):
    def distance(x, y):
        """To the edge of the star at 64 by 64 pixels, positive inside."""
        px, py = x / 32 - 1, 1 - y / 32
        r, axis = math.hypot(px, py), (math.degrees(math.atan2(py, px)) - 7.0 + 15.0) % 30.0 - 15.0
        end = 0.95 * math.cos(math.radians(7.5)) - r * math.cos(math.radians(axis))
        return 32 * min(end, r * math.sin(math.radians(7.5 - abs(axis))))

    def expected(x, y):
        samples = [(0.5, 0.5)] if x < 256 else [(0.375, 0.125), (0.875, 0.375), (0.125, 0.625), (0.625, 0.875)]
        distances = [distance(x % 256 // 4 + sx, y // 4 + sy) for sx, sy in samples]
        if min(abs(d) for d in distances) < 0.01:
            return None
        return mix([0.1, 0.12, 0.2], [1.0, 0.8, 0.4], sum(d > 0 for d in distances) / len(samples))

    compare("multisample", pixels, expected, range(2, SIZE, 4), range(2, 256, 4), share=0.999)


def blending(pixels):
    modes = [lambda s, a, d: s,
             lambda s, a, d: s * a + d * (1 - a),
             lambda s, a, d: s * a + d,
             lambda s, a, d: s * d,
             lambda s, a, d: s + d * (1 - s),
             lambda s, a, d: max(s, d)]
    discs = [((1.0, 0.55, 0.2), (-0.25, 0.15)), ((0.2, 0.5, 1.0), (0.25, -0.15))]

    def expected(x, y):
        color = [0.35 if (x // 16 + y // 16) & 1 else 0.65] * 3
        p = ((x % 256 + 0.5) / 128 - 1, 1 - (y % 256 + 0.5) / 128)
        for disc, center in discs:
            distance = math.dist(p, center) - 0.6
            if abs(distance) < 1e-3:
                return None
            if distance < 0:
                color = [min(modes[x // 256 + y // 256 * 3](s, 0.6, d), 1.0) for s, d in zip(disc, color)]
        return color

    compare("blending", pixels, expected, range(0, 768, 3), range(0, SIZE, 3), share=1.0, width=768)


def instancing(pixels):
    colors, middles = [(0.98, 0.75, 0.3), (0.9, 0.36, 0.32), (0.3, 0.7, 0.78)], {}
    for i in range(1500):
        angle, radius = i * 2.399963, math.sqrt((i + 0.5) / 1500)
        x, y = math.cos(angle) * radius * 0.92, math.sin(angle) * radius * 0.92
        color = mix([1.0] * 3, colors[(i * 7 + i // 34) % 3], 0.3 + 0.7 * radius)
        middles[int((x * 0.5 + 0.5) * SIZE), int((0.5 - y * 0.5) * SIZE)] = color
    compare("instancing", pixels, lambda x, y: middles.get((x, y)), range(SIZE), range(SIZE))


def sparse_texture(pixels):
    size, tile = 8192, 128

    def expected(x, y):
        px, py = (x * 2 + 1) * size // 1024, (y * 2 + 1) * size // 1024
        cx, cy = ((p // tile + 0.5) * 2 * tile / size - 1 for p in (px, py))
        color = [0.11, 0.12, 0.15]
        radius = math.hypot(cx, cy)
        turns = radius * 3 - math.atan2(cy, cx) / (2 * math.pi)
        offset = abs(turns - math.floor(turns + 0.5))
        if abs(offset - 0.2) < 1e-4 or abs(radius - 0.95) < 1e-4:
            return None
        if offset < 0.2 and radius < 0.95:
            shade = 0.55 + 0.225 * (px % tile + py % tile) / tile
            color = [c * shade / 255 for c in (140 + 110 * cx, 170 - 60 * cx * cy, 140 + 110 * cy)]
        return [c * 0.7 for c in color] if px % tile < 16 or py % tile < 16 else color

    compare("sparse_texture", pixels, expected, range(0, SIZE, 3), range(SIZE), share=1.0)


def parallel_recording(pixels):
    picture = {}
    for thread in range(2):
        for i in range(1000):
            t = i / 1000
            middle = (0.85 * math.sin(2 * math.pi * (2 if thread else 3) * t),
                      -0.85 * math.cos(2 * math.pi * (3 if thread else 4) * t + math.radians(25)))
            x, y = ((m * 0.5 + 0.5) * SIZE for m in middle)
            half = (0.008 + 0.012 * t) * SIZE / 2
            color = [0.3, 0.4 + 0.5 * t, 1.0] if thread else [1.0, 0.35 + 0.5 * t, 0.25]
            for py in range(int(y - half) - 1, int(y + half) + 2):
                for px in range(int(x - half) - 1, int(x + half) + 2):
                    distance = half - max(abs(px + 0.5 - x), abs(py + 0.5 - y))
                    if distance > -0.01:
                        picture[px, py] = color if distance > 0.01 else None
    clear = [0.07, 0.08, 0.11]
    compare("parallel_recording", pixels, lambda x, y: picture.get((x, y), clear), range(SIZE), range(SIZE), share=1.0)


def thumbnail(pixels):
    """64 by 64 averages of 8 by 8 pixels."""
    result = bytearray()
    for y in range(0, SIZE, 8):
        for x in range(0, SIZE, 8):
            rows = [pixels[((y + i) * SIZE + x) * 4:((y + i) * SIZE + x + 8) * 4] for i in range(8)]
            result += bytes((sum(sum(row[c::4]) for row in rows) + 32) // 64 for c in range(4))
    return bytes(result)


def reference(name):
    def judge(pixels):
        small, path = thumbnail(pixels), DATA / f"{name}.png"
        if UPDATE:
            DATA.mkdir(exist_ok=True)
            write_png(path, 64, 64, lambda x, y: small[(y * 64 + x) * 4:(y * 64 + x) * 4 + 4])
        differences = [abs(a - b) for a, b in zip(small, read_png(path)[2])]
        if max(differences) > 16 or sum(differences) > len(differences) / 2:
            faults.append(name)
            print(f"FAILED: {name}: differs from {path.name} by {max(differences)} at most, "
                  f"{sum(differences) / len(differences):.2f} in the mean")
    return judge


JUDGES = {judge.__name__: judge for judge in (triangle, multisample, blending, instancing, sparse_texture,
                                              parallel_recording, ray_tracing, ray_query, ray_query_fragment,
                                              conditional, scan_and_sort)}
# What is too much to compute twice.
JUDGES.update({name: reference(name) for name in ("textured_cube", "geometry_tessellation", "mesh_shader", "texture_table")})


def get_environment(folder):
    """Of the software driver, with the layer's messages on the standard output."""
    (folder / "vk_layer_settings.txt").write_text(
        "khronos_validation.debug_action = VK_DBG_LAYER_ACTION_LOG_MSG\n"
        "khronos_validation.report_flags = error,warn\n"
        "khronos_validation.log_filename = stdout\n"
        "khronos_validation.enables = VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT\n")
    # Drivers and layers leave memory behind when they are unloaded.
    env = {**os.environ, "VK_INSTANCE_LAYERS": "VK_LAYER_KHRONOS_validation", "VK_LAYER_SETTINGS_PATH": str(folder),
           "ASAN_OPTIONS": "detect_leaks=0"}
    if "OSTREVAN_GPU" not in os.environ:
        for driver in (f"lvp_icd.{platform.machine()}.json", "lvp_icd.json"):
            path = pathlib.Path("/usr/share/vulkan/icd.d") / driver
            if path.exists():
                env["VK_DRIVER_FILES"] = env["VK_ICD_FILENAMES"] = str(path)
                break
    return env


with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    env, pictures = get_environment(folder), []

    def run(*words):
        result = subprocess.run([FOLDER / words[0], *words[1:]], capture_output=True, text=True, timeout=300, env=env, cwd=folder)
        return result.returncode, result.stdout + result.stderr

    for name, judge in JUDGES.items():
        path = folder / f"{name}.png"
        code, output = run(name, "--output", path)
        if code == 1 and f"{name}: the device has no" in output:
            print(f"passed over: {output.strip()}")
        elif code or output or not path.exists():
            faults.append(name)
            print(f"FAILED: {name}: rc {code} {output[-1000:]}")
        else:
            pictures.append(path)
            judge(read_png(path)[2])

    # The command line, which all share, and the examples that take other words.
    rows = [(("triangle", "--help"), 0, "--output FILE.png"), (("triangle", "--wrong"), 2, "--wrong"), (("triangle", "--output"), 2, "--output"),
            (("triangle", "--output", "no/such/folder.png"), 1, "no/such/folder.png"), (("triangle",), 0, ""),
            (("first_picture", "first.png"), 0, ""), (("compute_filter", "first.png", "filtered.png"), 0, ""),
            (("buffers",), 0, "expected"), (("contact_sheet", "--help"), 0, "OUT.png"), (("contact_sheet", "sheet.png"), 2, "OUT.png"),
            (("contact_sheet", "sheet.png", "none.png"), 1, "none.png"), (("contact_sheet", "sheet.png", *pictures), 0, "")]
    (folder / "triangle.png").unlink(missing_ok=True)
    for words, expected, text in rows:
        code, output = run(*words)
        if code != expected or text not in output or (not text and output):
            faults.append(words)
            print(f"FAILED: {words}: rc {code} {output[-1000:]}")
    if not (folder / "triangle.png").exists() or read_png(folder / "sheet.png")[0] % 264 != 8:
        faults.append("files")
print(f"{len(faults)} faults in examples" if faults else f"{len(pictures)} pictures are as expected")
sys.exit(1 if faults else 0)
