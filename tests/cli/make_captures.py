#!/usr/bin/env python3
"""Makes the capture files that the command-line tests look into, byte by byte.

Usage: make_captures.py FOLDER
"""
import pathlib
import struct
import sys
import zlib

LAYOUT_HASH = 0x3925DC0F
OPEN = 0xFFFFFFFF
NO_BLOB = 0xFFFFFFFF
WIDTH, HEIGHT = 64, 48
TEXTURE_2D = 0x0DE1


def record(number: int, form: str = "", *values) -> bytes:
    body = struct.pack("<" + form, *values)
    return struct.pack("<I", (4 + len(body)) << 16 | number) + body


def viewport(width, height): return record(11, "iiii", 0, 0, width, height)
def enable(cap): return record(14, "I", cap)
def disable(cap): return record(15, "I", cap)
def bind(name): return record(33, "II", TEXTURE_2D, name)
def color(word): return record(36, "I", word)
def clear(): return record(40, "I", 0x4100)
def begin(mode): return record(41, "I", mode)
def vertex(x, y): return record(42, "ff", x, y)
def tex_image(width, height, offset, size):
    return record(34, "IiiiiiIIIQQII", TEXTURE_2D, 0, 0x1908, width, height, 0, 0x1908, 0x1401, 0, offset, size, 0, 0)


END, SWAP, IDENTITY = record(44), record(45), record(1)


def quad(x0, y0, x1, y1, textured=False):
    corners = [(x0, y0), (x1, y0), (x1, y1), (x0, y1)]
    body = b""
    for i, (x, y) in enumerate(corners):
        if textured:
            body += record(37, "ff", float(i in (1, 2)), float(i >= 2))
        body += vertex(x, y)
    return begin(7) + body + END


def snapshot() -> bytearray:
    """The state as a driver has it that has just started."""
    image = bytearray(6376)

    def put(offset, form, *values):
        struct.pack_into("<" + form, image, offset, *values)
    put(6224, "B", 1)
    put(6268, "I", 0xFF000000)
    put(6276, "I", 0xFF000000)
    put(6284, "ff", 1.0, 1.0)
    put(6292, "I", 0xFFFFFFFF)
    put(6316, "II", 1, 0)
    put(6328, "I", 0x0207)
    put(6337, "B", 1)
    put(6340, "Iff", 0x0201, 0.0, 1.0)
    put(6352, "I", 0x2100)
    put(6364, "II", 0x0405, 0x0901)
    return image


def texture(slot, width, height, flags, levels, blob) -> bytes:
    """`levels`: (width, height) pairs."""
    def padded(values): return list(values) + [0] * (16 - len(levels))
    offsets, at = [], 0
    for w, h in levels:
        offsets.append(at)
        at += w * h * 4
    words = [slot, width, height, 0x2901, 0x812F, 0x2601, 0x2703, flags, len(levels)]
    words += padded(w for w, _ in levels) + padded(h for _, h in levels) + padded(w * 4 for w, _ in levels)
    words += padded(4 for _ in levels) + padded(offsets) + [blob, 0]
    return struct.pack("<91I", *words)


def capture(frames, *, count=None, textures=(), blobs=(), state=None, magic=b"TLS2CAPT", version=4, size=(WIDTH, HEIGHT),
            overlap=False, spoil=False) -> bytes:
    """`frames`: (stream, blob, reference). `overlap`: every blob is all that follows; `spoil`: a payload bit flips."""
    tables = 96 + 6376
    blob_table = tables + 364 * len(textures)
    payloads = blob_table + 24 * len(blobs)
    frame_records = payloads + sum(len(blob) for blob in blobs)
    header = magic + struct.pack("<6I2Q2I3Q16x", version, LAYOUT_HASH, len(frames) if count is None else count, 0, *size,
                                 96, tables, len(textures), len(blobs), blob_table, payloads, frame_records)
    out = header + bytes(state if state is not None else snapshot()) + b"".join(textures)
    rest = b"".join(blobs)
    at = payloads
    for i, blob in enumerate(blobs):
        held = rest[at - payloads:] if overlap else blob
        out += struct.pack("<IIQQ", 1, zlib.crc32(held), len(held), at)
        at += 4 if overlap else len(blob)
    out += bytes([rest[0] ^ 1]) + rest[1:] if spoil else rest
    for stream, blob, reference in frames:
        out += struct.pack("<QQQ", len(stream), len(blob), len(reference)) + stream + blob + reference
    return out


