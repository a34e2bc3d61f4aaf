// The tree as a tree: create, append, empty and delete lists and items, walk,
// copy and print; job lifetime, reference counts and the null-job codes.
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "prof_test_util.h"
#include "core/diag/Diag.h"
#include "platform/debugout.h"
#include "prof/Prof.h"

using namespace proftest;

TEST(ProfTree, CreateListEmptiesAnExistingListAndGetListLeavesItAlone) {
  Job job;
  HPROFLIST a = ProfCreateListW(job, nullptr, W(u"a/b"));
  Set(job, a, u"x", u"1");
  ProfCreateListW(job, a, W(u"sub"));
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"a/b")), a);
  EXPECT_EQ(Dump(job, a), u"x=1 [sub]{}");
  EXPECT_EQ(ProfCreateListW(job, nullptr, W(u"a/b")), a);
  EXPECT_EQ(Dump(job, a), u"");
  EXPECT_EQ(Dump(job, nullptr), u"[a]{[b]{}}");
  EXPECT_EQ(ProfCreateListW(job, nullptr, nullptr), nullptr);
}

TEST(ProfTree, AppendListAlwaysMakesNewLists) {
  Job job;
  HPROFLIST b1 = ProfAppendListW(job, nullptr, W(u"a/b"));
  HPROFLIST b2 = ProfAppendListW(job, nullptr, W(u"a/b"));
  ASSERT_NE(b1, nullptr);
  ASSERT_NE(b2, nullptr);
  EXPECT_NE(b1, b2);
  EXPECT_EQ(Dump(job, nullptr), u"[a]{[b]{}} [a]{[b]{}}");
  EXPECT_EQ(ProfGetListW(job, nullptr, W(u"a/b")), b1);
  EXPECT_EQ(ProfGetListW(job, b2, W(u"..")), Items(job, nullptr)[1].sublist);
  EXPECT_EQ(ProfAppendListW(job, nullptr, nullptr), nullptr);
}

TEST(ProfTree, EmptyListDeletesValuesAndListsAndCountsThem) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"l/x", u"2");
  HPROFLIST l = ProfGetListW(job, nullptr, W(u"l"));
  EXPECT_EQ(ProfEmptyList(job, l), 1);
  EXPECT_EQ(Dump(job, nullptr), u"a=1 [l]{}");
  EXPECT_EQ(ProfEmptyList(job, nullptr), 2);
  EXPECT_EQ(Dump(job, nullptr), u"");
  EXPECT_EQ(ProfEmptyList(job, nullptr), 0);
}

TEST(ProfTree, DeleteListWithEmptyPathEmptiesAndWithNullPathRemovesTheListItself) {
  Job job;
  Set(job, nullptr, u"a/x", u"1");
  Set(job, nullptr, u"a/b/y", u"2");
  Set(job, nullptr, u"z", u"3");
  HPROFLIST a = ProfGetListW(job, nullptr, W(u"a"));
  HPROFLIST b = ProfGetListW(job, a, W(u"b"));
  EXPECT_EQ(ProfDeleteListW(job, a, W(u"")), 2);  // values too
  EXPECT_EQ(Dump(job, nullptr), u"[a]{} z=3");

  b = ProfCreateListW(job, a, W(u"b"));
  Set(job, b, u"deep", u"4");
  EXPECT_EQ(ProfDeleteListW(job, b, nullptr), 1);  // found depth-first below the root
  EXPECT_EQ(Dump(job, nullptr), u"[a]{} z=3");
  EXPECT_EQ(ProfDeleteListW(job, a, nullptr), 1);
  EXPECT_EQ(Dump(job, nullptr), u"z=3");

  // The root is no item, and a list of another job is not in this tree.
  EXPECT_EQ(ProfDeleteListW(job, nullptr, nullptr), 0);
  Job other;
  HPROFLIST foreign = ProfCreateListW(other, nullptr, W(u"f"));
  EXPECT_EQ(ProfDeleteListW(job, foreign, nullptr), 0);
  EXPECT_EQ(Dump(job, nullptr), u"z=3");
  EXPECT_EQ(Dump(other, nullptr), u"[f]{}");
}

