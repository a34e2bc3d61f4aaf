// The property readers of office packages: ODF ("meta.xml") and OOXML
// ("docProps/core.xml") documents are ZIP archives, read here without a ZIP
// library through OfficePackageZip.h; regular expressions take the properties
// out of the entry's XML text, whose references (&amp;, &#233;, ...) are then
// resolved. An XML declaration's encoding chooses the code page of the text.
// Errors: the ZIP reader's warnings; see ReadOfficePackage for the result.
// Threads: any; the expressions are per thread.
#pragma once
#include "docinfo/Docu.h"

namespace zx {

// The XML text of a package's property entry into the document (ODF and OOXML
// tables of their own). 0 when the entry was read or was empty; -1 when the
// file is no readable archive or holds neither entry.
// (Declared for the reader table in DocReaders.h as ReadOfficePackage.)

// The five predefined entities and numeric character references of XML text
// resolved in one pass; anything else stays as it stands.
String UnescapeXmlText(const String& text);

}  // namespace zx
