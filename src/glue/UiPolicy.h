// Whether the library may show anything: the kind of process (desktop, service, web
// server) and the interaction state, each computed once per process under one lock
// and never reset (a later change of the registry has no effect).
// Threads: any thread; after the first answer the calls only read.
//
//   if (zx::UtilGetUIInteractionAllowedImpl()) ShowBox(...);
#pragma once
#include <cstdint>
#include <string>

#include "platform/session.h"

namespace zx {

constexpr uint32_t kEnvDesktop = 1;
constexpr uint32_t kEnvService = 3;
constexpr uint32_t kEnvWebServer = 4;

uint32_t GetOSEnvironmentType();
// 1 allowed, 0 not allowed.
uint32_t GetUIInteractionAllowed();

// The system questions behind the answers; tests replace them.
struct scUiPolicyProbes {
  std::u16string (*userName)();
  std::u16string (*executableName)();   // base name without extension
  plat::SessionKind (*session)(uint32_t* error, int* step);
  int (*stationVisible)();
  bool (*softwareKey)();
};
// Installs `probes` (null: the system's) and forgets both cached answers.
void SetUiPolicyProbesForTests(const scUiPolicyProbes* probes);

}  // namespace zx
