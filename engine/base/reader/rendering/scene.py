"""One training image: lines of text of one marking, on one surface, seen by one camera."""

from dataclasses import dataclass

import numpy as np
from PIL import Image
from scipy import ndimage

from . import camera, grounds, marks, shapes, texts, wear

NOMINAL = 24  # image pixels, both axes: the nominal character
_FINE = 1.6  # surface pixels per unit of the nominal height
_CAPITAL = NOMINAL * _FINE


@dataclass
class Character:
    category: str
    x: float
    y: float


class FontChooser:
    """Draws faces: families evenly, slanted faces less often, plain technical ones more often."""

    _TECHNICAL = {"fonts-liberation", "fonts-dejavu-core", "fonts-dejavu-extra", "fonts-ocr-a",
                  "fonts-ocr-b", "fonts-routed-gothic", "fonts-inconsolata", "fonts-roboto-unhinted",
                  "fonts-noto-mono", "fonts-3270", "fonts-hack", "fonts-freefont-ttf", "fonts-go",
                  "fonts-urw-base35", "fonts-open-sans", "fonts-bebas-neue", "fonts-karla",
                  "fonts-firacode", "fonts-gnutypewriter", "fonts-tlwg-typewriter-otf",
                  "fonts-anonymous-pro", "fonts-lato", "fonts-inter"}

    def __init__(self, faces):
        self._all = _families(faces)
        self._technical = _families(f for f in faces if f.package in self._TECHNICAL)
        # Faces of tall or wide pixels would need a grid of their own per axis.
        self._pixels = [face for face in faces
                        if face.pixel and "-2y" not in face.path and "-2x" not in face.path]

    def outline(self, rng):
        families = self._technical if rng.random() < 0.35 else self._all
        faces = families[rng.integers(len(families))]
        weights = np.array([0.3 if _is_slanted(face) else 1.0 for face in faces])
        return faces[rng.choice(len(faces), p=weights / weights.sum())]

    def pixels(self, rng):
        return self._pixels[rng.integers(len(self._pixels))]


def _families(faces):
    table = {}
    for face in faces:
        table.setdefault(face.family, []).append(face)
    return list(table.values())


def _is_slanted(face):
    return any(word in face.path.lower() for word in ("italic", "oblique", "slant"))


def render(rng, chooser):
    """Returns 8-bit pixels and the characters (list of Character, image pixels, pixel centres at
    integers) of each line."""
    text = _Text(rng, chooser)
    ground = grounds.random_ground(rng, text.shape)
    ink = wear.random_wear(rng, text.ink, _CAPITAL)
    effect = marks.random_mark(rng, ink, ground, _CAPITAL) - ground
    ground, effect, strength = _legible(rng, ground, effect, ink)
    if rng.random() < 0.45:
        ground = grounds.add_clutter(rng, ground, text.boxes)
    surface = ground + effect
    if rng.random() < 0.1:
        surface = surface + grounds.scratches(rng, text.shape, 0.15)
    return _photograph(rng, surface, strength, text)


def _legible(rng, ground, effect, ink):
    """Weakens a ground and strengthens marks so far that a person could read them. Returns both,
    and how much the marks change the brightness."""
    near = ndimage.grey_dilation(ink, size=(5, 5)) > 0.4
    if not near.any():
        return ground, effect, 0.0
    strength = np.percentile(np.abs(effect[near]), 80)
    least = np.exp(rng.uniform(np.log(0.08), np.log(0.16)))
    effect = effect * max(least / (strength + 1e-6), 1)
    strength = max(strength, least)
    smooth = ndimage.gaussian_filter(ground, 0.5 * _CAPITAL)
    texture = ground - smooth
    clear = np.exp(rng.uniform(np.log(2.0), np.log(8)))
    texture = texture * min(strength / (clear * texture[near].std() + 1e-6), 1)
    return smooth + texture, effect, strength


