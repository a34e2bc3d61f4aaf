// Differential driver for the WC containers, shared by tests/core and fuzz/: bytes
// are read as operations applied to our containers and to std::map, multimap, set
// and vector. After each step size, contents, order and the skip lists' level in
// use must agree; node and link memory goes through callbacks that can fail.
#pragma once
#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "core/containers/WCSkipList.h"

namespace wcdiff {

// A bag element: ordered and compared by key only; tag tells equal ones apart.
struct Tagged {
  int key = 0;
  int tag = 0;
};

}  // namespace wcdiff

template <>
struct WCKeyTraits<wcdiff::Tagged> {
  static bool less(const wcdiff::Tagged& a, const wcdiff::Tagged& b) { return a.key < b.key; }
  static bool equal(const wcdiff::Tagged& a, const wcdiff::Tagged& b) { return a.key == b.key; }
};

namespace wcdiff {

struct Memory {
  bool failing = false;        // allocations answer null while set
  std::string error;           // first callback complaint
  std::map<void*, size_t> live[8];  // per tag: block -> bytes
};
inline Memory& Mem() {
  static Memory m;
  return m;
}

template <int Tag>
void* NodeAlloc(size_t bytes) {
  if (Mem().failing) return nullptr;
  void* p = ::operator new(bytes);
  Mem().live[Tag][p] = bytes;
  return p;
}
// Skip-list node levels follow from the block size and the payload space.
template <int Tag, size_t PayloadSpace>
void NodeFree(void* block, int level) {
  auto& live = Mem().live[Tag];
  auto it = live.find(block);
  if (it == live.end()) {
    if (Mem().error.empty()) Mem().error = "node freed that was not allocated";
    return;
  }
  if (WCSkipNonTempBase::NodeBytes(PayloadSpace, level) != it->second && Mem().error.empty())
    Mem().error = "node freed with level " + std::to_string(level) + " but allocated with " +
                  std::to_string(it->second) + " bytes";
  live.erase(it);
  ::operator delete(block);
}
template <int Tag>
void LinkFree(void* block, size_t bytes) {
  auto& live = Mem().live[Tag];
  auto it = live.find(block);
  if (it == live.end() || it->second != bytes) {
    if (Mem().error.empty()) Mem().error = "link freed with a wrong block or size";
    if (it == live.end()) return;
  }
  live.erase(it);
  ::operator delete(block);
}

class Bytes {
 public:
  Bytes(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
  bool More() const { return p_ < end_; }
  uint8_t U8() { return p_ < end_ ? *p_++ : 0; }
  int Key() { return U8() % 64; }  // small key space: hits and duplicates are common
  int Value() {
    int high = U8();
    return high << 8 | U8();
  }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

class Driver {
 public:
  using Dict = WCValSkipListDict<int, int>;
  using Bag = WCValSkipList<Tagged>;
  using Set = WCValSkipListSet<int>;
  using PtrSet = WCPtrSkipListSet<int>;
  static constexpr size_t kDictSpace = WCSkipPayloadSpace<WCSkipListDictKeyVal<int, int>>;
  static constexpr size_t kBagSpace = WCSkipPayloadSpace<Tagged>;
  static constexpr size_t kSetSpace = WCSkipPayloadSpace<int>;
  static constexpr size_t kPtrSpace = WCSkipPayloadSpace<int*>;

  // The first bytes choose the skip lists' probability and level counts.
  explicit Driver(Bytes& in)
      : in_(in),
        // (braces: the bytes are read left to right)
        dict_{in.U8() % 5, in.U8() % 25, NodeAlloc<0>, NodeFree<0, kDictSpace>},
        bag_{in.U8() % 5, in.U8() % 25, NodeAlloc<1>, NodeFree<1, kBagSpace>},
        set_(3, 8, NodeAlloc<2>, NodeFree<2, kSetSpace>),
        ptrSet_(3, 8, NodeAlloc<3>, NodeFree<3, kPtrSpace>),
        slist_(NodeAlloc<4>, LinkFree<4>),
        dlist_(NodeAlloc<5>, LinkFree<5>),
        stack_(NodeAlloc<6>, LinkFree<6>) {
    for (int i = 0; i < 128; ++i) pool_[i] = i / 2;  // pairs of pointers with equal pointees
  }

  // Runs all operations; returns "" or the first difference found.
  std::string Run() {
    for (step_ = 0; in_.More() && error_.empty(); ++step_) {
      // One operation in 16 runs with failing allocations.
      uint8_t op = in_.U8();
      Mem().failing = (op & 0xF0) == 0xF0;
      Apply(op & 0x3F);
      Mem().failing = false;
      if (error_.empty() && !Mem().error.empty()) Fail(Mem().error);
      if (error_.empty() && step_ % 128 == 0) CheckAll();
    }
    if (error_.empty()) CheckAll();
    return error_;
  }

 private:
  void Fail(const std::string& what) {
    if (error_.empty()) error_ = "step " + std::to_string(step_) + ": " + what;
  }
  void Expect(bool ok, const char* what) {
    if (!ok) Fail(what);
  }

  void Apply(int op) {
    bool failing = Mem().failing;
    switch (op % 32) {
      // ---- dictionary vs std::map
      case 0: case 1: {
        int k = in_.Key(), v = in_.Value();
        bool fresh = dictModel_.count(k) == 0;
        bool r = dict_.insert(k, v);
        Expect(r == (fresh && !failing), "dict insert result");
        if (r) dictModel_[k] = v;
        CheckDict();
        break;
      }
      case 2: {
        int k = in_.Key(), v = in_.Value();
        bool present = dictModel_.count(k) != 0;
        dict_[k] = v;
        if (present || !failing) dictModel_[k] = v;
        CheckDict();
        break;
      }
      case 3: {
        int k = in_.Key();
        Expect(dict_.remove(k) == (dictModel_.erase(k) == 1), "dict remove result");
        CheckDict();
        break;
      }
      case 4: {
        int k = in_.Key(), v = -1;
        bool r = dict_.find(k, v);
        auto it = dictModel_.find(k);
        Expect(r == (it != dictModel_.end()) && (!r || v == it->second), "dict find");
        Expect(dict_.contains(k) == r, "dict contains");
        break;
      }
      case 5: {
        Dict copy(dict_);
        if (failing && !dictModel_.empty()) {
          Expect(copy.isEmpty(), "dict copy after failed allocation is not empty");
        } else {
          CheckDictAgainst(copy, dictModel_, "dict copy");
        }
        break;
      }
      // ---- bag vs std::multimap (equal keys newest first)
      case 6: case 7: {
        Tagged t{in_.Key(), ++tag_};
        bool r = bag_.insert(t);
        Expect(r == !failing, "bag insert result");
        if (r) bagModel_.emplace_hint(bagModel_.lower_bound(t.key), t.key, t.tag);
        CheckBag();
        break;
      }
      case 8: {
        int k = in_.Key();
        auto it = bagModel_.lower_bound(k);
        bool present = it != bagModel_.end() && it->first == k;
        Expect(bag_.remove({k, 0}) == present, "bag remove result");
        if (present) bagModel_.erase(it);
        CheckBag();
        break;
      }
      case 9: {
        int k = in_.Key();
        Tagged found{-1, -1};
        bool r = bag_.find({k, 0}, found);
        auto it = bagModel_.lower_bound(k);
        bool present = it != bagModel_.end() && it->first == k;
        Expect(r == present && (!r || found.tag == it->second), "bag find gives the first equal");
        Expect(bag_.occurrencesOf({k, 0}) == bagModel_.count(k), "bag occurrencesOf");
        break;
      }
      case 10: {
        int k = in_.Key();
        Expect(bag_.removeAll({k, 0}) == bagModel_.erase(k), "bag removeAll");
        CheckBag();
        break;
      }
      // ---- set vs std::set
      case 11: case 12: {
        int k = in_.Key();
        bool r = set_.insert(k);
        Expect(r == (setModel_.count(k) == 0 && !failing), "set insert result");
        if (r) setModel_.insert(k);
        CheckSet();
        break;
      }
      case 13: {
        int k = in_.Key();
        Expect(set_.remove(k) == (setModel_.erase(k) == 1), "set remove result");
        Expect(!set_.contains(k), "set still contains a removed key");
        CheckSet();
        break;
      }
      // ---- pointer set: pointers compared through pointees
      case 14: {
        int* p = &pool_[in_.U8() % 128];
        bool r = ptrSet_.insert(p);
        Expect(r == (ptrModel_.count(*p) == 0 && !failing), "pointer set insert result");
        if (r) ptrModel_[*p] = p;
        CheckPtrSet();
        break;
      }
      case 15: {
        int* p = &pool_[in_.U8() % 128];
        auto it = ptrModel_.find(*p);
        int* removed = ptrSet_.remove(p);
        Expect(removed == (it == ptrModel_.end() ? nullptr : it->second), "pointer set remove");
        if (it != ptrModel_.end()) ptrModel_.erase(it);
        CheckPtrSet();
        break;
      }
      // ---- singly and doubly linked lists vs std::vector
      case 16: case 17: case 18: case 19: case 20: case 21:
        ListOp(slist_, slistModel_, op % 32 - 16, failing);
        break;
      case 22: case 23: case 24: case 25: case 26: case 27:
        ListOp(dlist_, dlistModel_, op % 32 - 22, failing);
        break;
      // ---- stack
      case 28: {
        int v = in_.Value();
        bool r = stack_.push(v);
        Expect(r == !failing, "stack push result");
        if (r) stackModel_.push_back(v);
        Expect(stack_.top() == (stackModel_.empty() ? 0 : stackModel_.back()), "stack top");
        break;
      }
      case 29: {
        int expected = stackModel_.empty() ? 0 : stackModel_.back();
        if (!stackModel_.empty()) stackModel_.pop_back();
        Expect(stack_.pop() == expected, "stack pop");
        Expect(stack_.entries() == static_cast<int>(stackModel_.size()), "stack entries");
        break;
      }
      // ---- vector: writing an index makes it exist
      case 30: {
        int i = in_.U8() + (in_.U8() % 4) * 256;
        int v = in_.Value();
        vector_[i] = v;
        if (i >= static_cast<int>(vectorModel_.size())) vectorModel_.resize(i + 1);
        vectorModel_[i] = v;
        CheckVector();
        break;
      }
      case 31: {
        // Rarely: clear everything (the byte decides).
        if (in_.U8() < 16) {
          dict_.clear();
          dictModel_.clear();
          bag_.clear();
          bagModel_.clear();
          slist_.clear();
          slistModel_.clear();
          CheckAll();
        }
        break;
      }
    }
  }

  template <class List>
  void ListOp(List& list, std::vector<int>& model, int which, bool failing) {
    int n = static_cast<int>(model.size());
    switch (which) {
      case 0: case 1: {  // append / insert
        int v = in_.Key();
        bool r = which == 0 ? list.append(v) : list.insert(v);
        Expect(r == !failing, "list add result");
        if (r) model.insert(which == 0 ? model.end() : model.begin(), v);
        break;
      }
      case 2: case 3: {  // get with an index around the valid range
        int i = static_cast<int>(in_.U8() % 16) - 4;
        if (in_.U8() & 1) i += n;
        int at = i < 0 ? 0 : i >= n ? n - 1 : i;
        int expected = n == 0 ? 0 : model[at];
        Expect(list.get(i) == expected, "list get");
        if (n) model.erase(model.begin() + at);
        break;
      }
      case 4: {  // find by index
        int i = static_cast<int>(in_.U8()) - 8;
        int at = i < 0 ? 0 : i >= n ? n - 1 : i;
        Expect(list.find(i) == (n == 0 ? 0 : model[at]), "list find");
        break;
      }
      case 5: {  // index of a value
        int v = in_.Key();
        int expected = -1;
        for (int j = 0; j < n; ++j)
          if (model[j] == v) {
            expected = j;
            break;
          }
        Expect(list.index(v) == expected, "list index");
        break;
      }
    }
    CheckList(list, model);
  }

  // ---- comparisons with the models

  void CheckLevels(const WCSkipNonTempBase& list, int tag, size_t payloadSpace, const char* what) {
    int top = 0;
    for (auto& [block, bytes] : Mem().live[tag])
      top = std::max(top, static_cast<int>((bytes - payloadSpace) / sizeof(void*)) - 1);
    Expect(list.levelInUse() == top, what);
    Expect(list.levelInUse() < list.levels(), what);
  }
  // Walks the container's iterator beside the model; same(it, modelElement).
  template <class It, class Model, class Same>
  void CheckSeq(It it, const Model& model, Same same, const char* what) {
    auto m = model.begin();
    while (++it) {
      if (m == model.end() || !same(it, *m)) return Fail(what);
      ++m;
    }
    Expect(m == model.end(), what);
  }
  void CheckDictAgainst(const Dict& d, const std::map<int, int>& model, const char* what) {
    Expect(d.entries() == model.size(), what);
    CheckSeq(WCValSkipListDictIter<int, int>(d), model,
             [](auto& it, auto& m) { return it.key() == m.first && it.value() == m.second; }, what);
  }
  void CheckDict() {
    CheckDictAgainst(dict_, dictModel_, "dict contents");
    CheckLevels(dict_, 0, kDictSpace, "dict level in use");
  }
  void CheckBag() {
    Expect(bag_.entries() == bagModel_.size(), "bag entries");
    CheckSeq(WCValSkipListSetIter<Tagged>(bag_), bagModel_,
             [](auto& it, auto& m) { return it.current().key == m.first && it.current().tag == m.second; },
             "bag contents or order of equal elements");
    CheckLevels(bag_, 1, kBagSpace, "bag level in use");
  }
  void CheckSet() {
    Expect(set_.entries() == setModel_.size(), "set entries");
    CheckSeq(WCValSkipListSetIter<int>(set_), setModel_, [](auto& it, int m) { return it.current() == m; },
             "set contents");
    CheckLevels(set_, 2, kSetSpace, "set level in use");
  }
  void CheckPtrSet() {
    Expect(ptrSet_.entries() == ptrModel_.size(), "pointer set entries");
    CheckSeq(WCValSkipListSetIter<int*>(ptrSet_), ptrModel_,
             [](auto& it, auto& m) { return it.current() == m.second; }, "pointer set contents");
    CheckLevels(ptrSet_, 3, kPtrSpace, "pointer set level in use");
  }
  template <class List>
  void CheckList(const List& list, const std::vector<int>& model) {
    Expect(list.entries() == static_cast<int>(model.size()), "list entries");
    Expect(list.findLast() == (model.empty() ? 0 : model.back()), "list tail");
    using It = std::conditional_t<std::is_same_v<List, WCValSList<int>>, WCValConstSListIter<int>,
                                  WCValConstDListIter<int>>;
    CheckSeq(It(list), model, [](auto& it, int m) { return it.current() == m; }, "list contents");
  }
  void CheckVector() {
    Expect(vector_.entries() == static_cast<int>(vectorModel_.size()), "vector entries");
    const auto& cv = vector_;
    for (size_t i = 0; i < vectorModel_.size(); ++i)
      if (cv[static_cast<int>(i)] != vectorModel_[i]) return Fail("vector contents");
  }
  void CheckAll() {
    CheckDict();
    CheckBag();
    CheckSet();
    CheckPtrSet();
    CheckList(slist_, slistModel_);
    CheckList(dlist_, dlistModel_);
    CheckVector();
    Expect(stack_.entries() == static_cast<int>(stackModel_.size()), "stack entries");
  }

  Bytes& in_;
  size_t step_ = 0;
  int tag_ = 0;
  std::string error_;
  int pool_[128];

  Dict dict_;
  std::map<int, int> dictModel_;
  Bag bag_;
  std::multimap<int, int> bagModel_;
  Set set_;
  std::set<int> setModel_;
  PtrSet ptrSet_;
  std::map<int, int*> ptrModel_;
  WCValSList<int> slist_;
  std::vector<int> slistModel_;
  WCValDList<int> dlist_;
  std::vector<int> dlistModel_;
  WCStack<int> stack_;
  std::vector<int> stackModel_;
  WCValVector<int> vector_;
  std::vector<int> vectorModel_;
};

// Seeds the level chooser from the first byte and runs the rest. Returns "" or
// the first difference. All node memory is returned when it ends.
inline std::string Run(const uint8_t* data, size_t size) {
  Bytes in(data, size);
  WCSkipNonTempBase::SeedForTests(in.U8());
  std::string result;
  {
    Driver driver(in);
    result = driver.Run();
  }
  Mem().failing = false;
  for (auto& live : Mem().live) {
    if (!live.empty() && result.empty()) result = "node or link memory not returned";
    live.clear();
  }
  if (result.empty()) result = Mem().error;
  Mem().error.clear();
  return result;
}

}  // namespace wcdiff