TEST(ProfTree, DeleteListAndDeleteItemFollowEveryMatchingList) {
  Job job;
  for (int i = 0; i < 2; ++i) {
    HPROFLIST a = ProfAppendListW(job, nullptr, W(u"a"));
    ProfAppendListW(job, a, W(u"b"));
    ProfAppendStringW(job, a, W(u"b"), W(u"v"));
    ProfAppendListW(job, a, W(u"b"));
  }
  ProfAppendListW(job, nullptr, W(u"c/b"));
  EXPECT_EQ(ProfDeleteListW(job, nullptr, W(u"a/b")), 4);
  EXPECT_EQ(Dump(job, nullptr), u"[a]{b=v} [a]{b=v} [c]{[b]{}}");
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"a/b")), 2);
  EXPECT_EQ(Dump(job, nullptr), u"[a]{} [a]{} [c]{[b]{}}");
  // A path that matches nothing deletes nothing.
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"x/b")), 0);
  EXPECT_EQ(ProfDeleteListW(job, nullptr, W(u"c/b/q")), 0);
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, nullptr), 0);
}

TEST(ProfTree, TwoItemsOfOneNameBothStayAndDeleteItemTakesBoth) {
  Job job;
  ProfAppendIntW(job, nullptr, W(u"n"), 1);
  ProfAppendIntW(job, nullptr, W(u"n"), 2);
  LONG v = 0;
  EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"n"), &v, 0), 0);
  EXPECT_EQ(v, 1);
  ProfSetIntW(job, nullptr, W(u"n"), 3);  // replaces the first in place
  EXPECT_EQ(Dump(job, nullptr), u"n=3 n=2");
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"n")), 2);
  EXPECT_EQ(Dump(job, nullptr), u"");
}

TEST(ProfTree, DeletePathsDoNotRestartAtTheRoot) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  ProfCreateListW(job, nullptr, W(u"a"));
  // Paths cannot spell a name with "/" in it (loaded files can): make one directly.
  ASSERT_NE(job->rootList.AppendNewList(u"/a", 2), nullptr);
  HPROFLIST l = ProfCreateListW(job, nullptr, W(u"l"));
  EXPECT_EQ(ProfDeleteItemW(job, l, W(u"/a")), 0);
  EXPECT_EQ(ProfDeleteListW(job, l, W(u"/a")), 0);
  EXPECT_EQ(Dump(job, nullptr), u"a=1 [a]{} [/a]{} [l]{}");
  EXPECT_EQ(ProfDeleteListW(job, nullptr, W(u"/a")), 1);
  EXPECT_EQ(Dump(job, nullptr), u"a=1 [a]{} [l]{}");
}

namespace {
struct EnumLog {
  std::vector<std::u16string> seen;
  int stopAt = -1;
  HPROFJOB job = nullptr;
  bool mutate = false;
};
BOOL ZXUT_API Record(HPROFJOB job, LPCWSTR name, LPCWSTR value, HPROFLIST sublist, void* user) {
  auto* log = static_cast<EnumLog*>(user);
  log->seen.push_back(std::u16string(U(name)) + (sublist ? u"[]" : u"=") + U(value));
  if (log->mutate) {
    // Change the list under the walk: delete what was seen, append more.
    ProfDeleteItemW(job, nullptr, name);
    ProfAppendStringW(job, nullptr, W(u"added"), W(u"x"));
  }
  return static_cast<int>(log->seen.size()) != log->stopAt;
}
}  // namespace

