// The identity strings of the process and of this library, set once at process
// attach (or on first use in a copy that had none) and read-only afterwards.
// Threads: any thread; the strings are built once under the static-initialisation
// guard and never change.
#pragma once
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

struct scIdentity {
  String processPath;       // upper-cased, at most 260 characters
  String processFileName;   // with extension, upper-cased
  String processBaseName;   // without extension, at most 256 characters
  String processFolder;     // drive and directory, with the final separator
  String libraryPath;
  String libraryFileName;
  String libraryBaseName;   // the default tag of debug lines
  String libraryFolder;
  uint32_t windowsVersion = 0;   // 6.0 reads 0x0600
  uint32_t session = 0;          // remote session of the process, else 0
};

const scIdentity& Identity();

// Path helpers on both separators.
String FileNameOfPath(const String& path);
String FolderOfPath(const String& path);
String BaseNameOfFile(const String& fileName);
// The base name of a library's file: a Unix shared object's version is no part of it
// ("LIBZXUT22.SO.22.5" and "LIBZXUT22.SO" give "LIBZXUT22", as "ZXUT22.DLL" "ZXUT22").
String BaseNameOfLibrary(const String& fileName);

// The version text of a module: its path upper-cased, its file version and build,
// or its file name and " <no version info>".
String ModuleVersionText(const char16_t* path);

}  // namespace zx
