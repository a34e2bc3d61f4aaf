// Path and name rules of the tree: leading "/", null list, the 255-character cut
// of names before a "/", "..", first match, case, empty names, section names.
#include <string>

#include "prof_test_util.h"

using namespace proftest;

TEST(ProfPaths, NestedSetCreatesListsAndGetsFindThem) {
  Job job;
  Set(job, nullptr, u"a/b/c", u"v");
  HPROFLIST b = ProfGetListW(job, nullptr, W(u"a/b"));
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(Get(job, b, u"c"), u"v");
  EXPECT_EQ(Get(job, nullptr, u"a/b/c"), u"v");
  EXPECT_EQ(Dump(job, nullptr), u"[a]{[b]{c=v}}");
  // A get never creates.
  EXPECT_EQ(Get(job, nullptr, u"x/y/z"), u"<missing>");
  EXPECT_EQ(GetRc(job, nullptr, u"x/y/z"), PROF_ERR_NOT_FOUND);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"x")), nullptr);
}

TEST(ProfPaths, LeadingSlashRestartsAtTheRootForGetSetAppendCreate) {
  Job job;
  HPROFLIST a = ProfCreateListW(job, nullptr, W(u"a"));
  Set(job, a, u"/x", u"root");
  ProfAppendStringW(job, a, W(u"/y"), W(u"root too"));
  Set(job, a, u"x", u"in a");
  EXPECT_EQ(Get(job, a, u"/x"), u"root");
  EXPECT_EQ(Get(job, a, u"x"), u"in a");
  EXPECT_EQ(Get(job, nullptr, u"y"), u"root too");
  HPROFLIST c = ProfCreateListW(job, a, W(u"/c"));
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"c")), c);
  EXPECT_EQ(ProfGetListW(job, a, W(u"/c")), c);
  HPROFLIST d = ProfAppendListW(job, a, W(u"/d"));
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"d")), d);
  EXPECT_EQ(ProfGetListW(job, a, W(u"/")), ProfGetListW(job, nullptr, nullptr));
  EXPECT_EQ(Dump(job, nullptr), u"[a]{x=in a} x=root y=root too [c]{} [d]{}");
}

TEST(ProfPaths, NullListIsTheRootAndNullPathTheListItself) {
  Job job;
  HPROFLIST root = ProfGetListW(job, nullptr, nullptr);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(ProfGetListW(job, root, nullptr), root);
  HPROFLIST a = ProfCreateListW(job, root, W(u"a"));
  EXPECT_EQ(ProfGetListW(job, a, nullptr), a);
  EXPECT_EQ(ProfGetListW(job, a, W(u"")), a);
  Set(job, root, u"k", u"1");
  EXPECT_EQ(Get(job, nullptr, u"k"), u"1");
}

TEST(ProfPaths, DotDotIsTheParentOnlyAsTheWholeRemainingPath) {
  Job job;
  HPROFLIST a = ProfCreateListW(job, nullptr, W(u"a"));
  HPROFLIST b = ProfCreateListW(job, a, W(u"b"));
  HPROFLIST root = ProfGetListW(job, nullptr, nullptr);
  EXPECT_EQ(ProfGetListW(job, b, W(u"..")), a);
  EXPECT_EQ(ProfGetListW(job, a, W(u"..")), root);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"..")), nullptr);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"/..")), nullptr);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"a/b/..")), a);
  EXPECT_EQ(ProfGetListW(job, b, W(u"/a/..")), root);
  // "../x" looks for a list named "..".
  EXPECT_EQ(ProfGetListW(job, b, W(u"../b")), nullptr);
  HPROFLIST dots = ProfCreateListW(job, b, W(u"../x"));
  ASSERT_NE(dots, nullptr);
  EXPECT_EQ(ProfGetListW(job, b, W(u"../x")), dots);
  EXPECT_EQ(Dump(job, b), u"[..]{[x]{}}");
  // Only the get of lists knows "..": a value path takes it as a name.
  Set(job, a, u"../v", u"1");
  EXPECT_EQ(Dump(job, a), u"[b]{[..]{[x]{}}} [..]{v=1}");
}

TEST(ProfPaths, FirstMatchDecidesAtEveryStep) {
  Job job;
  HPROFLIST first = ProfAppendListW(job, nullptr, W(u"a"));
  HPROFLIST second = ProfAppendListW(job, nullptr, W(u"a"));
  Set(job, second, u"x", u"second");
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"a")), first);
  // The first list "a" is entered and its outcome is final.
  EXPECT_EQ(GetRc(job, nullptr, u"a/x"), PROF_ERR_NOT_FOUND);
  Set(job, nullptr, u"a/x", u"first");
  EXPECT_EQ(Get(job, first, u"x"), u"first");
  EXPECT_EQ(Get(job, second, u"x"), u"second");
  ProfAppendStringW(job, nullptr, W(u"a/x"), W(u"again"));
  EXPECT_EQ(Dump(job, nullptr), u"[a]{x=first x=again} [a]{x=second}");
}

