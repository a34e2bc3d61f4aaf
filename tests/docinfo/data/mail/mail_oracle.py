#!/usr/bin/env python3
"""Python's email package as the judge of the mail header reader.

  mail_oracle.py --import DIR   copies the test messages of Python's own email
                                tests (Debian: libpython3.11-testsuite) into
                                DIR/corpus with CR LF line ends, as mail files are
                                stored on Windows
  mail_oracle.py --write DIR    writes DIR/corpus.json: for every DIR/corpus/*.eml
                                the From, To, Subject and Date fields as Python reads
                                them (decode_header and make_header; dates by
                                parsedate_tz, in UTC)
  mail_oracle.py --check DIR    the same, compared with the file (exit 1 on a change)

The test program compares the reader's fields with corpus.json; where the
reader's rules differ from Python's, it names the rule.
"""
import email
import email.header
import email.utils
import glob
import json
import os
import sys
from datetime import datetime, timezone

PACKAGE_DATA = "/usr/lib/python3.11/test/test_email/data"


def decoded(value):
    if value is None:
        return None
    text = str(value).replace("\r\n", "").replace("\n", "")  # RFC 5322 unfolding
    try:
        return str(email.header.make_header(email.header.decode_header(text)))
    except (LookupError, UnicodeError, email.errors.HeaderParseError):
        return None


def utc(value):
    if value is None:
        return None
    t = email.utils.parsedate_tz(str(value))
    if t is None or t[0] < 1601:
        return None
    try:
        stamp = email.utils.mktime_tz(t)
        return datetime.fromtimestamp(stamp, timezone.utc).strftime("%Y-%m-%d %H:%M:%S")
    except (OverflowError, ValueError, OSError):
        return None


def fields(path):
    with open(path, "rb") as f:
        msg = email.message_from_bytes(f.read()[:65536])
    return {"author": decoded(msg.get("From")), "lastAuthor": decoded(msg.get("To")),
            "title": decoded(msg.get("Subject")), "created": utc(msg.get("Date"))}


def table(folder):
    out = {}
    for path in sorted(glob.glob(os.path.join(folder, "corpus", "*.eml"))):
        out[os.path.basename(path)] = fields(path)
    return out


def imported(folder):
    """The package's messages with CR LF line ends, by their names in corpus/."""
    out = {}
    for path in sorted(glob.glob(os.path.join(PACKAGE_DATA, "msg_*.txt"))):
        with open(path, "rb") as f:
            out["py_" + os.path.basename(path)[:-4] + ".eml"] = f.read().replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
    return out


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("--import", "--write", "--check"):
        print(__doc__)
        return 2
    folder = sys.argv[2]
    if sys.argv[1] == "--import":
        for name, data in imported(folder).items():
            with open(os.path.join(folder, "corpus", name), "wb") as f:
                f.write(data)
        return 0
    result = json.dumps(table(folder), indent=1, ensure_ascii=True, sort_keys=True) + "\n"
    target = os.path.join(folder, "corpus.json")
    if sys.argv[1] == "--write":
        with open(target, "w", newline="\n") as f:
            f.write(result)
        return 0
    for name, data in imported(folder).items():   # where the package is installed
        with open(os.path.join(folder, "corpus", name), "rb") as f:
            if f.read() != data:
                print("corpus/%s differs from the package's message" % name)
                return 1
    with open(target) as f:
        if f.read() != result:
            print("corpus.json is not what Python's email package reads; run --write")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
