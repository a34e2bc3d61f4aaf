// Every edit of String leaves the C-string view (wchar(), read up to its
// terminator) and the narrow copy equal to the bounded view, and leaves a string
// that shared the buffer before the edit as it was.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "core/strings/String.h"

namespace {

using zx::String;

struct Edit {
  const char* name;
  const char16_t* start;
  std::function<void(String&)> edit;
  const char16_t* expected;
};

String Result(const String& s) { return s; }

const Edit kEdits[] = {
    {"TrimLeft", u"  ab", [](String& s) { s.TrimLeft(); }, u"ab"},
    {"TrimLeft all blanks", u"   ", [](String& s) { s.TrimLeft(); }, u""},
    {"TrimLeft nothing", u"ab ", [](String& s) { s.TrimLeft(); }, u"ab "},
    {"TrimRight", u"ab  ", [](String& s) { s.TrimRight(); }, u"ab"},
    {"TrimRight other char", u"abxx", [](String& s) { s.TrimRight(u'x'); }, u"ab"},
    {"TrimRight all", u"xxx", [](String& s) { s.TrimRight(u'x'); }, u""},
    {"Trim both", u"  ab  ", [](String& s) { s.TrimLeft(); s.TrimRight(); }, u"ab"},
    {"Delete middle", u"abcdef", [](String& s) { s.Delete(1, 2); }, u"adef"},
    {"Delete tail", u"abcdef", [](String& s) { s.Delete(4); }, u"abcd"},
    {"Delete head", u"abcdef", [](String& s) { s.Delete(0, 5); }, u"f"},
    {"Delete all", u"abcdef", [](String& s) { s.Delete(0); }, u""},
    {"Insert middle", u"abef", [](String& s) { s.Insert(2, u"cd"); }, u"abcdef"},
    {"Insert front", u"ef", [](String& s) { s.Insert(0, u"abcd"); }, u"abcdef"},
    {"Insert end", u"ab", [](String& s) { s.Insert(2, u"cd"); }, u"abcd"},
    {"Replace shorter", u"abcdef", [](String& s) { s.Replace(1, 4, u"X"); }, u"aXf"},
    {"Replace longer", u"abc", [](String& s) { s.Replace(1, 1, u"XYZW"); }, u"aXYZWc"},
    {"Replace tail shorter", u"abcdef", [](String& s) { s.Replace(2, 4, u"Z"); }, u"abZ"},
    {"ReplaceChar", u"a.b.c", [](String& s) { s.ReplaceChar(u'.', u'/'); }, u"a/b/c"},
    {"ReplaceAll shorter", u"aXXbXXc", [](String& s) { s.ReplaceAll(u"XX", u"-"); }, u"a-b-c"},
    {"ReplaceAll to nothing", u"aXXbXX", [](String& s) { s.ReplaceAll(u"XX", u""); }, u"ab"},
    {"ReplaceAll longer", u"a-b", [](String& s) { s.ReplaceAll(u"-", u"+++"); }, u"a+++b"},
    {"Left", u"abcdef", [](String& s) { s = Result(s.Left(2)); }, u"ab"},
    {"Right", u"abcdef", [](String& s) { s = Result(s.Right(2)); }, u"ef"},
    {"Mid", u"abcdef", [](String& s) { s = Result(s.Mid(1, 3)); }, u"bcd"},
    {"Mid to end", u"abcdef", [](String& s) { s = Result(s.Mid(4)); }, u"ef"},
    {"SetLength shorter", u"abcdef", [](String& s) { s.SetLength(3); }, u"abc"},
    {"Reserve and SetLength", u"ab",
     [](String& s) {
       char16_t* p = s.Reserve(8);
       p[2] = u'c';
       p[3] = u'd';
       p[4] = u'e';
       s.SetLength(4);
     },
     u"abcd"},
    {"ToUpper", u"abc", [](String& s) { s.ToUpper(); }, u"ABC"},
    {"ToLower", u"ABC", [](String& s) { s.ToLower(); }, u"abc"},
    {"Format shorter", u"abcdefgh", [](String& s) { s.Format(u"%d", 42); }, u"42"},
    {"Format longer", u"ab", [](String& s) { s.Format(u"%s-%d", u"xyz", 7); }, u"xyz-7"},
    {"Append text", u"ab", [](String& s) { s.Append(u"cd"); }, u"abcd"},
    {"Append count", u"ab", [](String& s) { s.Append(u"cdef", 2); }, u"abcd"},
    {"Append char", u"ab", [](String& s) { s.Append(u'c'); }, u"abc"},
    {"Append String with separator", u"ab", [](String& s) { s.Append(String(u"cd"), u','); }, u"ab,cd"},
    {"Append itself", u"ab", [](String& s) { s.Append(s); }, u"abab"},
    {"Assign shorter", u"abcdef", [](String& s) { s.Assign(u"xy"); }, u"xy"},
    {"Assign part", u"abcdef", [](String& s) { s.Assign(u"0123456", 2, 3); }, u"234"},
    {"Assign own tail", u"abcdef", [](String& s) { s.Assign(s.wchar() + 3); }, u"def"},
    {"Fill shorter", u"abcdef", [](String& s) { s.Fill(u'z', 2); }, u"zz"},
    {"Clear", u"abcdef", [](String& s) { s.Clear(); }, u""},
    {"Index write", u"abc", [](String& s) { s[1] = u'X'; }, u"aXc"},
};

TEST(StringEdits, CStringViewNarrowCopyAndSharersFollowEveryEdit) {
  for (const Edit& e : kEdits) {
    SCOPED_TRACE(e.name);
    String s(e.start);
    const std::string oldNarrow = s.narrow();   // a narrow copy the edit must drop
    const String sharer = s;                     // shares the buffer until the edit
    e.edit(s);
    const std::u16string expected(e.expected);
    EXPECT_EQ(s.View(), expected);
    ASSERT_NE(s.wchar(), nullptr);
    EXPECT_EQ(s.wchar()[s.Length()], u'\0');
    EXPECT_EQ(std::u16string(s.wchar()), expected) << "the C-string view reads past the text";
    EXPECT_EQ(std::string(s.narrow()), std::string(expected.begin(), expected.end()));
    EXPECT_EQ(sharer.View(), std::u16string_view(e.start));
    EXPECT_EQ(std::u16string(sharer.wchar()), std::u16string(e.start));
    EXPECT_EQ(std::string(sharer.narrow()), oldNarrow);
  }
}

}  // namespace
