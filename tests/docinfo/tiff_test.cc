// The TIFF and JPEG readers: directories built here byte by byte in both byte
// orders, the EXIF block of a JPEG, damaged directories, and the committed
// files written by exiftool (whose every field the image oracle compares with
// exiftool's own reading, tests/docinfo/image_oracle.py).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bytes_file_test_util.h"
#include "docinfo/DocReaders.h"
#include "docinfo/TiffReader.h"

namespace zx {
namespace {

using zxtest::BytesFile;
using zxtest::DateText;
using zxtest::NewDoc;
using zxtest::Utf8Of;

// A TIFF image in memory: directories of entries, their out-of-line values
// placed behind them. Offsets count from the TIFF header.
class TiffBuilder {
 public:
  struct Entry {
    uint16_t tag, type;
    uint32_t count;
    std::string data;   // the value bytes in file order; more than 4 go out of line
  };
  explicit TiffBuilder(bool big) : big_(big) {}

  std::string U16(uint32_t v) const {
    std::string s(2, '\0');
    s[big_ ? 0 : 1] = char(v >> 8);
    s[big_ ? 1 : 0] = char(v);
    return s;
  }
  std::string U32(uint32_t v) const {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i) s[big_ ? 3 - i : i] = char(v >> (8 * i));
    return s;
  }
  std::string Rational(uint32_t num, uint32_t den) const { return U32(num) + U32(den); }
  Entry Short(uint16_t tag, uint32_t v) const { return {tag, 3, 1, U16(v) + std::string(2, '\0')}; }
  Entry Long(uint16_t tag, uint32_t v) const { return {tag, 4, 1, U32(v)}; }
  Entry Ascii(uint16_t tag, const std::string& text) const {
    return {tag, 2, uint32_t(text.size() + 1), text + std::string(1, '\0')};
  }
  Entry Rat(uint16_t tag, uint32_t num, uint32_t den) const { return {tag, 5, 1, Rational(num, den)}; }

  // Directories in a chain; `sub` (if any) hangs on the first directory's
  // entry of tag 34665, whose value is filled in here.
  std::string Build(const std::vector<std::vector<Entry>>& chain, const std::vector<Entry>* sub = nullptr) const {
    std::string out = (big_ ? "MM" : "II") + U16(42) + U32(8);
    std::vector<size_t> nextFields;
    size_t subField = 0;
    for (size_t d = 0; d < chain.size(); ++d) {
      if (d > 0) PutU32(out, nextFields.back(), uint32_t(out.size()));
      nextFields.push_back(Directory(out, chain[d], &subField));
    }
    if (sub) {
      PutU32(out, subField, uint32_t(out.size()));
      size_t ignored;
      Directory(out, *sub, &ignored);
    }
    return out;
  }

  void PutU32(std::string& out, size_t at, uint32_t v) const { out.replace(at, 4, U32(v)); }

 private:
  // Appends a directory and its values; the place of its next-offset field.
  size_t Directory(std::string& out, const std::vector<Entry>& entries, size_t* subField) const {
    const size_t start = out.size();
    size_t values = start + 2 + entries.size() * 12 + 4;
    std::string tail;
    out += U16(uint32_t(entries.size()));
    for (const Entry& e : entries) {
      out += U16(e.tag) + U16(e.type) + U32(e.count);
      if (e.tag == 34665) *subField = out.size();
      if (e.data.size() > 4) {
        out += U32(uint32_t(values + tail.size()));
        tail += e.data;
      } else {
        out += e.data + std::string(4 - e.data.size(), '\0');
      }
    }
    const size_t next = out.size();
    out += U32(0) + tail;
    return next;
  }
  bool big_;
};

// A JPEG with the TIFF block in its first APP1 segment (after an APP0).
std::string Jpeg(const std::string& tiff, const std::string& head = "Exif") {
  std::string app0 = std::string("\xFF\xE0\x00\x10JFIF\0\x01\x01\0\0\x01\0\x01\0\0", 18);
  const std::string body = head + std::string(2, '\0') + tiff;
  const size_t len = body.size() + 2;
  std::string app1 = std::string("\xFF\xE1") + char(len >> 8) + char(len & 0xFF) + body;
  return std::string("\xFF\xD8") + app0 + app1 + std::string("\xFF\xD9");
}

struct Read {
  int result;
  clsDocu doc = NewDoc();
};

Read ReadWith(DocFileReader reader, const std::string& bytes) {
  Read r{0};
  auto file = BytesFile(bytes);
  r.result = reader(r.doc, *file);
  return r;
}
Read ReadJpeg(const std::string& bytes) { return ReadWith(ReadJpegInfo, bytes); }
Read ReadTiffBytes(const std::string& bytes) { return ReadWith(ReadTiffInfo, bytes); }

TEST(TiffReader, ShootingDataFormsAndSize) {
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "big-endian" : "little-endian");
    TiffBuilder b(big);
    std::vector<TiffBuilder::Entry> exif = {b.Rat(33434, 1, 250), b.Rat(33437, 28, 10)};
    const std::vector<TiffBuilder::Entry> ifd0 = {b.Short(256, 640), b.Short(257, 480), b.Long(34665, 0)};
    Read r = ReadJpeg(Jpeg(b.Build({ifd0}, &exif)));
    EXPECT_EQ(0, r.result);
    // "%.1g" keeps one digit: 2.8 shows as 3; the size keeps its own separator.
    EXPECT_EQ("t=1/250 s, f=3, , (640 * 480 px)", Utf8Of(r.doc.comments));

