#include "tempfile_test_util.h"

namespace {

const bool g_setUp = zxsupport::SetUpDeveloperProgram("tempfile_reg");

}  // namespace
