#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "core/loop.h"

namespace kvx::platform {

/// One device that must be told to release the transmitter when the program ends in any way but its own orderly one. At
/// every signal that ends the program, whose course is not changed, and at exit every armed one acts, lines before
/// bytes; one that is destroyed while it is armed acts as well. Each holds its device open by a descriptor of its own
/// while it is armed, so that the number cannot have become that of another file. A forked child has none. Arming and
/// disarming from one thread at a time.
class CrashRelease {
 public:
  CrashRelease();
  ~CrashRelease();
  CrashRelease(const CrashRelease&) = delete;
  CrashRelease& operator=(const CrashRelease&) = delete;

  /// Writes bytes, at most 256.
  void ArmBytes(int device, std::string_view bytes);
  /// Lowers modem lines of a serial device and raises others, as TIOCM_ bits.
  void ArmLines(int device, int lowered, int raised);
  /// Sets the control lines of a claimed parallel port that are in `mask` to those of `value`.
  void ArmPort(int device, std::uint8_t mask, std::uint8_t value);
  /// Writes the data lines of a claimed parallel port.
  void ArmData(int device, std::uint8_t data);
  /// It is due so long from now, unless it is armed anew or disarmed before that. A ReleaseWatch sees to it.
  void ReleaseAfter(Duration limit);
  void Disarm();

  /// The program ends: every armed one acts, for the last time. A signal handler may call this.
  static void ReleaseForGood();
  /// The program goes on: every armed one acts, or those that are due by then, and stays armed; nobody keys any more
  /// until AllowKeying. False when there was none.
  static bool ReleaseForNow(std::optional<TimePoint> due = std::nullopt);
  static void AllowKeying();
  /// The releases have been made: who keys must not key any more.
  static bool keying_ended();

  static bool any_armed();
  static std::optional<TimePoint> next_deadline();
  /// This eventfd is written to when one is armed; -1: none.
  static void WakeAtChanges(int event);

 private:
  struct Slot;

  void Arm(int device, const std::function<void(Slot&)>& describe);

  Slot* slot_ = nullptr;  ///< null when there are more than there is room for
};

}  // namespace kvx::platform