def _photograph(rng, surface, strength, text):
    resolution = np.exp(rng.uniform(np.log(17), np.log(40))) / _CAPITAL
    view = camera.View(rng, surface.shape[::-1], resolution)
    image = camera.lit(rng, view.image_of(surface))
    blur = rng.uniform(0.4, 1.1) * resolution * _CAPITAL / 24
    pixels = camera.exposed(rng, image, blur, 0.4 * strength)
    if rng.random() < 0.2:
        pixels = camera.compressed(rng, pixels)
    stretch = np.array([NOMINAL / text.nominal_width, 1 / _FINE]) / resolution
    size = tuple(int(round(side * s)) for side, s in zip(view.size, stretch))
    pixels = np.asarray(Image.fromarray(pixels).resize(size, Image.BICUBIC))
    scale = np.array(size) / view.size
    return pixels, [[_placed(glyph, view, scale) for glyph in line] for line in text.lines]


def _placed(glyph, view, scale):
    x, y = view.place_of(np.array([glyph.centre]))[0] * scale - 0.5
    return Character(glyph.category, float(x), float(y))


@dataclass
class _Placed:
    category: str
    centre: tuple


class _Text:
    """Lines of characters on an empty surface: their coverage `ink` and their places."""

    def __init__(self, rng, chooser):
        self._rng, self._chooser = rng, chooser
        self._kind = str(rng.choice(["outline", "dots", "segments"], p=[0.66, 0.28, 0.06]))
        self._treatment = self._random_treatment()
        self._turn = abs(rng.normal(0, 2.5)) if rng.random() < 0.2 else 0
        self._wander = abs(rng.normal(0, 0.03)) * _CAPITAL if rng.random() < 0.25 else 0
        self._lean = rng.uniform(-0.2, 0.3) if rng.random() < 0.2 else 0
        self._uneven = rng.uniform(0, 0.5) if rng.random() < 0.25 else 0
        self.nominal_width = None
        rows = self._random_rows()
        self.lines, self.boxes = [], []
        self._paint(rows)

    def _random_treatment(self):
        rng = self._rng
        if self._kind == "segments":
            return lambda ink, height: ink
        kind = rng.choice(5, p=[0.74, 0.06, 0.08, 0.04, 0.08])
        seed = int(rng.integers(2**31))
        if kind == 1:
            return lambda ink, height: shapes.cut_bridges(np.random.default_rng(seed), ink, height)
        if kind == 2:
            return lambda ink, height: shapes.hatched(np.random.default_rng(seed), ink, height)
        if kind == 3 and self._kind == "outline":
            return lambda ink, height: shapes.outlined(ink, 3)
        if kind == 4:
            return lambda ink, height: ndimage.grey_dilation(ink, size=(3, 3))
        return lambda ink, height: ink

    def _shape(self, height):
        if self._kind == "segments":
            return shapes.Segments(self._rng, height)
        if self._kind == "dots":
            fonts = self._chooser
            pixel = self._rng.random() < 0.65
            face = fonts.pixels(self._rng) if pixel else fonts.outline(self._rng)
            return shapes.Dots(self._rng, face, height)
        return shapes.Outlines(self._chooser.outline(self._rng), height)

    def _random_rows(self):
        """Per line: (glyphs with pen positions, width, height of a capital)."""
        rng = self._rng
        base = rng.uniform(0.78, 1.3)
        shape = self._shape(round(base * _CAPITAL))
        spacing = _CAPITAL * base * max(rng.normal(0.05, 0.08), -0.04)
        per_line = int(rng.integers(7, 13))
        rows = []
        for index in range(int(rng.integers(2, 5))):
            height = round(base * _CAPITAL)
            if index and rng.random() < 0.25:
                height = round(np.clip(base * rng.uniform(0.8, 1.25), 0.75, 1.4) * _CAPITAL)
                shape = self._shape(height)
            rows.append(self._row(shape, height, spacing, per_line))
        return rows

    def _row(self, shape, height, spacing, length):
        rng = self._rng
        sample = [shape.draw(c).advance for c in "0358" if c in shape.characters]
        advance = np.mean(sample) + spacing
        if self.nominal_width is None:
            self.nominal_width = advance * _CAPITAL / height * rng.uniform(0.85, 1.2)
        text = texts.random_line(rng, shape.characters, int(max(length + rng.integers(-2, 3), 4)))
        pen, glyphs = 0.0, []
        for character in text:
            if character == " ":
                pen += advance * rng.uniform(0.6, 1.1)
                continue
            glyph = shape.draw(character)
            glyph.ink = self._treatment(glyph.ink, height)
            glyphs.append((character, self._moved(glyph), pen))
            pen += glyph.advance + spacing
        return glyphs, pen, height

    def _moved(self, glyph):
        """Turned, leaning, shifted and weakened like this text's characters are."""
        rng = self._rng
        if self._turn or self._lean:
            angle = np.radians(rng.normal(0, self._turn)) if self._turn else 0.0
            glyph = _turned(glyph, angle, self._lean)
        dx, dy = rng.normal(0, 1, 2) * self._wander
        glyph.left, glyph.top = glyph.left + dx, glyph.top + dy
        glyph.box = tuple(b + d for b, d in zip(glyph.box, (dx, dy, dx, dy)))
        if self._uneven:
            glyph.ink = glyph.ink * (1 - self._uneven * rng.random())
        return glyph

    def _paint(self, rows):
        rng = self._rng
        width = max(row[1] for row in rows)
        margins = _CAPITAL * rng.uniform(0.35, 1.5, 4)
        self.shape = 0, int(width + margins[0] + margins[1])
        align, top, places = rng.choice([0.0, 0.0, 0.5, 1.0]), margins[2], []
        distance = rng.uniform(1.25, 1.75)
        for glyphs, row_width, height in rows:
            baseline = top + height
            places.append((glyphs, margins[0] + align * (width - row_width), baseline))
            top = baseline + (distance - 1) * height
        self.shape = int(top + margins[3]), self.shape[1]
        self.ink = np.zeros(self.shape, np.float32)
        for glyphs, left, baseline in places:
            self._paint_line(glyphs, left, baseline)

    def _paint_line(self, glyphs, left, baseline):
        line = []
        for category, glyph, pen in glyphs:
            x, y = left + pen, baseline
            ox, oy = int(round(x + glyph.left)), int(round(y + glyph.top))
            _lay(self.ink, glyph.ink, ox, oy)
            # The array moves by whole pixels, and so does its box.
            dx, dy = ox - glyph.left, oy - glyph.top
            box = tuple(b + d for b, d in zip(glyph.box, (dx, dy, dx, dy)))
            line.append(_Placed(category, ((box[0] + box[2]) / 2, (box[1] + box[3]) / 2)))
            self.boxes.append(box)
        if line:
            self.lines.append(line)


