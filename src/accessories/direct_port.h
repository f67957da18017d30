#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "accessories/antenna_control.h"

namespace kvx::accessories {

/// The direct port window's part that needs no window: single data lines set, cleared and pulsed by hand, at a parallel
/// port of its own choice. It drives them through the antenna window's operations.
class DirectPort final {
 public:
  static constexpr int kBits = 8;
  /// One button: toggles latch a bit, the others pulse an antenna's line.
  struct Button {
    const char* name;  ///< the control's: "Command2"
    int bit;
    bool toggle;
    const char* announced;  ///< empty: not
  };
  static constexpr std::array<Button, kBits> kButtons{{{"Command2", 0, true, "zero"},
                                                       {"Command3", 1, true, "1"},
                                                       {"Command4", 2, false, ""},
                                                       {"Command5", 3, false, ""},
                                                       {"Command8", 4, false, ""},
                                                       {"Command7", 5, false, ""},
                                                       {"Command6", 6, true, "6"},
                                                       {"Command1", 7, true, "7"}}};

  explicit DirectPort(AntennaControl& antennas);
  DirectPort(const DirectPort&) = delete;
  DirectPort& operator=(const DirectPort&) = delete;

  /// Presses the button of a bit, 0 to 7.
  Status Press(int bit);
  /// Sets or clears a bit.
  Status Change(int bit, platform::PortAction action);
  /// Pulses a bit for so long; no length: that of MSec, 10 when that is 0. kInvalid when that is negative.
  Status PulseBit(int bit, std::optional<int> microseconds = std::nullopt);
  /// Eight lamps from eight binary digits, the last of bit 0.
  void SetLights(std::string_view bits);
  bool lamp(int bit) const { return lamps_.at(static_cast<std::size_t>(bit)); }
  /// Lets the lamps follow the port as it is. One that is not in use is not claimed for that: its lamps are out.
  void ReadLights();
  /// The same for one that is about to be used.
  void ReadPort();
  /// 1 or 2.
  int port() const;

  mutable Listeners changed;

 private:
  Status PressPulse(int bit);
  void BringUpToDate(int bit);

  AntennaControl& antennas_;
  std::array<bool, kBits> lamps_{};
};

}  // namespace kvx::accessories
