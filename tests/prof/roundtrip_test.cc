// Round trips of the text and XML formats: a tree is saved, loaded and saved
// again; the tree that comes back and the second image must be exactly what the
// formats promise, losses included. XFDF does not load back. Files written by
// hand in other editors' habits load and save again as the expected UTF-16 text.
#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "file/File.h"
#include "prof/ItemList.h"
#include "prof/Load.h"
#include "prof/ProfJob.h"
#include "prof/ProfWriter.h"
#include "prof_test_util.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

// One item of a tree in depth-first order.
struct Node {
  int depth;
  bool list;
  std::u16string name, value;
  bool operator==(const Node&) const = default;
};
using Tree = std::vector<Node>;

Node V(int depth, std::u16string name, std::u16string value) { return {depth, false, std::move(name), std::move(value)}; }
Node L(int depth, std::u16string name) { return {depth, true, std::move(name), u""}; }

// A job of the library's internal functions, dropped at the end.
class TreeJob {
 public:
  TreeJob() : job_(zx::clsProfJob::Create(0)) {}
  ~TreeJob() { job_->Release(); }
  TreeJob(const TreeJob&) = delete;
  TreeJob& operator=(const TreeJob&) = delete;
  zx::clsProfJob& operator*() const { return *job_; }
  zx::clsProfJob* operator->() const { return job_; }

 private:
  zx::clsProfJob* job_;
};

// Builds the tree with the names as they are (no rule of the list constructor).
void Build(zx::clsProfJob& job, const Tree& tree) {
  std::vector<zx::clsItemList*> open{&job.rootList};
  for (const Node& n : tree) {
    ASSERT_LT(static_cast<size_t>(n.depth), open.size());
    open.resize(n.depth + 1);
    zx::clsItemList* in = open.back();
    if (n.list) {
      zx::clsItemList* l = in->AppendNewList(zx::SharedString::Make(n.name.data(), static_cast<int64_t>(n.name.size())));
      ASSERT_NE(nullptr, l);
      open.push_back(l);
    } else {
      auto* item = new (&job) zx::clsItem(&job, in);
      item->name = zx::SharedString::Make(n.name.data(), static_cast<int64_t>(n.name.size()));
      item->value = zx::SharedString::Make(n.value.data(), static_cast<int64_t>(n.value.size()));
      ASSERT_TRUE(in->AppendItem(item));
    }
  }
}

Tree Flatten(const zx::clsProfJob& job) {
  Tree out;
  zx::clsItemList::WalkDepthFirst(&job.rootList, [&](const zx::clsItemList*, int, const zx::clsItem* item, int depth) {
    out.push_back({depth, item->sublist != nullptr, std::u16string(item->name.Text().View()),
                   std::u16string(item->value.Text().View())});
    return true;
  });
  return out;
}

std::string Image(zx::clsProfJob& job, int format) {
  std::string image;
  EXPECT_TRUE(zx::prof::SerializeProfile(job, format, image));
  return image;
}

std::string ImageOf(const Tree& tree, int format) {
  TreeJob job;
  Build(*job, tree);
  return Image(*job, format);
}

// Loads bytes as a file's content; the load's result (an empty image is the
// empty profile, as an open of an empty file gives).
int LoadImage(zx::clsProfJob& job, const std::string& image) {
  if (image.empty()) return 1;
  zx::clsFileRWTempStream file;
  file.Write(image.data(), static_cast<uint32_t>(image.size()));
  file.SetPos(0);
  return zx::LoadProfile(job, file);
}

