#!/usr/bin/env python3
"""Compares what the TIFF and JPEG readers make of real image files with what
exiftool reads from them, field by field.

The images: the committed files of tests/docinfo/data/image and the camera
samples (and damaged files) of the goexif package when it is installed. For
each, exiftool's tags of the directories the readers walk (IFD0 and the EXIF
directory in a JPEG; the chain IFD0, IFD1, ... in a TIFF) give the expected
title, subject, author, comments and date by the readers' rules; the test
program's dump (ImageFiles.DumpForOracle) gives ours.

  image_oracle.py <test_docinfo> <source dir>
"""
import glob
import json
import os
import re
import struct
import subprocess
import sys
import tempfile

SAMPLES = "/usr/share/gocode/src/github.com/rwcarlsen/goexif"
DATE = re.compile(r"^(\d{4}):(\d{2}):(\d{2}) (\d{2}):(\d{2}):(\d{2})", re.ASCII)


def first_app1_exif(path):
    """Walks the JPEG markers as the format has them: the bytes from the TIFF header
    of the first APP1 segment's EXIF block to the end of the file, or None."""
    data = open(path, "rb").read()
    at = 0
    while at + 4 <= len(data):
        marker = struct.unpack(">H", data[at:at + 2])[0]
        if marker == 0xFFD8:
            at += 2
            continue
        if marker == 0xFFD9 or marker < 0xFF00:
            return None
        length = struct.unpack(">H", data[at + 2:at + 4])[0]
        if marker == 0xFFE1:
            return data[at + 10:] if data[at + 4:at + 8] == b"Exif" and at + 10 + 8 <= len(data) else None
        if length < 2:
            return None
        at += 2 + length
    return None


def join(first, second, sep=", "):
    return second if first == "" else first + sep + second


def trimmed(text):
    """exiftool drops the blanks that end a text value; the readers keep the bytes as
    they stand. Both sides are compared with each part's trailing blanks removed."""
    return ", ".join(p.rstrip() for p in text.split(", ") if p.strip())


def expected(tags, is_tiff):
    """The readers' result from exiftool's tags ("Group:Name" -> text)."""
    e = {"title": "", "subject": "", "author": "", "comments": "", "created": ""}

    def date(text):
        if text is not None and DATE.match(text):
            e["created"] = "%s-%s-%s %s:%s:%s" % DATE.match(text).groups()

    def number(text):
        try:
            return float(text)
        except (TypeError, ValueError):
            return 0.0

    def directory(group, exif=None):
        """One directory's tags in the order of their numbers, the EXIF directory at 34665."""
        get = lambda name: tags.get(group + ":" + name)
        if get("DocumentName") is not None:
            e["title"] = get("DocumentName")
        if get("ImageDescription") is not None:
            e["subject"] = get("ImageDescription")
        if get("Model") is not None:
            e["author"] = join(e["author"], get("Model"))
        date(get("ModifyDate"))
        if get("Artist") is not None:
            e["author"] = get("Artist")
        if get("Copyright") is not None:
            e["comments"] = get("Copyright")
        t = number(get("ExposureTime"))
        if t > 0:
            e["comments"] = join(e["comments"], "t=%.2g s" % t if t >= 1 else "t=1/%.0f s" % (1 / t))
        f = number(get("FNumber"))
        if f > 0:
            e["comments"] = join(e["comments"], "f=%.1g" % f)
        if exif:
            directory(exif)
        date(get("DateTimeOriginal"))
        d = number(get("SubjectDistance"))
        if d > 0 and d != float("inf"):
            e["comments"] = join(e["comments"], "d=%.3g m" % d)
        w, h = get("ImageWidth"), get("ImageHeight")
        if w is not None and h is not None and (int(w) * int(h)) & 0xFFFFFFFF:
            size = "(%d * %d px)" % (int(w), int(h))
            e["comments"] = size if e["comments"] == "" else join(e["comments"], ", " + size)

    if is_tiff:
        n = 0
        while ("IFD%d" % n) in {k.split(":")[0] for k in tags}:
            directory("IFD%d" % n)
            n += 1
    else:
        directory("IFD0", "ExifIFD")
    return e


def main():
    program, source = sys.argv[1], sys.argv[2]
    files = sorted(glob.glob(os.path.join(source, "tests/docinfo/data/image/*.jpg")) +
                   glob.glob(os.path.join(source, "tests/docinfo/data/image/*.tif")))
    if os.path.isdir(SAMPLES):
        files += sorted(glob.glob(SAMPLES + "/exif/*.jpg") + glob.glob(SAMPLES + "/exif/samples/*.jpg") +
                        glob.glob(SAMPLES + "/tiff/*.tif"))
    else:
        print("goexif samples not installed (golang-github-rwcarlsen-goexif-dev): committed files only")
    with tempfile.TemporaryDirectory() as tmp:
        listing, dump = os.path.join(tmp, "list.txt"), os.path.join(tmp, "dump.json")
        open(listing, "w").write("\n".join(files) + "\n")
        env = dict(os.environ, ZXUT_DOCINFO_IMAGES=listing, ZXUT_DOCINFO_DUMP=dump)
        subprocess.run([program, "--gtest_filter=ImageFiles.DumpForOracle", "--gtest_brief=1"], env=env, check=True)
        ours = {}
        for line in open(dump, encoding="utf-8"):
            row = json.loads(line)
            ours[row["file"]] = row
        # exiftool reads a JPEG's EXIF block as a file of its own: the camera samples
        # are EXIF blocks without image data, which it refuses as JPEG files.
        source_of = {}
        for n, path in enumerate(files):
            if path.endswith(".tif"):
                source_of[path] = path
            else:
                block = first_app1_exif(path)
                if block is not None:
                    source_of[path] = os.path.join(tmp, "%d.exif" % n)
                    open(source_of[path], "wb").write(block)
        out = subprocess.run(["exiftool", "-j", "-G1", "-n", "-charset", "exif=Latin"] + list(source_of.values()),
                             capture_output=True, check=False).stdout.decode("utf-8")
        read = {t["SourceFile"]: {k: str(v) for k, v in t.items()} for t in json.loads(out, parse_float=str,
                                                                                       parse_int=str)}
        theirs = {path: read.get(source, {}) for path, source in source_of.items()}
    failures = compared = 0
    for path in files:
        is_tiff = path.endswith(".tif")
        got = ours[path]
        if path not in theirs:
            want = {"title": "", "subject": "", "author": "", "comments": "", "created": ""}
            if got["result"] != -1:
                print("%s: result %d, a JPEG without EXIF gives -1" % (path, got["result"]))
                failures += 1
        else:
            want = expected(theirs.get(path, {}), is_tiff)
            if got["result"] != 0:
                print("%s: result %d, exiftool reads its directories" % (path, got["result"]))
                failures += 1
        for field, value in want.items():
            compared += 1
            if trimmed(got[field]) != trimmed(value):
                failures += 1
                print("%s: %s is %r, exiftool's reading gives %r" % (os.path.basename(path), field, got[field], value))
    print("%d files, %d fields compared, %d differences" % (len(files), compared, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
