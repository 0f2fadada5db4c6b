#!/usr/bin/python3
"""Renders the images that the built-in network is trained on; README.md has the recipe.

render.py --out DIR [--images 3000] [--seed 1] [--processes 2]

DIR/labels.json and DIR/NNNNN.png are a data set of the character reader (docs/datasets.md), at the
reader's own scale: the nominal character is 24 x 24. DIR/faces.tsv lists the fonts. The same seed
and packages give the same images, whatever the number of processes.
"""

import argparse
import json
import multiprocessing
import os

import numpy as np
from PIL import Image

from rendering import fonts, scene

_chooser = None


def start_worker(faces):
    global _chooser
    _chooser = scene.FontChooser(faces)


def write_image(task):
    """Renders one image. Returns its record in labels.json."""
    folder, seed, number = task
    pixels, lines = scene.render(np.random.default_rng([seed, number]), _chooser)
    name = f"{number:05d}.png"
    Image.fromarray(pixels).save(os.path.join(folder, name))
    inside = [[c for c in line if 0 <= c.x <= pixels.shape[1] - 1 and 0 <= c.y <= pixels.shape[0] - 1]
              for line in lines]
    return {"file": name,
            "characters": [{"x": round(c.x, 2), "y": round(c.y, 2), "category": c.category}
                           for line in inside for c in line],
            "text": ["".join(c.category for c in line) for line in inside if line]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", required=True)
    parser.add_argument("--images", type=int, default=3000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--processes", type=int, default=2)
    options = parser.parse_args()
    os.makedirs(options.out, exist_ok=True)
    faces = fonts.catalogue()
    fonts.write_list(os.path.join(options.out, "faces.tsv"), faces)
    tasks = [(options.out, options.seed, number) for number in range(options.images)]
    with multiprocessing.Pool(options.processes, start_worker, (faces,)) as pool:
        images = pool.map(write_image, tasks, chunksize=20)
    with open(os.path.join(options.out, "labels.json"), "w") as labels:
        json.dump({"size": [scene.NOMINAL, scene.NOMINAL], "images": images}, labels)
    categories = {c["category"] for image in images for c in image["characters"]}
    print(f"{len(images)} images, {sum(len(i['characters']) for i in images)} characters, "
          f"{len(categories)} categories, {len(faces)} faces of {len({f.family for f in faces})} "
          f"families")


if __name__ == "__main__":
    main()
