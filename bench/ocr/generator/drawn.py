"""Styles whose every property is drawn from wide ranges by a seed of their own.

A marking (a class of marks_choose.py or marks_final.py) says how characters are put on a surface;
its style says with what size, polarity, contrast, spacing, view, light and texts, and on what.
"""

import numpy as np
from PIL import Image, ImageDraw
from scipy import ndimage

from . import layout, texts

SCALE = 2  # surface pixels per image pixel
STYLE_SEED = 20261
_CONFUSABLE = (("O", "0"), ("Q", "O"), ("Q", "0"), ("D", "O"), ("D", "0"), ("I", "1"))
_LIKENESS = 0.94


class DrawnStyle:
    """One style of a group; `number` seeds it and is unlike every other style's."""

    def __init__(self, number, marking_class, surfaces):
        rng = np.random.default_rng([STYLE_SEED, number])
        self.number, self.name = number, marking_class.name
        self.font_name = str(rng.choice(marking_class.fonts))
        self.nominal = self._draw_size(rng, marking_class)
        self.tilt_degrees = rng.uniform(1, 6)
        self.light = rng.uniform(0.15, 0.6)
        sharpest = rng.uniform(0.35, 0.8)
        self.blur = (sharpest, sharpest * rng.uniform(1.4, 2.2))
        self.noise = rng.uniform(0.008, 0.035)
        self.bright = bool(rng.random() < marking_class.bright)
        self._contrast = _range(rng, *marking_class.contrast, 1.5)
        self._spacing = _range(rng, *marking_class.spacing, 1.4)
        self._line_distance = _range(rng, 1.3, 1.8, 1.2)
        self._lean = rng.uniform(-0.12, 0.2) if rng.random() < marking_class.leaning else 0.0
        self._jitter = rng.uniform(*marking_class.jitter)
        self._surface = surfaces[int(rng.integers(len(surfaces)))]
        self._grain = rng.uniform(*marking_class.grain)
        self._photograph = rng.uniform(0.1, 0.3)
        self._job = texts.Job(rng, self._unreadable(marking_class), **marking_class.job)
        self._marking = marking_class(rng)

    def _draw_size(self, rng, marking_class):
        height = rng.uniform(*marking_class.height)
        font = layout.load_font(self.font_name, 100)
        return round(height * font.getlength("0") / 100 * 1.05), round(height)

    def _unreadable(self, marking_class):
        """Letters that a person could not tell from a digit or another letter in this font."""
        font = layout.load_font(self.font_name, 48)
        return marking_class.without + "".join(
            a for a, b in _CONFUSABLE if likeness(font, a, b) > _LIKENESS)

    def lines(self, rng, training_number=None):
        """The texts of one image. Those of training images show all characters as early and as
        evenly as possible, as somebody does who chooses images to train on."""
        return self._job.lines(rng, training_number)

    def draw(self, rng, photographs, lines):
        height = SCALE * self.nominal[1] * rng.uniform(0.88, 1.12)
        margins = height * rng.uniform(0.5, 1.6, 4)
        tops = height * rng.uniform(*self._line_distance) * np.arange(len(lines))
        glyphs = self._place(rng, lines, tops, height, margins[3])
        width = max(glyph.x1 for glyph in glyphs) + margins[2]
        room = 0.5 * width * np.sin(np.radians(self.tilt_degrees))  # keeps a turned line inside
        _move_down(glyphs, margins[0] + room)
        shape = int(tops[-1] + height + margins[0] + margins[1] + 2 * room), int(width)
        ground = rng.uniform(*self._brightness())
        texture = self._grain * self._surface(rng, shape)
        photograph = photographs.crop(rng, shape[1], shape[0])
        ground = ground + texture + self._photograph * (photograph - photograph.mean())
        contrast = rng.uniform(*self._contrast) * (1 if self.bright else -1)
        return np.clip(self._marking.mark(rng, glyphs, ground, contrast, height), 0, 1), glyphs

    def _brightness(self):
        return (0.22, 0.4) if self.bright else (0.5, 0.72)

    def _place(self, rng, lines, tops, height, left):
        font = layout.load_font(self.font_name, height)
        spacing, lean = height * rng.uniform(*self._spacing), self._lean
        rows = [layout.place_font_line(rng, font, text, index, left, top + height, spacing,
                                       self._jitter * height)
                for index, (text, top) in enumerate(zip(lines, tops))]
        glyphs = [glyph for row in rows for glyph in row]
        for glyph in glyphs:
            glyph.angle = rng.normal(0, self._marking.turn)
            glyph.lean = lean
        return glyphs


