#!/usr/bin/env python3
"""Checks that the plug-in's folders depend on each other one way only.

Each folder may include its own headers and those of the folders below it:

    plugin -> options -> exporter -> xlsx -> math -> plugin/sdk

A quoted include is resolved the way the build resolves it: beside the including file
first, then by name among the folders. The host, tests, benchmarks and fuzz targets may
include anything. Exits 1 listing every include that goes up a layer or closes a cycle
between folders.
"""

import os
import re
import subprocess
import sys

# Highest first; a folder may include only folders that come after it.
LAYERS = ["plugin", "options", "exporter", "xlsx", "math", "plugin/sdk"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def folder_of(path):
    """The layer folder a source file belongs to, or None for the unchecked ones."""
    directory = os.path.dirname(path)
    return directory if directory in LAYERS else None


def main():
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    os.chdir(root)
    files = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], check=True, capture_output=True,
                           text=True).stdout.split()
    by_name = {}
    for path in files:
        if folder_of(path):
            by_name.setdefault(os.path.basename(path), []).append(path)

    problems = []
    edges = {}  # folder -> {included folder: an example include}
    for path in files:
        folder = folder_of(path)
        if not folder:
            continue
        with open(path, encoding="utf-8") as source:
            text = source.read()
        for name in INCLUDE.findall(text):
            beside = os.path.normpath(os.path.join(os.path.dirname(path), name))
            if beside in files:
                target = beside
            elif len(by_name.get(os.path.basename(name), [])) == 1:
                target = by_name[os.path.basename(name)][0]
            else:
                continue  # a generated header or one of another library
            other = folder_of(target)
            if other is None:
                problems.append(f"{path}: includes {target}, which is outside the plug-in's folders")
            elif other != folder:
                edges.setdefault(folder, {}).setdefault(other, f"{path} includes {target}")
                if LAYERS.index(other) < LAYERS.index(folder):
                    problems.append(f"{path}: includes {target} of the higher layer {other}/")

    # The layer order rules cycles out; this names one anyway, should the order be edited.
    def cycle_from(start, folder, seen):
        for other in edges.get(folder, {}):
            if other == start:
                return seen + [other]
            if other not in seen:
                found = cycle_from(start, other, seen + [other])
                if found:
                    return found
        return None

    for folder in LAYERS:
        cycle = cycle_from(folder, folder, [folder])
        if cycle:
            problems.append("folders include each other: " + " -> ".join(cycle))
            break

    for problem in problems:
        print(problem, file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
