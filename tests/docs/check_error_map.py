#!/usr/bin/env python3
"""check_error_map.py ROOT: the table in docs/errors.md must be the one in bridge/Guard.cpp."""
import pathlib
import re
import sys


def main():
    root = pathlib.Path(sys.argv[1])
    coded = re.findall(r"^ *ROW\((\w+), (\w+)\),$", (root / "bridge/Guard.cpp").read_text(), re.M)
    table = (root / "docs/errors.md").read_text().partition("<!-- map:begin -->")[2]
    written = re.findall(r"^\| `(\w+)` \| `(\w+)` \|$", table.partition("<!-- map:end -->")[0], re.M)
    print(len(coded), "rows in bridge/Guard.cpp,", len(written), "in docs/errors.md")
    for number, rows in enumerate(zip(coded, written)):
        if rows[0] != rows[1]:
            print(f"row {number + 1}: {' -> '.join(rows[0])}, but the document says {' -> '.join(rows[1])}")
    return 0 if coded and coded == written else 1


if __name__ == "__main__":
    sys.exit(main())
