// zxut pack / unpack: files to packed text and back.
#include <cstdio>
#include <cstring>
#include <string>

#include "command.h"
#include "core/strings/CharsetConversion.h"
#include "file/File.h"
#include "packed/PackedString.h"
#include "platform/errors.h"

namespace {

zx::String Arg(const char* text) { return zx::StringFromNarrow(text, -1, 65001); }

// A file that could not be opened or read: its name and the system's error number.
int FileFail(const char* command, const char* what, const char* name) {
  std::fprintf(stderr, "zxut %s: %s '%s': %s\n", command, what, name,
               zxut::SystemError(static_cast<long>(plat::LastError())).c_str());
  return 1;
}

int Fail(const char* command, const char* what, const char* name) {
  std::fprintf(stderr, "zxut %s: %s '%s'\n", command, what, name);
  return 1;
}

int RunPack(int argc, char** argv);
int RunUnpack(int argc, char** argv);

[[maybe_unused]] const bool kAdded =
    zxut::AddCommand({"pack", "print FILE as packed text",
                      "usage: zxut pack [--compress] [--password P] FILE\n"
                      "  prints FILE as packed text: base64, \"@2@\" in front when compressed;\n"
                      "  with a password the data is enciphered\n",
                      &RunPack}) &&
    zxut::AddCommand({"unpack", "write the data of packed text to a file",
                      "usage: zxut unpack [--password P] TEXTFILE OUT\n"
                      "  writes the data of the packed text in TEXTFILE to OUT\n",
                      &RunUnpack});

// zxut pack [--compress] [--password P] FILE
int RunPack(int argc, char** argv) {
  bool compress = false;
  const char* password = "";
  const char* name = nullptr;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--compress") == 0) {
      compress = true;
    } else if (std::strcmp(argv[i], "--password") == 0 && i + 1 < argc) {
      password = argv[++i];
    } else if (argv[i][0] == '-' || name) {
      return zxut::UsageError("pack", argv[i][0] == '-' ? "unknown option" : "one FILE only");
    } else {
      name = argv[i];
    }
  }
  if (!name) return zxut::UsageError("pack", "no FILE");
  zx::clsFile file;
  file.SetDeleteOnRelease(false);  // on the stack
  if (file.Open(Arg(name), 0, 0, 2, zx::kFileNormal) != 0) return FileFail("pack", "cannot open", name);
  const zx::String text = zx::Pack(file, compress, Arg(password));
  if (text.IsEmpty() && file.GetSize() != 0) return FileFail("pack", "cannot read", name);
  std::string out(text.View().begin(), text.View().end());  // base64: ASCII only
  std::printf("%s\n", out.c_str());
  return 0;
}

// zxut unpack [--password P] TEXTFILE OUT
int RunUnpack(int argc, char** argv) {
  const char* password = "";
  const char* names[2] = {};
  int count = 0;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--password") == 0 && i + 1 < argc) {
      password = argv[++i];
    } else if (argv[i][0] == '-' || count == 2) {
      return zxut::UsageError("unpack", argv[i][0] == '-' ? "unknown option" : "too many arguments");
    } else {
      names[count++] = argv[i];
    }
  }
  if (count != 2) return zxut::UsageError("unpack", "TEXTFILE and OUT are needed");
  zx::clsFile in;
  in.SetDeleteOnRelease(false);  // on the stack
  if (in.Open(Arg(names[0]), 0, 0, 2, zx::kFileNormal) != 0) return FileFail("unpack", "cannot open", names[0]);
  std::string bytes(static_cast<size_t>(in.GetSize()), '\0');
  if (!bytes.empty() && in.Read(bytes.data(), static_cast<uint32_t>(bytes.size())) != bytes.size())
    return FileFail("unpack", "cannot read", names[0]);
  const std::u16string text(bytes.begin(), bytes.end());
  zx::clsFile out;
  out.SetDeleteOnRelease(false);  // on the stack
  if (out.Open(Arg(names[1]), 2, 2, 0, zx::kFileNormal) != 0) return FileFail("unpack", "cannot create", names[1]);
  if (!zx::Unpack(out, zx::String(std::u16string_view(text)), Arg(password)))
    return Fail("unpack", "no packed data in", names[0]);
  return 0;
}

}  // namespace
