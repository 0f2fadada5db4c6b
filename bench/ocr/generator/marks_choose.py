"""The markings of the group 'choose'. None of their code, fonts or surfaces serves another group.

`mark(rng, glyphs, ground, contrast, height)` returns the marked surface. `contrast` is negative
where marks are darker than the ground; `height` is that of a character, all in surface pixels.
"""

import dataclasses

import numpy as np
from scipy import ndimage

from . import drawn
from .drawn import smooth_noise

_SEGMENT_TEMPLATES = ("99:99", "-99-9", "9999", "99-99-99", "E-99", "99:99:99",
                      "*99-*", "****9", "P-999", "H9 L9", "999 999")


class Marking:
    """What a style draws from; the fonts are below /usr/share/fonts."""

    fonts = ()
    height = (20, 34)  # image pixels
    contrast = (0.2, 0.35)
    grain = (0.015, 0.05)  # of the surface
    spacing = (0.0, 0.14)  # heights
    jitter = (0.0, 0.015)  # heights
    bright = 0.3  # probability of marks brighter than the ground
    leaning = 0.2  # probability
    turn = 0.0  # degrees, standard deviation per character
    without = ""  # letters that the marking cannot show
    job = {}


class SprayedStencil(Marking):
    """Paint sprayed through a stencil: bridges in the characters, mist around them."""

    name = "stencil"
    fonts = ("opentype/allerta/allerta_stencil.otf",)
    spacing = (0.06, 0.2)
    turn = 1.0

    def __init__(self, rng):
        self._mist = rng.uniform(0.1, 0.3)
        self._seep = rng.uniform(0.01, 0.04)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        seep = self._seep * height * (1 + 0.4 * smooth_noise(rng, ground.shape, 12))
        edge = ndimage.gaussian_filter(ink, 1.2) - 0.5 + 0.06 * smooth_noise(rng, ground.shape, 3)
        paint = 1 / (1 + np.exp(-8 * (edge + 0.1 * seep)))
        mist = ndimage.gaussian_filter(ink, 0.14 * height)
        speckle = np.clip(0.7 + 0.6 * smooth_noise(rng, ground.shape, 1), 0, 2)
        cover = np.clip(0.85 + 0.15 * smooth_noise(rng, ground.shape, 18), 0, 1)
        return ground + contrast * np.maximum(paint * cover, self._mist * mist * speckle)


class Segments(Marking):
    """A display of seven segments, lit or of liquid crystal; unlit segments show faintly."""

    name = "segments"
    fonts = ("truetype/dseg/DSEG7Modern-Bold.ttf", "truetype/dseg/DSEG7Modern-Regular.ttf")
    height = (26, 42)
    contrast = (0.25, 0.4)
    spacing = (0.06, 0.16)
    grain = (0.004, 0.015)
    bright = 0.5
    leaning = 0.7
    without = "BDGIJKMNOQRSTVWXYZ"
    job = {"templates": _SEGMENT_TEMPLATES}

    def __init__(self, rng):
        self._ghost = rng.uniform(0.03, 0.15)
        self._bloom = rng.uniform(0.05, 0.35)
        self._shadow = rng.uniform(0.02, 0.06)

    def mark(self, rng, glyphs, ground, contrast, height):
        lit = drawn.draw_ink(glyphs, ground.shape)
        full = [_as_eight(glyph) for glyph in glyphs if glyph.category not in "-:."]
        ghost = drawn.draw_ink(full, ground.shape) if full else 0
        if contrast > 0:
            lit = np.maximum(lit, self._bloom * ndimage.gaussian_filter(lit, 0.09 * height) * 2)
        else:
            offset = (self._shadow * height, self._shadow * height)
            lit = np.maximum(lit, 0.3 * ndimage.shift(lit, offset, order=1))
        uneven = 1 + 0.1 * smooth_noise(rng, ground.shape, height)
        return ground + contrast * np.maximum(lit * uneven, self._ghost * ghost)


def _as_eight(glyph):
    return dataclasses.replace(glyph, category="8")


class HandStamp(Marking):
    """Rubber type on an ink pad: characters turn, ink gathers at their rims and fails in places."""

    name = "handstamp"
    fonts = ("opentype/courier-prime/Courier Prime Bold.otf",)
    bright = 0.0
    jitter = (0.02, 0.045)
    turn = 3.0
    spacing = (0.0, 0.1)

    def __init__(self, rng):
        self._rim = rng.uniform(0.2, 0.6)
        self._failing = rng.uniform(0.3, 0.7)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape, rng.uniform(0.7, 1.0, len(glyphs)))
        soft = ndimage.gaussian_filter(ink, 0.03 * height)
        inside = ndimage.gaussian_filter(ink, 0.07 * height)
        body = np.clip(soft * 1.3, 0, 1) * (1 - self._rim * np.clip(2 * inside - 1, 0, 1))
        pressure = 0.85 + 0.3 * smooth_noise(rng, ground.shape, 0.9 * height)
        pores = smooth_noise(rng, ground.shape, 2.2) > 1.5 + 1.5 * (1 - self._failing)
        taken = np.clip(pressure, 0.5, 1.1) * np.where(pores, 0.4, 1)
        return ground + contrast * body * taken


