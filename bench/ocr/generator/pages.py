"""Camera frames of 1280 x 1024 with several printed labels, or one full of text, to measure
reading speed."""

import numpy as np
from PIL import Image

SIZE = (1280, 1024)
NOMINAL_HEIGHT = 30
_COLUMNS, _ROWS = 3, 6


def scatter(rng, frames, labels, height):
    """Scatters `labels`, each (8-bit pixels, rows of characters with a nominal `height`), over a
    frame. Returns pixels and rows (category, line, x, y, width, height); a label that does not fit
    its place is left out."""
    scale = NOMINAL_HEIGHT / height
    page = _blank(rng, frames)
    cell = SIZE[0] // _COLUMNS, SIZE[1] // _ROWS
    rows, lines = [], 0
    for place, (pixels, characters) in zip(rng.permutation(_COLUMNS * _ROWS), labels):
        label = _enlarge(pixels, scale)
        slack = cell[0] - label.width, cell[1] - label.height
        if min(slack) < 0:
            continue
        left = place % _COLUMNS * cell[0] + int(rng.integers(slack[0] + 1))
        top = place // _COLUMNS * cell[1] + int(rng.integers(slack[1] + 1))
        page.paste(label, (left, top))
        rows += _move(characters, scale, left, top, lines)
        lines += characters[-1][1] + 1
    return np.asarray(page), rows


def fill(rng, frames, label, height):
    """One large `label` in the middle of a frame; what does not fit is cut off."""
    scale = NOMINAL_HEIGHT / height
    page, big = _blank(rng, frames), _enlarge(label[0], scale)
    left, top = (SIZE[0] - big.width) // 2, (SIZE[1] - big.height) // 2
    page.paste(big, (left, top))
    rows = _move(label[1], scale, left, top, 0)
    return np.asarray(page), [row for row in rows if 0 < row[2] < SIZE[0] and 0 < row[3] < SIZE[1]]


def _blank(rng, frames):
    return Image.fromarray((frames.crop(rng, *SIZE) * 200).astype(np.uint8))


def _enlarge(pixels, scale):
    label = Image.fromarray(pixels)
    return label.resize((round(label.width * scale), round(label.height * scale)), Image.BICUBIC)


def _move(characters, scale, left, top, lines):
    shift = (scale - 1) / 2  # pixel centres are at integers
    return [(category, lines + line, left + scale * x + shift, top + scale * y + shift,
             scale * w, scale * h) for category, line, x, y, w, h in characters]
