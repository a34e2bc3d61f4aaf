#include <windows.h>

#include "platform/job_queue.h"

namespace plat {

JobQueue::JobQueue(uint32_t concurrency)
    : impl_(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, concurrency)) {}

JobQueue::~JobQueue() {
  if (impl_) ::CloseHandle(impl_);
}

bool JobQueue::Post(void* item) {
  return impl_ && ::PostQueuedCompletionStatus(impl_, 8, 0, static_cast<OVERLAPPED*>(item)) != FALSE;
}

int JobQueue::Get(void** item, uint32_t timeoutMs) {
  if (!impl_ || !item) return -1;
  DWORD bytes = 0;
  ULONG_PTR key = 0;
  OVERLAPPED* packet = nullptr;
  if (::GetQueuedCompletionStatus(impl_, &bytes, &key, &packet, timeoutMs)) {
    *item = packet;
    return 1;
  }
  if (!packet && ::GetLastError() == WAIT_TIMEOUT) return 0;
  return -1;
}

}  // namespace plat
