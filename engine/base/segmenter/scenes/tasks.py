"""The kinds of scenes that the base learns from. Each is a task of its own with a few categories.

A task is a function of a generator of random numbers, the library of textures and the side. It returns the
pixels (side x side x 3) and the masks of its categories by name; a category without a mask is absent.
Pixels that no mask has belong to none of the task's categories.
"""

import numpy as np
from PIL import Image, ImageDraw
from scipy import ndimage

from .grounds import blob, ground, levelled, noise, piece, regions, softened

TEXTURES = tuple(f"texture{i}" for i in range(28))
MARKS = ("scratch", "crack", "pit", "hair", "stain", "dent")
SHAPES = ("disc", "ring", "square", "triangle", "cross", "star", "bar")
THINGS = ("small thing", "large thing")
HUES = ("red", "green", "blue", "yellow")


def texture_regions(rng, library, side):
    """Regions of textures as bright as one another; some are of textures that have no category."""
    index = regions(rng, side, rng.integers(3, 8))
    even = rng.random() < 0.7
    level, strength = rng.uniform(0.35, 0.65), rng.uniform(0.06, 0.2)
    pixels, masks = np.zeros((side, side, 3), np.float32), {}
    for i in range(index.max() + 1):
        here = index == i
        named = rng.random() < 0.7
        number = rng.integers(len(TEXTURES))
        cut = piece(rng, library.named[number] if named else library.other(rng), side)
        if even:
            cut = levelled(cut, level * rng.uniform(0.9, 1.1), strength * rng.uniform(0.8, 1.25))
        pixels[here] = cut[here]
        if named:
            name = TEXTURES[number]
            masks[name] = masks.get(name, False) | here
    return pixels, masks


def _wander(rng, start, heading, length, bend):
    """Points of a curve, a pixel apart, whose direction wanders by `bend` a step."""
    turns = np.cumsum(rng.normal(0, bend, length)) + heading
    return start + np.cumsum(np.stack([np.cos(turns), np.sin(turns)], 1), 0)


def _stroke(side, points, width):
    """A mask of a line through points (x, y), drawn at four times the resolution."""
    canvas = Image.new("L", (4 * side, 4 * side))
    ImageDraw.Draw(canvas).line([tuple(p) for p in points * 4], 255, max(1, round(4 * width)), "curve")
    return np.asarray(canvas.resize((side, side), Image.BOX), np.float32) / 255


def _scratch(rng, side):
    points = _wander(rng, rng.uniform(0, side, 2), rng.uniform(0, 2 * np.pi), rng.integers(30, side), 0.004)
    return _stroke(side, points, rng.uniform(0.6, 2.2))


def _hair(rng, side):
    points = _wander(rng, rng.uniform(0, side, 2), rng.uniform(0, 2 * np.pi), rng.integers(40, side), 0.08)
    return _stroke(side, ndimage.gaussian_filter1d(points, 4, axis=0), rng.uniform(0.7, 2))


def _crack(rng, side):
    start, heading = rng.uniform(0, side, 2), rng.uniform(0, 2 * np.pi)
    stem = _wander(rng, start, heading, rng.integers(40, side), 0.35)
    out = _stroke(side, stem, rng.uniform(0.6, 2.4))
    for _ in range(rng.integers(0, 4)):
        branch = _wander(rng, stem[rng.integers(len(stem))], heading + rng.uniform(-1.2, 1.2),
                         rng.integers(15, 60), 0.35)
        out = np.maximum(out, _stroke(side, branch, rng.uniform(0.5, 1.4)))
    return out


def _pits(rng, side):
    out = np.zeros((side, side), np.float32)
    rows, columns = np.mgrid[0:side, 0:side]
    middle, spread = rng.uniform(0, side, 2), rng.uniform(10, 80)
    for _ in range(rng.integers(1, 12)):
        y, x = rng.normal(middle, spread)
        radius = rng.uniform(0.8, 3.5)
        out = np.maximum(out, np.clip(radius + 0.5 - np.hypot(rows - y, columns - x), 0, 1))
    return out


def _stain(rng, side):
    return ndimage.gaussian_filter(blob(rng, side, rng.uniform(10, 45), 0.5).astype(np.float32),
                                   rng.uniform(0.5, 3))


def _dent(rng, side):
    """A depth, 0..1, and the light that slants over it, -1..1."""
    shape = blob(rng, side, rng.uniform(5, 25)).astype(np.float32)
    height = ndimage.gaussian_filter(shape, rng.uniform(1.5, 4))
    angle = rng.uniform(0, 2 * np.pi)
    down, right = np.gradient(height)
    light = down * np.sin(angle) + right * np.cos(angle)
    return height, light / (np.abs(light).max() + 1e-6)


