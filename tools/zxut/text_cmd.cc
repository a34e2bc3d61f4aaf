// zxut html2text / text2html: the HTML conversion exports on a file or standard
// input. Input and output are UTF-8; the library's line ends (carriage returns)
// are written as the platform's line ends, and line feeds read become CR LF.
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/bstr.h"
#include "command.h"
#include "text.h"

namespace {

bool ReadAll(const char* name, std::string& bytes) {
  const bool stdinput = std::strcmp(name, "-") == 0;
  FILE* f = stdinput ? stdin : std::fopen(name, "rb");
  if (!f) return false;
  char chunk[65536];
  size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.append(chunk, n);
  const bool ok = !std::ferror(f);
  if (!stdinput) std::fclose(f);
  if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) bytes.erase(0, 3);
  return ok;
}

// The options --brackets and one FILE or "-" (the default).
int ParseArgs(int argc, char** argv, const char* command, bool& brackets, const char*& name) {
  brackets = false;
  name = nullptr;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--brackets") == 0) {
      brackets = true;
    } else if ((argv[i][0] == '-' && argv[i][1] != 0) || name) {
      return zxut::UsageError(command);
    } else {
      name = argv[i];
    }
  }
  if (!name) name = "-";
  return 0;
}

int Convert(int argc, char** argv, const char* command, bool toText) {
  bool brackets;
  const char* name;
  if (int rc = ParseArgs(argc, argv, command, brackets, name)) return rc;
  std::string bytes;
  if (!ReadAll(name, bytes)) {
    std::fprintf(stderr, "zxut: cannot read: %s\n", name);
    return 1;
  }
  std::u16string input = Wide(bytes.c_str());
  if (!toText) {  // the library's line ends are CR or CR LF
    std::u16string crlf;
    crlf.reserve(input.size());
    for (size_t i = 0; i < input.size(); ++i) {
      if (input[i] == u'\n' && (i == 0 || input[i - 1] != u'\r')) crlf.push_back(u'\r');
      crlf.push_back(input[i]);
    }
    input.swap(crlf);
  }
  BSTR result = nullptr;
  if (toText) UtilConvertHtml2PlainText(W(input), &result, brackets);
  else UtilConvertText2HTML(W(input), &result, brackets);
  std::u16string out = FromW(result);
  plat::SysFree(reinterpret_cast<plat::Bstr>(result));
  if (toText) {
    for (char16_t& c : out)
      if (c == u'\r') c = u'\n';
  }
  const std::string utf8 = Utf8(out);
  std::fwrite(utf8.data(), 1, utf8.size(), stdout);
  std::fputs("\n", stdout);
  return 0;
}

}  // namespace

// zxut html2text [--brackets] [FILE|-]
int RunHtml2Text(int argc, char** argv) {
  return Convert(argc, argv, "html2text", true);
}

// zxut text2html [--brackets] [FILE|-]
int RunText2Html(int argc, char** argv) {
  return Convert(argc, argv, "text2html", false);
}

namespace {

[[maybe_unused]] const bool kAdded =
    zxut::AddCommand({"html2text", "print the plain text of an HTML file",
                      "usage: zxut html2text [--brackets] [FILE|-]\n"
                      "  prints the plain text of the HTML in FILE (standard input for - or none),\n"
                      "  UTF-8 in and out; --brackets writes tags in the bracket notation\n",
                      &RunHtml2Text}) &&
    zxut::AddCommand({"text2html", "print a text file as HTML",
                      "usage: zxut text2html [--brackets] [FILE|-]\n"
                      "  prints the text in FILE (standard input for - or none) as HTML, one\n"
                      "  paragraph a line; --brackets writes tags in the bracket notation\n",
                      &RunText2Html});

}  // namespace
