#!/usr/bin/python3
"""Prints the tables of the character reader and its peers; README.md describes them.

run.py --programs DIR --work DIR [--group develop|choose|final ...] [--train 20 [5 50 ...]]
       [--style NAME ...] [--only codes|fine-tuning|letter|speed] [--keep-peers] [--json FILE]

Every run of the group 'final' is recorded in final_runs.tsv beside this file.
"""

import argparse
import json
import os
import subprocess
import sys

import calibration
import final_record
import fine_tuning
import letter
import score
import tables
from generator import texts
from generator.groups import GROUPS
from programs import Programs, measure

ALL_STYLES = [name for group in GROUPS.values() for name in group.styles]
FRAMES = "/usr/share/visp-images-data/ViSP-images"
TRIAL_IMAGES = 20
PAGE_VARIANTS = [(mode, source) for mode in ("3", "6", "11")
                 for source in ("raw", "double", "normal", "binary")]
LINE_VARIANTS = [(mode, source) for mode in ("line7", "line13")
                 for source in ("raw", "double", "normal", "binary")]


def measure_reader(programs, artifact, test, stem, truth):
    """Plain, with light and dark exchanged, and with the pattern of each image. An image that its
    pattern does not match counts as it is read without."""
    programs.read(artifact, test, stem)
    row = measure(stem, truth)
    true_rows, read_rows = (score.read_table(f"{path}chars.tsv") for path in
                            (f"{test}/", f"{stem}."))
    row["verdicts"], row["marks_right"] = calibration.judge(true_rows, read_rows,
                                                            nominal_height(test))
    programs.read(artifact, test, stem + "_inverted", "read-inverted")
    row["inverted_exact_lines"] = measure(stem + "_inverted", truth)["exact_lines"]
    programs.read(artifact, test, stem + "_patterns", "read-patterns")
    matched = score.lines_of(score.read_table(stem + "_patterns.chars.tsv"))
    best = {**score.lines_of(read_rows), **matched}
    row["pattern_exact_lines"] = score.score(truth, best)[1]
    row["pattern_matched"] = len(matched) / len(truth)
    return row


def nominal_height(folder):
    return float(score.read_table(f"{folder}/../nominal.tsv")[0]["height"])


def best_tesseract(programs, work, test, truth, variants, name):
    """The variant with the fewest errors on the first test images, measured on all of them."""
    def run(variant, images, stem):
        programs.tesseract(test, stem, *variant, images, texts.CATEGORIES)
        return measure(stem, truth, images)

    trials = {variant: run(variant, TRIAL_IMAGES, f"{work}/{name}_trial")
              for variant in variants}
    best = min(trials, key=lambda v: (-trials[v]["exact_lines"], trials[v]["character_error"]))
    return {**run(best, len(truth), f"{work}/{name}"), "variant": "mode %s, %s" % best}


def measure_peers(programs, train, test, work, truth, train_images):
    return {
        "Tesseract, page": best_tesseract(programs, work, test, truth, PAGE_VARIANTS, "page"),
        "Tesseract, line crops": best_tesseract(programs, work, test, truth, LINE_VARIANTS,
                                                "crops"),
        "HOG + SVM, true places": programs.hog_svm(train, train_images, test)}


def measure_style(programs, data, work, style, options):
    train, test = f"{data}/{style}/train", f"{data}/{style}/test"
    work = f"{work}/{style}"
    os.makedirs(work, exist_ok=True)
    truth = score.lines_of(score.read_table(f"{test}/chars.tsv"))
    rows = {}
    for count in options.train:
        artifact = f"{work}/trained_{count}"
        training = programs.train(train, count, artifact)
        rows[f"telvar, {count} images"] = {
            **measure_reader(programs, artifact, test, f"{work}/telvar_{count}", truth), **training}
    peers = f"{work}/peers.json"
    if not (options.keep_peers and os.path.exists(peers)):
        found = measure_peers(programs, train, test, work, truth, options.train[0])
        with open(peers, "w") as stream:
            json.dump(found, stream, indent=1)
    with open(peers) as stream:
        return {**rows, **json.load(stream)}


def measure_letter(programs, work):
    letter.write_folds(f"{work}/letter")
    folds = [f"{work}/letter/fold{fold}" for fold in (0, 1)]
    readings, costs, training = [], [], []
    for fold in folds:
        training.append(programs.train(f"{fold}/train", 1, f"{fold}/trained"))
        programs.read(f"{fold}/trained", f"{fold}/train", f"{fold}/telvar")
        readings.append(score.read_table(f"{fold}/telvar.chars.tsv"))
        costs.append(score.mean_cost(f"{fold}/telvar.cost.tsv")[1])
    errors, marks = letter.compare(readings)
    rows = {"telvar": {"errors": errors, "marks": marks, "cpu_ms": sum(costs) / 2,
                       "train_cpu_s": sum(t["train_cpu_s"] for t in training) / 2}}
    for mode in ("3", "6"):
        for source in ("raw", "double"):
            stem = f"{work}/letter/tesseract"
            programs.tesseract(f"{folds[0]}/train", stem, mode, source, 1, "")
            characters = score.read_table(stem + ".chars.tsv")
            errors, marks = letter.compare([characters, characters])
            rows[f"Tesseract, mode {mode}, {source}"] = {
                "errors": errors, "marks": marks, "cpu_ms": score.mean_cost(stem + ".cost.tsv")[1]}
    return rows


