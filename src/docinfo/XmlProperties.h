// The property reader of ".xml" documents: the flat forms of the office schemas
// through a pull parser (expat, on both targets), and for the older XML form a
// regular expression that finds the "<o:DocumentProperties>" block.
//
// The parser keeps the stack of qualified element names. A text node counts
// when its element's parent is "cp:coreProperties" (three levels at least), or
// when it stands in "meta:keywords" below "cp:coreProperties" (then its values
// are joined with ", "); XmlElementTarget maps the element to the property.
// Only when no property came that way is the head of the file (64 KiB) searched
// for the block.
//
// Safety: a document that declares an entity is refused (no entity is ever
// expanded, external ones are never fetched), so entity bombs stop at once.
// Errors: "ERR: read() returned <parser's text>" and -1 when the document is no
// well-formed XML or declares an entity.
// Threads: any; the parser is a local of the call.
#pragma once
#include <string_view>

#include "docinfo/Docu.h"

namespace zx {

enum eXmlTarget {
  kXmlNone, kXmlTitle, kXmlSubject, kXmlAuthor, kXmlCreated, kXmlModified,
  kXmlLastAuthor, kXmlKeywords, kXmlComments,
};
// The property of an element by its qualified name, compared without regard to
// case ("dc:title", "meta:initial-creator", "dcterms:modified", ...).
eXmlTarget XmlElementTarget(std::string_view qualifiedName);

// (The reader itself, ReadXmlProperties, is declared in DocReaders.h.)

}  // namespace zx
