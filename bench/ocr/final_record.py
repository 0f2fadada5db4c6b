"""Keeps a trace of every run of the group 'final' in final_runs.tsv, which is committed.

The group says how the reader does on styles that nobody tuned it to. That holds for the first run
only, so nobody can look at it in passing.
"""

import datetime
import os
import subprocess

FOLDER = os.path.dirname(os.path.abspath(__file__))
RECORD = os.path.join(FOLDER, "final_runs.tsv")


def append(results):
    """One row per number of training images: exact lines of all styles, in percent."""
    if not os.path.exists(RECORD):
        with open(RECORD, "w") as record:
            print("date", "commit", "reader", "exact lines, mean %", "exact lines by style %",
                  sep="\t", file=record)
    with open(RECORD, "a") as record:
        for reader, row in next(iter(results.values())).items():
            if "train_cpu_s" in row:
                exact = {style: 100 * rows[reader]["exact_lines"]
                         for style, rows in results.items()}
                print(datetime.date.today(), _commit(), reader,
                      f"{sum(exact.values()) / len(exact):.2f}",
                      ", ".join(f"{style} {value:.1f}" for style, value in exact.items()),
                      sep="\t", file=record)


def _commit():
    answer = subprocess.run(["git", "-C", FOLDER, "describe", "--always", "--dirty"],
                            text=True, stdout=subprocess.PIPE)
    return answer.stdout.strip() or "unknown"
