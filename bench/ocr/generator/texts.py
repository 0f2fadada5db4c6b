"""Random marking texts: serial numbers, lot numbers, dates and times."""

import string

ALPHANUMERIC = string.digits + string.ascii_uppercase
PUNCTUATION = ".:-/"
CATEGORIES = ALPHANUMERIC + PUNCTUATION


def _letters(rng, count):
    return "".join(rng.choice(list(string.ascii_uppercase), count))


def _digits(rng, count):
    return "".join(rng.choice(list(string.digits), count))


def _mixed(rng, count):
    return "".join(rng.choice(list(ALPHANUMERIC), count))


def _serial(rng):
    return _mixed(rng, rng.integers(6, 11))


def _split_serial(rng):
    mark = rng.choice(["-", "/", " ", "."])
    return _mixed(rng, rng.integers(3, 6)) + mark + _mixed(rng, rng.integers(3, 6))


def _lot(rng):
    return rng.choice(["LOT", "L", "CH:", "BATCH"]) + " " + _letters(rng, 1) + _digits(rng, 5)


def _date(rng):
    year, month, day = rng.integers(2019, 2036), rng.integers(1, 13), rng.integers(1, 29)
    form = rng.integers(3)
    if form == 0:
        return f"{year}-{month:02d}-{day:02d}"
    if form == 1:
        return f"{day:02d}.{month:02d}.{year}"
    return rng.choice(["EXP", "MFG"]) + f" {month:02d}/{year % 100:02d}"


def _time(rng):
    return f"{rng.integers(24):02d}:{rng.integers(60):02d} {_letters(rng, 2)}{_digits(rng, 1)}"


def _part_number(rng):
    return _letters(rng, 2) + _digits(rng, 3) + rng.choice(["-", "."]) + _mixed(rng, 3)


_FORMS = (_serial, _split_serial, _lot, _date, _time, _part_number)
_WEIGHTS = (0.28, 0.24, 0.12, 0.12, 0.1, 0.14)


def random_lines(rng):
    """Two or three lines of 6 to 12 characters, spaces included."""
    return [str(rng.choice(_FORMS, p=_WEIGHTS)(rng)) for _ in range(rng.integers(2, 4))]
