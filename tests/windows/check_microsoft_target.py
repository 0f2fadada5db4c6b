#!/usr/bin/env python3
"""check_microsoft_target.py ROOT GENERATED PROTOBUF: compiles every source of the wrapper for Microsoft's target.

clang takes 64-bit Windows with _MSC_VER defined and mingw's standard library; it checks the syntax,
with all warnings as errors, and generates nothing. GENERATED holds the message headers, PROTOBUF
those of Protocol Buffers. Exit code 77 when clang or mingw's headers are missing.
"""
import concurrent.futures
import glob
import pathlib
import shutil
import subprocess
import sys
import tempfile

TARGET = [
    "--target=x86_64-pc-windows-msvc", "-fgnuc-version=12.2.0", "-fno-ms-compatibility",
    "-D__MINGW32__", "-D__MINGW64__", "-D__declspec(x)=__attribute__((x))"]
FLAGS = ["-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]

# The wrapper's folders, and what is defined while they are compiled.
FOLDERS = {
    "types/src": ["-DTELVAR_TYPES_BUILDING"], "factory": ["-DTELVAR_WRAPPERS_BUILDING"],
    "bridge": [], "ocr": [], "classifier": [], "segmenter": []}

# Microsoft's library has ::type_info, mingw's has not.
SHIM = "#include <typeinfo>\nusing std::type_info;\n"


def skip(what):
    print("skipped:", what, "not found (Debian: clang, g++-mingw-w64-x86-64-posix)")
    sys.exit(77)


def library_flags():
    found = sorted(glob.glob("/usr/lib/gcc/x86_64-w64-mingw32/*-posix/include/c++"))
    library = found[-1] if found else skip("mingw's C++ headers")
    folders = [library, library + "/x86_64-w64-mingw32", library + "/backward",
               "/usr/x86_64-w64-mingw32/include"]
    return ["-nostdinc++"] + [flag for name in folders for flag in ("-isystem", name)]


def main():
    clang = shutil.which("clang++") or shutil.which("clang++-14") or skip("clang++")
    root, generated, protobuf = map(pathlib.Path, sys.argv[1:])
    includes = [f"-I{root / name}" for name in
                ("", "types/include", "engine/include", "factory/include", "messages", "numeric")]
    system = ["-isystem", str(generated), "-isystem", str(protobuf)]
    with tempfile.TemporaryDirectory() as folder:
        shim = pathlib.Path(folder) / "shim.h"
        shim.write_text(SHIM)
        command = [clang, *TARGET, *FLAGS, *library_flags(), "-include", str(shim), *includes, *system]

        def compile_one(job):
            source, defines = job
            run = subprocess.run([*command, *defines, str(source)], capture_output=True, text=True)
            return run.stderr if run.returncode else None

        jobs = [(source, defines) for name, defines in FOLDERS.items()
                for source in sorted((root / name).glob("*.cpp"))]
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            faults = [fault for fault in pool.map(compile_one, jobs) if fault]
    print(*faults, sep="\n")
    print(len(jobs), "sources,", len(faults), "with faults")
    return 1 if faults or not jobs else 0


if __name__ == "__main__":
    sys.exit(main())
