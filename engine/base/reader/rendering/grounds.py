"""Procedural surfaces, as deviations of about unit variance from an even ground, and clutter."""

import numpy as np
from PIL import Image, ImageDraw
from scipy import ndimage


def noise(rng, shape, across, along=None):
    """Gaussian noise with a correlation length per axis (pixels), of unit variance."""
    lengths = (across, across if along is None else along)
    steps = [max(int(length / 2.5), 1) for length in lengths]
    coarse = [int(np.ceil(side / step)) + 2 for side, step in zip(shape, steps)]
    field = rng.standard_normal(coarse, np.float32)
    field = ndimage.gaussian_filter(field, [a / b for a, b in zip(lengths, steps)], mode="reflect")
    if max(steps) > 1:
        size = coarse[1] * steps[1], coarse[0] * steps[0]
        field = np.asarray(Image.fromarray(field).resize(size, Image.BICUBIC))
    field = field[:shape[0], :shape[1]]
    return (field - field.mean()) / (field.std() + 1e-6)


def _turned(rng, shape, draw):
    """A field drawn on a larger square and turned by any angle, nearly upright ones preferred."""
    side = int(np.hypot(*shape)) + 4
    angle = rng.choice([0.0, 90.0, rng.uniform(0, 180)]) + rng.normal(0, 4)
    field = ndimage.rotate(draw(rng, (side, side)), angle, reshape=False, order=1, mode="reflect")
    y, x = (side - shape[0]) // 2, (side - shape[1]) // 2
    return field[y:y + shape[0], x:x + shape[1]]


def fractal(rng, shape):
    """A spectrum that falls with a random power of frequency."""
    rows, columns = (np.fft.fftfreq(side) for side in shape)
    frequency = np.hypot(rows[:, None], columns[None, :])
    frequency[0, 0] = 1
    spectrum = np.fft.fft2(rng.standard_normal(shape)) / frequency ** rng.uniform(0.6, 1.8)
    field = np.real(np.fft.ifft2(spectrum)).astype(np.float32)
    return (field - field.mean()) / field.std()


def grained(rng, shape):
    """Bumps of one size under a slanting light: castings, leatherette, blasted metal."""
    height = noise(rng, shape, rng.uniform(0.8, 5))
    angle = rng.uniform(0, 2 * np.pi)
    dy, dx = np.gradient(height)
    light = dx * np.cos(angle) + dy * np.sin(angle)
    return light / light.std()


def brushed(rng, shape):
    def lines(rng, shape):
        return noise(rng, shape, rng.uniform(0.6, 2), rng.uniform(15, 150))
    return _turned(rng, shape, lines)


def turned_arcs(rng, shape):
    """Circles around a centre that may be far away: lathes and milling heads."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    centre = rng.uniform(-1, 2, 2) * shape
    radius = np.hypot(rows - centre[0], columns - centre[1]) + 0.5 * noise(rng, shape, 15)
    period = rng.uniform(3, 14)
    return 1.2 * np.sin(radius * 2 * np.pi / period) + 0.5 * noise(rng, shape, 1.2)


def fibres(rng, shape):
    """Short strokes in all directions: paper, felt, board."""
    layers = [_turned(rng, shape, lambda r, s: noise(r, s, 0.7, r.uniform(3, 9))) for _ in range(3)]
    field = np.maximum.reduce(layers)
    return (field - field.mean()) / field.std()


def knots(rng, shape):
    """Growth lines that bend around a few points."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    phase = rows * rng.uniform(0.1, 0.35)
    for _ in range(rng.integers(1, 4)):
        y, x = rng.uniform(0, shape[0]), rng.uniform(0, shape[1])
        spread = rng.uniform(10, 40)
        phase += rng.uniform(4, 12) * np.exp(-((rows - y) ** 2 + ((columns - x) / 3) ** 2)
                                             / spread**2)
    return np.sin(phase + 0.8 * noise(rng, shape, 4, 80)) + 0.5 * noise(rng, shape, 0.7, 12)


def printed(rng, shape):
    """A printed pattern: stripes, checks, dots or waves of two tones."""
    rows, columns = np.mgrid[0:shape[0], 0:shape[1]].astype(np.float32)
    period, angle = rng.uniform(5, 40), rng.uniform(0, np.pi)
    u = (columns * np.cos(angle) + rows * np.sin(angle)) * 2 * np.pi / period
    v = (rows * np.cos(angle) - columns * np.sin(angle)) * 2 * np.pi / period
    field = (np.sin(u), np.sin(u) * np.sin(v), np.sin(u + 2 * np.sin(0.3 * v)),
             np.cos(u) + np.cos(v))[rng.integers(4)]
    return np.tanh(rng.uniform(1, 6) * field)


def cells(rng, shape):
    """Plates between random centres, each of its own tone: crystals on zinc, gravel, foam."""
    count = int(rng.integers(20, 250))
    mark = np.ones(shape, bool)
    y, x = rng.integers(0, shape[0], count), rng.integers(0, shape[1], count)
    mark[y, x] = False
    distance, (near_y, near_x) = ndimage.distance_transform_edt(mark, return_indices=True)
    tones = rng.standard_normal(shape).astype(np.float32)[near_y, near_x]
    if rng.random() < 0.5:
        return ndimage.gaussian_filter(tones, 0.7)
    field = distance.astype(np.float32)
    return (field - field.mean()) / (field.std() + 1e-6)


def blotches(rng, shape):
    """Stains with edges: rust, oil, torn paint."""
    field = noise(rng, shape, rng.uniform(6, 30)) + 0.3 * noise(rng, shape, 2)
    return np.tanh(rng.uniform(2, 10) * (field - rng.uniform(0, 1.2)))


