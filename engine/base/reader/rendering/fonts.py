"""The catalogue of fonts: every legible face of the installed packages, without the bench's.

A face is taken if it has all capitals and digits and most of them look like themselves: the nearest
glyph among those of a few plain reference faces bears the same name. Faces of a package that the
bench keeps for its groups 'choose' and 'final', and faces that look like one of them, are left out.
"""

import functools
import logging
import os
import string
import subprocess
from dataclasses import asdict, dataclass
from math import gcd

import numpy as np
from fontTools.ttLib import TTFont, TTLibError
from PIL import Image, ImageDraw, ImageFont
from scipy import ndimage

HERE = os.path.dirname(os.path.abspath(__file__))
BENCH_PACKAGES = os.path.join(HERE, "../../../../bench/ocr/packages.txt")
PACKAGES = os.path.join(HERE, "../packages.txt")
NEEDED = string.ascii_uppercase + string.digits
CATEGORIES = NEEDED + string.ascii_lowercase + ".,:;-/()+&%#*='\"!?_@$<>[]"
FACES_OF_A_FAMILY = 5
FACES_OF_A_PACKAGE = 60
_REFERENCES = ("LiberationSans-Regular.ttf", "LiberationMono-Bold.ttf", "LiberationSerif-Regular.ttf",
               "OCRA.ttf", "OCRB.otf", "Inconsolata.otf", "DejaVuSansMono.ttf",
               "LiberationSansNarrow-Regular.ttf")
_LEAST_LEGIBLE = 0.72  # share of NEEDED that look like themselves
_CLONE = 0.975  # mean correlation with a face of the bench

logging.getLogger("fontTools").setLevel(logging.ERROR)  # it minds dates in the files


@dataclass
class Face:
    path: str
    package: str
    family: str
    characters: str  # of CATEGORIES, that can be drawn
    pixel: int  # font units of a pixel of a bitmap-like face, or 0
    units: int  # font units of the em


def packages_of(path):
    """The font packages listed in a file."""
    with open(path) as listing:
        lines = (line.split("#")[0].strip() for line in listing)
        return [line for line in lines if line.startswith("fonts-")]


def check_packages():
    """Raises ValueError if a package is both in the recipe and among the bench's kept ones."""
    shared = set(packages_of(PACKAGES)) & set(packages_of(BENCH_PACKAGES))
    if shared:
        raise ValueError(f"fonts of the bench must not be trained on: {', '.join(sorted(shared))}")


def catalogue():
    """All faces that are taken, in order of path."""
    check_packages()
    references = _reference_glyphs()
    kept = [_portrait(path) for package in packages_of(BENCH_PACKAGES)
            for path in _files_of(package)]
    kept = np.array([portrait for portrait in kept if portrait is not None])
    faces = []
    for package in packages_of(PACKAGES):
        candidates = [face for face in map(functools.partial(_examine, package),
                                           _files_of(package)) if face]
        faces += [face for face in _fewer(candidates) if _is_wanted(face.path, references, kept)]
    return sorted(faces, key=lambda face: face.path)


def _files_of(package):
    answer = subprocess.run(["dpkg-query", "-L", package], text=True, stdout=subprocess.PIPE)
    if answer.returncode:
        raise FileNotFoundError(f"package {package} is not installed: see README.md")
    files = [path for path in answer.stdout.split("\n")
             if path.lower().endswith((".ttf", ".otf")) and not os.path.islink(path)]
    by_name = {os.path.splitext(os.path.basename(path))[0]: path for path in sorted(files)}
    return sorted(by_name.values())


def _examine(package, path):
    """A face with all NEEDED characters, or None."""
    try:
        with TTFont(path, lazy=True) as font:
            characters = _drawable(font)
            if not set(NEEDED) <= set(characters):
                return None
            family = font["name"].getBestFamilyName() or os.path.basename(path)
            grid, units = _pixel_of(font), font["head"].unitsPerEm
    except (TTLibError, OSError, KeyError, AssertionError, AttributeError):
        return None
    if _is_unicase(path):
        characters = "".join(c for c in characters if not c.islower())
    return Face(path, package, family, characters, grid, units)


