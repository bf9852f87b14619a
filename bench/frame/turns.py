"""The frame benchmark's sides, asked turn by turn for a few frames each, and what is told of their times.

Other work on a machine makes frames longer, never shorter: for single frames, and for stretches of seconds. Against the
first the sides take short turns in strict alternation, against the second the scenes are run in several passes, until
two passes agree on each side's least time.
"""
import os
import statistics
import subprocess
import tempfile
import time

REPRODUCED = 1.03                 # how far the least times of two passes may lie apart
LEAST_PASSES, LEAST_TURNS = 3, 3  # turns of a pass
PASS_SECONDS = 0.6                # of one scene
TURN_MS, MOST_FRAMES = 20, 20     # short frames: so many more a turn
PAUSE_SECONDS = 0.006             # before each turn: the side before has stopped to spin for work by then
MEASURES = ("wall", "processor", "chain")
# Scenes whose frames differ: the turns go round these, and each counts as much as the others.
FRAMES_OF = {"game": (10, 45, 80)}


class Side:
    """One configuration of one library: a process, and the times of its turns."""

    def __init__(self, name, command, environment, width, height):
        self.name, self.width, self.height = name, width, height
        self.folder = tempfile.TemporaryDirectory()  # the driver leaves its call summary in the current directory
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                        env={**os.environ, **environment}, cwd=self.folder.name)
        self.passes = {}    # by scene, for each pass: by frame number, the times of the turns
        self.presents = {}  # by scene, of all frames

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline().split()
        if not answer or answer[0] not in ("ok", "times"):
            raise RuntimeError(f"{self.name}: {line}: {' '.join(answer) or 'the host ended'}")
        return [float(word) for word in answer[1:]]

    def frames(self, frame, count, behind, sweep):
        """The milliseconds of each of `count` frames, by MEASURES, and those of showing it."""
        numbers = self.ask(f"turn {frame} {count} {behind} {sweep}")
        return list(zip(numbers[0::4], numbers[1::4], numbers[2::4], numbers[3::4]))

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.folder.cleanup()


def figure(times, statistic):
    return min(times) if statistic == "low" else statistics.median(times)


def of_pass(turns, statistic):
    """A pass's time: the mean over the frame numbers."""
    return statistics.fmean(figure(times, statistic) for times in turns.values())


def total(side, scene, statistic):
    """A side's time over all passes."""
    passes = side.passes[scene]
    return statistics.fmean(figure([t for turns in passes for t in turns[number]], statistic) for number in passes[0])


def settled(side, scene):
    """Whether two passes agree on the least time."""
    least = sorted(of_pass(turns, "low") for turns in side.passes[scene])
    return len(least) >= LEAST_PASSES and least[1] <= least[0] * REPRODUCED


def ratio_range(over, under, scene, statistic):
    """The least and the greatest of the ratio: of all passes together, and of each alone."""
    ratios = [total(over, scene, statistic) / total(under, scene, statistic)]
    ratios += [of_pass(a, statistic) / of_pass(b, statistic)
               for a, b in zip(over.passes[scene], under.passes[scene])]
    return min(ratios), max(ratios)


def run_pass(sides, scene, *, statistic, measure, frames, behind, sweep):
    """Runs a scene once. Where a side tells what showing its picture took, that is no part of a frame's time. Behind
    each frame lie `behind` milliseconds, for sides that show a picture while they already draw the next one, and a walk
    over `sweep` MiB."""
    numbers = FRAMES_OF.get(scene, (0,))
    for side in sides:
        side.ask(f"open {scene} {side.width} {side.height}")
        side.passes.setdefault(scene, []).append({number: [] for number in numbers})
    slowest = max(side.frames(numbers[0], 1, behind, sweep)[0][0] for side in sides)
    frames = max(frames, min(MOST_FRAMES, int(TURN_MS / max(slowest, 0.1))))
    start, turn = time.monotonic(), 0
    while turn < LEAST_TURNS * len(numbers) or time.monotonic() - start < PASS_SECONDS:
        number = numbers[turn % len(numbers)]
        # Forth and back, so that no side always runs behind the same other one.
        for side in sides if turn // len(numbers) % 2 == 0 else reversed(sides):
            time.sleep(PAUSE_SECONDS)
            drawn = side.frames(number, frames, behind, sweep)
            times = [one[MEASURES.index(measure)] - one[-1] for one in drawn]
            side.passes[scene][-1][number].append(figure(times, statistic))
            side.presents.setdefault(scene, []).extend(one[-1] for one in drawn)
        turn += 1
    for side in sides:
        side.ask("close")


def run_scenes(sides, scenes, most_passes, after_pass, **how):
    """All scenes once, and again those whose figures are not settled. `after_pass` is told the scenes that are left."""
    left = list(scenes)
    for number in range(1, most_passes + 1):
        for scene in left:
            run_pass(sides, scene, **how)
        left = [scene for scene in left if not all(settled(side, scene) for side in sides)]
        after_pass(number, left)
        if not left:
            break