TEST(ProfPaths, NamesCompareCaseSensitively) {
  Job job;
  Set(job, nullptr, u"Key", u"upper");
  Set(job, nullptr, u"key", u"lower");
  EXPECT_EQ(Get(job, nullptr, u"Key"), u"upper");
  EXPECT_EQ(Get(job, nullptr, u"key"), u"lower");
  EXPECT_EQ(GetRc(job, nullptr, u"KEY"), PROF_ERR_NOT_FOUND);
  ProfCreateListW(job, nullptr, W(u"L"));
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"l")), nullptr);
}

TEST(ProfPaths, NamesBeforeASlashCountWithTheirFirst255Characters) {
  Job job;
  const std::u16string n300(300, u'n'), n255(255, u'n');
  // Walking with creation makes a list of the cut name.
  Set(job, nullptr, (n300 + u"/v").c_str(), u"1");
  std::vector<Entry> items = Items(job, nullptr);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].name, n255);
  EXPECT_EQ(Get(job, nullptr, (n300 + u"/v").c_str()), u"1");
  EXPECT_EQ(Get(job, nullptr, (n255 + u"/v").c_str()), u"1");
  EXPECT_EQ(Get(job, nullptr, (n300 + u"xyz/v").c_str()), u"1");  // cut at 255 as well

  // A list with the whole 300-character name is not reached before a "/".
  Job other;
  HPROFLIST full = ProfCreateListW(other, nullptr, W(n300.c_str()));
  Set(other, full, u"v", u"2");
  EXPECT_EQ(ProfGetListW(other, nullptr, W(n300.c_str())), full);
  EXPECT_EQ(GetRc(other, nullptr, (n300 + u"/v").c_str()), PROF_ERR_NOT_FOUND);

  // As the last name the whole text counts.
  Set(job, nullptr, n300.c_str(), u"long");
  EXPECT_EQ(Get(job, nullptr, n300.c_str()), u"long");
  EXPECT_EQ(GetRc(job, nullptr, n255.c_str()), PROF_ERR_NOT_FOUND);
  EXPECT_EQ(GetRc(job, nullptr, (n300 + u"n").c_str()), PROF_ERR_NOT_FOUND);
}

TEST(ProfPaths, EmptyNamesAreNames) {
  Job job;
  Set(job, nullptr, u"a//b", u"1");
  EXPECT_EQ(Dump(job, nullptr), u"[a]{[]{b=1}}");
  EXPECT_NE(ProfGetListW(job, nullptr, W(u"a/")), nullptr);
  Set(job, nullptr, u"a/", u"empty name");
  EXPECT_EQ(Get(job, nullptr, u"a/"), u"empty name");
  ProfAppendStringW(job, nullptr, nullptr, W(u"null path"));
  EXPECT_EQ(Get(job, nullptr, u""), u"null path");
  // A null path or value never sets.
  Set(job, nullptr, nullptr, u"x");
  ProfSetStringW(job, nullptr, W(u"k"), nullptr);
  EXPECT_EQ(Dump(job, nullptr), u"[a]{[]{b=1} =empty name} =null path");
}

TEST(ProfPaths, ListNamesInBracketsLoseTheirFirstAndLastCharacter) {
  Job job;
  HPROFLIST sec = ProfCreateListW(job, nullptr, W(u"[sec]"));
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"sec")), sec);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"[sec]")), nullptr);
  // Asking again by the bracketed name finds nothing and makes another list.
  HPROFLIST again = ProfCreateListW(job, nullptr, W(u"[sec]"));
  EXPECT_NE(again, sec);
  ProfCreateListW(job, nullptr, W(u"["));
  ProfAppendListW(job, nullptr, W(u"[x"));
  EXPECT_EQ(Dump(job, nullptr), u"[sec]{} [sec]{} []{} []{}");
  // Values keep their names as they are.
  Set(job, nullptr, u"[v]", u"1");
  EXPECT_EQ(Get(job, nullptr, u"[v]"), u"1");
}

TEST(ProfPaths, ValueAndListOfOneNameCoexist) {
  Job job;
  Set(job, nullptr, u"a", u"value");
  HPROFLIST a = ProfCreateListW(job, nullptr, W(u"a"));
  ASSERT_NE(a, nullptr);
  Set(job, a, u"inner", u"1");
  EXPECT_EQ(Get(job, nullptr, u"a"), u"value");
  // A typed set on the name replaces the value item, never the list.
  ProfSetIntW(job, nullptr, W(u"a"), 5);
  EXPECT_EQ(Dump(job, nullptr), u"a=5 [a]{inner=1}");
  // A set on a name that exists only as a list adds a value next to it.
  ProfCreateListW(job, nullptr, W(u"b"));
  ProfSetIntW(job, nullptr, W(u"b"), 7);
  EXPECT_EQ(Dump(job, nullptr), u"a=5 [a]{inner=1} [b]{} b=7");
  // DeleteList takes the list and leaves the value; DeleteItem the reverse.
  EXPECT_EQ(ProfDeleteListW(job, nullptr, W(u"a")), 1);
  EXPECT_EQ(Dump(job, nullptr), u"a=5 [b]{} b=7");
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"b")), 1);
  EXPECT_EQ(Dump(job, nullptr), u"a=5 [b]{}");
}
