#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "keyer/keyer_settings.h"

namespace kvx::keyer {

// What goes to a WinKeyer and what comes back (K1EL WinKeyer 2 and 3, host mode).
//
//   to the keyer     00 nn ..  administration: 00 02 host open, 00 03 host close, 00 04 xx echo xx, 00 0B WinKeyer 2
//   mode
//                    01 .. 15  immediate commands, 16 .. 1F buffered ones, with 0 to 15 parameter bytes
//                    20 .. 7F  characters to send
//   from the keyer   00 .. 7F  a character being sent (when echo is on), the version, the echo of 00 04
//                    10vvvvvv  the speed pot: v words a minute above the lowest speed
//                    110wkbpx  status: w waiting, k a push-button byte, b busy, p paddle break-in, x buffer 2/3 full

inline constexpr std::string_view kWinkeyClear{"\x0A"};
inline constexpr std::string_view kWinkeyKeyDown{"\x0B\x01"};
inline constexpr std::string_view kWinkeyKeyUp{"\x0B\x00", 2};
inline constexpr std::string_view kWinkeyPttOff{"\x18\x00", 2};
inline constexpr std::string_view kWinkeyPaddleUp{"\x14\x00", 2};
inline constexpr char kWinkeyNull = '\x13';  ///< does nothing, and ends a command that lacks parameters
inline constexpr std::size_t kWinkeyMostParameters = 15;
inline constexpr std::string_view kWinkeyHostClose{"\x00\x03", 2};

/// A status byte of the keyer proper, not of its push buttons.
constexpr bool IsWinkeyStatus(std::uint8_t byte) {
  return (byte & 0xE8) == 0xC0;
}
constexpr bool IsWinkeyPot(std::uint8_t byte) {
  return (byte & 0xC0) == 0x80;
}
inline constexpr int kWinkeyBusy = 4;
inline constexpr int kWinkeyBreakIn = 2;
inline constexpr int kWinkeyXoff = 1;

/// "0E 16" to the bytes 0E 16, left to right; a single digit gets a 0 in front.
std::string WinkeyBytes(std::string_view hex_pairs);
/// A command and its one-byte parameter, taken into 0 to 255.
std::string WinkeyCommand(std::string_view hex_command, int parameter);
/// The decimal text of a value read as hexadecimal: 16 is the byte 0x16. The mode and the pin byte are sent so.
std::string WinkeyDecimalAsHex(int value);

/// How long a command is in all, as far as its beginning tells.
std::size_t WinkeyCommandLength(std::string_view begun);

/// What ends a wait of the start-up.
enum class WinkeyReply { kEcho, kVersion, kStatus };
struct WinkeyStep {
  std::string bytes;
  WinkeyReply reply;
};
/// The start-up up to the first status byte: each step is one write and is answered.
const std::vector<WinkeyStep>& WinkeyStartUp();
bool IsWinkeyReply(WinkeyReply kind, std::string_view received);
/// The writes that follow: the options in their order, then what comes after the receive buffer has been emptied.
std::vector<std::string> WinkeyOptions(const KeyerSettings& settings, int speed);
std::vector<std::string> WinkeyOutputs(const KeyerSettings& settings);

/// What makes the keyer send a symbol: the character itself, or two letters run together (1B). Empty when it has no
/// sign for it; never a command.
std::string WinkeySymbol(std::string_view symbol);

}  // namespace kvx::keyer
