#include "thread_test_util.h"

namespace {

const bool g_setUp = zxsupport::SetUpDeveloperProgram("thread_reg");

}  // namespace
