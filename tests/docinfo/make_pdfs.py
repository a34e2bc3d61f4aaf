#!/usr/bin/python3
"""Writes the PDF test files of the document-information tests and what the two
outside readers (pdfinfo of poppler-utils, exiftool) say about each.

Real producers (python3-cairo, python3-reportlab, ghostscript's ps2pdf, qpdf)
make the ordinary files; the damaged and unusual ones are written by hand here.
data/pdf/oracle.tsv then holds, per file and property, what pdfinfo and exiftool
read, and the rule by which the library's reader differs where it does:

  (empty)         the reader delivers what the oracles deliver
  gives-up        a damaged file the reader does not repair: nothing delivered
  no-D-prefix     a date without "D:" is not a PDF date to the reader: unset
  octal-bom       a literal string whose mark is written as octal escapes is not
                  taken as UTF-16: each byte is one PDFDocEncoding character, and
                  the text stored in a variant ends at the first zero character
  raw-bom-x16     a literal string with a raw UTF-16 mark: each pair of bytes
                  gives first x 16 + second
  bad-xref-count  a table with a second subsection ends the reading
  info-highest    an Info object with the highest number has no end in the index
  tail-50         "startxref" not within the last 50 bytes

Dates are written as the oracles' wall time and zone ("2012-03-05T10:20:30+01:00");
the test applies the reader's zone rule (a shift of minutes x 24 seconds).
Run with the Debian python (the producers' modules live there):
  /usr/bin/python3 tests/docinfo/make_pdfs.py
"""
import json
import os
import re
import subprocess
import sys
import tempfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "data", "pdf")
FIELDS = ["Title", "Author", "Subject", "Keywords", "CreationDate", "ModDate"]

# ---------------------------------------------------------------- hand-made files


def pdf_string(text):
    """UTF-16BE hex string with its mark."""
    return "<FEFF" + text.encode("utf-16-be").hex().upper() + ">"


