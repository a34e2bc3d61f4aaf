// Concurrency markers: spans, flags and messages of the library's threads on the
// timeline of a concurrency profiler, written as events of the provider
// "ConcurrencyVisualizerMarkers". Off unless the user value
// Software\zarnik\SupportConcurrencyVisualizer begins with "T" and the system has
// event tracing; while off a thread pays one test.
#pragma once
#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "core/strings/String.h"
#include "core/containers/WCSkipList.h"
#include "platform/event_trace.h"
#include "platform/lock.h"

namespace zx {

constexpr int32_t kMarkerInvalidArg = static_cast<int32_t>(0x80070057);
constexpr int32_t kMarkerTextTooLong = static_cast<int32_t>(0x8007007A);
constexpr uint32_t kMarkerSeriesNameMax = 32;
constexpr uint32_t kMarkerManifestBytes = 3699;
constexpr uint32_t kMarkerTextInline = 64;
constexpr uint32_t kMarkerTextMax = 8192;

// Events of the provider.
enum class MarkerEvent : uint16_t { EnterSpan = 1, LeaveSpan = 2, WriteFlag = 3, WriteMessage = 4 };

// {AE1860CF-EE7C-4659-BB7B-C7AED00F23E4}
extern const plat::TraceGuid kMarkerProviderGuid;

// The registered provider: registration, the enable state the system delivers, the
// manifest and the span counter.
struct scMarkerProviderContext {
  plat::IEventTrace* backend = nullptr;
  uint64_t registration = 0;
  std::atomic<bool> enabled{false};
  std::atomic<uint8_t> level{0};
  std::atomic<uint64_t> matchAny{0}, matchAll{0};
  char* manifest = nullptr;
  uint32_t manifestLength = 0;
  std::atomic<uint32_t> manifestSent{0};
  std::atomic<uint32_t> spanCounter{0x80000000u};
};

class clsConcurrencyVisualizerProvider {
 public:
  // Checks both arguments (0x80070057), formats the manifest with the GUID and
  // registers it. `*out` gets a provider with a reference even when the
  // registration failed (it then stays off).
  static int32_t Create(const plat::TraceGuid* guid, plat::IEventTrace* backend,
                        clsConcurrencyVisualizerProvider** out);
  // The provider of this process, counted; made on first use after the switch.
  static clsConcurrencyVisualizerProvider* Acquire();

  void AddRef() { refs_.fetch_add(1, std::memory_order_relaxed); }
  void Release();

  // The one test while markers are off.
  bool IsReady() const { return ready_ && context_ && context_->enabled.load(std::memory_order_relaxed); }
  bool IsEnabledFor(uint8_t level) const;
  // Writes one event: the span number (span events only), the series name and the
  // formatted text. 0 when written or filtered out; an HRESULT otherwise.
  int32_t WriteV(MarkerEvent event, uint8_t level, const String& series, uint32_t spanNumber,
                 const char16_t* format, va_list args);
  // The next span number: from 0x80000000 up, 0x7FFFFFFF is followed by 0x80000000.
  uint32_t NextSpanNumber();

  const char* Manifest() const { return context_ ? context_->manifest : nullptr; }
  uint32_t ManifestLength() const { return context_ ? context_->manifestLength : 0; }
  bool Enabled() const { return enabled_ != 0; }

 private:
  clsConcurrencyVisualizerProvider() = default;
  ~clsConcurrencyVisualizerProvider();
  static void OnEnable(void* context, const plat::TraceEnableState& state);
  void SendManifestOnce();

  uint8_t enabled_ = 0;
  scMarkerProviderContext* context_ = nullptr;
  uint8_t ready_ = 0;
  std::atomic<int32_t> refs_{1};
};

// A named series of marks.
class clsConcurrencyVisualizerMarkerSeries {
 public:
  // 0x80070057 for a missing provider or name, or a name above 32 characters.
  static int32_t Create(clsConcurrencyVisualizerProvider* provider, const char16_t* name,
                        clsConcurrencyVisualizerMarkerSeries** out);
  ~clsConcurrencyVisualizerMarkerSeries();
  int32_t WriteMessage(uint8_t level, const char16_t* format, ...);
  int32_t WriteFlag(uint8_t level, const char16_t* format, ...);
  int32_t EnterSpan(uint8_t level, uint32_t* spanNumber, const char16_t* format, ...);
  int32_t LeaveSpan(uint8_t level, uint32_t spanNumber);
  const String& Name() const { return name_; }
  uint32_t NameLength() const { return length_; }

 private:
  clsConcurrencyVisualizerMarkerSeries(clsConcurrencyVisualizerProvider* provider, const char16_t* name,
                                       uint32_t length);
  clsConcurrencyVisualizerProvider* provider_;
  String name_;
  uint32_t length_;
};

// The marker state of one thread inside a user: its series and the span depth.
struct clsConcurrencyVisualizerMarkerSeriesList {
  clsConcurrencyVisualizerMarkerSeries* series = nullptr;
  int32_t depth = 0;
};

// An open span; its end leaves the span and lowers the thread's depth.
class clsConcurrencyVisualizerSpan {
 public:
  clsConcurrencyVisualizerSpan(clsConcurrencyVisualizerMarkerSeries* series,
                               clsConcurrencyVisualizerMarkerSeriesList* list, uint8_t level, uint32_t number)
      : series_(series), list_(list), level_(level), number_(number) {}
  ~clsConcurrencyVisualizerSpan();
  uint32_t Number() const { return number_; }
  clsConcurrencyVisualizerSpan(const clsConcurrencyVisualizerSpan&) = delete;
  clsConcurrencyVisualizerSpan& operator=(const clsConcurrencyVisualizerSpan&) = delete;

 private:
  clsConcurrencyVisualizerMarkerSeries* series_;
  clsConcurrencyVisualizerMarkerSeriesList* list_;
  uint8_t level_;
  uint32_t number_;
};

// Base of every thread object: the provider reference and a series name.
class clsConcurrencyVisualizerUser {
 public:
  explicit clsConcurrencyVisualizerUser(const char16_t* seriesName);
  virtual ~clsConcurrencyVisualizerUser();
  bool MarkersActive() const { return provider_ && provider_->IsReady(); }
  clsConcurrencyVisualizerProvider* MarkerProvider() const { return provider_; }
  // A span on the calling thread's series of this user (null while markers are off).
  clsConcurrencyVisualizerSpan* EnterSpan(uint8_t level, const char16_t* format, ...);
  // Span depth of the calling thread.
  int32_t SpanDepth();

 private:
  clsConcurrencyVisualizerMarkerSeriesList* ListOfThisThread();

  clsConcurrencyVisualizerProvider* provider_;
  String seriesName_;
  plat::CriticalSection listsLock_;
  WCValSkipListDict<uint32_t, clsConcurrencyVisualizerMarkerSeriesList*>* lists_ = nullptr;
};

// Tests: the backend the process provider uses (null: the system's), and forget the
// process provider so that the next Acquire reads the switch again.
void SetMarkerBackendForTests(plat::IEventTrace* backend);

}  // namespace zx