def _lay(field, piece, left, top):
    x0, y0 = max(left, 0), max(top, 0)
    x1, y1 = min(left + piece.shape[1], field.shape[1]), min(top + piece.shape[0], field.shape[0])
    if x0 < x1 and y0 < y1:
        view = field[y0:y1, x0:x1]
        np.maximum(view, piece[y0 - top:y1 - top, x0 - left:x1 - left], out=view)


def _turned(glyph, angle, lean):
    """Turns and shears a glyph around the centre of its box, which stays where it is."""
    reach = int(0.35 * max(glyph.ink.shape)) + 1
    ink = np.pad(glyph.ink, reach)
    left, top = glyph.left - reach, glyph.top - reach
    centre = np.array([(glyph.box[1] + glyph.box[3]) / 2 - top, (glyph.box[0] + glyph.box[2]) / 2 - left])
    matrix = np.array([[np.cos(angle), np.sin(angle)], [-np.sin(angle), np.cos(angle)]])
    matrix = np.array([[1, 0], [lean, 1]]) @ matrix  # (row, column) of the result -> of the source
    ink = ndimage.affine_transform(ink, matrix, centre - 0.5 - matrix @ (centre - 0.5), order=1)
    return shapes.Glyph(ink, left, top, glyph.box, glyph.advance)
