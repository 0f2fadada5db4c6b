import unittest

import calibration


def row(category, x, score=None, file="a"):
    return {"file": file, "category": category, "x": x, "y": 0, "score": score}


class CalibrationTest(unittest.TestCase):
    def test_a_read_character_is_right_at_its_place_only(self):
        true = [row("A", 0), row("B", 20), row("C", 40), row("D", 0, file="b")]
        read = [row("A", 3, 0.9),   # right
                row("A", -4, 0.6),  # a second reading of the same character
                row("8", 20, 0.5),  # another category
                row("C", 60, 0.4)]  # right category, elsewhere
        verdicts, found = calibration.judge(true, read, nominal_height=20)
        self.assertEqual(verdicts, [(0.9, True), (0.6, False), (0.5, False), (0.4, False)])
        self.assertEqual(found, 0.25)

    def test_bins_hold_mean_score_and_share_right(self):
        verdicts = [(1.0, True), (0.99, True), (0.92, False), (0.92, True), (0.0, False)]
        rows = calibration.table(verdicts)
        self.assertEqual([(r[0], r[2], r[4]) for r in rows], [(0.0, 1, 0), (0.9, 2, 0.5), (0.99, 2, 1)])
        self.assertAlmostEqual(calibration.expected_error(verdicts), (0 + 2 * 0.42 + 2 * 0.005) / 5)


if __name__ == "__main__":
    unittest.main()
