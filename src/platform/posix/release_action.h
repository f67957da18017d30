#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kvx::platform {

/// What releases one transmitter at its device: bytes, modem lines, or the lines of a parallel port. Plain data: a
/// signal handler takes it as it stands, and another process is sent it as bytes.
struct ReleaseAction {
  static constexpr std::size_t kLongest = 256;

  /// At most kLongest bytes.
  static ReleaseAction Bytes(std::string_view bytes);
  /// Modem lines of a serial device as TIOCM_ bits.
  static ReleaseAction Lines(int lowered, int raised);
  /// The control lines of a claimed parallel port that are in `mask`.
  static ReleaseAction Port(std::uint8_t mask, std::uint8_t value);
  /// The data lines of a claimed parallel port.
  static ReleaseAction Data(std::uint8_t data);
  /// Speed and frame of the serial line as they are now: whoever closes it may put back what he found.
  void KeepModes(int device);

  enum class Kind : std::uint8_t { kBytes, kLines, kPort, kData };
  Kind kind = Kind::kBytes;
  std::uint8_t mask = 0;
  std::uint8_t value = 0;
  int lowered = 0;
  int raised = 0;
  std::size_t size = 0;
  std::array<char, kLongest> bytes{};
  bool has_modes = false;
  std::array<char, 64> modes{};  ///< a termios2
};

/// A release to be made at an open device; -1: none.
struct DueRelease {
  const ReleaseAction* action = nullptr;
  int device = -1;
  std::size_t written = 0;
  bool is_set_up = false;  ///< the line has its modes
};

/// A program has seven: rig, its own keyer, keyer, its line, the line before it, two parallel ports.
inline constexpr std::size_t kMostReleases = 8;
using DueReleases = std::array<DueRelease, kMostReleases>;

/// Makes releases: lines, which take no time, then all bytes as their devices take them, none of them waiting for
/// another; half a second at most. False when a device has not taken all of its bytes; the same again then goes on with
/// the rest. Calls nothing but what a signal handler may call.
bool MakeReleases(DueReleases& due);

}  // namespace kvx::platform
