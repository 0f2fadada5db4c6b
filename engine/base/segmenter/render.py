#!/usr/bin/python3
"""Renders the images that the segmenter's built-in network is trained on; README.md has the recipe.

render.py --out DIR [--images 6000] [--seed 1] [--processes 2] [--root ""]

DIR/labels.json names the categories and says which of them each image tells about; DIR/NNNNN.png are the
pixels and DIR/NNNNN.mask.png the labels: 0 nothing, k category k - 1. The same seed and packages give the
same images.
"""

import argparse
import json
import multiprocessing
import os

import numpy as np
from PIL import Image
from scipy import ndimage

from scenes import tasks, textures

SIDE = 256
GRAY = 0.4  # so many scenes lose their colours, but those of hues
_library = None


class Library:
    """The textures: those that are categories, chosen as unlike each other as can be, and the rest."""

    def __init__(self, catalogue):
        energies = np.array([textures.energies(pixels.mean(2)) for _, pixels in catalogue])
        energies = (energies - energies.mean(0)) / energies.std(0)
        chosen = [0]
        while len(chosen) < len(tasks.TEXTURES):
            distance = np.linalg.norm(energies[:, None] - energies[chosen], axis=2).min(1)
            # Not the oddest, but one well apart: what is odd is plain to tell.
            order = np.argsort(distance)
            chosen.append(int(order[int(0.85 * len(order))]))
        self.names = [catalogue[i][0] for i in chosen]
        self.named = [catalogue[i][1] for i in chosen]
        self.others = [pixels for i, (_, pixels) in enumerate(catalogue) if i not in chosen]

    def other(self, rng):
        return self.others[rng.integers(len(self.others))]

    def any(self, rng):
        return self.named[rng.integers(len(self.named))] if rng.random() < 0.1 else self.other(rng)


def photographed(rng, pixels, gray):
    """Through a camera: blur, noise, another contrast; without its colours where `gray` says so."""
    if rng.random() < 0.3:
        pixels = ndimage.gaussian_filter(pixels, [rng.uniform(0.3, 0.9)] * 2 + [0])
    if gray:
        pixels = np.repeat(pixels.mean(2, keepdims=True), 3, 2)
    deviation = 0.2 * np.exp(rng.uniform(-0.7, 0.35))
    level = pixels.mean(2)
    pixels = (pixels - level.mean()) * (deviation / max(level.std(), 0.02)) + rng.uniform(0.4, 0.6)
    grain = rng.uniform(0, 0.02) * rng.standard_normal(level.shape)
    return np.clip(pixels + grain[:, :, None], 0, 1)


def render(rng, library):
    """Returns pixels (8 bits), labels and the names of the categories that the labels tell about."""
    draw, names, _ = tasks.TASKS[rng.choice(len(tasks.TASKS), p=[share for _, _, share in tasks.TASKS])]
    pixels, masks = draw(rng, library, SIDE)
    labels = np.zeros((SIDE, SIDE), np.uint8)
    for name, mask in masks.items():
        labels[mask] = tasks.CATEGORIES.index(name) + 1
    pixels = photographed(rng, pixels, gray=draw is not tasks.hues and rng.random() < GRAY)
    return (pixels * 255 + 0.5).astype(np.uint8), labels, names


def start_worker(catalogue):
    global _library
    _library = Library(catalogue)


def write_image(task):
    """Renders one image. Returns its record in labels.json."""
    folder, seed, number = task
    pixels, labels, names = render(np.random.default_rng([seed, number]), _library)
    stem = os.path.join(folder, f"{number:05d}")
    gray = (pixels[:, :, 0] == pixels[:, :, 1]).all() and (pixels[:, :, 0] == pixels[:, :, 2]).all()
    Image.fromarray(pixels[:, :, 0] if gray else pixels).save(stem + ".png")
    Image.fromarray(labels).save(stem + ".mask.png")
    return {"file": f"{number:05d}", "known": [tasks.CATEGORIES.index(name) for name in names]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", required=True)
    parser.add_argument("--images", type=int, default=6000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--processes", type=int, default=2)
    parser.add_argument("--root", default="", help="where the packages are unpacked")
    options = parser.parse_args()
    os.makedirs(options.out, exist_ok=True)
    catalogue = textures.catalogue(options.root)
    jobs = [(options.out, options.seed, number) for number in range(options.images)]
    with multiprocessing.Pool(options.processes, start_worker, (catalogue,)) as pool:
        images = pool.map(write_image, jobs, chunksize=20)
    with open(os.path.join(options.out, "labels.json"), "w") as labels:
        json.dump({"categories": tasks.CATEGORIES, "images": images}, labels)
    print(f"{len(images)} images, {len(tasks.CATEGORIES)} categories, {len(catalogue)} textures")


if __name__ == "__main__":
    main()
