"""Real textures out of Debian's packages of game data, and how they are told from pictures."""

import io
import os
import zipfile

import numpy as np
from PIL import Image
from scipy import ndimage

SIDE = 256  # of what is kept of a texture, at least, pixels
_ARCHIVES = {
    "ufoai-textures": ("/usr/share/games/ufoai/base/0textures.pk3",
                       ("tex_buildings", "tex_nature", "tex_material", "tex_mattn", "tex_streets", "tex_base",
                        "tex_misc", "tex_shop", "tex_terrain", "tex_buildings_snow")),
    "nexuiz-textures": ("/usr/share/games/nexuiz/data/textures.pk3",
                        ("egyptsoc_wall", "egyptsoc_floor", "evil4_walls", "evil6_floors", "evil8_wall",
                         "evil8_floor", "evil1_walls", "evil1_floors", "evil3_walls", "evil3_floors", "eX",
                         "terrain_data", "strength", "dsi", "cmp1-dm8")),
}
_NO_PHOTOGRAPHS = ("_nm", "_sm", "_gm", "_norm", "_gloss", "_bump", "_glow", "_shirt", "_pants", "_reflect")


def _pictures(root):
    """Yields the name and the image of each picture of the archives, always in one order."""
    for package, (path, folders) in _ARCHIVES.items():
        with zipfile.ZipFile(root + path) as archive:
            for name in sorted(archive.namelist()):
                folder, stem = os.path.basename(os.path.dirname(name)), os.path.splitext(name)[0]
                if folder not in folders or stem.endswith(_NO_PHOTOGRAPHS):
                    continue
                try:
                    yield f"{package}:{stem}", Image.open(io.BytesIO(archive.read(name))).convert("RGB")
                except OSError:
                    continue


def energies(gray):
    """Logarithms of the energy in four octaves, across and along."""
    out = []
    for sigma in (0.7, 1.4, 2.8, 5.6):
        smooth = ndimage.gaussian_filter(gray, sigma)
        for axis in (0, 1):
            change = ndimage.sobel(smooth, axis)
            out.append(np.log(np.mean(change**2) + 1e-7))
    return np.array(out)


def is_texture(pixels):
    """Whether the four quarters look alike, and show something."""
    gray = pixels.mean(2)
    if gray.std() < 0.02:
        return False
    half_y, half_x = gray.shape[0] // 2, gray.shape[1] // 2
    quarters = [gray[y:y + half_y, x:x + half_x] for y in (0, half_y) for x in (0, half_x)]
    found = np.array([energies(q) for q in quarters])
    means = np.array([q.mean() for q in quarters])
    return found.std(0).mean() < 0.22 and means.std() < 0.35 * gray.std()


def catalogue(root=""):
    """Names and pixels (height x width x 3, 0..1) of the textures, none of them twice."""
    found, seen = [], []
    for name, picture in _pictures(root):
        if min(picture.size) < SIDE:
            continue
        scale = 2 * SIDE / max(picture.size)
        if scale < 1:
            picture = picture.resize([max(SIDE, round(scale * side)) for side in picture.size], Image.LANCZOS)
        pixels = np.asarray(picture, np.float32) / 255
        if not is_texture(pixels):
            continue
        portrait = energies(pixels.mean(2)), pixels.mean((0, 1))
        if any(np.abs(portrait[0] - e).max() < 0.12 and np.abs(portrait[1] - c).max() < 0.1 for e, c in seen):
            continue
        seen.append(portrait)
        found.append((name, pixels))
    return found
