"""Trains a reader of one style further on another: what it reads of the new style, beside a reader
that was trained on nothing else, and what it still reads of the first."""

import os

import score
from programs import measure

PAIRS = [("laser", "emboss"), ("laser", "inkjet"), ("label", "peen"), ("drops", "worn"),
         ("segments", "handstamp")]


def _exact_lines(programs, artifact, data, style, stem):
    programs.read(artifact, f"{data}/{style}/test", stem)
    truth = score.lines_of(score.read_table(f"{data}/{style}/test/chars.tsv"))
    return measure(stem, truth)["exact_lines"]


def measure_pair(programs, data, work, pair, images):
    """Trains the readers of both styles and the one of both, each on `images` of a style."""
    first, second = pair
    os.makedirs(work, exist_ok=True)
    both, stem = f"{work}/{first}_{second}", f"{work}/readings"
    alone, costs = {}, {}
    for style in pair:
        alone[style] = f"{work}/{style}"
        costs[style] = programs.train(f"{data}/{style}/train", images, alone[style])
    further = programs.train(f"{data}/{second}/train", images, both, start=alone[first])
    return {"first": first, "second": second,
            "anew": _exact_lines(programs, alone[second], data, second, stem),
            "further": _exact_lines(programs, both, data, second, stem),
            "before": _exact_lines(programs, alone[first], data, first, stem),
            "after": _exact_lines(programs, both, data, first, stem),
            "anew_cpu_s": costs[second]["train_cpu_s"], "further_cpu_s": further["train_cpu_s"]}


def measure_pairs(programs, data, work, images):
    return [measure_pair(programs, data, f"{work}/fine_tuning", pair, images) for pair in PAIRS]