def marks(rng, library, side):
    """Faults on a surface: a pixel or two wide, or faint."""
    pixels, masks = ground(rng, library, side), {}
    draw = {"scratch": _scratch, "crack": _crack, "pit": _pits, "hair": _hair, "stain": _stain}
    spread = ndimage.gaussian_filter(pixels.mean(2), 1).std()
    for _ in range(rng.integers(1, 6)):
        name = MARKS[rng.integers(len(MARKS))]
        if name == "dent":
            height, light = _dent(rng, side)
            pixels = pixels + (0.08 + 2 * spread) * rng.uniform(0.5, 2) * light[:, :, None]
            masks[name] = masks.get(name, False) | (height > 0.5)
            continue
        cover = draw[name](rng, side)
        contrast = (0.05 + 1.5 * spread) * np.exp(rng.uniform(-0.3, 0.9))
        contrast *= rng.choice([-1, 1], p=[0.65, 0.35])
        if name == "stain":
            contrast *= 0.6
        colour = contrast * (1 + rng.normal(0, 0.25, 3))
        pixels = pixels + cover[:, :, None] * colour
        masks[name] = masks.get(name, False) | (cover > 0.5)
    return pixels, masks


def _polygon(name, turn):
    """Corners of a shape about the origin, of radius one."""
    def corners(count, radii=(1,), begin=0.0):
        angles = begin + turn + 2 * np.pi * np.arange(count) / count
        radius = np.array([radii[i % len(radii)] for i in range(count)])
        return np.stack([radius * np.cos(angles), radius * np.sin(angles)], 1)
    if name == "cross":
        arm = np.array([[1, .3], [.3, .3], [.3, 1], [-.3, 1], [-.3, .3], [-1, .3], [-1, -.3], [-.3, -.3],
                        [-.3, -1], [.3, -1], [.3, -.3], [1, -.3]])
    elif name == "bar":
        arm = np.array([[1, .22], [-1, .22], [-1, -.22], [1, -.22]])
    else:
        return corners(*{"disc": (40,), "ring": (40,), "square": (4,), "triangle": (3,),
                         "star": (10, (1, 0.45))}[name])
    c, s = np.cos(turn), np.sin(turn)
    return arm @ np.array([[c, s], [-s, c]])


def _shape(rng, name, side, radius):
    centre = rng.uniform(0.05, 0.95, 2) * side
    canvas = Image.new("L", (3 * side, 3 * side))
    draw = ImageDraw.Draw(canvas)
    points = 3 * (centre + radius * _polygon(name, rng.uniform(0, 2 * np.pi)))
    draw.polygon([tuple(p) for p in points], 255)
    if name == "ring":
        inner = 3 * (centre + rng.uniform(0.45, 0.75) * radius * _polygon(name, 0))
        draw.polygon([tuple(p) for p in inner], 0)
    return np.asarray(canvas.resize((side, side), Image.BOX), np.float32) / 255


def shapes(rng, library, side):
    """Shapes of one paint on a ground; only their form tells them apart."""
    pixels, masks = ground(rng, library, side, calm=True), {}
    contrast = rng.uniform(0.1, 0.35) * rng.choice([-1, 1])
    paint = pixels.mean((0, 1)) + contrast * (1 + rng.normal(0, 0.2, 3))
    fill = paint + 0.02 * noise(rng, side, 2)[:, :, None]
    taken = np.zeros((side, side), bool)
    for _ in range(rng.integers(4, 14)):
        name = SHAPES[rng.integers(len(SHAPES))]
        cover = _shape(rng, name, side, np.exp(rng.uniform(np.log(9), np.log(34))))
        around = ndimage.binary_dilation(cover > 0.1, iterations=3)
        if (taken & around).any():
            continue
        taken |= around
        pixels = pixels * (1 - cover[:, :, None]) + fill * cover[:, :, None]
        masks[name] = masks.get(name, False) | (cover > 0.5)
    return pixels, masks


def things(rng, library, side):
    """Things of another texture laid on a ground, small and large ones; sometimes with a shadow."""
    pixels, masks = ground(rng, library, side), {}
    small = rng.uniform(5, 14)
    for _ in range(rng.integers(2, 9)):
        large = rng.random() < 0.45
        here = blob(rng, side, small * rng.uniform(2.6, 4) if large else small * rng.uniform(0.8, 1.2), 0.2)
        cut = levelled(piece(rng, library.any(rng), side), *_unlike(rng, pixels))
        if rng.random() < 0.5:  # rounded
            depth = ndimage.distance_transform_edt(here)
            cut = cut + 0.15 * (np.minimum(depth / (depth.max() + 1e-6), 1) - 0.5)[:, :, None]
        if rng.random() < 0.4:
            shadow = ndimage.shift(softened(here, 3)[:, :, 0], rng.uniform(-8, 8, 2))
            pixels = pixels * (1 - 0.4 * shadow[:, :, None])
        cover = softened(here)
        pixels = pixels * (1 - cover) + cut * cover
        for name in THINGS:
            masks[name] = masks.get(name, np.zeros((side, side), bool)) & ~here
        masks[THINGS[large]] |= here
    return pixels, masks