TEST(ProfTree, EnumWalksOneListInOrderAndStopsWhenAsked) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"l/inner", u"2");
  Set(job, nullptr, u"b", u"3");
  EnumLog all;
  EXPECT_EQ(ProfEnumW(job, nullptr, Record, &all), 1);
  EXPECT_EQ(all.seen, (std::vector<std::u16string>{u"a=1", u"l[]", u"b=3"}));
  EnumLog stop;
  stop.stopAt = 2;
  EXPECT_EQ(ProfEnumW(job, nullptr, Record, &stop), 0);
  EXPECT_EQ(stop.seen.size(), 2u);
  EnumLog none;
  EXPECT_EQ(ProfEnumW(nullptr, nullptr, Record, &none), 0);
  EXPECT_EQ(ProfEnumW(job, nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(none.seen.empty());
  HPROFLIST empty = ProfCreateListW(job, nullptr, W(u"e"));
  EXPECT_EQ(ProfEnumW(job, empty, Record, &none), 1);
  EXPECT_TRUE(none.seen.empty());
}

TEST(ProfTree, EnumSurvivesACallbackThatChangesTheList) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b", u"2");
  EnumLog log;
  log.mutate = true;
  EXPECT_EQ(ProfEnumW(job, nullptr, Record, &log), 1);
  // The walk reports the list as it stood when it began.
  EXPECT_EQ(log.seen, (std::vector<std::u16string>{u"a=1", u"b=2"}));
  EXPECT_EQ(Dump(job, nullptr), u"added=x added=x");
}

TEST(ProfTree, CopyListAppendsDeepCopiesAcrossJobs) {
  Job src, dst;
  Set(src, nullptr, u"a", u"1");
  Set(src, nullptr, u"l/x", u"2");
  Set(src, nullptr, u"l/m/y", u"3");
  ProfCreateListW(src, nullptr, W(u"empty"));
  Set(dst, nullptr, u"pre", u"0");
  EXPECT_EQ(ProfCopyList(dst, nullptr, src, nullptr), 0);
  EXPECT_EQ(Dump(dst, nullptr), u"pre=0 a=1 [l]{x=2 [m]{y=3}} [empty]{}");
  // The copies are independent of the source.
  Set(src, nullptr, u"l/x", u"changed");
  EXPECT_EQ(Get(dst, nullptr, u"l/x"), u"2");
  // Into a list, from a list; a second copy adds again.
  HPROFLIST t = ProfCreateListW(dst, nullptr, W(u"t"));
  HPROFLIST m = ProfGetListW(src, nullptr, W(u"l/m"));
  EXPECT_EQ(ProfCopyList(dst, t, src, m), 0);
  EXPECT_EQ(ProfCopyList(dst, t, src, m), 0);
  EXPECT_EQ(Dump(dst, t), u"y=3 y=3");
  // The copied lists know their new parents.
  HPROFLIST copiedM = ProfGetListW(dst, nullptr, W(u"l/m"));
  EXPECT_EQ(ProfGetListW(dst, copiedM, W(u"..")), ProfGetListW(dst, nullptr, W(u"l")));
  EXPECT_EQ(ProfGetListW(dst, ProfGetListW(dst, nullptr, W(u"l")), W(u"..")),
            ProfGetListW(dst, nullptr, nullptr));
}

TEST(ProfTree, CopyListIntoItselfOrItsOwnSublistCopiesTheSourceAsItWas) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  HPROFLIST l = ProfCreateListW(job, nullptr, W(u"l"));
  Set(job, l, u"x", u"2");
  EXPECT_EQ(ProfCopyList(job, nullptr, job, nullptr), 0);
  EXPECT_EQ(Dump(job, nullptr), u"a=1 [l]{x=2} a=1 [l]{x=2}");
  EXPECT_EQ(ProfCopyList(job, l, job, nullptr), 0);
  EXPECT_EQ(Dump(job, l), u"x=2 a=1 [l]{x=2} a=1 [l]{x=2}");
}

namespace {
std::vector<std::u16string>* capturedLines = nullptr;
// Installed once and never removed (a removed sink's slot is not freed), passing
// lines on to the last-resort channel while no test captures.
void CaptureLine(const char16_t* line, void*) {
  if (capturedLines) {
    capturedLines->push_back(line);
  } else {
    plat::DebugOutput(line);
  }
}
}  // namespace

