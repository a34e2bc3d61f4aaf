#!/usr/bin/env python3
"""Writes the archives of the extraction tests into this folder, with a manifest of
what each must extract to. Sound archives come from `zip`, `7z` and Python's
zipfile; hostile ones from zipfile with names and bytes changed afterwards. The
manifests are made by Python's zipfile, which decodes names as the library does
(flag 0x0800: UTF-8, else code page 437), so the Windows run needs no tool.
Run it again after changing it: python3 tests/zip/data/make_fixtures.py"""
import os
import shutil
import struct
import subprocess
import tempfile
import zipfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
FIXED_TIME = (2024, 5, 17, 9, 30, 0)


def text_block(seed, size):
    words = ["zip", "entry", "folder", "deflate", "stored", "name", "byte", "crc"]
    out, i = [], seed
    while sum(len(w) + 1 for w in out) < size:
        i = (i * 1103515245 + 12345) & 0x7FFFFFFF
        out.append(words[i % len(words)])
    return (" ".join(out)[:size]).encode()


def binary_block(seed, size):
    out, i = bytearray(), seed
    for _ in range(size):
        i = (i * 1103515245 + 12345) & 0x7FFFFFFF
        out.append((i >> 16) & 0xFF)
    return bytes(out)


def manifest(path):
    """Lines "D name" and "F name size crc" of what zipfile extracts, sorted."""
    lines = set()
    with zipfile.ZipFile(path) as z:
        for info in z.infolist():
            parts = [p for p in info.filename.split("/") if p not in ("", ".")]
            for i in range(1, len(parts) + (1 if info.is_dir() else 0)):
                lines.add("D " + "/".join(parts[:i]))
            if not info.is_dir():
                data = z.read(info)
                lines.add("F %s %d %08x" % ("/".join(parts), len(data), zlib.crc32(data)))
    with open(path[:-4] + ".manifest", "w", encoding="utf-8", newline="\n") as f:
        f.write("".join(line + "\n" for line in sorted(lines)))


def write_entries(path, entries):
    """entries: (name, data or None for a folder, method)."""
    with zipfile.ZipFile(path, "w") as z:
        for name, data, method in entries:
            info = zipfile.ZipInfo(name, FIXED_TIME)
            info.compress_type = method
            if data is None:
                info.external_attr = 0x10
                z.writestr(info, b"")
            else:
                info.external_attr = 0o644 << 16
                z.writestr(info, data)


class Cp437Names:
    """zipfile writes every non-ASCII name as UTF-8; this writes code page 437."""

    def __enter__(self):
        self.saved = zipfile.ZipInfo._encodeFilenameFlags
        zipfile.ZipInfo._encodeFilenameFlags = lambda info: (info.filename.encode("cp437"), info.flag_bits)

    def __exit__(self, *args):
        zipfile.ZipInfo._encodeFilenameFlags = self.saved


def make_tree(root, files):
    for name, data in files:
        p = os.path.join(root, name)
        if data is None:
            os.makedirs(p, exist_ok=True)
        else:
            os.makedirs(os.path.dirname(p), exist_ok=True)
            with open(p, "wb") as f:
                f.write(data)
        os.utime(p, (1715938200, 1715938200))


def sound_archives(work):
    D, S = zipfile.ZIP_DEFLATED, zipfile.ZIP_STORED
    write_entries(os.path.join(HERE, "python_mixed.zip"), [
        ("readme.txt", text_block(1, 3000), D),
        ("stored.bin", binary_block(2, 300), S),
        ("empty.txt", b"", S),
        ("empty_deflated.txt", b"", D),
        ("docs/", None, S),
        ("docs/a.txt", text_block(3, 100), D),
        ("deep/er/file.txt", text_block(4, 50), D),   # no entries of its folders
        ("empty_folder/", None, S),
        ("Grüße/naïve €.txt", "UTF-8 names".encode(), D),
        ("日本語.txt", binary_block(5, 1000), D),
    ])
    with Cp437Names():
        with zipfile.ZipFile(os.path.join(HERE, "python_cp437.zip"), "w") as z:
            for name, data in [("Grüße_ñ.txt", b"cp437"), ("café/Ä½ÿ.txt", b"high characters")]:
                info = zipfile.ZipInfo(name, FIXED_TIME)
                info.create_system = 0   # made on MS-DOS/Windows: the name is in code page 437
                info.compress_type = zipfile.ZIP_DEFLATED
                z.writestr(info, data)
    # Info-ZIP zip: ASCII names (it marks no encoding), .bin stored (-n), folders.
    tree = os.path.join(work, "infozip")
    make_tree(tree, [("a.txt", text_block(6, 5000)), ("empty.txt", b""), ("sub/", None),
                     ("sub/data.bin", binary_block(7, 2000)), ("sub/inner/b.txt", text_block(8, 10)),
                     ("hollow/", None)])
    out = os.path.join(HERE, "infozip.zip")
    if os.path.exists(out):
        os.remove(out)
    subprocess.run(["zip", "-q", "-X", "-r", "-n", ".bin", out, "."], cwd=tree, check=True)
    # 7z: UTF-8 names (flagged), folders, an empty file.
    tree = os.path.join(work, "7z")
    make_tree(tree, [("ünïcödé/fïle.txt", text_block(9, 4000)), ("ünïcödé/empty", b""),
                     ("plain.bin", binary_block(10, 3000)), ("vide/", None)])
    out = os.path.join(HERE, "sevenzip.zip")
    if os.path.exists(out):
        os.remove(out)
    subprocess.run(["7z", "a", "-tzip", "-bd", "-mcu=on", out, "."], cwd=tree, check=True,
                   stdout=subprocess.DEVNULL)
    for name in ["python_mixed.zip", "python_cp437.zip", "infozip.zip", "sevenzip.zip"]:
        manifest(os.path.join(HERE, name))


