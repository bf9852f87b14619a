#!/usr/bin/env python3
"""Captures programs of random calls under Wine on every target, and draws the captures again natively.

    tools/dev/run_wine.sh --session python3 tests/win32/random_captures.py [--seeds N] TOOL [PROGRAM]

TOOL is a native tlr2_replay, PROGRAM the program `win32_random_calls` (build/win32's by default) with the driver beside
it. Every pixel of every frame must be the same. By hand, from tools/dev/long_checks.sh.
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FRAMES = 12


def verify(tool, program, seed, isa):
    """Returns the tool's report of a captured program."""
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        environment = dict(os.environ, TLR2_CAPTURE_FRAMES=f"0-{FRAMES - 1}", TLR2_CAPTURE_REFERENCE_PIXELS="1",
                           TLR2_ISA=isa)
        with open(folder / "output", "wb") as output:
            code = subprocess.run([ROOT / "tools/dev/run_wine.sh", program, str(seed), str(FRAMES + 2)], cwd=folder,
                                  env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output).returncode
        captures = list(folder.glob("*.tlr2-capture"))
        if code != 0 or len(captures) != 1:
            raise SystemExit(f"random_captures: exit code {code}, {len(captures)} captures: "
                             + (folder / "output").read_text(errors="replace"))
        run = subprocess.run([tool, "verify", "--json", "--isa", isa, captures[0]], capture_output=True, text=True)
        if run.returncode not in (0, 1):
            raise SystemExit("random_captures: " + run.stderr)
        return json.loads(run.stdout)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seeds", type=int, default=20)
    parser.add_argument("tool", type=Path)
    parser.add_argument("program", type=Path, nargs="?",
                        default=ROOT / "build/win32/tests/win32/beside/win32_random_calls.exe")
    options = parser.parse_args()
    flags = Path("/proc/cpuinfo").read_text()
    targets = [("sse4", "sse4_1"), ("avx", " avx "), ("avx2", "avx2"), ("avx512", "avx512vl")]
    bad = judged = 0
    for isa, flag in targets:
        if flag not in flags:
            print(f"SKIPPED: {isa}, which this processor lacks")
            continue
        for seed in range(1, options.seeds + 1):
            report = verify(options.tool.resolve(), options.program.resolve(), seed, isa)
            judged += 1
            # Nothing less: every frame is there, and every pixel of it was judged.
            if report["verdict"] != "identical" or len(report["frames"]) != FRAMES:
                bad += 1
                print(f"{isa}, seed {seed}: {json.dumps(report)}", file=sys.stderr)
    print(f"{judged} captures of {FRAMES} frames drawn again, {bad} not identical in every pixel")
    return 1 if bad or judged == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
