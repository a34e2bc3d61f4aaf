// Helpers of the temporary-file tests: the program runs with a registry folder of
// its own and the developer mode on (for the remover's warning lines), and builds
// the debug channel before the first test, so that the channel doesn't take the
// diagnostic lines over from a capture.
#pragma once
#include "support/support_test_util.h"