// The lines go to this program's copy of the diagnostic seam, so the walk is
// called here directly; the export is checked for its codes.
TEST(ProfTree, DebugListPrintsTheTreeIndentedByNesting) {
  static const bool installed = (zx::SetDiagSink(CaptureLine, nullptr), true);
  ASSERT_TRUE(installed);
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b/c", u"2");
  Set(job, nullptr, u"b/d/e", u"3");
  std::vector<std::u16string> lines;
  capturedLines = &lines;
  EXPECT_EQ(zx::prof::DebugList(Internal(job), nullptr), 0);
  EXPECT_EQ(zx::prof::DebugList(Internal(job), Internal(ProfGetListW(job, nullptr, W(u"b/d")))), 0);
  EXPECT_EQ(zx::prof::DebugList(nullptr, nullptr), PROF_ERR_HANDLE);
  capturedLines = nullptr;
  EXPECT_EQ(lines, (std::vector<std::u16string>{u"[/]", u" a=1", u" [b]", u"  c=2", u"  [d]",
                                                 u"   e=3", u"[d]", u" e=3"}));
  EXPECT_EQ(ProfDebugList(job, nullptr), 0);
}

TEST(ProfJobs, OpenWithoutANameGivesAnEmptyWorkingJob) {
  int mode = 0;  // shared, then exclusive: recorded even without a file
  for (HPROFJOB h : {ProfJobOpenW(nullptr), ProfJobOpenExclusiveW(nullptr)}) {
    Job job(h);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(ProfGetError(job), 0);
    EXPECT_EQ(Dump(job, nullptr), u"");
    EXPECT_EQ(std::u16string(job->fileName.Get()), u"");
    EXPECT_EQ(job->fileName.capacity, 256u);
    EXPECT_EQ(job->file, nullptr);
    EXPECT_EQ(job->baseLevel, 0);
    EXPECT_FALSE(job->wasCompressed);
    EXPECT_EQ(job->openMode, mode++);
    EXPECT_EQ(std::u16string(job->rootList.name.Chars()), u"/");
    EXPECT_EQ(job->rootList.parent, nullptr);
  }
}

TEST(ProfJobs, OpenWithANameKeepsItAndReportsThatNoFileWasRead) {
  const std::u16string longName = u"/tmp/" + std::u16string(400, u'p') + u".prof";
  Job shared(ProfJobOpenW(W(u"/tmp/zxut-no-such-dir/x.prof")));
  Job exclusive(ProfJobOpenExclusiveW(W(longName.c_str())));
  EXPECT_EQ(ProfGetError(shared), PROF_ERR_OPEN);
  EXPECT_EQ(ProfGetError(exclusive), PROF_ERR_SAVE);
  EXPECT_EQ(std::u16string(shared->fileName.Get()), u"/tmp/zxut-no-such-dir/x.prof");
  EXPECT_EQ(std::u16string(exclusive->fileName.Get()), longName);
  EXPECT_EQ(exclusive->fileName.capacity, longName.size() + 1);
  // The job is a working, empty profile all the same.
  Set(shared, nullptr, u"k", u"v");
  EXPECT_EQ(Get(shared, nullptr, u"k"), u"v");
}

