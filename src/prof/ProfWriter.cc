// The profile writer: one walk over the tree that either counts bytes or builds
// the lines in place in a large output buffer.
#include "prof/ProfWriter.h"

#include <bit>
#include <cstring>
#include <new>
#include <vector>

#include "file/File.h"
#include "platform/codepage.h"
#include "prof/Masking.h"
#include "prof/Prof.h"
#include "prof/ProfJob.h"

namespace zx::prof {
namespace {

static_assert(std::endian::native == std::endian::little, "UTF-16LE is written as it lies in memory");

constexpr size_t kFlushBytes = size_t{1} << 20;   // one write per MiB

// The header of the XML format (behind the byte order mark) and its trailer.
constexpr char16_t kXmlHeader[] =
    u"<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>\r\n"
    u"<!-- DTD -->\r\n"
    u"<!DOCTYPE profile [\r\n"
    u" <!ENTITY cr \"&#x000a;<!--CR-->\">\r\n"
    u" <!ENTITY tab \"&#x0009;<!--TAB-->\">\r\n"
    u" <!ELEMENT profile (list*, item*)*>\r\n"
    u"  <!ELEMENT list (list?, item?)*>\r\n"
    u"  <!ATTLIST list name CDATA #REQUIRED>\r\n"
    u"   <!ELEMENT item (#PCDATA)>\r\n"
    u"   <!ATTLIST item name CDATA #REQUIRED>\r\n"
    u"   <!ATTLIST item xml:space (default|preserve) \"preserve\"> ]>\r\n"
    u"<!-- DATA -->\r\n"
    u"<profile>\r\n";
constexpr char16_t kXmlTrailer[] = u"</profile>\r\n";
constexpr char kXfdfHeader[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<xfdf xmlns=\"http://ns.adobe.com/xfdf/\" xml:space=\"preserve\">\r\n"
    "<fields>\r\n";
constexpr char kXfdfTrailer[] = "</fields>\r\n</xfdf>\r\n";
constexpr char16_t kBom = 0xFEFF;

template <size_t N>
constexpr size_t Len(const char16_t (&)[N]) { return N - 1; }
template <size_t N>
constexpr size_t Len(const char (&)[N]) { return N - 1; }

// Where the bytes go: a file in big writes, or memory that grows.
class OutBuffer {
 public:
  explicit OutBuffer(clsFile* file) : file_(file) {}
  bool Failed() const { return failed_; }
  // Room for `n` more bytes at the end; null when a flush failed or memory ran out.
  char* Room(size_t n) {
    if (failed_) return nullptr;
    if (file_ && used_ >= kFlushBytes && !Flush()) return nullptr;
    if (data_.size() - used_ < n) {
      if (file_ && used_ && !Flush()) return nullptr;
      if (data_.size() - used_ < n && !Grow(used_ + n)) return nullptr;
    }
    return data_.data() + used_;
  }
  // The caller fills the room it advanced over before it asks for room again.
  void Advance(size_t n) { used_ += n; }
  bool Flush() {
    if (failed_ || !file_) return !failed_;
    for (size_t done = 0; done < used_;) {
      const uint32_t piece = static_cast<uint32_t>(used_ - done < 0x40000000u ? used_ - done : 0x40000000u);
      if (file_->Write(data_.data() + done, piece) != piece) {
        failed_ = true;
        return false;
      }
      done += piece;
    }
    used_ = 0;
    return true;
  }
  // Memory mode: the exact size is known, so one allocation.
  bool Reserve(size_t n) { return Grow(n); }
  bool Take(std::string& image) {
    if (failed_) return false;
    data_.resize(used_);
    image.swap(data_);
    return true;
  }

 private:
  bool Grow(size_t need) {
    size_t want = data_.size() ? data_.size() : (file_ ? kFlushBytes + 4096 : 4096);
    while (want < need) want *= 2;
    try {
      data_.resize(want);
    } catch (const std::bad_alloc&) {
      failed_ = true;
      return false;
    }
    return true;
  }
  clsFile* file_;
  std::string data_;
  size_t used_ = 0;
  bool failed_ = false;
};

// One format's lines, counted (out null) or written. Every line's length is
// computed first; the same code thus decides the size and the bytes.
class LineWriter {
 public:
  LineWriter(int format, OutBuffer* out) : format_(format), out_(out) {
    codePage_ = String::DefaultCodePage();
  }
  uint64_t Count() const { return count_; }
  bool Failed() const { return out_ && out_->Failed(); }

  void Header() {
    if (format_ == kFormatText) {
      const char16_t bom[] = {kBom};
      Wide(bom, 1);
    } else if (format_ == kFormatXml) {
      const char16_t bom[] = {kBom};
      Wide(bom, 1);
      Wide(kXmlHeader, Len(kXmlHeader));
    } else {
      Narrow(kXfdfHeader, Len(kXfdfHeader));
    }
  }
  void Trailer() {
    if (format_ == kFormatXml) Wide(kXmlTrailer, Len(kXmlTrailer));
    else if (format_ == kFormatXfdf) Narrow(kXfdfTrailer, Len(kXfdfTrailer));
  }

  void OpenList(const SharedString& name, int level) {
    const char16_t* n = name.Chars();
    const size_t len = static_cast<size_t>(name.Length());
    if (format_ == kFormatText) {
      // The name keeps "=", "[" and "]" (the reader drops only the brackets
      // around it); its control characters become pictures to keep it on its line.
      char16_t* p = Line16(Indent(level) + 1 + len + 3 + Indent(level + 1) + 3);
      if (!p) return;
      p = PutIndent(p, level);
      *p++ = u'[';
      p = MaskTextValue(p, n, len);
      p = Put(p, u"]\r\n");
      p = PutIndent(p, level + 1);
      Put(p, u"{\r\n");
    } else if (format_ == kFormatXml) {
      const size_t masked = XmlMaskedLength(n, len);
      char16_t* p = Line16(Indent(level) + 12 + masked + 4);
      if (!p) return;
      p = PutIndent(p, level);
      p = Put(p, u"<list name=\"");
      p = Xml(p, n, len, masked);
      Put(p, u"\">\r\n");
    } else {
      const size_t nb = NarrowLength(n, len);
      char* p = Line8(Indent(level) + 8 + nb + 4);
      if (!p) return;
      p = PutIndent(p, level);
      p = Put(p, "<field=\"");
      p = PutNarrow(p, n, len, nb);
      Put(p, "\">\r\n");
    }
  }

  void CloseList(int level) {
    if (format_ == kFormatText) {
      char16_t* p = Line16(Indent(level + 1) + 3);
      if (p) Put(PutIndent(p, level + 1), u"}\r\n");
    } else if (format_ == kFormatXml) {
      char16_t* p = Line16(Indent(level) + 9);
      if (p) Put(PutIndent(p, level), u"</list>\r\n");
    } else {
      char* p = Line8(Indent(level) + 10);
      if (p) Put(PutIndent(p, level), "</field>\r\n");
    }
  }

  void Value(const SharedString& name, const SharedString& value, int level) {
    const char16_t* n = name.Chars();
    const size_t nl = static_cast<size_t>(name.Length());
    const char16_t* v = value.Chars();
    const size_t vl = static_cast<size_t>(value.Length());
    if (format_ == kFormatText) {
      char16_t* p = Line16(Indent(level) + nl + 1 + vl + 2);
      if (!p) return;
      p = PutIndent(p, level);
      p = MaskTextName(p, n, nl);
      *p++ = u'=';
      p = MaskTextValue(p, v, vl);
      Put(p, u"\r\n");
    } else if (format_ == kFormatXml) {
      const size_t mn = XmlMaskedLength(n, nl);
      const size_t mv = XmlMaskedLength(v, vl);
      char16_t* p = Line16(Indent(level) + 12 + mn + 2 + mv + 9);
      if (!p) return;
      p = PutIndent(p, level);
      p = Put(p, u"<item name=\"");
      p = Xml(p, n, nl, mn);
      p = Put(p, u"\">");
      p = Xml(p, v, vl, mv);
      Put(p, u"</item>\r\n");
    } else {
      const size_t nb = NarrowLength(n, nl);
      const size_t vb = NarrowLength(v, vl);
      const size_t in = Indent(level);
      char* p = Line8(in + 13 + nb + 4 + in + 8 + vb + 10 + in + 10);
      if (!p) return;
      p = PutIndent(p, level);
      p = Put(p, "<field name=\"");
      p = PutNarrow(p, n, nl, nb);
      p = Put(p, "\">\r\n");
      p = PutIndent(p, level);
      p = Put(p, " <value>");
      p = PutNarrow(p, v, vl, vb);
      p = Put(p, "</value>\r\n");
      p = PutIndent(p, level);
      Put(p, "</field>\r\n");
    }
  }

 private:
  // Characters of the indentation of level L: L/4 tabs and L%4 blanks.
  static size_t Indent(int level) { return level <= 0 ? 0 : static_cast<size_t>(level / 4 + level % 4); }
  template <class C>
  static C* PutIndent(C* p, int level) {
    if (level <= 0) return p;
    for (int i = level / 4; i > 0; --i) *p++ = C('\t');
    for (int i = level % 4; i > 0; --i) *p++ = C(' ');
    return p;
  }
  template <class C, size_t N>
  static C* Put(C* p, const C (&text)[N]) {
    std::memcpy(p, text, (N - 1) * sizeof(C));
    return p + N - 1;
  }
  static char16_t* Xml(char16_t* p, const char16_t* text, size_t len, size_t masked) {
    if (masked == len) {
      std::memcpy(p, text, len * sizeof(char16_t));
      return p + len;
    }
    return MaskXml(p, text, len);
  }
  size_t NarrowLength(const char16_t* text, size_t len) const {
    if (len == 0) return 0;
    const int n = plat::WideToMultiByte(codePage_, 0, text, static_cast<int>(len), nullptr, 0);
    return n > 0 ? static_cast<size_t>(n) : 0;
  }
  char* PutNarrow(char* p, const char16_t* text, size_t len, size_t bytes) const {
    if (bytes == 0) return p;
    const int n = plat::WideToMultiByte(codePage_, 0, text, static_cast<int>(len), p, static_cast<int>(bytes));
    return p + (n > 0 ? n : 0);
  }

  // Room for a line of `chars` units, or null when only counting (or failed).
  char16_t* Line16(size_t chars) {
    count_ += chars * 2;
    if (!out_) return nullptr;
    char* p = out_->Room(chars * 2);
    if (!p) return nullptr;
    out_->Advance(chars * 2);
    return reinterpret_cast<char16_t*>(p);
  }
  char* Line8(size_t bytes) {
    count_ += bytes;
    if (!out_) return nullptr;
    char* p = out_->Room(bytes);
    if (!p) return nullptr;
    out_->Advance(bytes);
    return p;
  }
  void Wide(const char16_t* text, size_t n) {
    char16_t* p = Line16(n);
    if (p) std::memcpy(p, text, n * 2);
  }
  void Narrow(const char* text, size_t n) {
    char* p = Line8(n);
    if (p) std::memcpy(p, text, n);
  }

  int format_;
  OutBuffer* out_;
  uint32_t codePage_;
  uint64_t count_ = 0;
};

bool IsTagless(int format, const SharedString& name) {
  return format != kFormatText && name.Length() == 1 && name.Chars()[0] == u'/';
}

// Header, the root list at its level and trailer; no output for an empty root.
// Iterative, so that any depth of nesting is safe; a failed write ends the walk.
void WalkProfile(clsProfJob& job, int format, LineWriter& w) {
  const clsItemList& root = job.rootList;
  if (root.entries() == 0) return;
  const bool framed = job.baseLevel == 0;
  const int top = job.baseLevel == 0 && format != kFormatText ? 1 : job.baseLevel;
  if (framed) w.Header();

  // The lists on the path to the item at hand, the root first.
  struct Open {
    int level;   // of the list's own lines
    bool tagless;
  };
  std::vector<Open> open;
  auto enter = [&](const SharedString& name, int level) {
    const bool tagless = IsTagless(format, name);
    if (!tagless) w.OpenList(name, level);
    open.push_back({level, tagless});
  };
  auto leave = [&] {
    if (!open.back().tagless) w.CloseList(open.back().level);
    open.pop_back();
  };
  enter(root.name, top);
  clsItemList::WalkDepthFirst(&root, [&](const clsItemList*, int, const clsItem* item, int depth) {
    while (open.size() > static_cast<size_t>(depth) + 1) leave();
    const int inner = open.back().tagless ? open.back().level : open.back().level + 1;
    if (item->sublist) enter(item->sublist->name, inner);
    else w.Value(item->name, item->value, inner);
    return !w.Failed();
  });
  while (!open.empty() && !w.Failed()) leave();
  if (framed && !w.Failed()) w.Trailer();
}

}  // namespace

int FormatOfFlags(uint32_t flags) {
  const uint32_t low = flags & 0xF;
  return low == 0 ? kFormatText : low == 2 ? kFormatXfdf : kFormatXml;
}

uint64_t ProfileSize(clsProfJob& job, int format) {
  LineWriter counter(format, nullptr);
  WalkProfile(job, format, counter);
  return counter.Count();
}

int WriteProfile(clsProfJob& job, clsFile& out, int format) {
  const uint64_t size = ProfileSize(job, format);
  // Reserving the space at once lets a stream allocate once.
  out.SetPos(size);
  out.SetEOF();
  out.SetPos(0);
  OutBuffer buffer(&out);
  LineWriter w(format, &buffer);
  WalkProfile(job, format, w);
  const bool ok = !buffer.Failed() && buffer.Flush();
  out.SetEOF();
  return ok ? kOk : kErrWrite;
}

bool SerializeProfile(clsProfJob& job, int format, std::string& image) {
  const uint64_t size = ProfileSize(job, format);
  if (size > SIZE_MAX / 2) return false;
  OutBuffer buffer(nullptr);
  if (size && !buffer.Reserve(static_cast<size_t>(size))) return false;
  LineWriter w(format, &buffer);
  WalkProfile(job, format, w);
  return buffer.Take(image);
}

}  // namespace zx::prof
