// Compound files: the sector reader, the summary information property set and
// stored mail messages. Office documents made by a real office suite
// (data/ole/make_fixtures.sh) are judged by olefile and exiftool; messages are
// written from the published format (data/ole/make_msg.py) and checked with
// olefile when made. Damaged files are made here from the good ones.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>

#include "core/strings/CharsetConversion.h"
#include "docinfo/CompoundMail.h"
#include "docinfo/CompoundStorage.h"
#include "docinfo/DocReaders.h"
#include "docinfo/DocTime.h"
#include "docinfo/PropertySet.h"
#include "bytes_file_test_util.h"
#include "support/support_test_util.h"

namespace zx {
namespace {

namespace fs = std::filesystem;

fs::path Data(const char* leaf) { return fs::path(ZXUT_SOURCE_DIR) / "tests" / "docinfo" / "data" / "ole" / leaf; }
String PathOf(const fs::path& p) { return String(std::u16string_view(p.u16string())); }
String Utf8(const std::string& s) { return StringFromNarrow(s.data(), static_cast<int64_t>(s.size()), 65001); }
String Text(const clsVariant& v) { return v.Text(); }
bool Empty(const clsVariant& v) { return v.vt == 0; }
// The library's names use backslashes on both targets.
fs::path Native(const String& name) {
  std::u16string s(name.View());
#ifndef _WIN32
  for (char16_t& c : s)
    if (c == u'\\') c = u'/';
#endif
  return fs::path(s);
}

const auto Stamp = zxtest::DateText;

uint32_t Get32(const std::string& b, size_t at) {
  uint32_t v;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}
void Put32(std::string& b, size_t at, uint32_t v) { std::memcpy(b.data() + at, &v, 4); }
void Put16(std::string& b, size_t at, uint16_t v) { std::memcpy(b.data() + at, &v, 2); }

int ReadSetFromBytes(clsDocu& doc, std::string bytes) {
  clsCompoundFile cf;
  if (cf.Open(std::make_unique<clsMemorySource>(std::move(bytes))) != 0) return -2;
  return ReadPropertySetFrom(doc, cf);
}

// ---- real documents

struct scExpected {
  const char* file;
  const char16_t *title, *subject, *author, *keywords, *comments, *lastAuthor;
  const char *created, *lastSaved;
};
const scExpected kOffice[] = {
    {"report.doc", u"Quarterly report", u"Sales in the north", u"Ann Example", u"sales; north; 2019",
     u"Figures of the third quarter.", u"Bob Editor", "2019-07-01 08:30:00", "2019-09-30 17:45:10"},
    {"umlauts.doc", u"Gr\u00f6\u00dfe \u2013 Ma\u00dfe \u00fcber 100 \u20ac", u"\u00dcmlaute \u00e4\u00f6\u00fc",
     u"J\u00fcrgen M\u00fcller", u"Schl\u00fcssel", u"Bemerkung: na\u00efve caf\u00e9", u"Zo\u00eb \u00c6r\u00f8",
     "2021-02-28 23:59:59", "2022-01-01 00:00:00"},
    {"budget.xls", u"Budget", u"Costs 2020", u"Carl Calc", u"budget", u"The yearly budget.", u"Dora Sheet",
     "2020-01-15 09:00:00", "2020-12-31 12:00:00"},
    {"talk.ppt", u"Kick-off", u"Project start", u"Eve Slides", u"slides", u"Opening talk.", u"Finn Talk",
     "2018-05-05 10:00:00", "2018-05-06 11:11:11"},
};

TEST(PropertySet, OfficeDocumentsGiveTheirProperties) {
  for (const scExpected& x : kOffice) {
    SCOPED_TRACE(x.file);
    const String path = PathOf(Data(x.file));
    ASSERT_TRUE(IsCompoundFile(path));
    clsDocu doc(path, 0, 0, nullptr);
    ASSERT_EQ(0, ReadPropertySetInfo(doc, path));
    EXPECT_EQ(String(x.title), Text(doc.title));
    EXPECT_EQ(String(x.subject), Text(doc.subject));
    EXPECT_EQ(String(x.author), Text(doc.author));
    EXPECT_EQ(String(x.keywords), Text(doc.keywords));
    EXPECT_EQ(String(x.comments), Text(doc.comments));
    EXPECT_EQ(String(x.lastAuthor), Text(doc.lastAuthor));
    EXPECT_EQ(x.created, Stamp(doc.created));
    EXPECT_EQ(x.lastSaved, Stamp(doc.lastSaved));
  }
}

TEST(PropertySet, EmptyPropertiesLeaveTheirTargets) {
  // No title, subject or author in the set: what stood there stays; the zero
  // file times are 1601-01-01, as the system's conversion gives them.
  const String path = PathOf(Data("plain.doc"));
  clsDocu doc(path, 0, 0, nullptr);
  doc.title = String(u"before");
  ASSERT_EQ(0, ReadPropertySetInfo(doc, path));
  EXPECT_EQ(String(u"before"), Text(doc.title));
  EXPECT_TRUE(Empty(doc.author));
  EXPECT_EQ("1601-01-01 00:00:00", Stamp(doc.created));
  EXPECT_EQ(1, doc.created.dayOfWeek);   // a Monday
}

std::string Python() { return fs::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3"; }

// The oracle's "key<TAB>value" lines; empty when it cannot run (Windows, or the
// tool is missing).
std::map<std::string, std::string> Oracle(const char* mode, const fs::path& file) {
  std::map<std::string, std::string> out;
  std::string text;
  const std::string cmd = Python() + " " ZXUT_SOURCE_DIR "/tests/docinfo/ole_oracle.py " + mode + " '" +
                          file.string() + "'";
  if (!zxsupport::RunFilter(cmd, "", text)) return out;
  size_t at = 0;
  while (at < text.size()) {
    size_t nl = text.find('\n', at);
    if (nl == std::string::npos) nl = text.size();
    const std::string line = text.substr(at, nl - at);
    const size_t tab = line.find('\t');
    if (tab != std::string::npos) out[line.substr(0, tab)] = line.substr(tab + 1);
    at = nl + 1;
  }
  return out;
}

TEST(PropertySet, EverySummaryValueAgreesWithOlefile) {
  const char* files[] = {"report.doc", "umlauts.doc", "budget.xls", "talk.ppt", "plain.doc"};
  for (const char* f : files) {
    SCOPED_TRACE(f);
    const auto oracle = Oracle("olefile", Data(f));
    if (oracle.empty()) GTEST_SKIP() << "olefile (python3-olefile) cannot run here";
    std::string bytes = zxsupport::ReadBytes(Data(f));
    clsCompoundFile cf;
    ASSERT_EQ(0, cf.Open(std::make_unique<clsMemorySource>(bytes)));
    std::string stream;
    ASSERT_TRUE(cf.ReadStream(cf.FindChild(cf.Root(), u"\005SummaryInformation"), 1u << 24, &stream));
    scSummaryValue values[kSummaryValueCount];
    ASSERT_TRUE(ParseSummaryInformation(stream, values));
    size_t compared = 0;
    for (size_t i = 0; i < kSummaryValueCount; ++i) {
      const std::string id = std::to_string(kSummaryNames[i].id);
      const auto it = oracle.find(id);
      if (values[i].type == 64 && it != oracle.end()) {
        plat::SystemTime t;
        ASSERT_TRUE(FileTimeToUtc(values[i].fileTime, &t));
        EXPECT_EQ(it->second, Stamp(t)) << id;
        ++compared;
      } else if (it != oracle.end()) {
        EXPECT_EQ(Utf8(it->second), values[i].text) << id;
        ++compared;
      } else if (values[i].type != 64 && kSummaryNames[i].id != 17) {
        EXPECT_TRUE(values[i].text.IsEmpty()) << id << " olefile has no value";
      }
    }
    EXPECT_GE(compared, 3u);
  }
}

TEST(PropertySet, PropertiesAgreeWithExiftool) {
  for (const scExpected& x : kOffice) {
    SCOPED_TRACE(x.file);
    const auto oracle = Oracle("exiftool", Data(x.file));
    if (oracle.empty()) GTEST_SKIP() << "exiftool cannot run here";
    const String path = PathOf(Data(x.file));
    clsDocu doc(path, 0, 0, nullptr);
    ASSERT_EQ(0, ReadPropertySetInfo(doc, path));
    const std::pair<const char*, const clsVariant*> texts[] = {
        {"title", &doc.title},       {"subject", &doc.subject},   {"author", &doc.author},
        {"keywords", &doc.keywords}, {"comments", &doc.comments}, {"lastAuthor", &doc.lastAuthor}};
    for (const auto& [key, value] : texts) {
      ASSERT_TRUE(oracle.count(key)) << key;
      EXPECT_EQ(Utf8(oracle.at(key)), Text(*value)) << key;
    }
    EXPECT_EQ(oracle.at("created"), Stamp(doc.created));
    EXPECT_EQ(oracle.at("lastSaved"), Stamp(doc.lastSaved));
  }
}

// ---- values by type, from a set written here

class SetWriter {
 public:
  void Add(uint32_t id, uint16_t type, const std::string& value) { props_.push_back({id, type, value}); }
  std::string Stream() const {
    std::string set(8 + 8 * props_.size(), '\0');
    for (size_t i = 0; i < props_.size(); ++i) {
      Put32(set, 8 + 8 * i, props_[i].id);
      Put32(set, 12 + 8 * i, static_cast<uint32_t>(set.size()));
      std::string v(4, '\0');
      Put16(v, 0, props_[i].type);
      v += props_[i].value;
      while (v.size() % 4) v.push_back('\0');
      set += v;
    }
    Put32(set, 0, static_cast<uint32_t>(set.size()));
    Put32(set, 4, static_cast<uint32_t>(props_.size()));
    std::string s(48, '\0');
    Put16(s, 0, 0xFFFE);
    Put32(s, 24, 1);
    const uint8_t fmtid[16] = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10,
                               0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
    std::memcpy(s.data() + 28, fmtid, 16);
    Put32(s, 44, 48);
    return s + set;
  }

 private:
  struct Prop {
    uint32_t id;
    uint16_t type;
    std::string value;
  };
  std::vector<Prop> props_;
};

std::string Le(uint64_t v, size_t n) {
  std::string s(n, '\0');
  for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(v >> (8 * i));
  return s;
}
std::string Counted(const std::string& bytes) { return Le(bytes.size(), 4) + bytes; }

const String& TextOf(const scSummaryValue (&v)[kSummaryValueCount], uint32_t id) {
  for (size_t i = 0; i < kSummaryValueCount; ++i)
    if (kSummaryNames[i].id == id) return v[i].text;
  return String::Empty();
}

TEST(PropertySet, ValuesByType) {
  float f = 2.5f;
  double d = -0.125;
  std::string fb(4, '\0'), db(8, '\0');
  std::memcpy(fb.data(), &f, 4);
  std::memcpy(db.data(), &d, 8);
  SetWriter w;
  w.Add(1, 2, Le(1252, 2));
  w.Add(2, 30, Counted(std::string("Caf\xe9\0", 5)));           // code page 1252
  w.Add(3, 8, Counted(std::string("B\xe4r\0", 4)));              // a string in the code page too
  w.Add(4, 31, Le(3, 4) + std::string("A\0\xe9\0\0\0", 6));      // UTF-16 with its terminator
  w.Add(5, 2, Le(0xFFFE, 2));                                    // -2
  w.Add(6, 3, Le(0xFFFFFFFF, 4));                                // -1
  w.Add(7, 4, fb);
  w.Add(8, 5, db);
  w.Add(9, 11, Le(0xFFFF, 2));
  w.Add(14, 18, Le(65535, 2));
  w.Add(15, 19, Le(4000000000u, 4));
  w.Add(16, 11, Le(0, 2));
  w.Add(17, 71, Le(8, 4) + std::string(8, 'x'));                 // a clipboard value: the empty text
  w.Add(12, 64, Le(116444736000000000ull, 8));                   // 1970-01-01
  w.Add(13, 64, Le(0x8000000000000000ull, 8));                   // beyond what converts
  scSummaryValue v[kSummaryValueCount];
  ASSERT_TRUE(ParseSummaryInformation(w.Stream(), v));
  EXPECT_EQ(String(u"Caf\u00e9"), TextOf(v, 2));
  EXPECT_EQ(String(u"B\u00e4r"), TextOf(v, 3));
  EXPECT_EQ(String(u"A\u00e9"), TextOf(v, 4));
  EXPECT_EQ(String(u"-2"), TextOf(v, 5));
  EXPECT_EQ(String(u"-1"), TextOf(v, 6));
  EXPECT_EQ(String(u"2.5"), TextOf(v, 7));
  EXPECT_EQ(String(u"-0.125"), TextOf(v, 8));
  EXPECT_EQ(String(u"true"), TextOf(v, 9));
  EXPECT_EQ(String(u"65535"), TextOf(v, 14));
  EXPECT_EQ(String(u"4000000000"), TextOf(v, 15));
  EXPECT_EQ(String(u"false"), TextOf(v, 16));
  EXPECT_TRUE(TextOf(v, 17).IsEmpty());
  EXPECT_TRUE(TextOf(v, 18).IsEmpty());

  clsDocu doc(String(u"x"), 0, 0, nullptr);
  doc.lastSaved = plat::SystemTime{2000, 1, 6, 1, 0, 0, 0, 0};
  ApplySummaryValues(doc, v);
  EXPECT_EQ("1970-01-01 00:00:00", Stamp(doc.created));
  EXPECT_EQ(4, doc.created.dayOfWeek);
  EXPECT_TRUE(IsUnsetTime(doc.lastSaved));   // a time that does not convert: unset
  EXPECT_EQ(String(u"A\u00e9"), Text(doc.author));
  EXPECT_EQ(String(u"-0.125"), Text(doc.lastAuthor));
}

TEST(PropertySet, CodePagesOfTheSet) {
  struct {
    uint16_t cp;
    std::string bytes;
    const char16_t* want;
  } cases[] = {
      {65001, std::string("\xc3\xa9\xe2\x82\xac", 5), u"\u00e9\u20ac"},
      {1200, std::string("\xe9\0\xac\x20\0\0", 6), u"\u00e9\u20ac"},
      {1252, std::string("\xe9\x80", 2), u"\u00e9\u20ac"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.cp);
    SetWriter w;
    w.Add(1, 2, Le(c.cp, 2));
    w.Add(2, 30, Counted(c.bytes));
    scSummaryValue v[kSummaryValueCount];
    ASSERT_TRUE(ParseSummaryInformation(w.Stream(), v));
    EXPECT_EQ(String(c.want), TextOf(v, 2));
  }
}

TEST(PropertySet, StreamsThatAreNoSummarySet) {
  scSummaryValue v[kSummaryValueCount];
  EXPECT_FALSE(ParseSummaryInformation("", v));
  std::string s = SetWriter().Stream();
  s[28] = 0;   // another format identifier
  EXPECT_FALSE(ParseSummaryInformation(s, v));
  // Offsets and sizes past the end: the value is left out, nothing is read beyond.
  SetWriter w;
  w.Add(2, 30, Le(0x7FFFFFFF, 4) + "abc");
  w.Add(3, 31, Le(0x40000000, 4));
  std::string t = w.Stream();
  Put32(t, 48 + 12, 0xFFFFFFF0u);   // the first property's offset
  ASSERT_TRUE(ParseSummaryInformation(t, v));
  EXPECT_EQ(0, v[0].type);
  EXPECT_EQ(0, v[1].type);
  for (size_t cut = 0; cut < t.size(); ++cut) ParseSummaryInformation(t.substr(0, cut), v);
}

TEST(FileTime, ToUtcAsTheSystemConverts) {
  plat::SystemTime t;
  ASSERT_TRUE(FileTimeToUtc(0, &t));
  EXPECT_EQ("1601-01-01 00:00:00", Stamp(t));
  ASSERT_TRUE(FileTimeToUtc(125911584000000000ull + 12345678, &t));   // 2000-01-01 + 1.2345678 s
  EXPECT_EQ("2000-01-01 00:00:01", Stamp(t));
  EXPECT_EQ(234, t.milliseconds);
  EXPECT_EQ(6, t.dayOfWeek);
  ASSERT_TRUE(FileTimeToUtc(125911584000000000ull + 59ull * 86400 * 10000000, &t));
  EXPECT_EQ("2000-02-29 00:00:00", Stamp(t));
  EXPECT_TRUE(FileTimeToUtc(0x7FFFFFFFFFFFFFFFull, &t));
  EXPECT_EQ(30828, t.year);
  EXPECT_FALSE(FileTimeToUtc(0x8000000000000000ull, &t));
}

// ---- stored mail messages

// Subject, sender (the name before the address, else the address), recipients
// and times of stored messages; "" stands for an empty property or an unset time.
TEST(CompoundMail, MessagesGiveSubjectSenderRecipientsAndTimes) {
  const struct {
    const char* file;
    const char16_t *title, *author, *lastAuthor;
    const char *created, *lastSaved;
  } cases[] = {
      {"note.msg", u"Quarterly figures", u"Ann Sender", u"Bob Receiver; carl@example.org", "2019-10-09 05:55:10",
       "2019-10-09 06:00:00"},
      // Wide streams and second choices; only the delivery time, which becomes
      // the creation time.
      {"unicode.msg", u"Gr\u00fc\u00dfe \u2013 \u20ac \u00fcber Ma\u00dfe", u"J\u00fcrgen M\u00fcller",
       u"Zo\u00eb \u00c6r\u00f8", "2021-02-28 23:59:59", ""},
      // An address without a name, no recipients, no time.
      {"address_only.msg", nullptr, u"only@example.org", u"", "", ""},
  };
  auto stamp = [](const plat::SystemTime& t) { return IsUnsetTime(t) ? std::string() : Stamp(t); };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const String path = PathOf(Data(c.file));
    clsDocu doc(path, 0, 0, nullptr);
    ASSERT_EQ(0, ReadCompoundMailInfo(doc, path));
    if (c.title) {
      EXPECT_EQ(String(c.title), Text(doc.title));
    }
    EXPECT_EQ(String(c.author), Text(doc.author));
    if (*c.lastAuthor)
      EXPECT_EQ(String(c.lastAuthor), Text(doc.lastAuthor));
    else
      EXPECT_TRUE(Empty(doc.lastAuthor));
    EXPECT_EQ(c.created, stamp(doc.created));
    EXPECT_EQ(c.lastSaved, stamp(doc.lastSaved));
  }
}

TEST(CompoundMail, NotAStorage) {
  zxsupport::ScratchDir dir("ole_mail");
  zxsupport::WriteBytes(dir / "plain.msg", "From: a@b\r\nSubject: text\r\n\r\nbody");
  clsDocu doc(PathOf(dir / "plain.msg"), 0, 0, nullptr);
  EXPECT_LT(ReadCompoundMailInfo(doc, PathOf(dir / "plain.msg")), 0);
  EXPECT_TRUE(Empty(doc.title));
  EXPECT_LT(ReadCompoundMailInfo(doc, PathOf(dir / "missing.msg")), 0);
}

// A folder of stored messages from another producer, each with a MIME twin of
// the same base name (".eml") written from it, when ZXUT_MSG_CORPUS names one:
// the subject and the sender's name must agree, and a recipient be there (the
// twin's To may be written from other properties than the recipient table).
std::string Header(const std::string& mime, const char* name) {
  const std::string key = std::string("\n") + name + ": ";
  const size_t at = ("\n" + mime).find(key);
  if (at == std::string::npos) return "";
  const size_t from = at + key.size() - 1;
  return mime.substr(from, mime.find_first_of("\r\n", from) - from);
}
std::string DisplayName(const std::string& field) {
  const size_t lt = field.find(" <");
  return lt == std::string::npos ? field : field.substr(0, lt);
}

TEST(CompoundMail, CorpusAgreesWithItsMimeTwins) {
  const char* dir = std::getenv("ZXUT_MSG_CORPUS");
  if (!dir || !*dir) GTEST_SKIP() << "ZXUT_MSG_CORPUS names no folder";
  size_t checked = 0;
  for (const auto& e : fs::directory_iterator(dir)) {
    if (e.path().extension() != ".msg") continue;
    fs::path twin = e.path();
    twin.replace_extension(".eml");
    if (!fs::exists(twin)) continue;
    SCOPED_TRACE(e.path().string());
    const std::string mime = zxsupport::ReadBytes(twin);
    clsDocu doc(PathOf(e.path()), 0, 0, nullptr);
    ASSERT_EQ(0, ReadCompoundMailInfo(doc, PathOf(e.path())));
    EXPECT_EQ(Utf8(Header(mime, "Subject")), Text(doc.title));
    if (!Header(mime, "From").empty()) {
      EXPECT_EQ(Utf8(DisplayName(Header(mime, "From"))), Text(doc.author));
    }
    EXPECT_FALSE(Empty(doc.lastAuthor));
    ++checked;
  }
  EXPECT_GT(checked, 0u);
}

// ---- opening: statuses and the temporary copy

TEST(CompoundStorage, Statuses) {
  zxsupport::ScratchDir dir("ole_open");
  zxsupport::WriteBytes(dir / "text.doc", "plain text, no storage");
  zxsupport::WriteBytes(dir / "short.doc", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
  clsCompoundFile cf;
  EXPECT_EQ(kStgNotStorage, OpenCompoundStorage(PathOf(dir / "text.doc"), &cf, nullptr));
  EXPECT_EQ(kStgFileNotFound, OpenCompoundStorage(PathOf(dir / "none.doc"), &cf, nullptr));
  EXPECT_EQ(kStgInvalidHeader, OpenCompoundStorage(PathOf(dir / "short.doc"), &cf, nullptr));
  EXPECT_EQ(1, TestCompoundFile(PathOf(dir / "text.doc")));
  EXPECT_EQ(0, TestCompoundFile(PathOf(dir / "short.doc")));
  EXPECT_FALSE(IsCompoundFile(PathOf(dir / "none.doc")));
}

class ModesRefused {
 public:
  ModesRefused() { SetStorageModesRefusedForTests(true); }
  ~ModesRefused() { SetStorageModesRefusedForTests(false); }
};

TEST(CompoundStorage, HeldFileIsReadThroughACopyThatIsDeleted) {
  zxsupport::ScratchDir dir("ole_copy");
  zxsupport::ScopedTempFolder temp(dir.path());
  const String path = PathOf(Data("report.doc"));
  {
    ModesRefused refused;
    clsCompoundFile cf;
    EXPECT_EQ(kStgShareViolation, OpenCompoundStorage(path, &cf, nullptr));   // no copy allowed
    String copy;
    {
      clsCompoundFile viaCopy;
      ASSERT_EQ(0, OpenCompoundStorage(path, &viaCopy, &copy));
      const std::string name = zxsupport::Ascii(copy.View());
      const std::string leaf = name.substr(name.find_last_of("/\\") + 1);
      EXPECT_EQ(0u, leaf.rfind("_22_doc", 0)) << leaf;
      EXPECT_EQ(".tmp", leaf.substr(leaf.size() - 4));
      EXPECT_TRUE(fs::exists(Native(copy)));
    }
    DeleteStorageCopy(copy);
    EXPECT_FALSE(fs::exists(Native(copy)));

    clsDocu doc(path, 0, 0, nullptr);
    ASSERT_EQ(0, ReadPropertySetInfo(doc, path));
    EXPECT_EQ(String(u"Quarterly report"), Text(doc.title));
  }
  // The reader left no copy behind.
  size_t left = 0;
  for (const auto& e : fs::recursive_directory_iterator(dir.path()))
    if (e.path().filename().string().rfind("_22_doc", 0) == 0) ++left;
  EXPECT_EQ(0u, left);
}

TEST(CompoundStorage, FailedDeleteIsReported) {
  zxsupport::DiagCapture diag;
  DeleteStorageCopy(PathOf(fs::path(zxsupport::TempPath("ole_gone")) / "x.tmp"));
  EXPECT_TRUE(diag.Contains(u"DeleteFile(")) << diag.Size();
  DeleteStorageCopy(String());
}

// ---- damaged files: refused, or the one stream fails; never a crash or a hang

TEST(CompoundFile, DamagedFilesAreRefusedInBoundedTime) {
  const std::string good = zxsupport::ReadBytes(Data("report.doc"));
  ASSERT_GT(good.size(), 2048u);
  const uint32_t firstDir = Get32(good, 0x30);
  const uint32_t firstFat = Get32(good, 0x4C);
  auto fatEntry = [&](uint32_t sector) { return (firstFat + 1) * 512 + 4 * sector; };
  const auto t0 = std::chrono::steady_clock::now();

  std::string shift = good;
  Put16(shift, 0x1E, 30);
  clsDocu doc(String(u"x"), 0, 0, nullptr);
  EXPECT_EQ(-2, ReadSetFromBytes(doc, shift));

  std::string fatLoop = good;   // the directory's chain points at itself
  Put32(fatLoop, fatEntry(firstDir), firstDir);
  EXPECT_EQ(-2, ReadSetFromBytes(doc, fatLoop));

  std::string pastEnd = good;
  Put32(pastEnd, 0x30, 0x7FFFFFF0u);
  EXPECT_EQ(-2, ReadSetFromBytes(doc, pastEnd));

  std::string manyFat = good;   // more FAT sectors than the file has
  Put32(manyFat, 0x2C, 0xFFFFFFFFu);
  EXPECT_EQ(-2, ReadSetFromBytes(doc, manyFat));

  {   // a DIFAT sector whose next link is itself, in a file with enough sectors
    std::string big = zxsupport::ReadBytes(Data("talk.ppt"));
    const uint32_t sectors = static_cast<uint32_t>(big.size() / 512 - 1);
    const uint32_t self = sectors - 1;
    Put32(big, 0x2C, sectors);
    Put32(big, 0x44, self);
    Put32(big, 0x48, 1);
    Put32(big, (self + 1) * 512 + 508, self);
    clsDocu d(String(u"x"), 0, 0, nullptr);
    ReadSetFromBytes(d, big);
    Put32(big, (self + 1) * 512 + 508, 0xFFFFFFFEu);   // ends before the FAT is complete
    EXPECT_EQ(-2, ReadSetFromBytes(d, big));
  }

  std::string miniLoop = good;   // the mini FAT chain of every small stream loops
  const uint32_t miniFat = Get32(good, 0x3C);
  ASSERT_LT(miniFat, 64u);
  for (uint32_t i = 0; i < 128; ++i) Put32(miniLoop, (miniFat + 1) * 512 + 4 * i, i);
  clsDocu mdoc(String(u"x"), 0, 0, nullptr);
  ReadSetFromBytes(mdoc, miniLoop);   // the same 64 bytes again and again, cut at the size

  std::string dirLoop = good;   // every sibling and child link points back at the root's child
  const size_t dirAt = (firstDir + 1) * 512;
  const uint32_t child = Get32(good, dirAt + 76);
  for (size_t e = 0; e < 4; ++e) {
    Put32(dirLoop, dirAt + e * 128 + 68, child);
    Put32(dirLoop, dirAt + e * 128 + 72, child);
    if (e) Put32(dirLoop, dirAt + e * 128 + 76, 0);
  }
  {
    clsCompoundFile cf;
    ASSERT_EQ(0, cf.Open(std::make_unique<clsMemorySource>(dirLoop)));
    EXPECT_LE(cf.Children(cf.Root()).size(), cf.EntryCount());
    ReadPropertySetFrom(doc, cf);
    ReadCompoundMailFrom(doc, cf);
  }

  // Every cut of the file: a truncated sector fails its stream or the open.
  for (size_t cut = 0; cut < good.size(); cut += 61) {
    clsDocu d(String(u"x"), 0, 0, nullptr);
    const int r = ReadSetFromBytes(d, good.substr(0, cut));
    if (cut < 512) {
      EXPECT_EQ(-2, r) << cut;
    }
  }
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(20));
}

TEST(CompoundFile, HugeSizesAreNotAllocated) {
  std::string big = zxsupport::ReadBytes(Data("report.doc"));
  clsCompoundFile cf;
  ASSERT_EQ(0, cf.Open(std::make_unique<clsMemorySource>(big)));
  const int32_t e = cf.FindChild(cf.Root(), u"WordDocument");
  ASSERT_GE(e, 0);
  std::string out;
  EXPECT_TRUE(cf.ReadStream(e, 1u << 24, &out));
  EXPECT_EQ(cf.Entry(e).size, out.size());
  EXPECT_FALSE(cf.ReadStream(e, 100, &out));   // longer than the caller allows
  EXPECT_FALSE(cf.ReadStream(cf.Root(), 1u << 24, &out));   // a storage
  EXPECT_EQ(-1, cf.FindChild(cf.Root(), u"nothing"));
  EXPECT_GE(cf.FindChild(cf.Root(), u"worddocument"), 0);   // names compare without case

  // Version 3 files: the high half of a size is not read.
  const uint32_t firstDir = Get32(big, 0x30);
  const size_t at = (firstDir + 1) * 512 + static_cast<size_t>(e) * 128 + 124;
  Put32(big, at, 0x100);
  clsCompoundFile cf2;
  ASSERT_EQ(0, cf2.Open(std::make_unique<clsMemorySource>(big)));
  EXPECT_EQ(cf.Entry(e).size, cf2.Entry(e).size);
}

}  // namespace
}  // namespace zx
