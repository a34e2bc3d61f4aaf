// zxut docinfo: the properties of each file, JSON lines with the block's keys
// (judged by Python's json module where there is one), status 1 when a file
// can't be read.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/support_test_util.h"
#include "zxut_test_util.h"

using zxuttest::Lf;
using zxuttest::Zxut;

namespace {

TEST(ZxutDocInfo, PrintsWhatTheListAnswers) {
  zxsupport::ScratchDir dir("zxut_docinfo");
  const std::string file = (dir / "plain.dat").string();
  zxsupport::WriteBytes(file, "nothing a reader knows");
  const zxuttest::Run run = Zxut({"docinfo", file});
  EXPECT_EQ(run.status, 0) << run.err;
  const std::string out = Lf(run.out);
  EXPECT_EQ(out.rfind(file + "\n", 0), 0u) << out;
  EXPECT_NE(out.find("  LastSaved    20"), std::string::npos) << out;
  EXPECT_NE(out.find("  ResolvedPath "), std::string::npos) << out;
  EXPECT_EQ(out.find("Title"), std::string::npos) << out;   // none: not printed
  EXPECT_EQ(out.find("Created"), std::string::npos) << out;

  const zxuttest::Run missing = Zxut({"docinfo", file, (dir / "gone.pdf").string()});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("gone.pdf"), std::string::npos) << missing.err;
  EXPECT_EQ(Zxut({"docinfo"}).status, 2);
  EXPECT_EQ(Zxut({"docinfo", "--xml", file}).status, 2);
}

TEST(ZxutDocInfo, JsonLinesWithTheBlocksKeys) {
  zxsupport::ScratchDir dir("zxut_docinfo_json");
  const std::string file = (dir / "a name.txt").string();
  zxsupport::WriteBytes(file, "text");
  const zxuttest::Run run = Zxut({"docinfo", "--json", file, (dir / "gone.pdf").string()});
  EXPECT_EQ(run.status, 1);
  const std::string out = Lf(run.out);
  EXPECT_NE(out.find("\"LastSaved\": \"20"), std::string::npos) << out;
  // Python reads each line as one object with exactly these keys.
  const std::string judge =
      "python3 -c \"import json,sys\n"
      "keys=['File','Created','LastSaved','Title','Subject','Author','LastAuthor','Keywords','Comments','ResolvedPath']\n"
      "objs=[json.loads(l) for l in sys.stdin if l.strip()]\n"
      "assert len(objs)==2, objs\n"
      "assert all(list(o)==keys for o in objs), objs\n"
      "assert objs[0]['LastSaved'] and objs[0]['ResolvedPath'].endswith('a name.txt') and objs[0]['Title'] is None\n"
      "assert all(v is None for k,v in objs[1].items() if k!='File')\n"
      "print('ok')\"";
  std::string verdict;
  if (!zxsupport::RunFilter(judge, out, verdict)) GTEST_SKIP() << "no python3 here";
  EXPECT_EQ(verdict, "ok\n");
}

}  // namespace