def patch(path, find, replace, count=1):
    data = open(path, "rb").read()
    assert data.count(find) >= count, (path, find)
    open(path, "wb").write(data.replace(find, replace, count))


def hostile_archives(work):
    H = os.path.join(HERE, "hostile")
    os.makedirs(H, exist_ok=True)
    S, D = zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED
    good = ("good.txt", b"good", S)
    for name, evil in [("slip_parent", "../evil.txt"), ("slip_nested", "a/b/../../../evil.txt"),
                       ("absolute", "/tmp/zxut_zip_evil.txt"), ("drive", "C:\\zxut_zip_evil.txt"),
                       ("backslash", "..\\evil.txt")]:
        write_entries(os.path.join(H, name + ".zip"), [good, (evil, b"evil", S)])
    # Damage in the second entry; the first extracts.
    first = ("first.txt", b"first entry", S)
    p = os.path.join(H, "bad_crc.zip")
    write_entries(p, [first, ("second.txt", b"second entry", S)])
    patch(p, b"second entry", b"SECOND entry")
    p = os.path.join(H, "bad_data.zip")
    write_entries(p, [first, ("second.txt", b"\xff" * 64, D)])
    compressed = zlib.compressobj(9, zlib.DEFLATED, -15)
    body = compressed.compress(b"\xff" * 64) + compressed.flush()
    patch(p, body, bytes([0xFF]) * len(body))   # a reserved block type
    p = os.path.join(H, "bad_local.zip")
    write_entries(p, [first, ("second.txt", b"second entry", S)])
    data = bytearray(open(p, "rb").read())
    second = data.find(b"PK\x03\x04", 4)
    data[second:second + 4] = b"PK\x09\x09"
    open(p, "wb").write(data)
    p = os.path.join(H, "bad_central.zip")
    write_entries(p, [first, ("second.txt", b"second entry", S)])
    data = bytearray(open(p, "rb").read())
    second = data.find(b"PK\x01\x02", data.find(b"PK\x01\x02") + 4)
    data[second:second + 4] = b"PK\x09\x09"
    open(p, "wb").write(data)
    # Declares 10 bytes more than its data holds (both headers).
    p = os.path.join(H, "short_size.zip")
    write_entries(p, [first, ("second.txt", text_block(11, 500), D)])
    data = bytearray(open(p, "rb").read())
    for sig, at in [(b"PK\x03\x04", 22), (b"PK\x01\x02", 24)]:
        pos = data.find(sig, data.find(sig) + 4)
        struct.pack_into("<I", data, pos + at, 510)
    open(p, "wb").write(data)
    # A download cut short: no end record.
    p = os.path.join(H, "truncated.zip")
    write_entries(p, [first, ("second.txt", binary_block(12, 2000), S)])
    data = open(p, "rb").read()
    open(p, "wb").write(data[:len(data) * 6 // 10])
    # A real encrypted entry.
    tree = os.path.join(work, "enc")
    make_tree(tree, [("secret.txt", b"secret")])
    p = os.path.join(H, "encrypted.zip")
    if os.path.exists(p):
        os.remove(p)
    subprocess.run(["zip", "-q", "-X", "-P", "password", p, "secret.txt"], cwd=tree, check=True)


def main():
    work = tempfile.mkdtemp()
    try:
        sound_archives(work)
        hostile_archives(work)
    finally:
        shutil.rmtree(work)


if __name__ == "__main__":
    main()
