#!/usr/bin/env python3
"""Writes the office-package test files of this folder.

Real files (--real): flat ODF sources with known properties, converted by an
office suite running headless (`soffice --headless --convert-to`, from the
libreoffice-*-nogui packages) to odt/docx, ods/xlsx, odp/pptx and the older
Word XML form. Only this script needs the suite; the results are committed.
Hand-made files (always): the edge cases and damaged archives, from python's
zipfile and raw bytes.
"""
import io
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))

NS = ('xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" '
      'xmlns:meta="urn:oasis:names:tc:opendocument:xmlns:meta:1.0" '
      'xmlns:dc="http://purl.org/dc/elements/1.1/" '
      'xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" '
      'xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" '
      'xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0" '
      'xmlns:presentation="urn:oasis:names:tc:opendocument:xmlns:presentation:1.0"')

BODIES = {
    'text': '<office:text><text:p>Hello</text:p></office:text>',
    'spreadsheet': '<office:spreadsheet><table:table table:name="S"><table:table-row>'
                   '<table:table-cell><text:p>1</text:p></table:table-cell>'
                   '</table:table-row></table:table></office:spreadsheet>',
    'presentation': '<office:presentation><draw:page draw:name="p1"/></office:presentation>',
}

# name, kind, flat extension, targets, properties
REAL = [
    ('writer', 'text', 'fodt', ['odt', 'docx', 'xml:MS Word 2003 XML'],
     dict(title='Quarterly Report &amp; Plan', subject='Finance', description='Reviewed by the board',
          initial='Ann Author', creator='Bob Editor', created='2012-03-05T10:20:30',
          date='2013-04-06T11:21:31', keywords=['alpha', 'beta', 'gamma'])),
    ('calc', 'spreadsheet', 'fods', ['ods', 'xlsx'],
     dict(title='Caf\u00e9 \u00dcbersicht \u20ac', subject='Zahlen', description='Zeile 1',
          initial='J\u00fcrgen', creator='Zo\u00eb', created='2014-07-08T09:10:11',
          date='2015-01-02T03:04:05', keywords=['one'])),
    ('impress', 'presentation', 'fodp', ['odp', 'pptx'],
     dict(title='Slides', subject='Talk', description='Two &lt;lines&gt;',
          initial='Carol', creator='Dave', created='2016-02-29T23:59:58',
          date='2016-03-01T00:00:01', keywords=['x', 'y'])),
]


def flat_odf(kind, p):
    keywords = ''.join('<meta:keyword>%s</meta:keyword>' % k for k in p['keywords'])
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<office:document %s office:version="1.3" '
            'office:mimetype="application/vnd.oasis.opendocument.%s"><office:meta>'
            '<dc:title>%s</dc:title><dc:subject>%s</dc:subject><dc:description>%s</dc:description>'
            '<meta:initial-creator>%s</meta:initial-creator><dc:creator>%s</dc:creator>'
            '<meta:creation-date>%s</meta:creation-date><dc:date>%s</dc:date>%s</office:meta>'
            '<office:body>%s</office:body></office:document>\n'
            % (NS, kind, p['title'], p['subject'], p['description'], p['initial'], p['creator'],
               p['created'], p['date'], keywords, BODIES[kind]))


def make_real():
    soffice = shutil.which('soffice')
    if not soffice:
        sys.exit('soffice not found: install libreoffice-writer-nogui, -calc-nogui, -impress-nogui')
    with tempfile.TemporaryDirectory() as work:
        for name, kind, ext, targets, props in REAL:
            src = os.path.join(work, '%s.%s' % (name, ext))
            with open(src, 'w', encoding='utf-8') as f:
                f.write(flat_odf(kind, props))
            for target in targets:
                subprocess.run([soffice, '-env:UserInstallation=file://%s/profile' % work, '--headless',
                                '--convert-to', target, '--outdir', work, src],
                               check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                out_ext = target.split(':')[0]
                out = os.path.join(work, '%s.%s' % (name, out_ext))
                leaf = 'real_%s.%s' % (name, 'word2003.xml' if out_ext == 'xml' else out_ext)
                shutil.copy(out, os.path.join(HERE, leaf))


def zip_bytes(entries, comment=b''):
    """entries: (name, bytes, method) in order; mimetype first as packages have it."""
    buf = io.BytesIO()
    with zipfile.ZipFile(buf, 'w') as z:
        for name, data, method in entries:
            z.writestr(zipfile.ZipInfo(name, (2012, 3, 5, 10, 20, 30)), data, compress_type=method)
        z.comment = comment
    return buf.getvalue()


D, S = zipfile.ZIP_DEFLATED, zipfile.ZIP_STORED
META_HEAD = ('<?xml version="1.0" encoding="UTF-8"?>\n<office:document-meta %s office:version="1.3">'
             '<office:meta>' % NS)
META_TAIL = '</office:meta></office:document-meta>'
CORE_HEAD = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<cp:coreProperties '
             'xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" '
             'xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" '
             'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">')