class Writer:
    """Objects in order with their offsets, then a classic table or a stream."""

    def __init__(self, header=b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n"):
        self.data = bytearray(header)
        self.offsets = {}

    def obj(self, num, body):
        self.offsets[num] = len(self.data)
        if isinstance(body, str):
            body = body.encode("latin-1")
        self.data += b"%d 0 obj\n" % num + body + b"\nendobj\n"

    def stream_obj(self, num, dict_text, raw):
        self.offsets[num] = len(self.data)
        self.data += b"%d 0 obj\n" % num + dict_text.encode("latin-1") + b"\nstream\n" + raw + b"\nendstream\nendobj\n"

    def table(self, first, count, trailer, offsets=None, shift=0):
        offsets = self.offsets if offsets is None else offsets
        pos = len(self.data)
        out = b"xref\n%d %d\n" % (first, count)
        for n in range(first, first + count):
            if n == 0:
                out += b"0000000000 65535 f \n"
            else:
                out += b"%010d 00000 n \n" % (offsets.get(n, 0) + shift)
        self.data += out + b"trailer\n" + trailer.encode("latin-1") + b"\n"
        return pos

    def end(self, startxref, tail=b""):
        self.data += b"startxref\n%d\n%%%%EOF\n" % startxref + tail
        return bytes(self.data)


def base_objects(w, info_num, info_body):
    w.obj(1, "<< /Type /Catalog /Pages 2 0 R >>")
    w.obj(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
    w.obj(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >>")
    if info_num:
        w.obj(info_num, info_body)


def simple(info_body, info_num=4, extra_after=True):
    w = Writer()
    base_objects(w, info_num, info_body)
    size = info_num + 1
    if extra_after:
        w.obj(size, "<< /Producer (hand) >>")
        size += 1
    pos = w.table(0, size, "<< /Size %d /Root 1 0 R /Info %d 0 R >>" % (size, info_num))
    return w.end(pos)


def png_up(rows, columns):
    out, prev = bytearray(), bytes(columns)
    for r in rows:
        out.append(2)
        out += bytes((a - b) & 0xFF for a, b in zip(r, prev))
        prev = r
    return bytes(out)


def xref_stream_file(info_body, hybrid=False):
    """Info packed into an object stream; the cross-reference a stream with the PNG Up predictor."""
    w = Writer(b"%PDF-1.5\n%\xe2\xe3\xcf\xd3\n")
    w.obj(1, "<< /Type /Catalog /Pages 2 0 R >>")
    w.obj(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
    w.obj(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >>")
    members = [(6, "<< /Producer (packed) >>"), (4, info_body)]
    head, body = "", ""
    for num, text in members:
        head += "%d %d " % (num, len(body))
        body += text + "\n"
    first = len(head)
    raw = zlib.compress((head + body).encode("latin-1"))
    w.stream_obj(5, "<< /Type /ObjStm /N %d /First %d /Length %d /Filter /FlateDecode >>" % (len(members), first, len(raw)), raw)
    xref_num = 7
    xref_pos = len(w.data)
    rows = [bytes([0, 0, 0, 255])]
    for n in range(1, 8):
        if n in (4, 6):
            rows.append(bytes([2, 0, 5, 1 if n == 4 else 0]))
        else:
            off = xref_pos if n == xref_num else w.offsets[n]
            rows.append(bytes([1, off >> 8 & 0xFF, off & 0xFF, 0]))
    data = zlib.compress(png_up(rows, 4))
    if not hybrid:
        w.stream_obj(xref_num, "<< /Type /XRef /Size 8 /W [1 2 1] /Root 1 0 R /Info 4 0 R /Filter /FlateDecode "
                     "/DecodeParms << /Columns 4 /Predictor 12 >> /Length %d >>" % len(data), data)
        return w.end(xref_pos)
    # A table for the plain objects 0 to 3 and a trailer pointing at the stream,
    # which has every object: the table's entries come first.
    w.stream_obj(xref_num, "<< /Type /XRef /Size 8 /W [1 2 1] /Filter /FlateDecode "
                 "/DecodeParms << /Columns 4 /Predictor 12 >> /Length %d >>" % len(data), data)
    table_pos = len(w.data)
    out = b"xref\n0 4\n0000000000 65535 f \n"
    for n in range(1, 4):
        out += b"%010d 00000 n \n" % w.offsets[n]
    w.data += out + b"trailer\n<< /Size 8 /Root 1 0 R /Info 4 0 R /XRefStm %d >>\n" % xref_pos
    return w.end(table_pos)


def incremental(multi_subsection=False):
    w = Writer()
    base_objects(w, 4, "<< /Title (Old title) /Author (First author) /CreationDate (D:20100101000000Z) >>")
    w.obj(5, "<< /Producer (hand) >>")
    first = w.table(0, 6, "<< /Size 6 /Root 1 0 R /Info 4 0 R >>")
    w.data += b"startxref\n%d\n%%%%EOF\n" % first
    # The update replaces object 4 (and adds 6 to keep 4 from being the highest).
    w.obj(4, "<< /Title (New title) /Author (First author) /CreationDate (D:20100101000000Z) "
          "/ModDate (D:20200202020202+02'00') >>")
    w.obj(6, "<< /Producer (update) >>")
    pos = len(w.data)
    if multi_subsection:
        out = b"xref\n0 1\n0000000000 65535 f \n4 1\n%010d 00000 n \n6 1\n%010d 00000 n \n" % (w.offsets[4], w.offsets[6])
    else:
        out = b"xref\n4 3\n%010d 00000 n \n%010d 00000 n \n%010d 00000 n \n" % (w.offsets[4], w.offsets[5], w.offsets[6])
    w.data += out + b"trailer\n<< /Size 7 /Root 1 0 R /Info 4 0 R /Prev %d >>\n" % first
    return w.end(pos)


def prev_loop():
    w = Writer()
    base_objects(w, 4, "<< /Title (Looping) /Author (Loop) >>")
    w.obj(5, "<< >>")
    pos = len(w.data)
    w.table(0, 6, "<< /Size 6 /Root 1 0 R /Info 4 0 R /Prev %d >>" % pos)
    return w.end(pos)


def wrong_offsets():
    w = Writer()
    base_objects(w, 4, "<< /Title (Shifted) >>")
    w.obj(5, "<< >>")
    pos = w.table(0, 6, "<< /Size 6 /Root 1 0 R /Info 4 0 R >>", shift=37)
    return w.end(pos)


def hand_made():
    files = {}
    files["hand_classic.pdf"] = (simple(
        "<< /Title (Ab\\(c\\) caf\\351 \\200 line\\nend) /Author " + pdf_string("Łukasz Żółć 😀") +
        " /Subject (Sub) /CreationDate (D:20120305102030+01'00') "
        "/ModDate (D:20230830235959-07'00') /Nested << /Deep << /X 1 >> >> /Trapped false >>"), {})
    # Values that are not strings: a name standing alone, an array as its raw text.
    files["hand_values.pdf"] = (simple(
        "<< /Title (Values) /Subject /Some#20Name /Keywords [(a) (b) % comment\n] /Count 12 >>"),
        {"Subject": "name-value=Some Name", "Keywords": "array-text=(a) (b) \n"})
    files["hand_dates_short.pdf"] = (simple(
        "<< /Title (Short dates) /CreationDate (D:201203) /ModDate (D:20201231) >>"), {})
    files["hand_dates_zones.pdf"] = (simple(
        "<< /Title (Zones) /CreationDate (D:20121231233000+05'30') /ModDate (D:20000229120000Z) >>"), {})
    files["hand_octal_bom.pdf"] = (simple("<< /Title (\\376\\377\\000A\\000B) /Author (Plain) >>"), {"Title": "octal-bom=\u00fe\u00ff"})
    files["hand_raw_bom.pdf"] = (simple(b"<< /Title (\xfe\xff\x00A\x00\xe9\x03\xa9) /Author (Plain) >>".decode("latin-1")),
                                 {"Title": "raw-bom-x16=A\u00e9\u00d9"})
    files["hand_incremental.pdf"] = (incremental(), {})
    files["hand_incremental_multi.pdf"] = (incremental(True), {"*": "bad-xref-count"})
    files["hand_prev_loop.pdf"] = (prev_loop(), {})
    files["hand_wrong_offsets.pdf"] = (wrong_offsets(), {"*": "gives-up"})
    files["hand_info_highest.pdf"] = (simple("<< /Title (Last object) >>", extra_after=False), {"*": "info-highest"})
    whole = simple("<< /Title (Cut) /Author (Cut) >>")
    files["hand_truncated.pdf"] = (whole[: len(whole) * 2 // 3], {"*": "gives-up"})
    files["hand_tail_far.pdf"] = (simple("<< /Title (Far) >>") + b"%" + b"x" * 60 + b"\n", {"*": "tail-50"})
    files["hand_objstm.pdf"] = (xref_stream_file("<< /Title " + pdf_string("Packed Ωmega") +
                                                 " /Author (Stream) /CreationDate (D:20210315083000-04'00') >>"), {})
    files["hand_hybrid.pdf"] = (xref_stream_file("<< /Title (Hybrid) /Subject (both kinds) "
                                                 "/ModDate (D:20190101000000+09'00') >>", hybrid=True), {})
    return files

# ---------------------------------------------------------------- real producers


def producers(tmp):
    files = {}
    import cairo
    path = os.path.join(tmp, "cairo.pdf")
    s = cairo.PDFSurface(path, 200, 200)
    s.set_metadata(cairo.PDF_METADATA_TITLE, "Jahresbericht Müller – Ωmega")
    s.set_metadata(cairo.PDF_METADATA_AUTHOR, "Zoë Ångström")
    s.set_metadata(cairo.PDF_METADATA_SUBJECT, "Cairo subject")
    s.set_metadata(cairo.PDF_METADATA_KEYWORDS, "alpha, beta")
    s.set_metadata(cairo.PDF_METADATA_CREATE_DATE, "2012-03-05T10:20:30+01:00")
    s.set_metadata(cairo.PDF_METADATA_MOD_DATE, "2019-07-14T23:59:01-05:30")
    c = cairo.Context(s)
    c.move_to(10, 50)
    c.show_text("cairo")
    c.show_page()
    s.finish()
    files["cairo.pdf"] = (open(path, "rb").read(), {"CreationDate": "no-D-prefix", "ModDate": "no-D-prefix"})

    from reportlab.pdfgen import canvas
    path = os.path.join(tmp, "reportlab.pdf")
    c = canvas.Canvas(path, invariant=1)
    c.setTitle("Bericht ÄÖÜ ß – “quoted”")
    c.setAuthor("Renée Œuvre")
    c.setSubject("ReportLab subject")
    c.setKeywords("k1 k2")
    c.drawString(100, 100, "reportlab")
    c.save()
    files["reportlab.pdf"] = (open(path, "rb").read(), {})

    ps = os.path.join(tmp, "t.ps")
    with open(ps, "w", encoding="latin-1") as f:
        f.write("%!PS\n[ /Title " + pdf_string("Körper ΩΩ") + " /Author (Jos\\351 Garc\\355a) /Subject (Ghost subject) "
                "/Keywords (gs, pdfmark) /CreationDate (D:20150101120000-08'00') /ModDate (D:20160606060606+05'30') "
                "/DOCINFO pdfmark\n/Helvetica findfont 12 scalefont setfont 72 72 moveto (Hello) show showpage\n")
    path = os.path.join(tmp, "ghostscript.pdf")
    subprocess.run(["ps2pdf", ps, path], check=True)
    # ghostscript writes UTF-16 titles as octal escapes.
    files["ghostscript.pdf"] = (open(path, "rb").read(), {"Title": "octal-bom=\u00fe\u00ff"})

    # qpdf rewrites: object streams (Info packed, the cross-reference a stream) and linearised.
    for src, name, args in [("reportlab.pdf", "qpdf_objstm.pdf", ["--object-streams=generate"]),
                            ("ghostscript.pdf", "qpdf_objstm_gs.pdf", ["--object-streams=generate"]),
                            ("ghostscript.pdf", "qpdf_linear.pdf", ["--linearize"])]:
        out = os.path.join(tmp, name)
        subprocess.run(["qpdf", "--deterministic-id", *args, os.path.join(tmp, src), out], check=True)
        files[name] = (open(out, "rb").read(), {})
    return files

def sample(tmp):
    """examples/docinfo/sample.pdf: a small real file with title, author and two dates."""
    ps = os.path.join(tmp, "sample.ps")
    with open(ps, "w", encoding="latin-1") as f:
        f.write("%!PS\n[ /Title (Quarterly report) /Author (Ann Example) /Subject (Sales figures) "
                "/Keywords (report, sales) /CreationDate (D:20240115093000Z) /ModDate (D:20240220174500Z) "
                "/DOCINFO pdfmark\n/Helvetica findfont 14 scalefont setfont 72 720 moveto (Quarterly report) show "
                "showpage\n")
    out = os.path.join(HERE, "..", "..", "examples", "docinfo", "sample.pdf")
    os.makedirs(os.path.dirname(out), exist_ok=True)
    subprocess.run(["ps2pdf", ps, out], check=True)

# ---------------------------------------------------------------- the oracles


def iso(date):
    """'2012-03-05T10:20:30+01' or exiftool's '2012:03:05 10:20:30+01:00' as '2012-03-05T10:20:30+01:00'."""
    if not date:
        return ""
    m = re.match(r"(\d{4})[-:](\d\d)[-:](\d\d)[T ](\d\d):(\d\d):(\d\d)(Z|[+-]\d\d(?::?\d\d)?)?$", date.strip())
    if not m:
        return "?" + date
    zone = m.group(7) or ""
    if zone == "Z":
        zone = "+00:00"
    elif zone and len(zone) == 3:
        zone += ":00"
    elif len(zone) == 5:
        zone = zone[:3] + ":" + zone[3:]
    return "%s-%s-%sT%s:%s:%s%s" % (m.group(1), m.group(2), m.group(3), m.group(4), m.group(5), m.group(6), zone)


def pdfinfo(path):
    r = subprocess.run(["pdfinfo", "-isodates", "-enc", "UTF-8", path], capture_output=True)
    if r.returncode != 0:
        return None
    out = {}
    for line in r.stdout.decode("utf-8", "replace").splitlines():
        key, _, value = line.partition(":")
        if key in FIELDS:
            out[key] = value.strip()
    out["CreationDate"] = iso(out.get("CreationDate", ""))
    out["ModDate"] = iso(out.get("ModDate", ""))
    return out


def exiftool(path):
    r = subprocess.run(["exiftool", "-j", "-sep", ", ", "-Title", "-Author", "-Subject", "-Keywords", "-CreateDate",
                        "-ModifyDate", "-Error", path], capture_output=True)
    try:
        d = json.loads(r.stdout)[0]
    except (ValueError, IndexError):
        return None
    if "Error" in d:
        return None
    out = {k: str(d.get(k, "")) for k in ("Title", "Author", "Subject", "Keywords")}
    out["CreationDate"] = iso(str(d.get("CreateDate", "")))
    out["ModDate"] = iso(str(d.get("ModifyDate", "")))
    return out


def clean(text):
    return text.replace("\\", "\\\\").replace("\0", "\\0").replace("\t", "\\t").replace("\n", "\\n").replace("\r", "\\r")


def oracle_rows(name, path, rules):
    info, exif = pdfinfo(path), exiftool(path)
    rows = [(name, "status", "read" if info else "refused", "read" if exif else "refused", rules.get("*", ""))]
    for field in FIELDS:
        rule = rules.get(field, rules.get("*", ""))
        rows.append((name, field, info.get(field, "") if info else "", exif.get(field, "") if exif else "", rule))
    return rows


def main():
    os.makedirs(OUT, exist_ok=True)
    files = hand_made()
    with tempfile.TemporaryDirectory() as tmp:
        files.update(producers(tmp))
        sample(tmp)
    rows = []
    for name in sorted(files):
        data, rules = files[name]
        path = os.path.join(OUT, name)
        with open(path, "wb") as f:
            f.write(data)
        rows += oracle_rows(name, path, rules)
    with open(os.path.join(OUT, "oracle.tsv"), "w", encoding="utf-8", newline="\n") as f:
        f.write("# file\tproperty\tpdfinfo\texiftool\trule (see make_pdfs.py)\n")
        for row in rows:
            f.write("\t".join(clean(x) for x in row) + "\n")
    print("wrote %d files" % len(files))


if __name__ == "__main__":
    sys.exit(main())
