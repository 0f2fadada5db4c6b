import unittest

import score


class CompareLinesTest(unittest.TestCase):
    def test_counts_errors_exact_lines_and_strays(self):
        table = [
            # true, read, (errors, exact, lines)
            (["AB1", "C2"], ["AB1", "C2"], (0, 2, 2)),
            (["AB1", "C2"], ["AB1"], (2, 1, 2)),  # a lost line costs its characters
            (["AB1", "C2"], ["AB1", "X", "C2"], (1, 2, 3)),  # a stray line is an error
            (["AB1"], ["A81"], (1, 0, 1)),
            (["AB1"], ["ABB1"], (1, 0, 1)),
            (["AB1"], [], (3, 0, 1)),
            ([], ["Q"], (1, 0, 1)),
            (["AB", "CD"], ["CD", "AB"], (4, 1, 3)),  # order matters
        ]
        for true, read, expected in table:
            with self.subTest(true=true, read=read):
                self.assertEqual(score.compare_lines(true, read), expected)

    def test_groups_rows_into_lines_per_file(self):
        rows = [{"file": f, "line": l, "category": c}
                for f, l, c in [("a", "0", "X"), ("a", "0", "Y"), ("a", "1", "Z"), ("b", "0", "1")]]
        self.assertEqual(score.lines_of(rows), {"a": ["XY", "Z"], "b": ["1"]})


if __name__ == "__main__":
    unittest.main()