    exif = {b.Rat(33434, 2, 1), b.Rat(37382, 1234, 1000)};
    r = ReadJpeg(Jpeg(b.Build({{b.Long(34665, 0)}}, &exif)));
    EXPECT_EQ("t=2 s, d=1.23 m", Utf8Of(r.doc.comments));
  }
}

TEST(TiffReader, ExifDirectoryOnlyInsideJpeg) {
  TiffBuilder b(false);
  std::vector<TiffBuilder::Entry> exif = {b.Rat(33434, 1, 60), b.Ascii(36867, "2010:06:07 08:09:10")};
  const std::string tiff = b.Build({{b.Ascii(306, "2001:02:03 04:05:06"), b.Long(34665, 0)}}, &exif);
  Read inJpeg = ReadJpeg(Jpeg(tiff));
  EXPECT_EQ("t=1/60 s", Utf8Of(inJpeg.doc.comments));
  EXPECT_EQ("2010-06-07 08:09:10", DateText(inJpeg.doc.created));   // the later tag wins
  EXPECT_EQ(0xFFFF, inJpeg.doc.created.dayOfWeek);
  Read plain = ReadTiffBytes(tiff);
  EXPECT_EQ(0, plain.result);
  EXPECT_EQ("", Utf8Of(plain.doc.comments));
  EXPECT_EQ("2001-02-03 04:05:06", DateText(plain.doc.created));
}

TEST(TiffReader, TextTagsAndTheirOrder) {
  for (bool big : {false, true}) {
    TiffBuilder b(big);
    Read r = ReadTiffBytes(b.Build({{b.Short(256, 8), b.Short(257, 6), b.Ascii(269, "Doc name"),
                                     b.Ascii(270, "Abc"),          // up to 4 bytes: in the entry
                                     b.Ascii(272, "Model 1"), b.Ascii(315, "Ann"), b.Ascii(33432, "(c) Ann"),
                                     b.Ascii(37510, "not taken: subject is set")}}));
    EXPECT_EQ("Doc name", Utf8Of(r.doc.title));
    EXPECT_EQ("Abc", Utf8Of(r.doc.subject));
    EXPECT_EQ("Ann", Utf8Of(r.doc.author));   // the artist replaces the model before it
    EXPECT_EQ("(c) Ann, , (8 * 6 px)", Utf8Of(r.doc.comments));
    // The model behind an artist is appended; a user comment fills an empty subject.
    r = ReadTiffBytes(b.Build({{b.Ascii(315, "Ann"), b.Ascii(272, "Cam"), b.Ascii(37510, "Note")}}));
    EXPECT_EQ("Ann, Cam", Utf8Of(r.doc.author));
    EXPECT_EQ("Note", Utf8Of(r.doc.subject));
    // Of type 7 (as the standard has it) the user comment is empty text.
    r = ReadTiffBytes(b.Build({{{37510, 7, 8, std::string("ASCII\0\0\0", 8)}}}));
    EXPECT_EQ("", Utf8Of(r.doc.subject));
  }
}