def _move_down(glyphs, distance):
    for glyph in glyphs:
        glyph.y0, glyph.y1 = glyph.y0 + distance, glyph.y1 + distance
        glyph.origin = glyph.origin[0], glyph.origin[1] + distance


def _range(rng, low, high, ratio):
    """A range for the images of one style: from a draw within (low, high) to `ratio` times it."""
    lowest = rng.uniform(low, high)
    return lowest, max(lowest * ratio, lowest + 0.02)


def likeness(font, a, b):
    """Correlation of two characters, a little blurred, laid over each other by their centres."""
    first, second = (ndimage.gaussian_filter(_centred(font, c), 2.5).ravel() for c in (a, b))
    return np.corrcoef(first, second)[0, 1]


def _centred(font, character, size=96):
    image = Image.new("L", (size, size), 0)
    box = font.getbbox(character, anchor="ls")
    origin = (size - box[0] - box[2]) / 2, (size - box[1] - box[3]) / 2
    ImageDraw.Draw(image).text(origin, character, font=font, fill=255, anchor="ls")
    return np.asarray(image, np.float32) / 255


def draw_ink(glyphs, shape, strengths=None):
    """Coverage 0..1 by glyphs with an `angle` (degrees) and a `lean`, each times its strength."""
    ink = np.zeros(shape, np.float32)
    for index, glyph in enumerate(glyphs):
        piece, (left, top) = glyph_ink(glyph)
        strength = 1.0 if strengths is None else strengths[index]
        add_max(ink, piece * strength, left, top)
    return ink


def glyph_ink(glyph):
    """One glyph's coverage and the surface pixel (left, top) of its first element."""
    reach = int(0.6 * (glyph.y1 - glyph.y0) + 0.4 * (glyph.x1 - glyph.x0)) + 6
    left, top = int(glyph.x0) - reach, int(glyph.y0) - reach
    size = int(glyph.x1 - left) + reach, int(glyph.y1 - top) + reach
    layer = Image.new("L", size, 0)
    place = glyph.origin[0] - left, glyph.origin[1] - top
    ImageDraw.Draw(layer).text(place, glyph.category, font=glyph.font, fill=255, anchor="ls")
    if glyph.angle or glyph.lean:
        centre = (glyph.x0 + glyph.x1) / 2 - left, (glyph.y0 + glyph.y1) / 2 - top
        layer = layer.transform(size, Image.AFFINE, _turned(centre, glyph.angle, glyph.lean),
                                Image.BICUBIC)
    return np.asarray(layer, np.float32) / 255, (left, top)


def _turned(centre, degrees, lean):
    angle = np.radians(degrees)
    matrix = np.array([[np.cos(angle), np.sin(angle)], [-np.sin(angle), np.cos(angle)]])
    matrix = np.array([[1, lean], [0, 1]]) @ matrix
    shift = np.array(centre) - matrix @ np.array(centre)
    return (*matrix[0], shift[0], *matrix[1], shift[1])


def add_max(field, piece, left, top):
    """Keeps the larger value where `piece` lies over `field`; what lies beyond it is cut off."""
    x0, y0 = max(left, 0), max(top, 0)
    x1 = min(left + piece.shape[1], field.shape[1])
    y1 = min(top + piece.shape[0], field.shape[0])
    if x0 < x1 and y0 < y1:
        view = field[y0:y1, x0:x1]
        np.maximum(view, piece[y0 - top:y1 - top, x0 - left:x1 - left], out=view)


def shade(height_field, angle, steepness=1.0):
    """Brightness against a flat surface under a grazing light from `angle` (radians)."""
    dy, dx = np.gradient(height_field)
    slope = steepness * -(dx * np.cos(angle) + dy * np.sin(angle))
    return np.tanh(slope)


def smooth_noise(rng, shape, sigma):
    """Smooth noise of unit variance, made at a lower resolution where `sigma` allows."""
    step = max(int(sigma / 2), 1)
    coarse = tuple(side // step + 3 for side in shape)
    field = ndimage.gaussian_filter(rng.standard_normal(coarse, np.float32), sigma / step)
    if step > 1:
        field = np.asarray(Image.fromarray(field).resize(
            ((coarse[1] - 2) * step, (coarse[0] - 2) * step), Image.BICUBIC))
    field = field[:shape[0], :shape[1]]
    return (field - field.mean()) / (field.std() + 1e-9)
