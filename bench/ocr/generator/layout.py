"""Places characters on a flat surface. Coordinates are surface pixels, y down."""

from dataclasses import dataclass

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from . import dot_font

FONT_ROOT = "/usr/share/fonts"


@dataclass
class Glyph:
    """One placed character: its box, and either a font with an origin or the centres of dots. Turned
    by `angle` (degrees) and leaning by `lean` (x per y) around the box's centre."""

    category: str
    line: int
    x0: float
    y0: float
    x1: float
    y1: float
    font: object = None
    origin: tuple = None
    dots: np.ndarray = None
    angle: float = 0.0
    lean: float = 0.0


def load_font(name, cap_height):
    """The font file `name` below FONT_ROOT, scaled so that 'H' is `cap_height` pixels high."""
    probe = ImageFont.truetype(f"{FONT_ROOT}/{name}", 200)
    box = probe.getbbox("H", anchor="ls")
    return ImageFont.truetype(f"{FONT_ROOT}/{name}", round(200 * cap_height / (box[3] - box[1])))


def place_font_line(rng, font, text, line, left, baseline, spacing, jitter):
    """`spacing` widens every advance; each character moves by its own `jitter` (deviation)."""
    glyphs, x = [], left
    for character in text:
        dx, dy = rng.normal(0, jitter, 2)
        if character != " ":
            box = font.getbbox(character, anchor="ls")
            origin = (x + dx, baseline + dy)
            glyphs.append(Glyph(character, line, origin[0] + box[0], origin[1] + box[1],
                                origin[0] + box[2], origin[1] + box[3], font, origin))
        x += font.getlength(character) + spacing
    return glyphs


def place_dot_line(rng, text, line, left, top, pitch, advance, jitter):
    """5 x 7 dots `pitch` apart, `advance` dot columns per character, each dot moved by `jitter`."""
    glyphs = []
    for index, character in enumerate(text):
        if character == " ":
            continue
        centres = (np.array(dot_font.dots(character), float) + 0.5) * pitch
        centres += (left + index * advance * pitch, top)
        centres += rng.normal(0, jitter, centres.shape)
        low, high = centres.min(0) - pitch / 2, centres.max(0) + pitch / 2
        glyphs.append(Glyph(character, line, *low, *high, dots=centres))
    return glyphs


def draw_font_ink(glyphs, shape):
    """Coverage 0..1 of every pixel by glyphs that have a font."""
    ink = Image.new("L", (shape[1], shape[0]), 0)
    draw = ImageDraw.Draw(ink)
    for glyph in glyphs:
        draw.text(glyph.origin, glyph.category, font=glyph.font, fill=255, anchor="ls")
    return np.asarray(ink, np.float32) / 255


def stamp_dots(glyphs, shape, profile, radius, strengths):
    """The largest of all dots' `profile(r)` at every pixel; r in units of `radius` (array, one
    per dot), zero beyond r = 3. `strengths` scales each dot."""
    field = np.zeros(shape, np.float32)
    centres = np.concatenate([glyph.dots for glyph in glyphs])
    for (x, y), size, strength in zip(centres, radius, strengths):
        reach = int(np.ceil(3 * size))
        left, top = max(int(x) - reach, 0), max(int(y) - reach, 0)
        view = field[top:int(y) + reach + 1, left:int(x) + reach + 1]
        rows, columns = np.ogrid[0:view.shape[0], 0:view.shape[1]]
        r = np.hypot(columns + left + 0.5 - x, rows + top + 0.5 - y) / size
        np.maximum(view, strength * profile(r), out=view)
    return field


def dot_count(glyphs):
    return sum(len(glyph.dots) for glyph in glyphs)
