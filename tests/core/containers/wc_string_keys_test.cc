// String and IString as keys and elements of the WC containers.
#include <gtest/gtest.h>

#include <vector>

#include "core/strings/String.h"
#include "core/containers/WCSkipList.h"

namespace {

TEST(WCStringKeys, IStringDictionaryIgnoresCase) {
  WCValSkipListDict<IString, int> d;
  EXPECT_TRUE(d.insert(IString(u"Alpha"), 1));
  EXPECT_FALSE(d.insert(IString(u"ALPHA"), 2));  // same key without case
  EXPECT_TRUE(d.insert(IString(u"beta"), 3));
  int v = 0;
  ASSERT_TRUE(d.find(IString(u"alpha"), v));
  EXPECT_EQ(v, 1);
  d[IString(u"BETA")] += 10;
  ASSERT_TRUE(d.find(IString(u"Beta"), v));
  EXPECT_EQ(v, 13);
  EXPECT_EQ(d.entries(), 2u);
  // The stored key keeps its first spelling.
  IString key;
  ASSERT_TRUE(d.findKeyAndValue(IString(u"ALPHA"), key, v));
  EXPECT_EQ(key.View(), u"Alpha");
  EXPECT_TRUE(d.remove(IString(u"aLpHa")));
  EXPECT_EQ(d.entries(), 1u);
}

TEST(WCStringKeys, StringDictionaryKeepsCaseAndOrder) {
  WCValSkipListDict<String, int> d;
  EXPECT_TRUE(d.insert(String(u"b"), 1));
  EXPECT_TRUE(d.insert(String(u"B"), 2));
  EXPECT_TRUE(d.insert(String(u"a"), 3));
  EXPECT_TRUE(d.insert(String(u""), 4));
  EXPECT_FALSE(d.insert(String(u"a"), 5));
  std::vector<std::u16string> keys;
  WCValSkipListDictIter<String, int> it(d);
  while (++it) keys.emplace_back(it.key().View());
  EXPECT_EQ(keys, (std::vector<std::u16string>{u"", u"B", u"a", u"b"}));
}

TEST(WCStringKeys, IStringOrderFoldsCase) {
  WCValSkipListSet<IString> s;
  for (const char16_t* t : {u"delta", u"Charlie", u"BRAVO", u"alpha", u"Bravo"}) s.insert(IString(t));
  std::vector<std::u16string> out;
  WCValSkipListSetIter<IString> it(s);
  while (++it) out.emplace_back(it.current().View());
  EXPECT_EQ(out, (std::vector<std::u16string>{u"alpha", u"BRAVO", u"Charlie", u"delta"}));
}

TEST(WCStringKeys, ListsOfStringsShareBuffers) {
  String text(u"shared text");
  WCValSList<String> list;
  ASSERT_TRUE(list.append(text));
  EXPECT_EQ(text.BufferUsage(), 2);  // the element shares, nothing was copied
  EXPECT_EQ(list.index(String(u"shared text")), 0);
  EXPECT_EQ(list.index(String(u"SHARED TEXT")), -1);
  WCValSList<IString> ilist;
  ilist.append(IString(u"Shared Text"));
  EXPECT_EQ(ilist.index(IString(u"SHARED TEXT")), 0);
  String got = list.get(0);
  EXPECT_TRUE(got.SharesBufferWith(text));
  EXPECT_EQ(text.BufferUsage(), 2);  // the link's copy was released
}

}  // namespace
