#!/usr/bin/env python3
"""Reads the summary information of a compound file with an outside reader and
prints one "key<TAB>value" line a property, UTF-8, dates as UTC
"YYYY-MM-DD HH:MM:SS".

    ole_oracle.py olefile <file>    every summary property olefile decodes
                                    (key: the property identifier)
    ole_oracle.py exiftool <file>   the properties exiftool reads
                                    (key: title, subject, author, ...)
"""
import datetime
import json
import os
import subprocess
import sys


def by_olefile(path):
    import olefile
    ole = olefile.OleFileIO(path)
    props = ole.getproperties("\x05SummaryInformation", convert_time=True, no_conversion=[10])
    codepage = props.get(1, 1252) & 0xFFFF
    encoding = "utf-8" if codepage == 65001 else "utf-16-le" if codepage == 1200 else "cp%d" % codepage
    for pid in sorted(props):
        if pid == 1:
            continue
        value = props[pid]
        if isinstance(value, bytes):
            if pid == 17:   # the thumbnail: no text
                continue
            text = value.decode(encoding).split("\0")[0]
        elif isinstance(value, datetime.datetime):
            text = value.strftime("%Y-%m-%d %H:%M:%S")
        elif isinstance(value, bool):
            text = "true" if value else "false"
        elif isinstance(value, int):
            if pid in (10, 11, 12, 13):   # file times that olefile left as numbers
                continue
            text = "%d" % value
        else:
            continue
        print("%d\t%s" % (pid, text))


def by_exiftool(path):
    keys = {"Title": "title", "Subject": "subject", "Author": "author", "Keywords": "keywords",
            "Comments": "comments", "LastModifiedBy": "lastAuthor", "CreateDate": "created",
            "ModifyDate": "lastSaved"}
    env = dict(os.environ, TZ="UTC")
    out = subprocess.run(["exiftool", "-j", "-charset", "utf8", "-d", "%Y-%m-%d %H:%M:%S"] +
                         ["-" + k for k in keys] + [path], capture_output=True, env=env, check=True).stdout
    for k, v in json.loads(out)[0].items():
        if k in keys:
            print("%s\t%s" % (keys[k], v))


if __name__ == "__main__":
    {"olefile": by_olefile, "exiftool": by_exiftool}[sys.argv[1]](sys.argv[2])