TEST(ProfJobs, ReferenceCountsKeepTheJobAlive) {
  HPROFJOB h = ProfJobOpenW(nullptr);
  zx::clsProfJob* job = Internal(h);
  EXPECT_EQ(job->refCount.load(), 1u);
  ProfJobAddRef(h);
  EXPECT_EQ(job->refCount.load(), 2u);
  Set(h, nullptr, u"k", u"v");
  ProfJobClose(h);
  EXPECT_EQ(job->refCount.load(), 1u);
  EXPECT_EQ(Get(h, nullptr, u"k"), u"v");  // still alive for the second holder
  // Counting from many threads at once stays exact.
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([h] {
      for (int i = 0; i < 20000; ++i) ProfJobAddRef(h);
      for (int i = 0; i < 20000; ++i) ProfJobClose(h);
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(job->refCount.load(), 1u);
  ProfJobClose(h);  // the last reference: the job goes (ASan watches this)
  ProfJobAddRef(nullptr);
  ProfJobClose(nullptr);
}

TEST(ProfJobs, NullJobsGetTheirCodesAndNothingHappens) {
  EXPECT_EQ(ProfGetError(nullptr), PROF_ERR_HANDLE);
  EXPECT_EQ(ProfDebugList(nullptr, nullptr), PROF_ERR_HANDLE);
  Job job;
  EXPECT_EQ(ProfCopyList(job, nullptr, nullptr, nullptr), PROF_ERR_HANDLE);
  EXPECT_EQ(ProfCopyList(nullptr, nullptr, job, nullptr), PROF_ERR_HANDLE);
  EXPECT_EQ(ProfGetListW(nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(ProfCreateListW(nullptr, nullptr, W(u"a")), nullptr);
  EXPECT_EQ(ProfAppendListW(nullptr, nullptr, W(u"a")), nullptr);
  EXPECT_EQ(ProfEmptyList(nullptr, nullptr), 0);
  EXPECT_EQ(ProfDeleteListW(nullptr, nullptr, W(u"a")), 0);
  EXPECT_EQ(ProfDeleteItemW(nullptr, nullptr, W(u"a")), 0);
  ProfSetStringW(nullptr, nullptr, W(u"a"), W(u"b"));
  ProfAppendStringW(nullptr, nullptr, W(u"a"), W(u"b"));
  ProfSetIntW(nullptr, nullptr, W(u"a"), 1);
  char16_t buf[8] = u"xxxxxxx";
  EXPECT_EQ(ProfGetStringW(nullptr, nullptr, W(u"a"), reinterpret_cast<LPWSTR>(buf), 8, W(u"def")), 0);
  EXPECT_EQ(std::u16string(buf), u"def");  // the default is delivered all the same
  EXPECT_EQ(ProfGetStringLengthW(nullptr, nullptr, W(u"a")), 0);
  LONG v = 42;
  EXPECT_EQ(ProfGetIntW(nullptr, nullptr, W(u"a"), &v, 7), 0);
  EXPECT_EQ(v, 42);
  RECT r{1, 2, 3, 4}, d{5, 6, 7, 8};
  EXPECT_EQ(ProfGetRectW(nullptr, nullptr, W(u"a"), &r, &d), 0);
  EXPECT_EQ(r.left, 1);
}

TEST(ProfJobs, GlobalOptions) {
  CodePageGuard guard;
  for (auto [what, version] : {std::pair{0, 5637}, {1, 22}, {2, 5}, {3, -1}})
    EXPECT_EQ(ProfGetVersion(what), version) << what;
  ProfSetOption(PROF_OPTION_CODEPAGE, 65001);
  EXPECT_EQ(ProfGetOption(PROF_OPTION_CODEPAGE), 65001);
  ProfSetOption(2, 1252);
  EXPECT_EQ(ProfGetOption(PROF_OPTION_CODEPAGE), 65001);
  EXPECT_EQ(ProfGetOption(2), 0);
  ProfSetOption(PROF_OPTION_CODEPAGE, 1252);
  EXPECT_EQ(ProfGetOption(PROF_OPTION_CODEPAGE), 1252);
  ProfSetDebug(1);
}

TEST(ProfTree, DeepTreesAreBuiltWalkedCopiedAndDroppedWithoutRecursion) {
  Job job;
  std::u16string path;
  for (int i = 0; i < 100000; ++i) path += u"d/";
  path += u"leaf";
  Set(job, nullptr, path.c_str(), u"bottom");
  EXPECT_EQ(Get(job, nullptr, path.c_str()), u"bottom");
  Job copy;
  EXPECT_EQ(ProfCopyList(copy, nullptr, job, nullptr), 0);
  EXPECT_EQ(Get(copy, nullptr, path.c_str()), u"bottom");
  HPROFLIST deepest = ProfGetListW(job, nullptr, W(path.substr(0, path.size() - 5).c_str()));
  ASSERT_NE(deepest, nullptr);
  EXPECT_EQ(ProfDeleteListW(job, deepest, nullptr), 1);
  EXPECT_EQ(ProfDeleteItemW(copy, nullptr, W(path.c_str())), 1);
  // Both jobs end here with 100,000 nested lists each.
}
