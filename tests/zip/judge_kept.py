#!/usr/bin/env python3
"""Judges the archives that a test run under wine kept (ZXUT_ZIP_KEEP): python's
zipfile, unzip -t and 7z t must accept each, and an archive with a manifest beside it
(NAME.zip.json) must equal the layout model's bytes.

usage: judge_kept.py FOLDER
"""
import glob
import os
import shutil
import subprocess
import sys
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zip_model  # noqa: E402


def judge(path):
    with zipfile.ZipFile(path) as z:
        bad = z.testzip()
        if bad:
            return "zipfile: bad entry %s" % bad
    for tool, args in (("unzip", ["-tq"]), ("7z", ["t"])):
        if shutil.which(tool):
            r = subprocess.run([tool] + args + [path], capture_output=True, text=True, errors="replace")
            if r.returncode != 0:
                return "%s refused it: %s" % (tool, r.stdout[-400:])
    manifest = path + ".json"
    if os.path.exists(manifest):
        import json
        expected = zip_model.build(json.load(open(manifest, encoding="utf-8")))
        actual = open(path, "rb").read()
        if expected != actual:
            at = next((i for i in range(min(len(expected), len(actual))) if expected[i] != actual[i]),
                      min(len(expected), len(actual)))
            return "differs from the model at byte %d" % at
    return None


def main():
    archives = sorted(glob.glob(os.path.join(sys.argv[1], "*.zip")))
    if not archives:
        print("no archives kept in %s" % sys.argv[1])
        return 1
    failed = 0
    for a in archives:
        why = judge(a)
        print("%-40s %s" % (os.path.basename(a), why or "ok"))
        failed |= why is not None
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
