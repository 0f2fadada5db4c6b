"""Surfaces of the group 'final', each (rng, shape) -> values of about unit variance around 0."""

import numpy as np
from scipy import ndimage

from .drawn import smooth_noise


def concrete(rng, shape):
    """Clouds over many sizes, with pores."""
    clouds = sum(smooth_noise(rng, shape, 2.0**k) * 2.0**(k / 3) for k in range(1, 6)) / 4.5
    return clouds - 2.5 * np.maximum(smooth_noise(rng, shape, 2) - 2.0, 0)


def orange_peel(rng, shape):
    """Sprayed paint under a grazing light."""
    bumps = smooth_noise(rng, shape, 4)
    return 2.2 * np.gradient(bumps, axis=0) / 0.35 * 0.35 + 0.5 * smooth_noise(rng, shape, 45)


def cross_hatch(rng, shape):
    """Honed metal: two families of fine scratches."""
    total = np.zeros(shape, np.float32)
    for angle in (rng.uniform(15, 40), rng.uniform(-40, -15)):
        square = int(np.hypot(*shape)) + 2
        lines = ndimage.gaussian_filter(rng.standard_normal((square, square), np.float32), (0.7, 30))
        turned = ndimage.rotate(lines / lines.std(), angle, reshape=False, order=1, mode="wrap")
        y, x = (square - shape[0]) // 2, (square - shape[1]) // 2
        total += turned[y:y + shape[0], x:x + shape[1]]
    return total / 1.4


def corrugated(rng, shape):
    """Board with flutes that show through, and loose fibres."""
    columns = np.arange(shape[1], dtype=np.float32)[None, :]
    flutes = np.sin(columns * 2 * np.pi / rng.uniform(28, 50) + rng.uniform(0, 6))
    fibres = ndimage.gaussian_filter(rng.standard_normal(shape, np.float32), (0.8, 5))
    return 0.7 * flutes + 0.7 * fibres / fibres.std() + 0.3 * smooth_noise(rng, shape, 25)


def rubber(rng, shape):
    """Dull and speckled, with moulding streaks."""
    streaks = ndimage.gaussian_filter(rng.standard_normal(shape, np.float32), (25, 2))
    return 0.6 * smooth_noise(rng, shape, 1.2) + 0.5 * streaks / streaks.std()


SURFACES = (concrete, orange_peel, cross_hatch, corrugated, rubber)
