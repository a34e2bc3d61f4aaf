// Texts of socket errors: the system's message, else the built-in Winsock table,
// else the number.
#include <cstring>
#include <string>

#include "core/format/Format.h"
#include "debug/Travue.h"
#include "platform/errors.h"
#include "platform/udp.h"

namespace zx {
namespace {

struct WinsockText {
  int code;
  const char16_t* text;
};

constexpr WinsockText kWinsockTexts[] = {
    {10004, u"Interrupted function call."},
    {10009, u"The file handle supplied is not valid."},
    {10013, u"Permission denied."},
    {10014, u"Bad address."},
    {10022, u"Invalid argument."},
    {10024, u"Too many open files."},
    {10035, u"Resource temporarily unavailable."},
    {10036, u"Operation now in progress."},
    {10037, u"Operation already in progress."},
    {10038, u"Socket operation on nonsocket."},
    {10039, u"Destination address required."},
    {10040, u"Message too long."},
    {10041, u"Protocol wrong type for socket."},
    {10042, u"Bad protocol option."},
    {10043, u"Protocol not supported."},
    {10044, u"Socket type not supported."},
    {10045, u"Operation not supported."},
    {10046, u"Protocol family not supported."},
    {10047, u"Address family not supported by protocol family."},
    {10048, u"Address already in use."},
    {10049, u"Cannot assign requested address."},
    {10050, u"Network is down."},
    {10051, u"Network is unreachable."},
    {10052, u"Network dropped connection on reset."},
    {10053, u"Software caused connection abort."},
    {10054, u"Connection reset by peer."},
    {10055, u"No buffer space available."},
    {10056, u"Socket is already connected."},
    {10057, u"Socket is not connected."},
    {10058, u"Cannot send after socket shutdown."},
    {10059, u"Too many references."},
    {10060, u"Connection timed out."},
    {10061, u"Connection refused."},
    {10062, u"Cannot translate name."},
    {10063, u"Name too long."},
    {10064, u"Host is down."},
    {10065, u"No route to host."},
    {10066, u"Directory not empty."},
    {10067, u"Too many processes."},
    {10068, u"User quota exceeded."},
    {10069, u"Disk quota exceeded."},
    {10070, u"Stale file handle reference."},
    {10071, u"Item is remote."},
    {10091, u"Network subsystem is unavailable."},
    {10092, u"Winsock.dll version out of range."},
    {10093, u"Successful WSAStartup not yet performed."},
    {10101, u"Graceful shutdown in progress."},
    {10109, u"Class type not found."},
    {11001, u"Host not found."},
    {11004, u"Valid name, no data record of requested type."},
};
static_assert(sizeof kWinsockTexts / sizeof kWinsockTexts[0] == 50, "50 pairs");

void Copy(const char16_t* text, size_t n, char16_t* out, size_t capacity) {
  if (capacity == 0) return;
  if (n >= capacity) n = capacity - 1;
  std::memcpy(out, text, n * sizeof(char16_t));
  out[n] = 0;
}

}  // namespace

void SocketErrorText(int error, char16_t* out, size_t capacity) {
  if (error == 0) error = plat::SocketLastError();
  std::u16string text;
  if (plat::SystemErrorText(static_cast<uint32_t>(error), 0x400, text) && !text.empty()) {
    Copy(text.data(), text.size(), out, capacity < 512 ? capacity : 512);
    return;
  }
  for (const WinsockText& t : kWinsockTexts) {
    if (t.code == error) {
      size_t n = 0;
      while (t.text[n]) ++n;
      Copy(t.text, n, out, capacity);
      return;
    }
  }
  if (capacity) FormatTo(out, capacity, u"Winsock error %d", error);
}

}  // namespace zx
