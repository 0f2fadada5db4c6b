"""Camera frames of 1280 x 1024 with several printed labels, to measure reading speed."""

import numpy as np
from PIL import Image

SIZE = (1280, 1024)
NOMINAL_HEIGHT = 30
_COLUMNS, _ROWS = 3, 6


def make_page(rng, frames, labels, height):
    """Scatters `labels`, each (8-bit pixels, rows of characters with a nominal `height`), over a
    frame. Returns pixels and rows (category, line, x, y, width, height); a label that does not fit
    its place is left out."""
    scale = NOMINAL_HEIGHT / height
    page = Image.fromarray((frames.crop(rng, *SIZE) * 200).astype(np.uint8))
    cell = SIZE[0] // _COLUMNS, SIZE[1] // _ROWS
    rows, lines = [], 0
    for place, (pixels, characters) in zip(rng.permutation(_COLUMNS * _ROWS), labels):
        label = Image.fromarray(pixels)
        label = label.resize((round(label.width * scale), round(label.height * scale)),
                             Image.BICUBIC)
        slack = cell[0] - label.width, cell[1] - label.height
        if min(slack) < 0:
            continue
        left = place % _COLUMNS * cell[0] + int(rng.integers(slack[0] + 1))
        top = place // _COLUMNS * cell[1] + int(rng.integers(slack[1] + 1))
        page.paste(label, (left, top))
        for category, line, x, y, w, h in characters:
            shift = (scale - 1) / 2  # pixel centres are at integers
            rows.append((category, lines + line, left + scale * x + shift,
                         top + scale * y + shift, scale * w, scale * h))
        lines += characters[-1][1] + 1
    return np.asarray(page), rows