TEST(TiffReader, CopyrightReplacesShootingData) {
  TiffBuilder b(false);
  Read r = ReadTiffBytes(b.Build({{b.Rat(33434, 1, 100), b.Ascii(33432, "(c)")}}));
  EXPECT_EQ("(c)", Utf8Of(r.doc.comments));
}

TEST(TiffReader, RationalTypes) {
  TiffBuilder b(false);
  // A signed rational reads half of its count's bytes: a count of 1 is the
  // numerator alone (value 0, nothing appended), a count of 2 the whole value.
  const std::string r1 = b.Rational(uint32_t(-5), uint32_t(-2));
  Read r = ReadTiffBytes(b.Build({{{37382, 10, 1, r1}}}));
  EXPECT_EQ("", Utf8Of(r.doc.comments));
  r = ReadTiffBytes(b.Build({{{37382, 10, 2, r1}}}));
  EXPECT_EQ("d=2.5 m", Utf8Of(r.doc.comments));
  zxsupport::DiagCapture diag;
  r = ReadTiffBytes(b.Build({{b.Short(33437, 4)}}));   // not a rational
  EXPECT_EQ("", Utf8Of(r.doc.comments));
  EXPECT_TRUE(diag.Contains(u"bad TIFF data type"));
  r = ReadTiffBytes(b.Build({{b.Rat(33437, 4, 0), b.Rat(33434, 0, 5)}}));   // zero: nothing
  EXPECT_EQ("", Utf8Of(r.doc.comments));
}

TEST(TiffReader, DatesOfOneFormOnly) {
  TiffBuilder b(true);
  for (const char* odd : {"2012:03:05 10:20", "2012-03-05 10:20:30", "    :  :     :  :  ", "12:03:05 10:20:30"}) {
    Read r = ReadTiffBytes(b.Build({{b.Ascii(306, odd)}}));
    EXPECT_TRUE(IsUnsetTime(r.doc.created)) << odd;
  }
  // The form decides, not the calendar; trailing text is allowed.
  Read r = ReadTiffBytes(b.Build({{b.Ascii(306, "2012:13:40 25:61:61 extra")}}));
  EXPECT_EQ("2012-13-40 25:61:61", DateText(r.doc.created));
}

TEST(TiffReader, BadHeaders) {
  zxsupport::DiagCapture diag;
  EXPECT_EQ(-1, ReadTiffBytes("II*").result);
  EXPECT_TRUE(diag.Contains(u"error reading header"));
  EXPECT_EQ(-1, ReadTiffBytes(std::string("XY*\0\x08\0\0\0", 8)).result);
  EXPECT_TRUE(diag.Contains(u"Not a TIFF file, bad magic number 22872 (0x5958)"));
  EXPECT_EQ(-1, ReadTiffBytes(std::string("II+\0\x08\0\0\0", 8)).result);
  EXPECT_TRUE(diag.Contains(u"Not a TIFF file, bad version number 18761 (0x4949)"));
  // No first directory: success and nothing read.
  Read r = ReadTiffBytes(std::string("MM\0*\0\0\0\0", 8));
  EXPECT_EQ(0, r.result);
  EXPECT_TRUE(r.doc.comments.Text().IsEmpty());
}

