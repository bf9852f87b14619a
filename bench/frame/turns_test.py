"""What the frame benchmark tells of times: the least of all passes, when a scene is settled, the range of a ratio."""
import os
import sys
import unittest
from unittest import mock

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import turns  # noqa: E402
from chart import chart  # noqa: E402


class FakeSide:
    def __init__(self, *passes):
        self.passes = {"scene": [{0: list(times)} for times in passes]}


class Turns(unittest.TestCase):
    def test_the_least_time_is_taken_over_all_passes(self):
        side = FakeSide([5, 4], [3, 9], [7, 8])
        self.assertEqual(turns.total(side, "scene", "low"), 3)
        self.assertEqual(turns.total(side, "scene", "median"), 6)

    def test_frame_numbers_count_alike(self):
        side = FakeSide()
        side.passes["scene"] = [{10: [2, 3], 80: [6]}]
        self.assertEqual(turns.total(side, "scene", "low"), 4)

    def test_a_scene_settles_when_two_of_three_passes_agree(self):
        self.assertFalse(turns.settled(FakeSide([10], [10]), "scene"))
        self.assertTrue(turns.settled(FakeSide([10], [30], [10.2]), "scene"))
        self.assertFalse(turns.settled(FakeSide([10], [30], [11]), "scene"))
        # A later pass that finds less unsettles what two earlier ones agreed on.
        self.assertFalse(turns.settled(FakeSide([10], [10], [9]), "scene"))

    def test_the_range_holds_each_pass_and_all_together(self):
        over, under = FakeSide([20], [30], [24]), FakeSide([10], [10], [8])
        self.assertEqual(turns.ratio_range(over, under, "scene", "low"), (2.0, 3.0))

    def test_what_showing_a_picture_took_is_no_part_of_a_frame(self):
        class ShowingSide(FakeSide):
            width, height = 8, 4

            def __init__(self):
                super().__init__()
                self.passes, self.presents = {}, {}

            def ask(self, line):
                return []

            def frames(self, frame, count, behind, sweep):
                return [(25.0, 24.0, 23.0, 20.0)] * count

        for measure, own in zip(turns.MEASURES, (5, 4, 3)):
            side = ShowingSide()
            with mock.patch.object(turns, "PASS_SECONDS", 0), mock.patch.object(turns, "PAUSE_SECONDS", 0):
                turns.run_pass([side], "scene", statistic="low", measure=measure, frames=2, behind=0, sweep=0)
            self.assertEqual(turns.total(side, "scene", "low"), own)
            self.assertEqual(set(side.presents["scene"]), {20.0})


class Chart(unittest.TestCase):
    ROW = {"scene": "a", "title": "A < B", "measure": "wall", "width": 8, "height": 4, "threads": 2, "ratio": 1.5,
           "ratio_low": 1.25, "ratio_high": 1.75, "goal": None}

    def test_figures_of_earlier_runs_are_drawn_by_threads(self):
        text = chart([self.ROW])
        self.assertIn("2 threads", text)
        self.assertIn("A &lt; B", text)

    def test_a_series_has_its_own_name_and_colour(self):
        text = chart([{**self.ROW, "series": "avx", "caption": "rates"}, {**self.ROW, "series": "sse4"}])
        for word in ("avx", "sse4", "rates", "#2f6db0", "#e08a2c"):
            self.assertIn(word, text)


if __name__ == "__main__":
    unittest.main()
