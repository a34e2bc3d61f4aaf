// Profiles through the clipboard: within one process, and (Linux) from one
// process to another through the per-user slot folder.
#include <cstdlib>

#include "profdata_util.h"
#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace pdtest;

namespace {

// Linux: a private clipboard folder for this program, so that tests do not meet
// the user's own clipboard.
class PrivateClipboard {
 public:
  PrivateClipboard() : dir_("clip"), env_({{"XDG_RUNTIME_DIR", nullptr}}) {
#if !defined(_WIN32)
    fs::permissions(dir_.path(), fs::perms::owner_all, fs::perm_options::replace);
    setenv("XDG_RUNTIME_DIR", dir_.path().string().c_str(), 1);
#endif
  }
  const fs::path& path() const { return dir_.path(); }

 private:
  zxsupport::ScratchDir dir_;
  zxsupport::ScopedEnv env_;
};

}  // namespace

TEST(ProfClipboard, CopyAndPaste) {
  PrivateClipboard clip;
  Job job;
  Fill(job);
  ASSERT_EQ(0, ProfSaveToClipboard(job, nullptr, PROF_FMT_XML | PROF_SAVE_COMPRESSED));  // only the format counts
  EXPECT_TRUE(ProfIsClipboardDataAvailable());
  Job pasted(ProfJobOpenClipboard(nullptr));
  EXPECT_EQ(0, ProfGetError(pasted));
  EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(pasted, nullptr, u"sec2/key12"));
  EXPECT_EQ(0, ProfSaveToClipboard(nullptr, nullptr, 0));
  Job empty;
  ASSERT_EQ(0, ProfSaveToClipboard(empty, nullptr, PROF_FMT_TEXT));
  Job none(ProfJobOpenClipboard(nullptr));
  EXPECT_EQ(0, ProfGetError(none));
  EXPECT_EQ(u"<missing>", Get(none, nullptr, u"sec2/key12"));
#if !defined(_WIN32)
  EXPECT_TRUE(fs::exists(clip.path() / "zxut22-clipboard" / "ZrkProfCBFormat"));
  EXPECT_TRUE(fs::exists(clip.path() / "zxut22-clipboard" / "format-1"));
#endif
}

#if !defined(_WIN32)
// Two processes: the child copies, the parent pastes after it has ended.
TEST(ProfClipboard, TwoProcesses) {
  PrivateClipboard clip;
  fs::remove_all(clip.path() / "zxut22-clipboard");
  EXPECT_FALSE(ProfIsClipboardDataAvailable());
  Job failed(ProfJobOpenClipboard(nullptr));
  EXPECT_EQ(PROF_ERR_OPEN, ProfGetError(failed));
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    HPROFJOB job = ProfJobOpenW(nullptr);
    ProfSetStringW(job, nullptr, W(u"from/child"), W(u"hello"));
    _exit(ProfSaveToClipboard(job, nullptr, PROF_FMT_TEXT) == 0 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_TRUE(ProfIsClipboardDataAvailable());
  Job pasted(ProfJobOpenClipboard(nullptr));
  EXPECT_EQ(u"hello", Get(pasted, nullptr, u"from/child"));
  const auto perms = fs::status(clip.path() / "zxut22-clipboard").permissions();
  EXPECT_EQ(fs::perms::owner_all, perms & fs::perms::all);
}
#endif
