#!/usr/bin/env python3
"""Times the frame benchmark's scenes through this driver and through Mesa's llvmpipe, turn by turn in one run.

Each library runs in a process of its own (both export the same names and fix their thread pools at load). A round asks
one library for a scene, then the other; the table shows the medians over all rounds and the ratio of the medians with
the lowest and highest ratio of a round beside it. One worker of ours stands beside llvmpipe on the calling thread.

usage: compare.py [--build DIR] [--size WxH ...] [--threads N ...] [--scene NAME ...] [--rounds N] [--frames N]
                  [--isa NAME] [--json FILE] [--osmesa LIBRARY]
"""
import argparse
import json
import os
import statistics
import subprocess
import sys

# llvmpipe's milliseconds over ours that each scene is meant to reach at 1280x720: one thread, two threads.
GOALS = {
    "front": (2.2, 2.0), "back": (5.0, 4.5), "untextured": (2.0, 1.9), "nearest": (1.6, 1.6),
    "bilinear_high": (2.3, 2.2), "bilinear_low": (3.2, 3.0), "trilinear": (1.7, 1.6), "blended": (1.6, 1.5),
    "additive": (1.4, 1.3), "small_list": (1.0, 1.0), "small_strips": (1.0, 0.95), "hundred": (1.35, 1.35),
    "game": (2.0, 1.9), "vertices_list": (1.0, 1.0), "vertices_strips": (0.8, 0.8), "vertices_tiny": (0.9, 0.8),
    "states": (1.6, 1.5), "upload": (0.25, 0.25), "clear": (1.5, 1.5), "read_bgra": (1.3, 1.3), "read_rgba": (2.5, 2.5),
}


class Host:
    """One frame_host process."""

    def __init__(self, program, kind, library, environment):
        self.process = subprocess.Popen([program, kind, library], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, env={**os.environ, **environment})

    def ask(self, scene, width, height, frames):
        self.process.stdin.write(f"{scene} {width} {height} {frames}\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline().split()
        if len(answer) != 4 or answer[0] != scene:
            raise RuntimeError(f"{scene}: {' '.join(answer) or 'the host ended'}")
        return float(answer[1])

    def close(self):
        self.process.stdin.close()
        self.process.wait()


def size(text):
    width, _, height = text.partition("x")
    return int(width), int(height)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", default="build/native")
    parser.add_argument("--size", type=size, nargs="+", default=[(640, 480), (1280, 720), (1920, 1080)])
    parser.add_argument("--threads", type=int, nargs="+", default=[1, 2])
    parser.add_argument("--scene", nargs="+")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--frames", type=int, default=5)
    parser.add_argument("--isa", default="auto")
    parser.add_argument("--spin", default=None, help="TLR2_RJQ_IDLE_SPIN_US of our process")
    parser.add_argument("--osmesa", default="libOSMesa.so.8")
    parser.add_argument("--json")
    options = parser.parse_args()
    program = os.path.join(options.build, "bench/frame/frame_host")
    library = os.path.abspath(os.path.join(options.build, "lib", "libtlr2.so"))
    if not os.path.exists(library):
        library = next((os.path.join(folder, "libtlr2.so") for folder, _, files in os.walk(options.build)
                        if "libtlr2.so" in files), library)
    listed = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout
    titles = dict(line.split("\t") for line in listed.splitlines())
    scenes = options.scene or list(titles)
    for scene in scenes:
        if scene not in titles:
            sys.exit(f"compare.py: no scene '{scene}'; there are {', '.join(titles)}")
    rows = []
    for width, height in options.size:
        for threads in options.threads:
            ours_environment = {"TLR2_THREADS": str(threads), "TLR2_ISA": options.isa}
            if options.spin is not None:
                ours_environment["TLR2_RJQ_IDLE_SPIN_US"] = options.spin
            ours = Host(program, "tlr2", os.path.abspath(library), ours_environment)
            peer = Host(program, "osmesa", options.osmesa, {"LP_NUM_THREADS": str(0 if threads == 1 else threads)})
            print(f"\n{width}x{height}, {threads} thread{'s' if threads > 1 else ''}, target {options.isa}: "
                  f"milliseconds a frame, medians of {options.rounds} rounds of {options.frames} frames")
            print(f"{'scene':52} {'ours':>8} {'llvmpipe':>9} {'ratio':>6} {'(low-high)':>13} {'goal':>5}")
            for scene in scenes:
                pairs = [(ours.ask(scene, width, height, options.frames), peer.ask(scene, width, height, options.frames))
                         for _ in range(options.rounds)]
                mine = statistics.median(pair[0] for pair in pairs)
                theirs = statistics.median(pair[1] for pair in pairs)
                ratios = sorted(pair[1] / pair[0] for pair in pairs)
                goal = GOALS[scene][0 if threads == 1 else 1] if (width, height) == (1280, 720) else None
                rows.append({"scene": scene, "width": width, "height": height, "threads": threads,
                             "isa": options.isa, "ours_ms": mine, "llvmpipe_ms": theirs, "ratio": theirs / mine,
                             "ratio_low": ratios[0], "ratio_high": ratios[-1], "goal": goal})
                print(f"{titles[scene]:52} {mine:8.2f} {theirs:9.2f} {theirs / mine:6.2f} "
                      f"({ratios[0]:5.2f}-{ratios[-1]:5.2f}) {goal if goal is not None else '':>5}", flush=True)
            ours.close()
            peer.close()
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(rows, file, indent=1)


if __name__ == "__main__":
    main()
