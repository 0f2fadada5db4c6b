"""What characters look like before they touch a surface: their coverage, 0..1, glyph by glyph.

A shape draws one character `height` pixels high (that of its capital H) into an array of its own.
"""

from dataclasses import dataclass

import numpy as np
from PIL import Image, ImageDraw, ImageFont
from scipy import ndimage

from . import segments

PAD = 6  # pixels around the ink of a glyph's array


@dataclass
class Glyph:
    """One character's coverage. `left` and `top` place its array relative to the pen position on
    the baseline, `box` is the ink (x0, y0, x1, y1) in the same frame, `advance` moves the pen."""

    ink: np.ndarray
    left: float
    top: float
    box: tuple
    advance: float


class Outlines:
    """Characters of a font as they are."""

    def __init__(self, face, height):
        probe = ImageFont.truetype(face.path, 200).getbbox("H", anchor="ls")
        size = max(200 * height / max(probe[3] - probe[1], 1), 4)
        self._font = ImageFont.truetype(face.path, round(size))
        self._height = height
        self.characters = face.characters

    def draw(self, character):
        box = self._font.getbbox(character, anchor="ls")
        size = max(box[2] - box[0], 1) + 2 * PAD, max(box[3] - box[1], 1) + 2 * PAD
        layer = Image.new("L", size, 0)
        left, top = box[0] - PAD, box[1] - PAD
        ImageDraw.Draw(layer).text((-left, -top), character, font=self._font, fill=255, anchor="ls")
        return Glyph(np.asarray(layer, np.float32) / 255, left, top, box,
                     self._font.getlength(character))


class Dots:
    """Characters on a grid of dots: of a bitmap-like font on its own grid, of another font on
    `rows` rows to a capital."""

    def __init__(self, rng, face, height):
        probe = ImageFont.truetype(face.path, 400).getbbox("H", anchor="ls")
        if face.pixel:
            capital = (probe[3] - probe[1]) / 400 * face.units
            rows = max(int(round(capital / face.pixel)), 5)
        else:
            rows = int(rng.integers(11, 22))
        self._cell = 8
        self._font = ImageFont.truetype(
            face.path, round(400 * self._cell * rows / max(probe[3] - probe[1], 1)))
        self._pitch = height / rows
        self._squeeze = rng.uniform(0.75, 1.15)  # column over row distance
        self._radius = self._pitch * rng.uniform(0.34, 0.75)
        self._jitter = self._pitch * abs(rng.normal(0, 0.08))
        self._uneven, self._lost = abs(rng.normal(0, 0.12)), rng.choice([0, 0, 0.02, 0.06])
        self._hard = rng.uniform(0.8, 4.0)  # edge steepness, per pixel
        self._square = rng.random() < 0.15
        self._rng = rng
        self.characters = face.characters

    def draw(self, character):
        x, y, advance = self._grid(character)
        if not len(x):
            x, y = np.zeros(1), np.zeros(1)
        x0, y0 = x.min() - self._radius, y.min() - self._radius
        x1, y1 = x.max() + self._radius, y.max() + self._radius
        reach = PAD + int(self._radius)
        left, top = int(x0) - reach, int(y0) - reach
        shape = int(y1 - top) + reach, int(x1 - left) + reach
        ink = self._stamp(x - left, y - top, shape)
        return Glyph(ink, left, top, (x0, y0, x1, y1), advance)

    def _grid(self, character):
        """Centres of the dots relative to the pen, and the advance."""
        box = self._font.getbbox(character, anchor="ls")
        cell = self._cell
        columns = range(int(np.floor(box[0] / cell)), int(np.ceil(box[2] / cell)))
        rows = range(int(np.floor(box[1] / cell)), int(np.ceil(box[3] / cell)))
        shape = max(len(rows), 1) * cell, max(len(columns), 1) * cell
        layer = Image.new("L", shape[::-1], 0)
        origin = -(columns.start or 0) * cell, -(rows.start or 0) * cell
        ImageDraw.Draw(layer).text(origin, character, font=self._font, fill=255, anchor="ls")
        cells = np.asarray(layer, np.float32).reshape(len(rows) or 1, cell, -1, cell).mean((1, 3))
        row, column = np.nonzero(cells > min(127, 0.6 * cells.max()))
        x = (column + columns.start + 0.5) * self._pitch * self._squeeze
        y = (row + rows.start + 0.5) * self._pitch
        advance = self._font.getlength(character) / cell * self._pitch * self._squeeze
        return x, y, advance

    def _stamp(self, x, y, shape):
        rng = self._rng
        ink = np.zeros(shape, np.float32)
        x = x + rng.normal(0, self._jitter + 1e-6, len(x))
        y = y + rng.normal(0, self._jitter + 1e-6, len(y))
        radius = self._radius * np.exp(rng.normal(0, self._uneven + 1e-6, len(x)))
        force = np.where(rng.random(len(x)) < self._lost, 0.1, 1 - self._uneven * rng.random(len(x)))
        for a, b, size, strength in zip(x, y, radius, force):
            reach = int(size + 3)
            top, left = max(int(b) - reach, 0), max(int(a) - reach, 0)
            view = ink[top:int(b) + reach + 1, left:int(a) + reach + 1]
            v, u = np.ogrid[top:top + view.shape[0], left:left + view.shape[1]]
            u, v = np.abs(u + 0.5 - a), np.abs(v + 0.5 - b)
            distance = np.maximum(u, v) if self._square else np.hypot(u, v)
            dot = strength / (1 + np.exp(np.clip(self._hard * (distance - size), -30, 30)))
            np.maximum(view, dot, out=view)
        return ink


class Segments:
    """Characters of a display of seven or fourteen bars."""

    def __init__(self, rng, height):
        self._display = segments.Display(rng)
        self._height = height
        self.characters = self._display.characters

    def draw(self, character):
        ink, width = self._display.draw(character, self._height)
        rows, columns = np.nonzero(ink > 0.3)
        box = columns.min(), rows.min() - self._height, columns.max() + 1, rows.max() + 1 - self._height
        ink = np.pad(ink, PAD)
        return Glyph(ink, -PAD, -PAD - self._height, box, width)


def cut_bridges(rng, ink, height):
    """Interrupts strokes as a stencil's bridges do: one or two bars across the glyph."""
    width = rng.uniform(0.07, 0.13) * height
    rows, columns = np.mgrid[0:ink.shape[0], 0:ink.shape[1]].astype(np.float32)
    angle = rng.choice([0.0, 0.0, np.pi / 2, 0.9])
    along = (columns - ink.shape[1] / 2) * np.cos(angle) + (rows - ink.shape[0] / 2) * np.sin(angle)
    return ink * np.clip(np.abs(along) - width / 2 + 0.5, 0, 1)


def outlined(ink, width):
    """Only the contours of the strokes."""
    return np.clip(ink - ndimage.grey_erosion(ink, size=(width, width)), 0, 1)


def hatched(rng, ink, height):
    """Strokes filled by parallel lines, as a laser or a plotter leaves them."""
    rows, columns = np.mgrid[0:ink.shape[0], 0:ink.shape[1]].astype(np.float32)
    angle, period = rng.choice([0.0, np.pi / 4, np.pi / 2]), height * rng.uniform(0.08, 0.16)
    wave = np.cos((columns * np.cos(angle) + rows * np.sin(angle)) * 2 * np.pi / period)
    return ink * (1 - rng.uniform(0.3, 0.8) * (0.5 + 0.5 * wave))
