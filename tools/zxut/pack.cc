// zxut pack / unpack: files to packed text and back.
#include <cstdio>
#include <cstring>
#include <string>

#include "core/strings/CharsetConversion.h"
#include "file/File.h"
#include "packed/PackedString.h"

namespace {

zx::String Arg(const char* text) { return zx::StringFromNarrow(text, -1, 65001); }

int Fail(const char* what, const char* name) {
  std::fprintf(stderr, "zxut: %s: %s\n", what, name);
  return 1;
}

int UsageError(const char* usage) {
  std::fprintf(stderr, "usage: zxut %s\n", usage);
  return 2;
}

}  // namespace

// zxut pack [--compress] [--password P] FILE
int RunPack(int argc, char** argv) {
  const char* usage = "pack [--compress] [--password P] FILE";
  bool compress = false;
  const char* password = "";
  const char* name = nullptr;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--compress") == 0) {
      compress = true;
    } else if (std::strcmp(argv[i], "--password") == 0 && i + 1 < argc) {
      password = argv[++i];
    } else if (argv[i][0] == '-' || name) {
      return UsageError(usage);
    } else {
      name = argv[i];
    }
  }
  if (!name) return UsageError(usage);
  zx::clsFile file;
  file.SetDeleteOnRelease(false);  // on the stack
  if (file.Open(Arg(name), 0, 0, 2, zx::kFileNormal) != 0) return Fail("cannot open", name);
  const zx::String text = zx::Pack(file, compress, Arg(password));
  if (text.IsEmpty() && file.GetSize() != 0) return Fail("cannot pack", name);
  std::string out(text.View().begin(), text.View().end());  // base64: ASCII only
  std::printf("%s\n", out.c_str());
  return 0;
}

// zxut unpack [--password P] TEXTFILE OUT
int RunUnpack(int argc, char** argv) {
  const char* usage = "unpack [--password P] TEXTFILE OUT";
  const char* password = "";
  const char* names[2] = {};
  int count = 0;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--password") == 0 && i + 1 < argc) {
      password = argv[++i];
    } else if (argv[i][0] == '-' || count == 2) {
      return UsageError(usage);
    } else {
      names[count++] = argv[i];
    }
  }
  if (count != 2) return UsageError(usage);
  zx::clsFile in;
  in.SetDeleteOnRelease(false);  // on the stack
  if (in.Open(Arg(names[0]), 0, 0, 2, zx::kFileNormal) != 0) return Fail("cannot open", names[0]);
  std::string bytes(static_cast<size_t>(in.GetSize()), '\0');
  if (!bytes.empty() && in.Read(bytes.data(), static_cast<uint32_t>(bytes.size())) != bytes.size())
    return Fail("cannot read", names[0]);
  const std::u16string text(bytes.begin(), bytes.end());
  zx::clsFile out;
  out.SetDeleteOnRelease(false);  // on the stack
  if (out.Open(Arg(names[1]), 2, 2, 0, zx::kFileNormal) != 0) return Fail("cannot create", names[1]);
  if (!zx::Unpack(out, zx::String(std::u16string_view(text)), Arg(password)))
    return Fail("no packed data in", names[0]);
  return 0;
}
