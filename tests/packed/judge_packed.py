"""Decodes a packed text on stdin with python's own base64 and zlib and writes the
data to stdout. Exit status 1 with a reason on stderr for anything malformed."""
import base64, struct, sys, zlib

text = sys.stdin.read().rstrip("\n")  # the tool ends its line
if text.startswith("@2@"):
    raw = base64.b64decode(text[3:], validate=True)
    if len(raw) < 15 or raw[4:15] != b"Zrk_Packed\0":
        sys.exit("bad header")
    (length,) = struct.unpack("<I", raw[:4])
    data = zlib.decompress(raw[15:])  # checks the zlib header and the checksum
    if len(data) != length:
        sys.exit("length %d, data %d" % (length, len(data)))
else:
    data = base64.b64decode(text, validate=True)
sys.stdout.buffer.write(data)
