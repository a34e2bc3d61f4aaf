// Many callers on one list at once: the same documents and different ones, with
// the reload thread dropping entries under them. Run under the thread sanitizer
// by the CI script.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "list_test_util.h"

using namespace zx;
using listtest::Result;
using listtest::Str;

TEST(DocuListThreads, CallersShareOneList) {
  zxsupport::ScratchDir dir("doclist_threads");
  listtest::FakeReaders readers;
  for (int i = 0; i < 8; ++i) zxsupport::WriteBytes(dir / ("d" + std::to_string(i) + ".pdf"), "%PDF");
  clsDocuList list(1);   // short-lived entries: the reload thread drops them while callers ask
  std::atomic<int> wrong{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 8; ++t)
    callers.emplace_back([&, t] {
      for (int i = 0; i < 300; ++i) {
        const int n = (t + i) % 9;   // d8.pdf doesn't exist
        Result r;
        const String name = Str(dir / ("d" + std::to_string(n) + ".pdf"));
        const int32_t got = list.Get(name, &r.data, 5);
        if (got != (n < 8 ? 1 : 0)) ++wrong;
        if (got == 1 && r.Text(listtest::kTitle) != u"pdf") ++wrong;
        if (i % 50 == 0) list.ReloadPass();
      }
    });
  for (std::thread& c : callers) c.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_LE(list.CachedCount(), 9);
}
