// Variants as values: "var://" and the packed binary form of the variant,
// compressed from 101 bytes up.
#include "core/strings/String.h"
#include "file/File.h"
#include "packed/PackedString.h"
#include "prof/Prof.h"
#include "profdata/ProfData.h"
#include "variant/Variant.h"

namespace zx::prof {
namespace {

constexpr char16_t kPrefix[] = u"var://";
constexpr size_t kPrefixLength = 6;
constexpr uint64_t kCompressFrom = 101;

// The variant class takes references on the stream it is given: a counted
// memory stream, not an object of this frame.
bool NewMemoryStream(clsComRef<IStream>& out) {
  IStream* s = nullptr;
  if (plat::CreateMemoryStream(&s) < 0 || s == nullptr) return false;
  out.Attach(s);
  s->Release();  // Attach took its own reference
  return true;
}

}  // namespace

bool VariantToContents(const VARIANT& value, String& text) {
  // The system's copy refuses tags it does not know as variants (FILETIME, CLSID);
  // the binary form has them, so such a value is written as it stands.
  clsVariant copy;
  const VARIANT& source = plat::VariantCopyInd(&copy, &value) < 0 ? value : copy;
  clsComRef<IStream> stream;
  if (!NewMemoryStream(stream) || !clsVariant::Write(source, stream.Get())) return false;
  clsFileRW binary(stream.Get());
  const String packed = Pack(binary, binary.GetSize() >= kCompressFrom, String());
  std::u16string joined(kPrefix);
  joined += packed.View();
  text = String(std::u16string_view(joined));
  return true;
}

int32_t VariantFromContents(const char16_t* text, VARIANT* out) {
  if (text == nullptr) return kErrFormat;
  if (out == nullptr) return kOk;
  clsVariant result;
  const std::u16string_view view(text);
  if (view.substr(0, kPrefixLength) == std::u16string_view(kPrefix)) {
    clsComRef<IStream> stream;
    if (NewMemoryStream(stream)) {
      clsFileRW binary(stream.Get());
      if (UnpackChecked(binary, String(view.substr(kPrefixLength)), String()) != UnpackResult::kWritten ||
          !clsVariant::Read(result, stream.Get()))
        result.Clear();
    }
  } else if (!view.empty()) {
    result.Assign(String(view));
  }
  plat::VariantClear(out);
  *out = result;
  plat::VariantInit(&result);  // ownership went to out
  return kOk;
}

void PutVariant(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, const VARIANT* value) {
  if (job == nullptr || value == nullptr) return;
  String text;
  if (!VariantToContents(*value, text)) return;
  if (append) AppendString(job, list, path, text.wchar());
  else SetString(job, list, path, text.wchar());
}

int32_t GetVariant(clsProfJob* job, clsItemList* list, const char16_t* path, VARIANT* out, const VARIANT* def) {
  if (job == nullptr || out == nullptr) return kOk;
  clsItem* item = FindValue(job, list, path);
  if (item == nullptr) {
    plat::VariantClear(out);
    if (def != nullptr) plat::VariantCopyInd(out, def);
    return kErrNotFound;
  }
  const String text = item->value.Text();
  return VariantFromContents(text.wchar(), out);
}

}  // namespace zx::prof
