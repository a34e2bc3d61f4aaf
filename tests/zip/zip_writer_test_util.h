// Reading back what the ZIP writer wrote, field by field, and running the outside
// judges (python's zipfile, unzip -t, 7z t) and the layout model on an archive.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "support/support_test_util.h"

namespace ziptest {

struct CentralEntry {
  uint16_t versionMadeBy = 0, versionNeeded = 0, flags = 0, method = 0, time = 0, date = 0;
  uint32_t crc = 0, compressedSize = 0, size = 0, attributes = 0, localOffset = 0;
  std::string name, comment;   // the bytes as stored
};

struct Archive {
  bool ok = false;             // the end record and the directory were found and read
  uint16_t countOnDisk = 0, countTotal = 0;
  uint32_t directorySize = 0, directoryOffset = 0;
  std::string comment;
  std::vector<CentralEntry> entries;
};

// Reads the end record at the very end (no trailing bytes) and every central
// header it announces, following the directory's size rather than the count.
Archive ReadArchive(const std::string& bytes);

// Where a run that cannot start the judges itself (Windows, under wine) keeps its
// archives for the judges on the build machine (ctest's zip_judge): the folder
// ZXUT_ZIP_KEEP names, or empty.
std::string KeepDir();

// The answers of the outside judges: empty when all accept the archive (or are not
// installed), otherwise what the first one that refused it said. With a keep
// folder the archive is copied there to be judged later.
std::string JudgeArchive(const std::string& path);

// Runs tests/zip/zip_model.py on a manifest (JSON text) and the archive: empty
// when the model's bytes are the archive's, otherwise its report. With a keep
// folder both are copied there (the files the manifest names must stay).
std::string CompareWithModel(const std::string& manifestJson, const std::string& archivePath);

// JSON string literal of UTF-8 text.
std::string JsonString(const std::string& utf8);

}  // namespace ziptest
