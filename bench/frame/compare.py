#!/usr/bin/env python3
"""Times the frame benchmark's scenes through several sides, turn by turn in one run, and prints their ratios.

A side is a library in one configuration: this driver at a target, a thread count and a size, or Mesa's llvmpipe. Each
runs in a process of its own (both export the same names and fix their thread pools at load). The sides take turns of a
few frames in strict alternation, each after one frame that is not timed. The scenes are run in at least three passes
over all of them; those on whose least times no two passes agree within 3 % are run again, up to --passes. A scene that
did not settle carries a "~".

--statistic low, the default: the least time. Other work on the machine makes frames longer, never shorter.
--statistic median: the median over the turns, which holds what a program meets on this machine as it is.
The range beside a ratio holds the same ratio from each pass alone.

Tables, of which --table takes one:
  peer      llvmpipe's time over ours, with the goals for 1280x720; --threads 1 is llvmpipe on the calling thread
  targets   the rate of each kernel target beside the widest that this processor runs, and sse4 beside llvmpipe
  workers   how many times faster two workers are than one
  sizes     nanoseconds a covered fragment (8 a pixel) at 1920x1080 and at 640x480
  wine      the driver's own time in the Windows build under Wine (--windows) beside the native 32-bit one (--build);
            showing the picture, which the native build does not, is taken out and stands in a column of its own; frames
            of both start with cold caches (--sweep)
  --against CONFIGURATION   another configuration of ours beside the one that the options name: KEY=VALUE,... with the
            keys build, isa, threads, size and spin, as in --against isa=avx,threads=2

On a busy machine --measure processor compares the processor time of a frame, over all threads: with one worker that is
what the wall time of a quiet machine would be. --measure chain counts of our workers only the one that worked longest in
a frame: with two workers, what the wall time would be if each thread had a processor of its own. Both with --spin 0.
"""
import argparse
import json
import os
import subprocess
import sys

from chart import chart
from turns import MEASURES, Side, ratio_range, run_scenes, settled, total

# llvmpipe's milliseconds over ours that each scene is meant to reach at 1280x720: with one thread, with two, and of the
# 32-bit builds.
GOALS = {
    "front": (2.2, 2.0, 2.2), "back": (5.0, 4.5, 4.5), "untextured": (2.0, 1.9, 1.7), "nearest": (1.6, 1.6, 1.5),
    "bilinear_high": (2.3, 2.2, 1.5), "bilinear_low": (3.2, 3.0, 2.1), "trilinear": (1.7, 1.6, 1.4),
    "blended": (1.6, 1.5, 1.3), "additive": (1.4, 1.3, 1.2), "small_list": (1.0, 1.0, 1.7),
    "small_strips": (1.0, 0.95, 1.7), "hundred": (1.35, 1.35, 1.4), "game": (2.0, 1.9, 1.8),
    "vertices_list": (1.0, 1.0, 0.75), "vertices_strips": (0.8, 0.8, 0.6), "vertices_tiny": (0.9, 0.8, 3.0),
    "states": (1.6, 1.5, 2.2), "upload": (0.25, 0.25, 0.25), "clear": (1.5, 1.5, 1.5), "read_bgra": (1.3, 1.3, 1.3),
    "read_rgba": (2.5, 2.5, 2.5),
}
FILL = ["front", "back", "untextured", "nearest", "bilinear_high", "bilinear_low", "trilinear"]
BLEND = ["blended", "additive"]
SMALL = ["small_list", "small_strips"]
LAYERS = 8
# Rates beside avx512skx that the narrower targets are meant to reach at fill.
TARGET_GOALS = {"avx512skx": 1.0, "avx2": 0.75, "avx": 0.55, "sse4": 0.4}
ROOT = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))


class Pair:
    """A ratio that a table shows: one side's time over another's."""

    def __init__(self, series, over, under, goal=lambda scene: None, most=False):
        self.series, self.over, self.under, self.goal, self.most = series, over, under, goal, most


class Table:
    """Sides that run together, by name, and their ratios."""

    def __init__(self, title, caption, sides, pairs, scenes, size=(1280, 720), threads=1, fragments=False,
                 shows=(), behind=0, sweep=0):
        self.title, self.caption, self.sides, self.pairs, self.scenes = title, caption, sides, pairs, scenes
        self.size, self.threads, self.fragments, self.behind, self.sweep = size, threads, fragments, behind, sweep
        self.shows = shows  # the sides whose picture is shown, which is no part of their times