TEST(TiffReader, DamagedDirectoriesAreBounded) {
  TiffBuilder b(false);
  // A chain whose second directory points back at the first.
  std::string loop = b.Build({{b.Short(256, 2), b.Short(257, 2)}, {b.Ascii(315, "Ann")}});
  b.PutU32(loop, loop.find(std::string("\x3B\x01", 2)) + 12, 8);   // next of directory 2 -> directory 1
  Read r = ReadTiffBytes(loop);
  EXPECT_EQ(0, r.result);
  EXPECT_EQ("(2 * 2 px)", Utf8Of(r.doc.comments));   // read once
  EXPECT_EQ("Ann", Utf8Of(r.doc.author));
  // A directory that names itself as the next one.
  std::string self = b.Build({{b.Short(256, 3), b.Short(257, 3)}});
  b.PutU32(self, 8 + 2 + 2 * 12, 8);
  EXPECT_EQ("(3 * 3 px)", Utf8Of(ReadTiffBytes(self).doc.comments));

  // 65,535 entries, each a long text of the whole file: bounded in time.
  std::string big = std::string("II*\0\x08\0\0\0", 8) + std::string("\xFF\xFF", 2);
  for (int i = 0; i < 65535; ++i) big += b.U16(270) + b.U16(2) + b.U32(0xFFFFFFFF) + b.U32(0);
  big += b.U32(8);
  const auto start = std::chrono::steady_clock::now();
  r = ReadTiffBytes(big);
  EXPECT_EQ(0, r.result);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  // Cut short: the whole entries that are there are read.
  zxsupport::DiagCapture diag;
  std::string cut = b.Build({{b.Ascii(315, "Annabel"), b.Ascii(269, "Title")}});
  cut[8] = 100;   // claims 100 entries
  r = ReadTiffBytes(cut.substr(0, 8 + 2 + 12 + 5));
  EXPECT_EQ("", Utf8Of(r.doc.author));   // its text lay behind the cut
  EXPECT_TRUE(diag.Contains(u"Could only read 1 of 100 entries in directory at offset 0x8"));
  // Offsets past the end: a directory, a text and a rational.
  EXPECT_EQ(0, ReadTiffBytes(std::string("II*\0\xF0\xFF\xFF\x7F", 8)).result);
  r = ReadTiffBytes(b.Build({{{315, 2, 40, b.U32(1u << 30)}, {33434, 5, 1, b.U32(0xFFFFFFF0)}}}));
  EXPECT_EQ(0, r.result);
  EXPECT_EQ("", Utf8Of(r.doc.author));
}

TEST(JpegReader, SegmentsAndFailures) {
  TiffBuilder b(true);
  const std::string tiff = b.Build({{b.Ascii(315, "Bob")}});
  EXPECT_EQ("Bob", Utf8Of(ReadJpeg(Jpeg(tiff)).doc.author));
  // No APP1 before the end of the image, another block name, a short file.
  EXPECT_EQ(-1, ReadJpeg(std::string("\xFF\xD8\xFF\xD9", 4)).result);
  Read r = ReadJpeg(Jpeg(tiff, "XMP "));
  EXPECT_EQ(-1, r.result);
  EXPECT_TRUE(r.doc.author.Text().IsEmpty());
  EXPECT_EQ(-1, ReadJpeg("").result);
  EXPECT_EQ(-1, ReadJpeg(std::string("\xFF\xD8\xFF\xE0\x00", 5)).result);
  EXPECT_EQ(-1, ReadJpeg(std::string("\x12\x34", 2)).result);
  // A segment length below 2 would step back: refused.
  EXPECT_EQ(-1, ReadJpeg(std::string("\xFF\xD8\xFF\xE0\x00\x01\xFF\xE0\x00\x01", 10)).result);
  // A second APP1 is not looked at.
  std::string twice = Jpeg(tiff, "Nope");
  twice.insert(twice.size() - 2, Jpeg(tiff).substr(2 + 18));
  EXPECT_EQ(-1, ReadJpeg(twice).result);
}

TEST(JpegReader, ExifDirectoryLoopsAreBounded) {
  TiffBuilder b(false);
  std::vector<TiffBuilder::Entry> exif = {b.Long(34665, 0), b.Rat(33434, 1, 8)};
  std::string tiff = b.Build({{b.Long(34665, 0)}}, &exif);
  // The EXIF directory names itself as its own EXIF directory.
  const size_t sub = tiff.rfind(std::string("\x69\x87\x04\0", 4));
  b.PutU32(tiff, sub + 8, uint32_t(sub - 2));
  Read r = ReadJpeg(Jpeg(tiff));
  EXPECT_EQ(0, r.result);
  EXPECT_EQ("t=1/8 s", Utf8Of(r.doc.comments));
}

