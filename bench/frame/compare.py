#!/usr/bin/env python3
"""Times the frame benchmark's scenes through this driver and through Mesa's llvmpipe, turn by turn in one run.

Each library runs in a process of its own (both export the same names and fix their thread pools at load). A round asks
one library for a scene, then the other; the table shows the medians over all rounds and the ratio of the medians with
the lowest and highest ratio of a round beside it. One worker of ours stands beside llvmpipe on the calling thread.

On a machine with other work, --measure processor compares the processor time of a frame, over all threads: with one
worker that is what the wall time of a quiet machine would be, spin times set to 0.

usage: compare.py [--build DIR] [--size WxH ...] [--threads N ...] [--scene NAME ...] [--rounds N] [--frames N]
                  [--isa NAME] [--spin US] [--measure wall|processor] [--json FILE] [--svg FILE] [--osmesa LIBRARY]
       compare.py --from FILE.json --svg FILE      draws the chart of an earlier run
"""
import argparse
import json
import os
import statistics
import subprocess
import sys
from xml.sax.saxutils import escape

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
        return {"wall": float(answer[1]), "processor": float(answer[3])}

    def close(self):
        self.process.stdin.close()
        self.process.wait()


def size(text):
    width, _, height = text.partition("x")
    return int(width), int(height)


def chart(rows):
    """A bar a scene and thread count: llvmpipe's time over ours, with the goal as a tick. Returns the SVG's text."""
    groups = []
    for row in rows:
        key = (row["width"], row["height"])
        if key not in groups:
            groups.append(key)
    scenes = []
    for row in rows:
        if row["scene"] not in scenes:
            scenes.append(row["scene"])
    threads = sorted({row["threads"] for row in rows})
    colors = ["#2f6db0", "#e08a2c", "#5b9a4b", "#9a5ba0"]
    left, wide, bar, gap, top = 270, 520, 9, 7, 46
    most = max([2.0] + [max(row["ratio"], row["goal"] or 0) for row in rows]) * 1.05
    step = len(threads) * bar + gap
    tall = top + len(groups) * (len(scenes) * step + 40) + 10
    x = lambda ratio: left + wide * ratio / most
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + wide + 60}" height="{tall}" '
           'font-family="sans-serif" font-size="11">', '<rect width="100%" height="100%" fill="white"/>',
           f'<text x="10" y="18" font-size="14">llvmpipe\'s time over ours, {escape(rows[0]["measure"])} time: '
           'longer is faster, the line is equal, ticks are goals</text>']
    for i, count in enumerate(threads):
        out.append(f'<rect x="{10 + i * 110}" y="27" width="10" height="10" fill="{colors[i % 4]}"/>'
                   f'<text x="{25 + i * 110}" y="36">{count} thread{"s" if count > 1 else ""}</text>')
    y = top
    for width, height in groups:
        out.append(f'<text x="10" y="{y + 16}" font-size="12">{width} by {height}</text>')
        y += 24
        end = y + len(scenes) * step
        for mark in range(0, int(most) + 1):
            weight = 1.5 if mark == 1 else 0.5
            out.append(f'<line x1="{x(mark):.1f}" y1="{y}" x2="{x(mark):.1f}" y2="{end}" stroke="#888" '
                       f'stroke-width="{weight}"/><text x="{x(mark) - 3:.1f}" y="{end + 12}">{mark}</text>')
        for scene in scenes:
            for i, count in enumerate(threads):
                row = next((r for r in rows if r["scene"] == scene and r["threads"] == count and
                            (r["width"], r["height"]) == (width, height)), None)
                if row is None:
                    continue
                at = y + i * bar
                out.append(f'<rect x="{left}" y="{at}" width="{x(row["ratio"]) - left:.1f}" height="{bar - 1}" '
                           f'fill="{colors[i % 4]}"/>'
                           f'<text x="{x(row["ratio"]) + 3:.1f}" y="{at + 8}" font-size="9">{row["ratio"]:.2f}</text>')
                if row["goal"]:
                    tick = f"{x(row['goal']):.1f}"
                    out.append(f'<line x1="{tick}" y1="{at - 1}" x2="{tick}" y2="{at + bar}" stroke="black" '
                               'stroke-width="2"/>')
                if i == 0:
                    out.append(f'<text x="10" y="{at + 10}">{escape(row["title"][:48])}</text>')
            y += step
        y += 16
    return "\n".join(out + ["</svg>", ""])


def write_chart(rows, path):
    with open(path, "w", encoding="utf-8") as file:
        file.write(chart(rows))


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
    parser.add_argument("--measure", choices=["wall", "processor"], default="wall")
    parser.add_argument("--json")
    parser.add_argument("--svg")
    parser.add_argument("--from", dest="earlier")
    options = parser.parse_args()
    if options.earlier:
        with open(options.earlier, encoding="utf-8") as file:
            write_chart(json.load(file), options.svg)
        return
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
                  f"milliseconds a frame ({options.measure} time), medians of {options.rounds} rounds of "
                  f"{options.frames} frames")
            print(f"{'scene':52} {'ours':>8} {'llvmpipe':>9} {'ratio':>6} {'(low-high)':>13} {'goal':>5}")
            for scene in scenes:
                pairs = [tuple(host.ask(scene, width, height, options.frames)[options.measure] for host in (ours, peer))
                         for _ in range(options.rounds)]
                mine = statistics.median(pair[0] for pair in pairs)
                theirs = statistics.median(pair[1] for pair in pairs)
                ratios = sorted(pair[1] / pair[0] for pair in pairs)
                goal = GOALS[scene][0 if threads == 1 else 1] if (width, height) == (1280, 720) else None
                rows.append({"scene": scene, "title": titles[scene], "measure": options.measure, "width": width,
                             "height": height, "threads": threads, "isa": options.isa, "ours_ms": mine,
                             "llvmpipe_ms": theirs, "ratio": theirs / mine, "ratio_low": ratios[0],
                             "ratio_high": ratios[-1], "goal": goal})
                print(f"{titles[scene]:52} {mine:8.2f} {theirs:9.2f} {theirs / mine:6.2f} "
                      f"({ratios[0]:5.2f}-{ratios[-1]:5.2f}) {goal if goal is not None else '':>5}", flush=True)
            ours.close()
            peer.close()
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(rows, file, indent=1)
    if options.svg:
        write_chart(rows, options.svg)


if __name__ == "__main__":
    main()
