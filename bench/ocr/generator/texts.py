"""Random marking texts: serial numbers, lot numbers, dates and times, and what is known of them.

A text is made of pieces. A piece is a list of (character, allowed characters): what a marking says,
and what somebody who knows its format would allow at that position. Spaces are pieces too, but no
part of a pattern.
"""

import string

import numpy as np

ALPHANUMERIC = string.digits + string.ascii_uppercase
PUNCTUATION = ".:-/"
CATEGORIES = ALPHANUMERIC + PUNCTUATION


def text_of(line):
    return "".join(character for character, _ in line)


def pattern_of(line):
    """The allowed characters per position, spaces aside."""
    return [allowed for character, allowed in line if character != " "]


def _drawn(rng, alphabet, count):
    return [(str(character), alphabet) for character in rng.choice(list(alphabet), count)]


def _fixed(text):
    return [(character, character) for character in text]


def _number(value, width, first):
    """A number of `width` digits whose leading digit is one of `first`."""
    digits = f"{value:0{width}d}"
    return list(zip(digits, [first] + [string.digits] * (width - 1)))


def _letters(rng, count):
    return _drawn(rng, string.ascii_uppercase, count)


def _digits(rng, count):
    return _drawn(rng, string.digits, count)


def _mixed(rng, count):
    return _drawn(rng, ALPHANUMERIC, count)


def _serial(rng):
    return _mixed(rng, rng.integers(6, 11))


def _split_serial(rng):
    mark = _fixed(rng.choice(["-", "/", " ", "."]))
    return _mixed(rng, rng.integers(3, 6)) + mark + _mixed(rng, rng.integers(3, 6))


def _lot(rng):
    name = rng.choice(["LOT", "L", "CH:", "BATCH"])
    return _fixed(name + " ") + _letters(rng, 1) + _digits(rng, 5)


def _date(rng):
    year, month, day = rng.integers(2019, 2036), rng.integers(1, 13), rng.integers(1, 29)
    form = rng.integers(3)
    full_year, day, month = _number(year, 4, "2"), _number(day, 2, "0123"), _number(month, 2, "01")
    if form == 0:
        return full_year + _fixed("-") + month + _fixed("-") + day
    if form == 1:
        return day + _fixed(".") + month + _fixed(".") + full_year
    return _fixed(rng.choice(["EXP", "MFG"]) + " ") + month + _fixed("/") + full_year[2:]


def _time(rng):
    hour, minute = _number(rng.integers(24), 2, "012"), _number(rng.integers(60), 2, "012345")
    return hour + _fixed(":") + minute + _fixed(" ") + _letters(rng, 2) + _digits(rng, 1)


def _part_number(rng):
    head = _letters(rng, 2) + _digits(rng, 3)
    return head + _fixed(rng.choice(["-", "."])) + _mixed(rng, 3)


_FORMS = (_serial, _split_serial, _lot, _date, _time, _part_number)
_WEIGHTS = (0.28, 0.24, 0.12, 0.12, 0.1, 0.14)


def random_lines(rng):
    """Two or three lines of 6 to 12 characters, spaces included, each of a random form."""
    return [rng.choice(_FORMS, p=_WEIGHTS)(rng) for _ in range(rng.integers(2, 4))]


# '9' stands for a digit, '@' for a letter, '*' for either, 'd', 'm', 'h' and 's' for the first
# digit of a day, month, hour, and minute; everything else for itself.
_LEADING = {"d": "0123", "m": "01", "h": "012", "s": "012345"}
_TEMPLATES = (
    "LOT @9999", "L9999@", "BATCH 99@9", "CH.-B.: 9999", "EXP m9/99", "MFG d9.m9.99", "USE BY m9.2099",
    "2099-m9-d9", "d9.m9.2099", "m9/2099", "d9/m9/99 @", "h9:s9 @9", "h9:s9:s9", "SN **-9999",
    "S/N *******", "********", "@@999-***", "P/N 999-999", "REV @.9 99", "***-***-*", "*.***.**",
    "NO. 99999", "TYP @@99.9", "9999 9999", "@-9999-@", "ID:******", "99@999/99", "***/****",
    "9.9 @ 99", "@@@ 999", "**:**:**")


_LEAST_LETTERS = 4  # positions of a job that may hold a letter


class Job:
    """The format of one marking job: two or three lines of fixed form, and the letters in use.

    A job with few free positions uses few letters, so that a handful of images can show them all.
    """

    def __init__(self, rng, without="", templates=_TEMPLATES):
        possible = [t for t in templates if not set(t) & set(without)]
        self._templates = _draw_templates(rng, possible)
        free = "".join(self._templates).count("@") + 0.7 * "".join(self._templates).count("*")
        letters = [c for c in string.ascii_uppercase if c not in without]
        count = int(np.clip(round(2.5 * free), 4, len(letters)))
        self._letters = "".join(sorted(rng.choice(letters, count, replace=False)))
        self._seed = int(rng.integers(2**31))

    def lines(self, rng, training_number=None):
        """The lines of one image; with a number, those of that training image."""
        piece = _Pieces(self._letters, rng, self._seed, training_number,
                        "".join(self._templates))
        return [sum(map(piece, template), []) for template in self._templates]


def _draw_templates(rng, possible):
    while True:
        chosen = [str(t) for t in rng.choice(possible, rng.integers(2, 4), replace=False)]
        if "".join(chosen).count("@") + "".join(chosen).count("*") >= _LEAST_LETTERS:
            return chosen


class _Pieces:
    """Turns the symbols of templates into pieces, one after the other."""

    def __init__(self, letters, rng, seed, training_number, symbols):
        self._rng = rng
        self._alphabets = {"9": string.digits, "@": letters, "*": string.digits + letters}
        self._even = {}
        if training_number is not None:
            self._even = {symbol: _evenly(self._alphabets[symbol], seed, symbols.count(symbol),
                                          training_number) for symbol in "@*"}

    def __call__(self, symbol):
        if symbol in self._even:
            return [(next(self._even[symbol]), self._alphabets[symbol])]
        alphabet = {**self._alphabets, **_LEADING}.get(symbol)
        return _drawn(self._rng, alphabet, 1) if alphabet else _fixed(symbol)


def _evenly(alphabet, seed, per_image, number):
    """The characters of image `number`, cut from shuffled alphabets that follow each other."""
    for place in range(number * per_image, (number + 1) * per_image):
        turn, index = divmod(place, len(alphabet))
        shuffled = np.random.default_rng([seed, len(alphabet), turn]).permutation(list(alphabet))
        yield str(shuffled[index])
