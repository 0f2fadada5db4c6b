#!/usr/bin/env python3
"""check_exports.py LIBRARY NAME...: fails unless the library exports exactly these symbols.

Reads the dynamic symbol table (ELF, by nm) or the export table (DLL, by llvm-readobj or objdump).
Exit code 77 when the tool that reads the table is missing.
"""
import re
import shutil
import subprocess
import sys


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def exported(library):
    if library.lower().endswith(".dll"):
        if shutil.which("llvm-readobj"):
            text = output("llvm-readobj", "--coff-exports", library)
            return set(re.findall(r"^ *Name: (\S+)$", text, re.M))
        tool = "x86_64-w64-mingw32-objdump"
        if shutil.which(tool):
            table = output(tool, "-p", library).partition("[Ordinal/Name Pointer] Table")[2]
            return set(re.findall(r"^\s+\[ *\d+\](?: \+base\[ *\d+\])?\s+(?:[0-9a-f]+ )?(\S+)$",
                                  table.partition("\n\n")[0], re.M))
    elif shutil.which("nm"):
        lines = output("nm", "-D", "--defined-only", library).splitlines()
        return {line.split()[-1].split("@")[0] for line in lines if line.strip()}
    print("skipped: no tool here reads the symbols of", library)
    sys.exit(77)


def main():
    library, *expected = sys.argv[1:]
    found = exported(library)
    for name in sorted(found - set(expected)):
        print("exported, but should not be:", name)
    for name in sorted(set(expected) - found):
        print("not exported:", name)
    return 0 if found == set(expected) else 1


if __name__ == "__main__":
    sys.exit(main())
