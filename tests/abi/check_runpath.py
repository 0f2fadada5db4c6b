#!/usr/bin/env python3
"""check_runpath.py FILE...: fails when a library search path of a built file has an empty element.

The loader takes an empty element for the working folder, where anybody may have put a library.
Exit code 77 when readelf is missing.
"""
import re
import shutil
import subprocess
import sys


def search_paths(path):
    text = subprocess.run(["readelf", "-d", path], capture_output=True, text=True, check=True).stdout
    return re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", text)


def main():
    if not shutil.which("readelf"):
        print("skipped: readelf is not installed")
        return 77
    paths = {file: path for file in sys.argv[1:] for path in search_paths(file)}
    for file, path in paths.items():
        print(f"{file}: {path}")
    if not paths:
        print("none of the files has a search path: nothing was looked at")
    return 1 if not paths or any("" in path.split(":") for path in paths.values()) else 0


sys.exit(main())
