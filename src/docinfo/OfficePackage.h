// The property readers of office packages: ODF ("meta.xml") and OOXML
// ("docProps/core.xml") documents are ZIP archives, read here without a ZIP
// library through OfficePackageZip.h; regular expressions take the properties
// out of the entry's XML text, whose references (&amp;, &#233;, ...) are then
// resolved. An XML declaration's encoding chooses the code page of the text
// (the charset table; "UTF-8" in any spelling is UTF-8), and the values are
// taken as that conversion gives them, not decoded a second time.
// Errors: the ZIP reader's warnings; see ReadOfficePackage for the result.
// Threads: any; the expressions are per thread.
#pragma once
#include "docinfo/Docu.h"

namespace zx {

// ReadOfficePackage (declared with the other readers in DocReaders.h): the XML
// text of a package's property entry into the document, ODF and OOXML each by
// their own table (ODF: meta:initial-creator is the author, dc:creator the last
// author; loose meta:keyword elements are joined with ", "). 0 when the entry
// was read or was empty; -1 when the file is no readable archive or holds
// neither entry.

// The five predefined entities and numeric character references of XML text
// resolved in one pass; anything else stays as it stands.
String UnescapeXmlText(const String& text);

}  // namespace zx
