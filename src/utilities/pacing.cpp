// Job pacing: bounded waits on two portable auto-reset events.
#include "utilities/pacing.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace halftone::pacing {
namespace {

class AutoResetEvent {
 public:
  explicit AutoResetEvent(bool signalled) : signalled_(signalled) {}

  void set() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      signalled_ = true;
    }
    cv_.notify_one();
  }

  // True when the event came within `timeout` ms; a successful wait resets it.
  bool wait(std::uint32_t timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto ready = [this] { return signalled_; };
    if (timeout == kInfinite)
      cv_.wait(lock, ready);
    else if (timeout == 0 ? !ready()  // a look, no wait: threads libraries may sleep a tick
                          : !cv_.wait_for(lock, std::chrono::milliseconds(timeout), ready))
      return false;
    signalled_ = false;
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable cv_;
  bool signalled_;
};

using Handle = std::shared_ptr<AutoResetEvent>;

// The handles. A waiter holds its own references, so closing or recreating
// the events while a wait runs never frees an event under it.
std::mutex g_handles;
Handle g_ready;
Handle g_done;

Handle& handle(Event event) { return event == Event::Ready ? g_ready : g_done; }

Handle get(Event event) {
  std::lock_guard<std::mutex> lock(g_handles);
  return handle(event);
}

// Waits until the event comes or `limit` waits have timed out; true when it
// gave up. A missing event fails its wait at once, which is no timeout.
bool gives_up(AutoResetEvent* event, std::uint32_t timeout, std::uint32_t limit) {
  if (!event) return false;
  for (std::uint32_t retries = 0; !event->wait(timeout);)
    if (++retries == limit) return true;
  return false;
}

}  // namespace

int create_events() {
  auto ready = std::make_shared<AutoResetEvent>(true);
  auto done = std::make_shared<AutoResetEvent>(false);
  std::lock_guard<std::mutex> lock(g_handles);
  g_ready = std::move(ready);
  g_done = std::move(done);
  return 0;
}

int wait_events(std::uint32_t timeout) {
  const Handle done = get(Event::Done);
  const Handle ready = get(Event::Ready);
  const int result = gives_up(done.get(), timeout, 50) ? 1 : 0;
  if (gives_up(ready.get(), timeout, 30)) return 2;
  return result;
}

int close_events() {
  std::lock_guard<std::mutex> lock(g_handles);
  g_done.reset();
  g_ready.reset();
  return 1;
}

bool signal(Event event) {
  const Handle h = get(event);
  if (!h) return false;
  h->set();
  return true;
}

}  // namespace halftone::pacing