def measure_speed(programs, data, work, train_images):
    """1280 x 1024 frames of printed text; the reader is the label style's."""
    artifact = f"{work}/label/trained_{train_images}"
    os.makedirs(f"{work}/label", exist_ok=True)
    if not os.path.exists(artifact):
        programs.train(f"{data}/label/train", train_images, artifact)
    rows = {}
    for pages in ("full", "scattered"):
        folder = f"{data}/pages/{pages}"
        true = len(score.read_table(f"{folder}/chars.tsv"))
        programs.read(artifact, folder, f"{work}/speed_telvar")
        rows[f"telvar, {pages}"] = _cost(f"{work}/speed_telvar", true)
        for mode in ("3", "6", "11"):
            stem = f"{work}/speed_tesseract"
            programs.tesseract(folder, stem, mode, "raw", 1000, texts.CATEGORIES)
            rows[f"Tesseract, {pages}, mode {mode}"] = _cost(stem, true)
    return rows


def _cost(stem, true_characters):
    wall, cpu = score.mean_cost(stem + ".cost.tsv")
    characters = score.read_table(stem + ".chars.tsv")
    return {"wall_ms": wall, "cpu_ms": cpu, "read": len(characters) / true_characters}


def parse():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", required=True, help="folder of the built programs")
    parser.add_argument("--work", required=True, help="folder for data, readings and artifacts")
    parser.add_argument("--frames", default=FRAMES, help="folder ViSP-images of visp-images-data")
    parser.add_argument("--train", type=int, nargs="+", default=[20], help="training images")
    parser.add_argument("--group", nargs="+", default=["develop"], choices=list(GROUPS))
    parser.add_argument("--style", nargs="+", choices=ALL_STYLES, help="these of the groups only")
    parser.add_argument("--only", choices=("codes", "fine-tuning", "letter", "speed"))
    parser.add_argument("--keep-peers", action="store_true",
                        help="take the peers' rows of an earlier run in the same folder")
    parser.add_argument("--json", help="write all figures here")
    return parser.parse_args()


def generate(options, data, style):
    """Makes the images of a style, or the pages, once; the same seed makes the same again."""
    done = f"{data}/{style}/complete"
    if os.path.exists(done):
        return
    command = [sys.executable, "-m", "generator", "--frames", options.frames, "--out", data,
               "--style", style]
    subprocess.run(command, check=True, cwd=os.path.dirname(os.path.abspath(__file__)))
    open(done, "w").close()


def measure_group(programs, data, work, group, options):
    wanted = [name for name in GROUPS[group].styles if name in (options.style or ALL_STYLES)]
    results = {}
    for style in wanted:
        generate(options, data, style)
        results[style] = measure_style(programs, data, work, style, options)
    if results:
        tables.print_codes(group, results)
        tables.print_calibration(group, results)
    return results


def without_verdicts(results):
    return {style: {name: {key: value for key, value in row.items() if key != "verdicts"}
                    for name, row in rows.items()} for style, rows in results.items()}


def main():
    options = parse()
    work, data = os.path.abspath(options.work), os.path.abspath(f"{options.work}/data")
    options.frames = os.path.abspath(options.frames)
    programs, results = Programs(options.programs), {}
    if options.only in (None, "codes"):
        for group in options.group:
            found = measure_group(programs, data, work, group, options)
            results[f"codes, {group}"] = without_verdicts(found)
            if group == "final" and found:
                final_record.append(found)
    if options.only in (None, "fine-tuning"):
        for style in sorted({style for pair in fine_tuning.PAIRS for style in pair}):
            generate(options, data, style)
        results["fine-tuning"] = fine_tuning.measure_pairs(programs, data, work, options.train[0])
        tables.print_fine_tuning(results["fine-tuning"])
    if options.only in (None, "letter"):
        results["letter"] = measure_letter(programs, work)
        tables.print_letter(results["letter"])
    if options.only in (None, "speed"):
        generate(options, data, "label")
        generate(options, data, "pages")
        results["speed"] = measure_speed(programs, data, work, options.train[0])
        tables.print_speed(results["speed"])
    if options.json:
        with open(options.json, "w") as stream:
            json.dump(results, stream, indent=1)


if __name__ == "__main__":
    main()
