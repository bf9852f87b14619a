#!/usr/bin/env python3
"""Judges the two runs of a program: with Wine's own library in reference/, with the driver in driver/.

compare.py areas|nearest|walls|white DRIFT FOLDER

Always: both runs ended by themselves, and the driver's call summary shows swaps and exactly the entries of DRIFT. Then, by word:

areas    the windows lie on the same pixels, and each flat colour covers the same area
nearest  some picture of one run is a picture of the other, edges apart, and both change
walls    some picture of both has the walls of an arena in one place, whatever else is by design not drawn
white    the cube is drawn in white alone; the two differ by design (docs/real-programs.md)
"""
import glob
import re
import subprocess
import sys


class Failure(Exception):
    pass


def load(path):
    """The picture's rows of RGB bytes."""
    data = subprocess.run(["convert", path, "-depth", "8", "ppm:-"], check=True, capture_output=True).stdout
    magic, width, height, depth = data.split(None, 4)[:4]
    if magic != b"P6" or depth != b"255":
        raise Failure(f"{path} is no picture")
    width, height = int(width), int(height)
    pixels = data[len(data) - width * height * 3:]
    return [pixels[y * width * 3:(y + 1) * width * 3] for y in range(height)]


def bounds(rows):
    """left, top, right, bottom of what is not black, or None."""
    lit = [(y, row) for y, row in enumerate(rows) if row.strip(b"\0")]
    if not lit:
        return None
    left = min((len(row) - len(row.lstrip(b"\0"))) // 3 for _, row in lit)
    right = max((len(row.rstrip(b"\0")) + 2) // 3 for _, row in lit)
    return left, lit[0][0], right, lit[-1][0] + 1


def crop(rows, box):
    left, top, right, bottom = box
    return b"".join(row[left * 3:right * 3] for row in rows[top:bottom])


def near(a, b, tolerance=24):
    """The share of differing pixels among those lit in either."""
    lit = different = 0
    for i in range(0, len(a), 3):
        p, q = a[i:i + 3], b[i:i + 3]
        if p == b"\0\0\0" and q == b"\0\0\0":
            continue
        lit += 1
        if p != q and max(abs(p[0] - q[0]), abs(p[1] - q[1]), abs(p[2] - q[2])) > tolerance:
            different += 1
    return different / max(lit, 1)


def sketch(picture, width, step=8):
    """A pixel of every 8 by 8, to find the pictures worth comparing in full."""
    row = width * 3
    return b"".join(picture[y * row + x * 3:y * row + x * 3 + 3]
                    for y in range(0, len(picture) // row, step) for x in range(0, width, step))


def distance(a, b):
    return sum(abs(p - q) for p, q in zip(a, b))


def load_run(folder, loads):
    """The pictures of a run, and the box of what any shows. One that `loads` and ends by itself is black before and after."""
    pictures = [load(path) for path in sorted(glob.glob(folder + "/*.png"))]
    boxes = [bounds(rows) for rows in pictures]
    if loads:
        pictures = [rows for rows, box in zip(pictures, boxes) if box is not None]
        boxes = [box for box in boxes if box is not None]
    if not pictures or any(box is None for box in boxes):
        raise Failure(f"{sum(box is None for box in boxes)} of {len(boxes)} pictures are black in {folder}")
    return pictures, join(boxes)


def join(boxes):
    return min(b[0] for b in boxes), min(b[1] for b in boxes), max(b[2] for b in boxes), max(b[3] for b in boxes)


def judge_nearest(reference, driver):
    """Both turn the same cube by the same step, so a picture of one is one of the other."""
    theirs, their_box = reference
    ours, our_box = driver
    box = join([their_box, our_box])
    width = box[2] - box[0]
    theirs, ours = ([crop(rows, box) for rows in run] for run in (theirs, ours))
    for name, run in (("reference", theirs), ("driver", ours)):
        if len(set(run)) < len(run) // 2:
            raise Failure(f"the picture of the {name} run stands still")
    sketches = [sketch(p, width) for p in theirs], [sketch(p, width) for p in ours]
    pairs = sorted((distance(a, b), i, j) for i, a in enumerate(sketches[0]) for j, b in enumerate(sketches[1]))
    best = min((near(theirs[i], ours[j]), i + 1, j + 1) for _, i, j in pairs[:6])
    if best[0] > 0.02:
        raise Failure(f"the nearest pictures, {best[1]} and {best[2]}, differ in {best[0]:.1%} of what they show")
    return f"pictures {best[1]} and {best[2]} differ in {best[0]:.2%} of what they show"


def areas_of(rows, box):
    """How many pixels of the box have each colour."""
    counts = {}
    data = crop(rows, box)
    for i in range(0, len(data), 3):
        counts[data[i:i + 3]] = counts.get(data[i:i + 3], 0) + 1
    return counts


def judge_areas(reference, driver):
    """The ball moves with the clock, so only what does not depend on its place is held."""
    (theirs, their_box), (ours, our_box) = reference, driver
    if their_box != our_box:
        raise Failure(f"the window shows {our_box}, the reference {their_box}")
    their_counts, our_counts = {}, {}
    for run, counts in ((theirs, their_counts), (ours, our_counts)):
        for rows in run:
            for colour, count in areas_of(rows, their_box).items():
                counts[colour] = counts.get(colour, 0) + count / len(run)
    size = (their_box[2] - their_box[0]) * (their_box[3] - their_box[1])
    flat = sorted((c for c in their_counts if their_counts[c] > size / 100), key=lambda c: -their_counts[c])
    if len(flat) < 4:
        raise Failure(f"the reference shows only {len(flat)} flat colours")
    worst = 0
    for colour in flat:
        mine = sum(n for c, n in our_counts.items() if max(abs(c[k] - colour[k]) for k in range(3)) <= 2)
        theirs_sum = sum(n for c, n in their_counts.items() if max(abs(c[k] - colour[k]) for k in range(3)) <= 2)
        change = abs(mine / theirs_sum - 1)
        if change > 0.1:
            raise Failure(f"colour {tuple(colour)} covers {mine:.0f} pixels, the reference {theirs_sum:.0f}")
        worst = max(worst, change)
    return f"{len(flat)} colours, areas at most {worst:.1%} apart"


def judge_walls(reference, driver):
    """The arena's walls, the one thing that both draw alike: their purple in a picture of one is in one of the other."""
    (theirs, their_box), (ours, our_box) = reference, driver
    box = join([their_box, our_box])

    def purple(rows):
        data = crop(rows, box)
        return {i for i in range(0, len(data), 6) if data[i + 2] > 150 and data[i + 2] > 2 * data[i + 1] and data[i] > data[i + 1]}

    theirs, ours = [purple(rows) for rows in theirs], [purple(rows) for rows in ours]
    best = max((len(a & b) / max(len(a | b), 1), i + 1, j + 1)
               for i, a in enumerate(theirs) for j, b in enumerate(ours) if len(a) > 500)
    if best[0] < 0.5:
        raise Failure(f"the nearest walls, of pictures {best[1]} and {best[2]}, share only {best[0]:.0%} of their pixels")
    return f"the walls of pictures {best[1]} and {best[2]} share {best[0]:.0%} of their pixels"


def judge_white(_, driver):
    """The texture stays on for the cube, whose every point then has the last texture coordinate: the logo's white corner."""
    ours, our_box = driver
    ours = [crop(rows, our_box) for rows in ours]
    if len(set(ours)) < len(ours) // 2:
        raise Failure("the picture of the driver stands still")
    coloured = max(sum(p[i:i + 3] not in (b"\0\0\0", b"\xff\xff\xff") for i in range(0, len(p), 3)) for p in ours)
    if coloured > 0:
        raise Failure(f"{coloured} pixels of a picture are neither black nor white")
    white = [p.count(b"\xff") // 3 for p in ours]
    # The cube's sides are a quarter of the window; its outline covers one to the root of three of such a face.
    if min(white) < 160 * 120 * 0.99 or max(white) > 160 * 120 * 1.75:
        raise Failure(f"the cube covers {min(white)} to {max(white)} pixels")
    return f"a white cube of {min(white)} to {max(white)} pixels, by design not the reference's picture"


def check_summary(folder, drift):
    """What proves that the driver, and not another library, was called."""
    try:
        with open(folder + "/TLR2_api_calls.log", encoding="ascii") as file:
            text = file.read()
    except OSError as error:
        raise Failure("no TLR2_api_calls.log: the driver was not loaded") from error
    swaps = int(re.search(r"wglSwapBuffers +: +(\d+)", text).group(1))
    if swaps < 20:
        raise Failure(f"only {swaps} calls of wglSwapBuffers")
    names = set(re.findall(r"\[capture-drift\] (\w+)", text))
    if names != drift:
        raise Failure(f"the drift scan lists {','.join(sorted(names))}")
    return swaps


def main():
    judge, drift, folder = sys.argv[1:4]
    name = folder.rstrip("/").rsplit("/", 1)[-1]
    judges = {"areas": judge_areas, "nearest": judge_nearest, "walls": judge_walls, "white": judge_white}
    try:
        for library in ("reference", "driver"):
            with open(f"{folder}/{library}/exit_code", encoding="ascii") as file:
                code = file.read().strip()
            if code != "0":
                raise Failure(f"the {library} run ended with {code} (see {folder}/{library}/output.txt)")
        swaps = check_summary(folder + "/driver", set(drift.split(",")))
        if glob.glob(folder + "/reference/TLR2_*"):
            raise Failure("the reference run loaded the driver")
        verdict = judges[judge](*(load_run(f"{folder}/{library}", judge == "walls") for library in ("reference", "driver")))
    except Failure as failure:
        print(f"{name}: FAILED: {failure}")
        return 1
    print(f"{name}: ok: {swaps} frames; {verdict}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
