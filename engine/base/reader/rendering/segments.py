"""Displays of bars, drawn with random proportions: seven bars for digits, fourteen for letters too."""

import numpy as np
from PIL import Image, ImageDraw

# Bars: a top, b upper right, c lower right, d bottom, e lower left, f upper left, g and h the left
# and right half of the middle, i j k the upper diagonals and stem, l m n the lower ones.
_SEVEN = {"0": "abcdef", "1": "bc", "2": "abdegh", "3": "abcdgh", "4": "bcfgh", "5": "acdfgh",
          "6": "acdefgh", "7": "abc", "8": "abcdefgh", "9": "abcdfgh", "-": "gh", "A": "abcefgh",
          "C": "adef", "E": "adefgh", "F": "aefgh", "H": "bcefgh", "L": "def", "P": "abefgh",
          "U": "bcdef", "b": "cdefgh", "d": "bcdegh", "o": "cdegh", "n": "cegh", "r": "egh",
          "t": "defgh", "J": "bcde"}
_FOURTEEN = {**{c: _SEVEN[c] for c in "0123456789-ACEFHLPUJ"}, "B": "abcdhjm", "D": "abcdjm",
             "G": "acdefh", "I": "adjm", "K": "efgkn", "M": "bcefik", "N": "bcefin", "O": "abcdef",
             "Q": "abcdefn", "R": "abefghn", "S": "acdfgh", "T": "ajm", "V": "efkl", "W": "bcefln",
             "X": "ikln", "Y": "ikm", "Z": "adkl", "+": "ghjm", "*": "ghijklmn", "/": "kl",
             "0": "abcdefkl"}
_ENDS = {"a": ((0, 0), (1, 0)), "b": ((1, 0), (1, 1)), "c": ((1, 1), (1, 2)), "d": ((0, 2), (1, 2)),
         "e": ((0, 1), (0, 2)), "f": ((0, 0), (0, 1)), "g": ((0, 1), (.5, 1)), "h": ((.5, 1), (1, 1)),
         "i": ((0, 0), (.5, 1)), "j": ((.5, 0), (.5, 1)), "k": ((1, 0), (.5, 1)),
         "l": ((0, 2), (.5, 1)), "m": ((.5, 1), (.5, 2)), "n": ((1, 2), (.5, 1))}
_FINE = 4  # sub-pixels of the drawing


class Display:
    """Proportions of one display."""

    def __init__(self, rng):
        self._table = _SEVEN if rng.random() < 0.6 else _FOURTEEN
        self._aspect = rng.uniform(0.42, 0.7)
        self._thick = rng.uniform(0.06, 0.16)  # heights
        self._gap = rng.uniform(0.005, 0.05)
        self._pointed = rng.random() < 0.6
        self._unlit = rng.choice([0, 0, rng.uniform(0.03, 0.2)])
        self.characters = "".join(self._table)

    def draw(self, character, height):
        """Coverage and the advance; the array is `height` high and one character wide."""
        big = int(height * _FINE)
        width = int(big * self._aspect)
        image = Image.new("L", (width, big), 0)
        for bars, level in ((_ENDS, self._unlit), (self._table[character], 1)):
            for bar in bars if level else ():
                if self._table is _FOURTEEN or bar in "abcdefgh":
                    self._draw_bar(ImageDraw.Draw(image), bar, width, big, int(255 * level))
        size = max(width // _FINE, 2), int(height)
        ink = np.asarray(image.resize(size, Image.BOX), np.float32) / 255
        return ink, size[0] + height * 0.16

    def _draw_bar(self, draw, bar, width, height, level):
        thick, gap = self._thick * height, self._gap * height
        inner = np.array([width - 1 - thick, (height - 1 - thick) / 2])
        start, end = (np.array(p) * inner + thick / 2 for p in _ENDS[bar])
        along = (end - start) / np.linalg.norm(end - start)
        across = np.array([-along[1], along[0]]) * thick / 2
        if self._table is _FOURTEEN and bar in "ikln":
            across = across * 0.7
            gap += 0.6 * thick
        start, end = start + along * gap, end - along * gap
        tip = along * thick / 2 * self._pointed
        draw.polygon([tuple(p) for p in (start, start + tip + across, end - tip + across, end,
                                         end - tip - across, start + tip - across)], fill=level)
