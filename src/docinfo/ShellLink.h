// Shortcuts of documents. A ".lnk" file is read by the published Shell Link
// binary format (ShellLinkHeader, LinkTargetIDList, LinkInfo, StringData), so
// that a shortcut copied from Windows resolves on any system; where the system has
// a shell link object of its own (Windows), that object answers instead.
// Errors: an empty path for anything that can't be resolved.
// Threads: any thread.
//
//   String target = ResolveShortcut(u"/data/links/report.lnk");   // "" when it can't
#pragma once
#include <cstddef>
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

// A ".lnk" file's target from its bytes: the network path of its link info (net
// name and common path suffix: the network form comes first, as the system's
// resolver gives it), else its local base path with the common path suffix (the
// Unicode forms where the link info has them), else its relative path joined to
// `folder`, the folder of the ".lnk" file. Empty when the bytes aren't a shell link
// or have none of these. Every length and offset is checked against the data.
String ShellLinkTarget(const uint8_t* data, size_t size, const String& folder);

// The target of a shortcut file: the system's shell link object where there is
// one; elsewhere a symbolic link's target, or the file read by ShellLinkTarget
// (at most kShellLinkReadLimit bytes of it). Empty when it can't be resolved.
constexpr uint32_t kShellLinkReadLimit = 1u << 20;
String ResolveShortcut(const String& lnkPath);

}  // namespace zx
