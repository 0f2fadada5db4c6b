"""View, light, sensor and compression."""

import io

import numpy as np
from PIL import Image
from scipy import ndimage

from .grounds import noise


_BORDER = 60  # surface pixels mirrored around it, so that turned corners show surface


class View:
    """A projective view of a flat surface of (width, height) pixels, `scale` image pixels for each
    of them."""

    def __init__(self, rng, flat_size, scale):
        self.size = tuple(int(round(side * scale)) for side in flat_size)
        wide = rng.random() < 0.12
        angle = np.radians(rng.uniform(-12, 12) if wide else rng.normal(0, 2.2))
        corners = np.array([(0, 0), (1, 0), (1, 1), (0, 1)]) * self.size
        centre = np.array(self.size) / 2
        turn = np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
        moved = (corners - centre + rng.normal(0, 0.02, (4, 2)) * self.size[1]) @ turn.T
        self._matrix = _through(corners, moved / scale + np.array(flat_size) / 2)

    def image_of(self, surface):
        border = _BORDER
        flat = Image.fromarray(np.pad(surface.astype(np.float32), border, mode="symmetric"))
        shifted = np.array([[1, 0, border], [0, 1, border], [0, 0, 1]]) @ self._matrix
        seen = flat.transform(self.size, Image.PERSPECTIVE, tuple(shifted.ravel()[:8]),
                              Image.BICUBIC)
        return np.asarray(seen)

    def place_of(self, points):
        """Surface points (edges of pixels at integers), one per row, in the image."""
        mapped = np.column_stack([points, np.ones(len(points))]) @ np.linalg.inv(self._matrix).T
        return mapped[:, :2] / mapped[:, 2:]


def _through(source, target):
    """The homography that takes four points to four others."""
    system, values = [], []
    for (x, y), (u, v) in zip(source, target):
        system += [[x, y, 1, 0, 0, 0, -u * x, -u * y], [0, 0, 0, x, y, 1, -v * x, -v * y]]
        values += [u, v]
    return np.append(np.linalg.solve(system, values), 1).reshape(3, 3)


def lit(rng, image):
    """Slopes, spots and edges of light and shade."""
    rows, columns = np.mgrid[-1:1:image.shape[0] * 1j, -1:1:image.shape[1] * 1j].astype(np.float32)
    gain = np.ones_like(image)
    if rng.random() < 0.7:
        gain += rng.normal(0, 0.2) * columns + rng.normal(0, 0.15) * rows
    if rng.random() < 0.4:
        distance = (columns - rng.normal(0, 0.6)) ** 2 + (rows - rng.normal(0, 0.6)) ** 2
        gain += rng.normal(0.1, 0.3) * np.exp(-distance / rng.uniform(0.1, 1))
    if rng.random() < 0.12:  # the edge of a shadow
        angle = rng.uniform(0, 2 * np.pi)
        edge = columns * np.cos(angle) + rows * np.sin(angle) - rng.normal(0, 0.5)
        gain *= 1 - rng.uniform(0.15, 0.5) / (1 + np.exp(-np.clip(rng.uniform(5, 60) * edge, -30, 30)))
    if rng.random() < 0.25:
        gain *= 1 + 0.1 * noise(rng, image.shape, rng.uniform(20, 80))
    image = image * np.clip(gain, 0.45, 2.0)
    brightest = np.percentile(image, 97)
    return image * (0.97 / brightest) if brightest > 0.97 and rng.random() < 0.85 else image


def exposed(rng, image, sharpness, most_noise):
    """Blur of about `sharpness` pixels, noise of at most `most_noise`, quantisation to 8 bits."""
    image = ndimage.gaussian_filter(image, sharpness * rng.uniform(0.5, 1.1))
    if rng.random() < 0.1:
        length = int(rng.integers(2, 6))
        image = ndimage.uniform_filter1d(image, length, axis=int(rng.integers(2)))
    gamma = np.exp(rng.normal(0, 0.15))
    image = np.clip(image, 0, 1) ** gamma
    sigma = min(np.exp(rng.uniform(np.log(0.003), np.log(0.06))), most_noise)
    image = image + sigma * np.sqrt(0.3 + 0.7 * image) * rng.standard_normal(image.shape)
    if rng.random() < 0.05:
        grains = rng.random(image.shape)
        image = np.where(grains < 0.004, 0, np.where(grains > 0.996, 1, image))
    return np.round(np.clip(image, 0, 1) * 255).astype(np.uint8)


def compressed(rng, pixels):
    buffer = io.BytesIO()
    Image.fromarray(pixels).save(buffer, "JPEG", quality=int(rng.integers(35, 92)))
    return np.asarray(Image.open(buffer))
