"""How coverage by characters becomes brightness: ink of either polarity, and relief seen by light.

Every function is (rng, ink, ground, height) -> marked surface, with coverage 0..1 and the ground's
brightness, `height` being that of a character in pixels.
"""

import numpy as np
from scipy import ndimage

from .grounds import noise


def random_contrast(rng, ground, least=0.07, most=0.6):
    """Signed, of either polarity as far as the ground leaves room for it."""
    level = float(np.median(ground))
    size = np.exp(rng.uniform(np.log(least), np.log(most)))
    room = {1: 0.97 - level, -1: level - 0.03}
    sign = int(rng.choice([1, -1]))
    if room[sign] < min(size, 0.12):
        sign = -sign
    return sign * max(min(size, room[sign]), min(least, 0.07))


def inked(rng, ink, ground, height):
    """Adds to the ground or covers it."""
    contrast = random_contrast(rng, ground)
    if rng.random() < 0.4:
        tone = float(np.median(ground)) + contrast
        cover = np.clip(ink, 0, 1) * rng.uniform(0.75, 1)
        return ground * (1 - cover) + tone * cover
    return ground + contrast * ink


def burnt(rng, ink, ground, height):
    """The middle and the rims of strokes change in opposite ways, as laser marks may do."""
    contrast = random_contrast(rng, ground, 0.1)
    rim = np.maximum(ndimage.gaussian_filter(ink, rng.uniform(0.03, 0.07) * height) - ink, 0)
    return ground + contrast * (ink - rng.uniform(0.4, 1.5) * rim)


def relief(rng, ink, ground, height):
    """Raised or sunk characters under a slanting light, with or without a tone of their own."""
    form = _profile(rng, ink, height) * rng.choice([1, -1])
    angle, gain = rng.uniform(0, 2 * np.pi), np.exp(rng.uniform(np.log(0.1), np.log(0.5)))
    dy, dx = np.gradient(form)
    slope = dx * np.cos(angle) + dy * np.sin(angle)
    steep = np.percentile(np.abs(slope), 99.3) + 1e-6
    light = np.tanh(rng.uniform(0.8, 2) * slope / steep)
    if rng.random() < 0.25:  # a low light: one flank hardly shows
        light = np.where(light > 0, light, rng.uniform(0.1, 0.5) * light)
    image = ground + gain * light
    if rng.random() < 0.4:
        image = image + random_contrast(rng, ground, 0.02, 0.2) * ink
    if rng.random() < 0.3:
        image = image - _shadow(rng, ink, angle, height)
    return image


def _profile(rng, ink, height):
    kind = rng.integers(3)
    if kind == 0:  # rounded
        return ndimage.gaussian_filter(ink, rng.uniform(0.03, 0.1) * height)
    if kind == 1:  # flanks of even slope, to an edge or to a flat top
        depth = ndimage.distance_transform_edt(ink > 0.45).astype(np.float32)
        depth = np.minimum(depth, rng.uniform(0.03, 0.12) * height)
        return ndimage.gaussian_filter(depth, 0.8)
    wall = ndimage.gaussian_filter(ink, rng.uniform(0.8, 1.6))
    broad = ndimage.gaussian_filter(ink, rng.uniform(0.06, 0.12) * height)
    return wall - rng.uniform(0.2, 0.8) * broad  # a wall with a moat or rim around it


def _shadow(rng, ink, angle, height):
    reach = rng.uniform(0.03, 0.12) * height
    moved = ndimage.shift(ink, (-reach * np.sin(angle), -reach * np.cos(angle)), order=1)
    return rng.uniform(0.05, 0.25) * np.clip(ndimage.gaussian_filter(moved, 1.0) - ink, 0, 1)


def rubbed_relief(rng, ink, ground, height):
    """Relief whose tops carry paint or shine, in patches."""
    image = relief(rng, ink, ground, height)
    patches = np.clip(0.6 + 0.5 * noise(rng, ink.shape, 0.5 * height), 0, 1)
    return image + random_contrast(rng, ground, 0.05, 0.3) * ink * patches


def grooved(rng, ink, ground, height):
    """Only the edges of strokes show: engraving seen from straight above."""
    soft = ndimage.gaussian_filter(ink, rng.uniform(0.8, 1.8))
    edges = np.hypot(*np.gradient(soft))
    edges = np.clip(edges / (np.percentile(edges, 99.5) + 1e-6), 0, 1.2)
    image = ground + random_contrast(rng, ground, 0.1) * edges
    return image + rng.normal(0, 0.05) * ink


def hidden(rng, ink, ground, height):
    """Characters of another grain than the ground around them, with little contrast."""
    grain = noise(rng, ink.shape, rng.uniform(0.7, 2))
    inside = rng.uniform(0.03, 0.1) * grain
    return ground + ink * (inside + random_contrast(rng, ground, 0.06, 0.2))


_ALL = (inked, burnt, relief, rubbed_relief, grooved, hidden)
_SHARES = np.array([50, 8, 24, 7, 6, 5]) / 100


def random_mark(rng, ink, ground, height):
    return _ALL[rng.choice(len(_ALL), p=_SHARES)](rng, ink, ground, height)
