// Helpers of the thread tests: the program runs with a registry folder of its own
// and the developer mode on (for the extra lines of the thread end), and builds the
// debug channel before the first test, so that the channel doesn't take the
// diagnostic lines over from a capture.
#pragma once
#include "support/support_test_util.h"
