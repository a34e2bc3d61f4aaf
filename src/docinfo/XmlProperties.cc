#include "docinfo/XmlProperties.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "core/charset/CharsetTable.h"
#include "core/diag/Diag.h"
#include "core/regex/RegEx.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/ComInitialize.h"
#include "docinfo/DocMarkup.h"
#include "docinfo/DocReaders.h"
#include "platform/codepage.h"

namespace zx {
namespace {

constexpr uint32_t kReadBlock = 65536;
// A text node is kept up to this many bytes; the rest of it is dropped.
constexpr size_t kTextLimit = 1u << 20;

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

String FromUtf8(const std::string& text) {
  return StringFromNarrow(text.data(), static_cast<int64_t>(text.size()), plat::kCpUtf8);
}

struct scXmlState {
  XML_Parser parser = nullptr;
  clsDocu* doc = nullptr;
  std::vector<std::string> stack;
  std::string text;
  String keywords;
  bool found = false;
  bool refused = false;
};

void OnText(scXmlState& s) {
  if (s.text.find_first_not_of(" \t\r\n") == std::string::npos) {  // whitespace is no text node
    s.text.clear();
    return;
  }
  const size_t n = s.stack.size();
  if (n >= 3) {
    const std::string& element = s.stack[n - 1];
    const std::string& parent = s.stack[n - 2];
    const std::string& grandparent = s.stack[n - 3];
    clsDocu& doc = *s.doc;
    if (parent == "meta:keywords" && grandparent == "cp:coreProperties") {
      if (!s.keywords.IsEmpty()) s.keywords.Append(u", ");
      s.keywords.Append(FromUtf8(s.text));
      doc.keywords = s.keywords;
    } else if (parent == "cp:coreProperties") {
      s.found = true;
      const String value = FromUtf8(s.text);
      switch (XmlElementTarget(element)) {
        case kXmlTitle: doc.title = value; break;
        case kXmlSubject: doc.subject = value; break;
        case kXmlAuthor: doc.author = value; break;
        case kXmlCreated: ParseIso8601Date(value, &doc.created); break;
        case kXmlModified: ParseIso8601Date(value, &doc.lastSaved); break;
        case kXmlLastAuthor: doc.lastAuthor = value; break;
        case kXmlKeywords: s.keywords = value; doc.keywords = value; break;
        case kXmlComments: doc.comments = value; break;
        case kXmlNone: break;
      }
    }
  }
  s.text.clear();
}

void XMLCALL StartElement(void* data, const XML_Char* name, const XML_Char**) {
  auto& s = *static_cast<scXmlState*>(data);
  OnText(s);
  s.stack.emplace_back(name);
}

void XMLCALL EndElement(void* data, const XML_Char*) {
  auto& s = *static_cast<scXmlState*>(data);
  OnText(s);
  if (!s.stack.empty()) s.stack.pop_back();
}

void XMLCALL Characters(void* data, const XML_Char* text, int length) {
  auto& s = *static_cast<scXmlState*>(data);
  if (s.text.size() < kTextLimit) s.text.append(text, std::min<size_t>(length, kTextLimit - s.text.size()));
}

// Any entity declaration stops the parse: nothing is expanded, nothing fetched.
void XMLCALL EntityDeclaration(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                               const XML_Char*, const XML_Char*, const XML_Char*) {
  auto& s = *static_cast<scXmlState*>(data);
  s.refused = true;
  XML_StopParser(s.parser, XML_FALSE);
}

// Encodings the parser does not know itself: single-byte code pages by the
// charset table (windows-1252, iso-8859-2, koi8-r, ...). Multi-byte ones stay
// readable only where their bytes are ASCII.
int XMLCALL UnknownEncoding(void*, const XML_Char* name, XML_Encoding* info) {
  const uint32_t codePage = CodePageFromCharsetName(String(name));
  if (codePage == plat::kCpUtf8 || codePage == 1200 || codePage == 1201) return XML_STATUS_ERROR;
  for (int b = 0; b < 256; ++b) {
    const char byte = static_cast<char>(b);
    char16_t wide[2] = {};
    if (b < 0x80) {
      info->map[b] = b;
      continue;
    }
    // A byte that is no character of its own (undefined, or a lead byte) is malformed.
    const int n = plat::MultiByteToWide(codePage, plat::kMbErrInvalidChars, &byte, 1, wide, 2);
    info->map[b] = n == 1 && wide[0] >= 0x80 ? wide[0] : -1;
  }
  info->data = nullptr;
  info->convert = nullptr;
  info->release = nullptr;
  return XML_STATUS_OK;
}

struct scParserDeleter {
  void operator()(XML_ParserStruct* p) const { XML_ParserFree(p); }
};

// 0 when the parser delivered a property, 1 when it delivered none, -1 on an error.
int ParseProperties(clsDocu& doc, clsFile& file) {
  std::unique_ptr<XML_ParserStruct, scParserDeleter> parser(XML_ParserCreate(nullptr));
  if (!parser) return 1;
  scXmlState s;
  s.parser = parser.get();
  s.doc = &doc;
  s.keywords = doc.keywords.Text();
  XML_SetUserData(s.parser, &s);
  XML_SetElementHandler(s.parser, StartElement, EndElement);
  XML_SetCharacterDataHandler(s.parser, Characters);
  XML_SetEntityDeclHandler(s.parser, EntityDeclaration);
  XML_SetParamEntityParsing(s.parser, XML_PARAM_ENTITY_PARSING_NEVER);
  XML_SetUnknownEncodingHandler(s.parser, UnknownEncoding, nullptr);
  if (file.SetPos(0) != 0) return 1;
  for (;;) {
    void* buffer = XML_GetBuffer(s.parser, kReadBlock);
    if (!buffer) return 1;
    const uint32_t got = file.Read(buffer, kReadBlock);
    if (XML_ParseBuffer(s.parser, static_cast<int>(got), got == 0) != XML_STATUS_OK) {
      const String text = s.refused ? String(u"an entity declaration (refused)")
                                    : String(XML_ErrorString(XML_GetErrorCode(s.parser)));
      DiagFormat(u"ERR: read() returned %s", text.wchar());
      return -1;
    }
    if (got == 0) break;
  }
  return s.found ? 0 : 1;
}

// The regular-expression path over the head of the file.
int ReadPropertyBlockOfHead(clsDocu& doc, clsFile& file) {
  String head;
  if (!ReadDocumentHeadText(file, &head)) return 0;
  // The opening tag may carry attributes (namespace declarations, as producers
  // write them today).
  thread_local std::unique_ptr<clsRegEx> t_block;  // on the heap: the static TLS block is small
  if (!t_block) t_block = std::make_unique<clsRegEx>(String(u"<o:DocumentProperties(?:\\s[^>]*)?>(.*)</o:DocumentProperties>"),
                              kRegExCaseless | kRegExDotAll | kRegExUngreedy);
  clsRegEx& block = *t_block;
  clsRegExMatchList m;
  if (!block.Match(head, &m) || m.entries() < 2) return 0;
  return ReadPropertyBlock(doc, UnescapeHtmlNumeric(m.find(1).text));
}

}  // namespace

eXmlTarget XmlElementTarget(std::string_view name) {
  static constexpr struct {
    std::string_view name;
    eXmlTarget target;
  } kTable[] = {
      {"dc:title", kXmlTitle},          {"dc:subject", kXmlSubject},
      {"dc:creator", kXmlAuthor},       {"meta:initial-creator", kXmlAuthor},
      {"dcterms:created", kXmlCreated}, {"meta:creation-date", kXmlCreated},
      {"dcterms:modified", kXmlModified}, {"dc:date", kXmlModified},
      {"cp:lastModifiedBy", kXmlLastAuthor}, {"cp:keywords", kXmlKeywords},
      {"meta:keyword", kXmlKeywords},   {"dc:description", kXmlComments},
  };
  for (const auto& row : kTable)
    if (EqualNoCase(row.name, name)) return row.target;
  return kXmlNone;
}

int ReadXmlProperties(clsDocu& doc, clsFile& file) {
  clsCOMInitialize com;  // the parser needs none; kept for the library-wide threading setting
  const int parsed = ParseProperties(doc, file);
  if (parsed <= 0) return parsed;
  return ReadPropertyBlockOfHead(doc, file);
}

}  // namespace zx
