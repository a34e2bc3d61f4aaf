#!/usr/bin/env python3
"""The layer check: the real tree passes, and a wrong-way include is caught.

usage: check_layers_test.py CHECKER LAYERS_FILE SRC_DIR
"""
import os
import subprocess
import sys
import tempfile


def run(checker, layers, src):
    return subprocess.run([sys.executable, checker, layers, src], capture_output=True, text=True)


def main():
    checker, layers, src = sys.argv[1:4]
    failures = 0

    real = run(checker, layers, src)
    if real.returncode != 0:
        print("the source tree breaks its layers:\n" + real.stderr)
        failures += 1

    with tempfile.TemporaryDirectory() as tmp:
        files = {
            "low/Low.h": '#include "zxUT22.h"\n',
            "low/deep/Deep.h": '#include "low/Low.h"\n',
            "high/High.h": '#include "low/deep/Deep.h"\n#include <vector>\n',
            "high/High.cc": '#include "high/High.h"\n',
            "low/Bad.cc": '// a comment\n#include "high/High.h"\n',
            "other/Free.cc": '#include "high/High.h"\n',   # outside every layer: unchecked
        }
        for rel, text in files.items():
            path = os.path.join(tmp, "src", rel)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w") as f:
                f.write(text)
        table = os.path.join(tmp, "layers.txt")
        with open(table, "w") as f:
            f.write("low\nhigh low\n")
        bad = run(checker, table, os.path.join(tmp, "src"))
        expected = "low/Bad.cc:2: layer low may not include high/High.h (layer high)"
        if bad.returncode != 1 or expected not in bad.stderr or bad.stderr.count("may not") != 1:
            print("the wrong-way include was not reported as expected:\n" + bad.stderr)
            failures += 1

    print(f"{2 - failures} passed, {failures} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
