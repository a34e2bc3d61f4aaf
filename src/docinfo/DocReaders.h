// The readers of the single document formats. Each takes the document to fill
// and an open file (some the path instead) and answers 0, or a negative value
// when it failed; texts go into the document as string variants, replacing what
// stood there, and dates into its UTC system times. Which reader runs for which
// file, and whether its failure fails the document, is the list's choice
// (DocChooser.cc).
// Errors: no messages unless a reader says otherwise; a damaged file leaves the
// properties that were not read as they were.
// Threads: a reader works on the document it was given and its own locals only.
#pragma once
#include <cstdint>
#include <string>

#include "docinfo/Docu.h"

namespace zx {

// The head of a text document: the file's size as 32 bits, at most 65536 bytes,
// read from position 0. False when the read falls short.
constexpr uint32_t kDocHeadLimit = 65536;
bool ReadDocumentHead(clsFile& file, std::string* bytes);
// The same converted from the default narrow code page.
bool ReadDocumentHeadText(clsFile& file, String* text);

// The readers, one entry each. The list's chooser (DocChooser.cc) calls them in
// its order; an entry left null reads nothing, and the document then counts as
// read with its file dates only (as a file of unknown kind).
using DocFileReader = int (*)(clsDocu& doc, clsFile& file);
using DocPathReader = int (*)(clsDocu& doc, const String& path);
struct scDocReaderSet {
  DocPathReader shellProperties = nullptr;  // may fail: the next readers run
  bool (*isCompoundFile)(const String& path) = nullptr;
  DocPathReader compoundMail = nullptr;     // ".msg" in a compound file
  DocPathReader propertySet = nullptr;      // any other compound file
  DocFileReader tiff = nullptr;             // may fail the document (".tif")
  DocFileReader jpeg = nullptr;
  DocFileReader pdf = nullptr;              // always 0
  DocFileReader html = nullptr;             // always 0
  DocFileReader xmlProperties = nullptr;    // may fail the document (".xml")
  DocFileReader rtf = nullptr;              // always 0
  DocFileReader mail = nullptr;             // always 0
  DocFileReader word2 = nullptr;
  DocFileReader officePackage = nullptr;
  DocFileReader wordPerfect = nullptr;
};

// The readers of this build (DocReaderTable.cc).
const scDocReaderSet& DocReaders();
// Tests: replaces the set (null: back to the build's own).
void SetDocReadersForTests(const scDocReaderSet* readers);

// The readers, defined where each format lives.
int ReadPdfInfo(clsDocu& doc, clsFile& file);
int ReadMailInfo(clsDocu& doc, clsFile& file);
int ReadShellProperties(clsDocu& doc, const String& path);
int ReadTiffInfo(clsDocu& doc, clsFile& file);
int ReadJpegInfo(clsDocu& doc, clsFile& file);
int ReadHtmlInfo(clsDocu& doc, clsFile& file);
int ReadRtfInfo(clsDocu& doc, clsFile& file);
int ReadWord2Info(clsDocu& doc, clsFile& file);
int ReadWordPerfectInfo(clsDocu& doc, clsFile& file);
bool IsCompoundFile(const String& path);                   // CompoundFile.h
int ReadPropertySetInfo(clsDocu& doc, const String& path);    // PropertySet.h
int ReadCompoundMailInfo(clsDocu& doc, const String& path);   // CompoundMail.h
int ReadOfficePackage(clsDocu& doc, clsFile& file);  // OfficePackage.h
int ReadXmlProperties(clsDocu& doc, clsFile& file);  // XmlProperties.h

}  // namespace zx
