"""Surfaces of the group 'choose', each (rng, shape) -> values of about unit variance around 0."""

import numpy as np

from .drawn import smooth_noise


def planks(rng, shape):
    """Wood: rings of a warped distance, seen along the grain."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    warp = 14 * smooth_noise(rng, shape, 60) + columns * rng.uniform(-0.08, 0.08)
    rings = np.sin((rows + warp) * 2 * np.pi / rng.uniform(14, 34))
    return 0.8 * rings + 0.4 * smooth_noise(rng, shape, 1.5)


def leather(rng, shape):
    """Creases between cells."""
    return np.abs(smooth_noise(rng, shape, 7)) + 0.6 * np.abs(smooth_noise(rng, shape, 3)) - 1.3


def weave(rng, shape):
    """Threads over and under each other, of uneven thickness."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    period = rng.uniform(5, 9)
    waver = 1.2 * smooth_noise(rng, shape, 20)
    cells = np.sin(rows * np.pi / period + waver) * np.sin(columns * np.pi / period - waver)
    return 1.2 * cells + 0.5 * smooth_noise(rng, shape, 2)


def spun(rng, shape):
    """Circles that a lathe tool leaves around a far centre."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    radius = np.hypot(columns - rng.uniform(-1, 2) * shape[1], rows + rng.uniform(0.3, 2) * shape[1])
    grooves = rng.standard_normal(8000).astype(np.float32)
    ring = (radius * rng.uniform(0.4, 0.9)).astype(int) % 8000
    return 0.8 * grooves[ring] + 0.8 * smooth_noise(rng, shape, 40)


def lacquer(rng, shape):
    """Even paint with dust."""
    dust = np.maximum(smooth_noise(rng, shape, 1.3) - 2.6, 0)
    return 0.5 * smooth_noise(rng, shape, 50) + 3 * dust + 0.3 * smooth_noise(rng, shape, 1)


SURFACES = (planks, leather, weave, spun, lacquer)
