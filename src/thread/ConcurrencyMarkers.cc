#include "thread/ConcurrencyMarkers.h"

#include <cstring>
#include <memory>
#include <mutex>

#include "core/diag/Diag.h"
#include "core/format/Format.h"
#include "core/registry/Registry.h"
#include "core/identity/Identity.h"
#include "platform/process.h"

namespace zx {

const plat::TraceGuid kMarkerProviderGuid = {0xAE1860CF, 0xEE7C, 0x4659,
                                             {0xBB, 0x7B, 0xC7, 0xAE, 0xD0, 0x0F, 0x23, 0xE4}};

namespace {

// The instrumentation manifest; %s is the provider GUID.
constexpr char16_t kManifest[] =
    u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    u"<instrumentationManifest xmlns=\"http://schemas.microsoft.com/win/2004/08/events\" "
    u"xmlns:win=\"http://manifests.microsoft.com/win/2004/08/windows/events\" "
    u"xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\r\n"
    u"<instrumentation><events>\r\n"
    u"<provider name=\"ConcurrencyVisualizerMarkers\" guid=\"%s\" symbol=\"ConcurrencyVisualizerMarkers\" "
    u"resourceFileName=\"zxUT22\" messageFileName=\"zxUT22\">\r\n"
    u"<tasks>\r\n"
    u"<task name=\"Span\" value=\"1\"/>\r\n"
    u"<task name=\"Flag\" value=\"2\"/>\r\n"
    u"<task name=\"Message\" value=\"3\"/>\r\n"
    u"</tasks>\r\n"
    u"<opcodes>\r\n"
    u"<opcode name=\"WriteFlag\" value=\"11\"/>\r\n"
    u"<opcode name=\"WriteMessage\" value=\"12\"/>\r\n"
    u"</opcodes>\r\n"
    u"<templates>\r\n"
    u"<template tid=\"SpanArgs\">\r\n"
    u"<data name=\"SpanId\" inType=\"win:UInt32\"/>\r\n"
    u"<data name=\"Series\" inType=\"win:UnicodeString\"/>\r\n"
    u"<data name=\"Text\" inType=\"win:UnicodeString\"/>\r\n"
    u"</template>\r\n"
    u"<template tid=\"MarkArgs\">\r\n"
    u"<data name=\"Series\" inType=\"win:UnicodeString\"/>\r\n"
    u"<data name=\"Text\" inType=\"win:UnicodeString\"/>\r\n"
    u"</template>\r\n"
    u"</templates>\r\n"
    u"<events>\r\n"
    u"<event value=\"1\" symbol=\"EnterSpan\" task=\"Span\" opcode=\"win:Start\" template=\"SpanArgs\"/>\r\n"
    u"<event value=\"2\" symbol=\"LeaveSpan\" task=\"Span\" opcode=\"win:Stop\" template=\"SpanArgs\"/>\r\n"
    u"<event value=\"3\" symbol=\"WriteFlag\" task=\"Flag\" opcode=\"WriteFlag\" template=\"MarkArgs\"/>\r\n"
    u"<event value=\"4\" symbol=\"WriteMessage\" task=\"Message\" opcode=\"WriteMessage\" "
    u"template=\"MarkArgs\"/>\r\n"
    u"</events>\r\n"
    u"</provider></events></instrumentation></instrumentationManifest>\r\n";

// The manifest travels as one event of its own: id 0xFFFE, opcode 0xFE, always
// logged, so that a consumer can decode the marks that follow.
constexpr plat::TraceEventDescriptor kManifestEvent{0xFFFE, 0, 0, 0, 0xFE, 0xFFFE, 0};

plat::TraceEventDescriptor DescriptorOf(MarkerEvent event, uint8_t level) {
  switch (event) {
    case MarkerEvent::EnterSpan: return {1, 0, 0, level, 1, 1, 0};    // win:Start of Span
    case MarkerEvent::LeaveSpan: return {2, 0, 0, level, 2, 1, 0};    // win:Stop of Span
    case MarkerEvent::WriteFlag: return {3, 0, 0, level, 11, 2, 0};
    case MarkerEvent::WriteMessage: break;
  }
  return {4, 0, 0, level, 12, 3, 0};
}

int32_t FromWin32(uint32_t rc) {
  return rc == 0 ? 0 : static_cast<int32_t>(0x80070000u | (rc & 0xFFFFu));
}

std::mutex g_processLock;
clsConcurrencyVisualizerProvider* g_process = nullptr;
plat::IEventTrace* g_testBackend = nullptr;

// Windows 6.0 and later, and the user's switch.
bool SwitchIsOn() {
  const uint32_t version = Identity().windowsVersion;
  if (version != 0 && version < 0x0600) return false;
  return RegReadBool(plat::Hive::CurrentUser, u"Software\\zarnik", u"SupportConcurrencyVisualizer", false);
}

}  // namespace

// ---- provider

int32_t clsConcurrencyVisualizerProvider::Create(const plat::TraceGuid* guid, plat::IEventTrace* backend,
                                                 clsConcurrencyVisualizerProvider** out) {
  if (!guid || !out) return kMarkerInvalidArg;
  *out = nullptr;
  auto* p = new (std::nothrow) clsConcurrencyVisualizerProvider;
  if (!p) return static_cast<int32_t>(0x8007000E);
  p->enabled_ = 1;
  *out = p;
  char16_t guidText[40];
  FormatTo(guidText, 40, u"{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid->data1, guid->data2,
           guid->data3, guid->data4[0], guid->data4[1], guid->data4[2], guid->data4[3], guid->data4[4],
           guid->data4[5], guid->data4[6], guid->data4[7]);
  auto ctx = std::make_unique<scMarkerProviderContext>();
  ctx->backend = backend;
  std::unique_ptr<char16_t[]> wide(new char16_t[kMarkerManifestBytes]);
  const int n = FormatTo(wide.get(), kMarkerManifestBytes, kManifest, guidText);
  if (!backend || n < 0 || static_cast<uint32_t>(n) >= kMarkerManifestBytes) {
    DiagLine(u"ERROR initializing Marker Provider");
    return kMarkerInvalidArg;
  }
  ctx->manifest = new char[kMarkerManifestBytes];
  for (int i = 0; i <= n; ++i) ctx->manifest[i] = static_cast<char>(wide[i]);   // ASCII only
  ctx->manifestLength = static_cast<uint32_t>(n);
  p->context_ = ctx.release();
  const uint32_t rc = backend->Register(*guid, &OnEnable, p->context_, &p->context_->registration);
  if (rc != 0) {
    delete[] p->context_->manifest;
    delete p->context_;
    p->context_ = nullptr;
    DiagLine(u"ERROR initializing Marker Provider");
    return FromWin32(rc);
  }
  p->ready_ = 1;
  return 0;
}

clsConcurrencyVisualizerProvider* clsConcurrencyVisualizerProvider::Acquire() {
  std::lock_guard<std::mutex> l(g_processLock);
  if (!g_process) {
    clsConcurrencyVisualizerProvider* p = nullptr;
    plat::IEventTrace* backend = g_testBackend ? g_testBackend : plat::SystemEventTrace();
    if (SwitchIsOn() && backend) Create(&kMarkerProviderGuid, backend, &p);
    if (!p) p = new (std::nothrow) clsConcurrencyVisualizerProvider;   // off: never registered
    if (!p) return nullptr;
    g_process = p;
  }
  g_process->AddRef();
  return g_process;
}

void clsConcurrencyVisualizerProvider::Release() {
  if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

clsConcurrencyVisualizerProvider::~clsConcurrencyVisualizerProvider() {
  if (context_) {
    if (ready_) context_->backend->Unregister(context_->registration);
    delete[] context_->manifest;
    delete context_;
  }
}

void clsConcurrencyVisualizerProvider::OnEnable(void* context, const plat::TraceEnableState& state) {
  auto* ctx = static_cast<scMarkerProviderContext*>(context);
  ctx->level.store(state.level, std::memory_order_relaxed);
  ctx->matchAny.store(state.matchAnyKeyword, std::memory_order_relaxed);
  ctx->matchAll.store(state.matchAllKeyword, std::memory_order_relaxed);
  ctx->enabled.store(state.enabled, std::memory_order_release);
}

bool clsConcurrencyVisualizerProvider::IsEnabledFor(uint8_t level) const {
  if (!IsReady()) return false;
  // The marks carry keyword 0, which every session that enabled the provider takes.
  const uint8_t enabledLevel = context_->level.load(std::memory_order_relaxed);
  return enabledLevel == 0 || level <= enabledLevel;
}

uint32_t clsConcurrencyVisualizerProvider::NextSpanNumber() {
  uint32_t cur = context_->spanCounter.load(std::memory_order_relaxed), next;
  do {
    next = cur == 0x7FFFFFFFu ? 0x80000000u : cur + 1;
  } while (!context_->spanCounter.compare_exchange_weak(cur, next, std::memory_order_relaxed));
  return next;
}

void clsConcurrencyVisualizerProvider::SendManifestOnce() {
  uint32_t expected = 0;
  if (!context_->manifestSent.compare_exchange_strong(expected, 1, std::memory_order_acq_rel)) return;
  plat::TraceDataBlock block{context_->manifest, context_->manifestLength + 1};
  context_->backend->Write(context_->registration, kManifestEvent, 1, &block);
}

int32_t clsConcurrencyVisualizerProvider::WriteV(MarkerEvent event, uint8_t level, const String& series,
                                                 uint32_t spanNumber, const char16_t* format, va_list args) {
  if (!IsEnabledFor(level)) return 0;
  SendManifestOnce();
  char16_t inlineText[kMarkerTextInline];
  std::unique_ptr<char16_t[]> heapText;
  const char16_t* text = inlineText;
  va_list measure;
  va_copy(measure, args);
  int n = VFormatTo(inlineText, kMarkerTextInline, format ? format : u"", measure);
  va_end(measure);
  if (n < 0) return kMarkerInvalidArg;
  if (static_cast<uint32_t>(n) >= kMarkerTextInline) {
    if (static_cast<uint32_t>(n) > kMarkerTextMax) return kMarkerTextTooLong;
    heapText.reset(new (std::nothrow) char16_t[n + 1]);
    if (!heapText) return static_cast<int32_t>(0x8007000E);
    VFormatTo(heapText.get(), static_cast<size_t>(n) + 1, format, args);
    text = heapText.get();
  }
  plat::TraceDataBlock blocks[3];
  uint32_t count = 0;
  if (event == MarkerEvent::EnterSpan || event == MarkerEvent::LeaveSpan)
    blocks[count++] = {&spanNumber, 4};
  blocks[count++] = {series.wchar(), static_cast<uint32_t>((series.Length() + 1) * 2)};
  blocks[count++] = {text, static_cast<uint32_t>((n + 1) * 2)};
  return FromWin32(context_->backend->Write(context_->registration, DescriptorOf(event, level), count, blocks));
}

// ---- series

clsConcurrencyVisualizerMarkerSeries::clsConcurrencyVisualizerMarkerSeries(
    clsConcurrencyVisualizerProvider* provider, const char16_t* name, uint32_t length)
    : provider_(provider), name_(name), length_(length) {
  provider_->AddRef();
}

clsConcurrencyVisualizerMarkerSeries::~clsConcurrencyVisualizerMarkerSeries() { provider_->Release(); }

int32_t clsConcurrencyVisualizerMarkerSeries::Create(clsConcurrencyVisualizerProvider* provider,
                                                     const char16_t* name,
                                                     clsConcurrencyVisualizerMarkerSeries** out) {
  if (out) *out = nullptr;
  uint32_t length = 0;
  if (name)
    while (length <= kMarkerSeriesNameMax && name[length]) ++length;
  if (!provider || !name || !out || length > kMarkerSeriesNameMax) {
    DiagFormat(u"ERROR creating Marker Series '%s'", name);
    return kMarkerInvalidArg;
  }
  *out = new (std::nothrow) clsConcurrencyVisualizerMarkerSeries(provider, name, length);
  return *out ? 0 : static_cast<int32_t>(0x8007000E);
}

int32_t clsConcurrencyVisualizerMarkerSeries::WriteMessage(uint8_t level, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int32_t hr = provider_->WriteV(MarkerEvent::WriteMessage, level, name_, 0, format, ap);
  va_end(ap);
  return hr;
}

int32_t clsConcurrencyVisualizerMarkerSeries::WriteFlag(uint8_t level, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int32_t hr = provider_->WriteV(MarkerEvent::WriteFlag, level, name_, 0, format, ap);
  va_end(ap);
  return hr;
}

int32_t clsConcurrencyVisualizerMarkerSeries::EnterSpan(uint8_t level, uint32_t* spanNumber,
                                                        const char16_t* format, ...) {
  if (!provider_->IsReady()) return 0;
  const uint32_t number = provider_->NextSpanNumber();
  if (spanNumber) *spanNumber = number;
  va_list ap;
  va_start(ap, format);
  int32_t hr = provider_->WriteV(MarkerEvent::EnterSpan, level, name_, number, format, ap);
  va_end(ap);
  return hr;
}

namespace {
int32_t WriteFixed(clsConcurrencyVisualizerProvider* p, MarkerEvent e, uint8_t level, const String& name,
                   uint32_t number, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int32_t hr = p->WriteV(e, level, name, number, format, ap);
  va_end(ap);
  return hr;
}
}  // namespace

int32_t clsConcurrencyVisualizerMarkerSeries::LeaveSpan(uint8_t level, uint32_t spanNumber) {
  return WriteFixed(provider_, MarkerEvent::LeaveSpan, level, name_, spanNumber, u"");
}

// ---- span

clsConcurrencyVisualizerSpan::~clsConcurrencyVisualizerSpan() {
  if (series_) series_->LeaveSpan(level_, number_);
  if (list_ && list_->depth > 0) --list_->depth;
}

// ---- user

clsConcurrencyVisualizerUser::clsConcurrencyVisualizerUser(const char16_t* seriesName)
    : provider_(clsConcurrencyVisualizerProvider::Acquire()), seriesName_(seriesName ? seriesName : u"") {}

clsConcurrencyVisualizerUser::~clsConcurrencyVisualizerUser() {
  if (lists_) {
    WCValSkipListDictIter<uint32_t, clsConcurrencyVisualizerMarkerSeriesList*> it(*lists_);
    while (++it) {
      delete it.value()->series;
      delete it.value();
    }
    delete lists_;
  }
  if (provider_) provider_->Release();
}

clsConcurrencyVisualizerMarkerSeriesList* clsConcurrencyVisualizerUser::ListOfThisThread() {
  plat::Lock l(listsLock_);
  if (!lists_) lists_ = new (std::nothrow) WCValSkipListDict<uint32_t, clsConcurrencyVisualizerMarkerSeriesList*>;
  if (!lists_) return nullptr;
  const uint32_t tid = plat::ThreadId();
  clsConcurrencyVisualizerMarkerSeriesList* list = nullptr;
  if (lists_->find(tid, list)) return list;
  list = new (std::nothrow) clsConcurrencyVisualizerMarkerSeriesList;
  if (!list) return nullptr;
  if (!lists_->insert(tid, list)) {
    delete list;
    return nullptr;
  }
  if (MarkersActive())
    clsConcurrencyVisualizerMarkerSeries::Create(provider_, seriesName_.wchar(), &list->series);
  return list;
}

clsConcurrencyVisualizerSpan* clsConcurrencyVisualizerUser::EnterSpan(uint8_t level, const char16_t* format,
                                                                      ...) {
  if (!MarkersActive()) return nullptr;
  clsConcurrencyVisualizerMarkerSeriesList* list = ListOfThisThread();
  if (!list || !list->series) return nullptr;
  const uint32_t number = provider_->NextSpanNumber();
  va_list ap;
  va_start(ap, format);
  provider_->WriteV(MarkerEvent::EnterSpan, level, list->series->Name(), number, format, ap);
  va_end(ap);
  ++list->depth;
  return new (std::nothrow) clsConcurrencyVisualizerSpan(list->series, list, level, number);
}

int32_t clsConcurrencyVisualizerUser::SpanDepth() {
  if (!MarkersActive()) return 0;
  clsConcurrencyVisualizerMarkerSeriesList* list = ListOfThisThread();
  return list ? list->depth : 0;
}

void SetMarkerBackendForTests(plat::IEventTrace* backend) {
  std::lock_guard<std::mutex> l(g_processLock);
  g_testBackend = backend;
  if (g_process) g_process->Release();
  g_process = nullptr;
}

}  // namespace zx
