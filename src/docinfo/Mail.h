// The mail header reader (".eml", and ".msg" that is no compound file): of the
// first 64 KiB, the header block up to the first empty line; "From" goes to the
// author, "To" to lastAuthor (the addressee), "Subject" to the title and "Date"
// to created (UTC). Names match exactly ("subject" has no effect), other fields
// none. The reader itself is ReadMailInfo (DocReaders.h); the pieces below are
// what tests and fuzzers call.
// Errors: none reported; ReadMailInfo answers 0. A field that cannot be decoded
// stays unset; a date that does not parse or fails the range check leaves
// created as it was.
// Threads: any; every call builds its own expressions, nothing is shared.
//
//   DecodeMailField(String(u"=?utf-8?B?w6Q=?="), String(u"Subject"));   // "ä"
//   plat::SystemTime t = kUnsetSystemTime;
//   ParseMailDate(String(u"Mon, 5 Mar 2012 10:20:30 +0100"), &t);      // 09:20:30
#pragma once
#include "core/strings/String.h"
#include "platform/timestamp.h"

namespace zx {

// A field's value decoded by its name (compared without case): the address
// fields (From, To, Reply-To, Return-Path, CC, BCC) by the address tokeniser,
// every other field by replacing its encoded words. May throw
// clsRFC1342Exception (Rfc1342Decoder.h).
String DecodeMailField(const String& value, const String& name);

// An RFC 822 date anywhere in `text` ("[Day, ]5 Mar 2012 10:20:30 [zone]") into
// `*time`, which the caller has set to the unset time. A numeric zone is taken
// off, so the time is UTC; a named zone leaves the time as written. Month is 0
// for an unknown name; numbers too large for their field become 0xFFFF. With a
// numeric zone the time goes through file-time arithmetic, which makes an
// impossible date (31 February, hour 24, before 1601) the unset time. Nothing is
// checked here: see MailDateInRange.
void ParseMailDate(const String& text, plat::SystemTime* time);
// The reader's check before it takes a date: month 1 to 12, day 1 to 31, hour at
// most 24, minute and second at most 59.
bool MailDateInRange(const plat::SystemTime& time);

// The header block of a mail's text: all before the first empty line (CR LF CR
// LF, CR CR or LF LF). False when there is none.
bool FindMailHeaderBlock(const String& text, String* block);

}  // namespace zx
