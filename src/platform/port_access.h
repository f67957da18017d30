#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "core/result.h"

namespace kvx::platform {

/// The eleven integer arguments of the port-access library's SendChar, in its order.
enum PortAccessArgument {
  kFirst,         ///< 0 of a pulse, 700 of a change
  kMicroseconds,  ///< length of a pulse
  kMask,          ///< 255
  kPortNumber,    ///< 1: LPT1
  kPin,           ///< of the connector; data bit N is pin N + 2
  kSetting,       ///< shared with keying, 5000 of a change
  kAction,        ///< PortAction
  kFlag,          ///< shared with keying, 0 of a change
  kOffset,        ///< the last three are shared with keying
  kInvert,
  kValue,
};
enum PortAction { kPulse = 0, kSet = 1, kClear = 2 };

inline constexpr int kLongestPulse = 1'000'000;  ///< microseconds
inline constexpr std::size_t kPortAccessArguments = 11;
using PortAccessCall = std::array<std::int32_t, kPortAccessArguments>;

/// What every call shares with CW keying. Here CW is keyed on lines of its own, so every call
/// has 0 for them.
struct SharedPortSettings {
  std::int32_t setting = 0;
  std::int32_t flag = 0;
  std::int32_t offset = 0;
  std::int32_t invert = 0;
  std::int32_t value = 0;
};

/// A pin is raised for so long.
constexpr PortAccessCall PulseCall(int port, int pin, int microseconds, int p2, int p3, int p5,
                                   const SharedPortSettings& shared = {}) {
  return {p3, microseconds, p2, port, pin, shared.setting, p5, shared.flag, shared.offset, shared.invert, shared.value};
}
/// A data bit is set or cleared.
constexpr PortAccessCall ChangeCall(int port, int bit, PortAction action, const SharedPortSettings& shared = {}) {
  return {700, 10, 255, port, bit + 2, 5000, action, 0, shared.offset, shared.invert, shared.value};
}

/// The data lines of the parallel ports, by calls as the port-access library takes them. Engine thread only. Adapters:
/// ParallelLines on the ports of this machine; on Windows the library itself.
class PortAccess {
 public:
  /// The port's data byte after the operation, or why it could not be carried out.
  using Done = std::function<void(const Result<std::uint8_t>& data)>;

  virtual ~PortAccess() = default;
  /// Calls are carried out in their order; `done`, which may be empty, is called when this one has been, a short one
  /// before SendChar returns.
  virtual void SendChar(const PortAccessCall& call, Done done) = 0;
  /// Whether the port has been asked for anything yet.
  virtual bool InUse(int port) const = 0;
  /// The data byte as it is; claims the port.
  virtual Result<std::uint8_t> ReadData(int port) = 0;
  /// Ends a pulse under way with its line lowered, drops what waits, and gives the ports back.
  virtual void Close() = 0;
};

}  // namespace kvx::platform
