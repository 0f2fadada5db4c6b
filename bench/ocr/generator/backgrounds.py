"""Camera frames and procedural textures that codes are marked on. All values are 0..1 arrays."""

import glob
import os

import numpy as np
from PIL import Image
from scipy import ndimage

# Folders of the frames, by set: no image, scene or sequence serves both.
_FRAME_FOLDERS = {
    "train": ("cube", "mbt-depth/castel/castel"),
    "test": ("mire-2", "mbt/cube", "Solvay"),
}


class Frames:
    """The photographs of one set ('train' or 'test')."""

    def __init__(self, root, split):
        self._paths = []
        for folder in _FRAME_FOLDERS[split]:
            found = [path for pattern in ("*.pgm", "*.jpg")
                     for path in glob.glob(os.path.join(root, folder, pattern))]
            if not found:
                raise FileNotFoundError(f"no images in {os.path.join(root, folder)}")
            self._paths.append(sorted(found))

    def files(self):
        return [path for paths in self._paths for path in paths]

    def crop(self, rng, width, height):
        """A random piece of a random frame, magnified 1 to 2 times, as (height, width)."""
        paths = self._paths[rng.integers(len(self._paths))]
        image = Image.open(paths[rng.integers(len(paths))]).convert("L")
        zoom = max(rng.uniform(1.0, 2.0), width / image.width, height / image.height)
        w, h = width / zoom, height / zoom
        x, y = rng.uniform(0, image.width - w), rng.uniform(0, image.height - h)
        piece = image.resize((width, height), Image.BICUBIC, box=(x, y, x + w, y + h))
        return np.asarray(piece, np.float32) / 255


def noise(rng, shape, sigma):
    """Gaussian noise blurred by `sigma` (a number or one per axis), of unit variance."""
    field = ndimage.gaussian_filter(rng.standard_normal(shape, np.float32), sigma, mode="wrap")
    return field / (field.std() + 1e-9)


def paper(rng, shape):
    """Fibres and stains of a printed label, around 0."""
    return 0.5 * noise(rng, shape, 1.2) + 0.8 * noise(rng, shape, 14)


def brushed(rng, shape):
    """Streaks along x as grinding leaves them, around 0, with scratches and a broad sheen."""
    streaks = noise(rng, shape, (0.7, 50)) + 0.7 * noise(rng, shape, (2.0, 120))
    fine = 0.5 * noise(rng, shape, (0.6, 8))
    sheen = 1.2 * noise(rng, shape, (60, 60))
    return streaks + fine + sheen + _scratches(rng, shape)


def cast(rng, shape):
    """The height field of a sand casting: grain, pits and slow unevenness, unit variance."""
    pits = np.minimum(noise(rng, shape, 2.5) + 1.2, 0)
    field = noise(rng, shape, 1.4) + 1.5 * noise(rng, shape, 4) + 2.0 * pits
    return field / field.std()


def milled(rng, shape):
    """Arcs that a face mill leaves, around 0."""
    height, width = shape
    y, x = np.mgrid[0:height, 0:width].astype(np.float32)
    radius = np.hypot(x - rng.uniform(-width, 2 * width), y + rng.uniform(0.5, 3) * height)
    period = rng.uniform(5, 11)
    waver = 0.6 * noise(rng, shape, 12)
    return np.sin(radius * 2 * np.pi / period + waver) + 0.7 * noise(rng, shape, 1.0)


def _scratches(rng, shape):
    height, width = shape
    y, x = np.mgrid[0:height, 0:width].astype(np.float32)
    field = np.zeros(shape, np.float32)
    for _ in range(rng.integers(1, 6)):
        angle = rng.normal(0, 0.25)
        offset = (y - rng.uniform(0, height)) * np.cos(angle) - (x - width / 2) * np.sin(angle)
        field += rng.uniform(-3, 3) * np.exp(-(offset / rng.uniform(0.6, 1.5)) ** 2)
    return field