def size(text):
    width, _, height = text.partition("x")
    return int(width), int(height)


def plural(threads):
    return f"{threads} thread{'s' if threads > 1 else ''}"


def host_program(build):
    return os.path.abspath(os.path.join(build, "bench", "frame", "frame_host"))


def find_library(build, name):
    places = [os.path.abspath(os.path.join(build, *folder, name)) for folder in (("src", "library"), ("bin",))]
    found = next((place for place in places if os.path.exists(place)), None)
    return found or sys.exit(f"compare.py: no {name} in {build}")


def is_32_bit(program):
    with open(program, "rb") as file:
        return file.read(5)[4] == 1  # the class byte of the ELF header


def widest_target():
    with open("/proc/cpuinfo", encoding="ascii") as file:
        flags = next((line.split() for line in file if line.startswith("flags")), [])
    if all(flag in flags for flag in ("avx512f", "avx512dq", "avx512cd", "avx512bw", "avx512vl")):
        return "avx512skx"
    return "avx2" if "avx2" in flags else "avx" if "avx" in flags else "sse4"


def ours(options, **changes):
    """What makes a side of this driver: the options, and what a table changes of them."""
    c = {"build": options.build, "isa": options.isa, "threads": options.threads[0], "size": options.size[0],
         "spin": options.spin, **changes}
    environment = {"TLR2_THREADS": str(c["threads"]), "TLR2_ISA": c["isa"]}
    if c["spin"] is not None:
        environment["TLR2_RJQ_IDLE_SPIN_US"] = c["spin"]
    return [host_program(c["build"]), "tlr2", find_library(c["build"], "libtlr2.so")], environment, c["size"]


def llvmpipe(options, threads, at):
    command = [host_program(options.build), "osmesa", options.osmesa]
    return command, {"LP_NUM_THREADS": str(0 if threads == 1 else threads)}, at