def _unlike(rng, pixels):
    """A level that differs from that of pixels, and a deviation."""
    level = pixels.mean() + rng.uniform(0.04, 0.3) * rng.choice([-1, 1])
    return level, np.exp(rng.uniform(np.log(0.01), np.log(0.12)))


def hues(rng, library, side):
    """Things of four hues, and of others and none, as bright as one another."""
    pixels, masks = ground(rng, library, side), {}
    directions = {"red": (1, -.5, -.5), "green": (-.5, 1, -.5), "blue": (-.5, -.5, 1), "yellow": (.5, .5, -1)}
    level = pixels.mean() + rng.uniform(-0.15, 0.15)
    for _ in range(rng.integers(3, 10)):
        name = rng.choice(HUES + ("none", "none"))
        here = blob(rng, side, rng.uniform(6, 35), 0.2)
        cut = levelled(piece(rng, library.any(rng), side), level, rng.uniform(0.01, 0.08))
        cut = np.repeat(cut.mean(2, keepdims=True), 3, 2)
        if name != "none":
            direction = np.array(directions[name]) + rng.normal(0, 0.12, 3)
            cut = cut + rng.uniform(0.06, 0.25) * direction
        cover = softened(here)
        pixels = pixels * (1 - cover) + cut * cover
        for other in HUES:
            masks[other] = masks.get(other, np.zeros((side, side), bool)) & ~here
        if name != "none":
            masks[name] |= here
    return pixels, masks


def outlines(rng, library, side):
    """Closed outlines, whose insides count, and open lines, which enclose nothing."""
    pixels = ground(rng, library, side, calm=True)
    inside = np.zeros((side, side), bool)
    contrast = rng.uniform(0.1, 0.3) * rng.choice([-1, 1])
    for _ in range(rng.integers(1, 5)):
        here = blob(rng, side, rng.uniform(14, 60), 0.2)
        if (ndimage.binary_dilation(here, iterations=4) & inside).any():
            continue
        wall = here & ~ndimage.binary_erosion(here, iterations=int(rng.integers(1, 4)))
        pixels = pixels + contrast * softened(wall)
        inside |= here
    free = ~ndimage.binary_dilation(inside, iterations=3)
    for _ in range(rng.integers(0, 4)):
        line = _hair(rng, side) * free
        pixels = pixels + contrast * line[:, :, None]
    return pixels, {"inside": inside}


def light(rng, library, side):
    """Parts that are brighter or darker than what surrounds them, whatever the light."""
    pixels = ground(rng, library, side)
    spread = pixels.mean(2).std()
    masks = {name: np.zeros((side, side), bool) for name in ("brighter", "darker")}
    for _ in range(rng.integers(2, 8)):
        here = blob(rng, side, rng.uniform(4, 40), 0.3)
        name = rng.choice(("brighter", "darker"))
        sign = 1 if name == "brighter" else -1
        free = here & ~masks["brighter"] & ~masks["darker"]
        pixels = pixels + sign * (0.04 + spread) * rng.uniform(0.8, 2) * softened(free)
        masks[name] |= free
    return pixels, masks


def focus(rng, library, side):
    """Parts of a texture that are out of focus, or grainier than the rest."""
    pixels = levelled(piece(rng, library.any(rng), side), rng.uniform(0.35, 0.65), rng.uniform(0.06, 0.2))
    masks = {}
    for name in ("blurred", "grainy"):
        here = blob(rng, side, rng.uniform(15, 60), 0.3)
        for other in masks.values():
            here &= ~other
        cover = softened(here, 1)
        if name == "blurred":
            changed = ndimage.gaussian_filter(pixels, (2.2, 2.2, 0))
        else:
            changed = pixels + 0.8 * pixels.mean(2).std() * rng.standard_normal((side, side, 1))
        pixels = pixels * (1 - cover) + changed * cover
        masks[name] = here
    return pixels, masks


# Each with its categories and its share.
TASKS = ((texture_regions, TEXTURES, 0.36),
         (marks, MARKS, 0.2),
         (shapes, SHAPES, 0.09),
         (things, THINGS, 0.12),
         (hues, HUES, 0.07),
         (outlines, ("inside",), 0.05),
         (light, ("brighter", "darker"), 0.06),
         (focus, ("blurred", "grainy"), 0.05))
CATEGORIES = tuple(name for _, names, _ in TASKS for name in names)
