#!/usr/bin/python3
"""Compares two builds of the library: what loading, training and reading cost with each, in turn.

compare.py --old LIB --new LIB --programs BIN --work DIR [--only load reader segmenter classifier full]

LIB is a folder that holds libTelvarWrappers.so, libTelvarTypes.so and libtelvar.so of one build; the
measuring programs of BIN run with either, since the interface is the same. Rows of one measurement
are made one after the other, old before new, so that a busy machine disturbs both alike: what counts
is the ratio. Seconds are CPU seconds of the process, memory is its peak resident size.
"""

import argparse
import os
import re
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "ocr"))
import score  # noqa: E402

FRAMES = "/usr/share/visp-images-data/ViSP-images"
CLOTHES = "/usr/share/datasets/fashion-mnist"
LOADS = 5
PROCESSES = 5
READER_STYLES = ["label", "laser", "emboss"]
READER_IMAGES = 20
SEGMENTER_SETS = ["defects", "mosaics", "stains"]

# Prints the libraries that came with one, the resident kB that it added, and the milliseconds.
LOAD = """
import ctypes, os, sys, time
def resident():
    return [int(line.split()[1]) for line in open("/proc/self/status") if line.startswith("VmRSS")][0]
def mapped():
    return {line.split()[-1] for line in open("/proc/self/maps") if ".so" in line}
before, libraries, start = resident(), mapped(), time.monotonic()
ctypes.CDLL(os.path.join(sys.argv[1], "libTelvarWrappers.so"))
took = time.monotonic() - start
print(len(mapped() - libraries), resident() - before, took * 1e3)
"""


class Build:
    """The programs, run with the library of one build."""

    def __init__(self, name, libraries, programs):
        self.name = name
        self.libraries = os.path.abspath(libraries)
        self._programs = programs

    def run(self, program, *arguments):
        """What it prints, its CPU seconds and its peak memory in MB."""
        command = [os.path.join(self._programs, program), *map(str, arguments)]
        environment = dict(os.environ, LD_LIBRARY_PATH=self.libraries)
        with tempfile.TemporaryFile("w+") as out:
            child = subprocess.Popen(command, env=environment, stdout=out)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = os.waitstatus_to_exitcode(status)
            if child.returncode != 0:
                raise RuntimeError(f"{program} failed with the {self.name} library: {command}")
            out.seek(0)
            return out.read(), usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


class Table:
    """Rows of old beside new, printed as they come."""

    def __init__(self):
        print("| | old | new | new / old |\n|---|---|---|---|")

    @staticmethod
    def row(what, old, new, digits=1):
        ratio = f"{new / old:.2f}" if old else ""
        print(f"| {what} | {old:.{digits}f} | {new:.{digits}f} | {ratio} |", flush=True)


def load(builds, table, _):
    rows = []
    for build in builds:
        answers = [subprocess.run([sys.executable, "-c", LOAD, build.libraries], check=True, text=True,
                                  stdout=subprocess.PIPE).stdout.split() for _ in range(LOADS)]
        rows.append([statistics.median(map(float, column)) for column in zip(*answers)])
    table.row("libraries loaded", *(row[0] for row in rows), digits=0)
    table.row("resident after loading, MB", *(row[1] / 1024 for row in rows))
    table.row("loading, ms", *(row[2] for row in rows))


def code_set(work, style):
    """The images of a style of the reader's bench, made once."""
    folder = os.path.join(work, "data", style)
    if not os.path.exists(folder):
        subprocess.run([sys.executable, "-m", "generator", "--frames", FRAMES, "--out",
                        os.path.dirname(folder), "--style", style], check=True,
                       cwd=os.path.join(HERE, "..", "ocr"))
    return folder


def exact_lines(folder, stem):
    truth = score.lines_of(score.read_table(f"{folder}/chars.tsv"))
    return 100 * score.score(truth, score.lines_of(score.read_table(stem + ".chars.tsv")))[1]


