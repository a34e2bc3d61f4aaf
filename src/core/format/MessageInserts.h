// The message-insert expansion of the system's message formatter for a text
// source and an argument list, on every OS:
//   %1 .. %99          insert n (a third digit is text), formatted as !s! (a
//                      wide string) unless a printf format follows between '!'
//                      ("%2!d!", "%3!08lX!", "%1!hs!");
//                      each '*' in it takes the width or precision from insert n,
//                      n+1, and the value follows them
//   %0                 ends the text
//   %n                 CR LF          %r  CR          %t  tab
//   %% %. %! "% "      the character itself (any other character likewise)
// Arguments are taken by number: every insert below the highest one used is one
// argument of the list, read with the type its first use gives it (pointer-sized
// when unused).
#pragma once
#include <cstdarg>
#include <string>

namespace zx {

// Expands `text` with the arguments in `*args` (left unconsumed). A null `args`
// fails at the first insert. Returns false with the thread's error number 87 on a
// bad insert (an open "!" format, an unsupported conversion, one argument used as
// text and as a number); `out` then holds nothing useful.
bool ExpandMessageInserts(const char16_t* text, va_list* args, std::u16string& out);

}  // namespace zx
