#!/usr/bin/env python3
"""Holds the source tree to its rooms: includes run downward only, system code stays in its folders, files stay short.

Usage: lint_rooms.py [ROOT]. Prints one line a finding; exit 1 when there is any.
"""
import pathlib
import re
import sys

# Lowest first. A room may include itself and every room before it.
ROOMS = [
    "base", "platform", "records", "settings", "api/table", "tiles/grid", "api/state", "textures", "kernels",
    "tiles/queue", "tiles", "frame", "capture", "present", "wgl", "api/entries", "panel", "start", "library",
]
# Accounting is the counters' half of the entry table.
ALIASES = {"api": "api/table"}
SYSTEM_ROOMS = ("platform/", "present/dxgi/", "panel/win32/")
INTRINSIC_ROOMS = ("kernels/lanes/", "platform/", "present/dxgi/")
SYSTEM_WORD = re.compile(r"\b_WIN32\b|\b_WIN64\b|\b__MINGW32__\b|\b__linux__\b|<windows\.h>|<unistd\.h>|<pthread\.h>")
INTRINSICS = re.compile(r"<[a-z0-9]*intrin\.h>")
LONG_REASON = re.compile(r"over 600 lines", re.IGNORECASE)
# One line each: what every room may ask of the compiler's target.
SYSTEM_WORD_ALLOWED = {"base/gl.h": "calling convention", "capture/trace.h": "format attribute"}


def room_of(path: str) -> str:
    parts = path.split("/")
    for depth in (2, 1):
        name = "/".join(parts[:depth])
        if len(parts) > depth and name in ROOMS:
            return name
    return ALIASES.get(parts[0], parts[0])


def main() -> int:
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2])
    source = root / "src"
    rank = {room: i for i, room in enumerate(ROOMS)}
    findings = []
    for path in sorted(source.rglob("*")):
        if path.suffix not in (".h", ".cpp", ".def", ".inc"):
            continue
        name = path.relative_to(source).as_posix()
        text = path.read_text(encoding="utf-8")
        room = room_of(name)
        if room not in rank:
            findings.append(f"{name}: no room '{room}'")
            continue
        for number, line in enumerate(text.splitlines(), 1):
            match = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
            if match and "/" in match.group(1):
                target = room_of(match.group(1))
                if target in rank and rank[target] > rank[room]:
                    findings.append(f"{name}:{number}: {room} includes {target}, which lies above it")
            if SYSTEM_WORD.search(line) and not name.startswith(SYSTEM_ROOMS) and name not in SYSTEM_WORD_ALLOWED:
                findings.append(f"{name}:{number}: system word outside {', '.join(SYSTEM_ROOMS)}")
            if INTRINSICS.search(line) and not name.startswith(INTRINSIC_ROOMS):
                findings.append(f"{name}:{number}: intrinsics outside {', '.join(INTRINSIC_ROOMS)}")
        if not text.lstrip().startswith(("//", "/*")):
            findings.append(f"{name}: does not begin with the sentence that says what it is")
    for folder in ("src", "tools", "tests", "bench", "examples"):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp", ".def", ".inc"):
                continue
            lines = path.read_text(encoding="utf-8").splitlines()
            if len(lines) > 600 and not LONG_REASON.search("\n".join(lines[:12])):
                name = path.relative_to(root).as_posix()
                findings.append(f"{name}: {len(lines)} lines, over 600 lines without a reason in its first comment")
    for finding in findings:
        print(finding)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
