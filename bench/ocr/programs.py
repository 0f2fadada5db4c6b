"""The measuring programs, and what their readings are worth."""

import os
import subprocess

import score


class Programs:
    """The measuring programs, one call each. Tesseract gets one thread: its own do not pay."""

    def __init__(self, folder):
        self._folder = folder

    def _run(self, name, *arguments):
        command = [os.path.join(self._folder, name), *map(str, arguments)]
        environment = dict(os.environ, OMP_THREAD_LIMIT="1") if name == "tesseract_peer" else None
        answer = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE,
                                env=environment)
        return answer.stdout.split()

    def train(self, folder, images, artifact, start=None):
        """From the artifact `start`, if there is one, or from nothing."""
        wall_ms, cpu_ms, value = map(float, self._run("ocr_bench", "train", folder, images, artifact,
                                                      *([start] if start else [])))
        return {"train_wall_s": wall_ms / 1e3, "train_cpu_s": cpu_ms / 1e3, "held_out": value}

    def read(self, artifact, folder, out, way="read"):
        """`way` is read, read-inverted (light and dark exchanged) or read-patterns."""
        self._run("ocr_bench", way, artifact, folder, out)

    def tesseract(self, folder, out, mode, source, images, whitelist):
        self._run("tesseract_peer", folder, out, mode, source, images, whitelist)

    def hog_svm(self, train, images, test):
        errors, characters, *chosen = map(float, self._run("hog_svm_peer", train, images, test))
        return {"character_error": errors / characters, "patch_gamma_c": chosen}


def measure(stem, truth, images=None):
    """Scores the readings of `stem` on the first `images` of `truth`."""
    files = sorted(truth)[:images]
    read = score.lines_of(score.read_table(stem + ".chars.tsv"))
    error, exact = score.score({file: truth[file] for file in files}, read)
    wall, cpu = score.mean_cost(stem + ".cost.tsv")
    return {"character_error": error, "exact_lines": exact, "wall_ms": wall, "cpu_ms": cpu}
