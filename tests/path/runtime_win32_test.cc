// The runtime's path functions held against the real ones of the Windows C runtime
// (under wine: wine's), input by input.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <string>

#include "path/PathRuntime.h"
#include "path_test_util.h"

using namespace zx;
using pathtest::Ascii;
using pathtest::Rep;

namespace {

const wchar_t* W(const std::u16string& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }
std::u16string U(const wchar_t* s) { return std::u16string(reinterpret_cast<const char16_t*>(s)); }

void IgnoreInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {}

class RealRuntime : public ::testing::Test {
 protected:
  void SetUp() override { old_ = _set_invalid_parameter_handler(IgnoreInvalidParameter); }
  void TearDown() override { _set_invalid_parameter_handler(old_); }
  _invalid_parameter_handler old_ = nullptr;
};

std::vector<std::u16string> Inputs() {
  return {u"C:\\a\\b.txt", u"", u"b", u"a.b.c", u"\\\\srv\\share\\x.y", u"C:", u"C:rel.x", u"dir.x/name",
          u"/a/b/", u".hidden", u"a.", u":", u"1:x", u"C:\\a\\.\\b", u"C:\\a\\..\\..\\..\\b", u"C:/a//b///c",
          u"C:\\a\\b\\", u"C:\\a\\b.", u"C:\\a\\b. . ", u"C:\\a.\\b", u"C:\\a..\\b", u"C:\\a\\.", u"C:\\a\\..",
          u"C:\\..", u"C:\\", u"rel\\x", u"..\\x", u".", u"..", u"\\root", u"/root/./x/",
          u"\\\\srv\\share\\a\\..\\..\\b", u"\\\\srv\\share\\x\\..", u"\\\\srv\\share", u"\\\\srv\\share\\", u"//srv/share/x/../y",
          u"\\\\?\\C:\\a\\..\\b", u"\\\\.\\C:\\a\\..\\b", u"a\\...\\b", u"a\\ .\\b", u"a \\b", u"C:\\x\\ ",
          Rep(u"n", 255), Rep(u"n", 256), u"x." + Rep(u"e", 255), Rep(u"d", 255) + u"\\f",
          u"C:\\" + Rep(u"abc\\", 70) + u"x", u"C:\\" + Rep(u"abc\\", 62) + u"xy",
          u"CON", u"nul", u"C:\\a\\com1.txt", u"Lpt9  :x", u"prn. ", u"COM0", u"CONx", u"aux\\x",
          u"\\\\srv\\share\\nul"};
}

TEST_F(RealRuntime, SplitAsTheRuntime) {
  for (const std::u16string& in : Inputs()) {
    wchar_t d[3] = {L'?'}, p[256] = {L'?'}, n[256] = {L'?'}, e[256] = {L'?'};
    char16_t d2[3] = {u'?'}, p2[256] = {u'?'}, n2[256] = {u'?'}, e2[256] = {u'?'};
    const int real = _wsplitpath_s(W(in), d, 3, p, 256, n, 256, e, 256);
    EXPECT_EQ(SplitPath(in.c_str(), d2, 3, p2, 256, n2, 256, e2, 256), real) << Ascii(in);
    EXPECT_EQ(std::u16string(d2), U(d)) << Ascii(in);
    EXPECT_EQ(std::u16string(p2), U(p)) << Ascii(in);
    EXPECT_EQ(std::u16string(n2), U(n)) << Ascii(in);
    EXPECT_EQ(std::u16string(e2), U(e)) << Ascii(in);
  }
}

TEST_F(RealRuntime, MakeAsTheRuntime) {
  const std::u16string n257 = Rep(u"n", 257), n258 = Rep(u"n", 258);
  const char16_t* parts[][4] = {
      {u"C", u"\\a", u"b", u"txt"}, {u"C:", u"\\a\\", u"b", u".txt"}, {u"", u"", u"", u""},
      {nullptr, nullptr, nullptr, nullptr}, {u"", u"a/", u"b", u""}, {u"", u"", u"b", u"."},
      {u"D", u"", u"", u""}, {u"xyz", u"", u"n", u""}, {nullptr, u"\\\\srv\\share", u"f", nullptr},
      {u"C", nullptr, n257.c_str(), nullptr}, {u"C", nullptr, n258.c_str(), nullptr},
      {nullptr, n258.c_str(), u"", nullptr}, {nullptr, nullptr, n258.c_str(), u"e"}};
  for (const auto& p : parts) {
    auto w = [](const char16_t* s) { return reinterpret_cast<const wchar_t*>(s); };
    wchar_t real[260] = {L'?'};
    char16_t ours[260] = {u'?'};
    const int rc = _wmakepath_s(real, 260, w(p[0]), w(p[1]), w(p[2]), w(p[3]));
    EXPECT_EQ(MakePath(ours, 260, p[0], p[1], p[2], p[3]), rc);
    EXPECT_EQ(std::u16string(ours), U(real));
  }
}

TEST_F(RealRuntime, FullPathAsTheRuntime) {
  const PathContext context = SystemPathContext();
  for (const std::u16string& in : Inputs()) {
    for (size_t room : {size_t{260}, size_t{12}}) {
      wchar_t real[260] = {L'?'};
      char16_t ours[260] = {u'?'};
      const bool ok = _wfullpath(real, W(in), room) != nullptr;
      EXPECT_EQ(FullPath(ours, in.c_str(), room, context), ok) << Ascii(in) << " room " << room;
      if (ok) {
        EXPECT_EQ(std::u16string(ours), U(real)) << Ascii(in);
      }
    }
  }
}

}  // namespace
