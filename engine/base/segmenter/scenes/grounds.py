"""What scenes are made of: pieces of real textures and smooth fields, all height x width x 3, 0..1."""

import numpy as np
from PIL import Image
from scipy import ndimage


def noise(rng, side, length):
    """Gaussian noise with a correlation length, pixels; of zero mean and unit variance."""
    step = max(int(length / 2), 1)
    coarse = rng.standard_normal([side // step + 3] * 2).astype(np.float32)
    coarse = ndimage.gaussian_filter(coarse, length / step)
    field = np.asarray(Image.fromarray(coarse).resize([coarse.shape[0] * step] * 2, Image.BICUBIC))
    field = field[:side, :side]
    return (field - field.mean()) / (field.std() + 1e-6)


def piece(rng, texture, side, scale=None):
    """A piece of a texture at a random place, turned by quarters, flipped, and scaled by 0.7 to 1.4."""
    scale = scale or np.exp(rng.uniform(np.log(0.7), np.log(1.4)))
    wanted = min(int(side / scale), *texture.shape[:2])
    y, x = (rng.integers(0, length - wanted + 1) for length in texture.shape[:2])
    cut = (texture[y:y + wanted, x:x + wanted] * 255).astype(np.uint8)
    out = np.asarray(Image.fromarray(cut).resize((side, side), Image.BICUBIC), np.float32) / 255
    out = np.rot90(out, rng.integers(4))
    return out[:, ::-1].copy() if rng.random() < 0.5 else out.copy()


def levelled(pixels, level, deviation):
    """The same with another mean brightness and deviation of it."""
    gray = pixels.mean(2)
    return (pixels - gray.mean()) * (deviation / max(gray.std(), 0.01)) + level


def ground(rng, library, side, calm=False):
    """Something for things to lie on: a texture, its contrast mostly lowered, or smooth noise."""
    level = rng.uniform(0.2, 0.8)
    strength = np.exp(rng.uniform(np.log(0.005), np.log(0.06 if calm else 0.16)))
    if rng.random() < 0.75:
        out = levelled(piece(rng, library.any(rng), side), level, strength)
    else:
        tint = rng.normal(0, 0.04, 3)
        field = noise(rng, side, np.exp(rng.uniform(np.log(0.6), np.log(30))))
        out = level + strength * field[:, :, None] + tint
    if rng.random() < 0.4:  # uneven light
        out = out + rng.uniform(0.02, 0.12) * noise(rng, side, 60)[:, :, None]
    return out


def blob(rng, side, size, roughness=0.25):
    """A mask, height x width, of a closed random shape of about this radius, and its centre."""
    y, x = rng.uniform(0.1, 0.9, 2) * side
    rows, columns = np.mgrid[0:side, 0:side]
    angle = np.arctan2(rows - y, columns - x)
    radius = size * np.ones_like(angle)
    stretch, lean = np.exp(rng.normal(0, 0.25)), rng.uniform(0, np.pi)
    radius *= 1 / np.hypot(np.cos(angle - lean) / stretch, np.sin(angle - lean) * stretch)
    for wave in range(2, 6):
        radius *= 1 + roughness * rng.normal(0, 1) / wave * np.cos(wave * angle + rng.uniform(0, 2 * np.pi))
    return np.hypot(rows - y, columns - x) < radius


def regions(rng, side, count):
    """An index, height x width, of `count` irregular regions that fill the square."""
    centres = rng.uniform(-0.1, 1.1, (count, 2)) * side
    rows, columns = np.mgrid[0:side, 0:side].astype(np.float32)
    bend = rng.uniform(0, 14)
    rows, columns = rows + bend * noise(rng, side, 25), columns + bend * noise(rng, side, 25)
    distance = [np.hypot(rows - y, columns - x) for y, x in centres]
    return np.argmin(distance, 0)


def softened(mask, sigma=0.6):
    return ndimage.gaussian_filter(mask.astype(np.float32), sigma)[:, :, None]
