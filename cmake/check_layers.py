#!/usr/bin/env python3
"""Fails when a file of one layer includes a header of a layer it may not use.

usage: check_layers.py LAYERS_FILE SRC_DIR

LAYERS_FILE has one line per layer: its folder (relative to SRC_DIR), then every
folder it may include. A file belongs to the deepest layer folder that holds it;
an include "a/b/c.h" belongs to the layer whose folder is the longest prefix of
"a/b". Includes of the public header (zxUT22.h, zxut22/...) are always allowed;
files outside every layer (the export table, the library entry) are not checked.
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def layer_of(path, layers):
    best = None
    for folder in layers:
        if path == folder or path.startswith(folder + "/"):
            if best is None or len(folder) > len(best):
                best = folder
    return best


def check(layers_file, src):
    allowed = {}
    with open(layers_file) as f:
        for line in f:
            parts = line.split()
            if parts:
                allowed[parts[0]] = set(parts)
    problems = []
    for root, _, files in os.walk(src):
        for name in files:
            if not name.endswith((".h", ".cc", ".inc")):
                continue
            path = os.path.join(root, name)
            rel = os.path.relpath(path, src).replace(os.sep, "/")
            layer = layer_of(rel, allowed)
            if layer is None or name.startswith("library_entry_"):
                continue
            with open(path, encoding="utf-8") as f:
                text = f.read()
            for m in INCLUDE.finditer(text):
                inc = m.group(1)
                if inc.startswith(("zxUT22", "zxut22/")):
                    continue
                target = layer_of(inc, allowed)
                if target is None or target in allowed[layer]:
                    continue
                line = text.count("\n", 0, m.start()) + 1
                problems.append(f"{rel}:{line}: layer {layer} may not include {inc} (layer {target})")
    return problems


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    problems = check(sys.argv[1], sys.argv[2])
    for p in problems:
        print(p, file=sys.stderr)
    if problems:
        print(f"{len(problems)} include(s) run up the layers; see cmake/ZxutLayers.cmake",
              file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
