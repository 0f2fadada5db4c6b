"""What the camera adds: view, light, blur, sensor noise, quantisation."""

import numpy as np
from PIL import Image
from scipy import ndimage


def random_view(rng, flat_size, size, tilt_degrees=3.0, keystone=0.04):
    """The homography from image pixels to pixels of the flat surface.

    `flat_size` and `size` are (width, height) of surface and image; rotation is uniform within
    `tilt_degrees`, each corner moves by up to `keystone` of the image's height.
    """
    angle = np.radians(rng.uniform(-tilt_degrees, tilt_degrees))
    scale = flat_size[0] / size[0]
    turn = scale * np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
    corners = np.array([(0, 0), (size[0], 0), (size[0], size[1]), (0, size[1])], float)
    centred = corners - np.array(size) / 2
    moved = centred + rng.uniform(-keystone, keystone, (4, 2)) * size[1]
    return _homography(corners, moved @ turn.T + np.array(flat_size) / 2)


def _homography(source, target):
    rows, values = [], []
    for (x, y), (u, v) in zip(source, target):
        rows += [[x, y, 1, 0, 0, 0, -u * x, -u * y], [0, 0, 0, x, y, 1, -v * x, -v * y]]
        values += [u, v]
    return np.append(np.linalg.solve(np.array(rows), np.array(values)), 1).reshape(3, 3)


def look(flat, view, size):
    """The flat surface (a 0..1 array) seen through `view`, as (height, width)."""
    image = Image.fromarray(flat.astype(np.float32), "F")
    seen = image.transform(size, Image.PERSPECTIVE, tuple(view.ravel()[:8]), Image.BICUBIC)
    return np.asarray(seen)


def to_image(points, view):
    """Surface points, one per row, in image pixels (pixel centres at integers)."""
    mapped = np.column_stack([points, np.ones(len(points))]) @ np.linalg.inv(view).T
    return mapped[:, :2] / mapped[:, 2:] - 0.5


def illuminate(rng, image, strength):
    """Multiplies by a random slope and a random spot, each up to `strength`."""
    height, width = image.shape
    y, x = np.mgrid[0:height, 0:width].astype(np.float32)
    u, v = x / width - 0.5, y / height - 0.5
    angle = rng.uniform(0, 2 * np.pi)
    slope = rng.uniform(0, strength) * 2 * (np.cos(angle) * u + np.sin(angle) * v)
    spot_x, spot_y = rng.uniform(-0.5, 0.5, 2)
    spread = rng.uniform(0.2, 0.7)
    spot = np.exp(-(((u - spot_x) * width / height) ** 2 + (v - spot_y) ** 2) / spread**2)
    return image * (1 + slope + rng.uniform(-0.5, 1) * strength * spot)


def expose(rng, image, blur, noise):
    """Blurs by up to `blur` px (standard deviation, range given as a pair), adds shot and read
    noise of standard deviation `noise` at white, quantises to 8 bits."""
    image = ndimage.gaussian_filter(image, rng.uniform(*blur))
    sigma = noise * np.sqrt(0.3 + 0.7 * np.clip(image, 0, 1))
    image = image + sigma * rng.standard_normal(image.shape)
    return np.round(np.clip(image, 0, 1) * 255).astype(np.uint8)
