#!/usr/bin/env python3
"""Independent decoder of the viewer datagrams, for the tests.

Reads a dump (each datagram as a 4-byte little-endian length and its bytes) and
prints one line per datagram: tab-separated size, header size, thread, processor,
digit, zero field, number1, number2, remaining bytes, the eight time fields joined
by commas, then tag and text as hex of their UTF-8 bytes. A datagram that breaks the layout makes the
script exit with status 1 and a message on stderr."""
import struct
import sys

HEADER = struct.Struct("<I8H32H7I")
assert HEADER.size == 112


def decode(data):
    if len(data) < 112:
        raise ValueError("short datagram: %d bytes" % len(data))
    f = HEADER.unpack_from(data, 0)
    header_size, time, tag_units, rest = f[0], f[1:9], f[9:41], f[41:]
    if header_size != 112:
        raise ValueError("header size %d" % header_size)
    if (len(data) - 112) % 2:
        raise ValueError("odd text length")
    tag = []
    for u in tag_units:
        if u == 0:
            break
        tag.append(u)
    if len(tag) > 31:
        raise ValueError("tag not terminated within 32 characters")
    text = data[112:].decode("utf-16-le", errors="surrogatepass")
    tid, cpu, digit, zero, n1, n2, remaining = rest
    return {
        "size": len(data), "header": header_size,
        "time": list(time), "tag": "".join(map(chr, tag)),
        "tid": tid, "cpu": cpu, "digit": chr(digit), "zero": zero,
        "n1": n1, "n2": n2, "remaining": remaining, "text": text,
    }


def main(path):
    raw = open(path, "rb").read()
    pos = 0
    while pos < len(raw):
        (length,) = struct.unpack_from("<I", raw, pos)
        pos += 4
        data = raw[pos:pos + length]
        pos += length
        if len(data) != length:
            raise ValueError("truncated dump")
        d = decode(data)
        print("\t".join(str(x) for x in [
            d["size"], d["header"], d["tid"], d["cpu"], ord(d["digit"]), d["zero"], d["n1"],
            d["n2"], d["remaining"], ",".join(map(str, d["time"])),
            d["tag"].encode("utf-8").hex(),
            d["text"].encode("utf-8", errors="surrogatepass").hex()]))


if __name__ == "__main__":
    try:
        main(sys.argv[1])
    except ValueError as e:
        print("bad datagram: %s" % e, file=sys.stderr)
        sys.exit(1)
