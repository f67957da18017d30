#pragma once

#include <optional>

#include "core/loop.h"
#include "platform/posix/release_action.h"

namespace kvx::platform {

/// One device that must be told to release the transmitter when the program ends in any way but its own orderly one. At
/// every signal that ends the program, whose course is not changed, and at exit every armed one acts, lines before
/// bytes; one that is destroyed while it is armed acts as well, and leaves a device that does not take its bytes to the
/// release process. Each holds its device open by a descriptor of its own while it is armed, so that the number cannot
/// have become that of another file. A forked child has none. Arming and disarming from one thread at a time.
class CrashRelease {
 public:
  CrashRelease();
  ~CrashRelease();
  CrashRelease(const CrashRelease&) = delete;
  CrashRelease& operator=(const CrashRelease&) = delete;

  /// The device is keyed; armed anew, it has another action or device. -1: there is none.
  void Arm(int device, const ReleaseAction& action);
  /// It is due so long from now, unless it is armed anew or disarmed before that. A ReleaseWatch sees to it.
  void ReleaseAfter(Duration limit);
  void Disarm();

  /// The program ends: every armed one acts, for the last time. A signal handler may call this.
  static void ReleaseForGood();
  /// The program goes on: every armed one acts, or those that are due by then, and stays armed; nobody keys any more
  /// until AllowKeying. False when there was none.
  static bool ReleaseForNow(std::optional<TimePoint> due = std::nullopt);
  /// The program has been asked to end. Unless it says before long that it does so, a ReleaseWatch takes it to hang and
  /// has every armed one act. A signal handler may call this.
  static void ExpectOrderlyEnd();
  static void EndsInOrder();
  /// When it is taken to hang.
  static std::optional<TimePoint> end_expected();
  static void HoldKeying();
  static void AllowKeying();
  /// The releases have been made: who keys must not key any more.
  static bool keying_ended();

  static bool any_armed();
  static std::optional<TimePoint> next_deadline();
  /// Whoever reads the other end of this socket hears, as ReleaseMessage, of what is armed now and from now on; -1:
  /// nobody.
  static void ReportTo(int socket);
  /// False when the socket has failed, or there is none.
  static bool reports();
  /// This eventfd is written to when one is armed, and when that socket fails; -1: none.
  static void WakeAtChanges(int event);

 private:
  struct Slot;

  Slot* slot_ = nullptr;  ///< null when there are more than there is room for
};

}  // namespace kvx::platform