def under_wine(options, threads, at):
    """The Windows host and the DLL in the rig of tools/dev, with a display of its own."""
    _, environment, _ = ours(options, threads=threads)
    rig = os.environ.get("TLR2_RIG") or os.path.join(
        os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache"), "tlr2-rig")
    library = "Z:" + find_library(options.windows, "opengl32.dll").replace("/", "\\")
    command = [os.path.join(ROOT, "tools", "dev", "run_wine.sh"), "--session", "env",
               f"WINEPREFIX={os.path.join(rig, 'win32')}", "WINEARCH=win32", "WINEDEBUG=-all",
               "WINEDLLOVERRIDES=opengl32=n",
               # Showing the picture on the calling thread, where it is seen: threads of its own, which spin while they
               # wait, would make the driver's next frame half as long again.
               "WINE_D3D_CONFIG=csmt=0", "LP_NUM_THREADS=0", "wine", host_program(options.windows) + ".exe", "tlr2", library]
    return command, environment, at


def peer_tables(options):
    words32 = is_32_bit(host_program(options.build))
    for at in options.size:
        for threads in options.threads:
            def goal(scene, at=at, threads=threads):
                column = 2 if words32 else 0 if threads == 1 else 1
                return GOALS[scene][column] if at == (1280, 720) and (threads == 1 or not words32) else None
            yield Table(f"{at[0]}x{at[1]}, {plural(threads)}, target {options.isa}{', 32-bit' if words32 else ''}",
                        "llvmpipe's time over ours: longer is faster, the line is equal",
                        {"ours": ours(options, threads=threads, size=at), "llvmpipe": llvmpipe(options, threads, at)},
                        [Pair(plural(threads), "llvmpipe", "ours", goal)], list(GOALS), at, threads)


def target_tables(options):
    widest = widest_target()
    names = list(TARGET_GOALS)[list(TARGET_GOALS).index(widest):]
    threads, at = options.threads[0], options.size[0]
    sides = {name: ours(options, isa=name) for name in names}
    sides["llvmpipe"] = llvmpipe(options, threads, at)
    pairs = [Pair(f"{name}/{widest}", widest, name, lambda scene, name=name: TARGET_GOALS[name] / TARGET_GOALS[widest])
             for name in names[1:]]
    pairs.append(Pair("sse4/llvmp.", "llvmpipe", "sse4", lambda scene: 1.0 if scene == "nearest" else None))
    yield Table(f"{at[0]}x{at[1]}, {plural(threads)}", "rates of the targets", sides, pairs, FILL + BLEND, at, threads)


def worker_tables(options):
    def goal(scene):
        return 1.8 if scene in FILL + BLEND else 1.7 if scene == "game" else 1.45 if scene in SMALL else None
    for at in options.size:
        sides = {plural(n): ours(options, threads=n, size=at) for n in (1, 2)}
        yield Table(f"{at[0]}x{at[1]}, target {options.isa}", "two workers over one", sides,
                    [Pair("speed-up", "1 thread", "2 threads", goal)], FILL + BLEND + SMALL + ["hundred", "game"], at, 2)


def size_tables(options):
    small, large = (640, 480), (1920, 1080)
    for threads in options.threads:
        sides = {f"{at[0]}x{at[1]}": ours(options, size=at, threads=threads) for at in (small, large)}
        yield Table(f"{plural(threads)}, target {options.isa}", "time a fragment, large over small", sides,
                    [Pair("large/small", "1920x1080", "640x480", lambda scene: 1.15, most=True)], FILL + BLEND, large,
                    threads, fragments=True)


def wine_tables(options):
    if not is_32_bit(host_program(options.build)):
        sys.exit(f"compare.py: {options.build} is no 32-bit build")
    for at in options.size:
        for threads in options.threads:
            yield Table(f"{at[0]}x{at[1]}, {plural(threads)}, target {options.isa}, 32-bit, the driver's own time",
                        "own time under Wine over native",
                        {"native": ours(options, threads=threads, size=at), "wine": under_wine(options, threads, at)},
                        [Pair("wine/native", "wine", "native", lambda scene: 1.2, most=True)], list(GOALS), at, threads,
                        shows=["wine"], behind=options.behind, sweep=options.sweep)


def against_tables(options):
    changes = dict(word.partition("=")[::2] for word in options.against.split(","))
    unknown = set(changes) - {"build", "isa", "threads", "size", "spin"}
    if unknown:
        sys.exit(f"compare.py: --against knows no {', '.join(sorted(unknown))}")
    if "size" in changes:
        changes["size"] = size(changes["size"])
    if "threads" in changes:
        changes["threads"] = int(changes["threads"])
    at, threads = options.size[0], options.threads[0]
    yield Table(f"{at[0]}x{at[1]}, {plural(threads)}, target {options.isa}, against {options.against}",
                f"time of {options.against} over ours", {"ours": ours(options), "other": ours(options, **changes)},
                [Pair("other/ours", "other", "ours")], list(GOALS), at, threads)


TABLES = {"peer": peer_tables, "targets": target_tables, "workers": worker_tables, "sizes": size_tables,
          "wine": wine_tables}
SIZES = {"peer": [(640, 480), (1280, 720), (1920, 1080)]}  # otherwise 1280x720
THREADS = {"peer": [1, 2]}                                 # otherwise 1


def scale(table, side):
    """From milliseconds to what the table shows."""
    return 1e6 / (side.width * side.height * LAYERS) if table.fragments else 1.0


def show_head(table, options):
    unit = "nanoseconds a fragment" if table.fragments else "milliseconds a frame"
    print(f"\n{table.title}: {unit} ({options.measure} time), "
          f"{'least times' if options.statistic == 'low' else 'medians'}; load average {os.getloadavg()[0]:.1f}")
    columns = [f"{name[:9]:>9}" for name in table.sides]
    columns += [f"{name[:6] + ' shown':>12}" for name in table.shows]
    print(f"{'scene':52} {' '.join(columns)}" + "".join(f" {pair.series[:11]:>11} {'(low-high)':>13} {'goal':>5}"
                                                       for pair in table.pairs) + " passes", flush=True)


def show_scene(table, options, sides, scene, title):
    """Prints one line of the table; returns its rows."""
    values = {name: total(side, scene, options.statistic) * scale(table, side) for name, side in sides.items()}
    shown = {name: min(sides[name].presents[scene]) for name in table.shows}
    line = f"{title:52} " + " ".join(f"{value:9.2f}" for value in values.values())
    line += "".join(f" {value:12.2f}" for value in shown.values())
    passes = len(next(iter(sides.values())).passes[scene])
    steady = all(settled(side, scene) for side in sides.values())
    rows = []
    for pair in table.pairs:
        over, under = sides[pair.over], sides[pair.under]
        factor = scale(table, over) / scale(table, under)
        low, high = (bound * factor for bound in ratio_range(over, under, scene, options.statistic))
        goal = pair.goal(scene)
        rows.append({"scene": scene, "title": title, "measure": options.measure, "statistic": options.statistic,
                     "width": table.size[0], "height": table.size[1], "threads": table.threads, "isa": options.isa,
                     "series": pair.series, "caption": f"{table.caption}, {options.measure} time; ticks are goals",
                     "over": pair.over, "under": pair.under, "values": values, "passes": passes, "steady": steady,
                     "ratio": values[pair.over] / values[pair.under], "ratio_low": low, "ratio_high": high,
                     "goal": goal, "goal_is_most": pair.most})
        if shown:
            rows[-1]["shown_ms"] = shown
        mark = "" if goal is None else f"{'<' if pair.most else ''}{goal:.3g}"
        line += f" {rows[-1]['ratio']:11.2f} ({low:5.2f}-{high:5.2f}) {mark:>5}"
    print(f"{line} {passes:6}{'' if steady else ' ~'}", flush=True)
    return rows


def run_table(table, options, titles):
    scenes = options.scene or table.scenes
    sides = {}

    def after_pass(number, left):
        print(f"pass {number}: {len(left)} of {len(scenes)} scenes are to be run again", file=sys.stderr)

    try:
        for name, (command, environment, (width, height)) in table.sides.items():
            sides[name] = Side(name, command, environment, width, height)
        run_scenes(list(sides.values()), scenes, options.passes, after_pass, statistic=options.statistic,
                   measure=options.measure, frames=options.frames, behind=table.behind, sweep=table.sweep)
    finally:
        for side in sides.values():
            side.close()
    show_head(table, options)
    return [row for scene in scenes for row in show_scene(table, options, sides, scene, titles[scene])]


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--table", choices=list(TABLES), default="peer", help="default: peer")
    parser.add_argument("--against", metavar="CONFIGURATION")
    parser.add_argument("--build", help="default: build/native; for the wine table build/native32")
    parser.add_argument("--windows", default="build/win32", help="build of the wine table, default: build/win32")
    parser.add_argument("--size", type=size, nargs="+", metavar="WxH",
                        help="default: 1280x720; for the peer table also 640x480 and 1920x1080")
    parser.add_argument("--threads", type=int, nargs="+", help="default: 1; for the peer table 1 2")
    parser.add_argument("--scene", nargs="+", help="default: those of the table")
    parser.add_argument("--statistic", choices=["low", "median"], default="low", help="default: low")
    parser.add_argument("--measure", choices=MEASURES, default="wall", help="default: wall")
    parser.add_argument("--frames", type=int, default=2, help="least timed frames a turn, default: 2")
    parser.add_argument("--passes", type=int, default=6, help="most passes over the scenes, default: 6")
    parser.add_argument("--behind", type=int, default=5,
                        help="milliseconds behind each frame of the wine table, in which its picture is shown")
    parser.add_argument("--sweep", type=int, default=64,
                        help="MiB walked over behind each frame of the wine table: showing a picture there is 20 ms of "
                        "work on this processor, which leaves the next frame cold caches; so both sides start with such")
    parser.add_argument("--isa", default="auto")
    parser.add_argument("--spin", help="TLR2_RJQ_IDLE_SPIN_US of our processes")
    parser.add_argument("--osmesa", default="libOSMesa.so.8")
    parser.add_argument("--json", help="keeps all figures")
    parser.add_argument("--svg", help="draws the chart")
    parser.add_argument("--from", dest="earlier", metavar="JSON", help="draws the chart of an earlier run, with --svg")
    options = parser.parse_args()
    options.build = options.build or ("build/native32" if options.table == "wine" else "build/native")
    options.size = options.size or SIZES.get(options.table if not options.against else "", [(1280, 720)])
    options.threads = options.threads or THREADS.get(options.table if not options.against else "", [1])
    return options


def main():
    options = parse()
    if options.earlier:
        with open(options.earlier, encoding="utf-8") as file:
            rows = json.load(file)
    else:
        listed = subprocess.run([host_program(options.build), "--list"], check=True, capture_output=True, text=True)
        titles = dict(line.split("\t") for line in listed.stdout.splitlines())
        for scene in options.scene or []:
            if scene not in titles:
                sys.exit(f"compare.py: no scene '{scene}'; there are {', '.join(titles)}")
        tables = against_tables(options) if options.against else TABLES[options.table](options)
        rows = [row for table in tables for row in run_table(table, options, titles)]
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(rows, file, indent=1)
    if options.svg:
        with open(options.svg, "w", encoding="utf-8") as file:
            file.write(chart(rows))


if __name__ == "__main__":
    main()