class RoutedPlate(Marking):
    """A pointed cutter leaves V grooves: one flank catches the light, the other lies in shade."""

    name = "routed"
    fonts = ("truetype/osifont/osifont.ttf",)
    height = (24, 38)
    contrast = (0.1, 0.3)
    spacing = (0.06, 0.2)
    leaning = 0.4
    bright = 0.4

    def __init__(self, rng):
        self._light = rng.uniform(0, 2 * np.pi)
        self._filled = rng.uniform(0.0, 0.7)  # paint in the groove
        self._gloss = rng.uniform(0.25, 0.4)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        depth = ndimage.distance_transform_edt(ink > 0.5)
        depth = ndimage.gaussian_filter(np.minimum(depth, 0.05 * height), 0.7)
        angle = self._light + rng.uniform(-0.5, 0.5)
        chatter = 1 + 0.2 * smooth_noise(rng, ground.shape, 3)
        relief = self._gloss * drawn.shade(-depth * chatter, angle, 1.5)
        burr = 0.3 * drawn.shade(ndimage.gaussian_filter(ink, 2.5), angle, 1.5)
        return ground + relief + 0.3 * burr + contrast * self._filled * ink


class DropPrint(Marking):
    """Drops on demand: the character in few rows, clogged nozzles, drops that stray."""

    name = "drops"
    fonts = ("opentype/b612/B612Mono-Regular.otf", "opentype/b612/B612Mono-Bold.otf")
    contrast = (0.25, 0.4)
    leaning = 0.4

    def __init__(self, rng):
        self._rows = int(rng.integers(13, 22))
        self._stray = rng.uniform(0.05, 0.2)  # row distances
        self._drop = rng.uniform(0.5, 0.75)  # row distances
        self._clogged = rng.uniform(0.0, 0.06)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        pitch = height / self._rows
        rows, columns = (np.arange(pitch / 2, side, pitch) for side in ground.shape)
        sampled = ink[np.ix_(rows.astype(int), columns.astype(int))] > 0.5
        works = rng.random(len(rows)) > self._clogged
        y, x = np.nonzero(sampled & works[:, None])
        bend = rng.normal(0, 0.5 * self._stray, len(rows))
        y = (y + 0.5 + bend[y] + rng.normal(0, self._stray, len(y))) * pitch
        x = (x + 0.5 + rng.normal(0, self._stray, len(x))) * pitch
        field = _drops(y, x, ground.shape) * (2 * np.pi * (self._drop * pitch) ** 2)
        spread = ndimage.gaussian_filter(field, self._drop * pitch)
        return ground + contrast * (1 - np.exp(-2.2 * spread))


def _drops(y, x, shape):
    inside = (y >= 0) & (x >= 0) & (y < shape[0]) & (x < shape[1])
    field = np.zeros(shape, np.float32)
    np.add.at(field, (y[inside].astype(int), x[inside].astype(int)), 1)
    return field


class WornPad(Marking):
    """Pad print on grained plastic that hands and tools have rubbed off in places."""

    name = "worn"
    fonts = ("opentype/play/Play-Bold.otf", "truetype/roadgeek/RG2014C.ttf")
    bright = 0.6
    contrast = (0.25, 0.4)

    def __init__(self, rng):
        self._wear = rng.uniform(0.4, 0.9)
        self._scratches = int(rng.integers(4, 14))

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = ndimage.gaussian_filter(drawn.draw_ink(glyphs, ground.shape), 0.6)
        rubbed = smooth_noise(rng, ground.shape, 0.6 * height) + 0.7 * smooth_noise(
            rng, ground.shape, 2.5)
        left = np.clip(1.6 - self._wear * np.maximum(rubbed, 0), 0.25, 1)
        scratched = self._scratch(rng, ground.shape, height)
        return ground + contrast * ink * left * (1 - scratched) + 0.06 * scratched

    def _scratch(self, rng, shape, height):
        rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
        field = np.zeros(shape, np.float32)
        for _ in range(self._scratches):
            angle = rng.uniform(0, np.pi)
            x, y = rng.uniform(0, shape[1]), rng.uniform(0, shape[0])
            along = (columns - x) * np.cos(angle) + (rows - y) * np.sin(angle)
            across = (rows - y) * np.cos(angle) - (columns - x) * np.sin(angle)
            long = np.abs(along) < height * rng.uniform(0.5, 2.5)
            np.maximum(field, long * np.exp(-(across / rng.uniform(0.6, 1.4)) ** 2), out=field)
        return field


MARKINGS = (SprayedStencil, Segments, HandStamp, RoutedPlate, DropPrint, WornPad)
