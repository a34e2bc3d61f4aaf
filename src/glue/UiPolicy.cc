// The environment type and the interaction state.
#include "glue/UiPolicy.h"

#include "core/identity/Identity.h"
#include "core/registry/Registry.h"
#include "core/strings/String.h"
#include "debug/Debug.h"
#include "platform/errors.h"
#include "platform/lock.h"

#include <string>

namespace zx {
namespace {

constexpr size_t kUserNameMax = 33;

std::u16string SystemUserName() {
  std::u16string name = plat::UserName();
  if (name.size() > kUserNameMax) name.resize(kUserNameMax);
  return name;
}
std::u16string SystemExecutableName() {
  return std::u16string(Identity().processBaseName.View());
}
bool SystemSoftwareKey() { return plat::UserSoftwareKeyOpens(UserHive()); }

const scUiPolicyProbes kSystem{&SystemUserName, &SystemExecutableName, &plat::ProcessSessionKind,
                               &plat::WindowStationVisible, &SystemSoftwareKey};

struct State {
  plat::CriticalSection lock;
  scUiPolicyProbes probes = kSystem;
  uint32_t environment = 0;   // 0 not yet known
  uint32_t interaction = 0;   // 0 not yet known, 1 not allowed, 2 allowed
};
State& S() {
  static State* s = new State;   // outlives exit-time destruction: crash reports ask late
  return *s;
}

bool Same(const std::u16string& a, const char16_t* b, int64_t count = -1) {
  return CompareText(a.c_str(), b, count, false, false) == 0;
}

std::u16string ErrorText(uint32_t code) {
  std::u16string text;
  if (!plat::SystemErrorText(code, 0, text)) {
    for (char c : "error " + std::to_string(code)) text += static_cast<char16_t>(c);
  }
  return text;
}

uint32_t FromToken(const scUiPolicyProbes& p) {
  uint32_t error = 0;
  int step = 0;
  switch (p.session(&error, &step)) {
    case plat::SessionKind::Interactive: return kEnvDesktop;
    case plat::SessionKind::Service: return kEnvService;
    case plat::SessionKind::Failed: break;
  }
  if (step == 1) DebugPrint(u"WRN: impossible to get data, API fails: %s", ErrorText(error).c_str());
  if (step == 2) DebugPrint(u"WRN: impossible to get data, API fails on second try: %s", ErrorText(error).c_str());
  return p.softwareKey() ? kEnvDesktop : kEnvService;
}

uint32_t ComputeEnvironment(const scUiPolicyProbes& p) {
  const std::u16string user = p.userName();
  const std::u16string exe = p.executableName();
  if (Same(user, u"aspnet")) return kEnvWebServer;
  for (const char16_t* web : {u"aspnet_wp", u"iisexpress", u"w3wp"})
    if (Same(exe, web)) return kEnvWebServer;
  if (exe.size() >= 16 && Same(exe, u"WebDev.WebServer", 16)) return kEnvWebServer;
  if (Same(user, u"system")) return kEnvService;
  return FromToken(p);
}

bool ListedAsNonInteractive(const std::u16string& exe) {
  std::u16string list;
  if (!RegReadString(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps", list)) return false;
  size_t at = 0;
  while (at <= list.size()) {
    size_t end = list.find(u';', at);
    if (end == std::u16string::npos) end = list.size();
    if (end > at && Same(exe, list.substr(at, end - at).c_str())) return true;
    at = end + 1;
  }
  return false;
}

uint32_t EnvironmentLocked(State& s) ZX_REQUIRES(s.lock) {
  if (!s.environment) s.environment = ComputeEnvironment(s.probes);
  return s.environment;
}

}  // namespace

uint32_t GetOSEnvironmentType() {
  State& s = S();
  plat::Lock guard(s.lock);
  return EnvironmentLocked(s);
}

uint32_t GetUIInteractionAllowed() {
  State& s = S();
  plat::Lock guard(s.lock);
  if (!s.interaction) {
    if (s.probes.stationVisible() == 0) {
      s.interaction = 1;
      DebugPrint(u"suppressed UI interaction: invisible WindowStation");
    }
  }
  if (!s.interaction) {
    const std::u16string exe = s.probes.executableName();
    if (ListedAsNonInteractive(exe)) {
      s.interaction = 1;
      DebugPrint(u"suppressed UI interaction: application '%s' forced to be UI inactive by registry key",
                 exe.c_str());
    }
  }
  if (!s.interaction) {
    const uint32_t env = EnvironmentLocked(s);
    s.interaction = (env == 1 || env == 2) ? 2 : 1;
  }
  return s.interaction == 2 ? 1 : 0;
}

void SetUiPolicyProbesForTests(const scUiPolicyProbes* probes) {
  State& s = S();
  plat::Lock guard(s.lock);
  s.probes = probes ? *probes : kSystem;
  s.environment = 0;
  s.interaction = 0;
}

}  // namespace zx
