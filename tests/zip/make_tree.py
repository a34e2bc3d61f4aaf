#!/usr/bin/env python3
"""make_tree.py ROOT: a tree for the extraction tests made at test time: small
files in nested folders, a text and a binary file of a few MB (more than one block
of the extractor), an empty file and an empty folder."""
import os
import random
import sys

root = sys.argv[1]
rng = random.Random(2207)
words = [w.encode() for w in "zip entry folder deflate stored name byte crc block stream".split()]
for i in range(120):
    d = os.path.join(root, "f%02d" % (i % 12), "g%d" % (i % 3))
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, "small%03d.txt" % i), "wb") as f:
        f.write(b" ".join(rng.choice(words) for _ in range(rng.randrange(0, 200))))
with open(os.path.join(root, "big.txt"), "wb") as f:
    f.write(b" ".join(rng.choice(words) for _ in range(400000)))
with open(os.path.join(root, "big.bin"), "wb") as f:
    f.write(rng.randbytes(1500000))
open(os.path.join(root, "empty.txt"), "wb").close()
os.makedirs(os.path.join(root, "hollow"))
