#!/usr/bin/env python3
"""Asks pdfinfo and exiftool again about every PDF test file and checks that
data/pdf/oracle.tsv (which the reader's test compares against) still says what
they say. Skips (77) when either program is missing."""
import os
import shutil
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import make_pdfs  # noqa: E402


def main():
    if not shutil.which("pdfinfo") or not shutil.which("exiftool"):
        print("pdfinfo or exiftool missing: skipped")
        return 77
    stored = {}
    with open(os.path.join(make_pdfs.OUT, "oracle.tsv"), encoding="utf-8") as f:
        for line in f:
            if line.startswith("#"):
                continue
            cols = line.rstrip("\n").split("\t")
            stored[(cols[0], cols[1])] = cols[2:4]
    files = sorted({name for name, _ in stored})
    bad = 0
    for name in files:
        for row in make_pdfs.oracle_rows(name, os.path.join(make_pdfs.OUT, name), {}):
            now = [make_pdfs.clean(x) for x in row[2:4]]
            if stored.get((row[0], row[1])) != now:
                print("%s %s: stored %r, the oracles now say %r" % (row[0], row[1], stored.get((row[0], row[1])), now))
                bad += 1
    print("%d files, %d differences" % (len(files), bad))
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
