#pragma once

#include <pthread.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "core/loop.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/release_process.h"

namespace kvx::platform {

/// How long this computer has slept since it was started.
Duration TimeAsleep();

/// A thread that makes the armed releases when the engine may not be able to: when one is due, within a second after
/// the computer has slept, when the program has been asked to end and does not hear of it, and when a terminal stops
/// the program (Ctrl-Z), which is stopped when that is done. It keeps the release process informed of what is armed,
/// hears of what that has released, and starts it anew when it has gone, once a second at most. From a release on
/// nothing is keyed in software until Resume. One object at a time.
class ReleaseWatch {
 public:
  /// `process`: none, or one that has been started if that was possible.
  explicit ReleaseWatch(std::function<Duration()> asleep = TimeAsleep, ReleaseProcess* process = nullptr);
  ~ReleaseWatch();
  ReleaseWatch(const ReleaseWatch&) = delete;
  ReleaseWatch& operator=(const ReleaseWatch&) = delete;

  /// Is readable when releases have been made.
  int event() const { return event_.get(); }
  /// The engine has dropped what it was sending and may key again. Says why the releases were made.
  std::string Resume();

 private:
  enum Cause { kNone, kOverdue, kSlept, kStopped, kHung };
  struct Previous;

  static void* Run(void* self);
  void Work();
  void Wait(bool armed) const;
  void MindProcess();
  bool HearProcess();
  void Stop(int number);
  void Tell(Cause cause);
  void CatchStops();

  std::function<Duration()> asleep_;
  ReleaseProcess* process_;
  TimePoint next_start_{};  ///< of the process, when it has gone
  Descriptor wake_;
  Descriptor event_;
  std::atomic<Cause> cause_{kNone};
  std::atomic<bool> ending_{false};
  bool running_ = false;
  pthread_t thread_{};
  std::unique_ptr<Previous> previous_;
};

}  // namespace kvx::platform