def reader(builds, table, work):
    for style in READER_STYLES:
        folder = code_set(work, style)
        rows = []
        for build in builds:
            artifact, stem = f"{work}/{style}-{build.name}", f"{work}/reading-{build.name}"
            answer, _, memory = build.run("ocr_bench", "train", f"{folder}/train", READER_IMAGES,
                                          artifact)
            build.run("ocr_bench", "read", artifact, f"{folder}/test", stem)
            rows.append([float(answer.split()[1]) / 1e3, memory, exact_lines(f"{folder}/test", stem),
                         score.mean_cost(stem + ".cost.tsv")[1]])
        training, memory, exact, reading = zip(*rows)
        table.row(f"reader, {style}: training, CPU s", *training)
        table.row(f"reader, {style}: peak of training, MB", *memory, digits=0)
        table.row(f"reader, {style}: exact lines, %", *exact)
        table.row(f"reader, {style}: reading an image, CPU ms", *reading)
    pages(builds, table, work)


def pages(builds, table, work):
    """Whole frames of 1280 x 1024, read by the readers of printed labels."""
    code_set(work, "pages")
    rows = []
    for build in builds:
        stem = f"{work}/pages-{build.name}"
        build.run("ocr_bench", "read", f"{work}/label-{build.name}", f"{work}/data/pages/full", stem)
        rows.append(score.mean_cost(stem + ".cost.tsv")[1])
    table.row("reader, 1280 x 1024 full of text, CPU ms", *rows, digits=0)


def segmenter(builds, table, _):
    for name in SEGMENTER_SETS:
        rows = []
        for build in builds:
            answer, _, memory = build.run("segmenter_bench", "--set", name, "--method", "engine")
            cells = [cell.strip() for cell in answer.splitlines()[-1].strip("|").split("|")]
            rows.append([float(cells[7]), memory, float(cells[2]), float(cells[8])])
        training, memory, iou, megapixel = zip(*rows)
        table.row(f"segmenter, {name}: training, CPU s", *training)
        table.row(f"segmenter, {name}: peak memory, MB", *memory, digits=0)
        table.row(f"segmenter, {name}: mean IoU", *iou, digits=3)
        table.row(f"segmenter, {name}: a megapixel, CPU s", *megapixel, digits=2)


def classifier_rows(builds, table, what, *options):
    rows = []
    for build in builds:
        answer, _, memory = build.run("telvar_classifier_bench", "--set", CLOTHES, "--methods",
                                      "engine", *options)
        correct, training, milliseconds = map(float, re.search(
            r"^engine .*?\d+\s+\d+\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)", answer, re.M).groups())
        rows.append([training, memory, correct, milliseconds])
    training, memory, correct, milliseconds = zip(*rows)
    table.row(f"classifier, {what}: training, CPU s", *training)
    table.row(f"classifier, {what}: peak memory, MB", *memory, digits=0)
    table.row(f"classifier, {what}: correct, %", *correct)
    table.row(f"classifier, {what}: an image, ms", *milliseconds, digits=2)


def classifier(builds, table, _):
    classifier_rows(builds, table, "200 a class, 3 draws", "--per-class", 200, "--draws", 3,
                    "--test", 2000)


def full(builds, table, _):
    classifier_rows(builds, table, "60,000", "--full")


MEASUREMENTS = {"load": load, "reader": reader, "segmenter": segmenter, "classifier": classifier,
                "full": full}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--old", required=True, help="folder of the old build's libraries")
    parser.add_argument("--new", required=True, help="folder of the new build's libraries")
    parser.add_argument("--programs", required=True, help="folder of the measuring programs")
    parser.add_argument("--work", required=True, help="folder for data and artifacts")
    parser.add_argument("--only", nargs="+", choices=list(MEASUREMENTS), default=list(MEASUREMENTS))
    options = parser.parse_args()
    work = os.path.abspath(options.work)
    os.makedirs(work, exist_ok=True)
    builds = [Build("old", options.old, options.programs), Build("new", options.new, options.programs)]
    table = Table()
    for name in options.only:
        MEASUREMENTS[name](builds, table, work)


if __name__ == "__main__":
    main()