// The committed files written by exiftool, with what this reader must make of them.
TEST(ImageFiles, WrittenByExiftool) {
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/image/";
  auto read = [&](const std::string& name) {
    Read r{0};
    r.doc = zxtest::ReadFileWith(name.ends_with(".tif") ? ReadTiffInfo : ReadJpegInfo, dir + name, &r.result);
    return r;
  };
  for (const char* name : {"tags_le.tif", "tags_be.tif"}) {
    SCOPED_TRACE(name);
    Read r = read(name);
    EXPECT_EQ(0, r.result);
    EXPECT_EQ("Tiff title", Utf8Of(r.doc.title));
    EXPECT_EQ("Tiff subject", Utf8Of(r.doc.subject));
    EXPECT_EQ("Ann Artist", Utf8Of(r.doc.author));
    EXPECT_EQ("(c) 2012 Ann, , (8 * 6 px)", Utf8Of(r.doc.comments));   // XP* tags are not read
    EXPECT_EQ("2012-03-05 10:20:30", DateText(r.doc.created));
  }
  Read r = read("exif_le.jpg");
  EXPECT_EQ("Bob", Utf8Of(r.doc.author));
  EXPECT_EQ("Jpeg subject", Utf8Of(r.doc.subject));
  EXPECT_EQ("(c) Bob, t=1/250 s, f=3, d=3.25 m", Utf8Of(r.doc.comments));
  EXPECT_EQ("2010-06-07 08:09:10", DateText(r.doc.created));
  r = read("exif_be.jpg");
  EXPECT_EQ("Camera Y", Utf8Of(r.doc.author));
  EXPECT_EQ("t=2 s, f=8", Utf8Of(r.doc.comments));
  EXPECT_EQ("1999-12-31 23:59:59", DateText(r.doc.created));
  r = read("odd_dates.jpg");
  EXPECT_TRUE(IsUnsetTime(r.doc.created));
  r = read("odd_date2.jpg");
  EXPECT_EQ("2012-03-05 10:20:30", DateText(r.doc.created));
  r = read("base.jpg");
  EXPECT_EQ(-1, r.result);
}

// For the image oracle: reads every file named in ZXUT_DOCINFO_IMAGES (one path a
// line) and writes what was read as JSON lines to ZXUT_DOCINFO_DUMP.
TEST(ImageFiles, DumpForOracle) {
  const char* list = std::getenv("ZXUT_DOCINFO_IMAGES");
  const char* dump = std::getenv("ZXUT_DOCINFO_DUMP");
  if (!list || !dump) GTEST_SKIP() << "run by tests/docinfo/image_oracle.py";
  std::ifstream in(list);
  std::ofstream out(dump, std::ios::binary);
  auto json = [](const std::string& utf8) {
    std::string s = "\"";
    for (unsigned char c : utf8) {
      if (c == '"' || c == '\\') s += '\\', s += char(c);
      else if (c < 0x20) { char buf[8]; std::snprintf(buf, sizeof buf, "\\u%04x", c); s += buf; }
      else s += char(c);
    }
    return s + "\"";
  };
  std::string path;
  while (std::getline(in, path)) {
    if (path.empty()) continue;
    Read r{0};
    r.doc = zxtest::ReadFileWith(path.ends_with(".tif") ? ReadTiffInfo : ReadJpegInfo, path, &r.result);
    out << "{\"file\":" << json(path) << ",\"result\":" << r.result << ",\"title\":" << json(Utf8Of(r.doc.title))
        << ",\"subject\":" << json(Utf8Of(r.doc.subject)) << ",\"author\":" << json(Utf8Of(r.doc.author))
        << ",\"comments\":" << json(Utf8Of(r.doc.comments)) << ",\"created\":"
        << json(IsUnsetTime(r.doc.created) ? "" : DateText(r.doc.created)) << "}\n";
  }
}

}  // namespace
}  // namespace zx

namespace zx {
namespace {

// Damaged camera files of the goexif package (copied with its copyright): a
// directory loop, a tag count of 2^32-1 and a huge tag. Bounded time, result 0.
TEST(ImageFiles, DamagedCameraFiles) {
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/image/damaged/";
  for (const char* name : {"infinite_loop_exif.jpg", "max_uint32_exif.jpg", "huge_tag_exif.jpg"}) {
    SCOPED_TRACE(name);
    const auto start = std::chrono::steady_clock::now();
    zxtest::ReadFileWith(ReadJpegInfo, dir + name);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  }
}

}  // namespace
}  // namespace zx
