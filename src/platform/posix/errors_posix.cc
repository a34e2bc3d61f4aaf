// Linux: per-thread error numbers and the system's English error texts, from a table.
#include <algorithm>

#include "platform/errors.h"

namespace plat {
namespace {

thread_local uint32_t t_lastError = 0;

struct ErrorText {
  uint32_t code;
  const char16_t* text;
};
// The texts of FormatMessageW(FROM_SYSTEM) on an English system. Sorted by code.
constexpr ErrorText kTexts[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {8, u"Not enough memory resources are available to process this command."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {15, u"The system cannot find the drive specified."},
    {16, u"The directory cannot be removed."},
    {17, u"The system cannot move the file to a different disk drive."},
    {18, u"There are no more files."},
    {19, u"The media is write protected."},
    {21, u"The device is not ready."},
    {29, u"The system cannot write to the specified device."},
    {30, u"The system cannot read from the specified device."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {33, u"The process cannot access the file because another process has locked a portion of the file."},
    {38, u"Reached the end of the file."},
    {50, u"The request is not supported."},
    {80, u"The file exists."},
    {87, u"The parameter is incorrect."},
    {109, u"The pipe has been ended."},
    {112, u"There is not enough space on the disk."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {145, u"The directory is not empty."},
    {170, u"The requested resource is in use."},
    {183, u"Cannot create a file when that file already exists."},
    {206, u"The filename or extension is too long."},
    {223, u"The file size exceeds the limit allowed and cannot be saved."},
    {234, u"More data is available."},
    {258, u"The wait operation timed out."},
    {259, u"No more data is available."},
    {267, u"The directory name is invalid."},
    {995, u"The I/O operation has been aborted because of either a thread exit or an application request."},
    {997, u"Overlapped I/O operation is in progress."},
    {1004, u"Invalid flags."},
    {1009, u"The configuration registry database is corrupt."},
    {1113, u"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1168, u"Element not found."},
    {1223, u"The operation was canceled by the user."},
    {1460, u"This operation returned because the timeout period expired."},
    {1813, u"The specified resource type cannot be found in the image file."},
    {1814, u"The specified resource name cannot be found in the image file."},
    {1815, u"The specified resource language ID cannot be found in the image file."},
    {1921, u"The name of the file cannot be resolved by the system."},
};

// HRESULTs with texts of their own (the others of the Win32 facility read as their
// error number).
constexpr ErrorText kHresultTexts[] = {
    {0x80004001, u"Not implemented"},
    {0x80004002, u"No such interface supported"},
    {0x80004003, u"Invalid pointer"},
    {0x80004004, u"Operation aborted"},
    {0x80004005, u"Unspecified error"},
    {0x8000FFFF, u"Catastrophic failure"},
};

const char16_t* Lookup(uint32_t code) {
  for (const ErrorText& e : kHresultTexts)
    if (e.code == code) return e.text;
  if ((code & 0xFFFF0000u) == 0x80070000u) code &= 0xFFFF;
  const ErrorText* end = kTexts + sizeof kTexts / sizeof kTexts[0];
  const ErrorText* it = std::lower_bound(
      kTexts, end, code, [](const ErrorText& e, uint32_t c) { return e.code < c; });
  return (it != end && it->code == code) ? it->text : nullptr;
}

}  // namespace

uint32_t LastError() { return t_lastError; }
void SetLastError(uint32_t code) { t_lastError = code; }

bool SystemErrorText(uint32_t code, uint16_t langId, std::u16string& out) {
  // The table is English: neutral (0), the user's/system's default (0x0400, 0x0800)
  // and any English language ask for it; other languages are not installed.
  uint16_t primary = langId & 0x3FF;
  if (langId != 0 && langId != 0x0400 && langId != 0x0800 && primary != 0x09) {
    SetLastError(kErrResourceLangNotFound);
    return false;
  }
  const char16_t* text = Lookup(code);
  if (!text) {
    SetLastError(kErrMrMidNotFound);
    return false;
  }
  out = text;
  out += u"\r\n";
  return true;
}

}  // namespace plat
