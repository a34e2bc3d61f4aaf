#!/usr/bin/env python3
"""An independent model of the archives the ZIP writer makes, for byte-for-byte tests.

usage: zip_model.py MANIFEST.json ARCHIVE

MANIFEST describes what the writer was asked to do:
  {"platform": "linux" | "windows", "comment": "...",
   "ops": [{"op": "append", "source": PATH, "name": NAME or null, "comment": TEXT or null},
           {"op": "list", "folder": PATH, "mask": MASK or null, "flags": 0 | 1}]}
Windows paths ("Z:\\tmp\\x") are read through wine's Z: drive. The model builds the
archive from the files themselves with python's zlib and the layout rules, compares
it with ARCHIVE and exits 1 naming the first difference.
"""
import fnmatch
import json
import os
import re
import struct
import sys
import time
import zlib

BLOCK = 1 << 20


def host_path(path, platform):
    """The path on this machine: both separators work on both targets."""
    if platform == "windows" and re.match(r"(?i)^z:", path):
        path = path[2:]
    return path.replace("\\", "/")


def is_cp437(text):
    try:
        text.encode("cp437")
        return True
    except UnicodeEncodeError:
        return False


def entry_name(name, source):
    name = name if name else source
    m = re.match(r"(?is)^([A-Z]:)(.*)$", name) or re.match(r"(?is)^(\\\\.*?)(\\.*)$", name)
    if m:
        name = m.group(2)
    return name.replace("\\", "/")


def dos_stamp(mtime):
    t = time.localtime(mtime)
    if not 1980 <= t.tm_year <= 2107:
        return 0, 0
    date = ((t.tm_year - 1980) << 9) | (t.tm_mon << 5) | t.tm_mday
    tod = (t.tm_hour << 11) | (t.tm_min << 5) | (min(t.tm_sec, 59) // 2)
    return date, tod


def attributes(path, platform, is_dir):
    if platform == "windows":
        return 0x10 if is_dir else 0x20
    attr = 0x10 if is_dir else 0
    if not os.stat(path).st_mode & 0o200:
        attr |= 0x1
    if os.path.basename(path).startswith("."):
        attr |= 0x2
    return attr or 0x80


def deflate(data):
    z = zlib.compressobj(-1, zlib.DEFLATED, -15, 8, zlib.Z_DEFAULT_STRATEGY)
    out = b"".join(z.compress(data[i:i + BLOCK]) for i in range(0, len(data), BLOCK))
    return out + z.flush()


class Entry:
    def __init__(self, name, source, comment, folder, platform, found=None):
        text = name if name else source
        utf8 = not is_cp437(text) or (not folder and not is_cp437(comment))
        enc = "utf-8" if utf8 else "cp437"
        self.flags = 0x800 if utf8 else 0
        self.name = text.encode(enc, "surrogatepass") + (b"/" if folder else b"")
        self.comment = comment.encode(enc, "surrogatepass")[:0xFFFF]
        self.name = self.name[:0xFFFF]
        # A folder's time and attributes are those of the folder found, whatever
        # its source path (the name's fallback) says.
        host = host_path(found or source, platform)
        st = os.stat(host)
        self.date, self.time = dos_stamp(st.st_mtime)
        self.attr = attributes(host, platform, folder)
        if folder:
            self.method, self.crc, self.data, self.size = 0, 0, b"", 0
        else:
            raw = open(host, "rb").read()
            self.method, self.crc, self.size = 8, zlib.crc32(raw), len(raw)
            self.data = deflate(raw)


def join(a, b):
    if not a:
        return b
    if not b:
        return a
    return a + b if a[-1] in "\\/" else a + "\\" + b


def sort_key(name):
    up = "".join(c.upper() if len(c.upper()) == 1 else c for c in name)
    units = up.encode("utf-16-le", "surrogatepass")
    return [units[i] | units[i + 1] << 8 for i in range(0, len(units), 2)]


def walk(root, relative, mask, flags, platform, out):
    current = join(root, relative)
    host = host_path(current, platform)
    names = sorted(os.listdir(host), key=sort_key)
    pattern = None if mask in ("*", "*.*") else mask
    for n in names:
        if os.path.isdir(os.path.join(host, n)):
            continue
        if pattern and not fnmatch.fnmatch(n.lower(), pattern.lower()):
            continue
        try:
            with open(os.path.join(host, n), "rb"):
                pass
        except OSError:
            continue
        source = join(current, n)
        out.append(Entry(entry_name(join(relative, n), source), source, "", False, platform))
    if flags & 1:
        for n in names:
            if not os.path.isdir(os.path.join(host, n)) or os.path.islink(os.path.join(host, n)):
                continue
            sub = join(relative, n)
            out.append(Entry(entry_name(sub, join(root, n)), join(root, n), "", True, platform, join(current, n)))
            walk(root, sub, "*.*", flags, platform, out)


def build(manifest):
    platform = manifest["platform"]
    entries = []
    for op in manifest["ops"]:
        if op["op"] == "append":
            name = entry_name(op.get("name") or "", op["source"])
            entries.append(Entry(name, op["source"], op.get("comment") or "", False, platform))
        else:
            walk(op["folder"], "", op.get("mask") or "*.*", op.get("flags", 0), platform, entries)
    out = bytearray()
    offsets = []
    for e in entries:
        offsets.append(len(out))
        out += struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, e.flags, e.method, e.time, e.date, e.crc,
                           len(e.data), e.size, len(e.name), 0)
        out += e.name + e.data
    cd_offset = len(out)
    for e, off in zip(entries, offsets):
        out += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 0x0A14, 20, e.flags, e.method, e.time, e.date,
                           e.crc, len(e.data), e.size, len(e.name), 0, len(e.comment), 0, 0, e.attr, off)
        out += e.name + e.comment
    comment = manifest.get("comment", "").encode("cp1252")[:0xFFFF]
    out += struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, len(entries) & 0xFFFF, len(entries) & 0xFFFF,
                       len(out) - cd_offset, cd_offset, len(comment))
    return bytes(out + comment)


def main():
    manifest = json.load(open(sys.argv[1], encoding="utf-8"))
    expected = build(manifest)
    actual = open(sys.argv[2], "rb").read()
    if expected == actual:
        print("identical, %d bytes" % len(actual))
        return 0
    at = next((i for i in range(min(len(expected), len(actual))) if expected[i] != actual[i]),
              min(len(expected), len(actual)))
    print("differ at byte %d (model %d bytes, archive %d bytes)" % (at, len(expected), len(actual)))
    print("model:   " + expected[max(0, at - 8):at + 24].hex())
    print("archive: " + actual[max(0, at - 8):at + 24].hex())
    return 1


if __name__ == "__main__":
    sys.exit(main())
