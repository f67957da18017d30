#pragma once

#include <pthread.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "core/loop.h"
#include "platform/posix/descriptor.h"

namespace kvx::platform {

/// How long this computer has slept since it was started.
Duration TimeAsleep();

/// A thread that makes the armed releases when the engine may not be able to: when one is due, within a second after
/// the computer has slept, and when a terminal stops the program (Ctrl-Z), which is stopped when that is done. From
/// then on nothing is keyed in software until Resume. One object at a time.
class ReleaseWatch {
 public:
  explicit ReleaseWatch(std::function<Duration()> asleep = TimeAsleep);
  ~ReleaseWatch();
  ReleaseWatch(const ReleaseWatch&) = delete;
  ReleaseWatch& operator=(const ReleaseWatch&) = delete;

  /// Is readable when releases have been made.
  int event() const { return event_.get(); }
  /// The engine has dropped what it was sending and may key again. Says why the releases were made.
  std::string Resume();

 private:
  enum Cause { kNone, kOverdue, kSlept, kStopped };
  struct Previous;

  static void* Run(void* self);
  void Work();
  void Wait(bool armed) const;
  void Stop(int number);
  void Tell(Cause cause);
  void CatchStops();

  std::function<Duration()> asleep_;
  Descriptor wake_;
  Descriptor event_;
  std::atomic<Cause> cause_{kNone};
  std::atomic<bool> ending_{false};
  bool running_ = false;
  pthread_t thread_{};
  std::unique_ptr<Previous> previous_;
};

}  // namespace kvx::platform
