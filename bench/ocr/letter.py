"""The scanned letter: training on the marks of every other line, comparing on the marks of the rest.

Two folds, so that every mark is compared once. A mark counts when its kind has at least three
training marks. Readings are aligned with the true text line by line, each reader's in the same way.
"""

import os
import subprocess
from collections import Counter

from PIL import Image

import score

SCAN = "/usr/share/jbigkit-testdata/ccitt1.jbg"
LABELS = os.path.join(os.path.dirname(__file__), "../../examples/data/ocr_typewriter")
NOMINAL = (16, 22)
MIN_TRAINING_MARKS = 3


def _marks():
    rows = score.read_table(f"{LABELS}/chars.tsv")
    for row in rows:
        for key in ("line", "word", "x0", "y0", "x1", "y1"):
            row[key] = int(row[key])
    return rows


def write_folds(folder):
    """Writes `folder`/fold{0,1} in the format of a set of codes: nominal.tsv and train/."""
    os.makedirs(folder, exist_ok=True)
    subprocess.run(["jbgtopbm", SCAN, f"{folder}/page.pbm"], check=True)
    page = Image.open(f"{folder}/page.pbm").convert("L")
    for fold in (0, 1):
        train = f"{folder}/fold{fold}/train"
        os.makedirs(train, exist_ok=True)
        page.save(f"{train}/page.png")
        with open(f"{folder}/fold{fold}/nominal.tsv", "w") as nominal:
            print("width\theight", "\t".join(map(str, NOMINAL)), sep="\n", file=nominal)
        with open(f"{train}/chars.tsv", "w") as chars:
            print("file\tcategory\tline\tx\ty\twidth\theight", file=chars)
            for m in _training_marks(fold):
                print("page.png", m["char"], m["line"], (m["x0"] + m["x1"] - 1) / 2,
                      (m["y0"] + m["y1"] - 1) / 2, m["x1"] - m["x0"], m["y1"] - m["y0"], sep="\t",
                      file=chars)


def _fold_of_line():
    lines = sorted({mark["line"] for mark in _marks()})
    return {line: index % 2 for index, line in enumerate(lines)}


def _training_marks(fold):
    folds = _fold_of_line()
    return [mark for mark in _marks() if folds[mark["line"]] != fold]


def compare(readings):
    """`readings` holds the character rows read with each fold's reader. Returns (errors, marks)."""
    texts = _line_texts()
    folds = _fold_of_line()
    errors = marks = 0
    for fold, characters in enumerate(readings):
        kinds = Counter(mark["char"] for mark in _training_marks(fold))
        right = {line: _rightly_read(text, _read_in(box, characters))
                 for line, (box, text) in texts.items()}
        for mark in _marks():
            if folds[mark["line"]] == fold and kinds[mark["char"]] >= MIN_TRAINING_MARKS:
                marks += 1
                errors += not right[mark["line"]][_index_in_line(mark)]
    return errors, marks


def _line_texts():
    """{line number: (box, text without spaces)}"""
    table = {}
    for row in score.read_table(f"{LABELS}/lines.tsv"):
        box = tuple(int(row[key]) for key in ("x0", "y0", "x1", "y1"))
        table[int(row["file"][6:8])] = box, row["text"].replace(" ", "")
    return table


def _index_in_line(mark):
    """Where a mark stands in its line's text; type is evenly spaced within a word."""
    before = 0
    for row in score.read_table(f"{LABELS}/words.tsv"):
        if int(row["line"]) != mark["line"]:
            continue
        if int(row["file"][9:11]) == mark["word"]:
            left, right, text = int(row["x0"]), int(row["x1"]), row["text"]
            place = ((mark["x0"] + mark["x1"]) / 2 - left) / (right - left) * len(text) - 0.5
            near = sorted(range(len(text)), key=lambda i: abs(i - place))
            return before + next(i for i in near if text[i] == mark["char"])
        before += len(row["text"])
    raise ValueError(f"no word {mark['word']} in line {mark['line']}")


def _read_in(box, characters):
    """The text read inside a line's box, left to right."""
    inside = []
    for row in characters:
        x, y = float(row["x"]), float(row["y"])
        if box[0] - 8 <= x <= box[2] + 8 and box[1] - 4 <= y <= box[3] + 4:
            inside.append((x, row["category"]))
    return "".join(category for _, category in sorted(inside))


def _rightly_read(true, read):
    """Per character of `true`, whether the cheapest alignment pairs it with an equal one."""
    width = len(read) + 1
    cost = [[i + j if not i or not j else 0 for j in range(width)] for i in range(len(true) + 1)]
    for i in range(1, len(true) + 1):
        for j in range(1, width):
            cost[i][j] = min(cost[i - 1][j] + 1, cost[i][j - 1] + 1,
                             cost[i - 1][j - 1] + (true[i - 1] != read[j - 1]))
    right, i, j = [False] * len(true), len(true), len(read)
    while i and j:
        if cost[i][j] == cost[i - 1][j - 1] + (true[i - 1] != read[j - 1]):
            i, j = i - 1, j - 1
            right[i] = true[i] == read[j]
        elif cost[i][j] == cost[i - 1][j] + 1:
            i -= 1
        else:
            j -= 1
    return right
