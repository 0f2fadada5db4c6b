#!/usr/bin/env python3
"""check_slots.py [-I FOLDER]... SOURCE...: the vtable slots must be the agreed ones under both C++ ABIs.

Compiles each SOURCE with clang for the Microsoft and for the Itanium (mingw) ABI of 64-bit Windows,
lets it dump its vtable layouts, and compares them with the orders below. The standard library is
mingw's in both cases; nothing is linked or run. Exit code 77 when clang or mingw's headers are
missing.

The Microsoft ABI groups the overloads of one name and lists them in reverse order of declaration,
so a header that is right under one ABI may be wrong under the other.
"""
import glob
import re
import shutil
import subprocess
import sys

TYPES = "Orbalt::TelvarWrapper::Types::"
WRAPPER = "Orbalt::TelvarWrapper::Wrapper::"

# Class: the operations in slot order, each as a pattern for the declaration that the dump shows.
EXPECTED = {
    TYPES + "IWrapperFactory": [
        "CreateSmartOCRWrapper", "CreateSmartClassifierWrapper", "CreateSmartSegmenterWrapper"],
    TYPES + "ISmartOCRWrapper": [
        "Train", r"Process\(.*AdvancedFielding", r"Process\(.*BasicFielding",
        r"Process\((?!.*Fielding)", "SortCharacters", r"GetData\(.*\) const"],
    TYPES + "ISmartClassifierWrapper": [
        r"GetData\(.*\) const", "Train", "Process", "BatchProcess"],
    TYPES + "ISmartSegmenterWrapper": [
        r"GetData\(.*\) const", "Train", "Process", "BatchProcess"],
    WRAPPER + "TelvarAccess": ["~", r"Process\(.*\) const", r"Train\(.*\) const"],
    WRAPPER + "TelvarClassifierAccess": [
        "~", r"Process\(.*\) const", r"Train\(.*\) const", r"BatchProcess\(.*\) const"],
    WRAPPER + "TelvarSegmenterAccess": [
        "~", r"process\(.*\) const", r"train\(.*\)(?! const)", r"BatchProcess\(.*\) const"],
}

TARGETS = {
    "Microsoft": [
        "--target=x86_64-pc-windows-msvc", "-fgnuc-version=12.2.0", "-fno-ms-compatibility",
        "-D__MINGW32__", "-D__MINGW64__", "-D__declspec(x)=__attribute__((x))"],
    "Itanium": ["--target=x86_64-w64-windows-gnu"],
}


def skip(what):
    print("skipped:", what, "not found (Debian: clang-14, g++-mingw-w64-x86-64-posix)")
    sys.exit(77)


def find_tools():
    clang = shutil.which("clang++-14") or shutil.which("clang++") or skip("clang++")
    found = sorted(glob.glob("/usr/lib/gcc/x86_64-w64-mingw32/*-posix/include/c++"))
    library = found[-1] if found else skip("mingw's C++ headers")
    folders = [library, library + "/x86_64-w64-mingw32", library + "/backward",
               "/usr/x86_64-w64-mingw32/include"]
    return clang, ["-nostdinc++"] + [flag for name in folders for flag in ("-isystem", name)]


def dump(command):
    """Class name to its virtual operations, one per slot in slot order."""
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode:
        sys.exit(run.stderr)
    tables = {}
    for name, body in re.findall(
            r"^VF?Table indices for '([^']+)' \(\d+ entr\w+\)\.\n((?: +\d+ \| .*\n)+)",
            run.stdout + run.stderr, re.M):
        lines = [line.split("|", 1)[1].strip() for line in body.splitlines()]
        # Itanium has two slots for a virtual destructor, Microsoft one.
        tables[name] = [line for i, line in enumerate(lines)
                        if "~" not in line or i == 0 or "~" not in lines[i - 1]]
    return tables


def matches(lines, patterns, name):
    prefix = re.escape(name) + "::"
    return len(lines) == len(patterns) and all(
        re.search(prefix + pattern, line) for line, pattern in zip(lines, patterns))


def main():
    clang, library = find_tools()
    arguments = sys.argv[1:]
    sources = [argument for argument in arguments if argument.endswith(".cpp")]
    includes = [argument for argument in arguments if argument not in sources]
    faults = 0
    for abi, flags in TARGETS.items():
        tables = {}
        for source in sources:
            tables.update(dump([clang, *flags, "-std=c++17", *library, *includes, "-Xclang",
                                "-fdump-vtable-layouts", "-emit-llvm", "-S", "-o", "-", source]))
        for name, patterns in EXPECTED.items():
            good = matches(tables.get(name, []), patterns, name)
            faults += not good
            print("ok   " if good else "WRONG", abi, name)
            if not good:
                print(*("      " + line for line in tables.get(name, ["(no layout)"])), sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
