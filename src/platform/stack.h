// Return addresses of the calling thread, and the modules that hold code addresses.
// Errors: 0 frames or an empty path; nothing sets plat::LastError.
// Threads: any thread; CaptureStack sees only the calling thread.
//
//   void* frames[16]; int n = plat::CaptureStack(0, 16, frames);
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace plat {

// True when the system can capture return addresses at all.
bool CanCaptureStack();
// Up to `count` return addresses of the calling thread into `frames`, the caller of
// this function first, after skipping `skip` more. The request is limited to what
// the system takes in one call. Returns the number stored.
int CaptureStack(int skip, int count, void** frames);

// The full path of the loaded module (program or library) that contains `address`;
// empty for unmapped or anonymous memory.
std::u16string ModulePathOfAddress(const void* address);

// Each mapped module image, once, with the address range of its first region and
// its path. Returns false from the callback to stop.
using ImageFn = bool (*)(void* context, uintptr_t base, size_t regionSize, const char16_t* path);
void WalkModuleImages(ImageFn fn, void* context);

}  // namespace plat