def small_frames():
    texels = bytes(range(16))
    start = (viewport(WIDTH, HEIGHT) + record(38, "ffff", 0.25, 0.5, 0.75, 1.0) + clear() +
             record(0, "I", 0x1701) + IDENTITY + record(0, "I", 0x1700) + IDENTITY)
    first = (start + record(31, "ii", 1, 0) + bind(2) + tex_image(2, 2, 0, 16) +
             record(23, "IIi", TEXTURE_2D, 0x2800, 0x2600) + enable(TEXTURE_2D) + color(0xFF8040FF) +
             quad(-0.5, -0.5, 0.5, 0.5, textured=True) + SWAP)
    second = (clear() + disable(TEXTURE_2D) + enable(0x0BE2) + record(16, "II", 0x0302, 0x0303) + color(0x80FFFFFF) +
              record(4) + record(6, "fff", 0.25, 0.0, 0.0) + quad(-0.25, -0.25, 0.25, 0.25) + record(5) + SWAP)
    third = clear() + begin(1) + vertex(0, 0) + vertex(1, 1) + END + bind(1) + enable(TEXTURE_2D) + \
        quad(-1, -1, 0, 0, textured=True) + record(46, "iiiiII", 0, 0, 1, 1, 0x1908, 0x1401) + SWAP
    return [(first, texels, b""), (second, b"", b""), (third, b"", b"")]


def small(**changes) -> bytes:
    one = struct.pack("<I", 0xFF336699)
    four = b"".join(struct.pack("<I", 0xFF000000 | i * 0x101010) for i in range(4, 9))
    textures = [texture(0, 0, 0, 1, [], NO_BLOB), texture(1, 1, 1, 0x101, [(1, 1)], 0),
                texture(2, 0, 0, 0, [], NO_BLOB), texture(3, 2, 2, 0x101, [(2, 2), (1, 1)], 1),
                texture(4, 1, 1, 0x101, [(1, 1)], 0)]
    given = {"textures": textures, "blobs": [one, four], **changes}
    frames = given.pop("frames", small_frames())
    return capture(frames, **given)


def unjudged_frames():
    """No clear: of the first no pixel is known, of the others the square in the middle; the last one's is another."""
    square = quad(-0.5, -0.5, 0.5, 0.5)
    start = viewport(WIDTH, HEIGHT) + record(0, "I", 0x1701) + IDENTITY + record(0, "I", 0x1700) + IDENTITY
    first = start + enable(0x0BE2) + record(16, "II", 0x0302, 0x0303) + color(0x80FFFFFF) + square + SWAP
    opaque = disable(0x0BE2) + color(0xFF8040FF) + square + SWAP
    picture = b"".join(struct.pack("<I", 0xFF8040FF if 16 <= x < 48 and 12 <= y < 36 else 0)
                       for y in range(HEIGHT) for x in range(WIDTH))
    return [(first, b"", bytes(len(picture))), (opaque, b"", picture), (opaque, b"", bytes(len(picture)))]


def open_primitive_frames():
    """Each frame ends inside a primitive, and begins inside that of the one before: only its own vertices are drawn."""
    def corners(x0, y0, x1, y1): return vertex(x0, y0) + vertex(x1, y0) + vertex(x1, y1) + vertex(x0, y1)
    left, right = corners(-1, -1, -0.5, 1), quad(0.5, -1, 1, 1)
    start = viewport(WIDTH, HEIGHT) + clear() + record(0, "I", 0x1701) + IDENTITY + record(0, "I", 0x1700) + IDENTITY
    first = start + color(0xFF4080C0) + left + END + color(0xFFC08040) + right + begin(7) + corners(-1, -1, 1, 1) + SWAP
    second = clear() + left + color(0xFF4080C0) + END + color(0xFFC08040) + right + begin(4) + vertex(0, 0) + SWAP
    third = clear() + vertex(-1, -1) + vertex(0, -1) + vertex(0, 1) + END + right + SWAP
    return [(first, b"", b""), (second, b"", b""), (third, b"", b"")]


def with_state(offset, form, value) -> bytearray:
    state = snapshot()
    struct.pack_into("<" + form, state, offset, value)
    return state


