#!/usr/bin/env python3
"""check_links.py ROOT: every relative link in a Markdown file must lead to a file or a heading, and every scripts/NAME exist."""
import pathlib
import re
import sys

GENERATED = re.compile(r"^(build|\.)")
SCRIPT = re.compile(r"(?<![\w/])scripts/[\w-]+(?:\.[\w]+)?")


def anchors(document):
    """The anchors of a document's headings, as they are made from the text."""
    headings = re.findall(r"^#+ +(.+?) *$", document.read_text(), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def main():
    root = pathlib.Path(sys.argv[1])
    documents = [path for path in sorted(root.rglob("*.md"))
                 if not any(GENERATED.match(part) for part in path.relative_to(root).parts)]
    links = 0
    faults = []
    for document in documents:
        whole = document.read_text()
        faults += [f"{document.relative_to(root)}: no {script}" for script in SCRIPT.findall(whole) if not (root / script).exists()]
        text = re.sub(r"```.*?```|`[^`\n]*`", "", whole, flags=re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", text):
            if re.match(r"[a-z]+:", target):
                continue
            links += 1
            path, _, anchor = target.partition("#")
            file = (document.parent / path) if path else document
            if not file.exists():
                faults.append(f"{document.relative_to(root)}: no {target}")
            elif anchor and file.suffix == ".md" and anchor not in anchors(file):
                faults.append(f"{document.relative_to(root)}: no heading {target}")
    print(*faults, sep="\n")
    print(len(documents), "documents,", links, "relative links,", len(faults), "faults")
    return 1 if faults or not links else 0


if __name__ == "__main__":
    sys.exit(main())
