// Shared part of the profile load targets: loads bytes through LoadProfile over an
// in-memory file and checks what every load must leave behind, and optionally
// that the loaded tree survives a save and a load in one format.
//
// Checks: the load returns 0 or 1, and 0 only with PROF_ERR_PARSE (an in-memory
// file of 4 bytes or more always gets its lock); the tree is walkable to its
// end; every name and value is a String terminated at its length; a list item
// has an empty value, the sublist's own name, and the list it stands in as
// parent; each item knows its list and job.
//
// Round trip: what loaded is saved (text or XML) and loaded again; the second
// tree is the first with exactly the losses of that format:
// - text: control characters in names come back as their pictures, U+2338,
//   U+301A and U+301B in value names as "=", "[" and "]", pictures in values as
//   control characters. A value name that begins with "#", ";", "{", "}" or a
//   blank cannot come from a text file and is not saved as text faithfully: such
//   trees are not checked.
// - XML: a lone CR or LF in a name or value comes back as CR LF; a list name that
//   begins with "[" loses its first and last character; a list named "/" writes
//   no tag, so its items come back in the list above.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "file/File.h"
#include "fuzz_util.h"
#include "prof/Load.h"
#include "prof/Prof.h"
#include "prof/ProfWriter.h"

namespace profloadfuzz {

enum : int { kNoRoundTrip = -1 };

struct Node {
  int depth;
  bool list;
  std::u16string name, value;
  bool operator==(const Node&) const = default;
};
using Tree = std::vector<Node>;

inline void CheckString(const zx::SharedString& s) {
  const zx::String& t = s.Text();
  FUZZ_CHECK(t.Length() >= 0);
  FUZZ_CHECK(t.wchar()[t.Length()] == 0);
}

// Loads `bytes` into `job`; the load's result.
inline int Load(zx::clsProfJob& job, const std::string& bytes) {
  zx::clsFileRWTempStream file;
  file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  file.SetPos(0);
  return zx::LoadProfile(job, file);
}

// The tree in depth-first order, checking each item on the way.
inline Tree WalkAndCheck(zx::clsProfJob* job) {
  Tree tree;
  zx::clsItemList::WalkDepthFirst(&job->rootList, [&](const zx::clsItemList* list, int, zx::clsItem* item, int depth) {
    FUZZ_CHECK(item->list == list && item->job == job);
    CheckString(item->name);
    CheckString(item->value);
    if (item->sublist) {
      FUZZ_CHECK(item->value.Length() == 0);
      FUZZ_CHECK(item->sublist->name.SameAs(item->name));
      FUZZ_CHECK(item->sublist->parent == list);
    }
    tree.push_back({depth, item->sublist != nullptr, std::u16string(item->name.Text().View()),
                    std::u16string(item->value.Text().View())});
    return true;
  });
  return tree;
}

// The tree a text save and load of `tree` gives; false when the tree holds a
// value name the text format cannot carry.
inline bool AfterText(const Tree& tree, Tree& out) {
  for (const Node& n : tree) {
    if (!n.list && !n.name.empty() && std::u16string_view(u"#;{} ").find(n.name[0]) != std::u16string_view::npos)
      return false;
  }
  out = tree;
  for (Node& n : out) {
    for (char16_t& c : n.name) {
      if (c < 0x20) c = static_cast<char16_t>(c + 0x2400);
      else if (!n.list && c == 0x2338) c = u'=';
      else if (!n.list && c == 0x301A) c = u'[';
      else if (!n.list && c == 0x301B) c = u']';
    }
    for (char16_t& c : n.value)
      if (c > 0x2400 && c < 0x2420) c = static_cast<char16_t>(c - 0x2400);
  }
  return true;
}

inline std::u16string CrLf(const std::u16string& s) {
  std::u16string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == u'\r' && i + 1 < s.size() && s[i + 1] == u'\n') continue;
    if (s[i] == u'\r' || s[i] == u'\n') out += u"\r\n";
    else out += s[i];
  }
  return out;
}

inline Tree AfterXml(const Tree& tree) {
  Tree out;
  std::vector<bool> tagless;  // per depth of the list being inside: a "/" list
  for (const Node& n : tree) {
    tagless.resize(n.depth);
    int shift = 0;
    for (bool t : tagless) shift += t;
    if (n.list) {
      tagless.push_back(n.name == u"/");
      if (n.name == u"/") continue;
      std::u16string name = CrLf(n.name);
      if (!name.empty() && name[0] == u'[') name = name.size() >= 2 ? name.substr(1, name.size() - 2) : u"";
      out.push_back({n.depth - shift, true, name, u""});
    } else {
      out.push_back({n.depth - shift, false, CrLf(n.name), CrLf(n.value)});
    }
  }
  return out;
}

// Loads `bytes` as a file's content into a fresh job and checks the result; with
// a format, checks the round trip through it.
inline void LoadAndCheck(const std::string& bytes, int roundTripFormat = kNoRoundTrip) {
  zx::clsProfJob* job = zx::clsProfJob::Create(0);
  if (job == nullptr) return;
  const int ok = Load(*job, bytes);
  FUZZ_CHECK(ok == 0 || ok == 1);
  if (bytes.size() >= 4) FUZZ_CHECK(ok == 1 ? job->lastError == 0 : job->lastError == zx::prof::kErrParse);
  const Tree first = WalkAndCheck(job);
  if (ok == 1 && roundTripFormat != kNoRoundTrip) {
    Tree want;
    const bool checkable = roundTripFormat == zx::prof::kFormatText ? AfterText(first, want) : (want = AfterXml(first), true);
    std::string image;
    FUZZ_CHECK(zx::prof::SerializeProfile(*job, roundTripFormat, image));
    FUZZ_CHECK(image.empty() == first.empty());
    if (checkable && !image.empty()) {
      zx::clsProfJob* again = zx::clsProfJob::Create(0);
      FUZZ_CHECK(again != nullptr);
      FUZZ_CHECK(Load(*again, image) == 1);
      FUZZ_CHECK(WalkAndCheck(again) == want);
      again->Release();
    }
  }
  job->Release();
}

}  // namespace profloadfuzz
