// The profile store beyond files: jobs over streams and the clipboard, the
// compressed form on a stream, variants as values ("var://" and the packed binary
// form) and whole files carried as packed values ("File.Entry" lists).
// Errors: the profile store's codes (prof/Prof.h); nothing throws.
// Threads: the job's rule (prof/Prof.h); the clipboard is held only inside a call.
//
//   clsProfJob* job = JobOpenStream(stream, nullptr, 0);
//   AppendFile(job, nullptr, u"attach", u"secret", u"report.pdf");
//   SaveToStream(job, stream, PROF_FMT_XML | 0x40);
#pragma once
#include <cstdint>

#include "platform/com.h"
#include "platform/variant.h"
#include "prof/ProfJob.h"

namespace zx::prof {

// ---- streams: root "/" and base level 0 when rootName is null
clsProfJob* JobOpenStream(IStream* stream, const char16_t* rootName, int32_t baseLevel);
int32_t SaveToStream(clsProfJob* job, IStream* stream, uint32_t flags);

// ---- clipboard (the window is the owner on Windows and ignored elsewhere)
clsProfJob* JobOpenClipboard(void* window);
int32_t SaveToClipboard(clsProfJob* job, void* window, uint32_t flags);
bool IsClipboardDataAvailable();

// ---- variants
void PutVariant(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, const VARIANT* value);
int32_t GetVariant(clsProfJob* job, clsItemList* list, const char16_t* path, VARIANT* out, const VARIANT* def);
// A value's text as a variant: empty, the "var://" form, or the text as BSTR.
int32_t VariantFromContents(const char16_t* text, VARIANT* out);
// The "var://" text of a variant; empty when it cannot be written.
bool VariantToContents(const VARIANT& value, String& text);

// ---- embedded files
void AppendFile(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                const char16_t* fileName);
int32_t GetFile(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                const char16_t* fileName);
void AppendStream(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                  IStream* stream);
int32_t GetStream(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                  IStream* stream);
int32_t AppendFiles(clsProfJob* job, clsItemList* list, const char16_t* pattern, const char16_t* password);
int32_t ExtractFiles(clsProfJob* job, clsItemList* list, const char16_t* folder, const char16_t* password);
// The part of an entry's Name that may be written inside the target folder: the
// last component after any "/", "\" or drive; empty when nothing usable is left.
String SafeEntryName(const String& name);

}  // namespace zx::prof
