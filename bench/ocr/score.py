"""Compares read lines with true lines.

Lines are aligned in order at least cost. The cost of a pair is its edit distance; a true line that
is not read costs its characters, and so does a stray line that was read.
"""

import csv
from collections import defaultdict


def edit_distance(a, b):
    row = list(range(len(b) + 1))
    for i, x in enumerate(a, 1):
        previous, row[0] = row[0], i
        for j, y in enumerate(b, 1):
            previous, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, previous + (x != y))
    return row[-1]


def compare_lines(true, read):
    """Returns (character errors, exact lines, lines that could have been exact).

    The last counts true lines and stray ones: a stray line is an error."""
    # best[i][j] = (errors, -exact, strays) of true[:i] against read[:j]
    best = [[(0, 0, 0)] * (len(read) + 1) for _ in range(len(true) + 1)]
    for i in range(len(true) + 1):
        for j in range(len(read) + 1):
            options = []
            if i:
                options.append(_plus(best[i - 1][j], len(true[i - 1]), 0, 0))
            if j:
                options.append(_plus(best[i][j - 1], len(read[j - 1]), 0, 1))
            if i and j:
                distance = edit_distance(true[i - 1], read[j - 1])
                options.append(_plus(best[i - 1][j - 1], distance, -(distance == 0), 0))
            best[i][j] = min(options, default=(0, 0, 0))
    errors, exact, strays = best[-1][-1]
    return errors, -exact, len(true) + strays


def _plus(total, errors, exact, strays):
    return total[0] + errors, total[1] + exact, total[2] + strays


def read_table(path):
    with open(path, newline="", encoding="utf-8") as stream:
        return list(csv.DictReader(stream, delimiter="\t", quoting=csv.QUOTE_NONE))


def lines_of(characters):
    """{file: [text of each line]} of rows with file, line, category in reading order."""
    texts = defaultdict(lambda: defaultdict(str))
    for row in characters:
        texts[row["file"]][int(row["line"])] += row["category"]
    return {file: list(lines.values()) for file, lines in texts.items()}


def score(true_lines, read_lines):
    """Character error rate and exact-line rate over the images of `true_lines`."""
    errors = exact = lines = characters = 0
    for file, true in true_lines.items():
        result = compare_lines(true, read_lines.get(file, []))
        errors, exact, lines = errors + result[0], exact + result[1], lines + result[2]
        characters += sum(map(len, true))
    return errors / characters, exact / lines


def mean_cost(path, limit=None):
    """Mean (wall ms, CPU ms) of a cost table."""
    rows = read_table(path)[:limit]
    return tuple(sum(float(row[key]) for row in rows) / len(rows) for key in ("wall_ms", "cpu_ms"))
