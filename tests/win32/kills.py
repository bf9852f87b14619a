#!/usr/bin/env python3
"""Kills a program under Wine in mid-capture, at random moments, and looks at what its capture holds.

    tools/dev/run_wine.sh --session python3 tests/win32/kills.py [--kills N] [--seed N] TOOL [PROGRAM]

TOOL is a native tlr2_replay, PROGRAM the program `win32_endless` (build/win32's by default) with the driver beside it.
Of a killed program every frame whose swap came back must be in the file; at most the frame being written is lost. By
hand, from tools/dev/long_checks.sh.
"""
import argparse
import json
import os
import random
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
START_SECONDS = 60  # a device takes half a second, a busy machine longer


def processes_of(folder):
    """Of the program run in this folder, whatever Wine made of it."""
    found = []
    for entry in Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            name = (entry / "cmdline").read_bytes().split(b"\0")[0]
            if name.endswith(b"win32_endless.exe") and os.readlink(entry / "cwd") == str(folder):
                found.append(int(entry.name))
        except OSError:
            continue
    return found


def shown(counter):
    """Swaps that came back."""
    try:
        word = counter.read_bytes()[:4]
    except FileNotFoundError:
        return 0
    return int.from_bytes(word, "little") if len(word) == 4 else 0


def kill_once(program, tool, wait):
    """Returns (swaps that came back, frames in the file, bytes of a torn frame behind them)."""
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name).resolve()
        counter = folder / "shown"
        environment = dict(os.environ, TLR2_CAPTURE_FRAMES="0-1000000")
        with open(folder / "output", "wb") as output:
            launcher = subprocess.Popen([str(ROOT / "tools/dev/run_wine.sh"), str(program), "shown"], cwd=folder,
                                        env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output)
            deadline = time.monotonic() + START_SECONDS
            while shown(counter) == 0 and time.monotonic() < deadline and launcher.poll() is None:
                time.sleep(0.005)
            time.sleep(wait)
            victims = processes_of(folder)
            if not victims:
                raise SystemExit("kills: the program was not running: " + (folder / "output").read_text())
            for victim in victims:
                os.kill(victim, signal.SIGKILL)
            launcher.wait()
        captures = list(folder.glob("*.tlr2-capture"))
        if len(captures) != 1:
            raise SystemExit(f"kills: {len(captures)} captures")
        run = subprocess.run([tool, "recover", "--json", captures[0], folder / "whole"], capture_output=True, text=True)
        if run.returncode != 0:
            raise SystemExit("kills: " + run.stderr)
        report = json.loads(run.stdout)
        if report["wasClosed"]:
            raise SystemExit("kills: the file was closed, so nothing was killed")
        subprocess.run([tool, "info", folder / "whole"], check=True, stdout=subprocess.DEVNULL)
        return shown(counter), report["frames"], report["bytesDropped"]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("tool", type=Path)
    parser.add_argument("program", type=Path, nargs="?",
                        default=ROOT / "build/win32/tests/win32/beside/win32_endless.exe")
    options = parser.parse_args()
    moments = random.Random(options.seed)
    lost = torn = frames = 0
    for number in range(options.kills):
        back, kept, dropped = kill_once(options.program.resolve(), options.tool.resolve(), moments.uniform(0, 0.6))
        frames += kept
        torn += dropped > 0
        if not back <= kept <= back + 1:
            lost += 1
            print(f"kill {number}: {back} swaps came back, the file has {kept} frames", file=sys.stderr)
    print(f"{options.kills} kills, {frames} frames kept, {torn} with a torn frame, {lost} with a frame lost or invented")
    return 1 if lost or options.kills < 1 else 0


if __name__ == "__main__":
    sys.exit(main())
