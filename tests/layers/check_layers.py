#!/usr/bin/env python3
"""check_layers.py ROOT: a folder includes only those that stand before it in layers.toml."""
import dataclasses
import pathlib
import posixpath
import re
import sys
import tomllib

TABLE = pathlib.Path(__file__).with_name("layers.toml")
SOURCES = {".h", ".hpp", ".cpp", ".cc", ".c"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*["<]([^">]+)[">]', re.M)


@dataclasses.dataclass
class Area:
    root: str
    rows: list
    open: bool = False  # whether there may be files that no row has
    sees: dict = dataclasses.field(default_factory=dict)

    def __post_init__(self):
        self.rank = {name: i for i, row in enumerate(self.rows) for name in row}

    def inside(self, path):
        """The path relative to the area, or None."""
        if not self.root:
            return path
        return path[len(self.root) + 1:] if path.startswith(self.root + "/") else None

    def folder(self, path):
        """The longest listed folder that holds the path, or None."""
        inside = self.inside(path)
        if inside is None:
            return None
        fitting = [name for name in self.rank if inside == name or inside.startswith(name + "/")]
        return max(fitting, key=len, default=None)

    def allows(self, source, target):
        if source == target:
            return True
        if target is None or self.rank[target] >= self.rank[source]:
            return False
        return target in self.sees.get(source, [target])


def read_table(path=TABLE):
    with open(path, "rb") as stream:
        table = tomllib.load(stream)
    return [Area(**area) for area in table["area"]], table["public"]


def read_sources(root):
    """Text by path relative to the repository, generated and hidden folders left out."""
    sources = {}
    for path in sorted(root.rglob("*")):
        relative = path.relative_to(root)
        if path.suffix in SOURCES and not re.match(r"build|\.", relative.parts[0]):
            sources[relative.as_posix()] = path.read_text(encoding="utf-8")
    return sources


def resolved(name, source, sources, areas, public):
    """The file of the repository that an include leads to, or None."""
    roots = [area.root for area in areas if area.inside(source) is not None]
    # The innermost area's root comes before the repository's, as on the compiler's command line.
    for folder in [posixpath.dirname(source), *sorted(roots, key=len, reverse=True), *public]:
        path = posixpath.normpath(posixpath.join(folder, name))
        if path in sources:
            return path
    return None


def check(sources, areas, public):
    """The faults, and how many includes between folders were looked at."""
    faults = []
    looked_at = 0
    for source, text in sources.items():
        homes = [(area, area.folder(source)) for area in areas if area.inside(source) is not None]
        for area, home in homes:
            if home is None and not area.open:
                faults.append(f"{source}: stands in no folder of the order of {area.root}/")
        for name in INCLUDE.findall(text):
            target = resolved(name, source, sources, areas, public)
            for area, home in homes:
                if target is None or home is None or area.inside(target) is None:
                    continue
                looked_at += area.folder(target) != home
                if not area.allows(home, area.folder(target)):
                    faults.append(f"{source}: must not include {target}")
    return faults, looked_at


def main():
    areas, public = read_table()
    faults, looked_at = check(read_sources(pathlib.Path(sys.argv[1])), areas, public)
    print(*faults, sep="\n")
    print(looked_at, "includes between folders,", len(faults), "faults")
    return 1 if faults or not looked_at else 0


if __name__ == "__main__":
    sys.exit(main())
