#include "list_test_util.h"

#include "platform/bstr.h"
#include "platform/codepage.h"

namespace listtest {
namespace {

std::mutex g_lock;
std::vector<std::string> g_calls;
std::map<std::string, int> g_answers;
bool g_compound = false;

int Record(const char* name, zx::clsDocu& doc) {
  std::lock_guard<std::mutex> l(g_lock);
  g_calls.push_back(name);
  auto it = g_answers.find(name);
  const int rc = it == g_answers.end() ? 0 : it->second;
  if (rc >= 0) doc.title = zx::String(std::u16string_view(U16(name)));   // who read it
  return rc;
}

#define FILE_READER(n) [](zx::clsDocu& d, zx::clsFile&) { return Record(n, d); }
#define PATH_READER(n) [](zx::clsDocu& d, const zx::String&) { return Record(n, d); }

}  // namespace

FakeReaders::FakeReaders() {
  {
    std::lock_guard<std::mutex> l(g_lock);
    g_calls.clear();
    g_answers.clear();
    g_compound = false;
  }
  set_.shellProperties = PATH_READER("shell");
  set_.isCompoundFile = [](const zx::String&) {
    std::lock_guard<std::mutex> l(g_lock);
    g_calls.push_back("compound?");
    return g_compound;
  };
  set_.compoundMail = PATH_READER("compoundMail");
  set_.propertySet = PATH_READER("propertySet");
  set_.tiff = FILE_READER("tiff");
  set_.jpeg = FILE_READER("jpeg");
  set_.pdf = FILE_READER("pdf");
  set_.html = FILE_READER("html");
  set_.xmlProperties = FILE_READER("xml");
  set_.rtf = FILE_READER("rtf");
  set_.mail = FILE_READER("mail");
  set_.word2 = FILE_READER("word2");
  set_.officePackage = FILE_READER("office");
  set_.wordPerfect = FILE_READER("wordPerfect");
  Answer("shell", -1);   // most tests go past the shell properties
  Install();
}

FakeReaders::~FakeReaders() { zx::SetDocReadersForTests(nullptr); }

void FakeReaders::Answer(const std::string& reader, int rc) {
  std::lock_guard<std::mutex> l(g_lock);
  g_answers[reader] = rc;
}

void FakeReaders::CompoundFile(bool is) {
  std::lock_guard<std::mutex> l(g_lock);
  g_compound = is;
}

std::vector<std::string> FakeReaders::Calls() {
  std::lock_guard<std::mutex> l(g_lock);
  return g_calls;
}

void FakeReaders::ClearCalls() {
  std::lock_guard<std::mutex> l(g_lock);
  g_calls.clear();
}

Result::Result(uint32_t size) {
  for (VARIANT& x : v) plat::VariantInit(&x);
  data = {size, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8]};
}

Result::~Result() {
  for (VARIANT& x : v) plat::VariantClear(&x);
}

std::u16string Result::Text(int i) const {
  if (v[i].vt != VT_BSTR) return u"<vt " + U16(std::to_string(v[i].vt)) + u">";
  return std::u16string(plat::BstrOf(v[i]) ? reinterpret_cast<const char16_t*>(plat::BstrOf(v[i])) : u"");
}

std::u16string U16(const std::string& utf8) { return plat::Utf8ToUtf16(utf8); }

zx::String Str(const std::filesystem::path& p) {
  const std::u16string s = p.u16string();
  return zx::String(std::u16string_view(s));
}

}  // namespace listtest