def _drawable(font):
    known = font.getBestCmap() or {}
    return "".join(c for c in CATEGORIES if ord(c) in known)


def _fewer(faces):
    """At most FACES_OF_A_FAMILY a family and FACES_OF_A_PACKAGE a package, evenly spread."""
    families = {}
    for face in faces:
        families.setdefault(face.family, []).append(face)
    spread = [face for family in families.values()
              for face in _evenly(family, FACES_OF_A_FAMILY)]
    return _evenly(spread, FACES_OF_A_PACKAGE)


def _evenly(items, count):
    if len(items) <= count:
        return items
    return [items[int(i)] for i in np.linspace(0, len(items) - 1, count)]


def _pixel_of(font):
    """The grid of a face whose outlines follow pixels, in font units; 0 for other faces."""
    if "glyf" not in font:
        return 0
    names, grid, heights = font.getBestCmap(), 0, []
    for character in "AEHORS258":
        glyph = font["glyf"][names[ord(character)]]
        coordinates = glyph.getCoordinates(font["glyf"])[0]
        for x, y in coordinates:
            grid = gcd(grid, gcd(int(x), int(y)))
        heights.append(max((y for _, y in coordinates), default=0))
    rows = max(heights) / grid if grid else 0
    return grid if 5 <= rows <= 20 else 0


def _is_unicase(path):
    """Whether small letters are drawn like capitals."""
    font = ImageFont.truetype(path, 60)
    alike = [np.corrcoef(_normalised(font, c).ravel(), _normalised(font, c.upper()).ravel())[0, 1]
             for c in "abdegqr"]
    return np.mean(alike) > 0.7


def _normalised(font, character, side=20):
    """The character's ink, stretched to a square and blurred a little."""
    box = font.getbbox(character, anchor="ls")
    size = max(box[2] - box[0], 1), max(box[3] - box[1], 1)
    image = Image.new("L", size, 0)
    ImageDraw.Draw(image).text((-box[0], -box[1]), character, font=font, fill=255, anchor="ls")
    image = np.asarray(image.resize((side, side), Image.BILINEAR), np.float32)
    return ndimage.gaussian_filter(np.pad(image, 2), 1.2)


def _portrait(path):
    """Unit vectors of all NEEDED characters, one per row; None if the face has not got them."""
    try:
        font = ImageFont.truetype(path, 48)
        rows = np.array([_normalised(font, c).ravel() for c in NEEDED])
    except OSError:
        return None
    rows = rows - rows.mean(1, keepdims=True)
    lengths = np.linalg.norm(rows, axis=1, keepdims=True)
    return rows / lengths if (lengths > 0).all() else None


def _reference_glyphs():
    found = {}
    for package in ("fonts-liberation", "fonts-dejavu-core", "fonts-ocr-a", "fonts-ocr-b",
                    "fonts-inconsolata"):
        found.update({os.path.basename(path): path for path in _files_of(package)})
    return np.array([_portrait(found[name]) for name in _REFERENCES])


def _is_wanted(path, references, kept):
    portrait = _portrait(path)
    if portrait is None:
        return False
    return legibility(portrait, references) >= _LEAST_LEGIBLE and likeness(portrait, kept) < _CLONE


def legibility(portrait, references):
    """The share of characters whose nearest reference glyph bears their name. Characters that
    many faces draw alike count as one."""
    alike = str.maketrans("OQI", "001")
    names = np.array(list(NEEDED.translate(alike)))
    scores = np.einsum("ck,rnk->crn", portrait, references).max(1)
    return np.mean(names[scores.argmax(1)] == names)


def likeness(portrait, others):
    """The highest mean correlation with one of `others`, each (characters, values)."""
    return np.einsum("ck,fck->f", portrait, others).max() / len(portrait)


def write_list(path, faces):
    with open(path, "w") as stream:
        print(*Face.__dataclass_fields__, sep="\t", file=stream)
        for face in faces:
            print(*asdict(face).values(), sep="\t", file=stream)
