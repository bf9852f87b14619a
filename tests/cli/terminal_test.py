#!/usr/bin/env python3
"""Progress shows on a terminal only, beyond a second only, and never in a line of data.

Usage: terminal_test.py TOOL
"""
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile
import time

from make_captures import SWAP, capture, clear

SIDE, FRAMES = 2048, 24
PROGRESS = re.compile(r"\rframe \d+/\d+\033\[K")
LONGEST = 64  # times as many frames, until a run takes long enough

# The words of a command, and what each of its lines looks like.
COMMANDS = [
    ("render --format hash", r"frame \d+: 2048x2048, 0 drawn primitives, 0 triangles, color [0-9a-f]{8}, depth [0-9a-f]{8}"),
    ("verify", r"frame \d+: (identical|no reference pixels)"),
    ("bench --isas sse4 --thread-counts 1 --repeats 1", r"(target|sse4),[a-z0-9_.,]*"),
    ("report --maps 0 --out page.html", r"page\.html: \d+ frames, \d+ calls, \d+ bytes"),
]


def on_terminal(command: list[str], folder: str) -> str:
    """What the program sends to a terminal that is both of its outputs."""
    ours, theirs = pty.openpty()
    program = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=theirs, stderr=theirs)
    os.close(theirs)
    sent = b""
    while True:
        try:
            part = os.read(ours, 1 << 16)
        except OSError:  # the other end is closed
            break
        if not part:
            break
        sent += part
    os.close(ours)
    if program.wait() != 0:
        raise SystemExit(f"{command}: exit code {program.returncode}, {sent!r}")
    return sent.decode().replace("\r\n", "\n")


def screen(sent: str) -> list[str]:
    """The lines as they stand on the terminal at the end."""
    lines, line, column = [], "", 0
    for part in re.findall(r"\033\[K|[\s\S]", sent):
        if part == "\n":
            lines.append(line)
            line, column = "", 0
        elif part == "\r":
            column = 0
        elif part == "\033[K":
            line = line[:column]
        else:
            line = line[:column] + part + line[column + 1:]
            column += 1
    return lines + [line] if line else lines


def make_capture(folder: str, frames: int) -> None:
    empty = clear() + SWAP
    image = capture([(empty, b"", b"\0\0\0\xff" * (SIDE * SIDE))] + [(empty, b"", b"")] * (frames - 1), size=(SIDE, SIDE))
    (pathlib.Path(folder) / "slow.tlr2-capture").write_bytes(image)


def check(tool: pathlib.Path, words: str, form: str, folder: str) -> list[str]:
    findings, times = [], 1
    while times <= LONGEST:
        make_capture(folder, FRAMES * times)
        command = [tool, *words.split(), "slow.tlr2-capture"]
        start = time.monotonic()
        sent = on_terminal(command, folder)
        took = time.monotonic() - start
        findings += [f"{words}: line {line!r}" for line in screen(sent) if not re.fullmatch(form, line)]
        seen = PROGRESS.search(sent) is not None
        if took < 1 and seen:
            findings.append(f"{words}: progress within a second")
        if seen or findings:
            return findings
        if took > 5:
            return [f"{words}: no progress in {took:.1f} seconds"]
        times *= 2
    return [f"{words}: no run was long enough"]


def main() -> int:
    tool = pathlib.Path(sys.argv[1]).resolve()
    findings = []
    with tempfile.TemporaryDirectory(prefix="tlr2-cli-") as folder:
        for words, form in COMMANDS:
            findings += check(tool, words, form, folder)
        quick = on_terminal([tool, "render", "--format", "hash", "--frames", "0", "slow.tlr2-capture"], folder)
        if "\033" in quick or len(quick.splitlines()) != 1:
            findings.append(f"a quick run: {quick!r}")
        make_capture(folder, FRAMES * 4)
        piped = subprocess.run([tool, "render", "--format", "hash", "slow.tlr2-capture"], cwd=folder,
                               stdin=subprocess.DEVNULL, capture_output=True, check=True)
        if piped.stderr:
            findings.append(f"into a pipe: {piped.stderr!r}")
    for finding in findings[:20]:
        print(finding)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
