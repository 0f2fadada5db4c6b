"""The five kinds of marking, each drawn at SCALE surface pixels per image pixel.

A style has a `name`, the `nominal` character size (width, height) in image pixels and
`draw(rng, frames, lines)`, which returns the marked surface as a 0..1 array and its glyphs.
Lengths of a style are in character heights unless said otherwise.
"""

import numpy as np
from scipy import ndimage

from . import backgrounds, layout, texts

SCALE = 2


class _Style:
    line_distance = (1.35, 1.8)
    margin = (0.6, 1.6)
    tilt_degrees = 3.0
    light = 0.5
    blur = (0.5, 1.1)
    noise = 0.02

    def lines(self, rng, training_number=None):
        return texts.random_lines(rng)

    def draw(self, rng, frames, lines):
        height = SCALE * self.nominal[1] * rng.uniform(0.92, 1.08)
        margins = height * rng.uniform(*self.margin, 4)
        tops = margins[0] + height * rng.uniform(*self.line_distance) * np.arange(len(lines))
        rows = self._place(rng, lines, tops, height)
        glyphs = _align(rng, rows, margins[1])
        shape = (int(tops[-1] + height + margins[3]),
                 int(max(glyph.x1 for glyph in glyphs) + margins[2]))
        return np.clip(self._mark(rng, frames, glyphs, shape, height), 0, 1), glyphs


def _align(rng, rows, left):
    """Moves rows that start at 0 to a common left edge, centre or right edge at `left`."""
    widths = np.array([max(glyph.x1 for glyph in row) for row in rows])
    offsets = left + (widths.max() - widths) * rng.choice([0.0, 0.0, 0.5, 1.0])
    for row, offset in zip(rows, offsets):
        for glyph in row:
            glyph.x0, glyph.x1 = glyph.x0 + offset, glyph.x1 + offset
            if glyph.origin:
                glyph.origin = (glyph.origin[0] + offset, glyph.origin[1])
            if glyph.dots is not None:
                glyph.dots[:, 0] += offset
    return [glyph for row in rows for glyph in row]


class _FontStyle(_Style):
    spacing = (0.02, 0.12)
    jitter = 0.0

    def _place(self, rng, lines, tops, height):
        spacing = height * rng.uniform(*self.spacing)
        fonts = [layout.load_font(name, height) for name in self.fonts]
        return [layout.place_font_line(rng, fonts[rng.integers(len(fonts))], text, index, 0.0,
                                       top + height, spacing, self.jitter * height)
                for index, (text, top) in enumerate(zip(lines, tops))]


class _DotStyle(_Style):
    advance = (5.6, 6.4)  # dot columns
    jitter = 0.05  # dot distances

    def _place(self, rng, lines, tops, height):
        pitch, advance = height / 7, rng.uniform(*self.advance)
        return [layout.place_dot_line(rng, text, index, 0.0, top, pitch, advance,
                                      self.jitter * pitch)
                for index, (text, top) in enumerate(zip(lines, tops))]


class PrintedLabel(_FontStyle):
    """Worn thermal-transfer print on a paper label stuck to something."""

    name, nominal = "label", (18, 26)
    fonts = ("opentype/ocr-b/OCRB.otf", "truetype/liberation/LiberationSans-Regular.ttf")
    blur = (0.6, 1.4)
    noise = 0.03

    def _mark(self, rng, frames, glyphs, shape, height):
        ink = layout.draw_font_ink(glyphs, shape)
        wear = backgrounds.noise(rng, shape, (0.8, 3)) + 0.8 * backgrounds.noise(rng, shape, 25)
        spread = ndimage.gaussian_filter(ink, rng.uniform(0.5, 1.6))
        ink = 1 / (1 + np.exp(-14 * (spread - rng.uniform(0.35, 0.55) + 0.09 * wear)))
        for _ in range(rng.poisson(1.0)):  # a dead heater element leaves a white line
            row = rng.integers(shape[0])
            ink[row:row + rng.integers(1, 3)] *= 0.3
        paper = rng.uniform(0.6, 0.85) + 0.02 * backgrounds.paper(rng, shape)
        label = paper - ink * rng.uniform(0.3, 0.55)
        return _stick_on(rng, label, frames, glyphs, height)


def _stick_on(rng, label, frames, glyphs, height):
    """Cuts the label down to 0.3 heights around its text; the photograph shows beyond it."""
    clear = 0.3 * height
    box = (min(g.x0 for g in glyphs) - clear, min(g.y0 for g in glyphs) - clear,
           max(g.x1 for g in glyphs) + clear, max(g.y1 for g in glyphs) + clear)
    slack = rng.uniform(0, height, 4)
    rows, columns = np.ogrid[0:label.shape[0], 0:label.shape[1]]
    inside = ((columns > box[0] - slack[0]) & (columns < box[2] + slack[1]) &
              (rows > box[1] - slack[2]) & (rows < box[3] + slack[3]))
    beyond = 0.1 + 0.6 * frames.crop(rng, label.shape[1], label.shape[0])
    return np.where(inside, label, beyond)


