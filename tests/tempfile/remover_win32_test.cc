// Windows: a file held open without delete sharing refuses deletion (error 32) until
// its holder closes it; the remover keeps trying and deletes it then.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/errors.h"
#include "platform/file.h"
#include "tempfile/TempFileRemover.h"
#include "tempfile_test_util.h"

using namespace zx;
namespace fs = std::filesystem;

TEST(RemoverWindows, AFileHeldOpenGoesOnceItsHolderClosesIt) {
  zxsupport::ScratchDir dir("remover_win");
  zxsupport::ScopedTempFolder temp(dir.path());
  fs::create_directory(dir / "zarnik");
  const fs::path held = dir / "zarnik" / "_22_held.tmp";
  zxsupport::WriteBytes(held, "x");
  fs::last_write_time(held, fs::file_time_type::clock::now() - std::chrono::minutes(1));
  const std::u16string name = zxsupport::U16(held.string());
  plat::FileHandle h = plat::FileOpen(name.c_str(), plat::kGenericRead, plat::kShareRead, plat::kOpenExisting,
                                      plat::kAttrNormal);
  ASSERT_TRUE(plat::IsValidFile(h));
  EXPECT_FALSE(clsTempFileRemover::DeleteTempFile(String(std::u16string_view(name)), {}));
  EXPECT_EQ(plat::LastError(), 32u);

  scTempFileRemoverSeams seams;
  seams.firstWaitMs = 0;
  seams.passWaitUnitMs = 1;
  clsTempFileRemover remover(seams);
  remover.Add(String(std::u16string_view(name)));
  std::this_thread::sleep_for(std::chrono::milliseconds(500));   // several passes
  EXPECT_TRUE(fs::exists(held));
  EXPECT_EQ(remover.PendingNames().size(), 1u);
  plat::FileClose(h);
  for (int i = 0; i < 500 && fs::exists(held); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_FALSE(fs::exists(held));
}
