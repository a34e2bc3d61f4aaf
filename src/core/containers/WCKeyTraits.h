// How the WC containers compare elements and keys. The default is the type's own
// `<` and `==`: plain comparison for integers and pointers, and the String
// comparison for String and IString (so an IString key compares without case).
// A type with another ordering specialises this template.
#pragma once

template <class T>
struct WCKeyTraits {
  static bool less(const T& a, const T& b) { return a < b; }
  static bool equal(const T& a, const T& b) { return a == b; }
};