class InkJet(_DotStyle):
    """Continuous ink jet on printed packaging: a leaning 5 x 7 matrix whose dots run together."""

    name, nominal = "inkjet", (20, 28)
    advance = (5.4, 6.0)
    jitter = 0.1
    blur = (0.6, 1.2)
    noise = 0.03

    def _place(self, rng, lines, tops, height):
        rows = super()._place(rng, lines, tops, height)
        lean, pitch = rng.uniform(-0.12, 0.2), height / 7
        for row in rows:
            for glyph in row:
                base = glyph.dots[:, 1].max()
                glyph.dots[:, 0] += lean * (base - glyph.dots[:, 1]) + 2 * pitch
                low, high = glyph.dots.min(0) - pitch / 2, glyph.dots.max(0) + pitch / 2
                glyph.x0, glyph.y0, glyph.x1, glyph.y1 = *low, *high
        return rows

    def _mark(self, rng, frames, glyphs, shape, height):
        count, pitch = layout.dot_count(glyphs), height / 7
        radius = pitch * rng.uniform(0.5, 0.72) * np.exp(rng.normal(0, 0.15, count))
        strength = np.where(rng.random(count) < 0.03, 0.15, rng.uniform(0.7, 1.0, count))
        ink = layout.stamp_dots(glyphs, shape, lambda r: 1 / (1 + np.exp(8 * (r - 1))), radius,
                                strength)
        ink *= 1 + 0.12 * backgrounds.noise(rng, shape, 2)
        photo = frames.crop(rng, shape[1], shape[0])
        surface = rng.uniform(0.4, 0.55) + 0.22 * (photo - photo.mean())
        surface += 0.015 * backgrounds.paper(rng, shape)
        return surface - ink * rng.uniform(0.24, 0.36)


class LaserEngraved(_FontStyle):
    """Hatched laser marking in OCR-A on brushed metal."""

    name, nominal = "laser", (20, 28)
    fonts = ("truetype/ocr-a/OCRA.ttf",)
    light = 0.7
    noise = 0.03

    def _mark(self, rng, frames, glyphs, shape, height):
        ink = ndimage.gaussian_filter(layout.draw_font_ink(glyphs, shape), 0.8)
        rows = np.arange(shape[0])[:, None]
        hatch = 0.8 + 0.2 * np.sin(rows * 2 * np.pi / rng.uniform(2.5, 5))
        burn = np.clip(0.8 + 0.3 * backgrounds.noise(rng, shape, 3), 0, 1.3)
        photo = ndimage.gaussian_filter(frames.crop(rng, shape[1], shape[0]), (2, 12))
        metal = rng.uniform(0.4, 0.6) + 0.2 * (photo - photo.mean())
        metal += rng.uniform(0.025, 0.045) * backgrounds.brushed(rng, shape)
        return metal - ink * hatch * burn * rng.uniform(0.22, 0.34)


class EmbossedCasting(_FontStyle):
    """Raised characters of a sand casting, seen only by their shading."""

    name, nominal = "emboss", (26, 34)
    fonts = ("truetype/dejavu/DejaVuSans-Bold.ttf",)
    spacing = (0.08, 0.2)
    light = 0.4
    noise = 0.02

    def _mark(self, rng, frames, glyphs, shape, height):
        ink = layout.draw_font_ink(glyphs, shape)
        relief = ndimage.gaussian_filter(ink, rng.uniform(0.035, 0.06) * height)
        relief *= 1 + 0.15 * backgrounds.noise(rng, shape, 0.4 * height)
        ground = rng.uniform(0.05, 0.09) * backgrounds.cast(rng, shape)
        photo = frames.crop(rng, shape[1], shape[0])
        albedo = rng.uniform(0.35, 0.5) + 0.1 * (photo - photo.mean())
        return albedo + _shade(rng, relief * height * 0.055 + ground, -np.pi / 3)


def _shade(rng, height_field, from_angle):
    """Lambert's term of a light from about `from_angle` (radians, image frame), within 40
    degrees, as the change against a flat surface."""
    angle = from_angle + rng.uniform(-0.7, 0.7)
    dy, dx = np.gradient(height_field)
    slope = -(dx * np.cos(angle) + dy * np.sin(angle))
    return 0.35 * slope / np.sqrt(1 + dx**2 + dy**2)


class DotPeen(_DotStyle):
    """Round craters struck into a milled surface, lit from one side."""

    name, nominal = "peen", (22, 32)
    advance = (6.0, 6.8)
    jitter = 0.07
    light = 0.6
    noise = 0.025

    def _mark(self, rng, frames, glyphs, shape, height):
        count, pitch = layout.dot_count(glyphs), height / 7
        radius = pitch * rng.uniform(0.34, 0.44) * np.exp(rng.normal(0, 0.1, count))
        strength = np.where(rng.random(count) < 0.02, 0.25, rng.uniform(0.6, 1.0, count))
        pit = layout.stamp_dots(glyphs, shape, lambda r: np.exp(-r**2), radius, strength)
        photo = frames.crop(rng, shape[1], shape[0])
        metal = rng.uniform(0.4, 0.55) + 0.15 * (photo - photo.mean())
        metal += rng.uniform(0.01, 0.025) * backgrounds.milled(rng, shape)
        depth = rng.uniform(0.75, 1.15) * pitch
        return metal + _shade(rng, -depth * pit, -np.pi / 2) - 0.1 * pit


for _number, _style in enumerate(
        (PrintedLabel, InkJet, LaserEngraved, EmbossedCasting, DotPeen)):
    _style.number = _number
STYLES = {style.name: style for style in
          (PrintedLabel(), InkJet(), LaserEngraved(), EmbossedCasting(), DotPeen())}
