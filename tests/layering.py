#!/usr/bin/env python3
"""Usage: layering.py SRC_DIR. Checks the include graph against src/layers.txt: every `#include "X/..."`
in src/<layer>/ names the layer or one on its line, which stands higher up (no cycles) and is used;
a unit test under tests/unit/<layer>/ includes only what its layer links."""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([a-z]+)/', re.M)


def read_layers(path):
    layers = {}
    for number, line in enumerate(path.read_text().splitlines(), 1):
        name, _, uses = line.split("#", 1)[0].partition(":")
        if name.strip():
            layers[name.strip()] = (number, uses.split())
    return layers


def includes(path):
    text = path.read_text(errors="replace")
    for match in INCLUDE.finditer(text):
        yield text.count("\n", 0, match.start()) + 1, match.group(1)


def closure(layers, name):
    # Only uses further up the file count (the others are faults), so this ends.
    number, uses = layers[name]
    return {name}.union(*(closure(layers, u) for u in uses if u in layers and layers[u][0] < number))


def main():
    src = pathlib.Path(sys.argv[1])
    tests = src.parent / "tests" / "unit"
    layers = read_layers(src / "layers.txt")
    faults = []

    for name, (number, uses) in layers.items():
        for use in uses:
            if use not in layers:
                faults.append(f"layers.txt:{number}: {name} uses unknown layer {use}")
            elif layers[use][0] >= number:
                faults.append(f"layers.txt:{number}: {name} uses {use}, which is not below it")

    for name, (number, uses) in layers.items():
        files = [src / "main.cpp"] if name == "main" else sorted((src / name).glob("*.[ch]*"))
        used = set()
        for path in files:
            for line, target in includes(path):
                if target not in layers or target == name:
                    continue
                used.add(target)
                if target not in uses:
                    faults.append(f"{path.relative_to(src.parent)}:{line}: {name} includes {target}/,"
                                  f" which layers.txt does not let it use")
        for use in sorted(set(uses) - used):
            faults.append(f"layers.txt:{number}: {name} lists {use} but includes nothing of it")

    for folder in sorted(p for p in tests.glob("*") if p.is_dir()):
        if folder.name not in layers:
            faults.append(f"{folder}: no layer of that name")
            continue
        allowed = closure(layers, folder.name)
        for path in sorted(folder.glob("*.[ch]*")):
            for line, target in includes(path):
                if target in layers and target not in allowed:
                    faults.append(f"{path.relative_to(src.parent)}:{line}: a test of {folder.name}"
                                  f" includes {target}/, which {folder.name} does not link")

    print("\n".join(faults) or f"{len(layers)} layers, include graph as listed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
