// clsTempFileRemover: takes over temporary files that can't be deleted yet (a
// viewer, a printer driver or a virus scanner still holds them). A thread keeps
// trying to delete the registered names; what is left when the remover ends is
// deleted then. The thread also keeps the activity file of the product's
// temporary folder fresh, and sweeps the folder of files that crashed runs left,
// when no process of the product has been active for three hours.
// Errors: failures to delete leave the file for the next pass; lines go to the
// debug channel (most only in developer mode).
// Threads: Add from any thread; the list is guarded by m_Lock, held through a
// whole pass, so a pass has a budget of 10 ms an entry.
#pragma once
#include <atomic>
#include <cstdint>
#include <vector>

#include "core/containers/WCList.h"
#include "core/strings/String.h"
#include "platform/file.h"
#include "platform/lock.h"
#include "thread/ThreadBase.h"

namespace zx {

// What tests replace: the waits, the present time and the deletion itself.
struct scTempFileRemoverSeams {
  uint32_t firstWaitMs = 10000;
  uint32_t passWaitUnitMs = 100;               // a pass waits (100 - min(entries, 90)) units
  uint64_t (*systemTime)() = &plat::FileTimeNow;   // FILETIME units
  bool (*removeFile)(const char16_t* name) = &plat::RemoveFile;   // DeleteFileW
};

class clsTempFileRemover : public clsThreadBase {
 public:
  // The product's temporary folder is UtilGetTempPath(true) + "zarnik".
  explicit clsTempFileRemover(const scTempFileRemoverSeams& seams = {});
  ~clsTempFileRemover() override;

  uint32_t AddRef() { return ++m_nRefs; }
  uint32_t ReleaseRef() { return --m_nRefs; }
  // Registers a name for deletion and starts the thread if it isn't running.
  void Add(const String& name);

  // Deletes one file, clearing a read-only attribute first. The system's error
  // value survives (2 when the file is gone).
  static bool DeleteTempFile(const String& name, const scTempFileRemoverSeams& seams);
  // Deletes the "_22_*" files older than an hour from the activity file's folder,
  // leaving every ".signal" file.
  static void SweepTempFolder(const String& activityFile, const scTempFileRemoverSeams& seams);
  // What the sweep would delete (full names), without deleting anything.
  static std::vector<String> SweepCandidates(const String& activityFile, const scTempFileRemoverSeams& seams);
  // The activity file of the product's temporary folder (whether it exists or not).
  static String ProductActivityFile();
  // A sweep runs when the activity file is absent or older than this (100 ns units).
  static constexpr uint64_t kIdleForSweep = 108000000000ull;   // 3 hours

  // ---- observation
  std::vector<String> PendingNames();
  const String& ActivityFile() const { return m_sActivityFile; }
  bool ThreadWasStarted();

 protected:
  uint32_t ThreadProc() override;

 private:
  void StartThread();
  void TouchActivityFile(uint64_t now);
  void Pass() ZX_REQUIRES(m_Lock);

  plat::CriticalSection m_Lock;
  WCValSList<IString> m_lstFiles ZX_GUARDED_BY(m_Lock);
  std::atomic<uint32_t> m_nRefs{1};
  uint64_t m_qwNextSweepTick = 0;
  String m_sActivityFile;
  bool m_bThreadStarted ZX_GUARDED_BY(m_Lock) = false;
  scTempFileRemoverSeams m_Seams;
};

}  // namespace zx
