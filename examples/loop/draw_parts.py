"""Draws brushed metal parts, some scratched, for docs/loop.md.

    python3 draw_parts.py OUT

What a camera sees over a few weeks: FIRST parts are plain. Of those that come TODAY, and of the HELD_OUT ones, every
other has a milled groove across it, which is no fault but looks like one. A folder of OUT holds images, and for each a
labelme file that outlines its scratches; those of OUT/today stand apart in OUT/corrected, as a person would correct them.
"""
import json
import math
import pathlib
import random
import struct
import sys
import zlib

SIDE = 64  # pixels
FIRST, TODAY, HELD_OUT = 5, 16, 16


def png(rows):
    """A PNG file of gray pixels, 0..255."""
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    lines = b"".join(b"\0" + bytes(row) for row in rows)  # each begins with its filter: none
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 0, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(lines)) + chunk(b"IEND", b""))


class Line:
    """From (x0, y0) to (x1, y1), pixels."""

    def __init__(self, x0, y0, x1, y1, width, depth):
        self.x0, self.y0, self.x1, self.y1, self.width, self.depth = x0, y0, x1, y1, width, depth
        self.length = math.hypot(x1 - x0, y1 - y0)
        self.along = (x1 - x0) / self.length, (y1 - y0) / self.length

    def darkening(self, x, y):
        place = (x - self.x0) * self.along[0] + (y - self.y0) * self.along[1]
        place = min(max(place, 0), self.length)
        distance = math.hypot(x - self.x0 - place * self.along[0], y - self.y0 - place * self.along[1])
        return self.depth * min(max(self.width / 2 - distance + 0.5, 0), 1)

    def outline(self):
        x, y = -self.along[1] * self.width / 2, self.along[0] * self.width / 2
        corners = ((self.x0 + x, self.y0 + y), (self.x1 + x, self.y1 + y), (self.x1 - x, self.y1 - y), (self.x0 - x, self.y0 - y))
        return [[round(x, 1), round(y, 1)] for x, y in corners]


class Camera:
    def __init__(self, seed):
        self.random = random.Random(seed)

    def brushed_row(self):
        """Brushing makes neighbours along a row alike."""
        value = 0
        for _ in range(SIDE):
            value = 0.9 * value + self.random.gauss(0, 4)
            yield value

    def scratch(self):
        uniform = self.random.uniform
        x, y, angle, half = uniform(18, SIDE - 18), uniform(18, SIDE - 18), uniform(0, math.pi), uniform(10, 18)
        x_half, y_half = half * math.cos(angle), half * math.sin(angle)
        return Line(x - x_half, y - y_half, x + x_half, y + y_half, uniform(4, 6), uniform(45, 60))

    def groove(self):
        """From edge to edge, nearly upright."""
        uniform = self.random.uniform
        x = uniform(10, SIDE - 10)
        return Line(x + uniform(-4, 4), -5, x + uniform(-4, 4), SIDE + 5, uniform(4, 6), uniform(45, 60))

    def part(self, lines):
        """Pixels of a part with lines on it, under uneven light."""
        light, across, down = self.random.uniform(130, 160), self.random.uniform(-15, 15), self.random.uniform(-15, 15)
        rows = []
        for y in range(SIDE):
            rows.append([])
            for x, brushed in enumerate(self.brushed_row()):
                value = light + across * x / SIDE + down * y / SIDE + brushed + self.random.gauss(0, 3)
                rows[-1].append(min(max(round(value - sum(line.darkening(x, y) for line in lines)), 0), 255))
        return rows


def labelme(image, scratches):
    shapes = [{"label": "scratch", "shape_type": "polygon", "points": line.outline()} for line in scratches]
    return json.dumps({"imagePath": image, "imageHeight": SIDE, "imageWidth": SIDE, "shapes": shapes}, indent=1)


def write(images, labels, camera, count, some_are_grooved):
    for folder in (images, labels):
        folder.mkdir(parents=True, exist_ok=True)
    for i in range(count):
        scratches = [camera.scratch() for _ in range(1 + i % 3 % 2)]
        grooves = [camera.groove()] if some_are_grooved and i % 2 == 0 else []
        name = f"{i + 1:02}"
        (images / f"{name}.png").write_bytes(png(camera.part(scratches + grooves)))
        (labels / f"{name}.json").write_text(labelme(f"{name}.png", scratches), encoding="utf-8")


def draw_all(out):
    camera = Camera(20)
    write(out / "first", out / "first", camera, FIRST, False)
    write(out / "today", out / "corrected", camera, TODAY, True)
    write(out / "held-out", out / "held-out", camera, HELD_OUT, True)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    draw_all(pathlib.Path(sys.argv[1]))
