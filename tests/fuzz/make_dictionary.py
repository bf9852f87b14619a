#!/usr/bin/env python3
"""Writes the fuzzers' dictionary: the head of every record of the command table, and the constants that records hold.

Usage: make_dictionary.py COMMANDS_DEF GL_H OUT
"""
import pathlib
import re
import struct
import sys


def token(value: int) -> str:
    return '"' + "".join(f"\\x{byte:02X}" for byte in struct.pack("<I", value)) + '"'


def main() -> int:
    commands, constants = (pathlib.Path(path).read_text(encoding="utf-8") for path in sys.argv[1:3])
    lines = []
    for number, name, size in re.findall(r"^TLR2_COMMAND\((\d+), (\w+), (\d+),", commands, re.MULTILINE):
        lines.append(f"record_{name}={token(int(size) << 16 | int(number))}")
    for name, value in re.findall(r"\bk(\w+) = (0x[0-9A-Fa-f]+|\d+)", constants):
        lines.append(f"gl_{name}={token(int(value, 0))}")
    for name, value in (("one", 0x3F800000), ("minus_one", 0xBF800000), ("nan", 0x7FC00000), ("infinity", 0x7F800000),
                        ("huge", 0x7F7FFFFF), ("tiny", 1), ("most", 0x7FFFFFFF), ("least", 0x80000000)):
        lines.append(f"value_{name}={token(value)}")
    pathlib.Path(sys.argv[3]).write_text("\n".join(lines) + "\n", encoding="utf-8")
    return 0 if len(lines) > 47 else 1


if __name__ == "__main__":
    sys.exit(main())
