#pragma once

#include <cstdint>
#include <string_view>

namespace kvx::platform {

/// One device that must be told to release the transmitter when the program ends in any way but its own orderly one. At
/// a crash signal, whose course is not changed, and at exit every armed one acts, lines before bytes. Each holds its
/// device open by a descriptor of its own while it is armed, so that the number cannot have become that of another
/// file. A forked child has none. Arming and disarming from one thread at a time.
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
  void Disarm();

  /// Whether the end has come and the releases are being made: who keys must not key any more.
  static bool ending();

 private:
  struct Slot;

  int Prepare(int device);

  Slot* slot_ = nullptr;  ///< null when there are more than there is room for
};

}  // namespace kvx::platform
