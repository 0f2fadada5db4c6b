#!/usr/bin/env python3
"""check_headers.py COMPILER FOLDER...: every public header below the folders must compile alone.

Each is included twice in an empty translation unit, by COMPILER and by clang++ where it is
installed, with all warnings as errors; and nothing that it includes, at any depth, may belong to
the engine, to Protocol Buffers or to OpenCV.
"""
import concurrent.futures
import pathlib
import re
import shutil
import subprocess
import sys

FLAGS = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-x", "c++", "-"]
FORBIDDEN = re.compile(r"/engine/include/|/telvar/|telvar_msg|google/protobuf|\.pb\.h|opencv|torch")


def run(compiler, includes, header, *mode):
    unit = f"#include <{header}>\n#include <{header}>\n"
    return subprocess.run([compiler, *mode, *includes, *FLAGS], input=unit, capture_output=True,
                          text=True)


def check(job):
    compiler, includes, header = job
    compiled = run(compiler, includes, header, "-fsyntax-only")
    if compiled.returncode:
        return f"{header} does not compile alone with {compiler}:\n{compiled.stderr}"
    reached = run(compiler, includes, header, "-M").stdout
    names = reached.partition(":")[2].replace("\\\n", " ").split()
    # Without the public folders' own paths: the checkout may be called like anything.
    own = tuple(folder[2:] for folder in includes)
    bad = [name for name in names if not name.startswith(own) and FORBIDDEN.search(name)]
    return f"{header} reaches {', '.join(bad)}" if bad else None


def main():
    compiler, *folders = sys.argv[1:]
    compilers = [compiler]
    clang = shutil.which("clang++-14") or shutil.which("clang++")
    if clang and "clang" not in compiler and "mingw" not in compiler:
        compilers.append(clang)
    includes = ["-I" + folder for folder in folders]
    headers = sorted(str(path.relative_to(folder)) for folder in map(pathlib.Path, folders)
                     for path in folder.rglob("*.h"))
    if not headers:
        print("no headers below", *folders)
        return 1
    jobs = [(name, includes, header) for name in compilers for header in headers]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        faults = [fault for fault in pool.map(check, jobs) if fault]
    print(*faults, sep="\n")
    print(len(headers), "headers,", len(compilers), "compilers,", len(faults), "faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