// Where two trees part, readably; "" when equal.
std::string Difference(const Tree& want, const Tree& got) {
  auto show = [](const Node& n) {
    std::string s = std::to_string(n.depth) + (n.list ? " list " : " value ");
    auto esc = [](const std::u16string& t) {
      std::string o;
      for (size_t i = 0; i < t.size() && i < 40; ++i) {
        char buf[8];
        if (t[i] >= 0x20 && t[i] < 0x7F) o += static_cast<char>(t[i]);
        else o += (std::snprintf(buf, sizeof buf, "\\u%04X", t[i]), buf);
      }
      return o + (t.size() > 40 ? "...(" + std::to_string(t.size()) + ")" : "");
    };
    return s + "'" + esc(n.name) + "'='" + esc(n.value) + "'";
  };
  for (size_t i = 0; i < want.size() || i < got.size(); ++i) {
    if (i < want.size() && i < got.size() && want[i] == got[i]) continue;
    return "item " + std::to_string(i) + ": want " + (i < want.size() ? show(want[i]) : "<none>") + ", got " +
           (i < got.size() ? show(got[i]) : "<none>") + " (sizes " + std::to_string(want.size()) + ", " +
           std::to_string(got.size()) + ")";
  }
  return "";
}

std::u16string Repeat(std::u16string_view piece, size_t total) {
  std::u16string s;
  s.reserve(total);
  while (s.size() < total) s.append(piece.substr(0, total - s.size()));
  return s;
}

Tree Deep(int levels) {
  Tree t;
  for (int i = 0; i < levels; ++i) t.push_back(L(i, u"n"));
  t.push_back(V(levels, u"leaf", u"1"));
  return t;
}

// A tree and what each format gives back (empty optional: the tree itself).
struct Case {
  const char* what;
  Tree tree;
  std::optional<Tree> text, xml;
};

std::vector<Case> Cases() {
  const std::u16string big = Repeat(u"abc=<&>\t\r\n\u00E9\U0001F600 ", 1 << 20);
  return {
      {"the empty profile", {}, {}, {}},
      {"masked names", {V(0, u"a=b", u"1"), V(0, u"[x]", u"2"), V(0, u"x]y[", u"3"), V(0, u"=", u""), V(0, u"", u"5"), V(0, u"\u2338\u301A", u"4")},
       Tree{V(0, u"a=b", u"1"), V(0, u"[x]", u"2"), V(0, u"x]y[", u"3"), V(0, u"=", u""), V(0, u"", u"5"), V(0, u"=[", u"4")}, {}},
      {"masked values",
       {V(0, u"eq", u"a=b=c"), V(0, u"ctl", u"\x01\x02\x1F"), V(0, u"crlf", u"a\r\nb"), V(0, u"cr", u"a\rb"),
        V(0, u"lf", u"a\nb"), V(0, u"tab", u"a\tb"), V(0, u"xml", u"<&>'\""), V(0, u"tail", u" x "), V(0, u"pic", u"\u2400")},
       {},
       Tree{V(0, u"eq", u"a=b=c"), V(0, u"ctl", u"\x01\x02\x1F"), V(0, u"crlf", u"a\r\nb"), V(0, u"cr", u"a\r\nb"),
            V(0, u"lf", u"a\r\nb"), V(0, u"tab", u"a\tb"), V(0, u"xml", u"<&>'\""), V(0, u"tail", u" x "), V(0, u"pic", u"\u2400")}},
      // The text format unmasks values only: pictures in a value become control
      // characters, a picture of U+0000 stays; names keep their pictures.
      {"control characters and pictures",
       {V(0, u"a\tb", u"1"), V(0, u"c\r\nd", u"2"), L(0, u"l\x01"), V(0, u"v", u"x\u2401\u241F")},
       Tree{V(0, u"a\u2409b", u"1"), V(0, u"c\u240D\u240Ad", u"2"), L(0, u"l\u2401"), V(0, u"v", u"x\x01\x1F")},
       Tree{V(0, u"a\tb", u"1"), V(0, u"c\r\nd", u"2"), L(0, u"l\x01"), V(0, u"v", u"x\u2401\u241F")}},
      {"empty lists and repeated names",
       {L(0, u"e"), L(0, u"r"), L(0, u"r"), L(0, u"r"), V(0, u"d", u"1"), V(0, u"d", u"2"), V(0, u"s", u"1"), L(0, u"s"),
        V(1, u"s", u"2"), L(1, u"s"), V(0, u"s", u"3"), L(0, u"")},
       {}, {}},
      // A value named like a comment or a brace is a comment or a brace when read
      // back as text: "}" ends its list early, and the list's own "}" then ends
      // the one above. Leading blanks of a name vanish.
      {"names that look like syntax",
       {L(0, u"#c"), L(0, u";c"), L(0, u"{"), L(0, u"}"), L(0, u"[x]"), V(1, u"in", u"7"), V(0, u" lead", u"6"),
        L(0, u"box"), V(1, u"#c", u"1"), V(1, u";c", u"2"), V(1, u"{", u"3"), V(1, u"}", u"4"), V(1, u"after", u"5"),
        V(0, u"lost", u"8")},
       Tree{L(0, u"#c"), L(0, u";c"), L(0, u"{"), L(0, u"}"), L(0, u"[x]"), V(1, u"in", u"7"), V(0, u"lead", u"6"),
            L(0, u"box"), V(0, u"after", u"5")},
       Tree{L(0, u"#c"), L(0, u";c"), L(0, u"{"), L(0, u"}"), L(0, u"x"), V(1, u"in", u"7"), V(0, u" lead", u"6"),
            L(0, u"box"), V(1, u"#c", u"1"), V(1, u";c", u"2"), V(1, u"{", u"3"), V(1, u"}", u"4"), V(1, u"after", u"5"),
            V(0, u"lost", u"8")}},
      {"characters beyond the BMP and lone surrogates",
       {V(0, u"\U0001F600", u"x\U00010000y"), V(0, std::u16string(1, u'\xD800'), u"a\xDC00" u"b"), L(0, u"\U0010FFFF"),
        V(1, u"end", std::u16string(1, u'\xD800'))},
       {}, {}},
      {"a value of 1 MB", {V(0, u"big", big), V(0, u"next", u"1")}, {}, {}},
      {"10,000 levels", Deep(10000), {}, {}},
      // Only the name decides: a nested "/" list writes no tag in XML.
      {"a nested list named /", {L(0, u"/"), V(1, u"v", u"1"), V(0, u"w", u"2")}, {},
       Tree{V(0, u"v", u"1"), V(0, u"w", u"2")}},
  };
}

}  // namespace