def gradient(rng, shape):
    rows, columns = np.mgrid[-1:1:shape[0] * 1j, -1:1:shape[1] * 1j].astype(np.float32)
    angle = rng.uniform(0, 2 * np.pi)
    return 1.7 * (columns * np.cos(angle) + rows * np.sin(angle))


def speckle(rng, shape):
    """Sparse bright and dark grains of a few pixels."""
    field = noise(rng, shape, rng.uniform(0.6, 1.6))
    limit = rng.uniform(1.5, 2.8)
    return 2 * (np.maximum(field - limit, 0) - np.maximum(-field - limit, 0) * rng.random())


TEXTURES = (fractal, grained, brushed, turned_arcs, fibres, knots, printed, cells, blotches, gradient,
            speckle)


def random_ground(rng, shape):
    """Brightness of an unmarked surface: a level, up to three textures, scratches."""
    level = rng.uniform(0.12, 0.88)
    ground = np.full(shape, level, np.float32)
    for _ in range(rng.integers(0, 4)):
        strength = min(np.exp(rng.normal(-3.6, 0.8)), 0.16)
        ground += strength * TEXTURES[rng.integers(len(TEXTURES))](rng, shape)
    if rng.random() < 0.3:
        ground += scratches(rng, shape, rng.uniform(0.03, 0.2))
    return ground


def scratches(rng, shape, strength):
    image = Image.new("F", shape[::-1], 0)
    draw = ImageDraw.Draw(image)
    main = rng.uniform(0, np.pi)
    for _ in range(rng.integers(1, 25)):
        angle, length = rng.normal(main, 0.4), rng.exponential(80)
        x, y = rng.uniform(0, shape[1]), rng.uniform(0, shape[0])
        end = x + length * np.cos(angle), y + length * np.sin(angle)
        draw.line((x, y, *end), fill=float(rng.normal(0, strength)), width=int(rng.integers(1, 3)))
    return ndimage.gaussian_filter(np.asarray(image), rng.uniform(0.4, 1.0))


def add_clutter(rng, surface, boxes):
    """Draws frames, bars, blobs and edges beside the text, whose `boxes` (x0, y0, x1, y1) stay
    free. What is drawn there teaches what no character looks like."""
    layer = Image.new("F", surface.shape[::-1], 0)
    draw = ImageDraw.Draw(layer)
    for _ in range(rng.integers(1, 6)):
        _CLUTTER[rng.integers(len(_CLUTTER))](rng, draw, surface.shape, boxes)
    free = np.ones(surface.shape, np.float32)
    for x0, y0, x1, y1 in boxes:
        free[max(int(y0) - 4, 0):int(y1) + 5, max(int(x0) - 4, 0):int(x1) + 5] = 0
    drawn = ndimage.gaussian_filter(np.asarray(layer) * free, rng.uniform(0.4, 1.4))
    return surface + drawn


def _tone(rng):
    return float(rng.choice([-1, 1]) * rng.uniform(0.08, 0.5))


def _frame(rng, draw, shape, boxes):
    gap = rng.uniform(6, 22)
    x0, y0 = min(b[0] for b in boxes) - gap, min(b[1] for b in boxes) - gap
    x1, y1 = max(b[2] for b in boxes) + gap, max(b[3] for b in boxes) + gap
    draw.rectangle((x0, y0, x1, y1), outline=_tone(rng), width=int(rng.integers(1, 5)))


def _bars(rng, draw, shape, boxes):
    x, y = rng.uniform(0, shape[1]), rng.choice([0, shape[0] * 0.8])
    tone, high = _tone(rng), rng.uniform(15, 60)
    for _ in range(rng.integers(8, 40)):
        wide = rng.integers(1, 5)
        draw.rectangle((x, y, x + wide, y + high), fill=tone)
        x += wide + rng.integers(2, 6)


def _blob(rng, draw, shape, boxes):
    x, y = rng.uniform(0, shape[1]), rng.uniform(0, shape[0])
    a, b = rng.uniform(2, 30, 2)
    if rng.random() < 0.5:
        draw.ellipse((x - a, y - b, x + a, y + b), fill=_tone(rng))
    else:
        draw.ellipse((x - a, y - a, x + a, y + a), outline=_tone(rng), width=int(rng.integers(1, 4)))


def _edge(rng, draw, shape, boxes):
    """The end of a label or part: everything beyond a line has another tone."""
    side, tone = rng.integers(4), _tone(rng)
    slope = rng.normal(0, 0.05)
    low, high = shape[0] * rng.uniform(0, 0.12), shape[1] * rng.uniform(0, 0.1)
    corners = {
        0: [(0, 0), (shape[1], 0), (shape[1], low * (1 + slope)), (0, low)],
        1: [(0, shape[0]), (shape[1], shape[0]), (shape[1], shape[0] - low), (0, shape[0] - low * (1 + slope))],
        2: [(0, 0), (high, 0), (high * (1 + slope), shape[0]), (0, shape[0])],
        3: [(shape[1], 0), (shape[1] - high, 0), (shape[1] - high * (1 + slope), shape[0]), shape[::-1]]}
    draw.polygon([tuple(map(float, corner)) for corner in corners[int(side)]], fill=tone)


def _rule(rng, draw, shape, boxes):
    """A line above or below the text, or through the margin."""
    box = boxes[rng.integers(len(boxes))]
    y = box[3] + rng.uniform(5, 9) if rng.random() < 0.7 else rng.uniform(0, shape[0])
    draw.line((rng.uniform(-20, box[0]), y, rng.uniform(box[2], shape[1] + 20), y + rng.normal(0, 2)),
              fill=_tone(rng), width=int(rng.integers(1, 4)))


_CLUTTER = (_frame, _bars, _blob, _blob, _edge, _rule)
