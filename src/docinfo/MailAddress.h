// The address tokeniser of mail header fields (From, To, Reply-To, Return-Path,
// CC, BCC): a scan in four states (plain, quoted, comment, angle) that decodes
// encoded words, collapses runs of blanks to one, drops "<EX:...>" addresses and
// gives the tokens as clsParseItem items. The field's text is the concatenation
// of the items' texts.
// Errors: a control character in the plain state loses what was tokenised so far;
// an unterminated quote or comment with an empty buffer gives no items. A bad
// encoded word throws clsRFC1342Exception (see Rfc1342Decoder.h).
// Threads: any; all state is local.
//
//   DecodeAddressField(String(u"\"Ann\"  <a@b.c>"));   // "\"Ann\" <a@b.c>"
#pragma once
#include "core/containers/WCList.h"
#include "core/strings/String.h"

namespace zx {

class clsParseItem {
 public:
  enum : int { kWord = 1, kComment = 3, kAddress = 4, kBlank = 5 };
  int type = kWord;
  int offset = 0;  // position of the token in the field, in characters
  String text;     // the token's text as it goes to the result
};

inline bool operator==(const clsParseItem& a, const clsParseItem& b) {
  return a.type == b.type && a.offset == b.offset && a.text == b.text;
}

using clsParseItemList = WCValDList<clsParseItem>;

// The tokens of an address field, in order.
void TokeniseAddressField(const String& field, clsParseItemList& items);
// The field's text: the items' texts one after the other.
String DecodeAddressField(const String& field);

}  // namespace zx
