#include "docinfo/MailAddress.h"

#include <string_view>

#include "core/regex/RegEx.h"
#include "docinfo/Rfc1342Decoder.h"

namespace zx {
namespace {

// local-part "@" domain ("." domain)+, each piece an atom or a quoted string.
constexpr const char16_t* kAddressPattern =
    uR"re((?:[^\x01-\x1f\x7f()<>@,;:\\\[\] ]+|"[^"]*")@(?:[^\x01-\x1f\x7f()<>@,;:\\\[\] \.]+|"[^"]*")(?:\.(?:[^\x01-\x1f\x7f()<>@,;:\\\[\] \.]+|"[^"]*"))+)re";

String Trimmed(String text) {
  text.TrimLeft();
  text.TrimRight(u' ');
  return text;
}

String AnchoredWordPattern() {
  String p(u"^");
  p.Append(kEncodedWordPattern);
  return p;
}

class AddressScan {
 public:
  AddressScan(const String& field, clsParseItemList& items)
      : field(field), s(field.View()), items(items), decoder(field) {}

  void Run() {
    enum { kPlain, kQuoted, kComment, kAngle } state = kPlain;
    bool escaped = false;
    size_t i = 0;
    while (i < s.size()) {
      const char16_t c = s[i];
      size_t wordEnd = 0;
      String decoded;
      switch (state) {
        case kPlain:
          if (escaped) {
            Put(c, i);
            escaped = false;
          } else if (c == u'=' && WordAt(i, &decoded, &wordEnd)) {
            Add(clsParseItem::kWord, i, Trimmed(decoded));
            i = wordEnd;
            continue;
          } else if (c == u'"') {
            Put(c, i);
            state = kQuoted;
          } else if (c == u'(') {
            Put(c, i);
            state = kComment;
          } else if (c == u'<') {
            if (!buffer.IsEmpty()) Flush(clsParseItem::kWord, true);
            Put(c, i);
            state = kAngle;
          } else if (c == u'\\') {
            escaped = true;
          } else if (c == u' ' || c == u'\t') {
            if (!buffer.IsEmpty()) Flush(clsParseItem::kWord, true);
            Add(clsParseItem::kBlank, i, String(u" "));
            while (i + 1 < s.size() && (s[i + 1] == u' ' || s[i + 1] == u'\t')) ++i;
          } else if (c < 32 || c == 127) {
            items.clear();  // a control character: what was tokenised is lost
            i = s.size();
            continue;
          } else {
            Put(c, i);
          }
          break;
        case kQuoted:
          Put(c, i);
          if (c == u'"') {
            Flush(clsParseItem::kWord, true);
            state = kPlain;
          }
          break;
        case kComment:
          if (c == u')') {
            Put(c, i);
            Flush(clsParseItem::kComment, false);
            state = kPlain;
          } else if (WordAt(i + 1, &decoded, &wordEnd)) {
            // The character before the word is dropped, the word and the blanks
            // behind it are taken as one piece of the comment.
            buffer.Append(decoded);
            i = wordEnd;
            while (i < s.size() && (s[i] == u' ' || s[i] == u'\t')) ++i;
            continue;
          } else {
            Put(c, i);
          }
          break;
        case kAngle:
          if (c == u'>') {
            if (buffer.Compare(u"<EX:", 4) == 0) {
              buffer.Clear();  // an address of the mail server's own kind: dropped
            } else {
              Put(c, i);
              Flush(clsParseItem::kAddress, false);
            }
            state = kPlain;
          } else {
            Put(c, i);
          }
          break;
      }
      ++i;
    }
    if (buffer.IsEmpty()) {
      if (state == kQuoted || state == kComment) items.clear();
      return;
    }
    if (items.isEmpty()) {
      clsRegEx address(String(kAddressPattern), kRegExCaseless);
      clsRegExMatchList m;
      if (address.Match(buffer, &m)) {
        const scRegExMatch whole = m.find(0);
        Add(clsParseItem::kAddress, bufferStart + whole.offset, whole.text);
        return;
      }
    }
    Flush(clsParseItem::kWord, true);
  }

 private:
  void Put(char16_t c, size_t at) {
    if (buffer.IsEmpty()) bufferStart = static_cast<int>(at);
    buffer.Append(c);
  }
  void Add(int type, size_t offset, const String& text) {
    clsParseItem item;
    item.type = type;
    item.offset = static_cast<int>(offset);
    item.text = text;
    items.append(item);
  }
  void Flush(int type, bool trim) {
    Add(type, static_cast<size_t>(bufferStart), trim ? Trimmed(buffer) : buffer);
    buffer.Clear();
  }

  // An encoded word beginning at `at`: its text and the position behind it.
  // A word ends at the first "?=" behind its header ("=?charset?Q?") and holds no
  // line feed, so only that piece goes to the engine. The positions searched for
  // only grow during a scan, and each search answer is kept until it lies behind,
  // which keeps the scan linear however many "=?" the field has.
  bool WordAt(size_t at, String* decoded, size_t* end) {
    if (at + 1 >= s.size() || s[at] != u'=' || s[at + 1] != u'?') return false;
    const size_t mark = questionMark.Next(s, u"?", at + 2);
    if (mark == std::u16string_view::npos) return false;
    const size_t close = closing.Next(s, u"?=", mark + 3);
    if (close == std::u16string_view::npos || lineFeed.Next(s, u"\n", at) < close) return false;
    clsRegExMatchList m;
    if (!word.Match(String(s.substr(at, close + 2 - at)), &m)) return false;
    *decoded = decoder.Decode(m);
    *end = at + static_cast<size_t>(m.find(0).text.Length());
    return true;
  }

  // The first place of a text at or behind a position that never decreases.
  struct Search {
    size_t Next(std::u16string_view in, std::u16string_view what, size_t from) {
      if (!done || found < from) found = from > in.size() ? std::u16string_view::npos : in.find(what, from);
      done = true;
      return found;
    }
    size_t found = 0;
    bool done = false;
  };

  const String& field;
  std::u16string_view s;
  clsParseItemList& items;
  clsRFC1342Decoder decoder;
  clsRegEx word{AnchoredWordPattern()};
  String buffer;
  int bufferStart = 0;
  Search questionMark, closing, lineFeed;
};

}  // namespace

void TokeniseAddressField(const String& field, clsParseItemList& items) {
  items.clear();
  AddressScan(field, items).Run();
}

String DecodeAddressField(const String& field) {
  clsParseItemList items;
  TokeniseAddressField(field, items);
  String result;
  WCValDListIter<clsParseItem> it(items);
  while (++it) result.Append(it.current().text);
  return result;
}

}  // namespace zx
