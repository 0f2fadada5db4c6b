"""Random lines of text: codes, words of codes, and plain nonsense, over all categories."""

import string

import numpy as np

DIGITS, CAPITALS, SMALL = string.digits, string.ascii_uppercase, string.ascii_lowercase
COMMON_MARKS, RARE_MARKS = ".:-/", ",;()+&%#*='\"!?_@$<>[]"
_WORDS = ("LOT", "EXP", "MFG", "BATCH", "REF", "SN", "No", "Best before", "Made in", "Type", "Ser",
          "PN", "Rev", "ID", "kg", "mm", "bar", "max", "min", "Hz", "kW", "V", "Model", "Class")


def random_line(rng, characters, length):
    """About `length` characters, spaces included, all of them in `characters`."""
    kind = rng.choice(len(_KINDS), p=_SHARES)
    line = ""
    while len(line) < length:
        line += ("" if not line else str(rng.choice(["", " ", " ", "-", "/", "."]))) + _KINDS[kind](rng)
    line = "".join(c for c in line[:length] if c == " " or c in characters)
    return line.strip() or _pick(rng, [c for c in CAPITALS + DIGITS if c in characters], length)


def _pick(rng, alphabet, count):
    return "".join(rng.choice(list(alphabet), count))


def _number(rng):
    return _pick(rng, DIGITS, rng.integers(2, 7))


def _code(rng):
    return _pick(rng, CAPITALS + DIGITS, rng.integers(2, 8))


def _date(rng):
    mark = str(rng.choice(list(".-/ :")))
    return mark.join(_pick(rng, DIGITS, n) for n in rng.permutation([2, 2, int(rng.choice([2, 4]))]))


def _word(rng):
    word = str(rng.choice(_WORDS))
    return str(rng.choice([word, word.upper(), word.lower()])) + str(rng.choice(["", ":", "."]))


def _mixed(rng):
    return _pick(rng, CAPITALS + SMALL + DIGITS, rng.integers(2, 8))


def _small(rng):
    return _pick(rng, SMALL, rng.integers(2, 8))


def _anything(rng):
    return _pick(rng, CAPITALS + SMALL + DIGITS + 2 * COMMON_MARKS + 2 * RARE_MARKS,
                 rng.integers(3, 8))


def _marked(rng):
    marks = _pick(rng, 3 * COMMON_MARKS + RARE_MARKS, 2)
    return _code(rng) + marks[0] + _number(rng) + marks[1]


_KINDS = (_number, _code, _date, _word, _mixed, _small, _anything, _marked)
_SHARES = np.array([12, 30, 9, 7, 12, 7, 10, 13]) / 100
