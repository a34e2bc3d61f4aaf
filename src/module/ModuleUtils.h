// The small exports of the module frame: flags, error lines, the assertion, client
// module attach and detach lines, string length, pointer tests and the CBT hook.
// Threads: any thread; what they print goes through the debug channel's lock.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "platform/cbt_hook.h"

namespace zx {

// UtilGetFlags: 1 while debug output is active.
int32_t ModuleFlags();

// UtilError's line: "\nZR32UTIL['']: error in '<function>' (<reason>): <detail>\n".
void ErrorLine(const char16_t* function, const char16_t* reason, const char16_t* detail);
// The second form, for buffer errors of the path exports.
void ErrorLineBuffer(const char16_t* function, const char16_t* text, const void* pointer, int32_t error);

// The assertion text as the box shows it: at most 80 characters.
constexpr int kAssertChars = 81;
void AssertionText(char16_t (&text)[kAssertChars], const char16_t* expression, const char16_t* file,
                   uint32_t line);
// UtilAssert: shows the box and ends the process with -1 whichever button is pressed.
void Assertion(const char16_t* expression, const char16_t* file, uint32_t line);

// UtilModuleOnAttach / UtilModuleOnDetach.
void ModuleOnAttach(const char16_t* path);
void ModuleOnDetach(const char16_t* path);

// UtilSafeStrlen: 0 for null.
int64_t SafeStrlen(const char16_t* text);
// UtilIsRPtr, UtilIsWPtr, UtilIsString: they test nothing.
int32_t AnyPointerIsValid();

// UtilSetCBTHook: the non-zero debugger test while a debugger is attached (nothing
// done); else 1 when the hook was installed or removed, 0 when the system refused.
int32_t SetCbtHook(plat::CbtCallback callback);

}  // namespace zx
