#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "platform/system_pool.h"

namespace plat {
namespace {

constexpr size_t kThreads = 2;

struct Work;

struct Pool {
  std::mutex lock;
  std::condition_variable ready;
  std::deque<Work*> queue;
  std::vector<std::thread> threads;
  bool stop = false;
};

struct Work {
  Work(Pool* p, SystemWorkCallback cb, void* ctx) : pool(p), callback(cb), context(ctx) {}
  Pool* pool;
  SystemWorkCallback callback;
  void* context;
  int pending = 0;   // in the queue
  int running = 0;   // in a callback
  std::thread::id runner;   // the thread in the callback
  bool orphan = false;      // closed from inside its own callback: the pool deletes it
  std::condition_variable idle;
};

void Loop(Pool* p) {
  std::unique_lock<std::mutex> guard(p->lock);
  for (;;) {
    p->ready.wait(guard, [p] { return p->stop || !p->queue.empty(); });
    if (p->stop) return;
    Work* w = p->queue.front();
    p->queue.pop_front();
    --w->pending;
    ++w->running;
    w->runner = std::this_thread::get_id();
    guard.unlock();
    w->callback(w, w->context);
    guard.lock();
    --w->running;
    w->runner = std::thread::id();
    if (w->orphan) delete w;
    else w->idle.notify_all();
  }
}

}  // namespace

SystemPool::SystemPool() : impl_(new (std::nothrow) Pool) {}

SystemPool::~SystemPool() {
  auto* p = static_cast<Pool*>(impl_);
  if (!p) return;
  {
    std::lock_guard<std::mutex> guard(p->lock);
    p->stop = true;   // pending callbacks are cancelled
    for (Work* w : p->queue) w->pending = 0;
    p->queue.clear();
  }
  p->ready.notify_all();
  for (std::thread& t : p->threads) {
    if (t.get_id() == std::this_thread::get_id()) t.detach();
    else t.join();
  }
  delete p;
}

SystemWork::SystemWork(SystemPool& pool, SystemWorkCallback callback, void* context) {
  auto* p = static_cast<Pool*>(pool.Impl());
  if (p) impl_ = new (std::nothrow) Work(p, callback, context);
}

SystemWork::~SystemWork() {
  auto* w = static_cast<Work*>(impl_);
  if (!w) return;
  {
    std::lock_guard<std::mutex> guard(w->pool->lock);
    if (w->runner == std::this_thread::get_id()) {   // inside its own callback
      w->pool->queue.erase(std::remove(w->pool->queue.begin(), w->pool->queue.end(), w), w->pool->queue.end());
      w->orphan = true;
      return;
    }
  }
  Wait(true);
  delete w;
}

void SystemWork::Submit() {
  auto* w = static_cast<Work*>(impl_);
  if (!w) return;
  Pool* p = w->pool;
  {
    std::lock_guard<std::mutex> guard(p->lock);
    if (p->stop) return;
    p->queue.push_back(w);
    ++w->pending;
    if (p->threads.size() < kThreads) {
      try {
        p->threads.emplace_back(&Loop, p);
      } catch (...) {
      }
    }
  }
  p->ready.notify_one();
}

void SystemWork::Wait(bool cancelPending) {
  auto* w = static_cast<Work*>(impl_);
  if (!w) return;
  Pool* p = w->pool;
  std::unique_lock<std::mutex> guard(p->lock);
  if (cancelPending) {
    p->queue.erase(std::remove(p->queue.begin(), p->queue.end(), w), p->queue.end());
    w->pending = 0;
  }
  w->idle.wait(guard, [w] { return w->pending == 0 && w->running == 0; });
}

bool CallbackMayRunLong(void*) { return true; }

}  // namespace plat
