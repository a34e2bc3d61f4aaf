// The mail header reader: the header block of the file's first 64 KiB, its
// fields one by one through a substitution whose callback keeps the four that
// count.
#include "core/regex/RegEx.h"
#include "docinfo/DocReaders.h"
#include "docinfo/Docu.h"
#include "docinfo/Mail.h"
#include "docinfo/MailAddress.h"
#include "docinfo/Rfc1342Decoder.h"

namespace zx {
namespace {

bool IsAddressField(const String& name) {
  const IString n(name);
  for (const char16_t* a : {u"From", u"To", u"Reply-To", u"Return-Path", u"CC", u"BCC"}) {
    if (n.Compare(a) == 0) return true;
  }
  return false;
}

// One field of the header: name and value as the field pattern found them.
void TakeField(clsDocu& doc, const String& name, const String& value) {
  try {
    if (name == u"From") {
      doc.author = DecodeMailField(value, name);
    } else if (name == u"To") {
      doc.lastAuthor = DecodeMailField(value, name);
    } else if (name == u"Subject") {
      // Unfolded by dropping each line break with the one white-space character
      // behind it: "a\r\n b" is "ab".
      clsRegEx fold(String(u"\r\n\\s"));
      doc.title = DecodeMailField(fold.Substitute(value, String()), name);
    } else if (name == u"Date") {
      plat::SystemTime t = kUnsetSystemTime;
      ParseMailDate(value, &t);
      if (MailDateInRange(t)) doc.created = t;
    }
  } catch (const clsException&) {
    // The field stays unset; the scan goes on with the next one.
  }
}

}  // namespace

String DecodeMailField(const String& value, const String& name) {
  return IsAddressField(name) ? DecodeAddressField(value) : DecodeEncodedWords(value);
}

bool FindMailHeaderBlock(const String& text, String* block) {
  // Anchored: without an empty line behind the start there is none behind any
  // later line either, and unanchored the engine would try every line again.
  clsRegEx header(String(u"^(.*)(?:\r\n\r\n|\r{2}|\n{2})"),
                  kRegExMultiline | kRegExDotAll | kRegExUngreedy | kRegExAnchored);
  clsRegExMatchList m;
  if (!header.Match(text, &m) || m.entries() < 2) return false;
  *block = m.find(1).text;
  // The empty line also ends the last field: its line break goes back to the
  // block, so that the field pattern, which wants one behind each field, sees
  // that field too.
  if (m.find(0).text.View().ends_with(u"\r\n\r\n")) block->Append(u"\r\n");
  return true;
}

int ReadMailInfo(clsDocu& doc, clsFile& file) {
  String text;
  if (!ReadDocumentHeadText(file, &text)) return 0;
  String block;
  if (!FindMailHeaderBlock(text, &block)) return 0;
  clsRegEx field(String(u"^(.+?): ((.|\r\n\\s)+)\r\n"), kRegExMultiline);
  field.Substitute(block, [&doc](const clsRegExMatchList& m, String& replacement) {
    if (m.entries() >= 3) TakeField(doc, m.find(1).text, m.find(2).text);
    replacement.Clear();
    return true;
  });
  return 0;
}

}  // namespace zx
