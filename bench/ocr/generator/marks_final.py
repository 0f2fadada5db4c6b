"""The markings of the group 'final'. None of their code, fonts or surfaces serves another group.

`mark(rng, glyphs, ground, contrast, height)` returns the marked surface. `contrast` is negative
where marks are darker than the ground; `height` is that of a character, all in surface pixels.
"""

import numpy as np
from scipy import ndimage

from . import drawn
from .drawn import smooth_noise


class Marking:
    """What a style draws from; the fonts are below /usr/share/fonts."""

    fonts = ()
    height = (20, 34)  # image pixels
    contrast = (0.2, 0.35)
    grain = (0.015, 0.045)  # of the surface
    spacing = (0.0, 0.14)  # heights
    jitter = (0.0, 0.015)  # heights
    bright = 0.3  # probability of marks brighter than the ground
    leaning = 0.2  # probability
    turn = 0.0  # degrees, standard deviation per character
    without = ""  # letters that the marking cannot show
    job = {}


class NeedlePrint(Marking):
    """Needles strike through a ribbon: a coarse grid of dots, the ribbon's weave, a weak needle."""

    name = "needle"
    fonts = ("opentype/spleen/spleen-6x12.otf",)
    bright = 0.0
    contrast = (0.25, 0.4)
    height = (22, 34)
    spacing = (0.0, 0.08)
    leaning = 0.0
    _rows = 8  # dots in a capital of the font

    def __init__(self, rng):
        self._size = rng.uniform(0.42, 0.6)  # dot distances
        self._bent = rng.uniform(0.02, 0.1)
        self._weak = int(rng.integers(self._rows))

    def mark(self, rng, glyphs, ground, contrast, height):
        pitch = height / self._rows
        ink = np.zeros(ground.shape, np.float32)
        bent = rng.normal(0, self._bent * pitch, (24, 2))
        for glyph in glyphs:
            coverage, (left, top) = drawn.glyph_ink(glyph)
            for column, row in self._dots(coverage, glyph, left, top, pitch):
                needle = row % 24
                force = 0.45 if needle == self._weak else rng.uniform(0.75, 1)
                x = glyph.origin[0] + (column + 0.5) * pitch + bent[needle, 0]
                y = glyph.origin[1] - (row + 0.5) * pitch + bent[needle, 1]
                _strike(ink, x, y, self._size * pitch, force)
        ribbon = 1 + 0.25 * smooth_noise(rng, ground.shape, 1.3)
        fading = 0.85 + 0.15 * smooth_noise(rng, ground.shape, 2 * height)
        return ground + contrast * np.clip(ink * ribbon * fading, 0, 1.1)

    def _dots(self, coverage, glyph, left, top, pitch):
        """(column, row above the baseline) of the font's pixels that are set."""
        for row in range(-2, self._rows + 1):
            y = int(glyph.origin[1] - (row + 0.5) * pitch - top)
            for column in range(8):
                x = int(glyph.origin[0] + (column + 0.5) * pitch - left)
                if (0 <= y < coverage.shape[0] and 0 <= x < coverage.shape[1]
                        and coverage[y, x] > 0.5):
                    yield column, row


def _strike(ink, x, y, radius, force):
    reach = int(radius * 2) + 2
    left, top = int(x) - reach, int(y) - reach
    rows, columns = np.mgrid[top:top + 2 * reach + 1, left:left + 2 * reach + 1]
    distance = np.hypot(columns + 0.5 - x, rows + 0.5 - y) / radius
    drawn.add_max(ink, (force / (1 + np.exp(6 * (distance - 1)))).astype(np.float32), left, top)


class Ablated(Marking):
    """A laser takes a coating off: the bare ground shows in upright passes, burnt at the edges."""

    name = "ablated"
    fonts = ("truetype/jetbrains-mono/JetBrainsMono-Medium.ttf",)
    bright = 0.8
    contrast = (0.22, 0.36)

    def __init__(self, rng):
        self._pass = rng.uniform(3, 7)  # surface pixels
        self._burn = rng.uniform(0.1, 0.35)
        self._left = rng.uniform(0.1, 0.4)  # coating that stays between passes

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = ndimage.gaussian_filter(drawn.draw_ink(glyphs, ground.shape), 0.8)
        columns = np.arange(ground.shape[1], dtype=np.float32)[None, :]
        waver = 0.4 * smooth_noise(rng, ground.shape, 6)
        passes = 0.5 + 0.5 * np.cos(columns * 2 * np.pi / self._pass + waver)
        bare = ink * (1 - self._left * passes)
        flakes = smooth_noise(rng, ground.shape, 2.5) > 1.9
        bare = np.where(flakes, 0.35 * bare, bare)
        rim = ndimage.gaussian_filter(ink, 0.05 * height) - ink
        return ground + contrast * (bare - self._burn * 2 * np.maximum(rim, 0))


