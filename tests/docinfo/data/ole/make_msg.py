#!/usr/bin/env python3
"""Writes stored mail messages (.msg) from the published formats: a compound file
(version 3, 512-byte sectors, a mini stream for streams under 4096 bytes, one
directory tree a storage) holding MAPI property streams "__substg1.0_XXXXTTTT",
recipient storages "__recip_version1.0_#NNNNNNNN" and the fixed-size table
"__properties_version1.0" (a 32-byte header, then 16-byte entries: tag, flags,
8 bytes of value). Every file is read back with olefile before it is kept.

    python3 make_msg.py <folder>
"""
import datetime
import os
import struct
import sys

END, FREE, FATSECT = 0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFD
NOSTREAM = 0xFFFFFFFF


def cfb(tree):
    """tree: {name: bytes | dict}, a storage. Returns the compound file's bytes."""
    entries = [{"name": "Root Entry", "type": 5, "data": b"", "kids": []}]

    def add(storage, index):
        for name, value in storage.items():
            e = {"name": name, "type": 1 if isinstance(value, dict) else 2,
                 "data": b"" if isinstance(value, dict) else value, "kids": []}
            entries.append(e)
            entries[index]["kids"].append(len(entries) - 1)
            if isinstance(value, dict):
                add(value, len(entries) - 1)
    add(tree, 0)

    for e in entries:   # siblings as a balanced binary tree, in the format's order
        e["left"] = e["right"] = e["child"] = NOSTREAM
    def key(i):
        n = entries[i]["name"]
        return (len(n), n.upper())
    def build(ids):
        if not ids:
            return NOSTREAM
        ids = sorted(ids, key=key)
        mid = len(ids) // 2
        entries[ids[mid]]["left"] = build(ids[:mid])
        entries[ids[mid]]["right"] = build(ids[mid + 1:])
        return ids[mid]
    for e in entries:
        if e["type"] in (1, 5):
            e["child"] = build(e["kids"])

    sectors, fat = [], []
    def put(data):   # a regular chain; its first sector
        if not data:
            return END
        first = len(sectors)
        for k in range(0, len(data), 512):
            sectors.append(data[k:k + 512].ljust(512, b"\0"))
            fat.append(len(sectors))
        fat[-1] = END
        return first

    mini, minifat = bytearray(), []
    for e in entries[1:]:
        d = e["data"]
        if e["type"] == 2 and 0 < len(d) < 4096:
            e["start"] = len(mini) // 64
            for k in range(0, len(d), 64):
                mini += d[k:k + 64].ljust(64, b"\0")
                minifat.append(len(mini) // 64)
            minifat[-1] = END
        elif e["type"] == 2 and d:
            e["start"] = put(d)
        else:
            e["start"] = END if e["type"] == 2 else 0
        e["size"] = len(d)
    entries[0]["start"] = put(bytes(mini))
    entries[0]["size"] = len(mini)
    minifat_start = put(b"".join(struct.pack("<I", v) for v in minifat)) if minifat else END
    minifat_count = (len(minifat) * 4 + 511) // 512

    def direntry(e):
        name = e["name"].encode("utf-16-le")
        return (name.ljust(64, b"\0") + struct.pack("<HBB", len(name) + 2, e["type"], 1) +
                struct.pack("<III", e["left"], e["right"], e["child"]) + b"\0" * 16 + b"\0" * 4 +
                b"\0" * 16 + struct.pack("<IQ", e["start"], e["size"]))
    while len(entries) % 4:
        entries.append({"name": "", "type": 0, "left": NOSTREAM, "right": NOSTREAM, "child": NOSTREAM,
                        "start": 0, "size": 0})
    dir_start = put(b"".join(direntry(e) for e in entries))

    n_fat = 1
    while (len(sectors) + n_fat) > n_fat * 128:
        n_fat += 1
    fat_first = len(sectors)
    fat += [FATSECT] * n_fat
    fat += [FREE] * (n_fat * 128 - len(fat))
    for k in range(n_fat):
        sectors.append(b"".join(struct.pack("<I", v) for v in fat[k * 128:(k + 1) * 128]))
    assert n_fat <= 109
    difat = [fat_first + k for k in range(n_fat)] + [FREE] * (109 - n_fat)
    header = (bytes.fromhex("D0CF11E0A1B11AE1") + b"\0" * 16 +
              struct.pack("<HHHHH", 0x3E, 3, 0xFFFE, 9, 6) + b"\0" * 6 +
              struct.pack("<IIIIIIIII", 0, n_fat, dir_start, 0, 4096, minifat_start, minifat_count, END, 0) +
              b"".join(struct.pack("<I", v) for v in difat))
    assert len(header) == 512
    return header + b"".join(sectors)


def filetime(text):
    t = datetime.datetime.fromisoformat(text).replace(tzinfo=datetime.timezone.utc)
    return int((t - datetime.datetime(1601, 1, 1, tzinfo=datetime.timezone.utc)).total_seconds() * 10**7)


def substg(tag, text, unicode):
    kind = 0x001F if unicode else 0x001E
    data = text.encode("utf-16-le") + b"\0\0" if unicode else text.encode("cp1252") + b"\0"
    return "__substg1.0_%08X" % (tag << 16 | kind), data


def message(props, recipients=(), times=None, unicode=False, header=32):
    tree = {}
    for tag, text in props.items():
        name, data = substg(tag, text, unicode)
        tree[name] = data
    for n, r in enumerate(recipients):
        rs = {}
        for tag, text in r.items():
            name, data = substg(tag, text, unicode)
            rs[name] = data
        rs["__properties_version1.0"] = b"\0" * 8
        tree["__recip_version1.0_#%08X" % n] = rs
    if times is not None:
        table = bytearray(header)
        table += struct.pack("<IIII", 0x0E070003, 6, 1, 0)   # a flags entry first
        for tag, value in times.items():
            table += struct.pack("<IIQ", tag, 6, filetime(value))
        tree["__properties_version1.0"] = bytes(table)
    return cfb(tree)


MESSAGES = {
    "note.msg": dict(
        props={0x0037: "Quarterly figures", 0x0042: "Ann Sender", 0x0065: "ann@example.org"},
        recipients=[{0x3001: "Bob Receiver", 0x3003: "bob@example.org"}, {0x3003: "carl@example.org"}],
        times={0x00390040: "2019-10-09T05:55:10", 0x0E060040: "2019-10-09T06:00:00"}),
    "unicode.msg": dict(
        props={0x0037: "Grüße – € über Maße", 0x0C1A: "Jürgen Müller", 0x0C1F: "jm@example.org"},
        recipients=[{0x3001: "Zoë Ærø"}],
        times={0x0E060040: "2021-02-28T23:59:59"}, unicode=True),
    "address_only.msg": dict(
        props={0x0037: "No name", 0x0065: "only@example.org"}, recipients=[], times=None),
}


def check(path, spec):
    import olefile
    ole = olefile.OleFileIO(path)
    kind = "001F" if spec.get("unicode") else "001E"
    subject = ole.openstream("__substg1.0_0037" + kind).read()
    want = spec["props"][0x0037]
    got = subject.decode("utf-16-le" if spec.get("unicode") else "cp1252").rstrip("\0")
    assert got == want, (path, got, want)
    for n in range(len(spec.get("recipients", []))):
        assert ole.exists("__recip_version1.0_#%08X" % n), path
    if spec.get("times"):
        table = ole.openstream("__properties_version1.0").read()
        assert (len(table) - 32) % 16 == 0, path


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for name, spec in MESSAGES.items():
        path = os.path.join(out, name)
        with open(path, "wb") as f:
            f.write(message(**spec))
        check(path, spec)
        print(path)


if __name__ == "__main__":
    main()
