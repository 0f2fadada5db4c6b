"""Writes training and test sets of the styles of one group, or of one style.

python3 -m generator --frames DIR --out DIR [--group develop|choose|final | --style NAME|pages]
                     [--train 50] [--test 100] [--pages 5] [--seed 1]

DIR after --frames is /usr/share/visp-images-data/ViSP-images of Debian's visp-images-data.
OUT/<style>/{train,test}/ receives NNN.png, chars.tsv (file, category, line, x, y, width, height:
centre and box in pixels), lines.tsv (file, line, text without spaces) and patterns.tsv (file, line,
the allowed characters of each position). The first n training images are the training set of n.
OUT/pages/{scattered,full}/, written with 'pages' only, receive frames of 1280 x 1024.
"""

import argparse
import functools
import os

import numpy as np
from PIL import Image

from . import backgrounds, camera, pages, styles, texts
from .groups import GROUPS, group_of


def make_image(style, frames, rng, lines=None):
    """Returns 8-bit pixels, rows (category, line, x, y, width, height) in reading order, and the
    pattern of each line."""
    lines = lines or style.lines(rng)
    surface, glyphs = style.draw(rng, frames, [texts.text_of(line) for line in lines])
    flat_size = surface.shape[1], surface.shape[0]
    size = flat_size[0] // styles.SCALE, flat_size[1] // styles.SCALE
    view = camera.random_view(rng, flat_size, size, style.tilt_degrees)
    image = camera.look(_reflect_border(surface), _shifted(view), size)
    image = camera.illuminate(rng, image, style.light)
    pixels = camera.expose(rng, image, style.blur, style.noise)
    return pixels, [_row(glyph, view) for glyph in glyphs], list(map(texts.pattern_of, lines))


_BORDER = 64


def _reflect_border(surface):
    """Keeps the corners of a turned image on the surface."""
    return np.pad(surface, _BORDER, mode="symmetric")


def _shifted(view):
    return np.array([[1, 0, _BORDER], [0, 1, _BORDER], [0, 0, 1]], float) @ view


def _row(glyph, view):
    corners = np.array([(glyph.x0, glyph.y0), (glyph.x1, glyph.y0),
                        (glyph.x1, glyph.y1), (glyph.x0, glyph.y1)])
    places = camera.to_image(corners, view)
    centre = camera.to_image(corners.mean(0)[None], view)[0]
    extent = np.ptp(places, axis=0)
    return glyph.category, glyph.line, *centre, *extent


def write_set(folder, images):
    """`images` yields what make_image returns; without patterns it may be two elements."""
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/chars.tsv", "w") as chars, open(f"{folder}/lines.tsv", "w") as lines, \
            open(f"{folder}/patterns.tsv", "w") as patterns:
        print("file\tcategory\tline\tx\ty\twidth\theight", file=chars)
        print("file\tline\ttext", file=lines)
        print("file\tline\tallowed characters of each position", file=patterns)
        for index, (pixels, rows, *known) in enumerate(images):
            name = f"{index:03d}.png"
            Image.fromarray(pixels).save(f"{folder}/{name}")
            for category, line, *box in rows:
                print(name, category, line, *(f"{v:.2f}" for v in box), sep="\t", file=chars)
            for line in range(rows[-1][1] + 1):
                text = "".join(row[0] for row in rows if row[1] == line)
                print(name, line, text, sep="\t", file=lines)
            for line, pattern in enumerate(known[0] if known else ()):
                print(name, line, *pattern, sep="\t", file=patterns)


def write_nominal(folder, width, height):
    with open(f"{folder}/nominal.tsv", "w") as nominal:
        print(f"width\theight\n{width:g}\t{height:g}", file=nominal)


def _seeded_image(style, frames, seed):
    rng = np.random.default_rng(seed)
    *_, part, index = seed
    return make_image(style, frames, rng, style.lines(rng, None if part else index))


def write_style(style, scenes, options):
    for part, (split, count) in enumerate((("train", options.train), ("test", options.test))):
        frames = scenes(options.frames, split)
        seeds = ([options.seed, style.number, part, index] for index in range(count))
        write_set(f"{options.out}/{style.name}/{split}",
                  (_seeded_image(style, frames, seed) for seed in seeds))
    write_nominal(f"{options.out}/{style.name}", *style.nominal)


def _joined(pieces):
    return functools.reduce(lambda line, piece: line + [(" ", " ")] + piece, pieces)


def write_pages(options):
    style = styles.STYLES["label"]
    frames = backgrounds.Frames(options.frames, "test")

    def rng_of(index):
        return np.random.default_rng([options.seed, len(styles.STYLES), index])

    def scattered(index):
        rng = rng_of(index)
        labels = [make_image(style, frames, rng)[:2] for _ in range(12)]
        return pages.scatter(rng, frames, labels, style.nominal[1])

    def full(index):
        rng = rng_of(1000 + index)
        lines = [_joined(texts.random_lines(rng)[0] for _ in range(4)) for _ in range(18)]
        return pages.fill(rng, frames, make_image(style, frames, rng, lines), style.nominal[1])

    write_set(f"{options.out}/pages/scattered", map(scattered, range(options.pages)))
    write_set(f"{options.out}/pages/full", map(full, range(options.pages)))
    scale = pages.NOMINAL_HEIGHT / style.nominal[1]
    write_nominal(f"{options.out}/pages", style.nominal[0] * scale, pages.NOMINAL_HEIGHT)


def main():
    parser = argparse.ArgumentParser(prog="generator", description=__doc__.splitlines()[0])
    parser.add_argument("--frames", required=True, help="folder ViSP-images of visp-images-data")
    parser.add_argument("--out", required=True)
    parser.add_argument("--group", choices=list(GROUPS), default="develop")
    parser.add_argument("--style", help="one style of any group, or 'pages'")
    parser.add_argument("--train", type=int, default=50)
    parser.add_argument("--test", type=int, default=100)
    parser.add_argument("--pages", type=int, default=5)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    if options.style == "pages":
        write_pages(options)
        return
    group = GROUPS[group_of(options.style) if options.style else options.group]
    for name, style in group.styles.items():
        if options.style in (None, name):
            write_style(style, group.scenes, options)


if __name__ == "__main__":
    main()
