#!/usr/bin/env python3
"""Writes ".lnk" files by the published Shell Link binary format: ShellLinkHeader,
an optional LinkTargetIDList, LinkInfo (VolumeID with LocalBasePath, or a
CommonNetworkRelativeLink, each with the CommonPathSuffix; Unicode forms with a
header of 0x24 bytes) and StringData (NAME_STRING, RELATIVE_PATH).

  make_lnk.py --all FOLDER                  the test set of tests/docinfo/data/lnk
  make_lnk.py --local PATH OUT.lnk          a link to a local path
"""
import struct
import sys
from pathlib import Path

CLSID = bytes([0x01, 0x14, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46])
HAS_ID_LIST, HAS_LINK_INFO, HAS_NAME, HAS_RELATIVE_PATH, IS_UNICODE = 0x1, 0x2, 0x4, 0x8, 0x80


def header(flags):
    h = struct.pack("<I16sII", 0x4C, CLSID, flags, 0x20)   # FILE_ATTRIBUTE_ARCHIVE
    h += struct.pack("<QQQ", 0, 0, 0)                       # creation, access, write times
    h += struct.pack("<IiIHHII", 0, 0, 1, 0, 0, 0, 0)       # size, icon, show normal, hot key, reserved
    assert len(h) == 0x4C
    return h


def id_list():
    # One item (a made-up root item) and the terminating zero: the reader skips it.
    item = struct.pack("<H", 20) + bytes(range(18))
    body = item + b"\0\0"
    return struct.pack("<H", len(body)) + body


def cstr(text, codec="cp1252"):
    return text.encode(codec) + b"\0"


def wstr(text):
    return text.encode("utf-16-le") + b"\0\0"


def link_info(local=None, suffix="", network=None, unicode=False):
    """LinkInfo with a local base path or a network share, and the suffix."""
    header_size = 0x24 if unicode else 0x1C
    flags = (0x1 if local is not None else 0) | (0x2 if network is not None else 0)
    parts = b""
    volume_offset = local_offset = network_offset = 0
    at = header_size
    if local is not None:
        volume = struct.pack("<IIII", 16 + 1, 3, 0x1234ABCD, 16) + b"\0"   # fixed drive, serial, empty label
        volume_offset = at
        parts += volume
        at += len(volume)
        local_offset = at
        base = cstr(local if not unicode else "?")
        parts += base
        at += len(base)
    if network is not None:
        net = cstr(network)
        cnrl = struct.pack("<IIIII", 0x14 + len(net), 0, 0x14, 0, 0x00020000) + net
        network_offset = at
        parts += cnrl
        at += len(cnrl)
    suffix_offset = at
    parts += cstr(suffix)
    at += len(cstr(suffix))
    extra = b""
    local_unicode = suffix_unicode = 0
    if unicode:
        if local is not None:
            local_unicode = at
            extra += wstr(local)
            at += len(wstr(local))
        suffix_unicode = at
        extra += wstr(suffix)
        at += len(wstr(suffix))
    fields = struct.pack("<IIIIIII", at, header_size, flags, volume_offset, local_offset, network_offset, suffix_offset)
    if unicode:
        fields += struct.pack("<II", local_unicode, suffix_unicode)
    return fields + parts + extra


def string_data(name=None, relative=None, unicode=True):
    out = b""
    for text in (name, relative):
        if text is None:
            continue
        raw = text.encode("utf-16-le" if unicode else "cp1252")
        out += struct.pack("<H", len(text)) + raw
    return out


def shell_link(local=None, suffix="", network=None, unicode_info=False, name=None, relative=None,
               unicode_strings=True, with_id_list=True):
    flags = (HAS_ID_LIST if with_id_list else 0) | (IS_UNICODE if unicode_strings else 0)
    body = id_list() if with_id_list else b""
    if local is not None or network is not None:
        flags |= HAS_LINK_INFO
        body += link_info(local, suffix, network, unicode_info)
    if name is not None:
        flags |= HAS_NAME
    if relative is not None:
        flags |= HAS_RELATIVE_PATH
    body += string_data(name, relative, unicode_strings)
    return header(flags) + body + b"\0\0\0\0"   # the terminal ExtraData block


def test_set():
    good = {
        "local_ansi.lnk": shell_link(local="C:\\Docs\\", suffix="report.pdf", relative=".\\target.txt"),
        "local_unicode.lnk": shell_link(local="C:\\D\u00f6kumente\\bericht \u65e5\u672c.pdf", unicode_info=True),
        "network.lnk": shell_link(network="\\\\srv\\docs", suffix="q\\r.pdf", relative=".\\target.txt"),
        "relative.lnk": shell_link(name="the target", relative=".\\target.txt"),
        "relative_ansi.lnk": shell_link(relative=".\\target.txt", unicode_strings=False, with_id_list=False),
        "relative_missing.lnk": shell_link(relative=".\\not there.txt"),
    }
    whole = good["local_ansi.lnk"]
    damaged = {
        "bad_truncated.lnk": whole[:0x60],
        "bad_header.lnk": b"\x4d" + whole[1:],
        "bad_idlist.lnk": whole[:0x4C] + b"\xff\xff" + whole[0x4E:],
        "bad_info_size.lnk": whole[:0x4C + len(id_list())] + b"\xff\xff\xff\x7f" + whole[0x50 + len(id_list()):],
        "bad_offsets.lnk": shell_link(local="C:\\x", relative=".\\target.txt")[:-4].replace(
            b"C:\\x\0", b"C:\\xx")[:0x4C + len(id_list()) + 16] + b"\xff\xff\x00\x00" +
            shell_link(local="C:\\x", relative=".\\target.txt")[0x4C + len(id_list()) + 20:],
        "bad_relative_count.lnk": shell_link(relative=".\\target.txt")[:-4][:-26] + b"\xff\xff" + b"ab",
        "empty.lnk": b"",
    }
    return good, damaged


def main(argv):
    if len(argv) == 3 and argv[1] == "--all":
        folder = Path(argv[2])
        folder.mkdir(parents=True, exist_ok=True)
        good, damaged = test_set()
        for name, data in {**good, **damaged}.items():
            (folder / name).write_bytes(data)
        (folder / "target.txt").write_bytes(b"The file the relative links point to.\n")
        return 0
    if len(argv) == 4 and argv[1] == "--local":
        Path(argv[3]).write_bytes(shell_link(local=argv[2], relative=None))
        return 0
    sys.stderr.write(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