CORE_TAIL = '</cp:coreProperties>'


def odf(meta, name='meta.xml', method=D, comment=b''):
    return zip_bytes([('mimetype', b'application/vnd.oasis.opendocument.text', S),
                      ('content.xml', b'<office:document-content/>', D),
                      (name, (META_HEAD + meta + META_TAIL).encode('utf-8'), method)], comment)


def ooxml(core, method=D):
    return zip_bytes([('[Content_Types].xml', b'<Types/>', D),
                      ('docProps/core.xml', core.encode('utf-8'), method),
                      ('word/document.xml', b'<w:document/>', D)])


def central_offset(data):
    return struct.unpack_from('<I', data, len(data) - 22 + 16)[0]


def patch_central(data, name, offset_in_entry, fmt, value):
    """Patches a field of the central entry of `name`."""
    at = central_offset(data)
    while data[at:at + 4] == b'PK\x01\x02':
        n, e, c = struct.unpack_from('<HHH', data, at + 28)
        if data[at + 46:at + 46 + n] == name.encode():
            b = bytearray(data)
            struct.pack_into(fmt, b, at + offset_in_entry, value)
            return bytes(b)
        at += 46 + n + e + c
    raise KeyError(name)


def patch_local(data, name, offset_in_header, fmt, value):
    at = central_offset(data)
    while data[at:at + 4] == b'PK\x01\x02':
        n, e, c = struct.unpack_from('<HHH', data, at + 28)
        if data[at + 46:at + 46 + n] == name.encode():
            local = struct.unpack_from('<I', data, at + 42)[0]
            b = bytearray(data)
            struct.pack_into(fmt, b, local + offset_in_header, value)
            return bytes(b)
        at += 46 + n + e + c
    raise KeyError(name)


BASIC_META = ('<dc:title>T</dc:title><meta:initial-creator>A</meta:initial-creator>'
              '<dc:creator>L</dc:creator><meta:creation-date>2012-03-05T10:20:30+01:00</meta:creation-date>')
BOMB = ('<?xml version="1.0"?>\n<!DOCTYPE lolz [<!ENTITY lol "lol">'
        + ''.join('<!ENTITY lol%d "%s">' % (i, ('&lol%d;' % (i - 1) if i else '&lol;') * 10) for i in range(10))
        + ']>\n<pkg:package xmlns:pkg="p"><pkg:part><cp:coreProperties xmlns:cp="c" xmlns:dc="d">'
        '<dc:title>&lol9;</dc:title></cp:coreProperties></pkg:part></pkg:package>\n')
FLAT_OPC = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
            '<pkg:package xmlns:pkg="http://schemas.microsoft.com/office/2006/xmlPackage"><pkg:part '
            'pkg:name="/docProps/core.xml"><pkg:xmlData>' + CORE_HEAD[CORE_HEAD.index('<cp:'):] +
            '<dc:title>Flat &amp; packaged</dc:title><dc:creator>Erin</dc:creator>'
            '<cp:lastModifiedBy>Finn</cp:lastModifiedBy><dc:subject>Sub</dc:subject>'
            '<cp:keywords>k1</cp:keywords><meta:keywords xmlns:meta="m"><meta:keyword>k2</meta:keyword>'
            '<meta:keyword>k3</meta:keyword></meta:keywords>'
            '<dcterms:created xsi:type="dcterms:W3CDTF">2012-03-05T10:20:30+01:00</dcterms:created>'
            '<dcterms:modified xsi:type="dcterms:W3CDTF">2012-03-05T24:00:00-02:00</dcterms:modified>'
            '<dc:description><![CDATA[a <b> c]]></dc:description>'
            + CORE_TAIL + '</pkg:xmlData></pkg:part></pkg:package>\n')