def with_records_at(image, offset) -> bytes:
    """The capture with another place of its frame records in the header."""
    return image[:72] + struct.pack("<Q", offset) + image[80:]


def with_field(image, offset, form, value) -> bytes:
    image = bytearray(image)
    struct.pack_into("<" + form, image, offset, value)
    return bytes(image)


def write_bulky(path) -> None:
    """Six whole frames of 12 MiB, nearly all of it zeros that the file system need not store, and one cut short."""
    image = capture([(clear() + SWAP, b"", bytes(4))], count=OPEN)
    tables = len(capture([]))
    stream = image[tables + 24:-4]
    with open(path, "wb") as file:
        file.write(image[:tables])
        for _ in range(7):
            file.write(struct.pack("<QQQ", len(stream), 0, 12 << 20) + stream)
            file.seek(12 << 20, 1)
        file.truncate(file.tell() - 4)


def main() -> int:
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    whole = small()
    files = {
        "small": whole,
        "open": small(count=OPEN),
        "open_cut": small(count=OPEN)[:-40],
        "cut": whole[:-40],
        "zeros_behind": small(count=OPEN) + bytes(480),
        "empty": capture([], count=0),
        "no_frames": capture([], count=OPEN),
        "headless": whole[:95],
        "not_a_capture": b"This is no capture, but it has a good many more bytes than a capture's header has. " * 4,
        "version3": small(version=3),
        "spoiled": small(spoil=True),
        "wrong_reference": small(frames=[(s, b, bytes(WIDTH * HEIGHT * 4)) for s, b, _ in small_frames()]),
        "half_reference": small(frames=[(clear() + SWAP, b"", struct.pack("<I", 0xFF000000) * (WIDTH * HEIGHT)),
                                        (clear() + SWAP, b"", b"")]),
        "other_size": small(frames=[(clear() + SWAP, b"", bytes(4))]),
        "larger": small(frames=[(viewport(WIDTH * 2, HEIGHT) + s, b, r) for s, b, r in small_frames()[:1]] +
                        small_frames()[1:], size=(WIDTH * 2, HEIGHT)),
        "unjudged": small(frames=unjudged_frames()),
        "open_primitive": small(frames=open_primitive_frames(), state=with_state(6372, "I", 7)),
        "overlapping": capture(small_frames(), blobs=[bytes(4)] * 64 + [bytes(40000)], overlap=True),
        "records_behind": with_records_at(whole, 1 << 40),
        "records_behind_open": with_records_at(small(count=OPEN), len(whole) + 1),
        "records_at_start": with_records_at(small(count=0), 40),
        "no_frames_matrix_depth": small(frames=[], count=1, state=with_state(8, "i", 32)),
        "large_surface": capture([(clear() + SWAP, b"", b"")], size=(4097, 4096)),
        "matrix_depth": small(state=with_state(8, "i", 32)),
        "wide_viewport": small(frames=[(viewport(100000, 10) + SWAP, b"", b"")]),
        "unknown_record": small(frames=[(clear() + record(77) + SWAP, b"", b"")]),
        "payload_outside": small(frames=[(tex_image(2, 2, 8, 16) + SWAP, bytes(16), b"")]),
        # Counts and sizes that the reader takes and the file does not have.
        "most_textures": with_field(whole, 48, "I", 0x100000),
        "most_blobs": with_field(whole, 52, "I", 0x100000),
        "largest_blob": with_field(whole, 96 + 6376 + 5 * 364 + 8, "Q", 0x20000000),
        "longest_stream": with_field(whole, struct.unpack_from("<Q", whole, 72)[0], "Q", 0x4000000),
        "implausible_count": with_field(whole, 48, "I", 0x100001),
        "another_layout": with_field(whole, 12, "I", LAYOUT_HASH ^ 0x100),
        # Each record fills a quarter of a gigabyte of texels again.
        "endless": small(frames=[(bind(5) + tex_image(8192, 4096, 0, 0) * 3000 + SWAP, b"", b"")] * 3),
    }
    for name, data in files.items():
        (folder / (name + ".tlr2-capture")).write_bytes(data)
    write_bulky(folder / "bulky.tlr2-capture")
    return 0


if __name__ == "__main__":
    sys.exit(main())
