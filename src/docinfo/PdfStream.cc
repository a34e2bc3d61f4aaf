#include "docinfo/PdfStream.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "docinfo/DocException.h"

namespace zx {
namespace {

constexpr uint32_t kBlock = 65536;

// PNG predictors: each row begins with its filter type (0 none, 1 sub, 2 up,
// 3 average, 4 Paeth) and is undone against the row before.
class clsPngRows {
 public:
  clsPngRows(size_t rowBytes, size_t pixelBytes) : row_(rowBytes + 1), prev_(rowBytes, 0), bpp_(pixelBytes) {}

  bool Feed(const uint8_t* data, size_t size, const PdfStreamSink& sink) {
    while (size > 0) {
      const size_t take = std::min(size, row_.size() - fill_);
      std::copy(data, data + take, row_.begin() + static_cast<ptrdiff_t>(fill_));
      fill_ += take;
      data += take;
      size -= take;
      if (fill_ < row_.size()) break;
      fill_ = 0;
      if (!Undo()) throw clsException(u"bad stream(predictor row)");
      if (!sink(prev_.data(), prev_.size())) return false;
    }
    return true;
  }

 private:
  bool Undo() {
    const uint8_t type = row_[0];
    uint8_t* cur = row_.data() + 1;
    const size_t n = prev_.size();
    for (size_t i = 0; i < n; ++i) {
      const int left = i >= bpp_ ? cur[i - bpp_] : 0;
      const int up = prev_[i];
      const int upLeft = i >= bpp_ ? prev_[i - bpp_] : 0;
      int add = 0;
      switch (type) {
        case 0: break;
        case 1: add = left; break;
        case 2: add = up; break;
        case 3: add = (left + up) / 2; break;
        case 4: {
          const int p = left + up - upLeft, pa = std::abs(p - left), pb = std::abs(p - up), pc = std::abs(p - upLeft);
          add = pa <= pb && pa <= pc ? left : pb <= pc ? up : upLeft;
          break;
        }
        default: return false;
      }
      cur[i] = static_cast<uint8_t>(cur[i] + add);
    }
    std::copy(cur, cur + n, prev_.begin());
    return true;
  }

  std::vector<uint8_t> row_;
  std::vector<uint8_t> prev_;
  size_t bpp_;
  size_t fill_ = 0;
};

struct scZStream {
  z_stream z{};
  bool open = false;
  ~scZStream() {
    if (open) inflateEnd(&z);
  }
};

int64_t NumberOr(const PdfDict& dict, const char16_t* key, int64_t fallback) {
  int64_t n = 0;
  return PdfValueNumber(dict, key, &n) ? n : fallback;
}

// "FlateDecode" alone or as the one element of an array; "" for none.
bool IsFlate(const PdfDict& dict) {
  clsVariant v;
  if (!dict.find(String(u"Filter"), v)) return false;
  String name = v.Text();
  std::u16string_view s = name.View();
  while (!s.empty() && (s.front() == u' ' || s.front() == u'/' || s.front() == u'\r' || s.front() == u'\n')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == u' ' || s.back() == u'\r' || s.back() == u'\n')) s.remove_suffix(1);
  if (s == std::u16string_view(u"FlateDecode")) return true;
  throw clsException(u"bad stream(%s)", name.wchar());
}

}  // namespace

void DecodePdfStream(clsFile& file, uint64_t dataPos, const PdfDict& dict, const PdfDict& parms,
                     const PdfStreamSink& sink) {
  const bool flate = IsFlate(dict);
  const uint64_t size = file.GetSize();
  uint64_t left = dataPos < size ? size - dataPos : 0;
  int64_t length = 0;
  if (PdfValueNumber(dict, u"Length", &length) && length >= 0) {
    clsVariant v;
    dict.find(String(u"Length"), v);
    if (v.vt != (VT_ARRAY | VT_VARIANT)) left = std::min<uint64_t>(left, static_cast<uint64_t>(length));
  }
  left = std::min(left, kMaxPdfStreamInput);

  // Predictors 10 and above are PNG rows; 1 is none; TIFF (2) is not read here.
  const int64_t predictor = NumberOr(parms, u"Predictor", 1);
  std::unique_ptr<clsPngRows> png;
  if (predictor >= 10) {
    const int64_t colors = NumberOr(parms, u"Colors", 1), bits = NumberOr(parms, u"BitsPerComponent", 8),
                  columns = NumberOr(parms, u"Columns", 1);
    if (colors < 1 || colors > 32 || bits < 1 || bits > 16 || columns < 1 || columns > 65536)
      throw clsException(u"bad stream(predictor)");
    const size_t rowBytes = static_cast<size_t>((columns * colors * bits + 7) / 8);
    png = std::make_unique<clsPngRows>(rowBytes, static_cast<size_t>(std::max<int64_t>(1, colors * bits / 8)));
  } else if (predictor != 1) {
    throw clsException(u"bad stream(predictor %d)", static_cast<int>(predictor));
  }
  uint64_t decoded = 0;
  auto deliver = [&](const uint8_t* p, size_t n) {
    if ((decoded += n) > kMaxPdfStreamOutput) throw clsException(u"bad stream(too large)");
    return png ? png->Feed(p, n, sink) : sink(p, n);
  };

  if (file.SetPos(dataPos) != dataPos) throw clsException(u"bad stream(position)");
  std::vector<uint8_t> in(kBlock), out(flate ? kBlock : 0);
  scZStream zs;
  if (flate) {
    if (inflateInit2(&zs.z, 15) != Z_OK) throw clsException(u"bad stream(zlib)");
    zs.open = true;
  }
  while (left > 0) {
    const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(left, kBlock));
    const uint32_t got = file.Read(in.data(), want);
    if (got == 0) break;
    left -= got;
    if (!flate) {
      if (!deliver(in.data(), got)) return;
      continue;
    }
    zs.z.next_in = in.data();
    zs.z.avail_in = got;
    do {
      zs.z.next_out = out.data();
      zs.z.avail_out = kBlock;
      const int rc = inflate(&zs.z, Z_NO_FLUSH);
      if (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR) throw clsException(u"bad stream(zlib %d)", rc);
      const size_t n = kBlock - zs.z.avail_out;
      if (n > 0 && !deliver(out.data(), n)) return;
      if (rc == Z_STREAM_END) return;
      if (rc == Z_BUF_ERROR && n == 0) break;
    } while (zs.z.avail_in > 0 || zs.z.avail_out == 0);
  }
}

}  // namespace zx
