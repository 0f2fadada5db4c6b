"""What happens to ink before it is seen: spreading, wear, smears, failing parts."""

import numpy as np
from scipy import ndimage

from .grounds import noise


def worn(rng, ink, height):
    """Rubbed off in patches of several sizes."""
    loss = noise(rng, ink.shape, rng.uniform(0.8, 3)) + rng.uniform(0, 1.2) * noise(
        rng, ink.shape, height * rng.uniform(0.2, 1.5))
    return ink * np.clip(1.3 - rng.uniform(0.2, 0.8) * np.maximum(loss, 0), 0.15, 1)


def ragged(rng, ink, height):
    """Edges that wander: rough paper, corrosion, paint that creeps."""
    soft = ndimage.gaussian_filter(ink, rng.uniform(0.015, 0.05) * height)
    edge = soft - rng.uniform(0.35, 0.55) + rng.uniform(0.05, 0.18) * noise(
        rng, ink.shape, rng.uniform(0.8, 3))
    return 1 / (1 + np.exp(-np.clip(rng.uniform(6, 20) * edge, -30, 30)))


def swollen(rng, ink, height):
    return ndimage.gaussian_filter(ndimage.grey_dilation(ink, size=(2, 2)), rng.uniform(0.4, 1.5))


def thinned(rng, ink, height):
    return np.maximum(ndimage.grey_erosion(ink, size=(2, 2)), 0.35 * ink)


def rimmed(rng, ink, height):
    """More at the rims than inside: squeezed ink, dried drops."""
    body = ndimage.gaussian_filter(ink, rng.uniform(0.04, 0.08) * height)
    return ndimage.gaussian_filter(ink, 0.8) * (1 - rng.uniform(0.3, 0.8) * np.clip(
        1.5 * body - 0.3, 0, 1))


def smeared(rng, ink, height):
    """Dragged to one side, fading."""
    total, weight, step = ink.copy(), 1.0, rng.normal(0, 1, 2)
    step *= height * rng.uniform(0.015, 0.05) / (np.hypot(*step) + 1e-6)
    for index in range(1, 7):
        weight *= rng.uniform(0.5, 0.8)
        np.maximum(total, weight * ndimage.shift(ink, index * step, order=1), out=total)
    return total


def doubled(rng, ink, height):
    """A second, weaker image beside the first."""
    shift = rng.normal(0, 0.06 * height, 2)
    return np.maximum(ink, rng.uniform(0.15, 0.45) * ndimage.shift(ink, shift, order=1))


def striped(rng, ink, height):
    """Rows or columns that fail: dead heater elements, clogged nozzles, slack ribbons."""
    axis = int(rng.integers(2))
    count = ink.shape[axis]
    gain = np.ones(count, np.float32)
    for _ in range(rng.integers(1, 6)):
        start = rng.integers(count)
        gain[start:start + rng.integers(1, 4)] *= rng.uniform(0, 0.7)
    return ink * (gain[:, None] if axis == 0 else gain[None, :])


def mottled(rng, ink, height):
    return ink * np.clip(1 + rng.uniform(0.1, 0.45) * noise(rng, ink.shape, rng.uniform(1, 6)), 0.2, 1.4)


def faded(rng, ink, height):
    """Weak on one side, over the length of the text."""
    return ink * np.clip(1 - rng.uniform(0.1, 0.45) * noise(rng, ink.shape, rng.uniform(1, 4) * height),
                         0.35, 1.1)


def pinholed(rng, ink, height):
    holes = noise(rng, ink.shape, rng.uniform(0.8, 2)) > rng.uniform(1.2, 2.2)
    return np.where(holes, ink * rng.uniform(0, 0.5), ink)


def misted(rng, ink, height):
    """A halo of fine drops."""
    halo = ndimage.gaussian_filter(ink, rng.uniform(0.08, 0.25) * height)
    grains = np.clip(1 + noise(rng, ink.shape, 0.8), 0, 2)
    return np.maximum(ink, rng.uniform(0.1, 0.5) * halo * grains)


_ALL = (worn, ragged, swollen, thinned, rimmed, smeared, doubled, striped, mottled, faded, pinholed,
        misted)
_SHARES = np.array([3, 3, 1, 1, 1, 1, 1, 1, 2, 2, 2, 1]) / 19


def random_wear(rng, ink, height):
    """None to three kinds of wear, one after the other."""
    for kind in rng.choice(len(_ALL), rng.choice(4, p=[0.25, 0.4, 0.25, 0.1]), replace=False,
                           p=_SHARES):
        ink = _ALL[kind](rng, ink, height)
    return ink
