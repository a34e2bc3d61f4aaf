// Fuzzes the profile tree: random sequences of tree operations and typed sets
// and gets on paths built from a small vocabulary ("/", "..", "", names that
// differ in case, bracketed names, names of 300 characters), checked after every
// step against a plain model of the rules: same items, names, values and order,
// same lists found, same results and codes. Both cache modes are driven.
//
// Input: byte 0 selects the cache mode; then each operation takes an opcode
// byte, a list selector, a path (length byte and one byte a token) and a value
// byte.
#include <cstddef>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "fuzz_util.h"
#include "prof/Prof.h"

namespace {

using zx::clsItem;
using zx::clsItemList;
using zx::clsProfJob;
using std::u16string;

// ---- the model
struct MList;
struct MItem {
  u16string name, value;
  std::unique_ptr<MList> sub;
};
struct MList {
  MList* parent = nullptr;
  std::vector<MItem> items;
};

constexpr size_t kCut = 255;

u16string ListName(const u16string& s) {
  if (!s.empty() && s[0] == u'[') return s.size() >= 2 ? s.substr(1, s.size() - 2) : u16string();
  return s;
}

std::vector<u16string> Split(const u16string& p) {
  std::vector<u16string> out;
  size_t start = 0;
  for (;;) {
    size_t slash = p.find(u'/', start);
    if (slash == u16string::npos) {
      out.push_back(p.substr(start));
      return out;
    }
    out.push_back(p.substr(start, std::min(slash - start, kCut)));
    start = slash + 1;
  }
}

MList* AppendModelList(MList* l, const u16string& name) {
  auto sub = std::make_unique<MList>();
  sub->parent = l;
  MList* raw = sub.get();
  l->items.push_back({name, u"", std::move(sub)});
  return raw;
}

MItem* FirstList(MList* l, const u16string& name) {
  for (MItem& it : l->items)
    if (it.sub && it.name == name) return &it;
  return nullptr;
}
MItem* FirstValue(MList* l, const u16string& name) {
  for (MItem& it : l->items)
    if (!it.sub && it.name == name) return &it;
  return nullptr;
}

MList* StartModel(MList* root, MList* l, u16string& path) {
  if (!path.empty() && path[0] == u'/') {
    path.erase(0, 1);
    return root;
  }
  return l;
}

// Walks all names but the last; with create, missing lists are appended.
MList* WalkModel(MList* l, const std::vector<u16string>& names, bool create) {
  for (size_t i = 0; i + 1 < names.size(); ++i) {
    if (MItem* it = FirstList(l, names[i])) {
      l = it->sub.get();
    } else if (create) {
      l = AppendModelList(l, ListName(names[i]));
    } else {
      return nullptr;
    }
  }
  return l;
}

void CopyModel(const MList& from, MList* into) {
  for (const MItem& it : from.items) {
    if (it.sub) {
      CopyModel(*it.sub, AppendModelList(into, it.name));
    } else {
      into->items.push_back({it.name, it.value, nullptr});
    }
  }
}

size_t CountModel(const MList& l) {
  size_t n = l.items.size();
  for (const MItem& it : l.items)
    if (it.sub) n += CountModel(*it.sub);
  return n;
}

// Delete walk: the first name runs to the first "/" after its first character.
int DeleteModel(MList* l, const u16string& path, bool values) {
  size_t slash = path.find(u'/', path.empty() ? 0 : 1);
  if (slash != u16string::npos) {
    u16string name = path.substr(0, std::min(slash, kCut));
    int n = 0;
    for (MItem& it : l->items)
      if (it.sub && it.name == name) n += DeleteModel(it.sub.get(), path.substr(slash + 1), values);
    return n;
  }
  size_t before = l->items.size();
  std::erase_if(l->items, [&](const MItem& it) { return (values ? !it.sub : !!it.sub) && it.name == path; });
  return static_cast<int>(before - l->items.size());
}

bool DeleteHolderModel(MList* l, MList* target) {
  for (size_t i = 0; i < l->items.size(); ++i) {
    MItem& it = l->items[i];
    if (!it.sub) continue;
    if (it.sub.get() == target) {
      l->items.erase(l->items.begin() + static_cast<std::ptrdiff_t>(i));
      return true;
    }
    if (DeleteHolderModel(it.sub.get(), target)) return true;
  }
  return false;
}

// ---- the input
class Input : public fuzzutil::ByteReader {
 public:
  using ByteReader::ByteReader;
};

const u16string& LongName() {
  static const u16string s = u16string(300, u'n');
  return s;
}

u16string Token(uint8_t b) {
  static const char16_t* const kTokens[] = {u"a", u"b", u"A", u"", u"..", u"[a]", u"[", u"key", u"Key", u"c d"};
  if (b % 16 == 15) return LongName();
  if (b % 16 == 14) return LongName().substr(0, 255);
  if (b % 16 == 13) return LongName() + u"x";
  return kTokens[b % 16 % 10];
}

// A path, or null (byte 0xFF).
bool MakePath(Input& in, u16string& path) {
  uint8_t len = in.Byte();
  if (len == 0xFF) return false;
  path.clear();
  if (len & 0x80) path += u'/';
  int tokens = len % 4 + 1;
  for (int t = 0; t < tokens; ++t) {
    if (t) path += u'/';
    path += Token(in.Byte());
  }
  return true;
}

u16string Value(uint8_t b) {
  static const char16_t* const kValues[] = {u"", u"v", u"123", u"1234", u"-1234", u"(1,2)", u"x1F", u"TRUE", u"text with = sign"};
  return kValues[b % 9];
}

// ---- checking
struct Pairs {
  std::vector<std::pair<clsItemList*, MList*>> lists;
  std::unordered_map<const clsItemList*, MList*> toModel;
};

void Compare(clsItemList* real, MList* model, Pairs& pairs) {
  pairs.lists.push_back({real, model});
  pairs.toModel[real] = model;
  FUZZ_CHECK(real->entries() == static_cast<int>(model->items.size()));
  size_t i = 0;
  real->ForEach([&](int, clsItem* item) {
    const MItem& m = model->items[i++];
    FUZZ_CHECK(item->name.Text().View() == m.name);
    FUZZ_CHECK((item->sublist != nullptr) == (m.sub != nullptr));
    FUZZ_CHECK(item->list == real);
    if (item->sublist) {
      FUZZ_CHECK(item->value.Length() == 0);
      FUZZ_CHECK(item->sublist->parent == real);
      FUZZ_CHECK(item->sublist->name.SameAs(item->name));
      Compare(item->sublist, m.sub.get(), pairs);
    } else {
      FUZZ_CHECK(item->value.Text().View() == m.value);
    }
    return true;
  });
}

struct EnumState {
  std::vector<u16string> seen;
  size_t stopAt;
};
bool Collect(void* ctx, clsProfJob*, const char16_t* name, const char16_t* value, clsItemList* sub) {
  auto* s = static_cast<EnumState*>(ctx);
  s->seen.push_back(u16string(name) + (sub ? u"[]" : u"=") + value);
  return s->seen.size() != s->stopAt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  clsProfJob* job = zx::prof::JobOpen(nullptr, 0);
  FUZZ_CHECK(job != nullptr);
  job->cacheEnabled = (in.Byte() & 1) != 0;
  MList root;
  Pairs pairs;
  Compare(&job->rootList, &root, pairs);

  for (int step = 0; step < 300 && in.More(); ++step) {
    uint8_t op = in.Byte();
    auto [list, mlist] = pairs.lists[in.Byte() % pairs.lists.size()];
    bool nullList = list == &job->rootList && (op & 0x80);  // a null handle means the root
    clsItemList* arg = nullList ? nullptr : list;
    u16string path;
    bool hasPath = MakePath(in, path);
    const char16_t* p = hasPath ? path.c_str() : nullptr;
    u16string value = Value(in.Byte());
    u16string walk = path;
    MList* start = StartModel(&root, mlist, walk);
    if (std::getenv("PROF_TREE_TRACE")) {  // replaying a crash: what happened, step by step
      std::string ascii;
      for (char16_t c : path) ascii += c < 0x80 ? static_cast<char>(c) : '?';
      std::fprintf(stderr, "step %d: op %d list %p%s path %s\n", step, op % 14, static_cast<void*>(arg),
                   nullList ? " (null)" : "", hasPath ? ascii.c_str() : "(null)");
    }

    switch (op % 14) {
      case 0:  // set
      case 1: {  // append
        bool append = op % 14 == 1;
        if (append) {
          zx::prof::AppendString(job, arg, p, value.c_str());
        } else {
          zx::prof::SetString(job, arg, p, value.c_str());
        }
        if (!hasPath && !append) break;
        if (!hasPath) {
          mlist->items.push_back({u"", value, nullptr});
          break;
        }
        std::vector<u16string> names = Split(walk);
        MList* l = WalkModel(start, names, true);
        MItem* it = append ? nullptr : FirstValue(l, names.back());
        if (it) {
          it->value = value;
        } else {
          l->items.push_back({names.back(), value, nullptr});
        }
        break;
      }
      case 2: {  // get with a small buffer
        char16_t buf[4] = {u'#', u'#', u'#', u'#'};
        int32_t r = zx::prof::GetString(job, arg, p, buf, 3, u"dflt");
        const MItem* it = nullptr;
        if (hasPath) {
          std::vector<u16string> names = Split(walk);
          MList* l = WalkModel(start, names, false);
          it = l ? FirstValue(l, names.back()) : nullptr;
        } else {
          it = FirstValue(mlist, u"");
        }
        const u16string expect = it ? it->value : u16string(u"dflt");
        FUZZ_CHECK(r == (it ? static_cast<int32_t>(it->value.size()) : zx::prof::kErrNotFound));
        FUZZ_CHECK(u16string(buf) == expect.substr(0, 2));
        FUZZ_CHECK(buf[3] == u'#');
        break;
      }
      case 3: {  // create list
        clsItemList* got = zx::prof::CreateList(job, arg, p);
        if (!hasPath) {
          FUZZ_CHECK(got == nullptr);
          break;
        }
        std::vector<u16string> names = Split(walk);
        MList* l = WalkModel(start, names, true);
        MItem* it = FirstList(l, names.back());
        if (it) {
          it->sub->items.clear();
        } else {
          AppendModelList(l, ListName(names.back()));
        }
        FUZZ_CHECK(got != nullptr);
        break;
      }
      case 4: {  // append list
        clsItemList* got = zx::prof::AppendList(job, arg, p);
        if (!hasPath) {
          FUZZ_CHECK(got == nullptr);
          break;
        }
        MList* l = start;
        for (const u16string& n : Split(walk)) l = AppendModelList(l, ListName(n));
        FUZZ_CHECK(got != nullptr);
        break;
      }
      case 5: {  // get list
        clsItemList* got = zx::prof::GetList(job, arg, p);
        MList* expect = start;
        if (hasPath && !walk.empty()) {
          u16string rest = walk;
          for (;;) {
            if (rest == u"..") {
              expect = expect->parent;
              break;
            }
            size_t slash = rest.find(u'/');
            u16string name = slash == u16string::npos ? rest : rest.substr(0, std::min(slash, kCut));
            MItem* it = FirstList(expect, name);
            expect = it ? it->sub.get() : nullptr;
            if (!expect || slash == u16string::npos) break;
            rest = rest.substr(slash + 1);
          }
        }
        if (expect == nullptr) {
          FUZZ_CHECK(got == nullptr);
        } else {
          FUZZ_CHECK(got != nullptr && pairs.toModel.count(got) && pairs.toModel[got] == expect);
        }
        break;
      }
      case 6: {  // delete list
        int32_t n = zx::prof::DeleteList(job, arg, p);
        if (!hasPath) {
          bool found = DeleteHolderModel(&root, mlist);
          FUZZ_CHECK(n == (found ? 1 : 0));
        } else if (path.empty()) {
          FUZZ_CHECK(n == static_cast<int32_t>(mlist->items.size()));
          mlist->items.clear();
        } else {
          FUZZ_CHECK(n == DeleteModel(mlist, path, false));
        }
        break;
      }
      case 7: {  // delete item
        int32_t n = zx::prof::DeleteItem(job, arg, p);
        FUZZ_CHECK(n == (hasPath ? DeleteModel(mlist, path, true) : 0));
        break;
      }
      case 8: {  // empty
        FUZZ_CHECK(zx::prof::EmptyList(job, arg) == static_cast<int32_t>(mlist->items.size()));
        mlist->items.clear();
        break;
      }
      case 9: {  // copy one list into another (perhaps itself or its descendant)
        if (CountModel(root) > 1500) break;
        auto [src, msrc] = pairs.lists[value.size() % pairs.lists.size()];
        MList snapshot;
        CopyModel(*msrc, &snapshot);
        FUZZ_CHECK(zx::prof::CopyList(job, arg, job, src) == 0);
        for (MItem& it : snapshot.items) {
          if (it.sub) it.sub->parent = mlist;
          mlist->items.push_back(std::move(it));
        }
        break;
      }
      case 10: {  // enumerate, perhaps stopping early
        EnumState s{{}, static_cast<size_t>(value.size() % 4)};
        int32_t r = zx::prof::Enum(job, arg, Collect, &s);
        std::vector<u16string> expect;
        for (const MItem& it : mlist->items) {
          expect.push_back(it.name + (it.sub ? u"[]" : u"=") + it.value);
          if (expect.size() == s.stopAt) break;
        }
        FUZZ_CHECK(s.seen == expect);
        FUZZ_CHECK(r == (s.stopAt != 0 && s.stopAt <= mlist->items.size() ? 0 : 1));
        break;
      }
      case 11: {  // typed set and get back
        if (!hasPath) break;
        std::vector<u16string> names = Split(walk);
        int32_t v = static_cast<int8_t>(value.size() * 37 + op) * 1000003;
        zx::prof::RectValue r{v, -v, 3, v / 7}, ro{};
        zx::prof::PutIntHex(job, arg, p, false, v);
        zx::prof::PutRectLTWH(job, arg, p, false, &r);
        // Each set walks with creation, the get only looks: a name that loses
        // its brackets as a new list is not found again, by a get or a set.
        auto modelSet = [&](const char16_t* text) {
          MList* l = WalkModel(start, names, true);
          MItem* it = FirstValue(l, names.back());
          if (it == nullptr) {
            l->items.push_back({names.back(), u"", nullptr});
            it = &l->items.back();
          }
          it->value = text;
          return it;
        };
        char16_t text[zx::prof::kTypedBufferSize];
        modelSet(zx::prof::WriteIntHex(text, zx::prof::kTypedBufferSize, v));
        MItem* it = modelSet(zx::prof::WriteRectLTWH(text, zx::prof::kTypedBufferSize, r));
        MList* found = WalkModel(start, names, false);
        bool reachable = found && FirstValue(found, names.back()) == it;
        int32_t out = 12345;
        int32_t rc = zx::prof::GetRectLTWH(job, arg, p, &ro, nullptr);
        FUZZ_CHECK(rc == (reachable ? 0 : zx::prof::kErrNotFound));
        if (reachable) {
          FUZZ_CHECK(ro.left == r.left && ro.top == r.top && ro.right == r.right && ro.bottom == r.bottom);
          // No integer form reads "(": the integer stays as it was.
          FUZZ_CHECK(zx::prof::GetInt(job, arg, p, &out, 0) == zx::prof::kErrFormat && out == 12345);
        }
        break;
      }
      case 12: {  // typed reads of whatever is there never break anything
        int64_t l = 0;
        double d = 0;
        zx::prof::PointValue pt{};
        uint32_t c = 0;
        zx::prof::GetInt64(job, arg, p, &l, 5);
        zx::prof::GetDouble(job, arg, p, &d, 1.5);
        zx::prof::GetPoint(job, arg, p, &pt, nullptr);
        zx::prof::GetColorref(job, arg, p, &c, 7);
        int32_t len = zx::prof::GetStringLength(job, arg, p);
        FUZZ_CHECK(len >= 0 || len == zx::prof::kErrNotFound);
        break;
      }
      case 13: {  // a second holder comes and goes
        zx::prof::JobAddRef(job);
        zx::prof::JobClose(job);
        FUZZ_CHECK(job->refCount.load() == 1);
        break;
      }
    }
    pairs = Pairs();
    Compare(&job->rootList, &root, pairs);
  }
  zx::prof::JobClose(job);
  return 0;
}
