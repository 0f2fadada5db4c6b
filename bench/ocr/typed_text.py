"""What typed text is worth beside labels by hand: telvar label on styles of the bench.

    typed_text.py --program build/release/bin/telvar --data DIR --work DIR [--styles label inkjet laser]
                  [--start five nothing] [--placed-only]

DIR after --data holds rendered styles (python3 -m generator --style NAME --train 20 --test 40). `telvar label` places the
typed text of fifteen images of each style: with a reader that learned from five others labelled by hand (--start five), and
without a state, from common fonts alone (--start nothing). Printed are how many images are placed wholly right (every
character of its category within 0.4 nominal heights, and no other) and how many it is sure of. Unless --placed-only is given,
so is the character error on test images of readers that learned from the five, from the typed text as it was placed, and from
the same images labelled by hand.
"""

import argparse
import csv
import json
import pathlib
import shutil
import statistics
import subprocess

FIRST, TYPED, TESTED = 5, 15, 40
NEAR = 0.4  # nominal heights, as everywhere in the bench


def rows(path):
    with open(path, encoding="utf-8") as file:
        return list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))


def labelled(folder, count):
    images = {}
    for row in rows(folder / "chars.tsv"):
        image = images.setdefault(row["file"], {"file": row["file"], "characters": [], "text": []})
        image["characters"].append({"x": float(row["x"]), "y": float(row["y"]), "w": float(row["width"]),
                                    "h": float(row["height"]), "category": row["category"]})
    for row in rows(folder / "lines.tsv"):
        images[row["file"]]["text"].append(row["text"])
    return [images[name] for name in sorted(images)][:count]


def write_set(out, images, folder, size):
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)
    for image in images:
        shutil.copy(folder / image["file"], out)
    (out / "labels.json").write_text(json.dumps({"size": size, "images": images}), encoding="utf-8")
    return out


def is_wholly_right(image, truth, height):
    def stands(mark):
        return any(mark["category"] == found["category"] and abs(mark["x"] - found["x"]) < NEAR * height
                   and abs(mark["y"] - found["y"]) < NEAR * height for found in image["characters"])

    return len(image["characters"]) == len(truth["characters"]) and all(map(stands, truth["characters"]))


class Bench:
    """One style."""

    def __init__(self, program, style, work):
        self.program, self.work = program, work / style.name
        train = labelled(style / "train", FIRST + TYPED)
        self.truth = train[FIRST:]
        marks = [mark for image in train for mark in image["characters"]]
        self.size = [statistics.median(mark[side] for mark in marks) for side in "wh"]
        typed = [{"file": image["file"], "text": image["text"]} for image in self.truth]
        self.first = self.write("first", train[:FIRST], style / "train")
        self.typed = self.write("typed", typed, style / "train")
        self.hand = self.write("hand", self.truth, style / "train")
        self.test = self.write("test", labelled(style / "test", TESTED), style / "test")

    def write(self, name, images, folder):
        return write_set(self.work / name, images, folder, self.size)

    def telvar(self, *arguments):
        command = [self.program, *map(str, arguments), "--json", "--quiet"]
        return json.loads(subprocess.run(command, capture_output=True, check=True).stdout)

    def state_of(self, data):
        state = data.with_suffix(".telvar")
        if not state.exists():
            self.telvar("train", "--tool", "ocr", "--data", data, "--state", state)
        return state

    def error_after(self, data):
        error = self.telvar("evaluate", "--state", self.state_of(data), "--data", self.test)["character_error_rate"]
        return f"{100 * error:.2f} %"

    def place(self, start):
        """The data set with places, and what to say of it."""
        placed = self.work / f"placed-{start}"
        state = ["--state", self.state_of(self.first)] if start == "five" else []
        found = self.telvar("label", *state, "--data", self.typed, "--out", placed, "--force")
        images = json.loads((placed / "labels.json").read_text(encoding="utf-8"))["images"]
        right = [is_wholly_right(image, truth, self.size[1]) for image, truth in zip(images, self.truth)]
        return placed, f"{sum(right)} of {len(right)} images placed wholly right, {found['sure']} called sure"

    def measure(self, start, placed_only):
        placed, said = self.place(start)
        if not placed_only:
            said += f"; character error {self.error_after(placed)} after typed text, {self.error_after(self.hand)} by hand"
            if start == "five":
                said += f", {self.error_after(self.first)} after {FIRST} by hand"
        print(f"{self.work.name}, from {start}: {said}", flush=True)


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--program", required=True)
    options.add_argument("--data", type=pathlib.Path, required=True)
    options.add_argument("--work", type=pathlib.Path, required=True)
    options.add_argument("--styles", nargs="+", default=["label", "inkjet", "laser"])
    options.add_argument("--start", nargs="+", choices=["five", "nothing"], default=["five", "nothing"])
    options.add_argument("--placed-only", action="store_true")
    given = options.parse_args()
    for style in given.styles:
        shutil.rmtree(given.work / style, ignore_errors=True)  # states are of this program
        bench = Bench(given.program, given.data / style, given.work)
        for start in given.start:
            bench.measure(start, given.placed_only)


if __name__ == "__main__":
    main()
