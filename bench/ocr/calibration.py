"""Whether scores of characters are probabilities: of those read with 0.9, nine in ten should be
right. A read character is right if a true one of its category stands at its place."""

from collections import defaultdict

EDGES = (0.0, 0.5, 0.7, 0.8, 0.9, 0.95, 0.99, 1.0)
REACH = 0.4  # nominal heights between the centres of a read and a true character


def judge(true_rows, read_rows, nominal_height):
    """(score, whether it is right) of every read character, and how many true ones were read
    right. Each true character serves one read one, the nearest first."""
    true_of, read_of = _by_file(true_rows), _by_file(read_rows)
    verdicts, found = [], 0
    for file, true in true_of.items():
        read = read_of.get(file, [])
        owner = _pair(true, read, REACH * nominal_height)
        for index, row in enumerate(read):
            right = index in owner and true[owner[index]]["category"] == row["category"]
            verdicts.append((float(row["score"]), right))
            found += right
    return verdicts, found / sum(map(len, true_of.values()))


def _by_file(rows):
    files = defaultdict(list)
    for row in rows:
        files[row["file"]].append(row)
    return files


def _pair(true, read, reach):
    """{index in read: index in true}, by growing distance."""
    near = sorted((distance, i, j) for i, r in enumerate(read) for j, t in enumerate(true)
                  if (distance := _distance(r, t)) <= reach)
    owner, taken = {}, set()
    for _, i, j in near:
        if i not in owner and j not in taken:
            owner[i] = j
            taken.add(j)
    return owner


def _distance(a, b):
    return ((float(a["x"]) - float(b["x"])) ** 2 + (float(a["y"]) - float(b["y"])) ** 2) ** 0.5


def table(verdicts):
    """Rows (from, to, characters, mean score, share right) of the bins of EDGES that hold any."""
    bins = [[] for _ in EDGES[1:]]
    for score, right in verdicts:
        bins[sum(score >= edge for edge in EDGES[1:-1])].append((score, right))
    return [(low, high, len(inside), *(sum(column) / len(inside) for column in zip(*inside)))
            for low, high, inside in zip(EDGES, EDGES[1:], bins) if inside]


def expected_error(verdicts):
    """The mean gap between score and share right over the bins, weighed by their characters."""
    rows = table(verdicts)
    total = sum(row[2] for row in rows)
    return sum(row[2] * abs(row[3] - row[4]) for row in rows) / total if total else None