def make_handmade():
    files = {}
    files['edge_comment.odt'] = odf(BASIC_META, comment=b'archive comment')
    files['edge_upper.odt'] = odf(BASIC_META, name='META.XML')
    files['edge_stored.odt'] = odf(BASIC_META, method=S)
    files['edge_empty_core.docx'] = ooxml('')
    files['edge_dates.docx'] = ooxml(CORE_HEAD +
        '<dcterms:created xsi:type="dcterms:W3CDTF">2012-03-05T10:20:30+01:00</dcterms:created>'
        '<dcterms:modified xsi:type="dcterms:W3CDTF">2012-03-05T24:00:00+00:00</dcterms:modified>'
        '<dc:creator>Z\u00e9</dc:creator>' + CORE_TAIL)
    files['edge_keywords.odt'] = odf('<meta:keywords><meta:keyword>a</meta:keyword><meta:keyword>b'
                                     '</meta:keyword><meta:keyword>c</meta:keyword></meta:keywords>')
    files['edge_latin1.odt'] = zip_bytes([('meta.xml', ('<?xml version="1.0" encoding="iso-8859-1"?>\n'
        '<office:document-meta><office:meta><dc:title>Gr\u00fc\u00dfe</dc:title></office:meta>'
        '</office:document-meta>').encode('latin-1'), D)])
    files['edge_first_wins.zip'] = zip_bytes([('docProps/core.xml', (CORE_HEAD + '<dc:title>core</dc:title>'
        + CORE_TAIL).encode(), D), ('meta.xml', (META_HEAD + '<dc:title>meta</dc:title>' + META_TAIL).encode(), D)])
    # Damaged and hostile packages.
    files['bad_no_docprops.docx'] = zip_bytes([('[Content_Types].xml', b'<Types/>', D),
                                               ('word/document.xml', b'<w:document/>', D)])
    good = odf(BASIC_META)
    cd = central_offset(good)
    end = good[-22:]
    files['bad_truncated_cd.odt'] = good[:cd + 60] + end        # the directory cut after one entry
    files['bad_cd_offset.odt'] = good[:-6] + struct.pack('<I', len(good) + 100) + good[-2:]
    files['bad_tiny.odt'] = b'PK\x05\x06'
    files['bad_local_header.odt'] = patch_central(good, 'meta.xml', 42, '<I', 3)
    files['bad_method.odt'] = patch_local(good, 'meta.xml', 8, '<H', 12)
    files['bad_descriptor_flag.odt'] = patch_central(odf(BASIC_META, method=S), 'meta.xml', 8, '<H', 0x80)
    files['bad_dtd_core.docx'] = ooxml('<?xml version="1.0"?>\n<!DOCTYPE cp:coreProperties [<!ENTITY x SYSTEM '
        '"file:///etc/passwd">]>\n' + CORE_HEAD[CORE_HEAD.index('<cp:'):] + '<dc:title>&x;</dc:title>'
        '<dc:creator>Dee</dc:creator>' + CORE_TAIL)
    files['bad_bomb_core.docx'] = ooxml(BOMB)
    # 20 MiB of blanks inside the block: a few KiB deflated.
    files['bad_deflate_bomb.odt'] = odf('<dc:title>big</dc:title>' + ' ' * (20 << 20))
    files['bad_garbage_deflate.odt'] = patch_local(odf(BASIC_META, method=S), 'meta.xml', 8, '<H', 8)
    # .xml documents.
    files['xml_flat_opc.xml'] = FLAT_OPC.encode('utf-8')
    files['xml_shallow.xml'] = (CORE_HEAD + '<dc:title>ignored</dc:title><o:DocumentProperties '
        'xmlns:o="urn:schemas-microsoft-com:office:office"><o:Author>Gil &#38;#72;i</o:Author>'
        '<o:Created>2012-03-05T10:20:30+01:00</o:Created></o:DocumentProperties>' + CORE_TAIL).encode()
    files['xml_cp1252.xml'] = FLAT_OPC.replace('encoding="UTF-8"', 'encoding="windows-1252"').replace(
        'Flat &amp; packaged', 'Caf\u00e9 \u20ac').encode('cp1252')
    files['xml_bomb.xml'] = BOMB.encode()
    files['xml_external.xml'] = ('<?xml version="1.0"?>\n<!DOCTYPE a [<!ENTITY x SYSTEM "file:///etc/passwd">]>\n'
                                 '<a><b><cp:coreProperties><dc:title>&x;</dc:title></cp:coreProperties></b></a>\n').encode()
    files['xml_malformed.xml'] = b'<a><b><cp:coreProperties><dc:title>x</dc:title></b></a>'
    files['xml_plain_dtd.xml'] = ('<?xml version="1.0"?>\n<!DOCTYPE a [<!ELEMENT a ANY>]>\n<a><b>'
                                  '<cp:coreProperties><dc:title>with dtd</dc:title></cp:coreProperties></b></a>\n').encode()
    for name, data in files.items():
        with open(os.path.join(HERE, name), 'wb') as f:
            f.write(data)


if __name__ == '__main__':
    if '--real' in sys.argv:
        make_real()
    make_handmade()
