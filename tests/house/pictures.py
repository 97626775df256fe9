"""A PNG reader and writer of its own, so that pictures are judged by other code than the library's."""

import pathlib
import struct
import zlib


def read_png(path):
    data = pathlib.Path(path).read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG"
    pos, packed = 8, b""
    while pos < len(data):
        size, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + size]
        assert zlib.crc32(kind + body) == struct.unpack(">I", data[pos + 8 + size:pos + 12 + size])[0], "bad CRC"
        if kind == b"IHDR":
            width, height, depth, color, _, _, interlace = struct.unpack(">IIBBBBB", body)
        if kind == b"IDAT":
            packed += body
        pos += 12 + size
    assert depth == 8 and interlace == 0 and color in (2, 6), "not 8 bits of RGB or RGBA"
    step = 4 if color == 6 else 3
    raw, rows, previous = zlib.decompress(packed), [], bytearray(width * step)
    for y in range(height):
        start = y * (width * step + 1)
        kind, row = raw[start], bytearray(raw[start + 1:start + 1 + width * step])
        for i in range(len(row)):
            a = row[i - step] if i >= step else 0
            b, c = previous[i], previous[i - step] if i >= step else 0
            p = a + b - c
            paeth = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
            row[i] = (row[i] + (0, a, b, (a + b) // 2, paeth)[kind]) & 255
        rows.append(row)
        previous = row
    alpha = (lambda row: row) if step == 4 else (lambda row: b"".join(bytes(row[i:i + 3]) + b"\xff" for i in range(0, len(row), 3)))
    return width, height, b"".join(bytes(alpha(row)) for row in rows)


def write_chunks(path, header, raw):
    chunk = lambda kind, body: struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    pathlib.Path(path).write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw)) +
                                   chunk(b"IEND", b""))


def write_png(path, width, height, pixel):
    raw = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))
    write_chunks(path, struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0), raw)
