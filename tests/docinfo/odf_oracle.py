#!/usr/bin/env python3
"""Judges the office-package reader by outside readers.

Runs test_docinfo's OdfOracle.Dump (what our reader gives for the office
suite's files), then reads the same files with python's zipfile and
xml.etree, and with exiftool where it is installed, and compares every
property both know. The zone is UTC, so local times equal UTC here.
Usage: odf_oracle.py <test_docinfo>
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile
import xml.etree.ElementTree as ET
from datetime import datetime, timedelta

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, 'data', 'odf')
NS = {
    'office': 'urn:oasis:names:tc:opendocument:xmlns:office:1.0',
    'meta': 'urn:oasis:names:tc:opendocument:xmlns:meta:1.0',
    'dc': 'http://purl.org/dc/elements/1.1/',
    'dcterms': 'http://purl.org/dc/terms/',
    'cp': 'http://schemas.openxmlformats.org/package/2006/metadata/core-properties',
}


def stamp(text):
    """ISO 8601 to UTC as the reader does: an offset applies, a "Z" or nothing is local (UTC here)."""
    if not text:
        return 'unset'
    m = re.match(r'(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)(?:[.,]\d+)?(Z|([+-])(\d\d):(\d\d))?$', text)
    t = datetime(*map(int, m.groups()[:3])) + timedelta(hours=int(m[4]), minutes=int(m[5]), seconds=int(m[6]))
    if m[8]:
        delta = timedelta(hours=int(m[9]), minutes=int(m[10]))
        t = t - delta if m[8] == '+' else t + delta
    return t.strftime('%Y-%m-%d %H:%M:%S')


def loose_keywords(xml):
    """The stored form's rule for loose <meta:keyword> elements (ODF has no
    <meta:keywords> around them): the first capture of a dot-all, ungreedy
    "<meta:keyword>(.*?)</meta:keyword>", whose "?" the ungreedy option turns
    greedy, so several elements come as one text from the first opening tag to
    the last closing one. XML references are resolved in it."""
    m = re.search(r'<meta:keyword>(.*)</meta:keyword>', xml, re.S)
    if not m:
        return ''
    text = m[1]
    for ref, ch in (('&lt;', '<'), ('&gt;', '>'), ('&quot;', '"'), ('&apos;', "'"), ('&amp;', '&')):
        text = text.replace(ref, ch)
    return text


def by_python(path):
    with zipfile.ZipFile(path) as z:
        names = {n.lower(): n for n in z.namelist()}
        if 'meta.xml' in names:
            raw = z.read(names['meta.xml'])
            meta = ET.fromstring(raw).find('office:meta', NS)
            text = lambda tag: (meta.findtext(tag, default='', namespaces=NS) or '')
            return {'title': text('dc:title'), 'subject': text('dc:subject'),
                    'author': text('meta:initial-creator'), 'lastAuthor': text('dc:creator'),
                    'comments': text('dc:description'),
                    'keywords': loose_keywords(raw.decode('utf-8')),
                    'created': stamp(text('meta:creation-date')), 'lastSaved': stamp(text('dc:date'))}
        core = ET.fromstring(z.read(names['docprops/core.xml']))
        text = lambda tag: (core.findtext(tag, default='', namespaces=NS) or '')
        return {'title': text('dc:title'), 'subject': text('dc:subject'), 'author': text('dc:creator'),
                'lastAuthor': text('cp:lastModifiedBy'), 'comments': text('dc:description'),
                'keywords': text('cp:keywords'), 'created': stamp(text('dcterms:created')),
                'lastSaved': stamp(text('dcterms:modified'))}


def by_exiftool(paths):
    """The properties exiftool reads, in our names; {} per file without it."""
    if not shutil.which('exiftool'):
        return {p: {} for p in paths}
    out = subprocess.run(['exiftool', '-j', '-charset', 'UTF8'] + paths, check=True, capture_output=True).stdout
    result = {}
    for row in json.loads(out):
        odf = row['SourceFile'].endswith(('.odt', '.ods', '.odp'))
        mine = {}
        for tag, name in (('Title', 'title'), ('Subject', 'subject'), ('Description', 'comments'),
                          ('Creator', 'lastAuthor' if odf else 'author'), ('LastModifiedBy', 'lastAuthor')):
            if tag in row:
                mine[name] = str(row[tag])
        if not odf and 'Keywords' in row:
            mine['keywords'] = str(row['Keywords'])
        for tag, name in (('CreateDate', 'created'), ('ModifyDate', 'lastSaved'), ('Date', 'lastSaved')):
            if tag in row:
                mine[name] = stamp(str(row[tag]).replace(':', '-', 2).replace(' ', 'T'))
        result[row['SourceFile']] = mine
    return result


def main():
    with tempfile.TemporaryDirectory() as work:
        dump = os.path.join(work, 'dump.txt')
        env = dict(os.environ, ZXUT_ODF_DUMP=dump, TZ='UTC')
        subprocess.run([sys.argv[1], '--gtest_filter=OdfOracle.Dump', '--gtest_brief=1'], env=env, check=True)
        ours = {}
        with open(dump, encoding='utf-8') as f:
            for line in f:
                leaf, field, value = line.rstrip('\n').split('|', 2)
                ours.setdefault(leaf, {})[field] = value
    if len(ours) < 6:
        sys.exit('the dump holds %d files' % len(ours))
    paths = [os.path.join(DATA, leaf) for leaf in sorted(ours)]
    tool = by_exiftool(paths)
    failures = compared = 0
    for leaf, path in zip(sorted(ours), paths):
        got = ours[leaf]
        if got.pop('result') != '0':
            print('%s: result is not 0' % leaf)
            failures += 1
        for judge, want in (('zipfile+etree', by_python(path)), ('exiftool', tool[path])):
            for field, value in want.items():
                compared += 1
                if got.get(field) != value:
                    print('%s %s: ours %r, %s %r' % (leaf, field, got.get(field), judge, value))
                    failures += 1
    print('%d comparisons, %d differences' % (compared, failures))
    sys.exit(1 if failures else 0)


if __name__ == '__main__':
    main()
