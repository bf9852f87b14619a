"""The frame benchmark's sides, asked turn by turn for a few frames each, and what is told of their times.

A busy machine makes frames longer, never shorter, and in stretches of many frames. So the sides take short turns in
strict alternation, and go on until each has shown its least time three times over.
"""
import os
import statistics
import subprocess
import tempfile
import time

REPRODUCED = 1.03  # how far above a time the two next ones may lie for it to count as reproduced
LEAST_TURNS = 9
# Scenes whose frames differ: the turns go round these, and each counts as much as the others.
FRAMES_OF = {"game": (10, 45, 80)}


class Side:
    """One configuration of one library: a process, and the times of its turns in the scene that is open."""

    def __init__(self, name, command, environment, width, height, apart):
        self.name, self.width, self.height = name, width, height
        self.apart = apart  # whether the time of showing the picture is taken out
        self.folder = tempfile.TemporaryDirectory()  # the driver leaves its call summary in the current directory
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                        env={**os.environ, **environment}, cwd=self.folder.name)
        self.times = {}  # by frame number: a time a turn
        self.presents = []

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline().split()
        if not answer or answer[0] not in ("ok", "times"):
            raise RuntimeError(f"{self.name}: {line}: {' '.join(answer) or 'the host ended'}")
        return [float(word) for word in answer[1:]]

    def open(self, scene):
        self.times, self.presents = {}, []
        self.ask(f"open {scene} {self.width} {self.height}")

    def turn(self, frame, count, pause, measure, statistic):
        numbers = self.ask(f"turn {frame} {count} {pause}")
        frames = list(zip(numbers[0::3], numbers[1::3], numbers[2::3]))
        times = [(wall if measure == "wall" else processor) - (present if self.apart else 0)
                 for wall, processor, present in frames]
        self.times.setdefault(frame, []).append(least_or_median(times, statistic))
        self.presents.append(min(present for _, _, present in frames))

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.folder.cleanup()


def least_or_median(times, statistic):
    return min(times) if statistic == "low" else statistics.median(times)


def reproduced(times):
    """The least time that two other turns came close to; None where there is none."""
    ordered = sorted(times)
    return next((a for a, c in zip(ordered, ordered[2:]) if c <= a * REPRODUCED), None)


def figure(times, statistic):
    """The time of one frame number."""
    if statistic == "median":
        return statistics.median(times)
    found = reproduced(times)
    return min(times) if found is None else found


def total(side, statistic, part=0, parts=1):
    """A side's time over all frame numbers; of its turns in one part of the run alone, where parts are given."""
    figures = []
    for times in side.times.values():
        of = times[len(times) * part // parts:len(times) * (part + 1) // parts]
        figures.append(least_or_median(of, statistic) if parts > 1 else figure(of, statistic))
    return statistics.fmean(figures)


def steady(side):
    """Whether more turns would hardly change its least times: each is reproduced, and the latest third found no less."""
    for times in side.times.values():
        found = reproduced(times)
        early = min(times[:max(1, len(times) * 2 // 3)])
        if found is None or found > min(times) * REPRODUCED or min(times) < early / REPRODUCED:
            return False
    return True


def alternate(sides, scene, *, statistic, measure, frames, limit, pause=0.006, behind=0):
    """Runs one scene; returns the number of turns of each side and whether the figures are steady.

    `pause` seconds lie before each turn: by then the threads of the side before have stopped to spin for work.
    `behind` milliseconds lie behind each frame, for sides that show a picture while they already draw the next one.
    """
    numbers = FRAMES_OF.get(scene, (0,))
    for side in sides:
        side.open(scene)
    start, turns, settled = time.monotonic(), 0, False
    least = LEAST_TURNS * len(numbers)
    while turns < least or (not settled and time.monotonic() - start < limit):
        # Forth and back, so that no side always runs behind the same other one.
        for side in sides if turns // len(numbers) % 2 == 0 else reversed(sides):
            time.sleep(pause)
            side.turn(numbers[turns % len(numbers)], frames, behind, measure, statistic)
        turns += 1
        if turns >= least and turns % len(numbers) == 0:
            settled = all(steady(side) for side in sides)
    for side in sides:
        side.ask("close")
    return turns, settled


def ratio_range(first, other, statistic):
    """The least and the greatest of the ratio when each third of the turns is looked at alone."""
    ratios = [total(other, statistic, part, 3) / total(first, statistic, part, 3) for part in range(3)]
    return min(ratios), max(ratios)
