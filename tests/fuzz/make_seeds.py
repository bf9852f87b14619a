#!/usr/bin/env python3
"""Makes the seeds that stand in corpus/: small captures for the reader, streams of every record for the replay.

Usage: make_seeds.py FOLDER
"""
import pathlib
import re
import struct
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "cli"))
import make_captures as made  # noqa: E402

MODES = range(10)
ANY_WORDS = [0x0DE1, 0, 0x1908, 4, 4, 0, 0x1908, 0x1401, 0, 0, 0, 64, 0, 0, 0]


def replay_input(first: bytes, second: bytes, target=2, tasks=1, changes=()) -> bytes:
    body = b"".join(struct.pack("<HI", place, word) for place, word in changes)
    return bytes([target, tasks, len(changes)]) + body + struct.pack("<H", len(first)) + first + second


def triangles(mode: int, count: int) -> bytes:
    body = made.begin(mode)
    for i in range(count):
        body += made.record(37, "ff", i * 0.5, i * 0.25) + made.color(0x80FF0000 + i * 0x1234)
        body += made.record(43, "fff", (i * 7 % 5) / 2.5 - 1, (i * 3 % 5) / 2.5 - 1, i / count)
    return body + made.END


def every_record() -> bytes:
    table = (HERE.parents[1] / "src/api/table/commands.def").read_text(encoding="utf-8")
    out = b""
    for number, size in re.findall(r"^TLR2_COMMAND\((\d+), \w+, (\d+),", table, re.MULTILINE):
        words = ANY_WORDS[:(int(size) - 4) // 4]
        words += [1] * ((int(size) - 4) // 4 - len(words))
        if int(number) == 32:
            words = [0, 0, 0, 0, 0]
        if int(number) == 11:
            words = [0, 0, 64, 40]
        if int(number) != 45:
            out += made.record(int(number), f"{len(words)}I", *words)
    return out + made.SWAP


def main() -> int:
    folder = pathlib.Path(sys.argv[1])
    reader, replay = folder / "reader", folder / "replay"
    for place in (reader, replay):
        place.mkdir(parents=True, exist_ok=True)
    small = made.small()
    for name, data in {"small": small, "open": made.small(count=made.OPEN), "cut": small[:-40],
                       "empty": made.capture([], count=0), "spoiled": made.small(spoil=True), "header": small[:96],
                       "overlapping": made.capture(made.small_frames(), blobs=[bytes(4)] * 8, overlap=True),
                       "two_textures": made.small(frames=made.small_frames()[:1])}.items():
        (reader / name).write_bytes(data)
    frames = [stream for stream, _, _ in made.small_frames()]
    inputs = {"frames": replay_input(frames[0], frames[1]), "no_clear": replay_input(frames[2], frames[1], tasks=3),
              "every_record": replay_input(every_record(), every_record(), target=0),
              "matrices": replay_input(made.record(4) * 40 + made.record(5) * 40 + frames[0], made.record(5) + frames[2]),
              "snapshot": replay_input(frames[0], frames[1], changes=[(4, 0x3F000000), (1593, 0x7FC00000)])}
    for mode in MODES:
        state = made.clear() + made.bind(1 + mode % 2) + made.enable(0x0DE1) + made.enable(0x0B71)
        inputs[f"mode{mode}"] = replay_input(state + triangles(mode, 12) + made.SWAP, triangles(mode, 5) + made.SWAP,
                                             target=mode, tasks=mode)
    for name, data in inputs.items():
        (replay / name).write_bytes(data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