// load(save(tree)) is the tree, but for the documented losses; saving what came
// back gives the image of that expected tree.
TEST(ProfRoundTrip, TextAndXmlGiveBackTheTreeOrTheDocumentedLoss) {
  const std::vector<Case> cases = Cases();
  for (const Case& c : cases) {
    for (int format : {zx::prof::kFormatText, zx::prof::kFormatXml}) {
      SCOPED_TRACE(std::string(c.what) + (format ? " / XML" : " / text"));
      TreeJob original;
      Build(*original, c.tree);
      ASSERT_EQ("", Difference(c.tree, Flatten(*original)));
      const std::string first = Image(*original, format);
      EXPECT_EQ(c.tree.empty(), first.empty());
      if (!first.empty()) {
        EXPECT_EQ("\xFF\xFE", first.substr(0, 2)) << "base level 0 writes the mark";
      }
      TreeJob back;
      ASSERT_EQ(1, LoadImage(*back, first));
      EXPECT_EQ(0, back->lastError);
      const std::optional<Tree>& loss = format ? c.xml : c.text;
      const Tree& want = loss ? *loss : c.tree;
      EXPECT_EQ("", Difference(want, Flatten(*back)));
      const std::string second = Image(*back, format);
      if (loss) {
        EXPECT_TRUE(ImageOf(want, format) == second) << "second image differs from the expected tree's";
      } else {
        EXPECT_TRUE(first == second) << "second image differs: " << first.size() << " vs " << second.size() << " bytes";
      }
    }
  }
}

// XFDF is written for others to read: a file of this library in that form loads
// as a parse error with an empty tree.
TEST(ProfRoundTrip, XfdfDoesNotLoadBack) {
  const Tree trees[] = {{V(0, u"a", u"1")}, {L(0, u"l"), V(1, u"a", u"1"), V(0, u"b", u"2")}};
  for (const Tree& tree : trees) {
    const std::string image = ImageOf(tree, zx::prof::kFormatXfdf);
    ASSERT_FALSE(image.empty());
    TreeJob back;
    EXPECT_EQ(0, LoadImage(*back, image));
    EXPECT_EQ(PROF_ERR_PARSE, back->lastError);
    EXPECT_TRUE(Flatten(*back).empty());
  }
}