class Struck(Marking):
    """Steel stamps struck by hand: turned, uneven in depth, raised metal around the strokes."""

    name = "struck"
    fonts = ("opentype/national-park/NationalPark-Regular.otf",)
    height = (26, 40)
    spacing = (0.08, 0.3)
    jitter = (0.02, 0.06)
    turn = 3.5
    leaning = 0.0
    bright = 0.3
    contrast = (0.03, 0.12)

    def __init__(self, rng):
        self._light = rng.uniform(0, 2 * np.pi)
        self._gloss = rng.uniform(0.3, 0.45)
        self._rim = rng.uniform(0.3, 0.7)

    def mark(self, rng, glyphs, ground, contrast, height):
        depth = np.zeros(ground.shape, np.float32)
        for glyph in glyphs:
            piece, (left, top) = drawn.glyph_ink(glyph)
            tilt = np.add.outer(np.linspace(-1, 1, piece.shape[0]) * rng.normal(0, 0.3),
                                np.linspace(-1, 1, piece.shape[1]) * rng.normal(0, 0.3))
            force = rng.uniform(0.75, 1.1)
            drawn.add_max(depth, (piece * np.clip(force + tilt, 0.35, 1.3)).astype(np.float32),
                          left, top)
        pit = ndimage.gaussian_filter(depth, 0.03 * height)
        rim = ndimage.gaussian_filter(depth, 0.07 * height) - pit
        field = 0.1 * height * (self._rim * np.maximum(rim, 0) * 2 - pit)
        light = drawn.shade(field, self._light + rng.uniform(-0.4, 0.4), 0.9)
        return ground + self._gloss * light + contrast * pit


class Moulded(Marking):
    """Raised flat characters in dark rubber or plastic: shading at the edges, a dull sheen on top."""

    name = "moulded"
    fonts = ("opentype/cabin/Cabin-Bold.otf",)
    height = (26, 40)
    spacing = (0.06, 0.2)
    bright = 0.8
    contrast = (0.03, 0.1)
    grain = (0.01, 0.03)

    def __init__(self, rng):
        self._light = rng.uniform(0, 2 * np.pi)
        self._gloss = rng.uniform(0.18, 0.32)
        self._draft = rng.uniform(0.025, 0.05)  # heights

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        top = ndimage.gaussian_filter(ink, self._draft * height)
        flash = smooth_noise(rng, ground.shape, 0.2 * height)
        light = drawn.shade(0.09 * height * top * (1 + 0.1 * flash),
                            self._light + rng.uniform(-0.4, 0.4))
        worn = np.clip(0.8 + 0.4 * flash, 0, 1.4)
        return ground + self._gloss * light + contrast * top * worn


class Etched(Marking):
    """A stain of electrochemical marking: mottled, with blurred edges and a halo of salts."""

    name = "etched"
    fonts = ("truetype/opendin/OSP-DIN.ttf",)
    spacing = (0.05, 0.18)
    bright = 0.25
    contrast = (0.18, 0.32)

    def __init__(self, rng):
        self._bleed = rng.uniform(0.02, 0.05)
        self._mottle = rng.uniform(0.15, 0.4)
        self._halo = rng.uniform(0.05, 0.3)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        edge = ndimage.gaussian_filter(ink, self._bleed * height)
        edge += 0.12 * smooth_noise(rng, ground.shape, 2.5) * (4 * edge * (1 - edge))
        stain = np.clip(1.4 * edge - 0.2, 0, 1)
        mottle = 1 + self._mottle * smooth_noise(rng, ground.shape, 4)
        halo = ndimage.gaussian_filter(ink, 0.18 * height) - stain
        return ground + contrast * (stain * np.clip(mottle, 0.2, 1.5) -
                                    self._halo * np.maximum(halo, 0))


class Flexo(Marking):
    """Flexographic print: ink squeezed to the rims, pinholes, weak between the board's flutes."""

    name = "flexo"
    fonts = ("opentype/league-mono/LeagueMono-CondensedBold.otf",
             "truetype/mononoki/mononoki-Regular.ttf")
    bright = 0.2
    contrast = (0.22, 0.38)

    def __init__(self, rng):
        self._squeeze = rng.uniform(0.1, 0.5)
        self._flutes = rng.uniform(0.1, 0.4)
        self._period = rng.uniform(24, 52)  # surface pixels
        self._holes = rng.uniform(1.4, 2.2)

    def mark(self, rng, glyphs, ground, contrast, height):
        ink = drawn.draw_ink(glyphs, ground.shape)
        soft = ndimage.gaussian_filter(ink, 0.9)
        body = ndimage.gaussian_filter(ink, 0.06 * height)
        rims = soft * (1 - self._squeeze * np.clip(body * 1.6 - 0.5, 0, 1))
        rows = np.arange(ground.shape[0], dtype=np.float32)[:, None]
        flutes = 1 - self._flutes * (0.5 + 0.5 * np.sin(rows * 2 * np.pi / self._period))
        holes = smooth_noise(rng, ground.shape, 1.6) > self._holes
        return ground + contrast * rims * flutes * np.where(holes, 0.2, 1)


MARKINGS = (NeedlePrint, Ablated, Struck, Moulded, Etched, Flexo)
