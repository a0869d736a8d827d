#!/usr/bin/env python3
"""Fails when a program or library of the build would let the loader look for libraries in the current directory.

An entry of a run path that is empty or relative means the directory the program is started in: any user who may write there
could make the program run other code. Every entry has to begin with $ORIGIN or be absolute.

usage: run_paths.py BUILD_DIRECTORY
"""
import pathlib
import re
import subprocess
import sys


def faults(dynamic_section):
    """What is wrong with the run paths in the output of `readelf -d`."""
    found = []
    for entry in re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic_section):
        for path in entry.split(":"):
            if not (path == "$ORIGIN" or path.startswith("$ORIGIN/") or path.startswith("/")):
                found.append(f'"{path}" in "{entry}"')
    return found


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def main(build):
    # The check has to be able to fail.
    assert faults(" 0x1d (RUNPATH)  Library runpath: [$ORIGIN/../lib::]") and faults(" 0x0f (RPATH)  Library rpath: [lib]")
    assert not faults(" 0x1d (RUNPATH)  Library runpath: [$ORIGIN:$ORIGIN/../lib:/usr/lib]")
    files = [path for folder in ("bin", "lib") for path in sorted((build / folder).iterdir()) if path.is_file() and is_elf(path)]
    if not files:
        print(f"{build}: no program or library in bin/ and lib/")
        return 1
    wrong = 0
    for path in files:
        listing = subprocess.run(["readelf", "-d", str(path)], check=True, capture_output=True, text=True).stdout
        for fault in faults(listing):
            print(f"{path}: the run path has the entry {fault}: link with the run path of the installation (CMakeLists.txt)")
            wrong += 1
    print(f"{len(files)} programs and libraries read, {wrong} wrong entries")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
