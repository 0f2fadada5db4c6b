"""Photographs of Debian packages, split by file into those of training and of test images."""

import functools
import glob
import os

import numpy as np
from PIL import Image

_MOST_COLUMNS = 1600  # larger photographs are reduced: their detail would be lost anyway


class Photographs:
    """Every other file that matches one of `patterns`, in order of name: the even ones for the
    split 'train', the odd ones for 'test'."""

    def __init__(self, patterns, split):
        found = sorted(path for pattern in patterns for path in glob.glob(pattern))
        self._paths = found[{"train": 0, "test": 1}[split]::2]
        if not self._paths:
            raise FileNotFoundError(f"no photographs for {split} match {', '.join(patterns)}")

    def files(self):
        return list(self._paths)

    def crop(self, rng, width, height):
        """A random piece of a random photograph as (height, width) of 0..1, which covers between a
        quarter and the whole of the largest piece of that aspect."""
        photograph = _load(self._paths[rng.integers(len(self._paths))])
        largest = min(photograph.width / width, photograph.height / height)
        scale = largest * rng.uniform(0.25, 1.0)
        w, h = width * scale, height * scale
        x, y = rng.uniform(0, photograph.width - w), rng.uniform(0, photograph.height - h)
        piece = photograph.resize((width, height), Image.BICUBIC, box=(x, y, x + w, y + h))
        return np.asarray(piece, np.float32) / 255


@functools.lru_cache(maxsize=40)
def _load(path):
    photograph = Image.open(path)
    photograph.draft("L", (_MOST_COLUMNS, _MOST_COLUMNS))
    photograph = photograph.convert("L")
    photograph.thumbnail((_MOST_COLUMNS, _MOST_COLUMNS))
    return photograph