// Files as other editors leave them, opened and saved again as text.
TEST(ProfRoundTrip, HandWrittenFilesSaveAsUtf16Text) {
  CodePageGuard guard;
  ProfSetOption(PROF_OPTION_CODEPAGE, 1252);
  const std::u16string kBody = u"\uFEFF[/]\r\n {\r\n a=\u00E9\r\n [s]\r\n  {\r\n  b=2 \r\n  }\r\n }\r\n";
  struct Row {
    const char* what;
    std::string file;
    std::u16string saved;
  };
  const Row rows[] = {
      {"UTF-8 with a mark, CR LF", "\xEF\xBB\xBF[/]\r\n{\r\na=\xC3\xA9\r\n[s]\r\n{\r\nb=2 \r\n}\r\n}\r\n", kBody},
      {"UTF-8 with a mark, LF, indented", "\xEF\xBB\xBF[/]\n{\n  a=\xC3\xA9\n  [s]\n  {\n\tb=2 \n  }\n}\n", kBody},
      {"UTF-8 without a mark reads as 1252", "[/]\n{\na=\xC3\xA9\n[s]\n{\nb=2 \n}\n}\n",
       u"\uFEFF[/]\r\n {\r\n a=\u00C3\u00A9\r\n [s]\r\n  {\r\n  b=2 \r\n  }\r\n }\r\n"},
      {"1252, CR LF, no closing braces", "[/]\r\n{\r\na=\xE9\r\n[s]\r\n{\r\nb=2 \r\n", kBody},
      {"UTF-16 with blank lines", Utf16File(u"\r\n[/]\r\n\r\n{\r\na=\u00E9\r\n\r\n[s]\r\n{\r\nb=2 \r\n}\r\n}\r\n"), kBody},
      {"INI with comments", "[main]\r\n; settings\r\na=\xE9\r\n# note\r\n[s]\r\n; inner\r\nb=2 \r\n", kBody},
      // Not a section first, and no "[/]": a text file with nothing in it.
      {"INI behind a leading comment", "; settings\r\n[main]\r\na=\xE9\r\n", u""},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.what);
    Job job(OpenBytes(r.file));
    EXPECT_EQ(0, ProfGetError(job));
    EXPECT_EQ(zxsupport::Utf16LeBytes(r.saved), SavedBytes(job, PROF_FMT_TEXT));
  }
}

// The same judged by iconv: a file that iconv writes in an editor's encoding,
// opened and saved again, is read by iconv as the text it began as (the sections
// indented as the writer does). The 1252 row holds characters where 1252 and
// Latin-1 part ways.
TEST(ProfRoundTrip, IconvReadsBackWhatItWrote) {
  CodePageGuard guard;
  ProfSetOption(PROF_OPTION_CODEPAGE, 1252);
  const std::string text = "[/]\r\n{\r\na=\xC3\xA9\xE2\x82\xAC\xE2\x80\x9A\xC3\xBC\r\n[s]\r\n{\r\nb=\xC5\x93 x\r\n}\r\n}\r\n";
  const std::string want = "[/]\r\n {\r\n a=\xC3\xA9\xE2\x82\xAC\xE2\x80\x9A\xC3\xBC\r\n [s]\r\n  {\r\n  b=\xC5\x93 x\r\n  }\r\n }\r\n";
  struct Row {
    const char* encoding;
    const char* mark;
  };
  const Row rows[] = {{"CP1252", ""}, {"UTF-8", "\xEF\xBB\xBF"}, {"UTF-16LE", "\xFF\xFE"}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.encoding);
    std::string file;
    if (!zxsupport::RunFilter(std::string("iconv -f UTF-8 -t ") + r.encoding, text, file)) GTEST_SKIP() << "no iconv here";
    Job job(OpenBytes(r.mark + file));
    EXPECT_EQ(0, ProfGetError(job));
    std::string back;
    ASSERT_TRUE(zxsupport::RunFilter("iconv -f UTF-16 -t UTF-8", SavedBytes(job, PROF_FMT_TEXT), back));
    EXPECT_EQ(want, back);
  }
}
