"""What typed text is worth beside labels by hand: telvar label on styles of the bench.

    typed_text.py --program build/release/bin/telvar --data DIR --work DIR [--styles label inkjet laser]

DIR after --data holds rendered styles (python3 -m generator). For each style a reader learns from five images labelled by
hand; with it `telvar label` places the typed text of fifteen others. Printed are how many of these are placed wholly right
(every character of its category within 0.4 nominal heights, and no other), how many it is sure of, and the character error
on test images of readers that learned from the five, from the typed text as it was placed, and from the same images
labelled by hand.
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
    def __init__(self, program, work):
        self.program, self.work = program, work

    def telvar(self, *arguments):
        done = subprocess.run([self.program, *map(str, arguments), "--json", "--quiet"], capture_output=True, check=True)
        return json.loads(done.stdout)

    def error_after(self, data, test):
        """The state that is trained on the data, and its character error."""
        state = data.with_suffix(".telvar")
        self.telvar("train", "--tool", "ocr", "--data", data, "--state", state, "--force")
        return state, self.telvar("evaluate", "--state", state, "--data", test)["character_error_rate"]

    def measure(self, style):
        work = self.work / style.name
        train = labelled(style / "train", FIRST + TYPED)
        marks = [mark for image in train for mark in image["characters"]]
        size = [statistics.median(mark[side] for mark in marks) for side in "wh"]
        typed = [{"file": image["file"], "text": image["text"]} for image in train[FIRST:]]
        first = write_set(work / "first", train[:FIRST], style / "train", size)
        typed = write_set(work / "typed", typed, style / "train", size)
        hand = write_set(work / "hand", train[FIRST:], style / "train", size)
        test = write_set(work / "test", labelled(style / "test", TESTED), style / "test", size)
        state, first_error = self.error_after(first, test)
        placed = work / "placed"
        found = self.telvar("label", "--state", state, "--data", typed, "--out", placed, "--force")
        images = json.loads((placed / "labels.json").read_text(encoding="utf-8"))["images"]
        right = sum(is_wholly_right(image, truth, size[1]) for image, truth in zip(images, train[FIRST:]))
        print(f"{style.name}: {right} of {len(images)} images placed wholly right, {found['sure']} called sure; "
              f"character error {100 * first_error:.2f} % after {FIRST} labelled images, "
              f"{100 * self.error_after(placed, test)[1]:.2f} % after typed text, "
              f"{100 * self.error_after(hand, test)[1]:.2f} % after the same by hand", flush=True)


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--program", required=True)
    options.add_argument("--data", type=pathlib.Path, required=True)
    options.add_argument("--work", type=pathlib.Path, required=True)
    options.add_argument("--styles", nargs="+", default=["label", "inkjet", "laser"])
    given = options.parse_args()
    for style in given.styles:
        Bench(given.program, given.work).measure(given.data / style)


main()
